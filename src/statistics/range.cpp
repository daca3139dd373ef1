#include "statistics/range.h"

#include <algorithm>

namespace velmara {

bool RangeSelected(const Workspace &ws)
{
    if (ws.CompositeCheck) {
        return ToSingle(ws.CompositeAll.MinDiameter) < ws.RangeLow
            || ws.RangeHigh < ws.CompositeAll.MaxDiameter;
    }
    if (ws.CurrentCard < 1 || ws.CurrentCard > ws.CardCount())
        return false;
    const CardImage &card = ws.Card(ws.CurrentCard);
    return ws.RangeLow > card.MinDiameter || ws.RangeHigh < card.MaxDiameter;
}

void RestrictToRange(SizeStats &stats, Single low, Single high)
{
    std::vector<SizeClass> &rows = stats.Classes;
    stats.TotalVolume = 0;
    stats.DropCount = 0;
    stats.Stats.Vmd = 0;
    if (rows.empty())
        return;

    const int n = static_cast<int>(rows.size()) - 1;
    int lo = n + 1;
    for (int i = 1; i <= n; ++i) {
        if (rows[i].Diameter >= low) {
            lo = i;
            break;
        }
    }
    // The downward search stops at row 2: a range holding only row 1 comes out empty.
    int hi = 0;
    for (int i = n; i >= 2; --i) {
        if (rows[i].Diameter <= high) {
            hi = i;
            break;
        }
    }
    const int kept = hi - lo + 1;
    if (kept <= 0) {
        rows.resize(1);
    } else {
        if (lo > 1)
            std::move(rows.begin() + lo, rows.begin() + hi + 1, rows.begin() + 1);
        rows.resize(static_cast<size_t>(kept) + 1);
    }

    const int m = static_cast<int>(rows.size()) - 1;
    for (int i = 1; i <= m; ++i) {
        // A Long count times a Single volume is exact in a double.
        stats.TotalVolume += static_cast<double>(rows[i].Count) * rows[i].Volume;
        stats.DropCount += rows[i].Count;
    }
    if (!(stats.DropCount > 0))
        return;

    double prev = 0;
    for (int i = 1; i <= m; ++i) {
        SizeClass &r = rows[i];
        const SizeClass &before = rows[i - 1];
        r.NumberFraction = ToSingle(r.Count / stats.DropCount);
        r.CumNumberFraction = before.CumNumberFraction + r.NumberFraction;
        r.VolumeFraction = ToSingle(static_cast<double>(r.Count) * r.Volume / stats.TotalVolume);
        r.CumVolumeFraction = before.CumVolumeFraction + r.VolumeFraction;
        const double cum = r.CumVolumeFraction;
        if (cum >= 0.5 && prev < 0.5) {
            if (before.CumVolumeFraction == 0) {
                stats.Stats.Vmd = r.Diameter;
            } else {
                const double d0 = before.Diameter;
                const double d1 = r.Diameter;
                stats.Stats.Vmd = d0 + (d1 - d0) * ((0.5 - prev) / (cum - prev));
            }
        }
        prev = cum;
    }
}

void CalcSingleRange(Workspace &ws, int cardIndex)
{
    if (cardIndex == 0)
        cardIndex = ws.CurrentCard;
    if (cardIndex < 1 || cardIndex > ws.CardCount())
        return;
    const CardImage &card = ws.Card(cardIndex);
    SizeStats &r = ws.CardRange;
    r.AreaCm2 = card.AreaCm2;
    r.Classes = card.SizeTable;
    if (r.Classes.empty())
        r.Classes.resize(1);
    RestrictToRange(r, ws.RangeLow, ws.RangeHigh);
    // A card always has an area; the guard only keeps a zero-filled record finite.
    if (r.AreaCm2 != 0) {
        r.Stats.DropDensity = r.DropCount / r.AreaCm2;
        r.Stats.VolumeDensity = (r.TotalVolume / 1000000) / r.AreaCm2;
    } else {
        r.Stats.DropDensity = 0;
        r.Stats.VolumeDensity = 0;
    }
}

double GetCurrentVMD(const Workspace &ws)
{
    if (ws.CompositeCheck)
        return RangeSelected(ws) ? ws.CompositeRange.Stats.Vmd : ws.CompositeAll.Stats.Vmd;
    if (RangeSelected(ws))
        return ws.CardRange.Stats.Vmd;
    if (ws.CurrentCard < 1 || ws.CurrentCard > ws.CardCount())
        return 0;
    return ws.Card(ws.CurrentCard).Stats.Vmd;
}

} // namespace velmara
