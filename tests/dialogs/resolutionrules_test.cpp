#include "dialogs/resolutionrules.h"

#include <gtest/gtest.h>

using namespace velmara;

namespace {

// Cards a (scanned), b (not scanned), c (scanned), all at 1200 dpi, 1000 x 500 pixels.
Workspace ThreeCards()
{
    Workspace ws;
    for (const char *name : {"a.bmp", "b.bmp", "c.bmp"}) {
        CardImage &card = ws.Card(ws.AppendCard());
        card.FileName = name;
        card.WidthPx = 1000;
        card.HeightPx = 500;
        SetCardResolution(card, 1200);
    }
    ws.Card(1).Scanned = true;
    ws.Card(3).Scanned = true;
    ws.CurrentCard = 2;
    return ws;
}

void Edit(ResolutionRules &r, int row, const std::string &text)
{
    r.GridClick(row);
    if (!r.Editing)
        r.GridClick(row);
    r.EditText = text;
    r.EditEnter();
}

} // namespace

TEST(ResolutionRules, ClickClickEditsAndAClickAfterFocusLossOnlySelects)
{
    const Workspace ws = ThreeCards();
    ResolutionRules r(ws);
    EXPECT_EQ(r.Rows[0].Name, "a.bmp");
    EXPECT_EQ(r.SelectedRow, 1) << "the current card";
    r.GridClick(0);
    EXPECT_FALSE(r.Editing);
    EXPECT_EQ(r.SelectedRow, 0);
    r.GridClick(0);
    EXPECT_TRUE(r.Editing);
    EXPECT_EQ(r.EditText, "1200");
    EXPECT_TRUE(r.EditSelectAll);
    EXPECT_FALSE(r.CancelIsCancelButton) << "Esc must reach the edit box";

    r.EditEscape();
    EXPECT_FALSE(r.Editing);
    EXPECT_TRUE(r.CancelIsCancelButton);
    r.GridFocusOut();
    r.GridFocusIn();
    r.GridClick(0);
    EXPECT_FALSE(r.Editing);
}

TEST(ResolutionRules, BadTextLeavesTheCell)
{
    const Workspace ws = ThreeCards();
    ResolutionRules r(ws);
    for (const char *bad : {"", "0", "99999999999"}) {
        Edit(r, 0, bad);
        EXPECT_FALSE(r.Editing) << bad;
        EXPECT_EQ(r.Rows[0].Cell, "1200") << bad;
        EXPECT_FALSE(r.Rows[0].Red) << bad;
    }
    // A lost focus ends the edit without applying it.
    r.GridEnter();
    r.EditText = "600";
    r.EditFocusLost();
    EXPECT_EQ(r.Rows[0].Cell, "1200");
}

TEST(ResolutionRules, RedMarksOnScannedCardsAndTheOldValueClearsOnlyTheMark)
{
    Workspace ws = ThreeCards();
    ResolutionRules r(ws);
    Edit(r, 2, "600");
    EXPECT_TRUE(r.Rows[2].Red);
    EXPECT_TRUE(r.AnalysedChanged);
    EXPECT_EQ(r.RescanList(), std::vector<int>{3});
    Edit(r, 2, "1200");
    EXPECT_FALSE(r.Rows[2].Red);
    EXPECT_TRUE(r.RescanList().empty());
    EXPECT_TRUE(r.AnalysedChanged) << "never cleared within an opening";
    EXPECT_TRUE(r.Accept(ws)) << "the question still comes, and Yes scans nothing";
}

TEST(ResolutionRules, ApplyToAllKeepsEarlierMarks)
{
    Workspace ws = ThreeCards();
    ResolutionRules r(ws);
    Edit(r, 0, "600");
    ASSERT_TRUE(r.Rows[0].Red);
    Edit(r, 1, "1200");
    r.ApplyToAll();
    for (const auto &row : r.Rows)
        EXPECT_EQ(row.Cell, "1200");
    EXPECT_TRUE(r.Rows[0].Red) << "equal to its Dpi again, but the mark stays";
    EXPECT_EQ(r.RescanList(), std::vector<int>{1});

    Edit(r, 1, "300");
    r.ApplyToAll();
    EXPECT_EQ(r.RescanList(), (std::vector<int>{1, 3}));
    EXPECT_FALSE(r.Rows[1].Red);
}

TEST(ResolutionRules, AcceptRewritesEveryCard)
{
    Workspace ws = ThreeCards();
    ResolutionRules r(ws);
    Edit(r, 1, "7");
    EXPECT_FALSE(r.Rows[1].Red || r.AnalysedChanged) << "card b is not scanned";
    ws.Card(3).MicronsPerPixelX = 0; // stale values are rewritten even for unchanged rows
    Edit(r, 0, "600");
    EXPECT_TRUE(r.Accept(ws));
    EXPECT_EQ(std::pair(ws.Card(1).Dpi, ws.Card(2).Dpi), std::pair(600, 7));
    EXPECT_NEAR(ws.Card(1).MicronsPerPixelX, 42.334, 0.001);
    const double mpp = ws.Card(1).MicronsPerPixelX;
    EXPECT_DOUBLE_EQ(ws.Card(1).AreaCm2, (500 * mpp / 10000) * (1000 * mpp / 10000));
    EXPECT_NEAR(ws.Card(3).MicronsPerPixelX, 21.167, 0.001);
}

TEST(ResolutionRules, RescanListHasNoCardLimit)
{
    Workspace ws;
    for (int i = 1; i <= 300; ++i) {
        CardImage &card = ws.Card(ws.AppendCard());
        card.Dpi = 1200;
        card.Scanned = true;
    }
    ResolutionRules r(ws);
    Edit(r, 0, "600");
    r.ApplyToAll();
    const auto list = r.RescanList();
    ASSERT_EQ(list.size(), 300u);
    EXPECT_EQ(list.back(), 300);
}
