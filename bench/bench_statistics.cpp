// Statistics of a sampling line: the composite merge, the swath tables with the overlap profile,
// and the whole refresh that follows a range drag in the composite view (composite range, line
// statistics, swath tables of both patterns, profiles and the effective swaths), for lines of 10,
// 100 and 1000 cards. The refresh should stay under a frame (16 ms) at 1000 cards.

#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/swath.h"
#include "statistics/swathpatterns.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

using namespace velmara;

namespace {

// A card as a 1200 dpi scan leaves it: one row per stain area from 1 pixel up, a few hundred
// rows, counts falling with the area, the default spread factor.
void AddRealisticCard(Workspace &ws, std::mt19937 &rng, int rows)
{
    CardImage &card = ws.Card(ws.AppendCard());
    card.Scanned = true;
    card.AreaCm2 = 2.5 * 7.6;
    const double micronsPerPixel = 25400.0 / 1200;
    std::uniform_int_distribution<int> skip(1, 3);
    double total = 0, drops = 0;
    Long area = 0;
    for (int i = 0; i < rows; ++i) {
        area += skip(rng);
        SizeClass r;
        r.AreaPx = area;
        r.Count = 1 + static_cast<Long>(400.0 / (1 + area / 4.0)) + skip(rng);
        const double stain = 2 * std::sqrt(area / ws.Pi) * micronsPerPixel;
        r.Diameter = ToSingle(0.56 * stain);
        r.Volume = ToSingle(ws.Pi / 6 * std::pow(static_cast<double>(r.Diameter), 3));
        card.SizeTable.push_back(r);
        total += r.Count * static_cast<double>(r.Volume);
        drops += r.Count;
    }
    card.MinDiameter = card.SizeTable[1].Diameter;
    card.MaxDiameter = card.SizeTable.back().Diameter;
    card.TotalVolume = total / 1000000;
    card.Stats.Vmd = card.SizeTable[card.SizeTable.size() / 2].Diameter;
    card.Stats.DropDensity = drops / card.AreaCm2;
    card.Stats.VolumeDensity = card.TotalVolume / card.AreaCm2;
}

// The composite view entered on a line of n cards with the range chosen inside the spectrum.
Workspace MakeLine(int n)
{
    Workspace ws;
    std::mt19937 rng(12345);
    std::uniform_int_distribution<int> rows(200, 400);
    for (int i = 0; i < n; ++i)
        AddRealisticCard(ws, rng, rows(rng));
    ws.Spray.Sample_Position1 = "-50";
    ws.Spray.Sample_Interval = "10";
    ws.CompositeCheck = true;
    CalcCompositeAll(ws);
    AssignCardPositions(ws);
    ws.RangeLow = 80;
    ws.RangeHigh = 400;
    CalcCompositeRange(ws);
    ResetLineStats(ws);
    FillLineStats(ws);
    BuildSwathTables(ws);
    return ws;
}

void BM_CalcCompositeAll(benchmark::State &state)
{
    Workspace ws = MakeLine(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        CalcCompositeAll(ws);
        benchmark::DoNotOptimize(ws.CompositeAll.Stats.Vmd);
    }
    state.counters["rows"] = static_cast<double>(ws.CompositeAll.Classes.size());
}

void BM_SwathTablesAndProfile(benchmark::State &state)
{
    Workspace ws = MakeLine(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        BuildSwathTables(ws);
        BuildOverlapProfile(ws, 1);
        BuildOverlapProfile(ws, 2);
        benchmark::DoNotOptimize(ws.SwathSets[1].ProfileMax);
    }
}

// What a mouse-up on the size graph costs in the composite view.
void BM_RefreshAfterRangeChange(benchmark::State &state)
{
    Workspace ws = MakeLine(static_cast<int>(state.range(0)));
    bool wide = false;
    for (auto _ : state) {
        ws.RangeLow = wide ? 60 : 90;
        wide = !wide;
        if (RangeSelected(ws))
            CalcCompositeRange(ws);
        FillLineStats(ws);
        BuildSwathTables(ws);
        BuildOverlapProfile(ws, 1);
        BuildOverlapProfile(ws, 2);
        for (int s = 1; s <= 2; ++s)
            for (SwathPattern p : {SwathPattern::Racetrack, SwathPattern::BackAndForth})
                benchmark::DoNotOptimize(FindEffectiveSwath(ws.SwathSets[s], p, ws.CovLimit));
        benchmark::DoNotOptimize(ws.SwathSets[2].ProfileMax);
    }
}

// The search over widths in tenths alone, both sets and patterns, on standing tables. The limit
// of 0 % finds nothing, so every width from the widest down is tried.
void BM_EffectiveSwathSearch(benchmark::State &state)
{
    Workspace ws = MakeLine(static_cast<int>(state.range(0)));
    const double limit = static_cast<double>(state.range(1));
    for (auto _ : state)
        for (int s = 1; s <= 2; ++s)
            for (SwathPattern p : {SwathPattern::Racetrack, SwathPattern::BackAndForth})
                benchmark::DoNotOptimize(FindEffectiveSwath(ws.SwathSets[s], p, limit));
}

} // namespace

BENCHMARK(BM_CalcCompositeAll)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SwathTablesAndProfile)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RefreshAfterRangeChange)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EffectiveSwathSearch)->Args({1000, 25})->Args({1000, 0})->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
