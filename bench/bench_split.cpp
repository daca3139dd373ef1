// Overlapping stains: how well the scan with splitting recovers the drops of generated cards, and
// what it costs, beside the peer a user might pick: OpenCV's threshold, distance transform, markers
// from the regional maxima of the distance with a height of one pixel, and watershed.
//
// Accuracy: 8-bit cards of random discs (the discs are the truth) at 600 and 1200 dpi, 3 to 25 %
// coverage, spread factor 0 + 1d. The count is held against the resolvable discs (at least half of
// their area covered by no other disc); Dv0.1, Dv0.5 and Dv0.9 against those of all discs.
// Then the same on generated colour scans (water-sensitive paper, white cards with red and with
// black dye) as PNG, JPEG q90 and an 8-bit colour-table BMP of the same stains, the peer
// thresholding the colour files by Otsu on the distance from the card's median colour.
// Speed: the 10200 x 13200 letter sheet at 15 % coverage, 8-bit and 24-bit PNG, from the file,
// both ways.
//
//   bench_split              all tables
//   bench_split --accuracy   both accuracy tables
//   bench_split --colour     the colour accuracy table only
//   bench_split --speed      the speed tables only
//
// Cards and sheets are written to $VELMARA_BENCH_DIR (default: the system's temporary folder)
// once; the 24-bit sheet is the colour benchmark's own file.

#include "analysis/scanimage.h"
#include "cardgen/cardgen.h"
#include "intake/decode.h"
#include "intake/loadimage.h"

#ifdef VELMARA_HAVE_OPENCV_CODECS
#include <opencv2/imgcodecs.hpp>
#endif
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
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
Figures FiguresOf(const std::map<double, double> &countByArea, double micronsPerPixel, double cardPixels)
{
    Figures f;
    std::vector<double> diameter, cum;
    double total = 0, pixels = 0;
    for (const auto &[area, count] : countByArea) {
        const double d = 2 * std::sqrt(micronsPerPixel * micronsPerPixel * area / kPi);
        diameter.push_back(d);
        cum.push_back(count * d * d * d);
        total += count * d * d * d;
        f.count += count;
        pixels += count * area;
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
    std::map<double, double> areas;
    for (const auto &d : discs) {
        long long own = 0, free = 0;
        visit(d, [&](size_t i) {
            ++own;
            free += cover[i] == 1;
        });
        if (own > 0 && 2 * free >= own)
            ++t.resolvable;
        areas[static_cast<double>(cardgen::DiscArea(d.radius))] += 1;
    }
    const double cardPixels = static_cast<double>(card.pixels.size());
    t.all = FiguresOf(areas, mpp, cardPixels);
    t.covered = 100.0 * static_cast<double>(std::count_if(cover.begin(), cover.end(), [](auto c) { return c > 0; }))
        / cardPixels;
    return t;
}

// Every stain at its painted area; the count held against the resolvable ones.
Truth TruthOf(const cardgen::ColourCard &card, double mpp)
{
    Truth t;
    std::map<double, double> areas;
    for (const cardgen::ColourStain &s : card.stains()) {
        areas[s.area] += 1;
        t.resolvable += s.resolvable;
    }
    t.all = FiguresOf(areas, mpp, static_cast<double>(card.width()) * card.height());
    t.covered = 100 * card.coveredShare();
    return t;
}

// --- Velmara: the card's file loaded, decoded and scanned, with or without splitting.

struct VelmaraRun
{
    Figures figures;
    double seconds = 0;
    long long split = 0, parts = 0;
};

VelmaraRun RunVelmara(const std::string &path, int dpi, bool split, bool colour = false)
{
    const auto start = std::chrono::steady_clock::now();
    Workspace ws;
    ws.ColourScans = colour;
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
    std::map<double, double> areas;
    for (int k = 1; k <= c.SizeRows(); ++k)
        areas[static_cast<double>(c.SizeTable[k].AreaPx)] += c.SizeTable[k].Count;
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

// The stains of an 8-bit picture: every index but 0, the card's.
cv::Mat IndexMask(const cv::Mat &image)
{
    cv::Mat mask;
    cv::threshold(image, mask, 0, 255, cv::THRESH_BINARY);
    return mask;
}

// The stains of a colour picture: Otsu's threshold on each pixel's distance from the card's median
// colour, as a user without a colour model would separate them.
cv::Mat OtsuMask(const cv::Mat &bgr)
{
    int median[3] = {0, 0, 0};
    std::vector<long long> histogram(3 * 256, 0);
    for (int y = 0; y < bgr.rows; ++y) {
        const std::uint8_t *p = bgr.ptr<std::uint8_t>(y);
        for (int x = 0; x < 3 * bgr.cols; ++x)
            ++histogram[static_cast<size_t>(x % 3 * 256 + p[x])];
    }
    const long long half = static_cast<long long>(bgr.total()) / 2;
    for (int c = 0; c < 3; ++c)
        for (long long seen = 0; seen + histogram[static_cast<size_t>(c * 256 + median[c])] <= half;)
            seen += histogram[static_cast<size_t>(c * 256 + median[c]++)];
    cv::Mat distance(bgr.size(), CV_8UC1), mask;
    for (int y = 0; y < bgr.rows; ++y) {
        const std::uint8_t *p = bgr.ptr<std::uint8_t>(y);
        std::uint8_t *d = distance.ptr<std::uint8_t>(y);
        for (int x = 0; x < bgr.cols; ++x, p += 3) {
            double d2 = 0;
            for (int c = 0; c < 3; ++c)
                d2 += double(p[c] - median[c]) * (p[c] - median[c]);
            d[x] = cv::saturate_cast<std::uint8_t>(std::sqrt(d2));
        }
    }
    cv::threshold(distance, mask, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
    return mask;
}

// The stain areas of a picture, whose stains threshold(image) gives as 255 on 0.
template <typename Threshold>
PeerRun RunPeer(const cv::Mat &image, double mpp, Threshold threshold)
{
    const auto start = std::chrono::steady_clock::now();
    auto mark = start;
    PeerRun r;
    const cv::Mat mask = threshold(image);
    cv::Mat dist;
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
    std::map<double, double> areas;
    for (int l = 1; l < labels; ++l)
        if (area[static_cast<size_t>(l)] > 0)
            areas[static_cast<double>(area[static_cast<size_t>(l)])] += 1;
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

struct Method
{
    const char *name;
    Figures figures;
};

// The rows of one card, lead being its first columns: the truth, then each method's errors, the
// first method judged against the goals and against the peer's figures. True when it misses one.
bool PrintCard(const std::string &lead, const Truth &truth, double coverage, const std::vector<Method> &methods,
               const Figures &peer)
{
    const double dvLimit = coverage <= 0.15 + 1e-9 ? 5 : 10;
    bool miss = false;
    auto row = [&](const char *name, const Figures &f, bool judged) {
        const double count = Error(f.count, static_cast<double>(truth.resolvable));
        const double dv[3] = {Error(f.dv10, truth.all.dv10), Error(f.dv50, truth.all.dv50),
                              Error(f.dv90, truth.all.dv90)};
        std::string mark;
        if (judged) {
            const double peerCount = Error(peer.count, static_cast<double>(truth.resolvable));
            const double peerDv50 = Error(peer.dv50, truth.all.dv50);
            if (std::fabs(count) > 5)
                mark += " count";
            for (int k = 0; k < 3; ++k)
                if (std::fabs(dv[k]) > dvLimit)
                    mark += k == 0 ? " Dv0.1" : k == 1 ? " Dv0.5" : " Dv0.9";
            if (std::fabs(count) > std::fabs(peerCount))
                mark += " count>peer";
            if (std::fabs(dv[1]) > std::fabs(peerDv50))
                mark += " Dv0.5>peer";
            miss = !mark.empty();
        }
        std::printf("%s | %-8s %+6.1f%% %6.2f%% %+6.1f%% %+6.1f%% %+6.1f%%%s\n", lead.c_str(), name, count,
                    f.coverage, dv[0], dv[1], dv[2], mark.empty() ? "" : ("   MISS:" + mark).c_str());
    };
    Figures truthRow = truth.all;
    truthRow.count = static_cast<double>(truth.resolvable);
    truthRow.coverage = truth.covered;
    row("truth", truthRow, false);
    for (size_t k = 0; k < methods.size(); ++k)
        row(methods[k].name, methods[k].figures, k == 0);
    return miss;
}

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
            const PeerRun peer = RunPeer(image, mpp, IndexMask);
            char lead[64];
            std::snprintf(lead, sizeof lead, "%4d %3.0f%% %6zu %6lld", dpi, coverage * 100, scatter.discs.size(),
                          truth.resolvable);
            misses += PrintCard(lead, truth, coverage,
                                {{"split", split.figures}, {"peer", peer.figures}, {"plain", plain.figures}},
                                peer.figures);
        }
    }
    std::printf("%d card(s) miss a goal\n\n", misses);
    return 0;
}

// The card as an old scanner's colour table holds it: index 0 the card, index 1 the stain, a pixel
// being stain where the stains cover at least half of it. Painted without noise or gradient, a
// pixel's colour lies on the line from the card's colour to the stain's in proportion to its cover.
cardgen::IndexedImage TableOf(const cardgen::ColourCard &card)
{
    cardgen::ColourCardSpec spec = card.spec(); // the stains as placed, so the same card
    spec.noise = 0;
    spec.gradient = 0;
    const cardgen::ColourCard clean(spec);
    const cardgen::RgbImage rgb = clean.image();
    const size_t pixels = rgb.data.size() / 3;
    // The card is the commonest colour, the stain's the one furthest from it.
    std::map<std::array<std::uint8_t, 3>, long long> seen;
    for (size_t i = 0; i < pixels; ++i)
        ++seen[{rgb.data[3 * i], rgb.data[3 * i + 1], rgb.data[3 * i + 2]}];
    const auto paper = std::max_element(seen.begin(), seen.end(), [](auto &a, auto &b) { return a.second < b.second; })->first;
    auto distance2 = [&](const std::uint8_t *p) {
        int d = 0;
        for (int c = 0; c < 3; ++c)
            d += (p[c] - paper[static_cast<size_t>(c)]) * (p[c] - paper[static_cast<size_t>(c)]);
        return d;
    };
    std::array<std::uint8_t, 3> dye = paper;
    for (const auto &[colour, n] : seen)
        if (distance2(colour.data()) > distance2(dye.data()))
            dye = colour;
    cardgen::IndexedImage table(rgb.width, rgb.height, {{paper[0], paper[1], paper[2]}, {dye[0], dye[1], dye[2]}}, 0);
    const int full = distance2(dye.data());
    for (size_t i = 0; i < pixels; ++i)
        table.pixels[i] = 4 * distance2(&rgb.data[3 * i]) >= full; // half way along the line, squared
    return table;
}

// The picture as the peer reads it, blue green red; empty when it cannot be read.
cv::Mat ReadColour(const std::string &path)
{
#ifdef VELMARA_HAVE_OPENCV_CODECS
    return cv::imread(path, cv::IMREAD_COLOR);
#else
    (void)path;
    return {};
#endif
}

// Writes the file unless it is there already.
std::string CardFile(const fs::path &path, const std::function<bool(const std::string &, std::string *)> &write)
{
    if (fs::exists(path))
        return path.string();
    fs::create_directories(path.parent_path());
    const fs::path part = path.string() + ".part" + path.extension().string();
    std::string error;
    if (!write(part.string(), &error)) {
        std::fprintf(stderr, "cannot write %s: %s\n", path.string().c_str(), error.c_str());
        std::exit(1);
    }
    fs::rename(part, path);
    return path.string();
}

int ColourAccuracy()
{
    std::printf("Colour cards: count against the resolvable stains, Dv against all stains, errors in %%\n");
    std::printf("%-23s %6s %6s | %-8s %7s %7s %7s %7s %7s\n", "card", "stains", "resolv", "method", "count", "cover",
                "Dv0.1", "Dv0.5", "Dv0.9");
    const std::pair<const char *, cardgen::Paper> papers[] = {{"wsp", cardgen::Paper::WaterSensitive},
                                                              {"white-red", cardgen::Paper::WhiteRed},
                                                              {"white-black", cardgen::Paper::WhiteBlack}};
    // The colour files as scanned, and the same stains as an 8-bit colour table (ColourScans off).
    const struct
    {
        const char *ending;
        bool colour;
    } formats[] = {{"png", true}, {"jpg", true}, {"bmp", false}};
    int misses = 0;
    for (const auto &[paperName, paper] : papers)
        for (const int dpi : {600, 1200})
            for (const double coverage : {0.03, 0.05, 0.10, 0.15, 0.20, 0.25}) {
                cardgen::ColourCardSpec spec;
                spec.paper = paper;
                spec.dpi = dpi;
                spec.width = dpi; // a card of 1 x 2 inches
                spec.height = 2 * dpi;
                spec.coverage = coverage;
                spec.seed = static_cast<std::uint64_t>(dpi * 100 + coverage * 100);
                const cardgen::ColourCard card(spec);
                const double mpp = MicronsPerPixel(dpi);
                const Truth truth = TruthOf(card, mpp);
                for (const auto &format : formats) {
                    char name[64];
                    std::snprintf(name, sizeof name, "%s-%d-%02d.%s", paperName, dpi,
                                  static_cast<int>(coverage * 100 + 0.5), format.ending);
                    const std::string path = CardFile(BenchDir() / "split" / "colour" / name, [&](const std::string &to, std::string *error) {
                        return format.colour ? cardgen::WriteColour(cardgen::RowsOf(card), to, {dpi, 90}, error)
                                             : cardgen::WriteBmp(TableOf(card), to, {.dpi = dpi}, error);
                    });
                    const VelmaraRun split = RunVelmara(path, dpi, true, format.colour);
                    const cv::Mat image = format.colour ? ReadColour(path) : ReadBmp(path);
                    if (image.empty()) {
                        std::fprintf(stderr, "the peer cannot read %s\n", path.c_str());
                        return 1;
                    }
                    const PeerRun peer = format.colour ? RunPeer(image, mpp, OtsuMask) : RunPeer(image, mpp, IndexMask);
                    char lead[64];
                    std::snprintf(lead, sizeof lead, "%-23s %6zu %6lld", name, card.stains().size(), truth.resolvable);
                    misses += PrintCard(lead, truth, coverage, {{"split", split.figures}, {"peer", peer.figures}},
                                        peer.figures);
                }
            }
    std::printf("%d card(s) miss a goal\n\n", misses);
    return 0;
}

// Decode + scan with and without splitting beside the peer's read + threshold + distance + maxima +
// watershed + stats of the same file; false when the peer cannot read it.
template <typename Read, typename Threshold>
bool CompareSpeed(const char *title, const std::string &path, bool colour, Read readImage, Threshold threshold)
{
    std::printf("Speed: 10200 x 13200 %s, 15 %% coverage, wall seconds\n", title);
    const VelmaraRun plain = RunVelmara(path, 1200, false, colour);
    const VelmaraRun split = RunVelmara(path, 1200, true, colour);
    const auto start = std::chrono::steady_clock::now();
    const cv::Mat image = readImage(path);
    const double read = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (image.empty()) {
        std::fprintf(stderr, "the peer cannot read %s\n", path.c_str());
        return false;
    }
    const PeerRun peer = RunPeer(image, MicronsPerPixel(1200), threshold);
    const double peerTotal = read + peer.seconds;
    std::printf("  decode + scan                 %7.2f s  %8.0f stains\n", plain.seconds, plain.figures.count);
    std::printf("  decode + scan + split         %7.2f s  %8.0f stains (%lld split into %lld)%s\n", split.seconds,
                split.figures.count, split.split, split.parts, split.seconds > peerTotal ? "   MISS: slower than the peer" : "");
    std::printf("  peer: read + threshold + distance + maxima + watershed + stats\n"
                "                                %7.2f s  %8.0f stains\n",
                peerTotal, peer.figures.count);
    std::printf("    read %.2f, threshold + distance %.2f, maxima %.2f, watershed %.2f, stats %.2f\n", read,
                peer.distance, peer.maxima, peer.watershed, peer.stats);
    return true;
}

int Speed()
{
    // The scan benchmark's 8-bit sheet and the colour benchmark's 24-bit one, whichever is made.
    const std::string grey = CardFile(BenchDir() / "sheet-15.bmp", [](const std::string &to, std::string *error) {
        cardgen::IndexedImage image(10200, 13200, {cardgen::kWhite, {200, 30, 30}}, 0);
        cardgen::Rng rng(1200);
        cardgen::ScatterSpec spec;
        spec.coverage = 0.15;
        spec.minRadius = 1;
        spec.maxRadius = 40;
        spec.speckShare = 0;
        cardgen::Scatter(image, spec, rng);
        return cardgen::WriteBmp(image, to, {}, error);
    });
    if (!CompareSpeed("8-bit sheet", grey, false, ReadBmp, IndexMask))
        return 1;
    const std::string colour = CardFile(BenchDir() / "colour" / "sheet.png", [](const std::string &to, std::string *error) {
        cardgen::ColourCardSpec spec;
        spec.paper = cardgen::Paper::WaterSensitive;
        spec.dpi = 1200;
        spec.width = 10200;
        spec.height = 13200;
        spec.coverage = 0.15;
        spec.seed = 1200;
        const cardgen::ColourCard sheet(spec);
        return cardgen::WriteColour(cardgen::RowsOf(sheet), to, {spec.dpi, 90}, error);
    });
    return CompareSpeed("24-bit PNG sheet", colour, true, ReadColour, OtsuMask) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string option = argc == 2 ? argv[1] : "";
    const bool all = argc < 2;
    if (argc > 2 || (!all && option != "--accuracy" && option != "--colour" && option != "--speed")) {
        std::fprintf(stderr, "usage: bench_split [--accuracy | --colour | --speed]\n");
        return 2;
    }
    if ((all || option == "--accuracy") && Accuracy() != 0)
        return 1;
    if ((all || option == "--accuracy" || option == "--colour") && ColourAccuracy() != 0)
        return 1;
    return all || option == "--speed" ? Speed() : 0;
}
