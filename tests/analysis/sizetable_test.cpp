#include "analysis/sizetablebuilder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

using namespace velmara;

namespace {

const double kPi = 4.0 * std::atan(1.0);
const double k1200Dpi = 25400.0 / 1200; // micrometres per pixel
const std::array<double, 3> kDefaultSpread{0.0, 0.56, 0.0};

CardImage Apply(const std::vector<Long> &areas, const std::array<double, 3> &spread = kDefaultSpread,
                CardImage card = {})
{
    if (card.AreaCm2 == 0)
        card.AreaCm2 = 20;
    SizeTableBuilder b(k1200Dpi, spread, kPi);
    for (Long a : areas)
        b.add(a);
    b.apply(card, 7);
    return card;
}

} // namespace

TEST(SizeTable, HundredPixelStainAt1200Dpi)
{
    // A stain diameter of 238.84 micrometres.
    const CardImage c = Apply({100});
    ASSERT_EQ(c.SizeRows(), 1);
    EXPECT_NEAR(c.SizeTable[1].Diameter, 133.75, 0.005);
    // One row: cumulative 1, and the median is interpolated from diameter 0 at row 0.
    EXPECT_EQ(c.SizeTable[1].CumVolumeFraction, 1.0f);
    EXPECT_DOUBLE_EQ(c.Stats.Vmd, c.SizeTable[1].Diameter / 2.0);
    EXPECT_EQ(c.MinDiameter, c.MaxDiameter);
    EXPECT_DOUBLE_EQ(c.Stats.DropDensity, 1 / 20.0);
    EXPECT_DOUBLE_EQ(c.Stats.VolumeDensity, c.TotalVolume / 20);
    EXPECT_EQ(c.RejectedCount, 7);
}

TEST(SizeTable, WorkedExamples)
{
    // Worked out at 1200 dpi with the default spread factor, each step rounded to Single; nine
    // digits give the Single exactly.
    struct Row
    {
        Long area, count;
        float diameter, volume, vf, cvf, nf, cnf;
    };
    std::vector<Long> crowd(40000, 1); // counts and areas past the 16-bit range, out of order
    crowd.insert(crowd.end(), {100000, 70000, 5, 70000});
    const struct
    {
        std::vector<Long> areas;
        std::vector<Row> rows;
        double vmd, totalVolume;
    } cases[] = {
        {{3, 5, 3, 12},
         {{3, 2, 23.1662731f, 6509.79248f, 0.164586604f, 0.164586604f, 0.5f, 0.5f},
          {5, 1, 29.9075317f, 14006.8457f, 0.177067012f, 0.341653615f, 0.25f, 0.75f},
          {12, 1, 46.3325462f, 52078.3398f, 0.658346415f, 1, 0.25f, 1}},
         33.858098985708139, 0.079104770507812505},
        {{40, 1, 1, 1, 2, 9, 40},
         {{1, 3, 13.3750544f, 1252.81018f, 0.00556800282f, 0.00556800282f, 0.428571433f, 0.428571433f},
          {2, 1, 18.915184f, 3543.48291f, 0.00524956407f, 0.0108175669f, 0.142857149f, 0.571428597f},
          {9, 1, 40.125164f, 33825.8789f, 0.0501120314f, 0.0609295964f, 0.142857149f, 0.714285731f},
          {40, 2, 84.5912704f, 316938.688f, 0.939070404f, 1, 0.285714298f, 1}},
         60.915672618610301, 0.67500516735839844},
        {crowd,
         {{1, 40000, 13.3750544f, 1252.81018f, 0.000582213572f, 0.000582213572f, 0.999899983f, 0.999899983f},
          {5, 1, 29.9075317f, 14006.8457f, 1.6273367e-07f, 0.00058237632f, 2.49975001e-05f, 0.999924958f},
          {70000, 2, 3538.70679f, 2.32023716e+10f, 0.539137363f, 0.53971976f, 4.99950002e-05f, 0.999974966f},
          {100000, 1, 4229.56348f, 3.96173353e+10f, 0.46028024f, 1, 2.49975001e-05f, 1}},
         3280.203722976169, 86072.204878072269},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.areas.size());
        const CardImage card = Apply(c.areas);
        ASSERT_EQ(card.SizeRows(), static_cast<int>(c.rows.size()));
        Long maxCount = 0;
        for (size_t k = 0; k < c.rows.size(); ++k) {
            const SizeClass &got = card.SizeTable[k + 1];
            const Row &want = c.rows[k];
            EXPECT_EQ(std::tuple(got.AreaPx, got.Count), std::tuple(want.area, want.count)) << "row " << k + 1;
            for (const auto &[g, w] : {std::pair{got.Diameter, want.diameter}, {got.Volume, want.volume},
                                       {got.VolumeFraction, want.vf}, {got.CumVolumeFraction, want.cvf},
                                       {got.NumberFraction, want.nf}, {got.CumNumberFraction, want.cnf}})
                EXPECT_EQ(g, w) << "row " << k + 1;
            maxCount = std::max(maxCount, want.count);
        }
        EXPECT_DOUBLE_EQ(card.Stats.Vmd, c.vmd);
        EXPECT_DOUBLE_EQ(card.TotalVolume, c.totalVolume);
        EXPECT_EQ(card.MaxClassCount, maxCount);
    }
}

TEST(SizeTable, EqualVolumeSharesKeepTheEarlierMedian)
{
    // A constant spread factor gives every area the same drop: two areas split the volume 0.5/0.5,
    // which neither row passes strictly.
    CardImage before;
    before.Stats.Vmd = 42;
    const std::array<double, 3> constant{100, 0, 0};
    EXPECT_EQ(Apply({3, 9}, constant, before).Stats.Vmd, 42);
    EXPECT_DOUBLE_EQ(Apply({3, 9, 12}, constant, before).Stats.Vmd, 100);
}

TEST(SizeTable, NoStainEmptiesTheTableAndKeepsTheResults)
{
    CardImage before;
    before.SizeTable.resize(3);
    before.Stats = {12, 3, 4};
    before.RejectedCount = 9;
    before.MaxDiameter = 80;
    const CardImage c = Apply({}, kDefaultSpread, before);
    EXPECT_EQ(c.SizeRows(), 0);
    EXPECT_EQ(c.Stats.Vmd, 12);
    EXPECT_EQ(c.Stats.DropDensity, 3);
    EXPECT_EQ(c.RejectedCount, 9);
    EXPECT_EQ(c.MaxDiameter, 80);
}

TEST(SizeTable, ZeroSpreadFactorGivesZerosNotNaN)
{
    CardImage before;
    before.Stats.Vmd = 42;
    const CardImage c = Apply({4, 4, 9}, {0, 0, 0}, before);
    ASSERT_EQ(c.SizeRows(), 2);
    EXPECT_EQ(c.SizeTable[2].CumVolumeFraction, 0.0f);
    EXPECT_EQ(c.SizeTable[1].NumberFraction, ToSingle(2.0 / 3));
    EXPECT_EQ(c.Stats.Vmd, 0);
    EXPECT_EQ(c.Stats.VolumeDensity, 0);
    EXPECT_EQ(c.MaxVolumeFraction, 0);
    EXPECT_DOUBLE_EQ(c.Stats.DropDensity, 3 / 20.0);
}
