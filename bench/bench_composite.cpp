// The composite view must keep a drag on the size graph fluid: the composite graph redrawn at each
// mouse move (under 4 ms for 10,000 classes), the whole mouse-up refresh with the chart or the swath
// view rendered into a 700 x 450 picture (under 16 ms at 100 cards, 100 ms at 1000), and entering
// the view with 1000 cards (under 300 ms). Runs on the offscreen platform.

#include "settings/settingsstore.h"
#include "shell/mainwindow.h"
#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/swathpatterns.h"
#include "views/chartcanvas.h"
#include "views/linechart.h"
#include "views/sizegraph.h"
#include "views/swathview.h"

#include <QApplication>
#include <QCheckBox>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>

using namespace velmara;

namespace {

// n scanned cards of `rows` size classes each, on a line from -50 at 1 m.
void fillLine(Workspace &ws, int n, int rows)
{
    for (int i = 1; i <= n; ++i) {
        const int k = ws.AppendCard();
        CardImage &c = ws.Card(k);
        c.FileName = "card" + std::to_string(k) + ".bmp";
        c.FullPath = "/nonexistent/" + c.FileName;
        c.Dpi = 600;
        c.AreaCm2 = 2.0;
        c.PixelsReady = true;
        c.Scanned = true;
        double total = 0, count = 0;
        for (int r = 1; r <= rows; ++r) {
            SizeClass s;
            s.AreaPx = r;
            s.Count = 1 + (r * 7919 + i) % 17;
            // Cards interleave in 0.1-micrometre steps, so the composite has a class per row.
            s.Diameter = ToSingle(20.0 + 0.1 * ((r - 1) * 100 + (i - 1) % 100));
            s.Volume = ToSingle(3.14159 / 6 * std::pow(s.Diameter, 3.0));
            c.SizeTable.push_back(s);
            total += s.Count * static_cast<double>(s.Volume);
            count += s.Count;
            c.MaxClassCount = std::max(c.MaxClassCount, s.Count);
        }
        double cum = 0;
        for (int r = 1; r <= rows; ++r) {
            SizeClass &s = c.SizeTable[static_cast<size_t>(r)];
            s.VolumeFraction = ToSingle(s.Count * static_cast<double>(s.Volume) / total);
            cum += s.VolumeFraction;
            s.CumVolumeFraction = ToSingle(cum);
            c.MaxVolumeFraction = std::max<double>(c.MaxVolumeFraction, s.VolumeFraction);
        }
        c.MinDiameter = c.SizeTable[1].Diameter;
        c.MaxDiameter = c.SizeTable.back().Diameter;
        c.TotalVolume = total / 1e6;
        c.Stats = {300.0 + i % 50, count / c.AreaCm2, c.TotalVolume / c.AreaCm2};
    }
    ws.Spray.Sample_Position1 = "-50";
    ws.Spray.Sample_Interval = "1";
    ws.MaxDiameterAll = ws.ComputeMaxDiameterAll();
    CalcCompositeAll(ws);
}

void BM_CompositeGraphDrag(benchmark::State &state)
{
    Workspace ws;
    // 100 cards whose diameters interleave in 0.1-micrometre steps: about 10,000 classes.
    fillLine(ws, 100, 100);
    ws.CompositeCheck = true;
    state.counters["classes"] = static_cast<double>(ws.CompositeAll.Classes.size() - 1);
    QImage image(290, 70, QImage::Format_RGB32);
    UserScale scale = InitialGraphScale(290);
    double x = 0;
    for (auto _ : state) {
        ws.RangeLow = ToSingle(x);
        x = std::fmod(x + 7.0, 500.0);
        PainterCanvas canvas(image);
        canvas.setScale(scale);
        DrawResult(canvas, ws, 1);
        scale = canvas.scale();
    }
}
BENCHMARK(BM_CompositeGraphDrag)->Unit(benchmark::kMillisecond);

// range(0): cards; range(1): 0 the line chart, 1 the swath view, 2 the swath view back and
// forth. The swath views also search the effective swath of both patterns and sets.
void BM_MouseUpRefresh(benchmark::State &state)
{
    Workspace ws;
    fillLine(ws, static_cast<int>(state.range(0)), 40);
    ws.CompositeCheck = true;
    AssignCardPositions(ws);
    ResetLineStats(ws);
    ws.SwathSets[1].Width = ws.SwathSets[2].Width = 0;
    RebuildSwathTables(ws);
    QImage image(700, 450, QImage::Format_RGB32);
    double low = 100;
    for (auto _ : state) {
        ws.RangeLow = ToSingle(low);
        ws.RangeHigh = ToSingle(low + 400);
        low = low > 300 ? 100 : low + 13;
        if (RangeSelected(ws))
            CalcCompositeRange(ws);
        FillLineStats(ws);
        RebuildSwathTables(ws);
        PainterChartCanvas canvas(image);
        if (state.range(1) == 0) {
            ComputeLineScales(ws);
            benchmark::DoNotOptimize(DrawLineChart(canvas, ws));
        } else {
            PrepareSwathView(ws);
            const SwathPattern shown = state.range(1) == 2 ? SwathPattern::BackAndForth : SwathPattern::Racetrack;
            benchmark::DoNotOptimize(DrawSwathView(canvas, ws, shown));
            for (int s = 1; s <= 2; ++s)
                for (SwathPattern p : {SwathPattern::Racetrack, SwathPattern::BackAndForth})
                    benchmark::DoNotOptimize(FindEffectiveSwath(ws.SwathSets[s], p, ws.CovLimit));
        }
    }
}
BENCHMARK(BM_MouseUpRefresh)->Args({100, 0})->Args({100, 1})->Args({1000, 0})->Args({1000, 1})->Args({1000, 2})
    ->Unit(benchmark::kMillisecond);

// Entering the view from the card view: controls, dialogs not needed, statistics, tabs, chart.
void BM_EnterView(benchmark::State &state)
{
    QTemporaryDir dir;
    SettingsStore store(dir.filePath(QStringLiteral("settings.ini")));
    Workspace ws;
    ws.TempDir = dir.path().toStdString() + "/";
    MainWindow window(ws, store, 768);
    window.setMessageHook([](const QString &) {});
    window.resize(1024, 768);
    window.show();
    fillLine(ws, static_cast<int>(state.range(0)), 40);
    QCheckBox *composite = window.findChild<QCheckBox *>("CompositeCheck");
    composite->setVisible(true);
    for (auto _ : state) {
        composite->click();
        QApplication::processEvents();
        state.PauseTiming();
        composite->click();
        QApplication::processEvents();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_EnterView)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char **argv)
{
    if (std::getenv("QT_QPA_PLATFORM") == nullptr)
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
