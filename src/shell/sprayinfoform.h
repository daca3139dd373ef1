#pragma once
// The spray information dialog, "Spray Information": the fifteen fields of the spray record in
// their frames, the spread-factor boxes, Reset Values, Accept and Cancel. Its rules live in
// SprayInfoRules; this widget copies the boxes in and out.

#include "dialogs/sprayinforules.h"

#include <QDialog>

#include <array>
#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;

namespace velmara {

class SprayInfoForm : public QDialog
{
    Q_OBJECT
public:
    // prefs: set when the preferences dialog opens this one through its "View Spray Info." button.
    SprayInfoForm(Workspace &ws, SettingsAccess &settings,
                  std::optional<PrefsSprayLink> prefs = std::nullopt, QWidget *parent = nullptr);

    // True when the dialog ended by Accept; readable after it closed.
    bool Accept() const { return mRules.Accept; }

    QLineEdit *box(SprayField field) const { return mBoxes[static_cast<size_t>(field)]; }
    QLineEdit *spreadBox(int i) const { return SpreadText[static_cast<size_t>(i)]; }
    QPushButton *acceptButton() const { return AcceptButton; }

private:
    QChar pointOf(size_t field) const;
    void pullBoxes();
    void pushBoxes();
    void acceptClicked();

    SprayInfoRules mRules;
    QChar mPoint;
    std::array<QLineEdit *, kSprayFieldCount> mBoxes{};
    std::array<QLineEdit *, 3> SpreadText{};
    std::array<QLabel *, kSprayFieldCount> mUnitLabels{};
    QPushButton *AcceptButton = nullptr;
    QPushButton *CancelButton = nullptr;
    QPushButton *ResetButton = nullptr;
};

// Opens the dialog modally over parent for the ordinary callers (the scan commands, the results
// file, the report). Returns the Accept flag: true when the record was validated and stored.
// After true the scan commands call AssignCardPositions before scanning.
bool ShowSprayInfoForm(QWidget *parent, Workspace &ws, SettingsAccess &settings);

} // namespace velmara
