// Decode and stain walk on synthetic cards: a 1200 x 3600 card and a 10200 x 13200 letter sheet
// (1200 dpi), each at 5, 15 and 35 % disc coverage (radius 1..40), and the sheet with 20 % random
// specks. Beside them, the peer a user might pick (OpenCV's 4-connected labelling of the foreground
// mask, mask building included) and the floor (one pass counting non-background bytes).
//
// The pictures are written once as 8-bit BMP files to $VELMARA_BENCH_DIR (default: the system's
// temporary folder) and reused, so that every run reads them from a warm page cache.
//
//   bench_scan [benchmark options]
//   bench_scan --peak NAME   decode + scan NAME once and print the peak resident memory, e.g.
//                            /usr/bin/time -v bench_scan --peak sheet-15

#include "analysis/scanimage.h"
#include "cardgen/cardgen.h"
#include "intake/decode.h"
#include "intake/loadimage.h"

#include <benchmark/benchmark.h>

#ifdef VELMARA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

using namespace velmara;
namespace fs = std::filesystem;

namespace {

constexpr int kCardWidth = 1200, kCardHeight = 3600;
constexpr int kSheetWidth = 10200, kSheetHeight = 13200;

struct Picture
{
    const char *name;
    int width, height;
    double coverage; // disc coverage, or the speck share when specks is set
    bool specks;
};

const Picture kPictures[] = {
    {"card-05", kCardWidth, kCardHeight, 0.05, false},
    {"card-15", kCardWidth, kCardHeight, 0.15, false},
    {"card-35", kCardWidth, kCardHeight, 0.35, false},
    {"sheet-05", kSheetWidth, kSheetHeight, 0.05, false},
    {"sheet-15", kSheetWidth, kSheetHeight, 0.15, false},
    {"sheet-35", kSheetWidth, kSheetHeight, 0.35, false},
    {"sheet-specks", kSheetWidth, kSheetHeight, 0.20, true},
};

fs::path BenchDir()
{
    const char *env = std::getenv("VELMARA_BENCH_DIR");
    return env && *env ? fs::path(env) : fs::temp_directory_path() / "velmara-bench";
}

// The file of a picture, made on first use. White background at index 0, a red dye at index 1.
std::string FileOf(const Picture &p)
{
    const fs::path path = BenchDir() / (std::string(p.name) + ".bmp");
    if (fs::exists(path))
        return path.string();
    fs::create_directories(path.parent_path());
    cardgen::IndexedImage image(p.width, p.height, {cardgen::kWhite, {200, 30, 30}}, 0);
    cardgen::Rng rng(1200);
    if (p.specks) {
        // Independent pixels: they clump into specks of one to a few pixels.
        const std::uint64_t threshold = static_cast<std::uint64_t>(p.coverage * 18446744073709551615.0);
        for (auto &px : image.pixels)
            px = rng.next() < threshold ? 1 : 0;
    } else {
        cardgen::ScatterSpec spec;
        spec.coverage = p.coverage;
        spec.minRadius = 1;
        spec.maxRadius = 40;
        spec.speckShare = 0;
        cardgen::Scatter(image, spec, rng);
    }
    std::string error;
    if (!cardgen::WriteBmp(image, path.string(), {}, &error)) {
        std::fprintf(stderr, "cannot write %s: %s\n", path.string().c_str(), error.c_str());
        std::exit(1);
    }
    return path.string();
}

// A workspace holding the picture as a loaded card.
void Load(Workspace &ws, const Picture &p)
{
    ws.DefaultRes = 1200;
    const LoadResult r = LoadImage(ws, FileOf(p));
    if (!r.Ok) {
        std::fprintf(stderr, "%s: %s\n", p.name, r.Message.c_str());
        std::exit(1);
    }
}

void Decode(Workspace &ws)
{
    CardImage &card = ws.Card(1);
    card.PixelsReady = false;
    FixedAnswers answers;
    if (!DecodeCard(ws, 1, answers).Ok) {
        std::fprintf(stderr, "decode failed\n");
        std::exit(1);
    }
}

void Counters(benchmark::State &state, const Workspace &ws)
{
    const CardImage &c = ws.Card(1);
    state.counters["Mpx"] = static_cast<double>(c.WidthPx) * c.HeightPx / 1e6;
    state.counters["fg%"] = 100.0 * static_cast<double>(c.Pixels.size() - 2) / (double(c.WidthPx) * c.HeightPx);
    state.counters["stains"] = c.SizeTable.empty() ? 0 : [&c] {
        double n = 0;
        for (size_t k = 1; k < c.SizeTable.size(); ++k)
            n += c.SizeTable[k].Count;
        return n;
    }();
}

void BM_Decode(benchmark::State &state, const Picture *p)
{
    Workspace ws;
    Load(ws, *p);
    for (auto _ : state)
        Decode(ws);
    Counters(state, ws);
}

void BM_Scan(benchmark::State &state, const Picture *p)
{
    Workspace ws;
    Load(ws, *p);
    Decode(ws);
    for (auto _ : state)
        benchmark::DoNotOptimize(ScanImage(ws, 1, NoProgress()));
    Counters(state, ws);
}

void BM_DecodeScan(benchmark::State &state, const Picture *p)
{
    Workspace ws;
    Load(ws, *p);
    for (auto _ : state) {
        Decode(ws);
        benchmark::DoNotOptimize(ScanImage(ws, 1, NoProgress()));
    }
    Counters(state, ws);
}

// The pixel rows of a BMP file as they stand (bottom-up, padded), with their geometry.
struct RawRows
{
    std::vector<unsigned char> bytes;
    int width = 0, height = 0, stride = 0;
};

bool ReadRows(const std::string &path, RawRows &out)
{
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (!f)
        return false;
    unsigned char head[54];
    bool ok = std::fread(head, 1, 54, f) == 54;
    std::int32_t offset = 0, width = 0, height = 0;
    std::memcpy(&offset, head + 10, 4);
    std::memcpy(&width, head + 18, 4);
    std::memcpy(&height, head + 22, 4);
    out.width = width;
    out.height = height;
    out.stride = (width + 3) / 4 * 4;
    out.bytes.resize(static_cast<size_t>(out.stride) * height);
    ok = ok && std::fseek(f, offset, SEEK_SET) == 0 &&
         std::fread(out.bytes.data(), 1, out.bytes.size(), f) == out.bytes.size();
    std::fclose(f);
    return ok;
}

// The floor: one pass over the file counting the bytes that are not background.
void BM_CountFloor(benchmark::State &state, const Picture *p)
{
    const std::string path = FileOf(*p);
    std::vector<unsigned char> buffer(size_t{1} << 20);
    for (auto _ : state) {
        std::FILE *f = std::fopen(path.c_str(), "rb");
        std::int32_t offset = 0;
        std::fseek(f, 10, SEEK_SET);
        if (std::fread(&offset, 4, 1, f) != 1 || std::fseek(f, offset, SEEK_SET) != 0) {
            std::fclose(f);
            state.SkipWithError("cannot read");
            return;
        }
        long long count = 0;
        size_t n;
        while ((n = std::fread(buffer.data(), 1, buffer.size(), f)) > 0)
            for (size_t i = 0; i < n; ++i)
                count += buffer[i] != 0;
        std::fclose(f);
        benchmark::DoNotOptimize(count);
    }
}

#ifdef VELMARA_HAVE_OPENCV
// Read the rows, build the foreground mask, label it 4-connected with statistics.
void BM_OpenCv(benchmark::State &state, const Picture *p)
{
    const std::string path = FileOf(*p);
    RawRows rows;
    int labels = 0;
    for (auto _ : state) {
        if (!ReadRows(path, rows)) {
            state.SkipWithError("cannot read");
            return;
        }
        const cv::Mat image(rows.height, rows.width, CV_8UC1, rows.bytes.data(), static_cast<size_t>(rows.stride));
        cv::Mat mask, labelImage, stats, centroids;
        cv::compare(image, 0, mask, cv::CMP_NE);
        labels = cv::connectedComponentsWithStats(mask, labelImage, stats, centroids, 4, CV_32S);
        benchmark::DoNotOptimize(labels);
    }
    state.counters["labels"] = labels;
}
#endif

void Register()
{
    for (const Picture &p : kPictures) {
        const bool sheet = p.width == kSheetWidth;
        auto tune = [sheet](benchmark::internal::Benchmark *b) {
            b->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
            if (sheet)
                b->Iterations(3);
        };
        tune(benchmark::RegisterBenchmark((std::string("Decode/") + p.name).c_str(), BM_Decode, &p));
        tune(benchmark::RegisterBenchmark((std::string("Scan/") + p.name).c_str(), BM_Scan, &p));
        tune(benchmark::RegisterBenchmark((std::string("DecodeScan/") + p.name).c_str(), BM_DecodeScan, &p));
#ifdef VELMARA_HAVE_OPENCV
        tune(benchmark::RegisterBenchmark((std::string("OpenCvMaskLabel/") + p.name).c_str(), BM_OpenCv, &p));
#endif
        tune(benchmark::RegisterBenchmark((std::string("CountFloor/") + p.name).c_str(), BM_CountFloor, &p));
    }
}

int PeakMemory(const char *name)
{
    for (const Picture &p : kPictures) {
        if (std::strcmp(p.name, name) != 0)
            continue;
        if (!fs::exists(BenchDir() / (std::string(name) + ".bmp"))) {
            FileOf(p);
            std::printf("%s made; run again to measure it\n", name);
            return 2;
        }
        Workspace ws;
        Load(ws, p);
        Decode(ws);
        const ScanOutcome out = ScanImage(ws, 1, NoProgress());
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        const double fg = static_cast<double>(ws.Card(1).Pixels.size() - 2);
        const double budgetKb = (8 * fg + 64.0 * 1024 * 1024) / 1024;
        std::printf("%s: %.0f foreground px, %ld stains, peak %ld kB, budget %.0f kB (%.2f)\n", name, fg,
                    static_cast<long>(out.StainCount), usage.ru_maxrss, budgetKb, usage.ru_maxrss / budgetKb);
        return 0;
    }
    std::fprintf(stderr, "no picture named %s\n", name);
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
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
