#include "analysis/sizetablebuilder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
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

// The table indexed by area with every step as numbered, for comparison on random lists.
CardImage ReferenceTable(const std::vector<Long> &areas)
{
    std::vector<SizeClass> t(1);
    double total = 0;
    for (Long a : areas) {
        if (static_cast<Long>(t.size()) <= a)
            t.resize(a + 1);
        ++t[a].Count;
        if (t[a].Volume == 0) {
            t[a].AreaPx = a;
            const double d = 2 * std::sqrt(std::pow(k1200Dpi, 2) * a / kPi);
            t[a].Diameter = ToSingle(0.56 * d);
            t[a].Volume = ToSingle(std::pow(t[a].Diameter / 2.0, 3) * (4.0 / 3 * kPi));
        }
        total += t[a].Volume;
    }
    CardImage card;
    double cumV = 0, cumN = 0;
    card.SizeTable.assign(1, {});
    for (size_t a = 1; a < t.size(); ++a) {
        if (t[a].Count == 0)
            continue;
        SizeClass c = t[a];
        c.VolumeFraction = ToSingle(c.Count * static_cast<double>(c.Volume) / total);
        cumV += c.VolumeFraction;
        c.CumVolumeFraction = ToSingle(cumV);
        c.NumberFraction = ToSingle(static_cast<double>(c.Count) / areas.size());
        cumN += c.NumberFraction;
        c.CumNumberFraction = ToSingle(cumN);
        card.SizeTable.push_back(c);
        const SizeClass &p = card.SizeTable[card.SizeTable.size() - 2];
        if (c.CumVolumeFraction > 0.5 && p.CumVolumeFraction < 0.5)
            card.Stats.Vmd = (0.5 - p.CumVolumeFraction) /
                                 (double(c.CumVolumeFraction) - p.CumVolumeFraction) *
                                 (double(c.Diameter) - p.Diameter) + p.Diameter;
    }
    card.TotalVolume = total / 1000000;
    return card;
}

auto Fields(const SizeClass &c)
{
    return std::tuple(c.AreaPx, c.Count, c.Volume, c.Diameter, c.VolumeFraction, c.CumVolumeFraction,
                      c.NumberFraction, c.CumNumberFraction);
}

void ExpectSameRows(const std::vector<SizeClass> &a, const std::vector<SizeClass> &b)
{
    ASSERT_EQ(a.size(), b.size());
    for (size_t k = 0; k < a.size(); ++k)
        ASSERT_EQ(Fields(a[k]), Fields(b[k])) << "row " << k;
}

} // namespace

TEST(SizeTable, HundredPixelStainAt1200Dpi)
{
    EXPECT_NEAR(2 * std::sqrt(k1200Dpi * k1200Dpi * 100 / kPi), 238.84, 0.005);
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

TEST(SizeTable, MatchesTheDirectTableOnRandomAreas)
{
    std::mt19937 rng(7);
    std::vector<std::vector<Long>> lists;
    for (int i = 0; i < 200; ++i) {
        std::vector<Long> areas(std::uniform_int_distribution<int>(1, 300)(rng));
        for (Long &a : areas)
            a = i % 10 == 0 ? std::uniform_int_distribution<Long>(1, 150000)(rng)
                            : std::uniform_int_distribution<Long>(1, 40)(rng);
        lists.push_back(areas);
    }
    // Counts and areas past the 16-bit range, out of order.
    lists.emplace_back(40000, 1);
    lists.back().insert(lists.back().end(), {100000, 70000, 5, 70000});
    for (const std::vector<Long> &areas : lists) {
        const CardImage got = Apply(areas);
        const CardImage want = ReferenceTable(areas);
        ExpectSameRows(got.SizeTable, want.SizeTable);
        EXPECT_EQ(got.TotalVolume, want.TotalVolume);
        EXPECT_EQ(got.Stats.Vmd, want.Stats.Vmd);
        Long maxCount = 0;
        for (const SizeClass &r : want.SizeTable)
            maxCount = std::max(maxCount, r.Count);
        EXPECT_EQ(got.MaxClassCount, maxCount);
    }
    EXPECT_EQ(Apply(lists.back()).SizeTable[1].Count, 40000);
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
