#include "dialogs/sprayinforules.h"

#include <gtest/gtest.h>

using namespace velmara;

namespace {

struct SprayInfoRulesTest : ::testing::Test
{
    Workspace ws;
    MemorySettings store;

    SprayInfoRules Opened(std::optional<PrefsSprayLink> prefs = std::nullopt)
    {
        SprayInfoRules rules(ws, store, prefs);
        rules.Open();
        return rules;
    }
    static void FillSampling(SprayInfoRules &r, const char *position, const char *interval)
    {
        r.BoxText(SprayField::Sample_Position1) = position;
        r.BoxText(SprayField::Sample_Interval) = interval;
    }
};

} // namespace

TEST_F(SprayInfoRulesTest, ChecksRunInOrderAndStopAtTheFirst)
{
    SprayInfoRules r = Opened();
    // First run: the default spread factor passes, the empty position fails.
    EXPECT_EQ(r.SpreadText[1], "0.56");
    auto problem = r.AcceptClicked();
    ASSERT_TRUE(problem);
    EXPECT_EQ(std::pair(problem->Message, problem->Focus), std::pair(std::string("Invalid Sampler1 position."), SprayFocus::SampleInput1));
    EXPECT_FALSE(r.Accept);

    FillSampling(r, "x", "0");
    r.SpreadText = {"1", "", "abc"};
    problem = r.ValidateSprayInfo();
    EXPECT_EQ(std::pair(problem->Message, problem->Focus), std::pair(std::string("Invalid Spread Factor value."), SprayFocus::SpreadText1));
    r.SpreadText[1] = "2";
    EXPECT_EQ(r.ValidateSprayInfo()->Focus, SprayFocus::SpreadText2);
    r.SpreadText[2] = "-3";
    EXPECT_EQ(r.ValidateSprayInfo()->Focus, SprayFocus::SampleInput1);
    // Zero passes the numeric test and fails the next one.
    r.BoxText(SprayField::Sample_Position1) = "-12.5";
    problem = r.ValidateSprayInfo();
    EXPECT_EQ(std::pair(problem->Message, problem->Focus), std::pair(std::string("Invalid Sampler Interval value."), SprayFocus::SampleInput2));
    r.BoxText(SprayField::Sample_Interval) = "0.000000000000000000000000000000000000000000000001";
    EXPECT_TRUE(r.ValidateSprayInfo()) << "reads as Single 0";
    // The line is read as the analysis will read it: swath indexes beyond a Long fail.
    FillSampling(r, "1e10", "1");
    EXPECT_EQ(r.ValidateSprayInfo()->Focus, SprayFocus::SampleInput2);

    // After Reset Values the first check to fail is the first spread factor; nothing is stored.
    ws.Spray.AC_Type = "Crop Duster";
    r.ResetValues();
    EXPECT_EQ(r.BoxText(SprayField::Sample_Interval), "");
    EXPECT_EQ(r.AcceptClicked()->Focus, SprayFocus::SpreadText0);
    EXPECT_EQ(ws.Spray.AC_Type, "Crop Duster");
    EXPECT_TRUE(store.Writes().empty());
}

TEST_F(SprayInfoRulesTest, SamplingBoxesShowTheStoreNotMemoryAndUnitsFollowMetric)
{
    ws.Spray.Sample_Position1 = "-30";
    ws.Spray.AC_Swath = "30";
    ws.Metric = false;
    store.SaveSetting("SprayInfo", "Sample_Position1", "-40");
    store.SaveSetting("SprayInfo", "Sample_Interval", "bad");
    SprayInfoRules us = Opened();
    EXPECT_EQ(us.BoxText(SprayField::Sample_Position1), "-40.0");
    EXPECT_EQ(us.BoxText(SprayField::Sample_Interval), "bad");
    EXPECT_EQ(us.BoxText(SprayField::AC_Swath), "30") << "other fields from memory, as typed";
    EXPECT_EQ(us.UnitLabel(SprayField::AC_Speed), "mph");
    EXPECT_EQ(us.UnitLabel(SprayField::Spray_SprayRate), "oz/ac");
    EXPECT_EQ(us.UnitLabel(SprayField::AC_Type), "");
    ws.Metric = true;
    SprayInfoRules metric = Opened();
    EXPECT_EQ(metric.UnitLabel(SprayField::AC_Speed), "km/h");
    EXPECT_EQ(metric.UnitLabel(SprayField::Sample_Interval), "m");
}

TEST_F(SprayInfoRulesTest, LeaveRulesReformatNumbersOnly)
{
    SprayInfoRules r = Opened();
    r.SpreadText = {"0.123456789", "abc", "2"};
    for (int i = 0; i < 3; ++i)
        r.LeaveSpreadText(i);
    EXPECT_EQ(r.SpreadText, (std::array<std::string, 3>{"0.1234568", "abc", "2.00"}));
    FillSampling(r, "-7.25", "x1");
    r.LeaveSampleInput(1);
    r.LeaveSampleInput(2);
    EXPECT_EQ(r.BoxText(SprayField::Sample_Position1) + " " + r.BoxText(SprayField::Sample_Interval), "-7.3 x1");
}

TEST_F(SprayInfoRulesTest, AcceptStoresAllFifteenInOrderAndTakesTheSpreadFactor)
{
    SprayInfoRules r = Opened();
    r.BoxText(SprayField::AC_Type) = "CD-100";
    r.BoxText(SprayField::Nozzle_Number) = "42";
    FillSampling(r, "-50.0", "10.0");
    r.SpreadText = {"1.5", "0.6", "-0.001"};
    EXPECT_FALSE(r.AcceptClicked());
    EXPECT_TRUE(r.Accept);
    EXPECT_EQ(ws.Spray.Sample_Interval, "10.0");
    EXPECT_DOUBLE_EQ(ws.SpreadFactor[2], -0.001);
    ASSERT_EQ(store.Writes().size(), 15u);
    EXPECT_EQ(store.Writes()[12], "SprayInfo\\Sample_Position1");
    EXPECT_EQ(store.Writes()[13], "SprayInfo\\Sample_Interval");
    EXPECT_EQ(store.Writes().back(), "SprayInfo\\Comment");
    EXPECT_EQ(store.GetSetting("SprayInfo", "Nozzle_Number", "?"), "42");
    EXPECT_EQ(store.GetSetting("SprayInfo", "AC_Owner", "?"), "") << "saved empty, not absent";
}

// From the preferences the spread factor goes back to their boxes on Accept and is left there on
// Cancel; only the preferences' own Accept applies it.
TEST_F(SprayInfoRulesTest, FromThePreferencesAcceptFillsTheirBoxesAndCancelLeavesThem)
{
    for (const bool accept : {true, false}) {
        std::array<std::string, 3> prefsBoxes{"0.10", "0.50", "0.00"};
        SprayInfoRules r = Opened(PrefsSprayLink{&prefsBoxes, !accept});
        EXPECT_TRUE(r.SprayFromPrefs());
        EXPECT_EQ(r.SpreadText[0], "0.10");
        FillSampling(r, "0", "3");
        r.SpreadText[1] = "0.7";
        if (accept) {
            EXPECT_EQ(r.UnitLabel(SprayField::AC_Swath), "ft") << "the units not yet accepted";
            EXPECT_FALSE(r.AcceptClicked());
        } else {
            r.CancelClicked();
        }
        EXPECT_EQ(r.Accept, accept);
        EXPECT_EQ(prefsBoxes[1], accept ? "0.7" : "0.50");
        EXPECT_DOUBLE_EQ(ws.SpreadFactor[1], 0.56);
        EXPECT_EQ(store.Writes().size(), 15u) << "the record is stored at once, nothing more after Cancel";
    }
}
