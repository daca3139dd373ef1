#include "dialogs/resolutionrules.h"

#include <gtest/gtest.h>

using namespace velmara;

namespace {

// n cards at 1200 dpi, 1000 x 500 pixels; a.bmp and c.bmp of the first three scanned.
Workspace Cards(int n = 3)
{
    Workspace ws;
    for (int i = 0; i < n; ++i) {
        CardImage &card = ws.Card(ws.AppendCard());
        card.FileName = std::string(1, static_cast<char>('a' + i % 26)) + ".bmp";
        card.WidthPx = 1000;
        card.HeightPx = 500;
        SetCardResolution(card, 1200);
        card.Scanned = i != 1;
    }
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

TEST(ResolutionRules, ClickClickEditsAndBadTextOrAFocusLossLeavesTheCell)
{
    const Workspace ws = Cards();
    ResolutionRules r(ws);
    EXPECT_EQ(r.SelectedRow, 1) << "the current card";
    r.GridClick(0);
    EXPECT_FALSE(r.Editing);
    r.GridClick(0);
    EXPECT_TRUE(r.Editing);
    EXPECT_EQ(r.EditText, "1200");
    EXPECT_FALSE(r.CancelIsCancelButton) << "Esc must reach the edit box";
    r.EditEscape();
    EXPECT_TRUE(r.CancelIsCancelButton);
    r.GridFocusOut();
    r.GridFocusIn();
    r.GridClick(0);
    EXPECT_FALSE(r.Editing) << "a click after the focus came back only selects";

    for (const char *bad : {"", "0", "99999999999"}) {
        Edit(r, 0, bad);
        EXPECT_FALSE(r.Editing) << bad;
        EXPECT_EQ(r.Rows[0].Cell, "1200") << bad;
        EXPECT_FALSE(r.Rows[0].Red) << bad;
    }
    r.GridEnter();
    r.EditText = "600";
    r.EditFocusLost();
    EXPECT_EQ(r.Rows[0].Cell, "1200");
}

// Red marks on scanned cards: the old value clears only the mark, Apply To All keeps earlier
// marks, and any number of cards can be rescanned.
TEST(ResolutionRules, RedMarksAndTheRescanList)
{
    Workspace ws = Cards();
    ResolutionRules r(ws);
    Edit(r, 2, "600");
    EXPECT_TRUE(r.Rows[2].Red);
    EXPECT_EQ(r.RescanList(), std::vector<int>{3});
    Edit(r, 2, "1200");
    EXPECT_FALSE(r.Rows[2].Red);
    EXPECT_TRUE(r.RescanList().empty());
    EXPECT_TRUE(r.AnalysedChanged) << "never cleared within an opening";

    Edit(r, 0, "600");
    Edit(r, 1, "1200");
    r.ApplyToAll();
    EXPECT_TRUE(r.Rows[0].Red) << "equal to its Dpi again, but the mark stays";
    EXPECT_EQ(r.RescanList(), std::vector<int>{1});
    Edit(r, 1, "300");
    r.ApplyToAll();
    EXPECT_EQ(r.RescanList(), (std::vector<int>{1, 3}));
    EXPECT_FALSE(r.Rows[1].Red) << "card b is not scanned";

    const Workspace many = Cards(300);
    ResolutionRules all(many);
    Edit(all, 0, "600");
    all.ApplyToAll();
    EXPECT_EQ(all.RescanList().size(), 299u);
}

TEST(ResolutionRules, AcceptRewritesEveryCard)
{
    Workspace ws = Cards();
    ResolutionRules r(ws);
    Edit(r, 1, "7");
    ws.Card(3).MicronsPerPixelX = 0; // stale values are rewritten even for unchanged rows
    Edit(r, 0, "600");
    EXPECT_TRUE(r.Accept(ws));
    EXPECT_EQ(std::pair(ws.Card(1).Dpi, ws.Card(2).Dpi), std::pair(600, 7));
    const double mpp = ws.Card(1).MicronsPerPixelX;
    EXPECT_NEAR(mpp, 42.334, 0.001);
    EXPECT_DOUBLE_EQ(ws.Card(1).AreaCm2, (500 * mpp / 10000) * (1000 * mpp / 10000));
    EXPECT_NEAR(ws.Card(3).MicronsPerPixelX, 21.167, 0.001);
}
