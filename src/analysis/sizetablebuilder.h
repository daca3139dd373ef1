#pragma once
// From the areas of the accepted stains to a card's size table and results: drop diameter through
// the spread-factor polynomial, volume, fractions, volume median diameter, densities.

#include "core/numeric.h"
#include "core/records.h"

#include <array>
#include <map>
#include <vector>

namespace velmara {

class SizeTableBuilder
{
public:
    SizeTableBuilder(double micronsPerPixelX, const std::array<double, 3> &spreadFactor, double pi);

    // Counts one accepted stain, in the order the stains closed (that order fixes the sum of the
    // volumes to the last bit).
    void add(Long area);

    Long stainCount() const { return mStainCount; }
    // True when the stains counted so far give no drop volume at all (a spread factor that makes
    // every diameter 0): the fractions cannot be formed.
    bool zeroVolume() const { return mTotalMicrons == 0; }

    // Writes SizeTable and the nine results onto the card. With no stain counted it only empties
    // SizeTable and leaves the results as they were. With zeroVolume() the volume fractions, Vmd,
    // MaxVolumeFraction and VolumeDensity come out 0 rather than undefined.
    void apply(CardImage &card, Long rejected) const;

    // Drop diameter (micrometres, Single) and volume (cubic micrometres, Single) of a stain area.
    static Single diameterOf(Long area, double micronsPerPixelX,
                             const std::array<double, 3> &spreadFactor, double pi);
    static Single volumeOf(Single diameter, double pi);

private:
    struct Row
    {
        Long Count = 0;
        Single Volume = 0;
        Single Diameter = 0;
    };
    Row &rowOf(Long area);
    SizeClass classOf(Long area, const Row &row, double &cumVolume, double &cumNumber,
                      double &maxFraction) const;

    double mMicronsPerPixelX;
    std::array<double, 3> mSpread;
    double mPi;

    // Rows indexed by area for the common small stains; the rare large smears go to a map so that
    // one huge stain costs one row, not a table as long as its area.
    std::vector<Row> mSmall;
    std::map<Long, Row> mLarge;
    double mTotalMicrons = 0;
    Long mStainCount = 0;
    Long mMaxClassCount = 0;
};

} // namespace velmara
