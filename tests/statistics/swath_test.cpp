#include "statistics/swath.h"
#include "statistics/swathpatterns.h"

#include "cardmaker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <tuple>
#include <vector>

using namespace velmara;
using velmara::testing::FailureText;

namespace {

// A line whose deposit (set 1) takes these values and whose drop density (set 2) is ten times
// them; the cards themselves need no table.
Workspace Line(std::initializer_list<double> deposits, const char *position1 = "0",
               const char *interval = "1")
{
    Workspace ws;
    ws.Spray.Sample_Position1 = position1;
    ws.Spray.Sample_Interval = interval;
    ws.LineStats.resize(1);
    for (double d : deposits) {
        ws.AppendCard();
        ws.LineStats.push_back(CardStats{0, d * 10, d});
    }
    return ws;
}

SwathSet WithCovs(std::initializer_list<Single> covs)
{
    SwathSet s;
    s.Stats.resize(1);
    for (Single c : covs)
        s.Stats.push_back(SwathStat{c, 0, 0, 0});
    return s;
}

} // namespace

TEST(BuildSwathTables, OneZeroZeroOneLine)
{
    Workspace ws = Line({1, 0, 0, 1});
    BuildSwathTables(ws);
    const SwathSet &set = ws.SwathSets[1];
    ASSERT_EQ(set.Stats.size(), 4u);
    EXPECT_EQ(set.Stats[1].Mean, 2);
    EXPECT_EQ(set.Stats[1].Cov, 0);
    EXPECT_EQ(set.Stats[2].Mean, 1);
    EXPECT_EQ(set.Stats[2].Cov, 0);
    EXPECT_FLOAT_EQ(set.Stats[3].Mean, 2.0f / 3);
    EXPECT_NEAR(set.Stats[3].Cov, 1.7320508, 1e-6);
    EXPECT_EQ(set.Stats[3].Max, 2);
    EXPECT_EQ(set.Stats[3].Min, 0);
    EXPECT_EQ(set.Width, 2);
    // Set 2 reads the drop density and is chosen on its own.
    EXPECT_EQ(ws.SwathSets[2].Stats[1].Mean, 20);
    EXPECT_EQ(ws.SwathSets[2].Width, 2);
}

TEST(BuildSwathTables, UniformAndAllZeroLines)
{
    // A uniform line is even only at widths that divide it.
    Workspace ws = Line({1, 1, 1, 1, 1, 1});
    BuildSwathTables(ws);
    const SwathSet &set = ws.SwathSets[1];
    EXPECT_EQ(set.Stats[2].Cov, 0);
    EXPECT_EQ(set.Stats[3].Cov, 0);
    EXPECT_GT(set.Stats[4].Cov, 0);
    EXPECT_GT(set.Stats[5].Cov, 0);
    EXPECT_EQ(set.Stats[4].Max, 2);
    EXPECT_EQ(set.Stats[4].Min, 1);

    Workspace zero = Line({0, 0, 0, 0, 0});
    BuildSwathTables(zero);
    for (Long w = 1; w <= 4; ++w) {
        const SwathStat &s = zero.SwathSets[1].Stats[w];
        EXPECT_EQ(std::tuple(s.Mean, s.Cov, s.Max, s.Min), std::tuple(0, 0, 0, 0)) << w;
    }
    EXPECT_EQ(zero.SwathSets[1].Width, 4);
}

TEST(BuildSwathTables, FirstIsTheTruncatedQuotient)
{
    Workspace ws = Line({1, 2, 3}, "-50", "10");
    BuildSwathTables(ws);
    EXPECT_EQ(ws.SwathSets[1].First(), -5);
    EXPECT_EQ(ws.SwathSets[1].Deposit.Upper(), -3);
    EXPECT_EQ(ws.SwathSets[1].Deposit[-5], 1);
    EXPECT_EQ(ws.SwathSets[2].Deposit[-3], 30);

    // Bad texts fail as the quotient does.
    const std::tuple<const char *, const char *, Long, std::string> cases[] = {
        {"-45", "10", -4, ""}, {"45", "10", 4, ""}, {"-50", "0", 0, kDivisionByZero},
        {"0", "0", 0, kOverflow}, {"0", "ten", 0, kTypeMismatch}};
    for (const auto &[position1, interval, first, failure] : cases) {
        ws.Spray.Sample_Position1 = position1;
        ws.Spray.Sample_Interval = interval;
        Long got = 0;
        EXPECT_EQ(FailureText([&] { got = SwathFirst(ws); }), failure) << position1 << " / " << interval;
        EXPECT_EQ(got, first) << position1 << " / " << interval;
    }
    Workspace bad = Line({1, 2, 3}, "-50", "0");
    EXPECT_EQ(FailureText([&] { BuildSwathTables(bad); }), kDivisionByZero);
    EXPECT_TRUE(bad.SwathSets[1].Deposit.Empty());
}

TEST(BuildSwathTables, ChosenWidthIsKeptOnRebuild)
{
    Workspace ws = Line({1, 0, 0, 1});
    BuildSwathTables(ws);
    ws.SwathSets[1].Width = 3;
    ws.LineStats[2].VolumeDensity = 5;
    BuildSwathTables(ws);
    EXPECT_EQ(ws.SwathSets[1].Width, 3);
    EXPECT_EQ(ws.SwathSets[1].Deposit[1], 5);
}

TEST(ChooseSwathWidth, WidestStepDownToThirtyPercent)
{
    // Wide to narrow: 3 -> 2 is the first step from above 0.3 to at or below it.
    EXPECT_EQ(ChooseSwathWidth(WithCovs({0, 0.1f, 0.25f, 0.5f, 0.2f, 0.6f}), 7), 5);
    EXPECT_EQ(ChooseSwathWidth(WithCovs({0, 0.1f, 0.25f, 0.5f, 0.6f}), 6), 3);
    // No step: the widest width.
    EXPECT_EQ(ChooseSwathWidth(WithCovs({0, 0.1f, 0.2f, 0.25f}), 5), 4);
    EXPECT_EQ(ChooseSwathWidth(WithCovs({0.4f, 0.5f, 0.6f}), 4), 3);
    // The Single nearest 0.3 counts as at or below; its neighbour above does not.
    EXPECT_EQ(ChooseSwathWidth(WithCovs({0, 0.3f, 0.9f}), 4), 2);
    EXPECT_EQ(ChooseSwathWidth(WithCovs({0, 0.30000004f, 0.9f}), 4), 1);
    EXPECT_EQ(ChooseSwathWidth(WithCovs({0, 0.1f, 0.3f}), 4), 3);
}

TEST(SampleStdDev, SmallCases)
{
    EXPECT_EQ(SampleStdDev({0}), 0);
    EXPECT_EQ(SampleStdDev({0, 5}), 0);
    EXPECT_FLOAT_EQ(SampleStdDev({0, 2, 4, 4, 4, 5, 5, 7, 9}), 2.13808994f);
    EXPECT_EQ(SampleStdDev({99, 3, 3, 3}), 0); // element 0 is not a value
}

TEST(BuildOverlapProfile, PassesRoundWithPointFourNineNineNineNine)
{
    Workspace ten = Line({1, 1, 1, 1, 1, 1, 1, 1, 1, 1}, "-50", "10");
    BuildSwathTables(ten);
    ten.SwathSets[1].Width = 3;
    BuildOverlapProfile(ten, 1);
    EXPECT_EQ(ten.SwathSets[1].Passes, 5);
    EXPECT_EQ(ten.SwathSets[1].Profile.Lower, -5);
    EXPECT_EQ(ten.SwathSets[1].Profile.Upper(), 17); // 3 * 5 + (10 - 5 - 3)

    auto passesAtWidth3 = [](int cards) {
        Workspace ws = Line({}, "0", "1");
        for (int i = 0; i < cards; ++i) {
            ws.AppendCard();
            ws.LineStats.push_back(CardStats{0, 1, 1});
        }
        BuildSwathTables(ws);
        ws.SwathSets[1].Width = 3;
        BuildOverlapProfile(ws, 1);
        return ws.SwathSets[1].Passes;
    };
    EXPECT_EQ(passesAtWidth3(41), 14); // 40 / 3 + 0.49999 = 13.83332
    EXPECT_EQ(passesAtWidth3(22), 7);  // 7.49999, where 0.5 would round 7.5 up to 8
}

TEST(BuildOverlapProfile, PassesAddTheLineMovedOnByTheWidth)
{
    Workspace ws = Line({1, 0, 0, 1});
    BuildSwathTables(ws);
    ASSERT_EQ(ws.SwathSets[1].Width, 2);
    BuildOverlapProfile(ws, 1);
    const SwathSet &set = ws.SwathSets[1];
    EXPECT_EQ(set.Passes, 5);
    EXPECT_EQ(set.Profile.Items, (std::vector<Single>{1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 0}));
    EXPECT_EQ(set.ProfileMax, 1);

    // A First far below zero: the upper end is clamped at Width times Passes.
    Workspace low = Line({1, 2}, "-100", "10");
    BuildSwathTables(low);
    BuildOverlapProfile(low, 2);
    EXPECT_EQ(low.SwathSets[2].Profile.Lower, -10);
    EXPECT_EQ(low.SwathSets[2].Profile.Upper(), 5);
    EXPECT_EQ(low.SwathSets[2].Profile[-10], 10);
    EXPECT_EQ(low.SwathSets[2].Profile[-9], 30);
    EXPECT_EQ(low.SwathSets[2].Profile[-5], 20);
    EXPECT_EQ(low.SwathSets[2].Profile[-4], 0);
    EXPECT_EQ(low.SwathSets[2].ProfileMax, 30);
}

TEST(SwathRateFactor, ScalesTheIntervalTimesWidthToTheFlownSwath)
{
    Workspace ws = Line({1, 0, 0, 1}, "0", "10");
    BuildSwathTables(ws);
    EXPECT_EQ(SwathRateFactor(ws, 1), 1); // AC_Swath empty
    ws.Spray.AC_Swath = "30";
    EXPECT_FLOAT_EQ(SwathRateFactor(ws, 1), 20.0f / 30);
    for (const char *swath : {"30", "0", "-5"}) {
        ws.Spray.AC_Swath = swath;
        EXPECT_EQ(RateFactorForWidth(ws, 3), 1) << swath;
    }
    ws.Spray.AC_Swath = "wide";
    EXPECT_THROW(RateFactorForWidth(ws, 3), Failure);
}

namespace {

// Width in card intervals, 0 for none; the COV to expect there, or a negative one for any.
struct Effective
{
    double width;
    double cov;
};

struct PatternCase
{
    const char *name;
    std::vector<double> deposits;
    const char *position1;
    const char *interval;
    double limit; // percent
    Effective racetrack;
    Effective backForth; // width -1: compare with the racetrack's (see evener)
    bool mirrorAgrees;   // back and forth folds as racetrack at every whole width
    bool evener;         // back and forth reaches a wider effective swath than racetrack
};

} // namespace

TEST(SwathPatterns, EffectiveSwathOfBothPatterns)
{
    // The uniform six: between widths 3 and 6 one lag reaches the line, so the sum of squares is
    // 18 - 2W and COV = sqrt((18 - 2W - 36 / W) / (W - 1)) * W / 6: 0.213 at 3.2, 0.254 at 3.3.
    // 1, 2, 3, 0 at width 3 folds onto 1, 2, 3: mean 2, deviation 1, COV exactly 0.5. A lone
    // spike has COV sqrt(W) racetrack and meets its mirror only at W = 4 (COV 3.05) back and forth.
    // A line rising away from the flight line meets its falling mirror: back and forth evens it.
    const PatternCase cases[] = {
        {"symmetric about the flight line", {1, 2, 4, 2, 1}, "-20", "10", 25, {-1, -1}, {-1, -1}, true, false},
        {"uniform, off the grid by half", {1, 1, 1, 1, 1, 1}, "-25", "10", 25, {3.2, 0.2127}, {3.2, 0.2127}, true, false},
        {"first card at -45 of 10", {0, 1, 3, 2, 0, 0, 2, 3, 1, 0}, "-45", "10", 40, {-1, -1}, {-1, -1}, true, false},
        {"all deposit on one side, rising away", {1, 2, 3, 4, 5, 6, 7, 8}, "0", "1", 25, {-1, -1}, {-1, -1}, false, true},
        {"no width meets the limit", {0, 0, 1, 0, 0}, "0", "1", 25, {0, 0}, {0, 0}, false, false},
        {"limit met exactly", {1, 2, 3, 0}, "0", "1", 50, {3, 0.5}, {-1, -1}, false, false},
    };
    for (const PatternCase &c : cases) {
        SCOPED_TRACE(c.name);
        Workspace ws = Line({}, c.position1, c.interval);
        for (double d : c.deposits) {
            ws.AppendCard();
            ws.LineStats.push_back(CardStats{0, d * 10, d});
        }
        BuildSwathTables(ws);
        const SwathSet &set = ws.SwathSets[1];
        const Long n = ws.CardCount();
        for (Long w = 2; w <= n - 1; ++w) {
            // Between whole widths the search reads the line as the whole-width folds do.
            EXPECT_NEAR(CovAtWidth(set, SwathPattern::Racetrack, w), set.Stats[w].Cov, 2e-6) << w;
            EXPECT_NEAR(CovAtWidth(set, SwathPattern::BackAndForth, w), set.BackForthStats[w].Cov, 2e-6) << w;
            if (c.mirrorAgrees) {
                const SwathStat &a = set.Stats[w];
                const SwathStat &b = set.BackForthStats[w];
                EXPECT_FLOAT_EQ(a.Cov, b.Cov) << w;
                EXPECT_FLOAT_EQ(a.Mean, b.Mean) << w;
                EXPECT_EQ(std::tuple(a.Max, a.Min), std::tuple(b.Max, b.Min)) << w;
            }
        }
        const EffectiveSwath rt = FindEffectiveSwath(set, SwathPattern::Racetrack, c.limit);
        const EffectiveSwath bf = FindEffectiveSwath(set, SwathPattern::BackAndForth, c.limit);
        for (const auto &[got, want] : {std::pair(rt, c.racetrack), std::pair(bf, c.backForth)}) {
            if (want.width < 0)
                continue;
            EXPECT_EQ(got.Found, want.width > 0);
            EXPECT_DOUBLE_EQ(got.Width, want.width);
            EXPECT_NEAR(got.Cov, want.cov, 5e-5);
        }
        if (c.mirrorAgrees) {
            EXPECT_DOUBLE_EQ(bf.Width, rt.Width);
            EXPECT_FLOAT_EQ(bf.Cov, rt.Cov);
        }
        if (c.evener) {
            ASSERT_TRUE(rt.Found && bf.Found);
            EXPECT_GT(bf.Width, rt.Width);
        }
        EXPECT_LE(rt.Cov, CovLimitFraction(c.limit));
        EXPECT_LE(bf.Cov, CovLimitFraction(c.limit));
        // Drop density is ten times the deposit: the same COVs, chosen on its own.
        EXPECT_DOUBLE_EQ(FindEffectiveSwath(ws.SwathSets[2], SwathPattern::BackAndForth, c.limit).Width, bf.Width);
    }
}

TEST(SwathPatterns, MirroredPassesReadBetweenCards)
{
    // Cards at -3, 7, 17, 27: mirrored about 0 they fall at 3, -7, ... between the cards, where
    // the deposit is read on the straight line (6, 16, 26, then 12 on the way down to nothing).
    Workspace ws = Line({0, 10, 20, 30}, "-3", "10");
    BuildSwathTables(ws);
    SwathSet &set = ws.SwathSets[1];
    const SwathStat st = set.BackForthStats[2];
    // Four bins over two passes: 0 + 26, 10 + 16, 20 + 6, 30 + 12.
    EXPECT_NEAR(st.Mean, 30, 1e-4);
    EXPECT_NEAR(st.Max, 42, 1e-4);
    EXPECT_NEAR(st.Min, 26, 1e-4);
    EXPECT_NEAR(st.Cov, std::sqrt(96.0) / 30, 1e-5);
    EXPECT_EQ(FoldBackForthAtWidth(set, 2).Cov, st.Cov);
    set.Width = 2;
    BuildOverlapProfile(ws, 1);
    EXPECT_EQ(set.BackForthProfile.Lower, -1);
    const std::vector<Single> block{12, 26, 26, 26, 42, 26, 26, 26, 30, 0, 10, 20, 30, 0};
    ASSERT_EQ(set.BackForthProfile.Items.size(), block.size());
    for (size_t i = 0; i < block.size(); ++i)
        EXPECT_NEAR(set.BackForthProfile.Items[i], block[i], 1e-4) << i;
    EXPECT_NEAR(set.BackForthProfileMax, 42, 1e-4);
    EXPECT_EQ(set.Profile.Items.size(), 13u); // the racetrack block keeps its bounds
}
