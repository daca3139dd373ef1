#include "statistics/composite.h"

#include "statistics/range.h"

#include "cardmaker.h"

#include <gtest/gtest.h>

using namespace velmara;
using velmara::testing::AddCard;
using velmara::testing::Figures;

TEST(CalcCompositeAll, TenthBinsRoundHalfToEvenAndMergeAcrossCards)
{
    Workspace ws;
    AddCard(ws, 1.5, {{12.25f, 2, 500}, {12.31f, 4, 500}, {40.04f, 1, 9000}});
    AddCard(ws, 2.5, {{12.34f, 6, 700}, {12.75f, 3, 600}});
    CalcCompositeAll(ws);
    const auto &rows = ws.CompositeAll.Classes;
    ASSERT_EQ(rows.size(), 5u);
    const std::pair<Single, Long> bins[] = {{0, 0}, {12.2f, 2}, {12.3f, 10}, {12.8f, 3}, {40, 1}};
    for (size_t k = 1; k < rows.size(); ++k)
        EXPECT_EQ(std::pair(rows[k].Diameter, rows[k].Count), bins[k]) << k;
    EXPECT_NEAR(rows[1].Volume, 9.50776e-4, 1e-9); // sphere of diameter 12.2 in nanolitres
    EXPECT_FLOAT_EQ(rows[3].Volume, 1.09806622e-3f); // diameter 12.8
    EXPECT_EQ(ws.CompositeAll.MaxDiameter, 40.04f) << "the largest drop, not its bin";
    EXPECT_EQ(ws.CompositeAll.MinDiameter, static_cast<double>(12.2f));
    EXPECT_EQ(ws.CompositeAll.DropCount, 16);
    EXPECT_EQ(ws.CompositeAll.AreaCm2, 4.0);
    EXPECT_DOUBLE_EQ(ws.CompositeAll.Stats.DropDensity, 16 / 4.0);
    EXPECT_FLOAT_EQ(rows[2].NumberFraction, 10.0f / 16);
    // VolumeFraction divides by the cards' own total, not by the sum of nominal volumes.
    const double total = (2 * 500.0 + 4 * 500.0 + 9000 + 6 * 700.0 + 3 * 600.0) / 1000000;
    EXPECT_DOUBLE_EQ(ws.CompositeAll.TotalVolume, total);
    EXPECT_FLOAT_EQ(rows[2].VolumeFraction, ToSingle(rows[2].Volume * 10.0 / total));
    EXPECT_DOUBLE_EQ(ws.CompositeAll.Stats.VolumeDensity, total / 4.0);
}

TEST(CalcCompositeAll, UnscannedCardsAreLeftOutAndEmptyCardsAddArea)
{
    Workspace ws;
    AddCard(ws, 1.0, {{20, 5, 4000}});
    AddCard(ws, 3.0, {{90, 7, 4000}}, /*scanned=*/false);
    AddCard(ws, 1.0, {});
    ws.Card(1).Stats.Vmd = 19.87654321;
    ws.Card(2).Stats.Vmd = 88;
    CalcCompositeAll(ws);
    ASSERT_EQ(ws.CompositeAll.Classes.size(), 2u);
    EXPECT_EQ(ws.CompositeAll.MaxDiameter, 20);
    EXPECT_EQ(ws.CompositeAll.AreaCm2, 2.0);
    EXPECT_DOUBLE_EQ(ws.CompositeAll.Stats.DropDensity, 2.5);
    EXPECT_EQ(ws.MaxVmdOfCards, ToSingle(19.87654321));

    // No stain anywhere: no rows at all, zero figures, MinDiameter as it was.
    Workspace empty;
    AddCard(empty, 1.0, {});
    empty.CompositeAll.MinDiameter = 7;
    empty.CompositeAll.Stats = {5, 6, 7};
    CalcCompositeAll(empty);
    EXPECT_TRUE(empty.CompositeAll.Classes.empty());
    EXPECT_EQ(Figures(empty.CompositeAll.Stats), Figures({}));
    EXPECT_EQ(empty.CompositeAll.MinDiameter, 7);

    // No scanned card at all: the densities keep their old values.
    Workspace none;
    AddCard(none, 1.0, {{20, 5, 4000}}, /*scanned=*/false);
    none.CompositeAll.Stats = {5, 6, 7};
    CalcCompositeAll(none);
    EXPECT_EQ(none.CompositeAll.AreaCm2, 0);
    EXPECT_EQ(none.CompositeAll.Stats.DropDensity, 6);
    EXPECT_EQ(none.CompositeAll.Stats.VolumeDensity, 7);
}

TEST(CalcCompositeAll, FirstRowOverHalfIsInterpolatedFromZero)
{
    Workspace ws;
    const int a = AddCard(ws, 1.0, {{20, 2, 1}});
    const int b = AddCard(ws, 1.0, {{20, 1, 1}});
    // Card totals equal to the nominal class volumes, so the single row holds exactly 1.
    const double v = ToSingle(4.1887902047863905e-3); // a sphere of diameter 20 in nanolitres
    ws.Card(a).TotalVolume = 2 * v;
    ws.Card(b).TotalVolume = v;
    CalcCompositeAll(ws);
    ASSERT_EQ(ws.CompositeAll.Classes.size(), 2u);
    EXPECT_EQ(ws.CompositeAll.Classes[1].CumVolumeFraction, 1.0f);
    EXPECT_DOUBLE_EQ(ws.CompositeAll.Stats.Vmd, 10.0);
}

TEST(CalcCompositeAll, OverfullClassKeepsCountZeroButItsVolume)
{
    Workspace ws;
    AddCard(ws, 1.0, {{50, 20000, 65450}});
    AddCard(ws, 1.0, {{50, 20000, 65450}, {60, 1, 113097}});
    CalcCompositeAll(ws);
    const auto &rows = ws.CompositeAll.Classes;
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[1].Count, 0);
    EXPECT_EQ(rows[1].NumberFraction, 0);
    EXPECT_FLOAT_EQ(rows[1].VolumeFraction,
                    ToSingle(rows[1].Volume * 40000.0 / ws.CompositeAll.TotalVolume));
    EXPECT_EQ(ws.CompositeAll.DropCount, 40001);
    EXPECT_FLOAT_EQ(rows[2].NumberFraction, 1.0f / 40001);
    EXPECT_EQ(ws.CompositeAll.MaxClassCount, 1);
    EXPECT_DOUBLE_EQ(ws.CompositeAll.MaxClassVolume, rows[1].Volume * 40000.0);

    // The range then adds nothing for that row.
    ws.RangeLow = 0;
    ws.RangeHigh = 100;
    CalcCompositeRange(ws);
    EXPECT_EQ(ws.CompositeRange.DropCount, 1);
    EXPECT_DOUBLE_EQ(ws.CompositeRange.TotalVolume, rows[2].Volume);
}

TEST(CalcCompositeRange, FractionsOfTheRangeAddUpToOne)
{
    Workspace ws;
    AddCard(ws, 1.0, {{20, 5, 4000}, {30, 2, 14000}, {42, 3, 38000}});
    AddCard(ws, 2.0, {{25, 1, 8000}, {37, 4, 26000}});
    CalcCompositeAll(ws);
    ws.RangeLow = 22;
    ws.RangeHigh = 40;
    CalcCompositeRange(ws);
    const auto &rows = ws.CompositeRange.Classes;
    ASSERT_EQ(rows.size(), 4u); // 25, 30, 37
    EXPECT_EQ(rows[1].Diameter, 25);
    EXPECT_EQ(rows[3].Diameter, 37);
    EXPECT_EQ(ws.CompositeRange.DropCount, 7);
    double vf = 0;
    for (size_t i = 1; i < rows.size(); ++i)
        vf += rows[i].VolumeFraction;
    EXPECT_NEAR(vf, 1.0, 1e-6);
    EXPECT_NEAR(rows[3].CumVolumeFraction, 1.0f, 1e-6);
    // Nominal volumes: TotalVolume is their sum here, and the density divides by all the area.
    const double total = rows[1].Volume * 1.0 + rows[2].Volume * 2.0 + rows[3].Volume * 4.0;
    EXPECT_DOUBLE_EQ(ws.CompositeRange.TotalVolume, total);
    EXPECT_DOUBLE_EQ(ws.CompositeRange.Stats.VolumeDensity, total / 3.0);
    EXPECT_DOUBLE_EQ(ws.CompositeRange.Stats.DropDensity, 7 / 3.0);
    EXPECT_GT(ws.CompositeRange.Stats.Vmd, 30);
    EXPECT_LT(ws.CompositeRange.Stats.Vmd, 37);

    // Above every row: only row 0 and the area stay.
    ws.RangeLow = 43;
    CalcCompositeRange(ws);
    EXPECT_EQ(ws.CompositeRange.Classes.size(), 1u);
    EXPECT_EQ(Figures(ws.CompositeRange.Stats), Figures({}));
    EXPECT_EQ(ws.CompositeRange.AreaCm2, 3.0);
}
