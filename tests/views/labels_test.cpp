#include "views/canvas.h"
#include "views/huehistogram.h"
#include "views/sizegraph.h"
#include "views/statslabels.h"

#include <gtest/gtest.h>

using namespace velmara;
using Op = RecordingCanvas::Op;

TEST(AxisLabels, PercentModesAndCountMode)
{
    AxisLabelTexts t = HistogramLabelTexts({0, 123.45, 0.0843, -0.0843}, 1);
    EXPECT_EQ(t.x1, "0.0");
    EXPECT_EQ(t.x2, "123.5"); // half away from zero
    EXPECT_EQ(t.y2, "8.4%");
    t = HistogramLabelTexts({0, 100, ToSingle(12.5), -12.5}, 3);
    EXPECT_EQ(t.y2, "12.5");
    t = HistogramLabelTexts({0, 100, ToSingle(0.1), -0.1}, 3); // a Single's own digits, not 0.100000001
    EXPECT_EQ(t.y2, "0.1");
}

TEST(StatsLabels, TextsAndUnits)
{
    const QString micro(QChar(0x00B5)), sq(QChar(0x00B2));
    EXPECT_EQ(StatsTexts(CardStats{}, true).volume, "0.000 L/ha");
    CardStats s{245.25, 31.125, 12.3456};
    const StatsLabelTexts metric = StatsTexts(s, true);
    EXPECT_EQ(metric.vmd, "245.3 " + micro + "m");
    EXPECT_EQ(metric.drop, "31.13 drops/cm " + sq);
    EXPECT_EQ(metric.volume, "1.235 L/ha");
    EXPECT_EQ(StatsTexts(s, false).volume, "16.889 oz/ac"); // 12.3456 x 1.368 = 16.8888
}

TEST(StatsLabels, ShownStatsFollowsViewAndRange)
{
    Workspace ws;
    EXPECT_EQ(ShownStats(ws, false).Vmd, 0); // no card
    ws.AppendCard();
    ws.Card(1).Stats.Vmd = 1;
    ws.CardRange.Stats.Vmd = 2;
    ws.CompositeAll.Stats.Vmd = 3;
    ws.CompositeRange.Stats.Vmd = 4;
    EXPECT_EQ(ShownStats(ws, false).Vmd, 1);
    EXPECT_EQ(ShownStats(ws, true).Vmd, 2);
    ws.CompositeCheck = true;
    EXPECT_EQ(ShownStats(ws, false).Vmd, 3);
    EXPECT_EQ(ShownStats(ws, true).Vmd, 4);
}

TEST(HueHistogram, BoxesBarsScaleAndClicks)
{
    Workspace ws;
    ws.HueColour[10] = 0x0000ff;  // red
    ws.HueColour[200] = 0xff0000; // blue
    CardImage card;
    card.HueCount[10] = 95;
    card.HueCount[200] = 40;
    ws.Slider1 = 50;
    ws.Slider2 = 150;
    RecordingCanvas canvas(260, 105);
    DrawHueHistogram(canvas, card, ws, 0xfff0f0f0);
    EXPECT_DOUBLE_EQ(canvas.scale().Top, 100); // largest count + 5
    ASSERT_EQ(canvas.calls.size(), 4u);
    // One box from 50 to 150 across the whole height: (x + 1) * 260 / 256.
    EXPECT_EQ(canvas.calls[1].points, (std::vector<QPoint>{{52, 0}, {153, 105}}));
    // The bar of hue 10 stands at x = 9, from 0 up to 95 of 100.
    EXPECT_EQ(canvas.calls[2].points, (std::vector<QPoint>{{10, 105}, {10, 5}}));
    EXPECT_EQ(canvas.calls[2].colour, qRgb(255, 0, 0)); // BGR table entry, RGB bar

    ws.HueInvertCheck = true;
    canvas.calls.clear();
    DrawHueHistogram(canvas, card, ws, 0xfff0f0f0);
    ASSERT_EQ(canvas.count(Op::FillBox), 2);
    EXPECT_EQ(canvas.calls[1].points[0].x(), 1);  // 0 .. Slider1
    EXPECT_EQ(canvas.calls[2].points[1].x(), 260); // Slider2 .. 255

    // A click gives the slider value under the first scale.
    canvas.setScale(InitialHistogramScale());
    EXPECT_EQ(HistogramSliderValue(canvas, 259), 254); // the last pixel starts at 254.0
    EXPECT_EQ(HistogramSliderValue(canvas, 400), 255);
}

TEST(PainterCanvas, BandIsClippedAndBarsAreFilled)
{
    Workspace ws;
    ws.AppendCard();
    CardImage &c = ws.Card(1);
    c.SizeTable = {SizeClass{}, SizeClass{0, 0, 0, 0, 1, 0, 0, 0}, SizeClass{0, 0, 0, 100, 1, 0, 0, 0}};
    c.MaxVolumeFraction = 1;
    ws.CompositeAll.MaxDiameter = 100;
    ws.RangeLow = 50; // band under the first scale: from pixel 50 on
    QImage image(290, 70, QImage::Format_RGB32);
    {
        PainterCanvas canvas(image);
        canvas.setScale(InitialGraphScale(290));
        DrawResult(canvas, ws, 1);
    }
    EXPECT_EQ(image.pixel(20, 1), kGraphBackground); // above the bar, left of the band
    EXPECT_EQ(image.pixel(100, 1), kGraphBand);
    EXPECT_EQ(image.pixel(150, 40), kGraphFill);
    EXPECT_EQ(image.pixel(150, 68), kGraphOutline); // the base line
}
