#pragma once
// Splitting a stain made of overlapping drops into one part per drop.
//
// Every drop leaves a round stain; where drops overlap, the union has one peak of the distance to
// the card per drop, joined by saddles at the necks. The stain is flooded from its peaks downward
// (a watershed on the exact Euclidean distance); where two floods meet, the lower peak survives as
// a part of its own only if it stands high enough above the saddle, so that the ripples of a
// pixel outline, an ellipse's ridge or a ring never split a stain. All of it is linear in the
// pixels of the stain's bounding box, whose size is bounded against the stain's area.

#include "core/records.h"

#include <cstdint>
#include <vector>

namespace velmara {

// One run of a stain: consecutive pixels of one line, found at pixels[FirstPixel] onward.
struct StainRunSpan
{
    std::int32_t Row = 0;
    std::int32_t Start = 0;
    std::int32_t End = 0;
    std::uint32_t FirstPixel = 0;
};

// One drop of a split stain, in card coordinates.
struct StainPart
{
    std::int64_t Area = 0;
    std::int64_t HueHits = 0;
    std::int32_t MinColumn = 0;
    std::int32_t MaxColumn = 0;
    std::int32_t TopRow = 0;    // smallest row
    std::int32_t BottomRow = 0; // largest row
};

class OverlapSplitter
{
public:
    // Stains below this area are left whole: two drops of a radius of two pixels fill more.
    static constexpr std::int64_t kMinArea = 24;

    // Splits the stain made of runs (any order, disjoint). hueValid maps a pixel's hue to whether
    // it counts for the hue filter. Returns the number of parts; only when it is above 1 does
    // parts hold them, in the order of their peaks, highest first (ties by position).
    int split(const std::vector<StainRunSpan> &runs, const CardPixel *pixels, const bool *hueValid,
              std::vector<StainPart> &parts);

private:
    int find(int basin);
    // Whether the stain in mMask (a box of w by h with a background margin) encloses background.
    bool hasHole(int w, int h);

    // Working buffers, kept between stains.
    std::vector<std::uint8_t> mMask;   // 0 background, 1 foreground, 2 foreground of a valid hue
    std::vector<std::int32_t> mDist;   // column distance, then squared Euclidean distance
    std::vector<std::int32_t> mSite, mBound, mSquare;
    std::vector<std::uint32_t> mBucket, mOrder;
    std::vector<std::int32_t> mBasinOf; // per box position, -1 until flooded
    std::vector<std::int32_t> mParent;  // per basin
    std::vector<float> mPeak;           // per basin
    std::vector<std::uint32_t> mPeakAt; // per basin: box position of its peak
    std::vector<std::int32_t> mPartOf;  // per basin root: part number
};

} // namespace velmara
