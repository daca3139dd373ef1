#pragma once
// A sampling line for the chart tests: scanned cards of two rows each, placed, with their line
// statistics, scales and composite, as entering the composite view leaves them.

#include "statistics/cardmaker.h"
#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "views/chartcanvas.h"
#include "views/linechart.h"
#include "views/swathview.h"

#include <cmath>
#include <string>
#include <vector>

namespace velmara::testing {

// n cards; card i has one small drop and i large ones, so densities and deposits differ; with
// stains false, no card has any.
inline Workspace MakeLine(int n, const std::string &first = "-50", const std::string &interval = "10",
                          std::vector<int> unscanned = {}, bool stains = true)
{
    Workspace ws;
    for (int i = 1; i <= n; ++i) {
        bool scanned = true;
        for (int u : unscanned)
            scanned = scanned && u != i;
        if (!stains) {
            AddCard(ws, 2.0, {}, scanned);
            continue;
        }
        const int k = AddCard(ws, 2.0, {{100.0f, 1, 500000.0f}, {300.0f, static_cast<Long>(i), 14000000.0f}}, scanned);
        ws.Card(k).Stats.Vmd = 200 + 10 * i;
    }
    ws.Spray.Sample_Position1 = first;
    ws.Spray.Sample_Interval = interval;
    ws.CompositeCheck = true;
    CalcCompositeAll(ws);
    ws.MaxDiameterAll = ws.ComputeMaxDiameterAll();
    AssignCardPositions(ws);
    ResetLineStats(ws);
    FillLineStats(ws);
    ComputeLineScales(ws);
    return ws;
}

// The composite view's steps before each drawing, then the drawing.
inline LineChartLayout DrawLine(ChartCanvas &c, Workspace &ws)
{
    ComputeLineScales(ws);
    return DrawLineChart(c, ws);
}

inline SwathViewLayout DrawSwath(ChartCanvas &c, Workspace &ws)
{
    PrepareSwathView(ws);
    return DrawSwathView(c, ws);
}

inline bool AllFinite(const RecordingChartCanvas &c)
{
    for (const auto &call : c.calls)
        for (const QPointF &p : call.points)
            if (!std::isfinite(p.x()) || !std::isfinite(p.y()))
                return false;
    return c.DroppedCalls == 0;
}

} // namespace velmara::testing
