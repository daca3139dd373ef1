#pragma once
// The rules of the spray information dialog: what its boxes show on opening, how they are tidied
// when left, the checks on Accept and what Accept stores. The widget copies its boxes to and from
// this object; nothing here needs a window.

#include "core/workspace.h"
#include "dialogs/numerickeyfilter.h"
#include "dialogs/settingsaccess.h"

#include <array>
#include <optional>
#include <string>

namespace velmara {

// The fifteen fields of the spray record, in record order (the order of the store too).
enum class SprayField {
    AC_Type, AC_Registration, AC_Owner, AC_Swath, AC_Speed, AC_Height,
    Spray_Product, Spray_ActiveRate, Spray_SprayRate,
    Nozzle_Type, Nozzle_Number, Sampler_Type,
    Sample_Position1, Sample_Interval, Comment,
};
inline constexpr int kSprayFieldCount = 15;

// What the dialog knows of one field.
struct SprayFieldInfo
{
    const char *Key;         // field name and settings key
    const char *Label;       // caption in front of the box ("" for the comment, whose frame names it)
    const char *MetricUnit;  // unit label, "" when the field has none
    const char *UsUnit;
    EntryKind Entry;
    int MaxLength;           // 0: no limit
};
const SprayFieldInfo &SprayFieldTable(SprayField field);

std::string &SprayFieldText(SprayInfo &record, SprayField field);
const std::string &SprayFieldText(const SprayInfo &record, SprayField field);

// Spread-factor boxes: typed-length limits of entries 0, 1, 2.
inline constexpr std::array<int, 3> kSpreadTextMaxLength{6, 8, 10};

// The boxes that a failed check gives the focus to.
enum class SprayFocus { SpreadText0, SpreadText1, SpreadText2, SampleInput1, SampleInput2 };

struct SprayProblem
{
    std::string Message;
    SprayFocus Focus;
};

// The preferences dialog, while the spray dialog runs on its behalf: its spread-factor boxes (read
// on opening, written on Accept) and its units choice not yet accepted.
struct PrefsSprayLink
{
    std::array<std::string, 3> *SpreadText = nullptr;
    bool Metric = true;
};

class SprayInfoRules
{
public:
    // A null prefs link is the ordinary dialog; a link is the preferences' view of the record.
    SprayInfoRules(Workspace &ws, SettingsAccess &settings,
                   std::optional<PrefsSprayLink> prefs = std::nullopt);

    // Fills the boxes and the unit labels.
    void Open();

    // Box contents, as the widget shows them.
    std::array<std::string, kSprayFieldCount> Box;
    std::array<std::string, 3> SpreadText;
    bool MetricUnits = false; // unit labels show the metric captions

    std::string &BoxText(SprayField field) { return Box[static_cast<size_t>(field)]; }
    // Unit label of a field under the present units; "" for fields without one.
    std::string UnitLabel(SprayField field) const;

    bool SprayFromPrefs() const { return mPrefs.has_value(); }

    // Leave rules: numeric text is rewritten in the box's form, other text stays for Accept.
    void LeaveSpreadText(int index);
    void LeaveSampleInput(int n); // n: 1 position, 2 separation

    // "Reset Values": every box empty, the spread-factor boxes included; nothing is stored.
    void ResetValues();

    // The six checks, first failure only; nullopt when all pass.
    std::optional<SprayProblem> ValidateSprayInfo() const;
    // Copies the boxes into the record, saves it, then hands the spread factor over.
    void StoreSprayInfo();

    // The Accept button: nullopt and Accept true when stored; else the problem to show, and the
    // dialog stays open.
    std::optional<SprayProblem> AcceptClicked();
    void CancelClicked() { Accept = false; }

    // True when the dialog ended by Accept.
    bool Accept = false;

private:
    Workspace &mWs;
    SettingsAccess &mSettings;
    std::optional<PrefsSprayLink> mPrefs;
};

} // namespace velmara
