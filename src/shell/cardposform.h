#pragma once
// The card position dialog, "Card Positions": the first card's position and the spacing, with the
// grid of all positions as they would be stored. Its rules live in CardPosRules.

#include "dialogs/cardposrules.h"

#include <QDialog>

class QLabel;
class QLineEdit;
class QPushButton;
class QTableWidget;

namespace velmara {

class frmCardPos : public QDialog
{
    Q_OBJECT
public:
    frmCardPos(Workspace &ws, SettingsAccess &settings, CardPosMode mode, QWidget *parent = nullptr);

    const CardPosRules &rules() const { return mRules; }
    QTableWidget *grid() const { return PositionList; }
    QLineEdit *input(int n) const { return txtInput[n]; }
    QPushButton *acceptButton() const { return AcceptButton; }
    QPushButton *cancelButton() const { return CancelButton; }

    // Takes the close command away: with the disabled Cancel, Accept is the only way out.
    void RemoveMenus();

public slots:
    void reject() override;

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void pull();
    void push();

    CardPosRules mRules;
    CardPosMode mMode;
    QChar mPoint; // decimal separator of the numbers shown; the rules keep the point
    bool mFrameClose = false; // the frame's close command is the way being taken out

    QTableWidget *PositionList = nullptr;
    QLineEdit *txtInput[3] = {};
    QLabel *lblUnits[3] = {};
    QPushButton *AcceptButton = nullptr;
    QPushButton *CancelButton = nullptr;
};

// Opens the dialog modally, placed over the card picture (pictureGlobal, in global coordinates).
// Modes: Ordinary (btnWriteComposite, btnChangeRes in the composite view); NoCancel (two cards on
// one position); AcceptOnly (entering the composite view without a sampling line). Returns true
// when accepted: every card's Position, Sample_Position1 and Sample_Interval were set and stored.
bool ShowCardPosForm(QWidget *parent, Workspace &ws, SettingsAccess &settings, CardPosMode mode,
                     const QRect &pictureGlobal);

} // namespace velmara
