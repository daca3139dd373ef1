// Redrawing the size graph during a drag: the whole graph is repainted at every mouse move, one
// polygon per pair of rows, and must stay under 4 ms for a card of 5,000 rows.

#include "views/canvas.h"
#include "views/sizegraph.h"

#include <benchmark/benchmark.h>

#include <cmath>

using namespace velmara;

namespace {

Workspace cardOfRows(int rows)
{
    Workspace ws;
    ws.AppendCard();
    CardImage &card = ws.Card(1);
    card.Scanned = true;
    card.PixelsReady = true;
    card.AreaCm2 = 3.0;
    card.SizeTable.assign(1, SizeClass{});
    double cum = 0;
    for (int i = 1; i <= rows; ++i) {
        SizeClass row;
        row.AreaPx = i;
        row.Count = 1 + (i * 7919) % 13;
        row.Diameter = ToSingle(10.0 * std::sqrt(static_cast<double>(i)));
        row.VolumeFraction = ToSingle(row.Count * std::pow(row.Diameter, 3.0) * 1e-12);
        cum += row.VolumeFraction;
        row.CumVolumeFraction = ToSingle(cum);
        card.SizeTable.push_back(row);
        card.MaxVolumeFraction = std::max<double>(card.MaxVolumeFraction, row.VolumeFraction);
        card.MaxClassCount = std::max(card.MaxClassCount, row.Count);
    }
    card.MaxDiameter = card.SizeTable.back().Diameter;
    ws.CompositeAll.MaxDiameter = card.MaxDiameter;
    ws.MaxDiameterAll = card.MaxDiameter;
    ws.CurrentVMD = card.MaxDiameter * 0.6;
    return ws;
}

void BM_SizeGraphDragRedraw(benchmark::State &state)
{
    Workspace ws = cardOfRows(static_cast<int>(state.range(0)));
    ws.GraphMode = static_cast<int>(state.range(1));
    QImage image(290, 70, QImage::Format_RGB32);
    UserScale scale = InitialGraphScale(290);
    double x = 0;
    for (auto _ : state) {
        // One mouse move: the bound follows the pointer, then the graph is drawn anew.
        x = std::fmod(x + 3.7, static_cast<double>(ws.MaxDiameterAll));
        DragRange(ws, 1, 0, x);
        PainterCanvas canvas(image);
        canvas.setScale(scale);
        DrawResult(canvas, ws, 1);
        scale = canvas.scale();
        benchmark::DoNotOptimize(image.constBits());
    }
}

} // namespace

BENCHMARK(BM_SizeGraphDragRedraw)->Args({5000, 1})->Args({5000, 2})->Args({5000, 3})->Args({500, 1})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
