#include "dialogs/prefsrules.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace velmara;

TEST(ConversionLabel, PixelSizeOrBareSign)
{
    EXPECT_EQ(ConversionLabelText("1200"), "= 21.17 \u00b5m/pixel");
    EXPECT_EQ(ConversionLabelText("32500"), "= 0.78 \u00b5m/pixel");
    for (const char *bare : {"0", "40000", "32501", "", "abc", "12x"})
        EXPECT_EQ(ConversionLabelText(bare), "=") << bare;
}

TEST(PrefsRules, OpeningMirrorsTheHoldersAndLeaveRules)
{
    Workspace ws;
    ws.DefaultRes = 800;
    ws.LogAnalysis = false;
    ws.SpreadFactor = {0.0, 0.5, 0.000125};
    ws.HueThreshold = 7;
    ws.SplitOverlaps = true;
    ws.CovLimit = 12.5;
    PrefsRules p(ws);
    p.Open();
    EXPECT_EQ(p.ResCombo, "800") << "a value off the list stands as typed text";
    EXPECT_EQ(p.ConversionLabel, "= 31.75 \u00b5m/pixel");
    EXPECT_FALSE(p.LogDependentsEnabled());
    EXPECT_EQ(std::tuple(p.SpreadText[0], p.SpreadText[2]), std::tuple("0.00", "0.000125"));
    EXPECT_EQ(std::tuple(p.ColourScansCheck, p.SplitOverlapsCheck, p.txtCovLimit), std::tuple(false, true, "12.5"));

    p.txtHues = "";
    p.LeaveHues();
    EXPECT_EQ(p.txtHues, "7") << "no number gives back the stored value";
    p.txtHues = "250";
    p.LeaveHues();
    EXPECT_EQ(p.txtHues, "100");
    p.SpreadText[1] = "x";
    p.LeaveSpreadText(1);
    EXPECT_EQ(p.SpreadText[1], "0.50");
    // The COV limit is not clamped on leaving: Accept refuses what lies out of range.
    for (const auto &[typed, left] : {std::pair{"", "12.5"}, {"150", "150"}}) {
        p.txtCovLimit = typed;
        p.LeaveCovLimit();
        EXPECT_EQ(p.txtCovLimit, left) << typed;
    }
}

TEST(PrefsRules, AcceptAppliesInOrderAndStopsAtAFailedConversion)
{
    Workspace ws;
    PrefsRules p(ws);
    p.Open();
    p.UnitsMetric = false;
    p.ResComboChanged("40000");
    p.LogCheck = false;
    EXPECT_EQ(p.AcceptClicked().value(), "One of the values is invalid");
    EXPECT_FALSE(ws.Metric) << "applied before the failure, stays applied";
    EXPECT_EQ(ws.DefaultRes, 1200);
    EXPECT_TRUE(ws.LogAnalysis) << "after the failure, not applied";

    // Enter skips the leave rules: an empty box or a value above 255 fails at Accept.
    p.ResComboChanged("600");
    p.SpreadText[2] = "";
    EXPECT_TRUE(p.AcceptClicked());
    EXPECT_EQ(ws.DefaultRes, 600);
    EXPECT_FALSE(ws.LogAnalysis);
    EXPECT_DOUBLE_EQ(ws.SpreadFactor[0], 0.0);
    p.SpreadText[2] = "0.01";
    p.txtHues = "256";
    EXPECT_TRUE(p.AcceptClicked());
    EXPECT_DOUBLE_EQ(ws.SpreadFactor[2], 0.01);
    EXPECT_EQ(ws.HueThreshold, 0);

    // 101 to 255 is taken unchanged; a resolution of 0 is accepted.
    p.txtHues = "200";
    p.ResComboChanged("0");
    EXPECT_FALSE(p.AcceptClicked());
    EXPECT_EQ(ws.HueThreshold, 200);
    EXPECT_EQ(ws.DefaultRes, 0);

    // An unchecked log keeps the state of the options depending on it.
    p.LogInfoCheck = true;
    p.AppendOption = true;
    EXPECT_FALSE(p.AcceptClicked());
    EXPECT_TRUE(ws.LogSprayInfo);
    EXPECT_TRUE(ws.Append);
}

// The COV limit comes last, after the check boxes; a refusal puts the focus on its own box.
TEST(PrefsRules, CovLimitAcceptsOneToHundred)
{
    for (const auto &[text, limit] : {std::pair{"1", 1.0}, {"100", 100.0}, {"0.99", 25.0}, {"100.01", 25.0}}) {
        Workspace ws;
        PrefsRules p(ws);
        p.Open();
        p.ColourScansCheck = true;
        p.txtCovLimit = text;
        const bool taken = !p.AcceptClicked();
        EXPECT_EQ(taken, limit != 25.0) << text;
        EXPECT_EQ(p.FocusAfterFailure(), taken ? PrefsRules::Control::ResCombo : PrefsRules::Control::CovLimit);
        EXPECT_EQ(ws.CovLimit, limit) << text;
        EXPECT_TRUE(ws.ColourScans) << "applied before the limit";
    }
}

TEST(PrefsEffect, WhatTheCallerRedraws)
{
    Workspace ws;
    ws.AppendCard();
    ws.Spray.Sample_Position1 = "-50";
    ws.Spray.Sample_Interval = "10";
    const PrefsSnapshot before = TakePrefsSnapshot(ws);
    EXPECT_TRUE(PrefsEffectAfterClose(before, ws, true).Redraws.empty()); // nothing changed

    // Units changed in the single-card view: only the statistics labels.
    ws.Metric = false;
    EXPECT_EQ(PrefsEffectAfterClose(before, ws, true).Redraws, std::vector<PrefsRedraw>{PrefsRedraw::UpdateStatsLabels});

    // The line changed in the composite view, on the swath tab and on the line chart.
    ws.CompositeCheck = true;
    ws.Spray.Sample_Interval = "5";
    auto e = PrefsEffectAfterClose(before, ws, false);
    EXPECT_TRUE(e.AssignPositions);
    EXPECT_EQ(e.Redraws, (std::vector<PrefsRedraw>{PrefsRedraw::BuildSwathTables, PrefsRedraw::DrawSwathView,
                                                   PrefsRedraw::DrawSwathView}));
    EXPECT_EQ(PrefsEffectAfterClose(before, ws, true).Redraws,
              (std::vector<PrefsRedraw>{PrefsRedraw::DrawLineChart, PrefsRedraw::DrawLineChart,
                                        PrefsRedraw::UpdateStatsLabels}));
    // Outside the composite view positions wait for its next entry.
    ws.CompositeCheck = false;
    EXPECT_FALSE(PrefsEffectAfterClose(before, ws, true).AssignPositions);

    // A new COV limit moves the effective swath: only the swath tab shows it.
    ws.CompositeCheck = true;
    ws.Metric = true;
    ws.Spray.Sample_Interval = before.Sample_Interval;
    ws.CovLimit = 30;
    EXPECT_TRUE(PrefsEffectAfterClose(before, ws, true).Redraws.empty());
    EXPECT_EQ(PrefsEffectAfterClose(before, ws, false).Redraws,
              (std::vector<PrefsRedraw>{PrefsRedraw::BuildSwathTables, PrefsRedraw::DrawSwathView}));
}
