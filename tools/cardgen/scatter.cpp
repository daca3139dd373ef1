#include "cardgen/cardgen.h"

#include <algorithm>
#include <cmath>

namespace velmara::cardgen {

namespace {

std::uint64_t splitmix64(std::uint64_t &x)
{
    std::uint64_t z = (x += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

std::uint64_t rotl(std::uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }

// e^x from basic arithmetic only, so that the samples come out the same with any math library.
double portableExp(double x)
{
    constexpr double ln2 = 0.6931471805599453;
    const double k = std::floor(x / ln2 + 0.5);
    const double r = x - k * ln2;
    double term = 1, sum = 1;
    for (int n = 1; n < 30; ++n) {
        term *= r / n;
        sum += term;
    }
    return std::ldexp(sum, static_cast<int>(k));
}

void paintSpeck(IndexedImage &image, Rng &rng, int pixels, std::uint8_t index)
{
    int x = rng.between(0, image.width - 1);
    int y = rng.between(0, image.height - 1);
    for (int i = 0; i < pixels; ++i) {
        image.row(y)[x] = index;
        switch (rng.between(0, 3)) {
        case 0: x = std::min(x + 1, image.width - 1); break;
        case 1: x = std::max(x - 1, 0); break;
        case 2: y = std::min(y + 1, image.height - 1); break;
        default: y = std::max(y - 1, 0); break;
        }
    }
}

// Buckets of placed discs on a grid as wide as the largest clearance, so a new disc is checked
// against its neighbourhood only.
class Occupancy
{
public:
    Occupancy(int width, int height, double reach)
        : mCell(std::max(1.0, std::ceil(reach))), mColumns(static_cast<int>(width / mCell) + 1),
          mRows(static_cast<int>(height / mCell) + 1), mBuckets(static_cast<size_t>(mColumns) * static_cast<size_t>(mRows))
    {
    }

    bool clear(const std::vector<Disc> &discs, const Disc &d, double gap) const
    {
        const int cx = static_cast<int>(d.cx / mCell), cy = static_cast<int>(d.cy / mCell);
        for (int j = std::max(0, cy - 1); j <= std::min(mRows - 1, cy + 1); ++j)
            for (int i = std::max(0, cx - 1); i <= std::min(mColumns - 1, cx + 1); ++i)
                for (size_t k : mBuckets[static_cast<size_t>(j) * static_cast<size_t>(mColumns) + static_cast<size_t>(i)]) {
                    const Disc &o = discs[k];
                    const double dx = o.cx - d.cx, dy = o.cy - d.cy, reach = o.radius + d.radius + gap;
                    if (dx * dx + dy * dy < reach * reach)
                        return false;
                }
        return true;
    }

    void add(const Disc &d, size_t k)
    {
        const int cx = static_cast<int>(d.cx / mCell), cy = static_cast<int>(d.cy / mCell);
        mBuckets[static_cast<size_t>(cy) * static_cast<size_t>(mColumns) + static_cast<size_t>(cx)].push_back(k);
    }

private:
    double mCell;
    int mColumns;
    int mRows;
    std::vector<std::vector<size_t>> mBuckets;
};

} // namespace

Rng::Rng(std::uint64_t seed)
{
    for (std::uint64_t &s : mState)
        s = splitmix64(seed);
}

std::uint64_t Rng::next()
{
    const std::uint64_t result = rotl(mState[1] * 5, 7) * 9;
    const std::uint64_t t = mState[1] << 17;
    mState[2] ^= mState[0];
    mState[3] ^= mState[1];
    mState[1] ^= mState[2];
    mState[0] ^= mState[3];
    mState[2] ^= t;
    mState[3] = rotl(mState[3], 45);
    return result;
}

double Rng::uniform() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }

int Rng::between(int low, int high)
{
    if (high <= low)
        return low;
    const auto span = static_cast<std::uint64_t>(static_cast<std::int64_t>(high) - low + 1);
    return low + static_cast<int>(((next() >> 32) * span) >> 32);
}

double Rng::normal()
{
    // Irwin-Hall: twelve uniforms less six; close enough to normal for stain sizes, and free of
    // log and cos, whose last bits differ between math libraries.
    double sum = 0;
    for (int i = 0; i < 12; ++i)
        sum += uniform();
    return sum - 6.0;
}

ScatterResult Scatter(IndexedImage &image, const ScatterSpec &spec, Rng &rng)
{
    ScatterResult result;
    if (image.width < 1 || image.height < 1 || spec.discIndexes.empty() || spec.coverage <= 0)
        return result;
    const double target = spec.coverage * static_cast<double>(image.width) * static_cast<double>(image.height);
    const double speckShare = std::clamp(spec.speckShare, 0.0, 0.95);
    const double minR = std::max(0.0, std::min(spec.minRadius, spec.maxRadius));
    const double maxR = std::max(spec.minRadius, spec.maxRadius);
    constexpr double gap = 2.5; // two whole pixels between the rims, whatever the rounding
    Occupancy occupancy(image.width, image.height, 2 * maxR + gap);
    int failuresInARow = 0;

    while (static_cast<double>(result.discPixels) < target) {
        if (speckShare > 0 && !spec.speckIndexes.empty() && rng.uniform() < speckShare) {
            const auto index = spec.speckIndexes[static_cast<size_t>(rng.between(0, static_cast<int>(spec.speckIndexes.size()) - 1))];
            paintSpeck(image, rng, rng.between(1, std::max(1, spec.maxSpeckPixels)), index);
            ++result.specks;
            continue;
        }
        Disc d;
        d.radius = minR + (maxR - minR) * rng.uniform();
        d.index = spec.discIndexes[static_cast<size_t>(rng.between(0, static_cast<int>(spec.discIndexes.size()) - 1))];
        if (spec.separate) {
            // Wholly inside the picture, so that every disc keeps its full area.
            const int reach = static_cast<int>(std::ceil(d.radius));
            if (2 * reach + 1 > image.width || 2 * reach + 1 > image.height)
                break;
            d.cx = rng.between(reach, image.width - 1 - reach);
            d.cy = rng.between(reach, image.height - 1 - reach);
            if (!occupancy.clear(result.discs, d, gap)) {
                if (++failuresInARow > 2000)
                    break;
                continue;
            }
            failuresInARow = 0;
            occupancy.add(d, result.discs.size());
        } else {
            d.cx = rng.between(0, image.width - 1);
            d.cy = rng.between(0, image.height - 1);
        }
        PaintDisc(image, d);
        result.discPixels += DiscArea(d.radius);
        result.discs.push_back(d);
    }
    return result;
}

std::vector<IndexedImage> MakeSprayLine(const LineSpec &spec)
{
    std::vector<IndexedImage> cards;
    if (spec.cards < 1 || spec.dpi < 1 || spec.spreadFactor <= 0)
        return cards;

    // The program's own conversion: 12 inches a foot, 3.2808 feet a metre.
    const double micronsPerPixel = 1e6 / (spec.dpi * 12.0 * 3.2808);
    const Rgb core{176, 24, 64};
    std::vector<Rgb> palette(256);
    palette[0] = kWhite;
    palette[1] = core;
    palette[2] = Tint(core, 0.35);
    palette[3] = Tint(core, 0.65);
    palette[4] = {96, 96, 96};   // dust
    palette[5] = {150, 150, 150};

    for (int i = 0; i < spec.cards; ++i) {
        Rng rng(spec.seed * 1000003ULL + static_cast<std::uint64_t>(i));
        const int width = static_cast<int>(std::lround(spec.widthInches * spec.dpi)) + rng.between(-2, 3);
        const int height = static_cast<int>(std::lround(spec.heightInches * spec.dpi)) + rng.between(-3, 3);
        IndexedImage card(std::max(1, width), std::max(1, height), palette, 0);
        const double areaCm2 = card.width * micronsPerPixel / 1e4 * (card.height * micronsPerPixel / 1e4);

        // A bell across the swath: the middle of the line gets the peak, the ends edgeShare of it.
        const double half = (spec.cards - 1) / 2.0;
        const double x = half > 0 ? (i - half) / half : 0.0;
        const double bell = (1 - x * x) * (1 - x * x);
        const double density = spec.peakDensity * (spec.edgeShare + (1 - spec.edgeShare) * bell);
        const long long stains = std::llround(density * areaCm2);

        for (long long s = 0; s < stains; ++s) {
            const double drop = spec.medianDropMicrons * portableExp(spec.dropSpread * rng.normal());
            const double radius = std::clamp(drop / spec.spreadFactor / 2 / micronsPerPixel, 0.5, 80.0);
            Disc d;
            d.cx = rng.uniform() * card.width;
            d.cy = rng.uniform() * card.height;
            // Small drops leave pale stains; larger ones a dark core inside a paler rim.
            d.radius = radius;
            d.index = radius < 1.5 ? 3 : 2;
            PaintDisc(card, d);
            if (radius >= 1.5) {
                d.radius = radius - 1.0;
                d.index = 1;
                PaintDisc(card, d);
            }
        }
        const long long dust = std::llround(spec.dustPerCm2 * areaCm2);
        for (long long s = 0; s < dust; ++s)
            paintSpeck(card, rng, rng.between(1, 4), static_cast<std::uint8_t>(rng.between(4, 5)));
        cards.push_back(std::move(card));
    }
    return cards;
}

} // namespace velmara::cardgen
