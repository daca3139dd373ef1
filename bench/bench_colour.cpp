// Colour scans: how well and how fast Velmara tells stain from card, beside the plain answer a
// user would reach for with OpenCV.
//
//   bench_colour --accuracy     generated cards of known stains (water-sensitive paper, white with
//                               red and with black dye; 600 and 1200 dpi; coverage 3 to 25 %; PNG
//                               and JPEG q90): error of the stain count, the covered share and
//                               Dv0.1, Dv0.5, Dv0.9, for Velmara and for Otsu's threshold on the
//                               colour distance from the card's median colour plus
//                               connectedComponentsWithStats. Goal misses are marked with "!".
//   bench_colour [benchmark options]
//                               decode + scan of a 10200 x 13200 letter sheet at 1200 dpi and 15 %
//                               coverage, as PNG and as 24-bit BMP, beside OpenCV's imread +
//                               cvtColor + threshold + connectedComponentsWithStats of the same file
//   bench_colour --peak sheet.png|sheet.bmp
//                               decode + scan once and print the peak resident memory against the
//                               budget of 1 byte a pixel + 8 bytes a foreground pixel + 64 MB
//
// The pictures are written once to $VELMARA_BENCH_DIR/colour (default: the system's temporary
// folder) and reused; the sheet takes a minute to make. A file Velmara refuses shows as
// "not read: <message>" in its columns.

#include "analysis/scanimage.h"
#include "cardgen/cardgen.h"
#include "intake/decode.h"
#include "intake/loadimage.h"

#include <benchmark/benchmark.h>

#ifdef VELMARA_HAVE_OPENCV_CODECS
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

using namespace velmara;
namespace fs = std::filesystem;

namespace {

constexpr int kSheetWidth = 10200, kSheetHeight = 13200;
constexpr double kPi = 3.14159265358979323846;

fs::path BenchDir()
{
    const char *env = std::getenv("VELMARA_BENCH_DIR");
    return (env && *env ? fs::path(env) : fs::temp_directory_path() / "velmara-bench") / "colour";
}

// The program's conversion: 12 inches a foot, 3.2808 feet a metre.
double MicronsPerPixel(int dpi) { return 1e6 / (dpi * 12.0 * 3.2808); }

// Writes the card unless its file is there already.
std::string FileOf(const cardgen::ColourCard &card, const std::string &name)
{
    const fs::path path = BenchDir() / name;
    if (fs::exists(path))
        return path.string();
    fs::create_directories(path.parent_path());
    std::string error;
    const fs::path part = path.string() + ".part" + path.extension().string();
    if (!cardgen::WriteColour(cardgen::RowsOf(card), part.string(), {card.spec().dpi, 90}, &error)) {
        std::fprintf(stderr, "cannot write %s: %s\n", path.string().c_str(), error.c_str());
        std::exit(1);
    }
    fs::rename(part, path);
    return path.string();
}

// What one method found on a card.
struct Finding
{
    bool ok = false;
    std::string message;
    double count = 0;
    double covered = 0;
    std::vector<std::pair<double, double>> sizes; // stain diameter in micrometres, number of stains
};

// The diameter at which the cumulative volume share reaches q, interpolated between classes.
double VolumeQuantile(std::vector<std::pair<double, double>> sizes, double q)
{
    std::sort(sizes.begin(), sizes.end());
    double total = 0;
    for (const auto &[d, n] : sizes)
        total += d * d * d * n;
    if (total <= 0)
        return 0;
    double before = 0, lastD = sizes.front().first;
    for (const auto &[d, n] : sizes) {
        const double after = before + d * d * d * n / total;
        if (after >= q)
            return after > before ? lastD + (d - lastD) * (q - before) / (after - before) : d;
        before = after;
        lastD = d;
    }
    return sizes.back().first;
}

Finding Truth(const cardgen::ColourCard &card)
{
    Finding f;
    f.ok = true;
    f.count = static_cast<double>(card.stains().size());
    f.covered = card.coveredShare();
    for (const cardgen::ColourStain &s : card.stains())
        f.sizes.emplace_back(s.diameter * MicronsPerPixel(card.spec().dpi), 1);
    return f;
}

// Load, decode with the automatic answers, scan; the workspace keeps the card for the caller.
Finding RunVelmara(Workspace &ws, const std::string &path, int dpi)
{
    Finding f;
    ws.ColourScans = true;
    ws.DefaultRes = dpi;
    ws.SpreadFactor = {0, 1, 0}; // drop size is stain size
    const LoadResult loaded = LoadImage(ws, path);
    if (!loaded.Ok) {
        f.message = loaded.Message;
        std::replace(f.message.begin(), f.message.end(), '\r', ' ');
        return f;
    }
    FixedAnswers answers;
    const DecodeResult decoded = DecodeCard(ws, loaded.CardIndex, answers);
    if (!decoded.Ok) {
        f.message = decoded.Message;
        return f;
    }
    const ScanOutcome scanned = ScanImage(ws, loaded.CardIndex, NoProgress());
    const CardImage &card = ws.Card(loaded.CardIndex);
    f.ok = scanned.Status == ScanStatus::Done || scanned.Status == ScanStatus::NoStains;
    if (!f.ok)
        f.message = "the scan did not run";
    f.covered = card.Pixels.size() > 2 ? static_cast<double>(card.Pixels.size() - 2) / (double(card.WidthPx) * card.HeightPx) : 0;
    for (size_t k = 1; k < card.SizeTable.size(); ++k) {
        f.count += card.SizeTable[k].Count;
        f.sizes.emplace_back(card.SizeTable[k].Diameter, card.SizeTable[k].Count);
    }
    return f;
}

#ifdef VELMARA_HAVE_OPENCV_CODECS
// Otsu's threshold on the distance of each pixel's colour from the card's median colour, then
// 4-connected labelling, as the stain walk joins pixels.
Finding RunOtsu(const std::string &path, int dpi)
{
    Finding f;
    const cv::Mat image = cv::imread(path, cv::IMREAD_COLOR);
    if (image.empty()) {
        f.message = "OpenCV cannot read it";
        return f;
    }
    int median[3] = {0, 0, 0};
    for (int c = 0; c < 3; ++c) {
        long long histogram[256] = {};
        for (int y = 0; y < image.rows; ++y)
            for (int x = 0; x < image.cols; ++x)
                ++histogram[image.at<cv::Vec3b>(y, x)[c]];
        long long seen = 0;
        const long long half = static_cast<long long>(image.total()) / 2;
        while (seen + histogram[median[c]] <= half)
            seen += histogram[median[c]++];
    }
    cv::Mat distance(image.size(), CV_8UC1);
    for (int y = 0; y < image.rows; ++y)
        for (int x = 0; x < image.cols; ++x) {
            const cv::Vec3b p = image.at<cv::Vec3b>(y, x);
            double d2 = 0;
            for (int c = 0; c < 3; ++c)
                d2 += double(p[c] - median[c]) * (p[c] - median[c]);
            distance.at<std::uint8_t>(y, x) = cv::saturate_cast<std::uint8_t>(std::sqrt(d2));
        }
    cv::Mat mask, labels, stats, centroids;
    cv::threshold(distance, mask, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
    const int n = cv::connectedComponentsWithStats(mask, labels, stats, centroids, 4, CV_32S);
    f.ok = true;
    f.covered = cv::countNonZero(mask) / static_cast<double>(image.total());
    f.count = n - 1;
    for (int i = 1; i < n; ++i)
        f.sizes.emplace_back(2 * std::sqrt(stats.at<int>(i, cv::CC_STAT_AREA) / kPi) * MicronsPerPixel(dpi), 1);
    return f;
}
#else
Finding RunOtsu(const std::string &, int)
{
    Finding f;
    f.message = "built without OpenCV's imgcodecs";
    return f;
}
#endif

struct Errors
{
    bool ok = false;
    std::string message;
    double count = 0, covered = 0, dv[3] = {0, 0, 0};
};

Errors Compare(const Finding &found, const Finding &truth)
{
    Errors e;
    e.ok = found.ok;
    e.message = found.message;
    if (!found.ok)
        return e;
    e.count = found.count - truth.count;
    e.covered = found.covered - truth.covered;
    const double q[3] = {0.1, 0.5, 0.9};
    for (int i = 0; i < 3; ++i)
        e.dv[i] = VolumeQuantile(found.sizes, q[i]) - VolumeQuantile(truth.sizes, q[i]);
    return e;
}

std::string Columns(const Errors &e, const Errors *peer, bool coverGoal)
{
    if (!e.ok)
        return "not read: " + e.message;
    // A goal is missed when the covered share is off by more than 0.005, or the count or Dv0.5
    // error is larger than Otsu's.
    const bool countMiss = peer && peer->ok && std::fabs(e.count) > std::fabs(peer->count);
    const bool coverMiss = coverGoal && std::fabs(e.covered) > 0.005;
    const bool dvMiss = peer && peer->ok && std::fabs(e.dv[1]) > std::fabs(peer->dv[1]);
    char text[160];
    std::snprintf(text, sizeof text, "%+6.0f%s %+8.4f%s %+7.0f %+7.0f%s %+7.0f", e.count, countMiss ? "!" : " ",
                  e.covered, coverMiss ? "!" : " ", e.dv[0], e.dv[1], dvMiss ? "!" : " ", e.dv[2]);
    return text;
}

int Accuracy()
{
    const std::pair<const char *, cardgen::Paper> papers[] = {{"wsp", cardgen::Paper::WaterSensitive},
                                                              {"white-red", cardgen::Paper::WhiteRed},
                                                              {"white-black", cardgen::Paper::WhiteBlack}};
    const double coverages[] = {0.03, 0.05, 0.10, 0.15, 0.25};
    std::printf("%-26s %6s %7s %6s %6s %6s | Velmara: count  covered   Dv0.1   Dv0.5   Dv0.9 | Otsu: count  covered   Dv0.1   Dv0.5   Dv0.9\n",
                "card", "stains", "covered", "Dv0.1", "Dv0.5", "Dv0.9");
    int misses = 0, unread = 0, cards = 0;
    for (const auto &[paperName, paper] : papers)
        for (const int dpi : {600, 1200})
            for (const double coverage : coverages) {
                cardgen::ColourCardSpec spec;
                spec.paper = paper;
                spec.dpi = dpi;
                spec.width = dpi;      // a card of 1 x 2 inches
                spec.height = 2 * dpi;
                spec.coverage = coverage;
                spec.seed = static_cast<std::uint64_t>(dpi * 100 + coverage * 100);
                const cardgen::ColourCard card(spec);
                const Finding truth = Truth(card);
                for (const char *format : {"png", "jpg"}) {
                    char name[64];
                    std::snprintf(name, sizeof name, "%s-%d-%02d.%s", paperName, dpi, static_cast<int>(coverage * 100 + 0.5), format);
                    const std::string path = FileOf(card, name);
                    Workspace ws;
                    const Errors velmara = Compare(RunVelmara(ws, path, dpi), truth);
                    const Errors otsu = Compare(RunOtsu(path, dpi), truth);
                    const std::string ours = Columns(velmara, &otsu, true);
                    misses += velmara.ok && ours.find('!') != std::string::npos;
                    unread += !velmara.ok;
                    ++cards;
                    std::printf("%-26s %6.0f %7.4f %6.0f %6.0f %6.0f | %-47s | %s\n", name, truth.count, truth.covered,
                                VolumeQuantile(truth.sizes, 0.1), VolumeQuantile(truth.sizes, 0.5),
                                VolumeQuantile(truth.sizes, 0.9), ours.c_str(), Columns(otsu, nullptr, false).c_str());
                }
            }
    std::printf("\nErrors are measured minus true; diameters in micrometres. %d cards, %d read by Velmara, %d with a goal missed (!).\n",
                cards, cards - unread, misses);
    return 0;
}

const cardgen::ColourCard &Sheet()
{
    static const cardgen::ColourCard sheet = [] {
        cardgen::ColourCardSpec spec;
        spec.paper = cardgen::Paper::WaterSensitive;
        spec.dpi = 1200;
        spec.width = kSheetWidth;
        spec.height = kSheetHeight;
        spec.coverage = 0.15;
        spec.seed = 1200;
        return cardgen::ColourCard(spec);
    }();
    return sheet;
}

// Placing the sheet's stains takes seconds, so a file already made is taken as it is.
std::string SheetFile(const char *ending)
{
    const std::string name = std::string("sheet.") + ending;
    return fs::exists(BenchDir() / name) ? (BenchDir() / name).string() : FileOf(Sheet(), name);
}

void BM_VelmaraDecodeScan(benchmark::State &state, const char *ending)
{
    const std::string path = SheetFile(ending);
    double stains = 0;
    for (auto _ : state) {
        Workspace ws;
        const Finding f = RunVelmara(ws, path, 1200);
        if (!f.ok) {
            state.SkipWithError(("not read: " + f.message).c_str());
            return;
        }
        stains = f.count;
    }
    state.counters["stains"] = stains;
}

#ifdef VELMARA_HAVE_OPENCV_CODECS
void BM_OpenCv(benchmark::State &state, const char *ending)
{
    const std::string path = SheetFile(ending);
    int labels = 0;
    for (auto _ : state) {
        const cv::Mat image = cv::imread(path, cv::IMREAD_COLOR);
        if (image.empty()) {
            state.SkipWithError("OpenCV cannot read it");
            return;
        }
        cv::Mat grey, mask, labelImage, stats, centroids;
        cv::cvtColor(image, grey, cv::COLOR_BGR2GRAY);
        cv::threshold(grey, mask, 0, 255, cv::THRESH_BINARY_INV | cv::THRESH_OTSU);
        labels = cv::connectedComponentsWithStats(mask, labelImage, stats, centroids, 4, CV_32S);
        benchmark::DoNotOptimize(labels);
    }
    state.counters["stains"] = labels - 1;
}
#endif

void Register()
{
    for (const char *ending : {"png", "bmp"}) {
        auto tune = [](benchmark::internal::Benchmark *b) {
            b->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()->Iterations(3);
        };
        tune(benchmark::RegisterBenchmark((std::string("VelmaraDecodeScan/sheet.") + ending).c_str(),
                                          BM_VelmaraDecodeScan, ending));
#ifdef VELMARA_HAVE_OPENCV_CODECS
        tune(benchmark::RegisterBenchmark((std::string("OpenCvReadThresholdLabel/sheet.") + ending).c_str(), BM_OpenCv,
                                          ending));
#endif
    }
}

int PeakMemory(const std::string &name)
{
    const fs::path path = BenchDir() / name;
    if (name != "sheet.png" && name != "sheet.bmp") {
        std::fprintf(stderr, "no picture named %s (sheet.png or sheet.bmp)\n", name.c_str());
        return 1;
    }
    if (!fs::exists(path)) {
        SheetFile(name.c_str() + 6);
        std::printf("%s made; run again to measure it\n", name.c_str());
        return 2;
    }
    Workspace ws;
    const Finding f = RunVelmara(ws, path.string(), 1200);
    if (!f.ok) {
        std::printf("%s: not read: %s\n", name.c_str(), f.message.c_str());
        return 1;
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const double pixels = double(kSheetWidth) * kSheetHeight;
    const double fg = f.covered * pixels;
    const double budgetKb = (pixels + 8 * fg + 64.0 * 1024 * 1024) / 1024;
    std::printf("%s: %.0f foreground px, %.0f stains, peak %ld kB, budget %.0f kB (%.2f)\n", name.c_str(), fg, f.count,
                usage.ru_maxrss, budgetKb, usage.ru_maxrss / budgetKb);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--accuracy") == 0)
        return Accuracy();
    if (argc == 3 && std::strcmp(argv[1], "--peak") == 0)
        return PeakMemory(argv[2]);
    Register();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
