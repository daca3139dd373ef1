#pragma once
// The rules of the preferences dialog: the controls as copies of the holders, the resolution's
// conversion label, the leave rules of the boxes, the ordered Accept, and what the caller must
// redraw afterwards.

#include "core/workspace.h"
#include "dialogs/sprayinforules.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace velmara {

// The list lines of the resolution box.
inline constexpr std::array<const char *, 6> kResolutionList{"150", "300", "600", "900", "1200",
                                                            "2400"};

// Micrometres per pixel at a resolution in dots per inch: 12 inches a foot, 3.2808 feet a metre.
double MicronsPerPixel(double dpi);

// "= 21.17 µm/pixel" for the text "1200"; a bare "=" for text that is no number, above 32500, or 0.
std::string ConversionLabelText(const std::string &resolutionText);

// The COV limit box takes a percentage in this range, decimals allowed.
inline constexpr double kCovLimitLow = 1;
inline constexpr double kCovLimitHigh = 100;
// Characters that may be typed into the COV limit box: "100" or "12.375".
inline constexpr int kCovLimitMaxLength = 6;

// The holders that the effect on the loaded cards compares: taken before the dialog opens.
struct PrefsSnapshot
{
    bool Metric = true;
    std::string Sample_Position1;
    std::string Sample_Interval;
    double CovLimit = 25;
};
PrefsSnapshot TakePrefsSnapshot(const Workspace &ws);

// One redraw the main window runs after the dialog, in the order given.
enum class PrefsRedraw { DrawLineChart, BuildSwathTables, DrawSwathView, UpdateStatsLabels };

struct PrefsEffect
{
    // Every card's Position is to be recomputed from the two sampling texts, before the redraws.
    bool AssignPositions = false;
    std::vector<PrefsRedraw> Redraws;
};

// What the closed dialog (accepted or not: the spray view stores at once) means for the cards
// on show. onFirstTab: the composite view shows its first tab (the line chart). A new COV limit
// moves the effective swath, so the swath tab is rebuilt and redrawn.
PrefsEffect PrefsEffectAfterClose(const PrefsSnapshot &before, const Workspace &ws, bool onFirstTab);

class PrefsRules
{
public:
    explicit PrefsRules(Workspace &ws);

    // Fills the controls from the holders.
    void Open();

    // Controls, as the widget shows them.
    std::string ResCombo;
    std::string ConversionLabel = "=";
    bool UnitsMetric = true;   // UnitsOption(1); UnitsOption(2) is the other choice
    bool LogCheck = true;
    bool AppendOption = false; // Option1(1) "Append"; Option1(2) "Overwrite" otherwise
    bool LogInfoCheck = false;
    std::array<std::string, 3> SpreadText;
    std::string txtRoundness;
    std::string txtHues;
    bool ColourScansCheck = false;
    bool UseFileResolutionCheck = false;
    bool SplitOverlapsCheck = false;
    bool ExtendedResultsCheck = false;
    std::string txtCovLimit;

    // The control that takes the focus after a refused Accept.
    enum class Control { ResCombo, CovLimit };

    // Option1, LogInfoCheck and ViewSprayButton are usable only with LogCheck; they keep their state.
    bool LogDependentsEnabled() const { return LogCheck; }

    // Each change of the resolution text, typed or chosen from the list.
    void ResComboChanged(const std::string &text);
    // Leaving the resolution box: the message to show (the focus returns to the box), or nullopt.
    std::optional<std::string> LeaveResCombo() const;
    void LeaveSpreadText(int index);
    void LeaveRoundness();
    void LeaveHues();
    // No number gives back the holder's value; a number out of range stays for Accept to refuse.
    void LeaveCovLimit();

    // For the spray dialog opened by "View Spray Info.".
    PrefsSprayLink SprayLink() { return PrefsSprayLink{&SpreadText, UnitsMetric}; }

    // Applies the controls in order, the four check boxes and the COV limit last. On a failed
    // conversion: the message (the focus goes to FocusAfterFailure(), the dialog stays open, and
    // what was applied before stays applied). nullopt when everything was applied and the dialog
    // closes.
    std::optional<std::string> AcceptClicked();
    Control FocusAfterFailure() const { return mFocusAfterFailure; }

private:
    Workspace &mWs;
    Control mFocusAfterFailure = Control::ResCombo;
};

} // namespace velmara
