#include "analysis/overlapsplit.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmara {

namespace {

// A peak must stand above the saddle where its flood meets a higher one by this share of its own
// height, and at least by the floor. Two drops whose smaller one is half free of the other stand
// out by about a tenth of its radius, so the share keeps those apart whatever the resolution. The
// floor keeps the wobble of a digital outline from splitting anything; along the ridge of a ring
// that wobble comes near a pixel, so a stain with a hole gets the higher floor.
constexpr float kMinRelativeHeight = 0.06f;
constexpr float kMinHeight = 0.55f;
constexpr float kMinHeightWithHole = 1.05f;

// A box much larger than the stain (a long diagonal streak, a wide ring) would cost more than the
// stain's pixels; such a stain is no union of round drops and stays whole.
constexpr std::int64_t kBoxPerArea = 24;
constexpr std::int64_t kBoxAllowance = 4096;

} // namespace

int OverlapSplitter::find(int basin)
{
    while (mParent[basin] != basin) {
        mParent[basin] = mParent[mParent[basin]];
        basin = mParent[basin];
    }
    return basin;
}

bool OverlapSplitter::hasHole(int w, int h)
{
    // The background reached from the box's margin (4-neighbours, as the foreground's gaps go) is
    // marked 3 for a moment; any background left unmarked is enclosed by the stain.
    const size_t cells = static_cast<size_t>(w) * static_cast<size_t>(h);
    mOrder.clear();
    mMask[0] = 3;
    mOrder.push_back(0);
    while (!mOrder.empty()) {
        const std::uint32_t i = mOrder.back();
        mOrder.pop_back();
        const std::uint32_t x = i % static_cast<std::uint32_t>(w), y = i / static_cast<std::uint32_t>(w);
        const auto visit = [&](std::uint32_t j) {
            if (mMask[j] == 0) {
                mMask[j] = 3;
                mOrder.push_back(j);
            }
        };
        if (x > 0)
            visit(i - 1);
        if (x + 1 < static_cast<std::uint32_t>(w))
            visit(i + 1);
        if (y > 0)
            visit(i - static_cast<std::uint32_t>(w));
        if (y + 1 < static_cast<std::uint32_t>(h))
            visit(i + static_cast<std::uint32_t>(w));
    }
    bool hole = false;
    for (size_t i = 0; i < cells; ++i) {
        hole = hole || mMask[i] == 0;
        if (mMask[i] == 3)
            mMask[i] = 0;
    }
    return hole;
}

int OverlapSplitter::split(const std::vector<StainRunSpan> &runs, const CardPixel *pixels,
                           const bool *hueValid, std::vector<StainPart> &parts)
{
    parts.clear();
    std::int64_t area = 0;
    std::int32_t minRow = std::numeric_limits<std::int32_t>::max(), maxRow = std::numeric_limits<std::int32_t>::min();
    std::int32_t minCol = minRow, maxCol = maxRow;
    for (const StainRunSpan &r : runs) {
        area += r.End - r.Start + 1;
        minRow = std::min(minRow, r.Row);
        maxRow = std::max(maxRow, r.Row);
        minCol = std::min(minCol, r.Start);
        maxCol = std::max(maxCol, r.End);
    }
    if (area < kMinArea)
        return 1;
    // One background pixel all round, so that every distance is bounded by the box.
    const std::int64_t width = static_cast<std::int64_t>(maxCol) - minCol + 3;
    const std::int64_t height = static_cast<std::int64_t>(maxRow) - minRow + 3;
    if (width * height > kBoxPerArea * area + kBoxAllowance)
        return 1;
    const int w = static_cast<int>(width), h = static_cast<int>(height);
    const size_t cells = static_cast<size_t>(w) * static_cast<size_t>(h);

    mMask.assign(cells, 0);
    for (const StainRunSpan &r : runs) {
        std::uint8_t *row = mMask.data() + static_cast<size_t>(r.Row - minRow + 1) * w;
        for (std::int32_t c = r.Start; c <= r.End; ++c)
            row[c - minCol + 1] = hueValid[pixels[r.FirstPixel + static_cast<std::uint32_t>(c - r.Start)].Hue] ? 2 : 1;
    }

    const float floor = hasHole(w, h) ? kMinHeightWithHole : kMinHeight;

    // Exact squared Euclidean distance to the nearest background pixel, in two separable passes:
    // the distance along each column, then per line the lower envelope of the parabolas.
    mDist.resize(cells);
    for (int x = 0; x < w; ++x) {
        std::int32_t g = 0;
        for (int y = 0; y < h; ++y) {
            const size_t i = static_cast<size_t>(y) * w + x;
            g = mMask[i] ? g + 1 : 0;
            mDist[i] = g;
        }
        g = 0;
        for (int y = h - 1; y >= 0; --y) {
            const size_t i = static_cast<size_t>(y) * w + x;
            g = mMask[i] ? std::min(g + 1, mDist[i]) : 0;
            mDist[i] = g;
        }
    }
    mSite.resize(static_cast<size_t>(w));
    mBound.resize(static_cast<size_t>(w));
    mSquare.resize(static_cast<size_t>(w));
    std::int32_t *column = mSquare.data();
    std::int32_t maxSquare = 0;
    for (int y = 0; y < h; ++y) {
        std::int32_t *line = mDist.data() + static_cast<size_t>(y) * w;
        const std::uint8_t *mask = mMask.data() + static_cast<size_t>(y) * w;
        for (int x = 0; x < w; ++x)
            column[x] = line[x] * line[x];
        // Where the parabola of site u overtakes that of site i (integer, rounded down).
        auto sep = [column](std::int32_t i, std::int32_t u) {
            return (u * u - i * i + column[u] - column[i]) / (2 * (u - i));
        };
        int top = 0;
        mSite[0] = 0;
        mBound[0] = 0;
        for (int u = 1; u < w; ++u) {
            while (top >= 0 && (mSite[top] - mBound[top]) * (mSite[top] - mBound[top]) + column[mSite[top]]
                                   > (u - mBound[top]) * (u - mBound[top]) + column[u])
                --top;
            if (top < 0) {
                top = 0;
                mSite[0] = u;
                mBound[0] = 0;
            } else {
                const std::int32_t b = 1 + sep(mSite[top], u);
                if (b < w) {
                    ++top;
                    mSite[top] = u;
                    mBound[top] = b;
                }
            }
        }
        for (int x = w - 1; x >= 0; --x) {
            const std::int32_t s = mSite[top];
            line[x] = mask[x] ? (x - s) * (x - s) + column[s] : 0;
            maxSquare = std::max(maxSquare, line[x]);
            if (x == mBound[top])
                --top;
        }
    }

    // Foreground positions by falling distance; equal distances in box order, so the flood is the
    // same on every run.
    mBucket.assign(static_cast<size_t>(maxSquare) + 2, 0);
    for (size_t i = 0; i < cells; ++i)
        if (mMask[i])
            ++mBucket[static_cast<size_t>(maxSquare - mDist[i])];
    std::uint32_t sum = 0;
    for (std::uint32_t &b : mBucket) {
        const std::uint32_t n = b;
        b = sum;
        sum += n;
    }
    mOrder.resize(sum);
    for (size_t i = 0; i < cells; ++i)
        if (mMask[i])
            mOrder[mBucket[static_cast<size_t>(maxSquare - mDist[i])]++] = static_cast<std::uint32_t>(i);

    mBasinOf.assign(cells, -1);
    mParent.clear();
    mPeak.clear();
    mPeakAt.clear();
    const std::ptrdiff_t step[4] = {-1, 1, -static_cast<std::ptrdiff_t>(w), static_cast<std::ptrdiff_t>(w)};
    for (const std::uint32_t pos : mOrder) {
        const float level = std::sqrt(static_cast<float>(mDist[pos]));
        int roots[4];
        int found = 0;
        for (const std::ptrdiff_t d : step) {
            const std::int32_t b = mBasinOf[static_cast<size_t>(static_cast<std::ptrdiff_t>(pos) + d)];
            if (b < 0)
                continue;
            const int r = find(b);
            if (std::find(roots, roots + found, r) == roots + found)
                roots[found++] = r;
        }
        if (found == 0) {
            mBasinOf[pos] = static_cast<std::int32_t>(mParent.size());
            mParent.push_back(static_cast<std::int32_t>(mParent.size()));
            mPeak.push_back(level);
            mPeakAt.push_back(pos);
            continue;
        }
        // The highest peak takes the pixel; earlier basins win ties, as they were found first.
        int main = roots[0];
        for (int k = 1; k < found; ++k)
            if (mPeak[roots[k]] > mPeak[main] || (mPeak[roots[k]] == mPeak[main] && roots[k] < main))
                main = roots[k];
        int kept = 0;
        for (int k = 0; k < found; ++k) {
            if (roots[k] != main && mPeak[roots[k]] - level < std::max(floor, kMinRelativeHeight * mPeak[roots[k]]))
                mParent[roots[k]] = main;
            else
                roots[kept++] = roots[k];
        }
        // A pixel between two drops goes to the one nearer by power distance (squared distance
        // to its peak less its peak squared): for two round drops that is their common chord, so
        // neither takes pixels of the other.
        int owner = main;
        if (kept > 1) {
            const long long px = pos % static_cast<std::uint32_t>(w), py = pos / static_cast<std::uint32_t>(w);
            double best = std::numeric_limits<double>::max();
            for (int k = 0; k < kept; ++k) {
                const std::uint32_t at = mPeakAt[static_cast<size_t>(roots[k])];
                const double dx = static_cast<double>(px - at % static_cast<std::uint32_t>(w));
                const double dy = static_cast<double>(py - at / static_cast<std::uint32_t>(w));
                const double power = dx * dx + dy * dy - static_cast<double>(mPeak[roots[k]]) * mPeak[roots[k]];
                if (power < best || (power == best && roots[k] < owner)) {
                    best = power;
                    owner = roots[k];
                }
            }
        }
        mBasinOf[pos] = owner;
    }

    // Parts are the surviving basins, numbered in the order of their birth (highest peak first).
    mPartOf.assign(mParent.size(), -1);
    int count = 0;
    for (size_t b = 0; b < mParent.size(); ++b)
        if (find(static_cast<int>(b)) == static_cast<int>(b))
            mPartOf[b] = count++;
    if (count < 2)
        return 1;
    parts.assign(static_cast<size_t>(count), StainPart{});
    for (StainPart &p : parts) {
        p.MinColumn = p.TopRow = std::numeric_limits<std::int32_t>::max();
        p.MaxColumn = p.BottomRow = std::numeric_limits<std::int32_t>::min();
    }
    for (int y = 1; y < h - 1; ++y) {
        for (int x = 1; x < w - 1; ++x) {
            const size_t i = static_cast<size_t>(y) * w + x;
            if (!mMask[i])
                continue;
            StainPart &p = parts[static_cast<size_t>(mPartOf[static_cast<size_t>(find(mBasinOf[i]))])];
            const std::int32_t row = minRow + y - 1, col = minCol + x - 1;
            ++p.Area;
            p.HueHits += mMask[i] == 2 ? 1 : 0;
            p.MinColumn = std::min(p.MinColumn, col);
            p.MaxColumn = std::max(p.MaxColumn, col);
            p.TopRow = std::min(p.TopRow, row);
            p.BottomRow = std::max(p.BottomRow, row);
        }
    }
    return count;
}

} // namespace velmara
