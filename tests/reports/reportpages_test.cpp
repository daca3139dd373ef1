#include "reports/reportpages.h"

#include "core/numberform.h"
#include "support/recordingreportcanvas.h"
#include "statistics/line.h"
#include "statistics/swathpatterns.h"
#include "sampleline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

using namespace velmara;
using namespace velmara::testing;
using Op = RecordingReportCanvas::Op;
using Call = RecordingReportCanvas::Call;

namespace {

struct DrawRun
{
    ReportResult result;
    std::vector<int> pagesStarted;
    std::vector<std::string> messages;
};

DrawRun Draw(Workspace &ws, RecordingReportCanvas &canvas, bool printer, int page)
{
    DrawRun run;
    ReportHooks hooks;
    hooks.PageStarted = [&](int p) { run.pagesStarted.push_back(p); };
    hooks.ShowMessage = [&](const std::string &m) { run.messages.push_back(m); };
    PrepareReport(ws);
    run.result = PrintSub2(ws, canvas, printer, page, hooks);
    return run;
}

RecordingReportCanvas Preview() { return RecordingReportCanvas(50, 96); }

// Page `page` (0: the whole job) drawn on a fresh printer or preview canvas; drawing must succeed.
struct Drawn : RecordingReportCanvas
{
    Drawn(Workspace &ws, bool printer, int page) : RecordingReportCanvas(printer ? 1200 : 50, printer ? 1200 : 96)
    {
        const DrawRun run = Draw(ws, *this, printer, page);
        EXPECT_TRUE(run.result.Ok) << run.result.Error;
    }
};

// Texts whose top stands at y (labels under an axis), in drawing order.
std::vector<std::string> TextsAtTop(const RecordingReportCanvas &c, double y)
{
    std::vector<std::string> out;
    for (const Call &call : c.calls)
        if (call.op == Op::Text && std::abs(call.y1 - y) < 1e-9)
            out.push_back(call.text);
    return out;
}

// Texts that start at x with their top between low and high, in drawing order (axis labels).
std::vector<std::string> TextsAtLeft(const RecordingReportCanvas &c, double x, double low = -1e9, double high = 1e9)
{
    std::vector<std::string> out;
    for (const Call &call : c.calls)
        if (call.op == Op::Text && std::abs(call.x1 - x) < 1e-9 && call.y1 > low && call.y1 < high)
            out.push_back(call.text);
    return out;
}

// A card scanned without a single stain.
void NoStains(CardImage &card)
{
    card.SizeTable.assign(1, SizeClass{});
    card.Stats = CardStats{};
    card.TotalVolume = 0;
}

class ReportPagesTest : public ::testing::Test
{
protected:
    void SetUp() override { MakeLine(ws, LineSpec{}); }
    Workspace ws;
};

} // namespace

TEST_F(ReportPagesTest, PrinterJobDrawsFourPagesAsOneJobAndPreviewOnePageAlone)
{
    RecordingReportCanvas c;
    const DrawRun run = Draw(ws, c, true, 0);
    ASSERT_TRUE(run.result.Ok) << run.result.Error;
    EXPECT_EQ(c.count(Op::NewPage), 3);
    EXPECT_EQ(c.count(Op::Cls), 0);
    const Call *head = c.findText(kReportHeadline);
    ASSERT_NE(head, nullptr);
    EXPECT_DOUBLE_EQ(head->y1, 10.5);
    EXPECT_NEAR(head->x1 + 0.6 * 18 / 72 * 15 / 2, 4.25, 1e-9); // centred
    EXPECT_DOUBLE_EQ(c.findText("Analysis Parameters")->y1, 10.15);
    // Page 4 ends with its head: the last two texts of the job.
    const std::vector<std::string> texts = c.texts();
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[texts.size() - 2], kReportHeadline);
    EXPECT_EQ(texts.back(), "Swath Analysis");

    RecordingReportCanvas p = Preview();
    const DrawRun one = Draw(ws, p, false, 3);
    ASSERT_TRUE(one.result.Ok) << one.result.Error;
    EXPECT_EQ(p.calls.front().op, Op::Cls);
    EXPECT_EQ(p.count(Op::NewPage) + p.count(Op::EndDoc), 0);
    EXPECT_TRUE(one.pagesStarted.empty());
    EXPECT_NE(p.findText("Composite Results"), nullptr);
    EXPECT_EQ(p.findText("Analysis Parameters"), nullptr);
    EXPECT_EQ(p.findText("Swath Analysis"), nullptr);
}

// The extended results add a fifth page after the four, which stay call for call as they were.
// Its last row is the composite, whose Dv0.5 is the composite VMD; a line too long for the page
// keeps its rows above the notes and says how many cards it left out.
TEST_F(ReportPagesTest, ExtendedResultsAddTheSpectrumPage)
{
    auto same = [](const Call &a, const Call &b) {
        return std::tie(a.op, a.x1, a.y1, a.x2, a.y2, a.text, a.colour, a.drawWidth, a.font.Size)
            == std::tie(b.op, b.x1, b.y1, b.x2, b.y2, b.text, b.colour, b.drawWidth, b.font.Size);
    };
    for (const int cards : {5, 400}) {
        MakeLine(ws, LineSpec{cards, 8});
        ws.ExtendedResults = false;
        const Drawn four(ws, true, 0);
        ws.ExtendedResults = true;
        const Drawn five(ws, true, 0);
        EXPECT_EQ(five.count(Op::NewPage), 4);
        ASSERT_GT(five.calls.size(), four.calls.size());
        // Pages 1 to 3 stay call for call; page 4 gains the swath patterns, checked on their own.
        auto pageStart = [](const Drawn &d, int page) {
            auto at = d.calls.begin();
            for (int k = 1; k < page && at != d.calls.end(); ++k)
                at = std::find_if(at + 1, d.calls.end(), [](const Call &c) { return c.op == Op::NewPage; });
            return at;
        };
        EXPECT_TRUE(std::equal(four.calls.begin(), pageStart(four, 4), five.calls.begin(), same)) << cards;

        const auto pageFive = pageStart(five, 5);
        ASSERT_NE(pageFive, five.calls.end());
        const Call *composite = five.findText("Composite");
        ASSERT_NE(composite, nullptr);
        int rows = 0;
        std::string note;
        for (auto call = pageFive; call != five.calls.end(); ++call) {
            if (call->op != Op::Text)
                continue;
            if (call->y1 > 1.3) {
                EXPECT_GE(call->y1, composite->y1) << call->text; // nothing runs into the notes
            }
            if (call->x1 != composite->x1 || call->y1 <= composite->y1 || call->text == "File")
                continue;
            if (call->text.find("more cards") != std::string::npos)
                note = call->text;
            else
                ++rows;
        }
        const std::vector<std::string> onCompositeRow = TextsAtTop(five, composite->y1);
        ASSERT_EQ(onCompositeRow.size(), 10u);
        EXPECT_EQ(onCompositeRow[2], FormatNumber(ws.CompositeAll.Stats.Vmd, "0.00"));
        if (cards == 5) {
            EXPECT_EQ(rows, 5);
            EXPECT_TRUE(note.empty());
        } else {
            EXPECT_EQ(note, std::to_string(cards - rows) + " more cards: see the results file");
            EXPECT_GT(rows, 50); // rows shrink before any is left out
        }
    }
}

TEST(ReportFontTest, PreviewScalesByPictureWidthAndSwitchesFace)
{
    RecordingReportCanvas c(50, 96); // 425 pixels: 318.75 points across the page
    struct Case { Single size; double expected; const char *face; };
    for (const Case &k : {Case{18, 9.375, "Arial"}, Case{14, 7.2917, "Arial"},
                          Case{12, 6.25, "Small Fonts"}, Case{10, 5.2083, "Small Fonts"}}) {
        c.Font.Bold = true;
        SetReportFont(c, false, k.size);
        EXPECT_NEAR(c.Font.Size, k.expected, 1e-3) << k.size;
        EXPECT_EQ(c.Font.Name, k.face) << k.size;
        EXPECT_TRUE(c.Font.Bold) << "bold is the page's business";
    }
}

// The parameters page as typed: metric with a range, imperial with signed spread factors.
TEST_F(ReportPagesTest, ParametersPageTexts)
{
    const struct
    {
        std::function<void(Workspace &)> set;
        std::vector<std::string> texts;
    } cases[] = {
        {[](Workspace &w) { w.Spray.AC_Swath = "18", w.RangeLow = 50, w.RangeHigh = 200.5f; },
         {"Swath:  18 m", "Speed:  190 km/h", "Active Rate:  1.2 L/ha", "Spread Factor:  0 + 0.56d + 0d²",
          "Droplet Size Range:  50.00 -- 200.50 µm"}},
        {[](Workspace &w) { w.SpreadFactor = {1.5, -0.25, -0.001}, w.Metric = false, w.Spray.AC_Swath = "60"; },
         {"Spread Factor:  1.5 - 0.25d - 0.001d²", "Swath:  60 ft", "Spray Rate:  30 oz/ac"}},
    };
    for (const auto &k : cases) {
        MakeLine(ws, LineSpec{});
        k.set(ws);
        const Drawn c(ws, true, 1);
        for (const std::string &text : k.texts)
            EXPECT_NE(c.findText(text), nullptr) << text;
        // The composite values stay whatever the range.
        const std::string vmd = FormatNumber(ws.CompositeAll.Stats.Vmd, "0.00");
        EXPECT_NE(c.findText("Composite VMD:  " + vmd + "µm"), nullptr) << vmd;
    }
    const std::string deposit = FormatNumber(1.368f * ws.CompositeAll.Stats.VolumeDensity, "0.000");
    const Drawn c(ws, false, 1);
    const auto vd = std::find_if(c.calls.begin(), c.calls.end(), [](const Call &k) {
        return k.op == Op::Text && k.text.rfind("Ave. Volume Density:  ", 0) == 0;
    });
    ASSERT_NE(vd, c.calls.end());
    EXPECT_NE(vd->text.find(" nL/cm² = " + deposit + " oz/ac"), std::string::npos) << vd->text;

    // Headings at 2.25 in size 14, lines at 2.5 in size 12; an empty comment leaves its line.
    ws.Spray.Comment = "";
    const Drawn p(ws, true, 0);
    const Call *comment = p.findText("Comment:");
    ASSERT_NE(comment, nullptr);
    EXPECT_DOUBLE_EQ(comment->x1, 2.25);
    EXPECT_DOUBLE_EQ(comment->font.Size, 14);
    const Call *filters = p.findText("Droplet Filters:");
    const double line14 = 1.2 * 14 / 72, line12 = 1.2 * 12 / 72;
    EXPECT_NEAR(comment->y1 - filters->y1, line14 + line12 + 2 * line14, 1e-9);
    const std::vector<std::string> texts = p.texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "Droplet Filters:"), 2);
    EXPECT_DOUBLE_EQ(p.findText("Aircraft:")->y1, 9);
}

TEST_F(ReportPagesTest, SizePageTopAxisForSmallFraction)
{
    // S1 = Int(1100 * 0.06 + 0.5) / 1000 = 0.066: step 0.02, labels of v * 100 in "0.0#".
    ws.CompositeAll.MaxClassVolume = 0.06 * ws.CompositeAll.TotalVolume;
    const Drawn c(ws, false, 2);
    EXPECT_EQ(TextsAtLeft(c, 7.625, 7.25), (std::vector<std::string>{"0.0", "2.0", "4.0", "6.0"}));
    EXPECT_EQ(TextsAtLeft(c, 7.625, 4.375, 7.25), (std::vector<std::string>{"0", "20", "40", "60", "80", "100"}));
}

TEST_F(ReportPagesTest, SizePageCurvesAreOpenAndStartAtTheBottomEdge)
{
    const Drawn c(ws, true, 0);
    const size_t rows = ws.CompositeAll.Classes.size() - 1;
    // The only blue segment is the top curve's first, rising from the top graph's bottom edge.
    std::vector<const Call *> blue;
    for (const Call &call : c.calls)
        if (call.op == Op::Line && call.colour == ReportRgb(0, 0, 255))
            blue.push_back(&call);
    ASSERT_EQ(blue.size(), 1u);
    EXPECT_DOUBLE_EQ(blue[0]->y1, 7.25);
    EXPECT_DOUBLE_EQ(blue[0]->x1, blue[0]->x2);
    // Its polyline has one segment per row and ends at the last row, without closing.
    const auto it = std::find_if(c.calls.begin(), c.calls.end(), [&](const Call &k) { return &k == blue[0]; });
    const Call &end = *(it + static_cast<long>(rows - 1));
    EXPECT_NEAR(end.x2, 1 + 6.5 * ws.CompositeAll.Classes.back().Diameter / ws.CompositeAll.MaxDiameter, 1e-9);
    EXPECT_EQ((it + static_cast<long>(rows))->op, Op::Rect);
}

TEST(ReportPositionAxisTest, ManyCardsLabelEverySecondStepCountedPastTheCards)
{
    for (const auto &[cards, first] : {std::pair{27, "10"}, std::pair{26, "0"}}) {
        Workspace ws;
        MakeLine(ws, LineSpec{cards, 5, "0", "10"});
        const Drawn c(ws, false, 3);
        const std::vector<std::string> labels = TextsAtTop(c, 1.5 - 0.125);
        ASSERT_FALSE(labels.empty());
        EXPECT_EQ(labels.front(), first) << cards << " cards";
        EXPECT_EQ(labels[1], std::to_string(std::stoi(first) + 20)) << cards << " cards";
    }
    // Up to 25 cards every position has its label, from 0 even for a line starting further on.
    Workspace ws;
    MakeLine(ws, LineSpec{4, 5, "15", "5"});
    const Drawn c(ws, false, 3);
    EXPECT_EQ(TextsAtTop(c, 1.375), (std::vector<std::string>{"0.0", "5.0", "10.0", "15.0", "20.0", "25.0", "30.0"}));
}

// A deposit band topped at 1.1 L/ha steps by 0.25: its labels read 0.00, 0.25 ... as on screen.
TEST_F(ReportPagesTest, CompositePageLabelsCarryTheDecimalsOfTheirStep)
{
    const double factor = ws.DepositFactor[static_cast<size_t>(ws.UnitIndex())];
    for (int i = 1; i <= ws.CardCount(); ++i)
        ws.Card(i).Stats.VolumeDensity = 1.0 / factor;
    FillLineStats(ws);
    const Drawn c(ws, false, 3);
    EXPECT_EQ(TextsAtLeft(c, 7.625, -1e9, 4), (std::vector<std::string>{"0.00", "0.25", "0.50", "0.75", "1.00"}));
}

TEST_F(ReportPagesTest, CompositePageLinesAndPens)
{
    ws.Card(2).Scanned = false;
    const Drawn c(ws, true, 0);
    int grey = 0, curve = 0, dotted = 0, zero = 0, page = 1;
    for (const Call &call : c.calls) {
        page += call.op == Op::NewPage;
        if (call.op != Op::Line || page != 3)
            continue;
        grey += call.colour == ReportRgb(210, 210, 210) && call.x1 == call.x2 && call.y2 - call.y1 == 2.25;
        curve += call.drawWidth == 38; // 1/32 inch at 1200 dpi, 37.5 rounded half to even
        zero += call.drawWidth == 19;  // 1/64 inch
        dotted += call.drawStyle == kDotted;
    }
    EXPECT_EQ(grey, 4 * 3) << "unscanned card without grey line";
    EXPECT_EQ(zero, 3);
    EXPECT_EQ(curve, 3 * 3) << "three curves over four scanned cards";
    EXPECT_EQ(dotted, 3);
}

TEST_F(ReportPagesTest, SwathPageCovTopAndThirtyPercentLevel)
{
    for (const auto &[cov, label, top] : {std::tuple{0.83f, "1.0", 1.0}, std::tuple{0.84f, "1.1", 1.1}}) {
        MakeLine(ws, LineSpec{});
        ws.SwathSets[1].MaxCov = cov;
        const Drawn c(ws, false, 4);
        const double Zs = 5.75, labelTop = Zs + 1 + c.TextHeight() / 2;
        const std::vector<std::string> near = TextsAtLeft(c, 7.625, labelTop - 0.2, labelTop + 0.2);
        EXPECT_NE(std::find(near.begin(), near.end(), label), near.end()) << cov;
        bool levelFound = false;
        for (const Call &call : c.calls)
            levelFound |= call.op == Op::Line && call.drawStyle == kDotted
                          && std::abs(call.y1 - (Zs + 0.3 / top)) < 1e-6 && call.x2 - call.x1 == 6.5;
        EXPECT_TRUE(levelFound) << cov;
    }
}

TEST_F(ReportPagesTest, SwathPageMarksEachHalfsOwnWidth)
{
    MakeLine(ws, LineSpec{8});
    ws.SwathSets[1].Width = 3;
    ws.SwathSets[2].Width = 5;
    const Drawn c(ws, true, 0);
    std::vector<const Call *> dots;
    for (const Call &call : c.calls)
        if (call.op == Op::Circle && std::abs(call.x2 - 3.0 / 64) < 1e-12)
            dots.push_back(&call);
    ASSERT_EQ(dots.size(), 2u);
    EXPECT_NEAR(dots[0]->x1, 1 + 6.5 * 2 / 6, 1e-9);
    EXPECT_NEAR(dots[1]->x1, 1 + 6.5 * 4 / 6, 1e-9);
    EXPECT_TRUE(dots[0]->y1 > 5.75 && dots[0]->y1 <= 6.75);
    EXPECT_TRUE(dots[1]->y1 > 1.0 && dots[1]->y1 <= 2.0);
    EXPECT_EQ(c.count(Op::Circle), 2 * 7 + 2);
}

TEST_F(ReportPagesTest, SwathPageRightEndLabelLeftOutNearTheBlockEnd)
{
    // Ten cards from 0, five passes: at width 9 the block ends 1 interval before the axis end (46
    // intervals across 6.5 inches, 0.14 inch), too close for the label "460"; at width 2 the axis
    // runs 8 intervals past the block and the end label "180" stands.
    auto endTicks = [&](Long width, const char *label) {
        MakeLine(ws, LineSpec{10, 5, "0", "10"});
        ws.SwathSets[1].Width = width;
        ws.SwathSets[2].Width = width;
        const Drawn c(ws, false, 4);
        int ticks = 0;
        for (const Call &call : c.calls)
            ticks += call.op == Op::Line && call.x1 == 7.5 && call.x2 == 7.5
                     && (call.y1 == 7.5 || call.y1 == 2.75) && std::abs(call.y2 - call.y1 + 0.1) < 1e-9;
        const std::vector<std::string> texts = c.texts();
        const int labels = static_cast<int>(std::count(texts.begin(), texts.end(), label));
        EXPECT_EQ(ticks, labels) << width;
        return labels;
    };
    EXPECT_EQ(endTicks(9, "460"), 0);
    EXPECT_EQ(endTicks(2, "180"), 2);
}

TEST_F(ReportPagesTest, SwathPageAxisOnTheLineGrid)
{
    // A line from -20 at 10: the profile starts at index -2, the grey block at 2 intervals right
    // of the left edge, and the first block tick reads 0.
    const Drawn c(ws, false, 4);
    const SwathSet &set = ws.SwathSets[1];
    const double D = set.Profile.Upper() + 2.0;
    const Call *block = nullptr;
    for (const Call &call : c.calls)
        if (call.op == Op::Rect && call.filled && call.fill == ReportRgb(210, 210, 210) && !block)
            block = &call;
    ASSERT_NE(block, nullptr);
    EXPECT_NEAR(block->x1, 1 + 6.5 * 2 / D, 1e-6);
    EXPECT_NEAR(block->x2 - block->x1, 6.5 * set.Width * set.Passes / D, 1e-6);
    const std::vector<std::string> under = TextsAtTop(c, 7.5 - 0.125);
    ASSERT_FALSE(under.empty());
    EXPECT_EQ(under.front(), "0");
}

TEST_F(ReportPagesTest, PagesThatCannotBeDrawnSayWhyAndTheJobGoesOn)
{
    const std::string lead = kPageNotDrawnLead;
    struct Case
    {
        const char *name;
        std::function<void(Workspace &)> spoil;
        std::vector<std::pair<int, std::string>> notes;
    };
    const std::vector<Case> cases = {
        {"two cards", [](Workspace &w) { MakeLine(w, LineSpec{2}); }, {{4, kNoSwathBelowThreeCards}}},
        {"no stain on any card",
         [](Workspace &w) {
             for (int i = 1; i <= w.CardCount(); ++i)
                 NoStains(w.Card(i));
             Recompute(w);
         },
         {{2, kNoSizeStatisticsWithoutStains}, {3, kNoLineResultsWithoutStains}}},
        {"interval is text", [](Workspace &w) { w.Spray.Sample_Interval = "ten"; },
         {{3, lead + "Type mismatch."}, {4, lead + "Type mismatch."}}},
        {"swath is text", [](Workspace &w) { w.Spray.AC_Swath = "wide"; }, {{4, lead + "Type mismatch."}}},
        {"every card at 0",
         [](Workspace &w) {
             w.Spray.Sample_Position1 = "0";
             w.Spray.Sample_Interval = "0";
             Recompute(w);
         },
         {{3, kNoLineResultsAtOnePosition}, {4, lead + "Division by zero."}}},
        {"27 cards on a short line",
         [](Workspace &w) {
             MakeLine(w, LineSpec{27, 5, "0", "10"});
             w.Spray.Sample_Interval = "100";
         },
         {{3, lead + "Division by zero."}}},
        {"top of the density axis 0", [](Workspace &w) { w.CompositeAll.MaxClassCount = 0; },
         {{2, lead + "Division by zero."}}},
    };
    for (const Case &k : cases) {
        Workspace w;
        MakeLine(w, LineSpec{});
        k.spoil(w);
        RecordingReportCanvas c;
        const DrawRun run = Draw(w, c, true, 0);
        ASSERT_TRUE(run.result.Ok) << k.name << run.result.Error;
        std::vector<std::pair<int, std::string>> notes;
        for (const PageNote &n : run.result.NotDrawn)
            notes.emplace_back(n.Page, n.Reason);
        EXPECT_EQ(notes, k.notes) << k.name;
        EXPECT_EQ(run.pagesStarted, (std::vector<int>{1, 2, 3, 4})) << k.name;
        EXPECT_EQ(c.calls.back().op, Op::EndDoc) << k.name;
        EXPECT_EQ(c.count(Op::KillDoc), 0) << k.name;
        EXPECT_TRUE(run.messages.empty()) << k.name;
        for (const auto &[page, reason] : k.notes) {
            const Call *line = c.findText(reason);
            ASSERT_NE(line, nullptr) << k.name;
            EXPECT_NEAR(line->x1 + FixedTextMeasure().width(line->font, reason) / 2, 4.25, 1e-9) << k.name;
            EXPECT_NE(c.findText(kReportPageTitles[page - 1]), nullptr) << k.name;
        }
    }

    // Only a target that cannot convert its lengths ends the call, with the box.
    RecordingReportCanvas broken = Preview();
    broken.failConversions("Printer error");
    const DrawRun run = Draw(ws, broken, false, 1);
    EXPECT_EQ(run.result.Error, "Printer error");
    EXPECT_EQ(run.messages, std::vector<std::string>{"There was an error:\r\r     Printer error"});
    EXPECT_EQ(broken.count(Op::Text), 0);
}

TEST_F(ReportPagesTest, NotePageHoldsTheHeadTheEmptyFramesAndTheReasonOnly)
{
    MakeLine(ws, LineSpec{2});
    RecordingReportCanvas c = Preview();
    ASSERT_EQ(Draw(ws, c, false, 4).result.NotDrawn.size(), 1u);
    // Nothing of the half-drawn graphs: the dry run kept them off the picture.
    EXPECT_EQ(c.calls.front().op, Op::Cls);
    EXPECT_EQ(c.texts(), (std::vector<std::string>{kReportHeadline, "Swath Analysis", kNoSwathBelowThreeCards}));
    EXPECT_EQ(c.count(Op::Rect), 4);
    EXPECT_EQ(c.count(Op::Line) + c.count(Op::Circle), 0);

    // Three cards without stains: the parameters page stands, with the range said plainly.
    MakeLine(ws, LineSpec{3});
    for (int i = 1; i <= 3; ++i)
        NoStains(ws.Card(i));
    Recompute(ws);
    RecordingReportCanvas p = Preview();
    EXPECT_TRUE(Draw(ws, p, false, 1).result.NotDrawn.empty());
    EXPECT_NE(p.findText("Droplet Size Range:  no stain on any card"), nullptr);
}

TEST_F(ReportPagesTest, LongTextsOfTheParametersPageWrapInsideTheRightMargin)
{
    // 0.1 inch a character at 12 points: 50 characters fit between 2.5 and 7.5.
    const std::string comment = "Drift towards the creek after ten, wind 8 to 12 km/h from the west, "
                                "cards 4 to 9 wet at their edges.";
    ASSERT_EQ(comment.size(), 100u);
    for (const std::string &text : {comment, std::string(120, 'x')}) {
        ws.Spray.Comment = text;
        const Drawn c(ws, true, 1);
        const Call *heading = c.findText("Comment:");
        const Call *next = c.findText("Droplet Filters:");
        std::string joined;
        int lines = 0;
        for (const Call &call : c.calls) {
            if (call.op != Op::Text || call.y1 >= heading->y1 || call.y1 <= next->y1)
                continue;
            EXPECT_LE(call.x1 + 0.1 * CharacterCount(call.text), 7.5 + 1e-9) << call.text;
            joined += (joined.empty() || text[0] == 'x' ? "" : " ") + call.text;
            ++lines;
        }
        EXPECT_EQ(joined, text);
        EXPECT_GE(lines, 2) << text;
    }
}

// With the extended results each COV graph also holds the back-and-forth COVs as squares, the COV
// limit and the two effective swaths; without them the page is the one of four pages.
TEST_F(ReportPagesTest, SwathPageGivesBothPatternsWithTheExtendedResults)
{
    MakeLine(ws, LineSpec{8});
    ws.CovLimit = 60;
    const Drawn plain(ws, true, 4);
    ws.ExtendedResults = true;
    const Drawn extended(ws, true, 4);
    const ReportColour blue = ReportRgb(0, 0, 192);
    auto squares = [](const RecordingReportCanvas &c) {
        return std::count_if(c.calls.begin(), c.calls.end(), [](const Call &k) {
            return k.op == Op::Rect && std::abs(k.x2 - k.x1 - 1.0 / 16) < 1e-9 && !k.filled;
        });
    };
    auto blueLines = [&](const RecordingReportCanvas &c) {
        std::vector<const Call *> out;
        for (const Call &k : c.calls)
            if (k.op == Op::Line && k.colour == blue)
                out.push_back(&k);
        return out;
    };
    EXPECT_EQ(squares(plain), 0);
    EXPECT_TRUE(blueLines(plain).empty());
    EXPECT_EQ(squares(extended), 2 * 7);
    for (int s = 1; s <= 2; ++s) {
        const SwathSet &set = ws.SwathSets[static_cast<size_t>(s)];
        const double Zs = s == 1 ? 5.75 : 1.0;
        const Single top = std::max(set.MaxCov, set.BackForthMaxCov);
        const double V = std::max(1.0, std::floor(top * 12.0f + 0.9999) / 10);
        const auto lines = blueLines(extended);
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const Call *k) {
            return std::abs(k->y1 - (Zs + 0.6 / V)) < 1e-6 && std::abs(k->x2 - k->x1 - 6.5) < 1e-9;
        })) << s;
        for (SwathPattern p : {SwathPattern::Racetrack, SwathPattern::BackAndForth}) {
            const EffectiveSwath e = FindEffectiveSwath(set, p, 60);
            if (!e.Found)
                continue;
            const double x = 1 + 6.5 * (e.Width - 1) / 6;
            EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const Call *k) {
                return std::abs(k->x1 - x) < 1e-9 && std::abs(k->y1 - Zs) < 1e-9;
            })) << s;
        }
    }
    const auto words = std::find_if(extended.calls.begin(), extended.calls.end(),
                                    [](const Call &k) { return k.op == Op::Text && k.text.rfind("COV limit 60.0 %: Racetrack (dots) ", 0) == 0; });
    ASSERT_NE(words, extended.calls.end());
    EXPECT_EQ(words->font.Size, 8);
    EXPECT_GT(words->x1, 1.0); // right-aligned over the graph, clear of its title
}
