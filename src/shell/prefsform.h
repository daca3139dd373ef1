#pragma once
// The preferences dialog, "Preferences": default resolution with its pixel size, units, logging,
// the spread factor, the drop filters, and the analysis options (colour scans, the file's own
// resolution, overlap splitting, extended results, the COV limit). Its rules live in PrefsRules.

#include "dialogs/prefsrules.h"

#include <QDialog>

#include <array>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace velmara {

class frmPrefs : public QDialog
{
    Q_OBJECT
public:
    frmPrefs(Workspace &ws, SettingsAccess &settings, QWidget *parent = nullptr);

    QComboBox *resCombo() const { return ResCombo; }
    QLabel *conversionLabel() const { return ConversionLabel; }
    QLineEdit *spreadBox(int i) const { return SpreadText[static_cast<size_t>(i)]; }
    QLineEdit *huesBox() const { return txtHues; }
    QLineEdit *covLimitBox() const { return txtCovLimit; }
    QPushButton *acceptButton() const { return AcceptButton; }

private:
    void pull();
    void push();
    void enableLogDependents();
    void acceptClicked();
    void viewSprayInfo();
    void showResolutionProblem();

    Workspace &mWs;
    SettingsAccess &mSettings;
    PrefsRules mRules;
    QChar mPoint; // decimal separator of the numbers shown; the rules keep the point
    bool mResolutionProblem = false; // a leave of ResCombo left a message to show

    QComboBox *ResCombo = nullptr;
    QLabel *ConversionLabel = nullptr;
    std::array<QRadioButton *, 2> UnitsOption{};
    QCheckBox *LogCheck = nullptr;
    std::array<QRadioButton *, 2> Option1{};
    QCheckBox *LogInfoCheck = nullptr;
    QPushButton *ViewSprayButton = nullptr;
    std::array<QLineEdit *, 3> SpreadText{};
    QLineEdit *txtRoundness = nullptr;
    QLineEdit *txtHues = nullptr;
    QCheckBox *ColourScansCheck = nullptr;
    QCheckBox *UseFileResolutionCheck = nullptr;
    QCheckBox *SplitOverlapsCheck = nullptr;
    QCheckBox *ExtendedResultsCheck = nullptr;
    QLineEdit *txtCovLimit = nullptr;
    QPushButton *AcceptButton = nullptr;
    QPushButton *CancelButton = nullptr;
};

struct PrefsOutcome
{
    bool Accepted = false;
    // What the main window redraws, accepted or not: the spray view may have stored a new line.
    PrefsEffect Effect;
};

// Opens the preferences modally over parent (btnPrefs, Ctrl+P). onFirstTab: the composite view
// shows its first tab. The caller applies the outcome's Effect: AssignCardPositions when asked,
// then the redraws in order. A DefaultRes of 0 is accepted here; loading refuses cards then.
PrefsOutcome ShowPrefsForm(QWidget *parent, Workspace &ws, SettingsAccess &settings, bool onFirstTab);

} // namespace velmara
