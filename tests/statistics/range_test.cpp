#include "statistics/range.h"

#include "cardmaker.h"

#include <gtest/gtest.h>

using namespace velmara;
using velmara::testing::AddCard;

namespace {

// Three rows whose volumes are 100, 200 and 700 of 1000.
Workspace ThreeRowCard()
{
    Workspace ws;
    AddCard(ws, 2.0, {{10, 1, 100}, {20, 1, 200}, {30, 1, 700}});
    return ws;
}

void ExpectEmptySelection(const Workspace &ws)
{
    EXPECT_EQ(ws.CardRange.Classes.size(), 1u);
    EXPECT_EQ(ws.CardRange.Stats.Vmd, 0);
    EXPECT_EQ(ws.CardRange.Stats.DropDensity, 0);
    EXPECT_EQ(ws.CardRange.Stats.VolumeDensity, 0);
    EXPECT_EQ(ws.CardRange.DropCount, 0);
}

} // namespace

TEST(RangeSelected, StartValuesAndExactEndsCutNothing)
{
    Workspace ws = ThreeRowCard();
    EXPECT_FALSE(RangeSelected(ws));
    ws.RangeLow = 10;
    ws.RangeHigh = 30;
    EXPECT_FALSE(RangeSelected(ws));
    ws.RangeLow = 10.5f;
    EXPECT_TRUE(RangeSelected(ws));
    ws.RangeLow = 10;
    ws.RangeHigh = 29.9f;
    EXPECT_TRUE(RangeSelected(ws));
}

TEST(RangeSelected, CompositeViewRoundsMinDiameterToSingleFirst)
{
    Workspace ws = ThreeRowCard();
    ws.CompositeCheck = true;
    ws.CompositeAll.MaxDiameter = 30;
    // Lies below 12.2f as a double but rounds to it as a Single: nothing is cut off.
    ws.CompositeAll.MinDiameter = 12.1999997;
    ws.RangeLow = 12.2f;
    EXPECT_FALSE(RangeSelected(ws));
    ws.RangeLow = 12.3f;
    EXPECT_TRUE(RangeSelected(ws));
    ws.RangeLow = 0;
    ws.RangeHigh = 29.5f;
    EXPECT_TRUE(RangeSelected(ws));
}

TEST(CalcSingleRange, CardWithoutStainsGivesTheEmptySelection)
{
    Workspace ws;
    AddCard(ws, 2.0, {});
    ws.RangeLow = 1;
    CalcSingleRange(ws, 0);
    ExpectEmptySelection(ws);
    EXPECT_EQ(ws.CardRange.AreaCm2, 2.0);
}

TEST(CalcSingleRange, BoundsEqualToDiametersKeepTheirRows)
{
    Workspace ws = ThreeRowCard();
    ws.RangeLow = 20;
    ws.RangeHigh = 30;
    CalcSingleRange(ws, 1);
    ASSERT_EQ(ws.CardRange.Classes.size(), 3u);
    EXPECT_EQ(ws.CardRange.Classes[1].Diameter, 20);
    EXPECT_EQ(ws.CardRange.Classes[2].Diameter, 30);
    EXPECT_EQ(ws.CardRange.DropCount, 2);
    EXPECT_EQ(ws.CardRange.TotalVolume, 900);
    // Fractions refer to the selection and add up to 1 again; other fields keep the card's.
    EXPECT_FLOAT_EQ(ws.CardRange.Classes[1].VolumeFraction, 200.0f / 900);
    EXPECT_FLOAT_EQ(ws.CardRange.Classes[2].CumVolumeFraction, 1.0f);
    EXPECT_FLOAT_EQ(ws.CardRange.Classes[2].CumNumberFraction, 1.0f);
    EXPECT_EQ(ws.CardRange.Classes[1].AreaPx, 2);
    EXPECT_EQ(ws.CardRange.Classes[0].CumVolumeFraction, 0);
    // 20 + 10 * (0.5 - 2/9) / (1 - 2/9)
    EXPECT_NEAR(ws.CardRange.Stats.Vmd, 23.5714286, 1e-5);
    EXPECT_DOUBLE_EQ(ws.CardRange.Stats.DropDensity, 1.0);
    EXPECT_DOUBLE_EQ(ws.CardRange.Stats.VolumeDensity, 900.0 / 1000000 / 2.0);
    // The card's own table is untouched.
    EXPECT_EQ(ws.Card(1).SizeTable.size(), 4u);
    EXPECT_FLOAT_EQ(ws.Card(1).SizeTable[2].VolumeFraction, 0.2f);
}

TEST(CalcSingleRange, RangesBetweenOrAboveRowsAreEmpty)
{
    Workspace ws = ThreeRowCard();
    ws.RangeLow = 21;
    ws.RangeHigh = 29;
    CalcSingleRange(ws, 1);
    ExpectEmptySelection(ws);
    ws.RangeLow = 11;
    ws.RangeHigh = 19;
    CalcSingleRange(ws, 1);
    ExpectEmptySelection(ws);
    ws.RangeLow = 31;
    ws.RangeHigh = 32755;
    CalcSingleRange(ws, 1);
    ExpectEmptySelection(ws);
}

TEST(CalcSingleRange, TheDownwardSearchStopsAtRowTwo)
{
    // A range holding only row 1 is empty, and so is any range on a one-row table.
    Workspace ws = ThreeRowCard();
    ws.RangeLow = 0;
    ws.RangeHigh = 15;
    CalcSingleRange(ws, 1);
    ExpectEmptySelection(ws);

    Workspace single;
    AddCard(single, 1.0, {{50, 3, 1000}});
    single.RangeLow = 0;
    single.RangeHigh = 32755;
    CalcSingleRange(single, 1);
    ExpectEmptySelection(single);
}

TEST(CalcSingleRange, OneRowThatIsNotTheFirstGivesItsOwnDiameter)
{
    Workspace ws = ThreeRowCard();
    ws.RangeLow = 19;
    ws.RangeHigh = 21;
    CalcSingleRange(ws, 1);
    ASSERT_EQ(ws.CardRange.Classes.size(), 2u);
    EXPECT_EQ(ws.CardRange.Classes[1].CumVolumeFraction, 1.0f);
    EXPECT_EQ(ws.CardRange.Stats.Vmd, 20);
}

TEST(CalcSingleRange, FirstSelectedRowOverHalfIsNotInterpolatedFromZero)
{
    Workspace ws;
    AddCard(ws, 1.0, {{10, 1, 100}, {20, 1, 600}, {30, 1, 300}});
    ws.RangeLow = 15;
    ws.RangeHigh = 30;
    CalcSingleRange(ws, 0);
    EXPECT_EQ(ws.CardRange.Stats.Vmd, 20); // 60 percent in the first selected row
}
