#include "statistics/range.h"
#include "views/sizegraph.h"

#include <gtest/gtest.h>

using namespace velmara;
using Op = RecordingCanvas::Op;

namespace {

SizeClass row(Single diameter, Long count, Single vf, Single cvf)
{
    return SizeClass{count, count, 0, diameter, vf, cvf, 0, 0};
}

// One scanned card of three rows at 10, 50 and 100 micrometres on a 2 cm² card.
Workspace scannedWorkspace()
{
    Workspace ws;
    const int i = ws.AppendCard();
    CardImage &c = ws.Card(i);
    c.Scanned = true;
    c.PixelsReady = true;
    c.AreaCm2 = 2.0;
    c.SizeTable = {SizeClass{}, row(10, 4, 0.2f, 0.2f), row(50, 25, 0.5f, 0.7f), row(100, 3, 0.3f, 1.0f)};
    c.MinDiameter = 10;
    c.MaxDiameter = 100;
    c.MaxVolumeFraction = 0.5f;
    c.MaxClassCount = 25;
    c.Stats.Vmd = 42;
    ws.CompositeAll.MaxDiameter = 100;
    ws.MaxDiameterAll = 100;
    ws.CurrentVMD = 42;
    return ws;
}

RecordingCanvas graphCanvas()
{
    RecordingCanvas canvas(290, 70);
    canvas.setScale(InitialGraphScale(290));
    return canvas;
}

} // namespace

TEST(SizeGraphTop, FollowsTheModeAndRoundsCountsUpToATenth)
{
    Workspace ws = scannedWorkspace();
    const std::vector<std::tuple<int, Long, double, Single>> cases = {
        {1, 25, 2.0, ToSingle(static_cast<double>(0.5f) * 1.1)},
        {2, 25, 2.0, 1.0f},
        {3, 25, 2.0, 12.5f},            // 25 / 2 stays on its tenth
        {3, 25, 2.075, ToSingle(12.1)}, // 12.05 goes up to 12.1
        {3, 26, 2.08, ToSingle(12.5)},  // 12.5 in decimal but a hair above in binary: stays
        {3, 26, 2.075, ToSingle(12.6)},
    };
    for (const auto &[mode, count, area, top] : cases) {
        SCOPED_TRACE(std::to_string(mode) + " / " + std::to_string(count) + " / " + std::to_string(area));
        ws.GraphMode = mode;
        ws.Card(1).MaxClassCount = count;
        ws.Card(1).AreaCm2 = area;
        EXPECT_EQ(GraphTop(ws, 1), top);
    }
    ws.CompositeCheck = true;
    ws.CompositeAll.MaxClassVolume = 30;
    ws.CompositeAll.TotalVolume = 100;
    ws.CompositeAll.MaxClassCount = 7;
    ws.CompositeAll.AreaCm2 = 4;
    ws.GraphMode = 1;
    EXPECT_EQ(GraphTop(ws, 1), ToSingle(0.3 * 1.1));
    ws.GraphMode = 3;
    EXPECT_EQ(GraphTop(ws, 1), ToSingle(1.8));
}

TEST(SizeGraphDraw, SkylineBandAndMedianInOrder)
{
    Workspace ws = scannedWorkspace();
    RecordingCanvas canvas = graphCanvas();
    DrawResult(canvas, ws, 1);

    ASSERT_EQ(canvas.calls.size(), 5u);
    EXPECT_EQ(canvas.calls[0].colour, kGraphBackground);
    // Band under the first scale (pixels across): from 0 far beyond the right edge.
    EXPECT_EQ(canvas.calls[1].points[0].x(), 0);
    EXPECT_GT(canvas.calls[1].points[1].x(), 290);
    // Median: x = 42 / 100 * 290 = 121.8, from the bottom (0) up to the top of the scale.
    EXPECT_EQ(canvas.calls[2].colour, kMedianMark);
    EXPECT_EQ(canvas.calls[2].points[0], QPoint(122, 70));
    EXPECT_EQ(canvas.calls[2].points[1], QPoint(122, 0));
    // Bars between rows 1-2 and 2-3; base 68, top 0.55: 0.2 -> 68 - 25.45, 0.5 -> 68 - 63.64.
    EXPECT_EQ(canvas.calls[3].points, (std::vector<QPoint>{{29, 43}, {29, 68}, {145, 68}, {145, 4}}));
    EXPECT_EQ(canvas.calls[4].points, (std::vector<QPoint>{{145, 4}, {145, 68}, {290, 68}, {290, 30}}));
}

TEST(SizeGraphDraw, RangeBandShortTablesAndNoCards)
{
    Workspace ws = scannedWorkspace();
    RecordingCanvas canvas = graphCanvas();
    const auto redraw = [&](Workspace &w) {
        canvas.calls.clear();
        DrawResult(canvas, w, 1);
    };
    redraw(ws);
    ws.RangeLow = 20; // the band under the previous scale
    ws.RangeHigh = 60;
    redraw(ws);
    EXPECT_EQ(std::pair(canvas.calls[1].points[0], canvas.calls[1].points[1]), std::pair(QPoint(58, 0), QPoint(174, 70)));
    ws.Card(1).SizeTable.resize(2); // one row: the median mark but no bar
    redraw(ws);
    EXPECT_EQ(std::pair(canvas.count(Op::Line), canvas.count(Op::Polygon)), std::pair(1, 0));
    ws.Card(1).SizeTable.resize(1); // no stain: only the band, no median
    redraw(ws);
    EXPECT_EQ(canvas.calls.size(), 2u);
    Workspace empty;
    redraw(empty);
    EXPECT_TRUE(canvas.calls.empty());
}

TEST(SizeGraphDraw, CountModeAndTheCompositeOnTheCardsAcross)
{
    Workspace ws = scannedWorkspace();
    ws.GraphMode = 3;
    RecordingCanvas canvas = graphCanvas();
    DrawResult(canvas, ws, 1);
    // top 12.5; row 2 has 25 / 2 = 12.5 drops/cm²: the full height, y = 68 - 70 = -2.
    EXPECT_EQ(canvas.calls[3].points[3], QPoint(145, -2));
    // The composite keeps the card graph's horizontal scale: x from 20 and 40 of 100.
    ws.GraphMode = 1;
    ws.CompositeCheck = true;
    ws.CompositeAll.Classes = {SizeClass{}, row(20, 1, 0.5f, 0.5f), row(40, 1, 0.5f, 1.0f)};
    ws.CompositeAll.MaxClassVolume = 1;
    ws.CompositeAll.TotalVolume = 2;
    canvas.calls.clear();
    DrawResult(canvas, ws, 1);
    EXPECT_EQ(canvas.calls.back().points, (std::vector<QPoint>{{58, 4}, {58, 68}, {116, 68}, {116, 4}}));
}

TEST(SizeGraphRange, PressKeepsTheBoundsApartAndDragClipsAndTheEndsUnselect)
{
    Workspace ws = scannedWorkspace();
    ws.RangeLow = 20;
    ws.RangeHigh = 60;
    EXPECT_TRUE(PressRange(ws, 1, 0, 70)); // left of a click right of RangeHigh
    EXPECT_EQ(std::pair(ws.RangeLow, ws.RangeHigh), std::pair(70.0f, 71.0f));
    EXPECT_TRUE(PressRange(ws, 2, 0, 0.5)); // right click left of RangeLow: may go below 0
    EXPECT_FLOAT_EQ(ws.RangeLow, -0.5f);
    EXPECT_FALSE(PressRange(ws, 1, 1, 30)); // Shift
    EXPECT_FALSE(PressRange(ws, 4, 0, 30)); // middle button
    EXPECT_FLOAT_EQ(ws.RangeLow, -0.5f);

    ws.CurrentCard = 1;
    double x = 350;
    EXPECT_TRUE(DragRange(ws, 2, 0, x));
    EXPECT_DOUBLE_EQ(x, 100);
    x = -12;
    EXPECT_TRUE(DragRange(ws, 1, 0, x));
    EXPECT_DOUBLE_EQ(x, 0);
    EXPECT_FALSE(RangeSelected(ws)) << "0 to the largest drop is no range";
}

TEST(SizeGraphTexts, LabelStaysInsideTipReadsThePointerAndCaptions)
{
    EXPECT_DOUBLE_EQ(SizeRangeLabelLeft(79, 20, 100), 79);
    EXPECT_DOUBLE_EQ(SizeRangeLabelLeft(95, 20, 100), 80); // 95 + 20 is not below 100

    const QString micro(QChar(0x00B5));
    EXPECT_EQ(SizeGraphToolTip(true, 1, 123.7, 0.25), QStringLiteral("123") + micro + "m / 25.0%");
    EXPECT_EQ(SizeGraphToolTip(true, 3, 99.99, 0.25), QStringLiteral("99") + micro + "m / 0.3");
    EXPECT_TRUE(SizeGraphToolTip(false, 1, 1, 1).isEmpty());
    EXPECT_EQ(ResultFrameCaption(true, 2), "Composite Results  (Cumulative Volume Fraction)");
}
