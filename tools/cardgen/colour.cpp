#include "cardgen/cardgen.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <map>

namespace velmara::cardgen {

namespace {

// Each pixel is sampled on an 8 x 8 grid: enough for edge shades finer than the sensor noise.
constexpr int kSub = 8;
constexpr double kPi = 3.14159265358979323846;

struct PaperColours
{
    std::array<double, 3> card, stain;
};

PaperColours coloursOf(Paper paper)
{
    constexpr std::array<double, 3> white{246, 245, 240};
    switch (paper) {
    case Paper::WaterSensitive: return {{232, 208, 58}, {32, 48, 128}};
    case Paper::WhiteRed: return {white, {190, 30, 45}};
    case Paper::WhiteBlue: return {white, {35, 70, 170}};
    case Paper::WhiteBlack: return {white, {35, 35, 38}};
    case Paper::Grey: break;
    }
    return {{222, 222, 222}, {70, 70, 70}};
}

// The program's own conversion: 12 inches a foot, 3.2808 feet a metre.
double micronsPerPixel(int dpi) { return 1e6 / (dpi * 12.0 * 3.2808); }

std::uint64_t mix(std::uint64_t x)
{
    x += 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31);
}

// Sub-columns [first, last] of the stain on the sub-row through sy; false when it misses the row.
bool spanOf(const ColourStain &s, double sy, int subColumns, int &first, int &last)
{
    const double dy = sy - s.cy;
    const double ia = 1 / (s.semiMajor * s.semiMajor), ib = 1 / (s.semiMinor * s.semiMinor);
    const double c = s.axisX, n = s.axisY;
    // The ellipse as a quadratic in dx: along the axis u = dx c + dy n, across it v = dy c - dx n.
    const double a = c * c * ia + n * n * ib;
    const double b = 2 * dy * c * n * (ia - ib);
    const double k = dy * dy * (n * n * ia + c * c * ib) - 1;
    const double disc = b * b - 4 * a * k;
    if (disc < 0)
        return false;
    const double root = std::sqrt(disc);
    const double x0 = s.cx + (-b - root) / (2 * a), x1 = s.cx + (-b + root) / (2 * a);
    // Sub-column j samples at (j + 0.5) / kSub.
    first = static_cast<int>(std::max(0.0, std::ceil(kSub * x0 - 0.5)));
    last = static_cast<int>(std::min(subColumns - 1.0, std::floor(kSub * x1 - 0.5)));
    return first <= last;
}

struct Event
{
    int at;
    int step; // +1 where a stain's span starts, -1 after it ends
    int stain;
    bool operator<(const Event &o) const { return at != o.at ? at < o.at : step < o.step; }
};

// Walks the spans of every stain on the sub-rows of pixel row y, calling
// segment(first, end, count, stain) for each stretch [first, end) of sub-columns covered by
// count > 0 stains; stain is the one covering it when count is 1.
template <typename Fn>
void sweepRow(const std::vector<ColourStain> &stains, const std::vector<int> &byRow, double reach, int width,
              int y, std::vector<Event> &events, Fn segment)
{
    const auto lower = std::lower_bound(byRow.begin(), byRow.end(), y - reach - 1,
                                        [&](int i, double v) { return stains[static_cast<size_t>(i)].cy < v; });
    for (int sub = 0; sub < kSub; ++sub) {
        const double sy = y + (sub + 0.5) / kSub;
        events.clear();
        for (auto it = lower; it != byRow.end() && stains[static_cast<size_t>(*it)].cy <= y + 1 + reach; ++it) {
            int first = 0, last = 0;
            if (spanOf(stains[static_cast<size_t>(*it)], sy, width * kSub, first, last)) {
                events.push_back({first, 1, *it});
                events.push_back({last + 1, -1, *it});
            }
        }
        std::sort(events.begin(), events.end());
        int count = 0;
        long long ids = 0; // sum of the covering stains' indexes: the one stain's index when count is 1
        for (size_t e = 0; e < events.size(); ++e) {
            count += events[e].step;
            ids += events[e].step * static_cast<long long>(events[e].stain);
            if (count > 0 && e + 1 < events.size() && events[e + 1].at > events[e].at)
                segment(events[e].at, events[e + 1].at, count, static_cast<int>(ids));
        }
    }
}

} // namespace

bool PaperOf(const std::string &name, Paper &paper)
{
    static const std::map<std::string, Paper> names{{"wsp", Paper::WaterSensitive},
                                                    {"white-red", Paper::WhiteRed},
                                                    {"white-blue", Paper::WhiteBlue},
                                                    {"white-black", Paper::WhiteBlack},
                                                    {"grey", Paper::Grey}};
    const auto it = names.find(name);
    if (it == names.end())
        return false;
    paper = it->second;
    return true;
}

ColourCard::ColourCard(ColourCardSpec spec) : mSpec(std::move(spec))
{
    if (mSpec.width < 1 || mSpec.height < 1 || mSpec.dpi < 1) {
        mSpec.width = 0;
        mSpec.stains.clear();
        return;
    }
    const double w = mSpec.width, h = mSpec.height;
    if (mSpec.stains.empty()) {
        Rng rng(mSpec.seed);
        const double perPixel = micronsPerPixel(mSpec.dpi);
        double placed = 0;
        while (placed < mSpec.coverage * w * h) {
            // Squaring the uniform draw makes small stains the more common, as on a real card.
            const double u = rng.uniform();
            const double radius = (mSpec.minMicrons + (mSpec.maxMicrons - mSpec.minMicrons) * u * u) / perPixel / 2;
            const double ratio = mSpec.minAxisRatio + (1 - mSpec.minAxisRatio) * rng.uniform();
            double ax = 0, ay = 0, norm = 0;
            do {
                ax = 2 * rng.uniform() - 1;
                ay = 2 * rng.uniform() - 1;
                norm = ax * ax + ay * ay;
            } while (norm > 1 || norm < 1e-4);
            ColourStain s;
            s.cx = rng.uniform() * w;
            s.cy = rng.uniform() * h;
            s.semiMajor = radius / std::sqrt(ratio);
            s.semiMinor = radius * std::sqrt(ratio);
            s.axisX = ax / std::sqrt(norm);
            s.axisY = ay / std::sqrt(norm);
            mSpec.stains.push_back(s);
            placed += kPi * radius * radius;
        }
    }
    for (const ColourStain &s : mSpec.stains)
        mReach = std::max(mReach, s.semiMajor);
    mByRow.resize(mSpec.stains.size());
    for (size_t i = 0; i < mByRow.size(); ++i)
        mByRow[i] = static_cast<int>(i);
    std::stable_sort(mByRow.begin(), mByRow.end(),
                     [&](int a, int b) { return mSpec.stains[static_cast<size_t>(a)].cy < mSpec.stains[static_cast<size_t>(b)].cy; });

    // Areas on the same sub-pixel grid the painter uses, so that the list and the picture agree.
    std::vector<long long> total(mSpec.stains.size(), 0), alone(mSpec.stains.size(), 0);
    long long covered = 0;
    std::vector<Event> events;
    for (int y = 0; y < mSpec.height; ++y) {
        sweepRow(mSpec.stains, mByRow, mReach, mSpec.width, y, events, [&](int first, int end, int count, int stain) {
            covered += end - first;
            if (count == 1)
                alone[static_cast<size_t>(stain)] += end - first;
        });
    }
    for (size_t i = 0; i < mSpec.stains.size(); ++i) {
        // Each stain's own area, overlaps included: its spans row by row.
        const ColourStain &s = mSpec.stains[i];
        const int top = std::max(0, static_cast<int>(std::floor(s.cy - s.semiMajor)));
        const int bottom = std::min(mSpec.height - 1, static_cast<int>(std::ceil(s.cy + s.semiMajor)));
        for (int y = top; y <= bottom; ++y)
            for (int sub = 0; sub < kSub; ++sub) {
                int first = 0, last = 0;
                if (spanOf(s, y + (sub + 0.5) / kSub, mSpec.width * kSub, first, last))
                    total[i] += last - first + 1;
            }
    }
    for (size_t i = 0; i < mSpec.stains.size(); ++i) {
        ColourStain &s = mSpec.stains[i];
        s.area = static_cast<double>(total[i]) / (kSub * kSub);
        s.diameter = 2 * std::sqrt(s.area / kPi);
        s.resolvable = total[i] > 0 && 2 * alone[i] >= total[i];
    }
    mCoveredShare = static_cast<double>(covered) / (kSub * kSub) / (w * h);
}

void ColourCard::paintRow(int y, std::uint8_t *rgb) const
{
    const int width = mSpec.width;
    std::vector<int> cover(static_cast<size_t>(width), 0);
    std::vector<Event> events;
    sweepRow(mSpec.stains, mByRow, mReach, width, y, events, [&](int first, int end, int, int) {
        for (int j = first; j < end;) {
            const int px = j / kSub;
            const int stop = std::min(end, (px + 1) * kSub);
            cover[static_cast<size_t>(px)] += stop - j;
            j = stop;
        }
    });

    const PaperColours colours = coloursOf(mSpec.paper);
    const double fy = mSpec.height > 1 ? static_cast<double>(y) / (mSpec.height - 1) : 0;
    // Noise as a sum of four uniform draws: near enough to a bell and free of the math library.
    constexpr double kSqrt3 = 1.7320508075688772;
    const double noiseScale = mSpec.noise * kSqrt3;
    Rng rng(mix(mSpec.seed ^ mix(static_cast<std::uint64_t>(y) + 1)));
    const auto noise = [&] {
        const std::uint64_t r = rng.next();
        double sum = 0;
        for (int k = 0; k < 4; ++k)
            sum += static_cast<double>((r >> (16 * k)) & 0xFFFF) / 65536.0;
        return (sum - 2) * noiseScale;
    };
    for (int x = 0; x < width; ++x) {
        const double f = cover[static_cast<size_t>(x)] / double(kSub * kSub);
        const double fx = width > 1 ? static_cast<double>(x) / (width - 1) : 0;
        const double light = 1 - mSpec.gradient * (fx + fy) / 2;
        std::uint8_t *p = rgb + 3 * static_cast<size_t>(x);
        const double greyNoise = grey() ? noise() : 0;
        for (int c = 0; c < 3; ++c) {
            const double v = (colours.card[c] * (1 - f) + colours.stain[c] * f) * light + (grey() ? greyNoise : noise());
            p[c] = static_cast<std::uint8_t>(std::clamp(std::floor(v + 0.5), 0.0, 255.0));
        }
    }
}

RgbImage ColourCard::image() const
{
    RgbImage out;
    out.width = mSpec.width;
    out.height = mSpec.width > 0 ? mSpec.height : 0;
    out.data.resize(3 * static_cast<size_t>(out.width) * static_cast<size_t>(out.height));
    for (int y = 0; y < out.height; ++y)
        paintRow(y, out.data.data() + 3 * static_cast<size_t>(y) * static_cast<size_t>(out.width));
    return out;
}

std::string ColourCard::stainList() const
{
    std::string out = "x,y,semi_major,semi_minor,diameter,area,resolvable\n";
    char line[160];
    for (const ColourStain &s : mSpec.stains) {
        // Areas are sixty-fourths of a pixel, so six decimals print them exactly.
        std::snprintf(line, sizeof line, "%.3f,%.3f,%.3f,%.3f,%.3f,%.6f,%d\n", s.cx, s.cy, s.semiMajor, s.semiMinor,
                      s.diameter, s.area, s.resolvable ? 1 : 0);
        out += line;
    }
    return out;
}

std::vector<ColourCardSpec> ColourLine(const ColourCardSpec &base, int cards, double peakCoverage, double edgeShare)
{
    std::vector<ColourCardSpec> line;
    for (int i = 0; i < cards; ++i) {
        ColourCardSpec spec = base;
        spec.seed = base.seed * 1000003ULL + static_cast<std::uint64_t>(i);
        const double half = (cards - 1) / 2.0;
        const double x = half > 0 ? (i - half) / half : 0.0;
        const double bell = (1 - x * x) * (1 - x * x);
        spec.coverage = peakCoverage * (edgeShare + (1 - edgeShare) * bell);
        line.push_back(std::move(spec));
    }
    return line;
}

RgbRows RowsOf(const ColourCard &card)
{
    return {card.width(), card.width() > 0 ? card.height() : 0, card.grey(),
            [&card](int y, std::uint8_t *rgb) { card.paintRow(y, rgb); }};
}

RgbRows RowsOf(const RgbImage &image)
{
    return {image.width, image.height, false, [&image](int y, std::uint8_t *rgb) {
                const size_t rowBytes = 3 * static_cast<size_t>(image.width);
                std::copy_n(image.data.data() + rowBytes * static_cast<size_t>(y), rowBytes, rgb);
            }};
}

IndexedImage ReduceToTable(const RgbRows &rows)
{
    if (rows.width < 1 || rows.height < 1)
        return {};
    constexpr int kBins = 1 << 15;
    const auto binOf = [](const std::uint8_t *p) { return (p[0] >> 3) << 10 | (p[1] >> 3) << 5 | (p[2] >> 3); };
    std::vector<long long> count(kBins, 0);
    std::vector<std::array<long long, 3>> sum(kBins, {0, 0, 0});
    std::vector<std::uint8_t> row(3 * static_cast<size_t>(rows.width));
    for (int y = 0; y < rows.height; ++y) {
        rows.row(y, row.data());
        for (int x = 0; x < rows.width; ++x) {
            const std::uint8_t *p = row.data() + 3 * x;
            const int bin = binOf(p);
            ++count[static_cast<size_t>(bin)];
            for (int c = 0; c < 3; ++c)
                sum[static_cast<size_t>(bin)][static_cast<size_t>(c)] += p[c];
        }
    }
    std::vector<int> order;
    for (int b = 0; b < kBins; ++b)
        if (count[static_cast<size_t>(b)] > 0)
            order.push_back(b);
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return count[static_cast<size_t>(a)] > count[static_cast<size_t>(b)]; });
    order.resize(std::min<size_t>(order.size(), 256));

    IndexedImage out(rows.width, rows.height, {});
    for (int b : order) {
        const auto &s = sum[static_cast<size_t>(b)];
        const long long n = count[static_cast<size_t>(b)];
        out.palette.push_back({static_cast<std::uint8_t>((s[0] + n / 2) / n), static_cast<std::uint8_t>((s[1] + n / 2) / n),
                               static_cast<std::uint8_t>((s[2] + n / 2) / n)});
    }
    // Each bin seen goes to the nearest table colour, ties to the more frequent one.
    std::vector<std::uint8_t> nearest(kBins, 0);
    for (int b = 0; b < kBins; ++b) {
        const long long n = count[static_cast<size_t>(b)];
        if (n == 0)
            continue;
        const auto &s = sum[static_cast<size_t>(b)];
        const long long mean[3] = {(s[0] + n / 2) / n, (s[1] + n / 2) / n, (s[2] + n / 2) / n};
        long long best = -1;
        for (size_t i = 0; i < out.palette.size(); ++i) {
            const Rgb &c = out.palette[i];
            const long long dr = mean[0] - c.r, dg = mean[1] - c.g, db = mean[2] - c.b;
            const long long d = dr * dr + dg * dg + db * db;
            if (best < 0 || d < best) {
                best = d;
                nearest[static_cast<size_t>(b)] = static_cast<std::uint8_t>(i);
            }
        }
    }
    for (int y = 0; y < rows.height; ++y) {
        rows.row(y, row.data());
        for (int x = 0; x < rows.width; ++x)
            out.row(y)[x] = nearest[static_cast<size_t>(binOf(row.data() + 3 * x))];
    }
    return out;
}

} // namespace velmara::cardgen
