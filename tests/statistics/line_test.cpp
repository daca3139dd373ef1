#include "statistics/line.h"

#include "statistics/range.h"
#include "statistics/textvalue.h"

#include "cardmaker.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace velmara;
using velmara::testing::AddCard;
using velmara::testing::FailureText;

TEST(TickStep, StepsOfTheWorkedExamplesAndTheDecimalsOfTheirLabels)
{
    // At 1000 the quotient of logarithms falls just short of 3: p is 100 and m is 10. Nothing to
    // label gives 1. Labels carry the decimals of the step, also when it went through a Single.
    const std::tuple<Single, double, const char *> cases[] = {
        {149, 25, "0"},      {150, 50, "0"},          {300, 100, "0"},       {600, 200, "0"},
        {0.07f, 0.02, "0.00"}, {1000, 200, "0"},      {1, 0.25, "0.00"},     {0, 1, "0"},
        {-3, 1, "0"},        {12, 2.5, "0.0"},        {2.2f, 0.5, "0.0"},    {0.0145f, 0.0025, "0.0000"},
        {1.1e-6f, 2.5e-7, "0.00000000"}};
    for (const auto &[max, step, pattern] : cases) {
        EXPECT_DOUBLE_EQ(TickStep(max), step) << max;
        EXPECT_EQ(TickPattern(TickStep(max)), pattern) << max;
        EXPECT_EQ(TickPattern(ToSingle(TickStep(max))), pattern) << max;
    }
}

TEST(TextToSingle, ReadsTypedNumbers)
{
    const std::pair<const char *, Single> cases[] = {{"10", 10}, {" -50 ", -50}, {"+2.5", 2.5f}, {"-.5", -0.5f},
                                                     {"3.", 3}, {"1e3", 1000}, {"1D2", 100}, {"0.3", 0.3f},
                                                     {"1e-50", 0}, {"0.000000000000000000000000000000000000000000000000001", 0}};
    for (const auto &[text, value] : cases) {
        EXPECT_EQ(TextToSingle(text), value) << text;
        EXPECT_EQ(TryTextToSingle(text), value) << text;
    }
}

TEST(TextToSingle, RefusesWhatIsNotANumber)
{
    for (const char *text : {"", "  ", "abc", "1,5", "1.2.3", "10m", "inf", "nan", "0x10", ".",
                             "-", "1e", "e5", "1e+"}) {
        EXPECT_FALSE(TryTextToSingle(text).has_value()) << text;
        EXPECT_EQ(FailureText([&] { TextToSingle(text); }), kTypeMismatch) << text;
    }
    for (const char *text : {"1e40", "1234567890123456789012345678901234567890"})
        EXPECT_EQ(FailureText([&] { TextToSingle(text); }), kOverflow) << text;
    EXPECT_EQ(TryTextToDouble("1234567890123456789012345678901234567890"), 1.2345678901234568e39);
}

// The dialogs refuse a line that the swath tables or the positions could not hold.
TEST(SamplingLineUsable, SpacingPositionsAndSwathIndexesInRange)
{
    const struct { Single first, interval; bool usable; } cases[] = {
        {-50, 10, true}, {0, -2.5f, true}, {1e30f, 1e26f, true}, {-50, 0, false},
        {1e38f, 1e35f, false},  // the last positions leave the Single range
        {1e10f, 1, false},      // the first swath index is beyond a Long
        {-50, 1e-30f, false}, {2147483000.0f, 1, false}};
    for (const auto &c : cases)
        EXPECT_EQ(SamplingLineUsable(c.first, c.interval), c.usable) << c.first << " " << c.interval;
}

TEST(FillLineStats, OwnFiguresOrFiguresInsideTheRange)
{
    Workspace ws;
    AddCard(ws, 1, {{10, 1, 100}, {20, 1, 200}, {30, 1, 700}});
    AddCard(ws, 1, {{10, 2, 100}}, /*scanned=*/false);
    AddCard(ws, 2, {{12, 1, 100}, {22, 3, 300}, {32, 1, 500}});
    ws.Card(1).Stats.Vmd = 26;
    ws.Card(3).Stats.Vmd = 27;
    ws.CompositeCheck = true;
    ws.CompositeAll.MinDiameter = 10;
    ws.CompositeAll.MaxDiameter = 32;
    ResetLineStats(ws);
    ws.LineStats[2].Vmd = 99; // an unscanned card's entry stays as it is
    FillLineStats(ws);
    EXPECT_EQ(ws.LineStats[1].Vmd, 26);
    EXPECT_EQ(ws.LineStats[2].Vmd, 99);
    EXPECT_EQ(ws.LineStats[3].Vmd, 27);
    EXPECT_DOUBLE_EQ(ws.LineStats[3].DropDensity, 2.5);

    ws.RangeLow = 15;
    FillLineStats(ws);
    EXPECT_DOUBLE_EQ(ws.LineStats[1].DropDensity, 2);
    EXPECT_DOUBLE_EQ(ws.LineStats[3].DropDensity, 2);
    EXPECT_DOUBLE_EQ(ws.LineStats[3].VolumeDensity, 1400.0 / 1000000 / 2);
    EXPECT_EQ(ws.LineStats[2].Vmd, 99);
    EXPECT_EQ(ws.CardRange.AreaCm2, 2); // the last scanned card
}

TEST(ComputeLineScales, ZeroStaysOnTheLineAndRangesDoNotShrinkTheScale)
{
    Workspace ws;
    AddCard(ws, 1, {{10, 4, 100}});
    AddCard(ws, 1, {{10, 8, 100}});
    AddCard(ws, 1, {{10, 2, 100}});
    ws.Spray.Sample_Position1 = "10";
    ws.Spray.Sample_Interval = "5";
    AssignCardPositions(ws);
    ws.MaxVmdOfCards = 40;
    // Values inside a range, smaller than the cards' own.
    ws.LineStats = {{}, {30, 1, 0.5}, {50, 1, 0.25}, {20, 1, 0.5}};
    ComputeLineScales(ws);
    EXPECT_EQ(ws.LineLeft, 0);
    EXPECT_EQ(ws.LineRight, 20);
    EXPECT_EQ(ws.LineMaxVmd, ToSingle(50 * 1.1));
    EXPECT_EQ(ws.LineMaxDensity, ToSingle(8 * 1.1)); // card 2's own density
    EXPECT_EQ(ws.LineMaxDeposit, ToSingle(0.1f * 0.5 * 1.1));

    ws.Spray.Sample_Position1 = "-30";
    AssignCardPositions(ws);
    ws.Metric = false;
    ComputeLineScales(ws);
    EXPECT_EQ(ws.LineLeft, -30);
    EXPECT_EQ(ws.LineRight, 0);
    EXPECT_EQ(ws.LineMaxDeposit, ToSingle(1.368f * 0.5 * 1.1));
}
