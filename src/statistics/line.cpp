#include "statistics/line.h"

#include "statistics/range.h"
#include "statistics/textvalue.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace velmara {

namespace {

CardStats LineStatsAt(const Workspace &ws, int i)
{
    return i >= 0 && static_cast<size_t>(i) < ws.LineStats.size() ? ws.LineStats[i] : CardStats{};
}

} // namespace

void AssignCardPositions(Workspace &ws)
{
    const Single first = TextToSingle(ws.Spray.Sample_Position1);
    const Single interval = TextToSingle(ws.Spray.Sample_Interval);
    // Single arithmetic step by step, as the card position dialog places the cards, so that both
    // give the same positions.
    for (int i = 1; i <= ws.CardCount(); ++i) {
        const Single offset = ToSingle(static_cast<double>(interval) * (i - 1));
        ws.Card(i).Position = ToSingle(static_cast<double>(first) + offset);
    }
}

bool SamplingLineUsable(Single first, Single interval)
{
    if (interval == 0 || !std::isfinite(first) || !std::isfinite(interval))
        return false;
    const double farthest = std::fabs(static_cast<double>(first))
        + std::fabs(static_cast<double>(interval)) * (kLineCardLimit - 1);
    if (!(farthest <= std::numeric_limits<Single>::max()))
        return false;
    const double swathFirst = std::trunc(static_cast<double>(ToSingle(static_cast<double>(first) / interval)));
    return std::fabs(swathFirst) + kLineCardLimit <= 2147483647.0;
}

bool HasEqualPositions(const Workspace &ws)
{
    // Sorted rather than pairwise: a line may have ten thousand cards. A NaN equals nothing.
    std::vector<Single> positions;
    positions.reserve(static_cast<size_t>(ws.CardCount()));
    for (int i = 1; i <= ws.CardCount(); ++i)
        if (!std::isnan(ws.Card(i).Position))
            positions.push_back(ws.Card(i).Position);
    std::sort(positions.begin(), positions.end());
    return std::adjacent_find(positions.begin(), positions.end()) != positions.end();
}

void ResetLineStats(Workspace &ws)
{
    ws.LineStats.assign(static_cast<size_t>(ws.CardCount()) + 1, CardStats{});
}

void FillLineStats(Workspace &ws)
{
    const int n = ws.CardCount();
    if (ws.LineStats.size() < static_cast<size_t>(n) + 1)
        ws.LineStats.resize(static_cast<size_t>(n) + 1);
    const bool ranged = RangeSelected(ws);
    for (int i = 1; i <= n; ++i) {
        if (!ws.Card(i).Scanned)
            continue;
        if (ranged) {
            CalcSingleRange(ws, i);
            ws.LineStats[i] = ws.CardRange.Stats;
        } else {
            ws.LineStats[i] = ws.Card(i).Stats;
        }
    }
}

void ComputeLineScales(Workspace &ws)
{
    const int n = ws.CardCount();
    if (n < 1)
        return;
    ws.LineLeft = ws.LineRight = ws.Card(1).Position;
    ws.LineMaxVmd = ws.MaxVmdOfCards;
    ws.LineMaxDensity = ToSingle(LineStatsAt(ws, 1).DropDensity);
    ws.LineMaxDeposit = ToSingle(LineStatsAt(ws, 1).VolumeDensity);
    for (int i = 2; i <= n; ++i) {
        const CardImage &card = ws.Card(i);
        if (card.Position < ws.LineLeft)
            ws.LineLeft = card.Position;
        if (card.Position > ws.LineRight)
            ws.LineRight = card.Position;
        // The card's unrestricted figures, so that the scale does not shrink with a range.
        if (ToSingle(card.Stats.DropDensity) > ws.LineMaxDensity)
            ws.LineMaxDensity = ToSingle(card.Stats.DropDensity);
        if (ToSingle(card.Stats.VolumeDensity) > ws.LineMaxDeposit)
            ws.LineMaxDeposit = ToSingle(card.Stats.VolumeDensity);
        const Single vmd = ToSingle(LineStatsAt(ws, i).Vmd);
        if (vmd > ws.LineMaxVmd)
            ws.LineMaxVmd = vmd;
    }
    if (ws.LineLeft > 0)
        ws.LineLeft = 0;
    if (ws.LineRight < 0)
        ws.LineRight = 0;
    ws.LineMaxVmd = ToSingle(ws.LineMaxVmd * 1.1);
    ws.LineMaxDensity = ToSingle(ws.LineMaxDensity * 1.1);
    ws.LineMaxDeposit =
        ToSingle(static_cast<double>(ws.DepositFactor[ws.UnitIndex()]) * ws.LineMaxDeposit * 1.1);
}

double TickStep(Single max)
{
    if (!(max > 0))
        return 1;
    // log10 as the quotient of natural logarithms: for 1000 it falls just short of 3.
    const double decade = std::floor(std::log(static_cast<double>(max)) / std::log(10.0));
    const double p = std::pow(10.0, decade);
    const double m = max / p;
    if (m < 1.5)
        return 0.25 * p;
    if (m < 3)
        return 0.5 * p;
    if (m < 6)
        return p;
    return 2 * p;
}

int TickDecimals(double step)
{
    if (!(step > 0) || !std::isfinite(step))
        return 0;
    // A Single step such as 0.0025f lies a few parts in 10^8 off its decimal.
    constexpr int kMost = 9;
    double scaled = step;
    for (int decimals = 0; decimals < kMost; ++decimals, scaled *= 10)
        if (std::fabs(scaled - std::nearbyint(scaled)) <= 1e-5 * scaled)
            return decimals;
    return kMost;
}

std::string TickPattern(double step)
{
    const int decimals = TickDecimals(step);
    return decimals == 0 ? std::string("0") : "0." + std::string(static_cast<size_t>(decimals), '0');
}

} // namespace velmara
