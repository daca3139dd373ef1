#include "analysis/sizetablebuilder.h"

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

// Areas below this many pixels are rows of a direct table (16 bytes each, 1 MB at most).
constexpr Long kSmallAreas = 65536;

} // namespace

SizeTableBuilder::SizeTableBuilder(double micronsPerPixelX, const std::array<double, 3> &spreadFactor,
                                   double pi)
    : mMicronsPerPixelX(micronsPerPixelX), mSpread(spreadFactor), mPi(pi)
{
}

Single SizeTableBuilder::diameterOf(Long area, double micronsPerPixelX,
                                    const std::array<double, 3> &spreadFactor, double pi)
{
    // The stain counts as a circle of the measured area; only the horizontal scale enters.
    const double r = std::sqrt(micronsPerPixelX * micronsPerPixelX * area / pi);
    const double d = 2 * r;
    return ToSingle(spreadFactor[0] + spreadFactor[1] * d + spreadFactor[2] * (d * d));
}

Single SizeTableBuilder::volumeOf(Single diameter, double pi)
{
    // From the stored Single diameter, so that the volume matches the diameter shown.
    return ToSingle(std::pow(static_cast<double>(diameter) / 2, 3) * (4.0 / 3.0 * pi));
}

SizeTableBuilder::Row &SizeTableBuilder::rowOf(Long area)
{
    if (area >= 0 && area < kSmallAreas) {
        if (static_cast<size_t>(area) >= mSmall.size())
            mSmall.resize(std::max<size_t>(static_cast<size_t>(area) + 1, mSmall.size() * 2));
        return mSmall[static_cast<size_t>(area)];
    }
    return mLarge[area];
}

void SizeTableBuilder::add(Long area)
{
    Row &row = rowOf(area);
    ++row.Count;
    // A diameter of 0 leaves the volume 0 and the row is filled again, with the same values.
    if (row.Volume == 0) {
        row.Diameter = diameterOf(area, mMicronsPerPixelX, mSpread, mPi);
        row.Volume = volumeOf(row.Diameter, mPi);
    }
    mTotalMicrons += row.Volume;
    mMaxClassCount = std::max(mMaxClassCount, row.Count);
    ++mStainCount;
}

SizeClass SizeTableBuilder::classOf(Long area, const Row &row, double &cumVolume, double &cumNumber,
                                    double &maxFraction) const
{
    SizeClass c;
    c.AreaPx = area;
    c.Count = row.Count;
    c.Volume = row.Volume;
    c.Diameter = row.Diameter;
    if (mTotalMicrons != 0) {
        c.VolumeFraction = ToSingle(static_cast<double>(row.Count) * row.Volume / mTotalMicrons);
        maxFraction = std::max<double>(maxFraction, c.VolumeFraction);
        cumVolume += c.VolumeFraction;
        c.CumVolumeFraction = ToSingle(cumVolume);
    }
    c.NumberFraction = ToSingle(static_cast<double>(row.Count) / mStainCount);
    cumNumber += c.NumberFraction;
    c.CumNumberFraction = ToSingle(cumNumber);
    return c;
}

void SizeTableBuilder::apply(CardImage &card, Long rejected) const
{
    if (mStainCount == 0) {
        card.SizeTable.assign(1, SizeClass{});
        return;
    }

    double cumVolume = 0;
    double cumNumber = 0;
    double maxFraction = 0;
    std::vector<SizeClass> table(1);
    for (size_t area = 1; area < mSmall.size(); ++area)
        if (mSmall[area].Count > 0)
            table.push_back(classOf(static_cast<Long>(area), mSmall[area], cumVolume, cumNumber, maxFraction));
    for (const auto &[area, row] : mLarge)
        if (area >= 1 && row.Count > 0)
            table.push_back(classOf(area, row, cumVolume, cumNumber, maxFraction));

    // Volume median: interpolated between the two rows whose cumulative fractions straddle 0.5,
    // both strictly; row 0 makes the first interval start at diameter 0.
    for (size_t k = 1; k < table.size(); ++k) {
        const double c0 = table[k - 1].CumVolumeFraction;
        const double c1 = table[k].CumVolumeFraction;
        if (c1 > 0.5 && c0 < 0.5) {
            const double d0 = table[k - 1].Diameter;
            const double d1 = table[k].Diameter;
            card.Stats.Vmd = (0.5 - c0) / (c1 - c0) * (d1 - d0) + d0;
        }
    }
    if (mTotalMicrons == 0)
        card.Stats.Vmd = 0;

    // A card of no area cannot carry stains; 0 keeps the densities finite all the same.
    const auto perCm2 = [&card](double v) { return card.AreaCm2 > 0 ? v / card.AreaCm2 : 0.0; };
    card.MaxVolumeFraction = maxFraction;
    card.TotalVolume = mTotalMicrons / 1000000;
    card.Stats.VolumeDensity = perCm2(card.TotalVolume);
    card.MaxClassCount = mMaxClassCount;
    card.MinDiameter = table[1].Diameter;
    card.MaxDiameter = table.back().Diameter;
    card.Stats.DropDensity = perCm2(mStainCount);
    card.RejectedCount = rejected;
    card.SizeTable = std::move(table);
}

} // namespace velmara
