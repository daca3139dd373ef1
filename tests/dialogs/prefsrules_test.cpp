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
    ws.Metric = false;
    ws.LogAnalysis = false;
    ws.SpreadFactor = {0.0, 0.5, 0.000125};
    ws.HueThreshold = 7;
    ws.SplitOverlaps = true;
    ws.CovLimit = 12.5;
    PrefsRules p(ws);
    p.Open();
    EXPECT_EQ(p.ResCombo, "800") << "a value off the list stands as typed text";
    EXPECT_EQ(p.ConversionLabel, "= 31.75 \u00b5m/pixel");
    EXPECT_FALSE(p.UnitsMetric);
    EXPECT_FALSE(p.LogDependentsEnabled());
    EXPECT_EQ(p.SpreadText[0], "0.00");
    EXPECT_EQ(p.SpreadText[2], "0.000125");
    EXPECT_EQ(std::tuple(p.ColourScansCheck, p.UseFileResolutionCheck, p.SplitOverlapsCheck, p.ExtendedResultsCheck),
              std::tuple(false, false, true, false));
    EXPECT_EQ(p.txtCovLimit, "12.5");

    p.ResComboChanged("0");
    EXPECT_FALSE(p.LeaveResCombo());
    p.txtHues = "";
    p.LeaveHues();
    EXPECT_EQ(p.txtHues, "7") << "no number gives back the stored value";
    p.txtHues = "250";
    p.LeaveHues();
    EXPECT_EQ(p.txtHues, "100");
    p.SpreadText[1] = "x";
    p.LeaveSpreadText(1);
    EXPECT_EQ(p.SpreadText[1], "0.50");
    p.SpreadText[1] = "-.25";
    p.LeaveSpreadText(1);
    EXPECT_EQ(p.SpreadText[1], "-0.25");
    // The COV limit is not clamped on leaving: Accept refuses what lies out of range.
    for (const auto &[typed, left] : {std::pair{"", "12.5"}, {".", "12.5"}, {"150", "150"}, {"7.25", "7.25"}}) {
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
    const struct { const char *text; bool taken; double limit; } cases[] = {
        {"1", true, 1}, {"100", true, 100}, {"12.5", true, 12.5},
        {"0.99", false, 25}, {"100.01", false, 25}, {"", false, 25},
    };
    for (const auto &c : cases) {
        Workspace ws;
        PrefsRules p(ws);
        p.Open();
        p.ColourScansCheck = p.ExtendedResultsCheck = true;
        p.txtCovLimit = c.text;
        const auto refused = p.AcceptClicked();
        EXPECT_EQ(refused.value_or("taken"), c.taken ? "taken" : "One of the values is invalid") << c.text;
        EXPECT_EQ(p.FocusAfterFailure(), c.taken ? PrefsRules::Control::ResCombo : PrefsRules::Control::CovLimit);
        EXPECT_EQ(ws.CovLimit, c.limit) << c.text;
        EXPECT_TRUE(ws.ColourScans && ws.ExtendedResults) << "applied before the limit";
        EXPECT_FALSE(ws.UseFileResolution || ws.SplitOverlaps);
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
    auto e = PrefsEffectAfterClose(before, ws, true);
    EXPECT_EQ(e.Redraws, std::vector<PrefsRedraw>{PrefsRedraw::UpdateStatsLabels});

    // The line changed through the spray view, composite view on the second tab.
    ws.CompositeCheck = true;
    ws.Spray.Sample_Interval = "5";
    e = PrefsEffectAfterClose(before, ws, false);
    EXPECT_TRUE(e.AssignPositions);
    EXPECT_EQ(e.Redraws, (std::vector<PrefsRedraw>{PrefsRedraw::BuildSwathTables,
                                                   PrefsRedraw::DrawSwathView,
                                                   PrefsRedraw::DrawSwathView}));
    e = PrefsEffectAfterClose(before, ws, true);
    EXPECT_EQ(e.Redraws, (std::vector<PrefsRedraw>{PrefsRedraw::DrawLineChart,
                                                   PrefsRedraw::DrawLineChart,
                                                   PrefsRedraw::UpdateStatsLabels}));

    // The line changed outside the composite view: positions wait for its next entry.
    ws.CompositeCheck = false;
    ws.Metric = true;
    EXPECT_FALSE(PrefsEffectAfterClose(before, ws, true).AssignPositions);

    // A new COV limit moves the effective swath: only the swath tab shows it.
    ws.CompositeCheck = true;
    ws.Spray.Sample_Interval = before.Sample_Interval;
    ws.CovLimit = 30;
    EXPECT_TRUE(PrefsEffectAfterClose(before, ws, true).Redraws.empty());
    EXPECT_EQ(PrefsEffectAfterClose(before, ws, false).Redraws,
              (std::vector<PrefsRedraw>{PrefsRedraw::BuildSwathTables, PrefsRedraw::DrawSwathView}));

    // Units changed with no card loaded: nothing to redraw.
    Workspace empty;
    const PrefsSnapshot b2 = TakePrefsSnapshot(empty);
    empty.Metric = false;
    EXPECT_TRUE(PrefsEffectAfterClose(b2, empty, true).Redraws.empty());
}
