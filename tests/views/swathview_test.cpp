#include "chartfixture.h"

#include "statistics/swath.h"
#include "statistics/swathpatterns.h"
#include "views/linechart.h"
#include "views/swathview.h"
#include "views/textforms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

using namespace velmara;
using namespace velmara::testing;
using Op = RecordingChartCanvas::Op;

namespace {

// n cards, every one with the same deposit (nL/cm²) and density.
Workspace uniformLine(int n, const std::string &first = "0", const std::string &interval = "10")
{
    Workspace ws = MakeLine(n, first, interval);
    for (int i = 1; i <= n; ++i)
        ws.LineStats[static_cast<size_t>(i)] = {200, 5, 2};
    EXPECT_TRUE(RebuildSwathTables(ws));
    return ws;
}

// The dots of the widths: black outlines (the effective swath's mark is blue).
size_t widthDots(const RecordingChartCanvas &c)
{
    const auto circles = c.of(Op::Circle);
    return static_cast<size_t>(std::count_if(circles.begin(), circles.end(), [](const auto *call) { return call->colour == kChartBlack; }));
}

int textsCalled(const RecordingChartCanvas &c, const QString &text)
{
    int found = 0;
    for (const auto *t : c.of(Op::Text))
        found += t->text == text;
    return found;
}

} // namespace

TEST(SwathCovChart, AxisTopIsAtLeastOneAndRoundsUp)
{
    for (const auto &[cov, top] : std::vector<std::pair<Single, double>>{
             {0.0f, 1.0}, {0.83f, 1.0}, {0.84f, 1.1}, {1.73f, 2.1}})
        EXPECT_DOUBLE_EQ(CovAxisTop(cov), top) << cov;
}

TEST(SwathCovChart, EveryWidthHasADotAndAButtonLabelsThinOutAbove20Cards)
{
    Workspace ws = uniformLine(21);
    RecordingChartCanvas c(700, 450);
    const SwathViewLayout layout = DrawSwath(c, ws);
    EXPECT_EQ(widthDots(c), 20u);
    ASSERT_EQ(layout.ButtonCentreX.size(), 21u);
    // k = 2: widths 1, 3, ... 19 labelled, in distance.
    EXPECT_EQ(textsCalled(c, "10"), 1);
    EXPECT_EQ(textsCalled(c, "20"), 0);
    // x = w - 1 on a scale from -m / 10 over 1.2 m, m = 19.
    EXPECT_NEAR(layout.ButtonCentreX[1], 700 / 12.0, 1e-9);
    EXPECT_NEAR(layout.ButtonCentreX[20], 700 - 700 / 12.0, 1e-9);
    // Buttons 10 pixels plus a text height under the box.
    EXPECT_EQ(layout.ButtonTop, static_cast<int>(std::nearbyint(4.4 * 450 / 5 + 10 + 13)));
}

TEST(SwathCovChart, WidthLabelsTakeTheFormOfTheIntervalAndTheUnit)
{
    Workspace ws = uniformLine(4, "0", "2.5");
    ws.Metric = false;
    RecordingChartCanvas c(700, 450);
    DrawSwath(c, ws);
    std::vector<QString> widths; // texts 7 pixels under the COV box
    for (const auto *t : c.of(Op::Text))
        if (std::abs(t->points[0].y() - (4.4 * 450 / 5 + 7)) < 1e-9)
            widths.push_back(t->text);
    EXPECT_EQ(widths, (std::vector<QString>{"2.5", "5.0", "7.5"}));
    EXPECT_NE(c.findText("Swath Width (ft)"), nullptr);
}

// Whatever the line and the picture, the labels under the profile never run together and the
// block of passes stays inside the box; the two ends of the block keep their labels.
TEST(SwathProfile, LabelsApartAndTheBlockInsideTheBox)
{
    struct Case
    {
        int cards;
        std::string first, interval;
        int width; // chosen swath width, 0 for the program's choice
        int pixels;
        QString blockEnd;
    };
    const std::vector<Case> cases = {
        {5, "-45", "10", 3, 700, "150.0"}, // the profile ends half an interval before the block
        {30, "0", "10", 22, 700, "1100"},
        {30, "5", "10", 22, 330, "1100.0"},
        {30, "0", "10", 1, 700, "290"},    // 29 passes of one interval each
        {10, "-50", "10", 3, 160, "150"},
        {12, "-45.5", "2.5", 0, 500, ""},
    };
    const double charWidth = RecordingChartCanvas::charWidthPixels(8);
    for (const Case &k : cases) {
        SCOPED_TRACE(std::to_string(k.cards) + " from " + k.first + " by " + k.interval + " at "
                     + std::to_string(k.pixels));
        Workspace ws = uniformLine(k.cards, k.first, k.interval);
        if (k.width)
            ws.SwathSets[1].Width = k.width;
        RecordingChartCanvas c(k.pixels, 450);
        ASSERT_TRUE(DrawSwath(c, ws).Drawn);
        EXPECT_TRUE(AllFinite(c));

        std::vector<std::pair<double, double>> spans;
        for (const auto *t : c.of(Op::Text))
            if (std::abs(t->points[0].y() - (c.toPixelY(0) + 7)) < 1e-9)
                spans.emplace_back(t->points[0].x(), t->points[0].x() + charWidth * t->text.size());
        std::sort(spans.begin(), spans.end());
        ASSERT_GE(spans.size(), 2u);
        for (size_t i = 1; i < spans.size(); ++i)
            EXPECT_GT(spans[i].first, spans[i - 1].second) << "labels " << i - 1 << " and " << i << " touch";
        if (!k.blockEnd.isEmpty()) {
            EXPECT_NE(c.findText(k.blockEnd), nullptr);
        }

        const auto boxes = c.of(Op::Box);
        const auto block = std::find_if(boxes.begin(), boxes.end(), [](const auto *b) { return b->fill == 0xffffffdcu; });
        ASSERT_NE(block, boxes.end());
        const auto *frame = boxes.back();
        EXPECT_GE(std::min((*block)->points[0].x(), (*block)->points[1].x()), std::min(frame->points[0].x(), frame->points[1].x()) - 1e-9);
        EXPECT_LE(std::max((*block)->points[0].x(), (*block)->points[1].x()), std::max(frame->points[0].x(), frame->points[1].x()) + 1e-9);
    }
}

TEST(SwathLabels, MeanConstantWithASwathFallingWithout)
{
    Workspace ws = uniformLine(10);
    for (const auto &[swath, w, mean] : std::vector<std::tuple<std::string, int, QString>>{
             {"30", 1, "0.67 L/ha"}, {"30", 9, "0.67 L/ha"},
             {"", 1, "2.00 L/ha"}, {"", 2, "1.00 L/ha"}, {"", 9, "0.22 L/ha"}}) {
        ws.Spray.AC_Swath = swath;
        ws.SwathSets[1].Width = w;
        RecordingChartCanvas c(700, 450);
        EXPECT_EQ(DrawSwath(c, ws).Drop, mean) << swath << " / " << w;
    }
}

TEST(SwathLabels, SetsAndTheirUnits)
{
    Workspace ws = uniformLine(4);
    ws.SwathSets[1].Width = 2;
    ws.SwathSets[2].Width = 3;
    RecordingChartCanvas c(700, 450);
    SwathViewLayout layout = DrawSwath(c, ws);
    EXPECT_NE(c.findText("Deposit Profile  (5 passes)"), nullptr);
    EXPECT_EQ(layout.Vmd, "0.00");
    EXPECT_EQ(layout.Volume, "0.40 / 0.40"); // 0.1 * 4 in each of two bins
    ws.CurrentSwathSet = 2;
    c.calls.clear();
    layout = DrawSwath(c, ws);
    EXPECT_NE(c.findText("Drop Density Profile  (5 passes)"), nullptr); // titled for what it draws
    // Drop density: no unit factor; width 3 folds cards 1 and 4 into one bin.
    EXPECT_EQ(layout.Drop, QString("6.67 drops/cm ") + QChar(0x00B2));
    EXPECT_EQ(layout.Volume, "10.00 / 5.00");
    EXPECT_EQ(layout.Vmd, FixedText(ws.SwathSets[2].Stats[3].Cov, 2));
    ws.Metric = false;
    ws.CurrentSwathSet = 1;
    layout = DrawSwath(c, ws);
    EXPECT_EQ(layout.Volume, "5.47 / 5.47"); // 1.368 * 4
}

TEST(SwathBadInput, NoIntervalFewCardsManyCards)
{
    Workspace none = MakeLine(3, "0", "0");
    EXPECT_FALSE(RebuildSwathTables(none));
    RecordingChartCanvas c(700, 450);
    EXPECT_TRUE(DrawSwath(c, none).Drawn);
    EXPECT_TRUE(AllFinite(c));

    Workspace two = MakeLine(2);
    c.calls.clear();
    EXPECT_FALSE(DrawSwath(c, two).Drawn);
    EXPECT_EQ(c.calls.size(), 1u); // the clear alone

    Workspace many = MakeLine(1000, "-100", "1");
    ASSERT_TRUE(RebuildSwathTables(many));
    c.calls.clear();
    EXPECT_EQ(DrawSwath(c, many).ButtonCentreX.size(), 1000u);
    EXPECT_EQ(widthDots(c), 999u);
    EXPECT_TRUE(AllFinite(c));
    // Never built (the view builds what it needs), and a first position far out.
    for (const auto &[n, first] : std::vector<std::pair<int, std::string>>{{5, "-45"}, {4, "-1000000000"}}) {
        Workspace ws = MakeLine(n, first, n == 5 ? "10" : "1");
        c.calls.clear();
        EXPECT_TRUE(DrawSwath(c, ws).Drawn) << first;
        EXPECT_TRUE(AllFinite(c)) << first;
    }
}

// Each pattern draws its own title, its limit line at the COV limit and its effective swath's
// mark; the figures themselves are checked where the view shows them.
TEST(SwathPatternView, EachPatternDrawsItsOwnFoldLimitAndEffectiveSwath)
{
    // Rising away from the flight line at 0: back and forth meets its falling mirror and is
    // even much wider.
    const struct { SwathPattern pattern; double limit; const char *title; } cases[] = {
        {SwathPattern::Racetrack, 25, "Deposit Profile  (5 passes)"},
        {SwathPattern::BackAndForth, 25, "Deposit Profile  (5 passes, back and forth)"},
        {SwathPattern::BackAndForth, 1, "Deposit Profile  (5 passes, back and forth)"}};
    for (const auto &k : cases) {
        SCOPED_TRACE(k.title + std::to_string(k.limit));
        Workspace ws = MakeLine(8, "0", "10");
        for (size_t i = 1; i <= 8; ++i)
            ws.LineStats[i] = {200, 10.0 * i, static_cast<double>(i)};
        ws.CovLimit = k.limit;
        ASSERT_TRUE(RebuildSwathTables(ws));
        RecordingChartCanvas c(700, 450);
        PrepareSwathView(ws);
        const SwathViewLayout layout = DrawSwathView(c, ws, k.pattern);
        EXPECT_NE(c.findText(k.title), nullptr);
        // The limit line in the COV chart's units (top 4.4, height -5 over 450 pixels).
        const double top = CovAxisTop(PatternMaxCov(ws.SwathSets[1], k.pattern));
        const auto lines = c.of(Op::Line);
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const auto *l) {
            return l->colour == kEffectiveSwathColour
                   && std::abs(l->points[0].y() - (k.limit / 100 / top - 4.4) * 450 / -5.0) < 1e-3;
        }));
        const EffectiveSwath e = FindEffectiveSwath(ws.SwathSets[1], k.pattern, k.limit);
        const auto circles = c.of(Op::Circle);
        const auto mark = std::find_if(circles.begin(), circles.end(), [](const auto *call) { return call->colour == kEffectiveSwathColour; });
        ASSERT_EQ(mark != circles.end(), e.Found);
        if (e.Found) { // x = W - 1 on a scale from -m / 10 over 1.2 m, m = 6
            EXPECT_NEAR((*mark)->points[0].x(), (e.Width - 1 + 0.6) * 700 / 7.2, 1e-6);
        }
        EXPECT_EQ(layout.Effective, e.Found ? ChartText(10 * e.Width, "0.0#") + " m at " + FixedText(e.Cov, 2) : "None");
        EXPECT_EQ(widthDots(c), 7u);
    }
}
