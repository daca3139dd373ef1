#include "chartfixture.h"

#include "views/linechart.h"

#include <gtest/gtest.h>

using namespace velmara;
using namespace velmara::testing;
using Op = RecordingChartCanvas::Op;

namespace {

constexpr int kWidth = 700;
constexpr int kHeight = 450;

// Texts whose top stands 7 pixels below y = 0: the position axis.
std::vector<QString> positionLabels(const RecordingChartCanvas &c)
{
    std::vector<QString> found;
    const double top = c.toPixelY(0) + 7;
    for (const auto *t : c.of(Op::Text))
        if (t->angle == 0 && std::abs(t->points[0].y() - top) < 1e-6)
            found.push_back(t->text);
    return found;
}

std::vector<const RecordingChartCanvas::Call *> linesOf(const RecordingChartCanvas &c, QRgb colour, int width)
{
    std::vector<const RecordingChartCanvas::Call *> found;
    for (const auto *l : c.of(Op::Line))
        if (l->colour == colour && l->width == width)
            found.push_back(l);
    return found;
}

} // namespace

TEST(LineChartAxes, PositionLabelsTakeTheTypedFormAndThinOutBeyond25Intervals)
{
    struct Case
    {
        int cards;
        std::string first, interval;
        size_t count;
        std::vector<QString> head; // the first labels
        QString last;
    };
    const std::vector<Case> cases = {
        {3, "-50", "10", 6, {"-50", "-40", "-30"}, "0"},
        {3, "-50", "2.5", 0, {"-50.0", "-45.0", "-40.0"}, ""}, // "-47.5" would touch its neighbours
        {3, "5", "10", 3, {"0.0", "10.0", "20.0"}, "20.0"}, // right of zero: from 0, short of 25
        {26, "0", "10", 26, {"0", "10"}, "250"},           // 25 intervals: every one
        {27, "0", "10", 14, {"0", "20"}, "260"},           // 26 intervals: every second
        {1000, "0", "1", 11, {"0.0", "99.0"}, "990.0"},
    };
    for (const Case &k : cases) {
        SCOPED_TRACE(k.first + " / " + k.interval + " x " + std::to_string(k.cards));
        Workspace ws = MakeLine(k.cards, k.first, k.interval);
        RecordingChartCanvas c(kWidth, kHeight);
        DrawLine(c, ws);
        EXPECT_TRUE(AllFinite(c));
        const auto labels = positionLabels(c);
        if (k.count) {
            EXPECT_EQ(labels.size(), k.count);
        }
        ASSERT_GE(labels.size(), k.head.size());
        EXPECT_EQ(std::vector<QString>(labels.begin(), labels.begin() + k.head.size()), k.head);
        if (!k.last.isEmpty()) {
            EXPECT_EQ(labels.back(), k.last);
        }
        if (k.first == "5") { // the zero line (pen 2) is the left side of the frame, a tenth of the line in
            EXPECT_EQ(std::pair(ws.LineLeft, ws.LineRight), std::pair(0.0f, 25.0f));
            const auto zero = linesOf(c, kChartBlack, 2);
            ASSERT_EQ(zero.size(), 1u);
            EXPECT_DOUBLE_EQ(zero[0]->points[0].x(), kWidth / 12.0);
        }
    }
    // "10.0" ends in the digit 0, as the position dialog stores it.
    EXPECT_EQ(PositionPattern(MakeLine(2, "-50.0", "10.0")), "0");
    EXPECT_EQ(PositionPattern(MakeLine(2, "-45", "10")), "0.0");
}

// Band labels carry as many decimals as their step, and each band's title its unit, turned along
// the edge of its own labels, centred on its band and clear of the labels and the picture's edge.
TEST(LineChartAxes, BandLabelsAndTitles)
{
    struct Band
    {
        Single Workspace::*top;
        double base;
        bool left;
        QString title;
    };
    const Band vmd{&Workspace::LineMaxVmd, 2, true, QString("VMD (") + QChar(0x00B5) + "m)"};
    const Band density{&Workspace::LineMaxDensity, 1, false, QString("Drop Density (drops/cm") + QChar(0x00B2) + ")"};
    const Band deposit{&Workspace::LineMaxDeposit, 0, true, "Vol. Density (L/ha)"};
    struct Case
    {
        const Band *band;
        Single top;
        std::vector<QString> labels;
    };
    const std::vector<Case> cases = {
        {&vmd, 253, {"0", "50", "100", "150", "200", "250"}},
        {&density, 1.1f, {"0.00", "0.25", "0.50", "0.75", "1.00"}}, // a step of 0.25 keeps both decimals
        {&density, 2.2f, {"0.0", "0.5", "1.0", "1.5", "2.0"}},
        {&deposit, 0.0145f, {"0.0000", "0.0025", "0.0050", "0.0075", "0.0100", "0.0125"}},
    };
    const double charWidth = RecordingChartCanvas::charWidthPixels(8);
    for (const Case &k : cases) {
        SCOPED_TRACE(k.band->title.toStdString() + " " + std::to_string(k.top));
        Workspace ws = MakeLine(3, "0", "10");
        ws.*(k.band->top) = k.top;
        RecordingChartCanvas c(kWidth, kHeight);
        DrawLineChart(c, ws);
        const double edge = c.toPixelX(k.band->left ? ws.LineLeft : ws.LineRight);
        std::vector<QString> labels;
        double outer = edge; // the labels' edge away from the line
        for (const auto *t : c.of(Op::Text)) {
            const double middle = t->points[0].y() + 6.5;
            const bool inBand = middle <= c.toPixelY(k.band->base) + 1e-9 && middle >= c.toPixelY(k.band->base + 1) - 1e-9;
            const bool onSide = k.band->left ? t->points[0].x() < edge : t->points[0].x() > edge;
            if (t->angle != 0 || !inBand || !onSide)
                continue;
            labels.push_back(t->text);
            outer = k.band->left ? std::min(outer, t->points[0].x()) : std::max(outer, t->points[0].x() + charWidth * t->text.size());
        }
        EXPECT_EQ(labels, k.labels);

        const auto *title = c.findText(k.band->title);
        ASSERT_NE(title, nullptr);
        EXPECT_EQ(title->angle, k.band->left ? 90 : 270);
        const double along = RecordingChartCanvas::charWidthPixels(title->font.Size) * title->text.size();
        const double thickness = RecordingChartCanvas::lineHeightPixels(title->font.Size);
        const double start = title->points[0].y();
        EXPECT_NEAR(k.band->left ? start - along / 2 : start + along / 2, c.toPixelY(k.band->base + 0.5), 1e-9);
        const double x = title->points[0].x();
        if (k.band->left) {
            EXPECT_GE(x, 0);
            EXPECT_LE(x + thickness, outer);
        } else {
            EXPECT_LE(x, kWidth);
            EXPECT_GE(x - thickness, outer);
        }
    }
    Workspace imperial = MakeLine(3, "0", "10");
    imperial.Metric = false;
    RecordingChartCanvas c(kWidth, kHeight);
    DrawLine(c, imperial);
    EXPECT_NE(c.findText("Vol. Density (oz/ac)"), nullptr);
}

TEST(LineChartMarkers, SizeFollowsThePitchOfTheCards)
{
    EXPECT_EQ(MarkerSize(700 / 1.2 / 25), QSize(20, 25)); // 23.3 pixels a card: capped at 20
    EXPECT_EQ(MarkerSize(700 / 1.2 / 26), QSize(19, 24)); // 22.4: below 20 from 26 cards on
    EXPECT_EQ(MarkerSize(0), QSize(3, 4));                // nothing left: the small marker

    Workspace ws = MakeLine(26, "0", "10", {4});
    RecordingChartCanvas c(kWidth, kHeight);
    const LineChartLayout layout = DrawLine(c, ws);
    ASSERT_EQ(layout.Markers.size(), 27u);
    const QRect m = layout.Markers[4].Rect;
    EXPECT_FALSE(layout.Markers[4].Scanned);
    EXPECT_NEAR(m.left() + m.width() / 2.0, c.toPixelX(ws.Card(4).Position), 0.5);
    EXPECT_EQ(m.top(), static_cast<int>(std::nearbyint(c.toPixelY(0) + 25)));
    // A pale line up through the bands at every card, drawn before the frame.
    const auto pale = linesOf(c, kLinePlaceMark, 1);
    EXPECT_EQ(pale.size(), 26u);
    EXPECT_LT(pale.back(), c.of(Op::Box).front());
}

TEST(LineChartValues, RangeValuesInGreyAndRedWithWholeCardBandTops)
{
    Workspace ws = MakeLine(3, "0", "10");
    ws.RangeLow = 150; // the large drops only
    ws.RangeHigh = 400;
    ASSERT_TRUE(RangeSelected(ws));
    CalcCompositeRange(ws);
    FillLineStats(ws);
    RecordingChartCanvas c(kWidth, kHeight);
    DrawLine(c, ws);

    // The density top still covers card 3's own 2 drops/cm² (1 small and 3 large on 2 cm²).
    EXPECT_EQ(ws.LineMaxDensity, ToSingle(2.0 * 1.1));
    EXPECT_DOUBLE_EQ(ws.LineStats[3].DropDensity, 1.5);

    const auto grey = linesOf(c, kLineGrey, 3);
    ASSERT_EQ(grey.size(), 6u); // two pairs of cards, three bands each
    EXPECT_NEAR(grey[1]->points[0].y(), c.toPixelY(0.5 / ws.LineMaxDensity + 1), 1e-9);
    EXPECT_NEAR(grey[1]->points[1].y(), c.toPixelY(1.0 / ws.LineMaxDensity + 1), 1e-9);
    EXPECT_NEAR(grey[1]->points[1].x(), c.toPixelX(10), 1e-9);

    const auto red = linesOf(c, kChartRed, 1);
    ASSERT_EQ(red.size(), 3u);
    EXPECT_EQ(red[0]->style, ChartCanvas::Style::Dotted);
    const double level = ws.CompositeRange.Stats.DropDensity; // not the whole cards' level
    EXPECT_NEAR(red[1]->points[0].y(), c.toPixelY(level / ws.LineMaxDensity + 1), 1e-9);
    // Red after the titles, grey last.
    EXPECT_LT(c.findText("Vol. Density"), red[0]);
    EXPECT_LT(red[2], grey[0]);

    // Unscanned cards are bridged; a single scanned card draws no line.
    Workspace gap = MakeLine(4, "0", "10", {2, 3});
    RecordingChartCanvas cg(kWidth, kHeight);
    DrawLine(cg, gap);
    const auto bridge = linesOf(cg, kLineGrey, 3);
    ASSERT_EQ(bridge.size(), 3u);
    EXPECT_NEAR(bridge[0]->points[1].x(), cg.toPixelX(30), 1e-9);
    Workspace single = MakeLine(3, "0", "10", {1, 3});
    RecordingChartCanvas cs(kWidth, kHeight);
    DrawLine(cs, single);
    EXPECT_TRUE(linesOf(cs, kLineGrey, 3).empty());
}

TEST(LineChartBadInput, NothingToLabelNoLengthAndOddTexts)
{
    // No stain on any card: the bands have no top; values stand at their bottoms.
    {
        Workspace ws = MakeLine(3, "0", "10", {}, false);
        RecordingChartCanvas c(kWidth, kHeight);
        DrawLine(c, ws);
        EXPECT_TRUE(AllFinite(c));
        EXPECT_EQ(c.findText("0.0"), nullptr); // no band labels
        const auto grey = linesOf(c, kLineGrey, 3);
        ASSERT_EQ(grey.size(), 6u);
        EXPECT_NEAR(grey[0]->points[0].y(), c.toPixelY(2), 1e-9);
        EXPECT_NEAR(grey[2]->points[0].y(), c.toPixelY(0), 1e-9);
    }
    // An interval of 0: both cards on one place, one position label, a finite scale.
    {
        Workspace ws = MakeLine(2, "0", "0");
        RecordingChartCanvas c(kWidth, kHeight);
        const LineChartLayout layout = DrawLine(c, ws);
        EXPECT_TRUE(AllFinite(c));
        EXPECT_EQ(positionLabels(c), (std::vector<QString>{"0"}));
        EXPECT_EQ(layout.Markers[1].Rect, layout.Markers[2].Rect);
    }
    for (const auto &[first, interval] : std::vector<std::pair<std::string, std::string>>{
             {"-100", "10"}, {"-45", "2.5"}, {"-1E+30", "10"}, {"abc", "10"}}) {
        Workspace ws = MakeLine(5, "0", "10");
        ws.Spray.Sample_Position1 = first;
        ws.Spray.Sample_Interval = interval;
        try {
            AssignCardPositions(ws);
        } catch (const Failure &) {
        }
        RecordingChartCanvas c(kWidth, kHeight);
        DrawLine(c, ws);
        EXPECT_TRUE(AllFinite(c)) << first << " " << interval;
        EXPECT_LE(ws.LineRight, 0.0f + (first == "abc" ? 40 : 0));
    }
}
