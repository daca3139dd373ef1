#include "dialogs/prefsrules.h"

#include "core/numberform.h"
#include "dialogs/numbertext.h"

namespace velmara {

namespace {

const char *const kBadResolution = "Default Resolution must be a numeric value.";
const char *const kBadValue = "One of the values is invalid";

// A drop filter box left with its text: no number gives back the holder, above 100 is 100.
void leavePercent(std::string &text, Byte holder)
{
    const auto v = TextAsDouble(text);
    if (!v)
        text = std::to_string(holder);
    else if (*v > 100)
        text = "100";
}

// Enough places for any limit typed into the box, none forced on a whole number.
std::string covLimitText(double value) { return FormatNumber(value, "0.##########"); }

} // namespace

double MicronsPerPixel(double dpi) { return ((1.0 / dpi) / 12.0 / 3.2808) * 1000000.0; }

std::string ConversionLabelText(const std::string &resolutionText)
{
    const auto res = TextAsDouble(resolutionText);
    if (!res || *res > 32500 || *res == 0)
        return "=";
    return "= " + FormatNumber(ToSingle(MicronsPerPixel(*res)), "0.00") + " \u00b5m/pixel";
}

PrefsSnapshot TakePrefsSnapshot(const Workspace &ws)
{
    return PrefsSnapshot{ws.Metric, ws.Spray.Sample_Position1, ws.Spray.Sample_Interval, ws.CovLimit};
}

PrefsEffect PrefsEffectAfterClose(const PrefsSnapshot &before, const Workspace &ws, bool onFirstTab)
{
    PrefsEffect effect;
    const bool lineChanged = before.Sample_Position1 != ws.Spray.Sample_Position1
        || before.Sample_Interval != ws.Spray.Sample_Interval;
    if (ws.CompositeCheck && lineChanged) {
        effect.AssignPositions = true;
        if (onFirstTab) {
            effect.Redraws.push_back(PrefsRedraw::DrawLineChart);
        } else {
            effect.Redraws.push_back(PrefsRedraw::BuildSwathTables);
            effect.Redraws.push_back(PrefsRedraw::DrawSwathView);
        }
    } else if (ws.CompositeCheck && !onFirstTab && before.CovLimit != ws.CovLimit) {
        effect.Redraws.push_back(PrefsRedraw::BuildSwathTables);
        effect.Redraws.push_back(PrefsRedraw::DrawSwathView);
    }
    if (before.Metric != ws.Metric && ws.CardCount() > 0) {
        if (!ws.CompositeCheck) {
            effect.Redraws.push_back(PrefsRedraw::UpdateStatsLabels);
        } else if (onFirstTab) {
            effect.Redraws.push_back(PrefsRedraw::DrawLineChart);
            effect.Redraws.push_back(PrefsRedraw::UpdateStatsLabels);
        } else {
            effect.Redraws.push_back(PrefsRedraw::DrawSwathView);
        }
    }
    return effect;
}

PrefsRules::PrefsRules(Workspace &ws) : mWs(ws) {}

void PrefsRules::Open()
{
    // A value on the list or not, the box reads the value itself.
    ResComboChanged(std::to_string(mWs.DefaultRes));
    UnitsMetric = mWs.Metric;
    LogCheck = mWs.LogAnalysis;
    AppendOption = mWs.Append;
    LogInfoCheck = mWs.LogSprayInfo;
    for (size_t i = 0; i < 3; ++i)
        SpreadText[i] = FormatNumber(mWs.SpreadFactor[i], "0.00##########");
    txtRoundness = std::to_string(mWs.ShapeThreshold);
    txtHues = std::to_string(mWs.HueThreshold);
    ColourScansCheck = mWs.ColourScans;
    UseFileResolutionCheck = mWs.UseFileResolution;
    SplitOverlapsCheck = mWs.SplitOverlaps;
    ExtendedResultsCheck = mWs.ExtendedResults;
    txtCovLimit = covLimitText(mWs.CovLimit);
}

void PrefsRules::ResComboChanged(const std::string &text)
{
    ResCombo = text;
    ConversionLabel = ConversionLabelText(text);
}

std::optional<std::string> PrefsRules::LeaveResCombo() const
{
    if (!TextIsNumeric(ResCombo))
        return std::string(kBadResolution);
    return std::nullopt;
}

void PrefsRules::LeaveSpreadText(int index)
{
    if (index < 0 || index > 2)
        return;
    std::string &text = SpreadText[static_cast<size_t>(index)];
    const auto v = TextAsDouble(text);
    text = FormatNumber(v ? *v : mWs.SpreadFactor[static_cast<size_t>(index)], "0.00##########");
}

void PrefsRules::LeaveRoundness() { leavePercent(txtRoundness, mWs.ShapeThreshold); }

void PrefsRules::LeaveHues() { leavePercent(txtHues, mWs.HueThreshold); }

void PrefsRules::LeaveCovLimit()
{
    if (!TextIsNumeric(txtCovLimit))
        txtCovLimit = covLimitText(mWs.CovLimit);
}

std::optional<std::string> PrefsRules::AcceptClicked()
{
    mFocusAfterFailure = Control::ResCombo;
    mWs.Metric = UnitsMetric;
    // A resolution of 0 is taken: the loading of later cards refuses them and points here.
    const auto res = TextAsInteger(ResCombo);
    if (!res)
        return std::string(kBadValue);
    mWs.DefaultRes = *res;
    mWs.LogAnalysis = LogCheck;
    mWs.Append = AppendOption;
    mWs.LogSprayInfo = LogInfoCheck;
    for (size_t i = 0; i < 3; ++i) {
        const auto v = TextAsDouble(SpreadText[i]);
        if (!v)
            return std::string(kBadValue);
        mWs.SpreadFactor[i] = *v;
    }
    const auto shape = TextAsByte(txtRoundness);
    if (!shape)
        return std::string(kBadValue);
    mWs.ShapeThreshold = *shape;
    const auto hue = TextAsByte(txtHues);
    if (!hue)
        return std::string(kBadValue);
    mWs.HueThreshold = *hue;
    mWs.ColourScans = ColourScansCheck;
    mWs.UseFileResolution = UseFileResolutionCheck;
    mWs.SplitOverlaps = SplitOverlapsCheck;
    mWs.ExtendedResults = ExtendedResultsCheck;
    const auto limit = TextAsDouble(txtCovLimit);
    if (!limit || !(*limit >= kCovLimitLow && *limit <= kCovLimitHigh)) {
        mFocusAfterFailure = Control::CovLimit;
        return std::string(kBadValue);
    }
    mWs.CovLimit = *limit;
    return std::nullopt;
}

} // namespace velmara
