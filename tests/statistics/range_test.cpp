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

} // namespace

TEST(RangeSelected, ExactEndsCutNothing)
{
    // In the composite view MinDiameter is rounded to a Single first: 12.1999997 lies below 12.2f
    // as a double but cuts nothing off.
    const struct
    {
        bool composite;
        Single low, high;
        bool selected;
    } cases[] = {
        {false, 0, 32755, false}, {false, 10, 30, false}, {false, 10.5f, 30, true}, {false, 10, 29.9f, true},
        {true, 12.2f, 30, false}, {true, 12.3f, 30, true}, {true, 0, 29.5f, true},
    };
    for (const auto &c : cases) {
        Workspace ws = ThreeRowCard();
        ws.CompositeCheck = c.composite;
        ws.CompositeAll.MinDiameter = 12.1999997;
        ws.CompositeAll.MaxDiameter = 30;
        ws.RangeLow = c.low;
        ws.RangeHigh = c.high;
        EXPECT_EQ(RangeSelected(ws), c.selected) << c.composite << " " << c.low << ".." << c.high;
    }
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

TEST(CalcSingleRange, EmptyAndOneRowSelections)
{
    Workspace three = ThreeRowCard(), one, none, overHalf;
    AddCard(one, 1.0, {{50, 3, 1000}});
    AddCard(none, 2.0, {});
    AddCard(overHalf, 1.0, {{10, 1, 100}, {20, 1, 600}, {30, 1, 300}});
    const struct
    {
        const char *what;
        Workspace &ws;
        Single low, high;
        Long drops;
        double vmd;
        int card = 1; // 0: the current card
    } cases[] = {
        {"between rows", three, 21, 29, 0, 0},
        {"below a row", three, 11, 19, 0, 0},
        {"above every row", three, 31, 32755, 0, 0},
        // The downward search stops at row 2: row 1 alone, or a one-row table, selects nothing.
        {"row 1 alone", three, 0, 15, 0, 0},
        {"one-row table", one, 0, 32755, 0, 0},
        {"no stains", none, 1, 32755, 0, 0, 0},
        {"one row that is not the first", three, 19, 21, 1, 20},
        // 60 percent in the first selected row: not interpolated from zero.
        {"first row over half", overHalf, 15, 30, 2, 20, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        c.ws.RangeLow = c.low;
        c.ws.RangeHigh = c.high;
        CalcSingleRange(c.ws, c.card);
        const SizeStats &r = c.ws.CardRange;
        EXPECT_EQ(r.DropCount, c.drops);
        EXPECT_EQ(r.Stats.Vmd, c.vmd);
        EXPECT_EQ(r.AreaCm2, c.ws.Card(1).AreaCm2);
        if (c.drops == 0) {
            EXPECT_EQ(r.Classes.size(), 1u);
            EXPECT_EQ(r.Stats.DropDensity, 0);
            EXPECT_EQ(r.Stats.VolumeDensity, 0);
        } else {
            EXPECT_EQ(r.Classes.back().CumVolumeFraction, 1.0f);
        }
    }
}
