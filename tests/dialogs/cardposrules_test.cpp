#include "dialogs/cardposrules.h"

#include <gtest/gtest.h>

using namespace velmara;

namespace {

Workspace Cards(int n)
{
    Workspace ws;
    for (int i = 1; i <= n; ++i)
        ws.Card(ws.AppendCard()).FileName = "card" + std::to_string(i) + ".bmp";
    return ws;
}

std::vector<std::string> Column(const CardPosRules &r)
{
    std::vector<std::string> out;
    for (const auto &row : r.Rows)
        out.push_back(row.Position);
    return out;
}

} // namespace

TEST(CardPosRules, DefaultLineInWholeNumbersUntilTheSpacingNeedsADecimal)
{
    Workspace ws = Cards(3);
    MemorySettings store;
    CardPosRules r(ws, store);
    r.Open();
    EXPECT_EQ(std::pair(r.txtInput[1], r.txtInput[2]), std::pair(std::string("-50.0"), std::string("10.0")));
    EXPECT_EQ(Column(r), (std::vector<std::string>{"-50", "-40", "-30"}));
    r.txtInput[2] = "2.5";
    r.ValidatePositionInput(2);
    EXPECT_EQ(r.PositionFormat, "0.0");
    EXPECT_EQ(Column(r), (std::vector<std::string>{"-50.0", "-47.5", "-45.0"}));
    // The grid's first fill uses the old texts' format; the refresh then shows the new line.
    EXPECT_EQ(PositionFormatOf("", ""), "0.0");
    EXPECT_EQ(FormatPosition(-47.5f, "0"), "-48");
}

TEST(CardPosRules, BadTextFallsBackToTheLastGoodValueAndNothingIsKeptWithoutAccept)
{
    Workspace ws = Cards(2);
    MemorySettings store;
    CardPosRules r(ws, store);
    r.Open();
    r.txtInput[2] = "4";
    r.ValidatePositionInput(2);
    ASSERT_EQ(r.txtInput[2], "4.0");
    for (const char *bad : {"0.04", "abc"}) {
        r.txtInput[2] = bad;
        r.ValidatePositionInput(2);
        EXPECT_EQ(r.txtInput[2], "4.0") << bad;
        EXPECT_FLOAT_EQ(r.Spacing, 4.0f) << bad;
    }
    // A first position that the analysis could not use is refused as well.
    for (const char *bad : {"-", "1e10"}) {
        r.txtInput[1] = bad;
        r.ValidatePositionInput(1);
        EXPECT_EQ(r.txtInput[1], "-50.0") << bad;
    }
    r.txtInput[1] = "-12.34";
    r.ValidatePositionInput(1);
    EXPECT_FLOAT_EQ(r.FirstPosition, -12.3f);
    EXPECT_EQ(Column(r), (std::vector<std::string>{"-12.3", "-8.3"}));
    // Dropping the rules without Accept is the Cancel.
    EXPECT_EQ(ws.Card(2).Position, 0.0f);
    EXPECT_TRUE(ws.Spray.Sample_Position1.empty());
    EXPECT_TRUE(store.Writes().empty());
}

TEST(CardPosRules, AcceptPlacesEveryCardAndStoresTheShownTexts)
{
    Workspace ws = Cards(3);
    MemorySettings store;
    CardPosRules r(ws, store);
    r.Open();
    r.txtInput[1] = "-20"; // still in the box: Accept leaves it first
    r.txtInput[2] = "0.1";
    r.AcceptClicked();
    EXPECT_FLOAT_EQ(ws.Card(1).Position, -20.0f);
    EXPECT_EQ(ws.Card(3).Position, ToSingle(-20.0f + ToSingle(0.1f * 2)));
    EXPECT_EQ(ws.Spray.Sample_Position1, "-20.0");
    EXPECT_EQ(store.GetSetting("SprayInfo", "Sample_Interval", ""), "0.1");

    // The next opening finds the texts in memory; "0.1" does not end in 0.
    CardPosRules again(ws, store);
    again.Open();
    EXPECT_EQ(Column(again), (std::vector<std::string>{"-20.0", "-19.9", "-19.8"}));

    // Only an empty memory text comes from the store.
    ws.Spray.Sample_Interval.clear();
    store.SaveSetting("SprayInfo", "Sample_Position1", "-99");
    store.SaveSetting("SprayInfo", "Sample_Interval", "3");
    CardPosRules third(ws, store);
    third.Open();
    EXPECT_EQ(third.txtInput[1], "-20.0");
    EXPECT_EQ(third.txtInput[2], "3.0");
}
