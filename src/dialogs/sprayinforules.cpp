#include "dialogs/sprayinforules.h"

#include "core/numberform.h"
#include "dialogs/numbertext.h"
#include "statistics/line.h"

namespace velmara {

namespace {

const char *const kSection = "SprayInfo";

const std::array<SprayFieldInfo, kSprayFieldCount> kFields{{
    {"AC_Type", "Type:", "", "", EntryKind::Free, 0},
    {"AC_Registration", "Registration:", "", "", EntryKind::Free, 0},
    {"AC_Owner", "Owner:", "", "", EntryKind::Free, 0},
    {"AC_Swath", "Swath:", "m", "ft", EntryKind::Decimal, 0},
    {"AC_Speed", "Speed:", "km/h", "mph", EntryKind::Decimal, 0},
    {"AC_Height", "Height:", "m", "ft", EntryKind::Decimal, 0},
    {"Spray_Product", "Product:", "", "", EntryKind::Free, 0},
    {"Spray_ActiveRate", "Active Rate:", "L/ha", "oz/ac", EntryKind::Decimal, 0},
    {"Spray_SprayRate", "Spray Rate:", "L/ha", "oz/ac", EntryKind::Decimal, 0},
    {"Nozzle_Type", "Type:", "", "", EntryKind::Free, 0},
    {"Nozzle_Number", "Number:", "", "", EntryKind::Digits, 0},
    {"Sampler_Type", "Type:", "", "", EntryKind::Free, 0},
    {"Sample_Position1", "Position of Sampler1:", "m", "ft", EntryKind::SignedDecimal, 0},
    {"Sample_Interval", "Sampler Separation:", "m", "ft", EntryKind::Decimal, 0},
    {"Comment", "", "", "", EntryKind::Free, 100},
}};

const char *const kBadSpread = "Invalid Spread Factor value.";
const char *const kBadPosition = "Invalid Sampler1 position.";
const char *const kBadInterval = "Invalid Sampler Interval value.";

} // namespace

const SprayFieldInfo &SprayFieldTable(SprayField field)
{
    return kFields[static_cast<size_t>(field)];
}

std::string &SprayFieldText(SprayInfo &r, SprayField field)
{
    switch (field) {
    case SprayField::AC_Type: return r.AC_Type;
    case SprayField::AC_Registration: return r.AC_Registration;
    case SprayField::AC_Owner: return r.AC_Owner;
    case SprayField::AC_Swath: return r.AC_Swath;
    case SprayField::AC_Speed: return r.AC_Speed;
    case SprayField::AC_Height: return r.AC_Height;
    case SprayField::Spray_Product: return r.Spray_Product;
    case SprayField::Spray_ActiveRate: return r.Spray_ActiveRate;
    case SprayField::Spray_SprayRate: return r.Spray_SprayRate;
    case SprayField::Nozzle_Type: return r.Nozzle_Type;
    case SprayField::Nozzle_Number: return r.Nozzle_Number;
    case SprayField::Sampler_Type: return r.Sampler_Type;
    case SprayField::Sample_Position1: return r.Sample_Position1;
    case SprayField::Sample_Interval: return r.Sample_Interval;
    case SprayField::Comment: break;
    }
    return r.Comment;
}

const std::string &SprayFieldText(const SprayInfo &r, SprayField field)
{
    return SprayFieldText(const_cast<SprayInfo &>(r), field);
}

SprayInfoRules::SprayInfoRules(Workspace &ws, SettingsAccess &settings,
                               std::optional<PrefsSprayLink> prefs)
    : mWs(ws), mSettings(settings), mPrefs(prefs)
{
}

void SprayInfoRules::Open()
{
    Accept = false;
    for (int f = 0; f < kSprayFieldCount; ++f)
        Box[static_cast<size_t>(f)] = SprayFieldText(mWs.Spray, static_cast<SprayField>(f));
    // The sampling boxes show the stored line, not the one in memory: the card position dialog
    // may have set memory without the user seeing it here.
    for (SprayField f : {SprayField::Sample_Position1, SprayField::Sample_Interval})
        BoxText(f) = FormatIfNumeric(mSettings.GetSetting(kSection, SprayFieldTable(f).Key, ""), "0.0");

    if (mPrefs && mPrefs->SpreadText) {
        SpreadText = *mPrefs->SpreadText;
        MetricUnits = mPrefs->Metric;
    } else {
        for (size_t i = 0; i < 3; ++i)
            SpreadText[i] = FormatNumber(mWs.SpreadFactor[i], "0.0###########");
        MetricUnits = mWs.Metric;
    }
}

std::string SprayInfoRules::UnitLabel(SprayField field) const
{
    const SprayFieldInfo &info = SprayFieldTable(field);
    return MetricUnits ? info.MetricUnit : info.UsUnit;
}

void SprayInfoRules::LeaveSpreadText(int index)
{
    if (index < 0 || index > 2)
        return;
    std::string &text = SpreadText[static_cast<size_t>(index)];
    text = FormatIfNumeric(text, "0.00#####");
}

void SprayInfoRules::LeaveSampleInput(int n)
{
    if (n != 1 && n != 2)
        return;
    std::string &text = BoxText(n == 1 ? SprayField::Sample_Position1 : SprayField::Sample_Interval);
    text = FormatIfNumeric(text, "0.0");
}

void SprayInfoRules::ResetValues()
{
    for (std::string &text : Box)
        text.clear();
    for (std::string &text : SpreadText)
        text.clear();
}

std::optional<SprayProblem> SprayInfoRules::ValidateSprayInfo() const
{
    for (int i = 0; i < 3; ++i)
        if (!TextIsNumeric(SpreadText[static_cast<size_t>(i)]))
            return SprayProblem{kBadSpread, static_cast<SprayFocus>(i)};
    const std::string &position = Box[static_cast<size_t>(SprayField::Sample_Position1)];
    const std::string &interval = Box[static_cast<size_t>(SprayField::Sample_Interval)];
    // The line is read as the analysis reads it, as Singles: a number beyond that range, or a line
    // that the analysis could not lay out, is refused here rather than failing at the scan.
    const auto first = TextAsSingle(position);
    if (!first)
        return SprayProblem{kBadPosition, SprayFocus::SampleInput1};
    const auto spacing = TextAsSingle(interval);
    if (!spacing || !SamplingLineUsable(*first, *spacing))
        return SprayProblem{kBadInterval, SprayFocus::SampleInput2};
    return std::nullopt;
}

void SprayInfoRules::StoreSprayInfo()
{
    for (int f = 0; f < kSprayFieldCount; ++f)
        SprayFieldText(mWs.Spray, static_cast<SprayField>(f)) = Box[static_cast<size_t>(f)];
    mSettings.SaveSprayInfo(mWs);
    if (mPrefs && mPrefs->SpreadText) {
        // The preferences take the coefficients only when they are accepted themselves.
        *mPrefs->SpreadText = SpreadText;
    } else {
        for (size_t i = 0; i < 3; ++i)
            mWs.SpreadFactor[i] = TextAsDouble(SpreadText[i]).value_or(mWs.SpreadFactor[i]);
    }
}

std::optional<SprayProblem> SprayInfoRules::AcceptClicked()
{
    if (auto problem = ValidateSprayInfo())
        return problem;
    StoreSprayInfo();
    Accept = true;
    return std::nullopt;
}

} // namespace velmara
