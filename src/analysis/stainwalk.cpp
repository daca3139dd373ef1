#include "analysis/stainwalk.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace velmara {

namespace {

constexpr std::int32_t kNoEnd = std::numeric_limits<std::int32_t>::min();

// The stain's Long area as the size table receives it. Merges hand one stain's area to every
// joined neighbour it touches, so a pathological card could in theory pass the Long range.
Long ToLongArea(std::int64_t area)
{
    return area > std::numeric_limits<Long>::max() ? std::numeric_limits<Long>::max()
                                                   : static_cast<Long>(area);
}

} // namespace

StainWalk::StainWalk(const StainFilter &filter, int scanLimit) : mFilter(filter), mScanLimit(scanLimit)
{
    for (int h = 0; h < 256; ++h) {
        const bool inRange = mFilter.HueLow <= h && h <= mFilter.HueHigh;
        mHueValidOf[h] = inRange != mFilter.HueInvert;
    }
}

bool StainWalk::run(const std::vector<CardPixel> &pixels, const bool &cancelRequested,
                    ProgressSink &progress, const std::function<void(Long)> &onValid)
{
    mRejected = 0;
    mSplitStains = 0;
    mSplitParts = 0;
    mStains.clear();
    if (pixels.size() < 2)
        return true;
    if (!mFilter.SplitOverlaps)
        return walk<false>(pixels, cancelRequested, progress, onValid);
    mPixels = pixels.data();
    mLists.clear();
    mPool.clear();
    mFreeRuns = -1;
    return walk<true>(pixels, cancelRequested, progress, onValid);
}

template <bool Split>
bool StainWalk::walk(const std::vector<CardPixel> &pixels, const bool &cancelRequested,
                     ProgressSink &progress, const std::function<void(Long)> &onValid)
{
    const size_t closing = pixels.size() - 1;
    const int firstLine = pixels[1].Row;
    const int lastLine = pixels[closing].Row;
    size_t p = 1;

    for (int line = firstLine; line >= lastLine; --line) {
        if (cancelRequested)
            return false;

        // Runs of this line. Pixels of one line are contiguous in the list, columns ascending.
        mRunStart.clear();
        mRunEnd.clear();
        mRunHits.clear();
        if constexpr (Split)
            mRunFirst.clear();
        const size_t lineBegin = p;
        std::int32_t lastEnd = kNoEnd;
        for (; p < closing; ++p) {
            const CardPixel &px = pixels[p];
            if (px.Row != line) {
                if (px.Row < line)
                    break;
                continue;
            }
            const std::int32_t column = px.Column;
            if (!mRunEnd.empty() && column == lastEnd + 1) {
                mRunEnd.back() = column;
            } else {
                mRunStart.push_back(column);
                mRunEnd.push_back(column);
                mRunHits.push_back(0);
                if constexpr (Split)
                    mRunFirst.push_back(static_cast<std::uint32_t>(p));
            }
            lastEnd = column;
            mRunHits.back() += mHueValidOf[px.Hue] ? 1 : 0;
        }
        if (p > lineBegin) {
            // Nothing is drawn between two yields, so the last multiple of 25 stands for all.
            const size_t mark = (p - 1) / 25 * 25;
            if (mark >= lineBegin)
                progress.SetValue(static_cast<long>(mark));
        }

        indexRunsByColumn();
        if constexpr (Split)
            mLine = line;
        continueStains<Split>();
        startNewStains<Split>(line);
        mergeUnjoined<Split>();
        closeStains<Split>(line, p == closing, onValid);

        progress.Yield();
    }
    return true;
}

void StainWalk::indexRunsByColumn()
{
    const int runs = static_cast<int>(mRunStart.size());
    // Filling costs one entry per column up to the last run; worth it when runs are dense.
    mColumnIndex = runs >= 16 && runs <= 32767 && mRunEnd.back() > 0 && runs * 16 >= mRunEnd.back();
    if (!mColumnIndex)
        return;
    const size_t columns = static_cast<size_t>(mRunEnd.back()) + 1;
    if (mRunFrom.size() < columns)
        mRunFrom.resize(columns);
    std::int16_t *table = mRunFrom.data();
    std::int32_t from = 0;
    for (int j = 0; j < runs; ++j) {
        const std::int32_t end = std::min(mRunEnd[j], mRunEnd.back()); // bounded on any list
        for (; from <= end; ++from)
            table[from] = static_cast<std::int16_t>(j);
    }
}

int StainWalk::firstRunEndingFrom(std::int32_t column) const
{
    const int runs = static_cast<int>(mRunStart.size());
    if (runs == 0 || column > mRunEnd.back())
        return runs;
    if (mColumnIndex)
        return column <= 0 ? 0 : mRunFrom[static_cast<size_t>(column)];
    return static_cast<int>(std::lower_bound(mRunEnd.begin(), mRunEnd.end(), column) - mRunEnd.begin());
}

int StainWalk::lastRunStartingBy(std::int32_t column) const
{
    const int j = firstRunEndingFrom(column);
    return j < static_cast<int>(mRunStart.size()) && mRunStart[j] <= column ? j : j - 1;
}

int StainWalk::findUnjoined(int run)
{
    std::int32_t *next = mNextUnjoined.data();
    while (next[run] != run) {
        next[run] = next[next[run]];
        run = next[run];
    }
    return run;
}

template <bool Split>
void StainWalk::continueStains()
{
    const int runs = static_cast<int>(mRunStart.size());
    mNextUnjoined.resize(runs + 1);
    for (int j = 0; j <= runs; ++j)
        mNextUnjoined[j] = j;
    mRunOwner.assign(runs, -1);
    mWidestSpan = 0;

    const std::int32_t *starts = mRunStart.data();
    const std::int32_t *ends = mRunEnd.data();
    for (size_t si = 0; si < mStains.size(); ++si) {
        Stain &s = mStains[si];
        s.joined = false;
        s.firstRun = -1;
        if (runs == 0)
            continue;
        // The interval noted here stays fixed while the stain takes runs. Runs are disjoint and
        // ascending, so those overlapping it form one block: ends from a on, starts up to b.
        const int low = firstRunEndingFrom(s.start);
        const int high = lastRunStartingBy(s.end);
        if (low > high)
            continue;
        for (int j = findUnjoined(low); j <= high; j = findUnjoined(j + 1)) {
            if (!s.joined) {
                s.start = starts[j];
                s.firstRun = j;
                mRunOwner[j] = static_cast<std::int32_t>(si);
            }
            s.end = ends[j];
            s.minColumn = std::min(s.minColumn, starts[j]);
            s.maxColumn = std::max(s.maxColumn, ends[j]);
            if (mRunHits[j] > 0) {
                s.hueValid = true;
                s.hueHits += mRunHits[j];
            }
            s.joined = true;
            s.area += ends[j] - starts[j] + 1;
            mNextUnjoined[j] = j + 1;
            if constexpr (Split)
                appendRun(mLists[si], j, mLine);
        }
        if (s.joined)
            mWidestSpan = std::max(mWidestSpan, s.end - s.start);
    }
}

template <bool Split>
void StainWalk::startNewStains(int row)
{
    const int runs = static_cast<int>(mRunStart.size());
    for (int j = 0; j < runs; ++j) {
        if (mNextUnjoined[j] != j)
            continue; // taken by an open stain
        Stain s;
        s.start = s.minColumn = mRunStart[j];
        s.end = s.maxColumn = mRunEnd[j];
        s.firstRow = row;
        s.firstRun = j;
        s.area = mRunEnd[j] - mRunStart[j] + 1;
        s.hueHits = mRunHits[j];
        s.hueValid = mRunHits[j] > 0;
        s.joined = true;
        mWidestSpan = std::max(mWidestSpan, s.end - s.start);
        mRunOwner[j] = static_cast<std::int32_t>(mStains.size());
        mStains.push_back(s);
        if constexpr (Split) {
            mLists.emplace_back();
            appendRun(mLists.back(), j, row);
        }
    }
}

void StainWalk::buildEndTree()
{
    const int runs = static_cast<int>(mRunStart.size());
    mTreeLeaves = 1;
    while (mTreeLeaves < runs)
        mTreeLeaves *= 2;
    mEndTree.assign(2 * static_cast<size_t>(mTreeLeaves), kNoEnd);
    for (int j = 0; j < runs; ++j)
        if (mRunOwner[j] >= 0)
            mEndTree[mTreeLeaves + j] = mStains[mRunOwner[j]].end;
    for (int node = mTreeLeaves - 1; node >= 1; --node)
        mEndTree[node] = std::max(mEndTree[2 * node], mEndTree[2 * node + 1]);
}

void StainWalk::updateEnd(int run, std::int32_t end)
{
    int node = mTreeLeaves + run;
    mEndTree[node] = end;
    for (node /= 2; node >= 1; node /= 2)
        mEndTree[node] = std::max(mEndTree[2 * node], mEndTree[2 * node + 1]);
}

void StainWalk::collectOverlaps(int node, int nodeLow, int nodeHigh, int lastRun, std::int32_t from)
{
    if (nodeLow > lastRun || mEndTree[node] < from)
        return;
    if (nodeLow == nodeHigh) {
        mFound.push_back(mRunOwner[nodeLow]);
        return;
    }
    const int mid = (nodeLow + nodeHigh) / 2;
    collectOverlaps(2 * node, nodeLow, mid, lastRun, from);
    collectOverlaps(2 * node + 1, mid + 1, nodeHigh, lastRun, from);
}

template <bool Split>
void StainWalk::mergeUnjoined()
{
    // Only stains that were open before this line can be unjoined, and only joined stains own a
    // leftmost run, so the owners of leftmost runs are exactly the candidates T.
    const bool anyUnjoined =
        std::any_of(mStains.begin(), mStains.end(), [](const Stain &s) { return !s.joined; });
    const int runs = static_cast<int>(mRunStart.size());
    if (!anyUnjoined || runs == 0)
        return;
    bool treeBuilt = false;

    for (size_t si = 0; si < mStains.size(); ++si) {
        if (mStains[si].joined)
            continue;
        const std::int32_t a = mStains[si].start;
        const std::int32_t b = mStains[si].end;
        // T overlaps [a, b] when it starts by b and its (possibly already merged) end reaches a.
        // Its start then lies no further left than a minus the widest span.
        const int lastRun = lastRunStartingBy(b);
        if (lastRun < 0)
            continue;
        const std::int32_t leftmost = a - mWidestSpan;
        int firstRun = firstRunEndingFrom(leftmost);
        if (firstRun < runs && mRunStart[firstRun] < leftmost)
            ++firstRun;
        mFound.clear();
        if (lastRun - firstRun < mScanLimit) {
            for (int j = std::max(firstRun, 0); j <= lastRun; ++j)
                if (mRunOwner[j] >= 0 && mStains[mRunOwner[j]].end >= a)
                    mFound.push_back(mRunOwner[j]);
        } else {
            if (!treeBuilt) {
                buildEndTree();
                treeBuilt = true;
            }
            collectOverlaps(1, 0, mTreeLeaves - 1, lastRun, a);
        }
        std::sort(mFound.begin(), mFound.end()); // list order
        if constexpr (Split) {
            // The pixels go to the first stain that takes the area; the others only count it.
            if (!mFound.empty()) {
                RunList &from = mLists[si];
                RunList &to = mLists[static_cast<size_t>(mFound.front())];
                if (from.head >= 0) {
                    if (to.head < 0)
                        to.head = from.head;
                    else
                        mPool[static_cast<size_t>(to.tail)].next = from.head;
                    to.tail = from.tail;
                    from = RunList{};
                }
            }
        }
        for (const std::int32_t ti : mFound) {
            Stain &s = mStains[si];
            Stain &t = mStains[ti];
            t.end = s.end;
            if (treeBuilt)
                updateEnd(t.firstRun, t.end);
            mWidestSpan = std::max(mWidestSpan, t.end - t.start);
            t.area += s.area;
            if (s.hueValid)
                t.hueValid = true;
            t.hueHits += s.hueHits;
            s.hueValid = false;
        }
    }
}

template <bool Split>
void StainWalk::closeStains(int row, bool closeAll, const std::function<void(Long)> &onValid)
{
    size_t kept = 0;
    for (size_t i = 0; i < mStains.size(); ++i) {
        if (closeAll || !mStains[i].joined) {
            if constexpr (Split)
                judgeSplit(mStains[i], i, row, onValid);
            else
                judge(mStains[i], row, onValid);
            continue;
        }
        if (kept != i) {
            mStains[kept] = mStains[i];
            if constexpr (Split)
                mLists[kept] = mLists[i];
        }
        ++kept;
    }
    mStains.resize(kept);
    if constexpr (Split)
        mLists.resize(kept);
}

void StainWalk::appendRun(RunList &list, int run, int row)
{
    std::int32_t at = mFreeRuns;
    if (at >= 0) {
        mFreeRuns = mPool[static_cast<size_t>(at)].next;
    } else {
        at = static_cast<std::int32_t>(mPool.size());
        mPool.emplace_back();
    }
    PooledRun &r = mPool[static_cast<size_t>(at)];
    r.span = {row, mRunStart[run], mRunEnd[run], mRunFirst[run]};
    r.next = -1;
    if (list.head < 0)
        list.head = at;
    else
        mPool[static_cast<size_t>(list.tail)].next = at;
    list.tail = at;
}

void StainWalk::releaseRuns(RunList &list)
{
    if (list.head < 0)
        return;
    mPool[static_cast<size_t>(list.tail)].next = mFreeRuns;
    mFreeRuns = list.head;
    list = RunList{};
}

void StainWalk::judgeSplit(Stain &s, size_t index, int row, const std::function<void(Long)> &onValid)
{
    RunList &list = mLists[index];
    mSpans.clear();
    for (std::int32_t at = list.head; at >= 0; at = mPool[static_cast<size_t>(at)].next)
        mSpans.push_back(mPool[static_cast<size_t>(at)].span);
    releaseRuns(list);
    const int parts = mSpans.empty() ? 1 : mSplitter.split(mSpans, mPixels, mHueValidOf, mParts);
    if (parts < 2) {
        judge(s, row, onValid);
        return;
    }
    ++mSplitStains;
    mSplitParts += parts;
    for (const StainPart &part : mParts)
        judgePart(part, onValid);
}

void StainWalk::judgePart(const StainPart &part, const std::function<void(Long)> &onValid)
{
    const std::int64_t width = static_cast<std::int64_t>(part.MaxColumn) - part.MinColumn + 1;
    const std::int64_t height = static_cast<std::int64_t>(part.BottomRow) - part.TopRow + 1;
    const double length = static_cast<double>(std::max(width, height));
    if (part.HueHits == 0) {
        ++mRejected;
        return;
    }
    const Single roundness = ToSingle(std::fabs(1 - static_cast<double>(part.Area) / (length * length * mFilter.Pi / 4)));
    if (roundness > mFilter.ShapeLimit && part.Area > 15) {
        ++mRejected;
        return;
    }
    const Single share = ToSingle(static_cast<double>(part.HueHits) / static_cast<double>(part.Area));
    if (share < mFilter.HueLimit) {
        ++mRejected;
        return;
    }
    onValid(ToLongArea(part.Area));
}

void StainWalk::judge(Stain &s, int row, const std::function<void(Long)> &onValid)
{
    const int lastRow = row + 1;
    const int width = s.maxColumn - s.minColumn + 1;
    const int height = std::abs(lastRow - s.firstRow) + 1;
    const int length = std::max(width, height);

    if (s.hueHits == 0) {
        ++mRejected;
    } else {
        const double circle = static_cast<double>(length) * length * mFilter.Pi / 4;
        const Single roundness = ToSingle(std::fabs(1 - static_cast<double>(s.area) / circle));
        if (roundness > mFilter.ShapeLimit && s.area > 15) {
            s.hueValid = false;
            ++mRejected;
        } else {
            const Single share = ToSingle(static_cast<double>(s.hueHits) / static_cast<double>(s.area));
            if (share < mFilter.HueLimit) {
                s.hueValid = false;
                ++mRejected;
            }
        }
    }
    if (s.hueValid)
        onValid(ToLongArea(s.area));
}

} // namespace velmara
