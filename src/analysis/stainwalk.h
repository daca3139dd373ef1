#pragma once
// The stain walk: a card's foreground pixel list, line by line, into runs, growing stains, merged
// and closed stains, judged by hue share and roundness. Its product is the area of every accepted
// stain, in the order the stains close, and the count of rejected stains.

#include "analysis/overlapsplit.h"
#include "core/numeric.h"
#include "core/progress.h"
#include "core/records.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace velmara {

// The limits a walk judges by, read once at the start of the pass.
struct StainFilter
{
    Byte HueLow = 0;        // Slider1
    Byte HueHigh = 255;     // Slider2
    bool HueInvert = false; // HueInvertCheck: the valid hues lie outside [HueLow, HueHigh]
    Single ShapeLimit = 1;  // ShapeThreshold / 100
    Single HueLimit = 0;    // HueThreshold / 100
    double Pi = 3.14159265358979323846;
    // Stains that are unions of overlapping drops are split into their drops before they are
    // judged; each part is judged as a stain of its own.
    bool SplitOverlaps = false;

    // The limits of a scan from the thresholds in percent.
    static Single limitOf(Byte percent) { return ToSingle(percent / 100.0); }
};

class StainWalk
{
public:
    // scanLimit: the merge step looks through at most this many runs one by one before it turns
    // to its tree; the result is the same either way (tests vary it to check both paths).
    explicit StainWalk(const StainFilter &filter, int scanLimit = 32);

    // Walks pixels (element 0 unused, the pixels in file order, then the closing element) and calls
    // onValid with the area of each accepted stain as it closes. cancelRequested is read at the
    // head of every line and progress.Yield() runs at the end of every line; progress.SetValue()
    // receives the last element index walked that is a multiple of 25.
    // Returns false when the walk saw cancelRequested and stopped; the areas reported until then
    // must be thrown away by the caller. A list without its closing element walks nothing.
    bool run(const std::vector<CardPixel> &pixels, const bool &cancelRequested,
             ProgressSink &progress, const std::function<void(Long)> &onValid);

    // Stains dropped by the filters in the last run.
    Long rejected() const { return mRejected; }
    // With SplitOverlaps: the stains of the last run split into more than one part, and the parts
    // they made.
    Long splitStains() const { return mSplitStains; }
    Long splitParts() const { return mSplitParts; }

private:
    struct Stain
    {
        std::int32_t start = 0; // columns of what it took in the last line
        std::int32_t end = 0;
        std::int32_t minColumn = 0;
        std::int32_t maxColumn = 0;
        std::int32_t firstRow = 0;
        std::int32_t firstRun = -1; // leftmost run taken in this line
        std::int64_t area = 0;
        std::int64_t hueHits = 0;
        bool joined = false;
        bool hueValid = false;
    };

    // Split selects the bookkeeping of each stain's runs, so that a walk without splitting does
    // no more work than it ever did.
    template <bool Split>
    bool walk(const std::vector<CardPixel> &pixels, const bool &cancelRequested, ProgressSink &progress,
              const std::function<void(Long)> &onValid);
    template <bool Split>
    void continueStains();
    template <bool Split>
    void startNewStains(int row);
    template <bool Split>
    void mergeUnjoined();
    template <bool Split>
    void closeStains(int row, bool closeAll, const std::function<void(Long)> &onValid);
    void judge(Stain &stain, int row, const std::function<void(Long)> &onValid);
    void judgeSplit(Stain &stain, size_t index, int row, const std::function<void(Long)> &onValid);
    void judgePart(const StainPart &part, const std::function<void(Long)> &onValid);

    // Runs of the open stains, as linked lists in one pool; a closed stain's list goes back whole.
    struct PooledRun
    {
        StainRunSpan span;
        std::int32_t next = -1;
    };
    struct RunList
    {
        std::int32_t head = -1;
        std::int32_t tail = -1;
    };
    void appendRun(RunList &list, int run, int row);
    void releaseRuns(RunList &list);

    int findUnjoined(int run);
    void indexRunsByColumn();
    int firstRunEndingFrom(std::int32_t column) const;
    int lastRunStartingBy(std::int32_t column) const;
    void buildEndTree();
    void updateEnd(int run, std::int32_t end);
    void collectOverlaps(int node, int nodeLow, int nodeHigh, int lastRun, std::int32_t from);

    StainFilter mFilter;
    int mScanLimit;
    bool mHueValidOf[256];
    Long mRejected = 0;
    Long mSplitStains = 0;
    Long mSplitParts = 0;

    // Runs of the current line, left to right: disjoint and ascending.
    std::vector<std::int32_t> mRunStart, mRunEnd, mRunHits;
    std::vector<std::int32_t> mNextUnjoined; // skip list over taken runs (path-halved)
    std::vector<std::int32_t> mRunOwner;     // stain whose leftmost run this is, or -1
    std::vector<Stain> mStains;              // open stains, in order of birth

    // On a line crowded with runs: for each column, the first run ending at or after it, so that
    // the runs overlapping an interval are found without a search. Sparse lines search instead.
    std::vector<std::int16_t> mRunFrom; // a line of 32767 columns holds at most 16384 runs
    bool mColumnIndex = false;
    // Widest [Start, End] of the joined stains in this line: bounds how far left of a column the
    // start of a stain reaching it can lie.
    std::int32_t mWidestSpan = 0;

    // Largest End of the joined stains by the position of their leftmost run, as a max tree, so
    // that the merge step finds the stains whose interval reaches a column without a full sweep.
    std::vector<std::int32_t> mEndTree;
    int mTreeLeaves = 0;
    std::vector<std::int32_t> mFound;

    // Splitting only.
    const CardPixel *mPixels = nullptr;
    int mLine = 0;
    std::vector<std::uint32_t> mRunFirst; // list index of each run's first pixel
    std::vector<RunList> mLists;          // per open stain, beside mStains
    std::vector<PooledRun> mPool;
    std::int32_t mFreeRuns = -1;
    std::vector<StainRunSpan> mSpans;
    std::vector<StainPart> mParts;
    OverlapSplitter mSplitter;
};

} // namespace velmara
