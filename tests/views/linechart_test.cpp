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

        // The title runs along the labels' outer edge, clear of them and of the picture's edge.
        const auto *title = c.findText(k.band->title);
        ASSERT_NE(title, nullptr);
        EXPECT_EQ(title->angle, k.band->left ? 90 : 270);
        const double thickness = RecordingChartCanvas::lineHeightPixels(title->font.Size);
        const double x = title->points[0].x();
        EXPECT_TRUE(k.band->left ? x >= 0 && x + thickness <= outer : x <= kWidth && x - thickness >= outer) << x;
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
}

// Values of a range in grey, the composite range's level in red, on bands whose tops still
// cover the whole cards; unscanned cards are bridged.
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
    const auto grey = linesOf(c, kLineGrey, 3);
    ASSERT_EQ(grey.size(), 6u); // two pairs of cards, three bands each
    EXPECT_NEAR(grey[1]->points[1].y(), c.toPixelY(1.0 / ws.LineMaxDensity + 1), 1e-9);
    const auto red = linesOf(c, kChartRed, 1);
    ASSERT_EQ(red.size(), 3u);
    EXPECT_NEAR(red[1]->points[0].y(), c.toPixelY(ws.CompositeRange.Stats.DropDensity / ws.LineMaxDensity + 1), 1e-9);

    Workspace gap = MakeLine(4, "0", "10", {2, 3});
    RecordingChartCanvas cg(kWidth, kHeight);
    DrawLine(cg, gap);
    const auto bridge = linesOf(cg, kLineGrey, 3);
    ASSERT_EQ(bridge.size(), 3u);
    EXPECT_NEAR(bridge[0]->points[1].x(), cg.toPixelX(30), 1e-9);
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
