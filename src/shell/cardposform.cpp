#include "shell/cardposform.h"

#include "dialogs/dialogplacement.h"
#include "shell/numerickeyfilter.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace velmara {

frmCardPos::frmCardPos(Workspace &ws, SettingsAccess &settings, CardPosMode mode, QWidget *parent)
    : QDialog(parent), mRules(ws, settings), mMode(mode), mPoint(LocalePoint())
{
    setWindowTitle(QStringLiteral("Card Positions"));
    mRules.Open();

    const int rows = static_cast<int>(mRules.Rows.size());
    PositionList = new QTableWidget(rows, 2);
    PositionList->setObjectName(QStringLiteral("PositionList"));
    PositionList->horizontalHeader()->hide();
    PositionList->verticalHeader()->hide();
    PositionList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    PositionList->setSelectionBehavior(QAbstractItemView::SelectRows);
    PositionList->setSelectionMode(QAbstractItemView::SingleSelection);
    PositionList->setFocusPolicy(Qt::NoFocus); // a display only
    PositionList->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    PositionList->setVerticalScrollBarPolicy(GridNeedsScrollBar(rows) ? Qt::ScrollBarAlwaysOn
                                                                       : Qt::ScrollBarAlwaysOff);
    const QFontMetrics fm = PositionList->fontMetrics();
    int nameWidth = 150; // 2250 twips at least
    for (const auto &row : mRules.Rows)
        nameWidth = std::max(nameWidth, fm.horizontalAdvance(QString::fromStdString(row.Name)));
    const int valueWidth = fm.horizontalAdvance(QStringLiteral("-5000.0")) + 10;
    for (int r = 0; r < rows; ++r) {
        PositionList->setRowHeight(r, fm.height() + 4);
        auto *name = new QTableWidgetItem(QString::fromStdString(mRules.Rows[static_cast<size_t>(r)].Name));
        name->setBackground(palette().button()); // the fixed column
        PositionList->setItem(r, 0, name);
        auto *position = new QTableWidgetItem;
        position->setTextAlignment(Qt::AlignCenter);
        PositionList->setItem(r, 1, position);
    }
    PositionList->setColumnWidth(0, nameWidth + 8);
    PositionList->setColumnWidth(1, valueWidth);
    const int frame = 2 * PositionList->frameWidth();
    PositionList->setFixedSize(nameWidth + 8 + valueWidth + frame
                                   + (GridNeedsScrollBar(rows) ? kGridScrollBarWidth : 0),
                               std::max(1, GridVisibleRows(rows)) * (fm.height() + 4) + frame);

    auto *boxes = new QGridLayout;
    const char *const captions[3] = {"", "Card 1 Position:", "Card Spacing:"};
    for (int n = 1; n <= 2; ++n) {
        txtInput[n] = new QLineEdit;
        txtInput[n]->setObjectName(QStringLiteral("txtInput%1").arg(n));
        txtInput[n]->setMaximumWidth(fm.horizontalAdvance(QStringLiteral("-00000.0")) + 12);
        SetUpEntryBox(txtInput[n], n == 1 ? EntryKind::SignedDecimal : EntryKind::Decimal, 0, mPoint);
        auto *label = new QLabel(QString::fromLatin1(captions[n]));
        label->setBuddy(txtInput[n]);
        lblUnits[n] = new QLabel(QString::fromStdString(mRules.UnitsLabel));
        boxes->addWidget(label, n - 1, 0);
        boxes->addWidget(txtInput[n], n - 1, 1);
        boxes->addWidget(lblUnits[n], n - 1, 2);
        OnLeave(txtInput[n], [this, n] {
            pull();
            mRules.ValidatePositionInput(n);
            push();
        });
    }
    boxes->setColumnStretch(3, 1);

    AcceptButton = new QPushButton(QStringLiteral("Accept"));
    CancelButton = new QPushButton(QStringLiteral("Cancel"));
    AcceptButton->setDefault(true);
    CancelButton->setAutoDefault(false);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(AcceptButton);
    buttons->addWidget(CancelButton);
    buttons->addStretch(1);

    auto *outer = new QVBoxLayout(this);
    outer->addWidget(PositionList, 0, Qt::AlignHCenter);
    outer->addLayout(boxes);
    outer->addLayout(buttons);
    outer->setSizeConstraint(QLayout::SetFixedSize);

    connect(AcceptButton, &QPushButton::clicked, this, [this] {
        pull();
        mRules.AcceptClicked();
        push();
        accept();
    });
    connect(CancelButton, &QPushButton::clicked, this, &QDialog::reject);

    if (mMode != CardPosMode::Ordinary)
        CancelButton->setEnabled(false);
    if (mMode == CardPosMode::AcceptOnly)
        RemoveMenus();
    push();
    if (rows > 0) {
        PositionList->setCurrentCell(std::clamp(mRules.SelectedRow, 0, rows - 1), 1);
        if (mRules.SelectedRow >= kGridMaxRows - 1)
            PositionList->scrollToItem(PositionList->currentItem());
    }
}

void frmCardPos::RemoveMenus()
{
    setWindowFlags((windowFlags() | Qt::CustomizeWindowHint | Qt::WindowTitleHint)
                   & ~(Qt::WindowCloseButtonHint | Qt::WindowSystemMenuHint));
    mMode = CardPosMode::AcceptOnly;
}

void frmCardPos::pull()
{
    for (int n = 1; n <= 2; ++n)
        mRules.txtInput[n] = ReadNumber(txtInput[n]->text(), mPoint);
}

void frmCardPos::push()
{
    for (int n = 1; n <= 2; ++n) {
        const QString text = ShownNumber(mRules.txtInput[n], mPoint);
        if (txtInput[n]->text() != text)
            txtInput[n]->setText(text);
    }
    for (int r = 0; r < static_cast<int>(mRules.Rows.size()); ++r)
        PositionList->item(r, 1)->setText(ShownNumber(mRules.Rows[static_cast<size_t>(r)].Position, mPoint));
}

void frmCardPos::reject()
{
    // Without a usable Cancel only the frame's close command may end the dialog as a Cancel.
    if (mMode == CardPosMode::AcceptOnly)
        return;
    if (mMode == CardPosMode::NoCancel && !mFrameClose)
        return;
    QDialog::reject();
}

void frmCardPos::closeEvent(QCloseEvent *event)
{
    if (mMode == CardPosMode::AcceptOnly) {
        event->ignore();
        return;
    }
    mFrameClose = true;
    QDialog::closeEvent(event);
    mFrameClose = false;
}

void frmCardPos::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && !CancelButton->isEnabled())
        return;
    QDialog::keyPressEvent(event);
}

void frmCardPos::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    QTimer::singleShot(0, this, [this] {
        txtInput[1]->setFocus(Qt::ActiveWindowFocusReason);
        txtInput[1]->selectAll();
    });
}

bool ShowCardPosForm(QWidget *parent, Workspace &ws, SettingsAccess &settings, CardPosMode mode,
                     const QRect &pictureGlobal)
{
    frmCardPos form(ws, settings, mode, parent);
    PlaceOverPicture(&form, pictureGlobal);
    return form.exec() == QDialog::Accepted;
}

} // namespace velmara
