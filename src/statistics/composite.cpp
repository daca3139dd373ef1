#include "statistics/composite.h"

#include "statistics/range.h"

#include <algorithm>
#include <cstdint>

namespace velmara {

namespace {

// Bin of a diameter: the exact product by 10 (a Single times 10 is exact in a double), rounded
// half to even, so that 12.25 falls into bin 122 and 12.75 into bin 128.
long long BinOf(Single diameter)
{
    return static_cast<long long>(RoundHalfEven(static_cast<double>(diameter) * 10.0));
}

} // namespace

void CalcCompositeAll(Workspace &ws)
{
    SizeStats &all = ws.CompositeAll;
    all.Classes.clear();
    all.TotalVolume = 0;
    all.AreaCm2 = 0;
    all.DropCount = 0;
    all.MaxDiameter = 0;
    all.MaxClassVolume = 0;
    all.MaxClassCount = 0;
    all.Stats.Vmd = 0;
    ws.MaxVmdOfCards = 0;

    const int n = ws.CardCount();
    bool anyScanned = false;
    for (int k = 1; k <= n; ++k) {
        const CardImage &card = ws.Card(k);
        if (!card.Scanned)
            continue;
        anyScanned = true;
        if (!card.SizeTable.empty())
            all.MaxDiameter = std::max(all.MaxDiameter, card.SizeTable.back().Diameter);
        all.TotalVolume += card.TotalVolume;
        all.AreaCm2 += card.AreaCm2;
        ws.MaxVmdOfCards = std::max(ws.MaxVmdOfCards, ToSingle(card.Stats.Vmd));
    }

    // A bin count beyond a Long cannot be made: then there are no bins and no rows.
    long long lastBin = BinOf(all.MaxDiameter);
    if (lastBin > 2147483647LL)
        lastBin = 0;
    // 64-bit bins, so that no sum of counts can wrap.
    std::vector<std::int64_t> bins(static_cast<size_t>(std::max(lastBin, 0LL)) + 1, 0);
    for (int k = 1; k <= n; ++k) {
        const CardImage &card = ws.Card(k);
        if (!card.Scanned)
            continue;
        for (size_t i = 1; i < card.SizeTable.size(); ++i) {
            const SizeClass &row = card.SizeTable[i];
            const long long b = BinOf(row.Diameter);
            if (b >= 0 && b <= lastBin)
                bins[static_cast<size_t>(b)] += row.Count;
            all.DropCount += row.Count;
        }
    }

    for (long long i = 1; i <= lastBin; ++i) {
        const std::int64_t c = bins[static_cast<size_t>(i)];
        if (c <= 0)
            continue;
        if (all.Classes.empty())
            all.Classes.resize(1);
        all.Classes.emplace_back();
        SizeClass &row = all.Classes.back();
        const SizeClass &before = all.Classes[all.Classes.size() - 2];

        row.Diameter = ToSingle(static_cast<double>(i) / 10);
        row.Count = c <= kMaxClassCount ? static_cast<Long>(c) : 0;
        const double r = ToSingle(static_cast<double>(i) / 20);
        row.Volume = ToSingle((4.0 / 3.0 * ws.Pi) * (r * r * r) / 1000000);
        if (all.TotalVolume != 0)
            row.VolumeFraction = ToSingle(static_cast<double>(row.Volume) * c / all.TotalVolume);
        row.CumVolumeFraction = before.CumVolumeFraction + row.VolumeFraction;
        if (all.DropCount != 0)
            row.NumberFraction = ToSingle(row.Count / all.DropCount);
        row.CumNumberFraction = before.CumNumberFraction + row.NumberFraction;
        all.MaxClassCount = std::max(all.MaxClassCount, row.Count);
        all.MaxClassVolume = std::max(all.MaxClassVolume, static_cast<double>(row.Volume) * c);

        const double c0 = before.CumVolumeFraction;
        const double c1 = row.CumVolumeFraction;
        if (c1 >= 0.5 && c0 < 0.5) {
            const double d0 = before.Diameter;
            const double d1 = row.Diameter;
            all.Stats.Vmd = d0 + ((0.5 - c0) / (c1 - c0)) * (d1 - d0);
        }
    }

    if (all.Classes.size() > 1)
        all.MinDiameter = all.Classes[1].Diameter;
    if (anyScanned && all.AreaCm2 != 0) {
        all.Stats.DropDensity = all.DropCount / all.AreaCm2;
        all.Stats.VolumeDensity = all.TotalVolume / all.AreaCm2;
    }
}

void CalcCompositeRange(Workspace &ws)
{
    SizeStats &range = ws.CompositeRange;
    range = ws.CompositeAll;
    RestrictToRange(range, ws.RangeLow, ws.RangeHigh);
    if (range.AreaCm2 != 0) {
        range.Stats.DropDensity = range.DropCount / range.AreaCm2;
        range.Stats.VolumeDensity = range.TotalVolume / range.AreaCm2;
    }
}

} // namespace velmara
