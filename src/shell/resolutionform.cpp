#include "shell/resolutionform.h"

#include "dialogs/dialogplacement.h"
#include "shell/numerickeyfilter.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace velmara {

namespace {

int digitOf(const QKeyEvent *key)
{
    const int k = key->key();
    if (k >= Qt::Key_0 && k <= Qt::Key_9 && !(key->modifiers() & ~Qt::KeypadModifier))
        return k - Qt::Key_0;
    return -1;
}

bool isEnter(const QKeyEvent *key) { return key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter; }

} // namespace

frmResolution::frmResolution(Workspace &ws, RescanCards rescan, QWidget *parent)
    : QDialog(parent), mWs(ws), mRescan(std::move(rescan)), mRules(ws)
{
    setWindowTitle(QStringLiteral("Image Resolution"));

    const int rows = static_cast<int>(mRules.Rows.size());
    ResolutionList = new QTableWidget(rows, 2);
    ResolutionList->setObjectName(QStringLiteral("ResolutionList"));
    ResolutionList->horizontalHeader()->hide();
    ResolutionList->verticalHeader()->hide();
    ResolutionList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ResolutionList->setSelectionBehavior(QAbstractItemView::SelectRows);
    ResolutionList->setSelectionMode(QAbstractItemView::SingleSelection);
    ResolutionList->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    ResolutionList->setVerticalScrollBarPolicy(GridNeedsScrollBar(rows) ? Qt::ScrollBarAlwaysOn
                                                                         : Qt::ScrollBarAlwaysOff);
    const QFontMetrics fm = ResolutionList->fontMetrics();
    int nameWidth = 150; // 2250 twips at least
    for (const auto &row : mRules.Rows) {
        nameWidth = std::max(nameWidth, fm.horizontalAdvance(QString::fromStdString(row.Name)));
    }
    for (int r = 0; r < rows; ++r) {
        ResolutionList->setRowHeight(r, fm.height() + 4);
        auto *name = new QTableWidgetItem;
        name->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        name->setBackground(palette().button()); // the fixed column
        ResolutionList->setItem(r, 0, name);
        auto *dpi = new QTableWidgetItem;
        dpi->setTextAlignment(Qt::AlignCenter);
        ResolutionList->setItem(r, 1, dpi);
    }
    ResolutionList->setColumnWidth(0, nameWidth + 8);
    ResolutionList->setColumnWidth(1, fm.horizontalAdvance(QStringLiteral("5000")) + 10);
    const int frame = 2 * ResolutionList->frameWidth();
    ResolutionList->setFixedSize(
        nameWidth + 8 + fm.horizontalAdvance(QStringLiteral("5000")) + 10 + frame
            + (GridNeedsScrollBar(rows) ? kGridScrollBarWidth : 0),
        std::max(1, GridVisibleRows(rows)) * (fm.height() + 4) + frame);

    CellEditText = new QLineEdit(ResolutionList->viewport());
    CellEditText->setObjectName(QStringLiteral("CellEditText"));
    CellEditText->setFrame(false);
    CellEditText->hide();
    // No whole-text selection on focus here: the edit sets its own selection, and the digit that
    // started it must stay in front of the caret.
    CellEditText->installEventFilter(new NumericBoxFilter(CellEditText, EntryKind::Digits));
    CellEditText->installEventFilter(this);
    ResolutionList->installEventFilter(this);

    MakeSameSizeButton = new QPushButton(QStringLiteral("Apply To All"));
    AcceptButton = new QPushButton(QStringLiteral("Accept"));
    CancelButton = new QPushButton(QStringLiteral("Cancel"));
    // Enter belongs to the grid and the edit box: no button of this dialog is a default one.
    for (QPushButton *b : {MakeSameSizeButton, AcceptButton, CancelButton}) {
        b->setAutoDefault(false);
        b->installEventFilter(this);
    }
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(MakeSameSizeButton);
    buttons->addStretch(1);
    buttons->addWidget(AcceptButton);
    buttons->addWidget(CancelButton);
    auto *outer = new QVBoxLayout(this);
    outer->addWidget(ResolutionList, 0, Qt::AlignHCenter);
    outer->addLayout(buttons);
    outer->setSizeConstraint(QLayout::SetFixedSize);

    connect(ResolutionList, &QTableWidget::cellClicked, this, [this](int row, int) {
        mRules.GridClick(row);
        sync();
    });
    connect(ResolutionList, &QTableWidget::currentCellChanged, this, [this](int row, int) {
        if (!mSyncing && row >= 0 && !mRules.Editing)
            mRules.SelectedRow = row;
    });
    connect(MakeSameSizeButton, &QPushButton::clicked, this, [this] {
        mRules.ApplyToAll();
        sync();
        ResolutionList->setFocus(Qt::OtherFocusReason);
    });
    connect(AcceptButton, &QPushButton::clicked, this, &frmResolution::acceptClicked);
    connect(CancelButton, &QPushButton::clicked, this, &QDialog::reject);

    sync();
    ResolutionList->setFocus(Qt::OtherFocusReason);
}

void frmResolution::setHighlight(bool on)
{
    QPalette p = ResolutionList->palette();
    const QPalette base = palette();
    p.setColor(QPalette::Highlight, on ? base.color(QPalette::Highlight) : base.color(QPalette::Base));
    p.setColor(QPalette::HighlightedText,
               on ? base.color(QPalette::HighlightedText) : base.color(QPalette::Text));
    ResolutionList->setPalette(p);
}

void frmResolution::sync()
{
    mSyncing = true;
    for (int r = 0; r < static_cast<int>(mRules.Rows.size()); ++r) {
        const auto &row = mRules.Rows[static_cast<size_t>(r)];
        QTableWidgetItem *name = ResolutionList->item(r, 0);
        name->setText(QString::fromStdString(row.Name));
        name->setForeground(row.Red ? QColor(255, 0, 0) : palette().color(QPalette::Text));
        ResolutionList->item(r, 1)->setText(QString::fromStdString(row.Cell));
    }
    if (!mRules.Editing && CellEditText->isVisible()) {
        // The grid takes the focus before the box hides: a focused box that hides hands the focus
        // on as a Tab would, and the grid answers a Tab by moving to the next row.
        ResolutionList->setFocus(Qt::OtherFocusReason);
        CellEditText->clear();
        CellEditText->hide();
    }
    // The grid's current row is the rules' selected row, whatever moved it meanwhile.
    if (!mRules.Rows.empty()) {
        ResolutionList->setCurrentCell(mRules.SelectedRow, 1);
        if (mRules.SelectedRow >= kGridMaxRows - 1)
            ResolutionList->scrollToItem(ResolutionList->item(mRules.SelectedRow, 1));
    }
    setHighlight(mRules.RowHighlight);

    if (mRules.Editing) {
        QRect cell = ResolutionList->visualRect(ResolutionList->model()->index(mRules.SelectedRow, 1));
        CellEditText->setGeometry(cell.left() + 3, cell.top() + 1, cell.width() - 5, cell.height() - 2);
        if (CellEditText->isHidden() || CellEditText->text() != QString::fromStdString(mRules.EditText)) {
            CellEditText->setText(QString::fromStdString(mRules.EditText));
            if (mRules.EditSelectAll)
                CellEditText->selectAll();
            else
                CellEditText->setCursorPosition(static_cast<int>(mRules.EditText.size()));
        }
        CellEditText->show();
        CellEditText->setFocus(Qt::OtherFocusReason);
    }
    mSyncing = false;
}

bool frmResolution::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (watched == ResolutionList) {
        if (type == QEvent::KeyPress) {
            auto *key = static_cast<QKeyEvent *>(event);
            if (isEnter(key)) {
                mRules.GridEnter();
                sync();
                return true;
            }
            if (const int d = digitOf(key); d >= 0) {
                mRules.GridDigit(d);
                sync();
                return true;
            }
        } else if (type == QEvent::FocusIn) {
            mRules.GridFocusIn();
            setHighlight(true);
        } else if (type == QEvent::FocusOut) {
            mRules.GridFocusOut();
        }
    } else if (watched == CellEditText) {
        if (type == QEvent::KeyPress) {
            auto *key = static_cast<QKeyEvent *>(event);
            if (isEnter(key)) {
                mRules.EditText = CellEditText->text().toStdString();
                mRules.EditEnter();
                sync();
                return true;
            }
            if (key->key() == Qt::Key_Escape) {
                mRules.EditEscape();
                sync();
                return true;
            }
        } else if (type == QEvent::FocusOut && mRules.Editing && !mSyncing) {
            const auto reason = static_cast<QFocusEvent *>(event)->reason();
            if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) {
                mRules.EditFocusLost();
                sync();
            }
        }
    } else if (type == QEvent::FocusIn) {
        // Apply To All shows which row it copies; Accept and Cancel do not.
        mRules.RowHighlight = watched == MakeSameSizeButton;
        setHighlight(mRules.RowHighlight);
    }
    return QDialog::eventFilter(watched, event);
}

void frmResolution::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && !mRules.CancelIsCancelButton)
        return; // the edit box owns Esc while it edits
    QDialog::keyPressEvent(event);
}

void frmResolution::acceptClicked()
{
    if (mRules.Accept(mWs)) {
        bool yes = false;
        if (mAnswer) {
            yes = mAnswer();
        } else {
            QMessageBox box(QMessageBox::Warning, QStringLiteral("Velmara"), DialogText(kRescanQuestion),
                            QMessageBox::Yes | QMessageBox::No, this);
            yes = box.exec() == QMessageBox::Yes;
        }
        // The scans run before the dialog closes, as the user waits on Accept.
        if (yes && mRescan)
            mRescan(mRules.RescanList());
    }
    accept();
}

bool ShowResolutionForm(QWidget *parent, Workspace &ws, const QRect &pictureGlobal, RescanCards rescan)
{
    frmResolution form(ws, std::move(rescan), parent);
    PlaceOverPicture(&form, pictureGlobal);
    return form.exec() == QDialog::Accepted;
}

} // namespace velmara
