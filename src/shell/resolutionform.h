#pragma once
// The resolution dialog, "Image Resolution": every card with its resolution in a grid, edited in
// place, "Apply To All", red names for scanned cards that need a new scan, and the offer to scan
// them again on Accept. Its rules live in ResolutionRules.

#include "dialogs/resolutionrules.h"

#include <QDialog>

#include <functional>
#include <vector>

class QLineEdit;
class QPushButton;
class QTableWidget;

namespace velmara {

// Scans the given cards again (ascending indexes, possibly none) and then runs the refresh the scan
// commands run: CalcCompositeAll, the range, CurrentVMD, DrawResult, the labels, a repaint.
using RescanCards = std::function<void(const std::vector<int> &cards)>;

class frmResolution : public QDialog
{
    Q_OBJECT
public:
    frmResolution(Workspace &ws, RescanCards rescan, QWidget *parent = nullptr);

    const ResolutionRules &rules() const { return mRules; }
    QTableWidget *grid() const { return ResolutionList; }
    QLineEdit *cellEdit() const { return CellEditText; }
    QPushButton *applyToAllButton() const { return MakeSameSizeButton; }
    QPushButton *acceptButton() const { return AcceptButton; }

    // Answers the rescan question without asking (tests and batch use); unset, the user is asked.
    void setRescanAnswer(std::function<bool()> answer) { mAnswer = std::move(answer); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void sync();
    void setHighlight(bool on);
    void acceptClicked();

    Workspace &mWs;
    RescanCards mRescan;
    std::function<bool()> mAnswer;
    ResolutionRules mRules;
    bool mSyncing = false;

    QTableWidget *ResolutionList = nullptr;
    QLineEdit *CellEditText = nullptr;
    QPushButton *MakeSameSizeButton = nullptr;
    QPushButton *AcceptButton = nullptr;
    QPushButton *CancelButton = nullptr;
};

// Opens the dialog modally, placed over the card picture (pictureGlobal, in global coordinates).
// Returns true when accepted: every card's Dpi, pixel sizes and area were rewritten, and rescan
// ran if the user agreed. Afterwards, accepted or not, the caller sets its caption again
// ("Orvinek Velmara -- ", the current card's FileName, " -- ", its Dpi, " dpi").
bool ShowResolutionForm(QWidget *parent, Workspace &ws, const QRect &pictureGlobal, RescanCards rescan);

} // namespace velmara
