// Overlapping stains: how well the scan with splitting recovers the drops of generated cards, and
// what it costs, beside the peer a user might pick: OpenCV's threshold, distance transform, markers
// from the regional maxima of the distance with a height of one pixel, and watershed.
//
// Accuracy: 8-bit cards of random discs (the discs are the truth) at 600 and 1200 dpi, 3 to 25 %
// coverage, spread factor 0 + 1d. The count is held against the resolvable discs (at least half of
// their area covered by no other disc); Dv0.1, Dv0.5 and Dv0.9 against those of all discs.
// Speed: the 10200 x 13200 letter sheet at 15 % coverage, from the file, both ways.
//
//   bench_split              both tables
//   bench_split --accuracy   the accuracy table only
//   bench_split --speed      the speed table only
//
// The sheet is written to $VELMARA_BENCH_DIR (default: the system's temporary folder) once.

#include "analysis/scanimage.h"
#include "cardgen/cardgen.h"
#include "intake/decode.h"
#include "intake/loadimage.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

using namespace velmara;
namespace fs = std::filesystem;

namespace {

constexpr double kPi = 3.14159265358979323846;

fs::path BenchDir()
{
    const char *env = std::getenv("VELMARA_BENCH_DIR");
    return env && *env ? fs::path(env) : fs::temp_directory_path() / "velmara-bench";
}

double MicronsPerPixel(int dpi) { return 1e6 / (dpi * 12.0 * 3.2808); }

// --- Figures of a set of stains, each given by its area in pixels.

struct Figures
{
    double count = 0;
    double coverage = 0; // percent of the card
    double dv10 = 0, dv50 = 0, dv90 = 0;
};

// Diameter at a share of the cumulative volume, interpolated between the first row that reaches
// it and the row before (row 0: diameter 0, share 0), rows being the distinct areas ascending.
Figures FiguresOf(const std::map<long long, double> &countByArea, double micronsPerPixel, double cardPixels)
{
    Figures f;
    std::vector<double> diameter, cum;
    double total = 0, pixels = 0;
    for (const auto &[area, count] : countByArea) {
        const double d = 2 * std::sqrt(micronsPerPixel * micronsPerPixel * static_cast<double>(area) / kPi);
        diameter.push_back(d);
        cum.push_back(count * d * d * d);
        total += count * d * d * d;
        f.count += count;
        pixels += count * static_cast<double>(area);
    }
    f.coverage = 100 * pixels / cardPixels;
    if (total <= 0)
        return f;
    double run = 0;
    for (double &c : cum)
        c = (run += c) / total;
    auto at = [&](double share) {
        for (size_t k = 0; k < cum.size(); ++k) {
            if (cum[k] >= share) {
                const double c0 = k ? cum[k - 1] : 0, d0 = k ? diameter[k - 1] : 0;
                return d0 + (share - c0) / (cum[k] - c0) * (diameter[k] - d0);
            }
        }
        return diameter.back();
    };
    f.dv10 = at(0.1);
    f.dv50 = at(0.5);
    f.dv90 = at(0.9);
    return f;
}

// --- The truth of a generated card.

struct Truth
{
    Figures all;          // every disc, at its whole area
    long long resolvable = 0;
    double covered = 0;   // percent of the card under at least one disc
};

Truth TruthOf(const cardgen::IndexedImage &card, const std::vector<cardgen::Disc> &discs, double mpp)
{
    // How many discs cover each pixel, painting each disc alone on a scratch picture.
    cardgen::IndexedImage scratch(card.width, card.height, {cardgen::kWhite, {0, 0, 0}}, 0);
    std::vector<std::uint8_t> cover(card.pixels.size(), 0);
    auto visit = [&](const cardgen::Disc &d, auto &&onPixel) {
        cardgen::Disc one = d;
        one.index = 1;
        cardgen::PaintDisc(scratch, one);
        const int x0 = std::max(0, static_cast<int>(d.cx - d.radius) - 2);
        const int x1 = std::min(card.width - 1, static_cast<int>(d.cx + d.radius) + 2);
        const int y0 = std::max(0, static_cast<int>(d.cy - d.radius) - 2);
        const int y1 = std::min(card.height - 1, static_cast<int>(d.cy + d.radius) + 2);
        for (int y = y0; y <= y1; ++y)
            for (int x = x0; x <= x1; ++x) {
                std::uint8_t &s = scratch.row(y)[x];
                if (s) {
                    onPixel(static_cast<size_t>(y) * card.width + x);
                    s = 0;
                }
            }
    };
    for (const auto &d : discs)
        visit(d, [&](size_t i) { cover[i] = static_cast<std::uint8_t>(std::min(255, cover[i] + 1)); });
    Truth t;
    std::map<long long, double> areas;
    for (const auto &d : discs) {
        long long own = 0, free = 0;
        visit(d, [&](size_t i) {
            ++own;
            free += cover[i] == 1;
        });
        if (own > 0 && 2 * free >= own)
            ++t.resolvable;
        areas[cardgen::DiscArea(d.radius)] += 1;
    }
    const double cardPixels = static_cast<double>(card.pixels.size());
    t.all = FiguresOf(areas, mpp, cardPixels);
    t.covered = 100.0 * static_cast<double>(std::count_if(cover.begin(), cover.end(), [](auto c) { return c > 0; }))
        / cardPixels;
    return t;
}

// --- Velmara: the card's file loaded, decoded and scanned, with or without splitting.

struct VelmaraRun
{
    Figures figures;
    double seconds = 0;
    long long split = 0, parts = 0;
};

VelmaraRun RunVelmara(const std::string &path, int dpi, bool split)
{
    const auto start = std::chrono::steady_clock::now();
    Workspace ws;
    ws.DefaultRes = dpi;
    ws.SpreadFactor = {0, 1, 0};
    ws.SplitOverlaps = split;
    ws.LogAnalysis = false;
    if (!LoadImage(ws, path).Ok) {
        std::fprintf(stderr, "cannot load %s\n", path.c_str());
        std::exit(1);
    }
    FixedAnswers answers;
    if (!DecodeCard(ws, 1, answers).Ok) {
        std::fprintf(stderr, "cannot decode %s\n", path.c_str());
        std::exit(1);
    }
    ScanImage(ws, 1, NoProgress());
    VelmaraRun r;
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const CardImage &c = ws.Card(1);
    std::map<long long, double> areas;
    for (int k = 1; k <= c.SizeRows(); ++k)
        areas[c.SizeTable[k].AreaPx] += c.SizeTable[k].Count;
    r.figures = FiguresOf(areas, c.MicronsPerPixelX, static_cast<double>(c.WidthPx) * c.HeightPx);
    r.split = c.SplitStains;
    r.parts = c.SplitParts;
    return r;
}

// --- The peer.

// Grey-scale reconstruction by dilation of marker under mask, 8-connected: a raster and an
// anti-raster sweep, then a queue for what the sweeps left (the usual hybrid, linear in practice).
void Reconstruct(cv::Mat &marker, const cv::Mat &mask)
{
    const int h = marker.rows, w = marker.cols;
    float *m = marker.ptr<float>(0);
    const float *g = mask.ptr<float>(0);
    const size_t stride = marker.step1();
    auto at = [stride](int y, int x) { return static_cast<size_t>(y) * stride + static_cast<size_t>(x); };
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            float v = m[at(y, x)];
            if (x > 0)
                v = std::max(v, m[at(y, x - 1)]);
            if (y > 0)
                for (int xx = std::max(0, x - 1); xx <= std::min(w - 1, x + 1); ++xx)
                    v = std::max(v, m[at(y - 1, xx)]);
            m[at(y, x)] = std::min(v, g[at(y, x)]);
        }
    std::vector<std::uint32_t> queue;
    for (int y = h - 1; y >= 0; --y)
        for (int x = w - 1; x >= 0; --x) {
            float v = m[at(y, x)];
            if (x < w - 1)
                v = std::max(v, m[at(y, x + 1)]);
            if (y < h - 1)
                for (int xx = std::max(0, x - 1); xx <= std::min(w - 1, x + 1); ++xx)
                    v = std::max(v, m[at(y + 1, xx)]);
            v = std::min(v, g[at(y, x)]);
            m[at(y, x)] = v;
            // A later neighbour that could still rise from here goes to the queue.
            bool rise = x < w - 1 && m[at(y, x + 1)] < v && m[at(y, x + 1)] < g[at(y, x + 1)];
            if (y < h - 1)
                for (int xx = std::max(0, x - 1); xx <= std::min(w - 1, x + 1) && !rise; ++xx)
                    rise = m[at(y + 1, xx)] < v && m[at(y + 1, xx)] < g[at(y + 1, xx)];
            if (rise)
                queue.push_back(static_cast<std::uint32_t>(at(y, x)));
        }
    for (size_t head = 0; head < queue.size(); ++head) {
        const size_t i = queue[head];
        const int y = static_cast<int>(i / stride), x = static_cast<int>(i % stride);
        for (int yy = std::max(0, y - 1); yy <= std::min(h - 1, y + 1); ++yy)
            for (int xx = std::max(0, x - 1); xx <= std::min(w - 1, x + 1); ++xx) {
                const size_t j = at(yy, xx);
                if (m[j] < m[i] && m[j] != g[j]) {
                    m[j] = std::min(m[i], g[j]);
                    queue.push_back(static_cast<std::uint32_t>(j));
                }
            }
    }
}

struct PeerRun
{
    Figures figures;
    double seconds = 0;
    double distance = 0, maxima = 0, watershed = 0, stats = 0; // seconds of each stage
};

double Since(std::chrono::steady_clock::time_point &mark)
{
    const auto now = std::chrono::steady_clock::now();
    const double s = std::chrono::duration<double>(now - mark).count();
    mark = now;
    return s;
}

// The stain areas of an 8-bit picture whose index 0 is the background.
PeerRun RunPeer(const cv::Mat &image, double mpp)
{
    const auto start = std::chrono::steady_clock::now();
    auto mark = start;
    PeerRun r;
    cv::Mat mask, dist;
    cv::threshold(image, mask, 0, 255, cv::THRESH_BINARY);
    cv::distanceTransform(mask, dist, cv::DIST_L2, cv::DIST_MASK_PRECISE, CV_32F);
    r.distance = Since(mark);
    // Maxima standing at least one pixel above their surroundings: dist less its reconstruction
    // from dist - 1 is 1 exactly on their tops.
    cv::Mat lowered = dist - 1.0f;
    Reconstruct(lowered, dist);
    cv::Mat tops = (dist - lowered) >= 0.999f;
    tops &= mask;
    cv::Mat markers;
    const int labels = cv::connectedComponents(tops, markers, 8, CV_32S);
    markers.setTo(labels, mask == 0); // the card itself is one more basin
    r.maxima = Since(mark);
    // The picture itself is what the watershed floods, as it is usually given.
    cv::Mat relief3;
    cv::cvtColor(mask, relief3, cv::COLOR_GRAY2BGR);
    cv::watershed(relief3, markers);
    r.watershed = Since(mark);
    // The lines the watershed draws between basins belong to the stains: each goes to a stain
    // basin beside it, so that the peer loses no area to them.
    for (int y = 0; y < markers.rows; ++y) {
        int *row = markers.ptr<int>(y);
        const std::uint8_t *inside = mask.ptr<std::uint8_t>(y);
        for (int x = 0; x < markers.cols; ++x) {
            if (row[x] != -1 || !inside[x])
                continue;
            const int around[4][2] = {{0, -1}, {0, 1}, {-1, 0}, {1, 0}};
            for (const auto &a : around) {
                const int yy = y + a[0], xx = x + a[1];
                if (yy < 0 || yy >= markers.rows || xx < 0 || xx >= markers.cols)
                    continue;
                const int l = markers.at<int>(yy, xx);
                if (l > 0 && l < labels) {
                    row[x] = l;
                    break;
                }
            }
        }
    }
    std::vector<long long> area(static_cast<size_t>(labels) + 1, 0);
    for (int y = 0; y < markers.rows; ++y) {
        const int *row = markers.ptr<int>(y);
        for (int x = 0; x < markers.cols; ++x)
            if (row[x] > 0 && row[x] < labels)
                ++area[static_cast<size_t>(row[x])];
    }
    std::map<long long, double> areas;
    for (int l = 1; l < labels; ++l)
        if (area[static_cast<size_t>(l)] > 0)
            areas[area[static_cast<size_t>(l)]] += 1;
    r.stats = Since(mark);
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    r.figures = FiguresOf(areas, mpp, static_cast<double>(image.rows) * image.cols);
    return r;
}

// The pixel rows of an 8-bit BMP file as a picture, top row first.
cv::Mat ReadBmp(const std::string &path)
{
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (!f)
        return {};
    unsigned char head[54];
    std::int32_t offset = 0, width = 0, height = 0;
    bool ok = std::fread(head, 1, 54, f) == 54;
    std::memcpy(&offset, head + 10, 4);
    std::memcpy(&width, head + 18, 4);
    std::memcpy(&height, head + 22, 4);
    const int stride = (width + 3) / 4 * 4;
    cv::Mat rows(height, stride, CV_8UC1);
    ok = ok && std::fseek(f, offset, SEEK_SET) == 0
        && std::fread(rows.data, 1, rows.total(), f) == rows.total();
    std::fclose(f);
    if (!ok)
        return {};
    cv::Mat image;
    cv::flip(rows(cv::Rect(0, 0, width, height)), image, 0);
    return image;
}

// --- The tables.

double Error(double value, double truth) { return truth != 0 ? 100 * (value / truth - 1) : 0; }

int Accuracy()
{
    std::printf("Accuracy: count against the resolvable discs, Dv against all discs, errors in %%\n");
    std::printf("%4s %4s %6s %6s | %-8s %7s %7s %7s %7s %7s %6s | %7s %7s %7s %7s %7s %6s\n", "dpi", "cov",
                "discs", "resolv", "method", "count", "cover", "Dv0.1", "Dv0.5", "Dv0.9", "", "count",
                "cover", "Dv0.1", "Dv0.5", "Dv0.9", "");
    const fs::path dir = BenchDir() / "split";
    fs::create_directories(dir);
    int misses = 0;
    for (const int dpi : {600, 1200}) {
        const double scale = dpi / 600.0;
        const int side = static_cast<int>(2.0 * dpi); // a card of 2 x 2 inches
        for (const double coverage : {0.03, 0.06, 0.10, 0.15, 0.20, 0.25}) {
            cardgen::IndexedImage card(side, side, {cardgen::kWhite, {200, 30, 30}}, 0);
            cardgen::Rng rng(static_cast<std::uint64_t>(dpi * 1000 + coverage * 100));
            cardgen::ScatterSpec spec;
            spec.coverage = coverage;
            spec.minRadius = 2.5 * scale; // stains of about 210 to 1270 micrometres
            spec.maxRadius = 15 * scale;
            spec.speckShare = 0;
            const cardgen::ScatterResult scatter = cardgen::Scatter(card, spec, rng);
            const std::string path = (dir / ("card-" + std::to_string(dpi) + "-"
                                             + std::to_string(static_cast<int>(coverage * 100)) + ".bmp"))
                                         .string();
            if (!cardgen::WriteBmp(card, path, {.dpi = dpi})) {
                std::fprintf(stderr, "cannot write %s\n", path.c_str());
                return 1;
            }
            const double mpp = MicronsPerPixel(dpi);
            const Truth truth = TruthOf(card, scatter.discs, mpp);
            const VelmaraRun plain = RunVelmara(path, dpi, false);
            const VelmaraRun split = RunVelmara(path, dpi, true);
            const cv::Mat image(card.height, card.width, CV_8UC1, card.pixels.data());
            const PeerRun peer = RunPeer(image, mpp);

            const double dvLimit = coverage <= 0.15 + 1e-9 ? 5 : 10;
            auto row = [&](const char *name, const Figures &f, bool judged) {
                const double count = Error(f.count, static_cast<double>(truth.resolvable));
                const double dv[3] = {Error(f.dv10, truth.all.dv10), Error(f.dv50, truth.all.dv50),
                                      Error(f.dv90, truth.all.dv90)};
                std::string mark;
                if (judged) {
                    const double peerCount = Error(peer.figures.count, static_cast<double>(truth.resolvable));
                    const double peerDv50 = Error(peer.figures.dv50, truth.all.dv50);
                    if (std::fabs(count) > 5)
                        mark += " count";
                    for (int k = 0; k < 3; ++k)
                        if (std::fabs(dv[k]) > dvLimit)
                            mark += k == 0 ? " Dv0.1" : k == 1 ? " Dv0.5" : " Dv0.9";
                    if (std::fabs(count) > std::fabs(peerCount))
                        mark += " count>peer";
                    if (std::fabs(dv[1]) > std::fabs(peerDv50))
                        mark += " Dv0.5>peer";
                    misses += !mark.empty();
                }
                std::printf("%4d %3.0f%% %6zu %6lld | %-8s %+6.1f%% %6.2f%% %+6.1f%% %+6.1f%% %+6.1f%%%s\n", dpi,
                            coverage * 100, scatter.discs.size(), truth.resolvable, name, count, f.coverage,
                            dv[0], dv[1], dv[2], mark.empty() ? "" : ("   MISS:" + mark).c_str());
            };
            Figures truthRow = truth.all;
            truthRow.count = static_cast<double>(truth.resolvable);
            truthRow.coverage = truth.covered;
            row("truth", truthRow, false);
            row("split", split.figures, true);
            row("peer", peer.figures, false);
            row("plain", plain.figures, false);
        }
    }
    std::printf("%d card(s) miss a goal\n\n", misses);
    return 0;
}

int Speed()
{
    const fs::path path = BenchDir() / "sheet-15.bmp"; // the scan benchmark's sheet, if made
    if (!fs::exists(path)) {
        fs::create_directories(path.parent_path());
        cardgen::IndexedImage image(10200, 13200, {cardgen::kWhite, {200, 30, 30}}, 0);
        cardgen::Rng rng(1200);
        cardgen::ScatterSpec spec;
        spec.coverage = 0.15;
        spec.minRadius = 1;
        spec.maxRadius = 40;
        spec.speckShare = 0;
        cardgen::Scatter(image, spec, rng);
        if (!cardgen::WriteBmp(image, path.string())) {
            std::fprintf(stderr, "cannot write %s\n", path.string().c_str());
            return 1;
        }
    }
    std::printf("Speed: 10200 x 13200 8-bit sheet, 15 %% coverage, wall seconds\n");
    const VelmaraRun plain = RunVelmara(path.string(), 1200, false);
    const VelmaraRun split = RunVelmara(path.string(), 1200, true);
    const auto start = std::chrono::steady_clock::now();
    const cv::Mat image = ReadBmp(path.string());
    const double read = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const PeerRun peer = RunPeer(image, MicronsPerPixel(1200));
    const double peerTotal = read + peer.seconds;
    std::printf("  decode + scan                 %7.2f s  %8.0f stains\n", plain.seconds, plain.figures.count);
    std::printf("  decode + scan + split         %7.2f s  %8.0f stains (%lld split into %lld)%s\n", split.seconds,
                split.figures.count, split.split, split.parts, split.seconds > peerTotal ? "   MISS: slower than the peer" : "");
    std::printf("  peer: read + threshold + distance + maxima + watershed + stats\n"
                "                                %7.2f s  %8.0f stains\n",
                peerTotal, peer.figures.count);
    std::printf("    read %.2f, threshold + distance %.2f, maxima %.2f, watershed %.2f, stats %.2f\n", read,
                peer.distance, peer.maxima, peer.watershed, peer.stats);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const bool accuracy = argc < 2 || std::strcmp(argv[1], "--accuracy") == 0;
    const bool speed = argc < 2 || std::strcmp(argv[1], "--speed") == 0;
    if (!accuracy && !speed) {
        std::fprintf(stderr, "usage: bench_split [--accuracy | --speed]\n");
        return 2;
    }
    if (accuracy && Accuracy() != 0)
        return 1;
    return speed ? Speed() : 0;
}
