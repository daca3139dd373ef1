#include "shell/templatemanagerform.h"

#include "shell/numerickeyfilter.h"

#include <QComboBox>
#include <QFocusEvent>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

namespace velmara {

namespace {

QString qs(const std::string &text) { return QString::fromStdString(text); }

// The boxes of the desktop program, titled "Velmara".
class DialogBoxHost : public TemplateManagerHost
{
public:
    explicit DialogBoxHost(QWidget *parent) : mParent(parent) {}

    void showMessage(const std::string &text) override
    {
        ShowDialogMessage(mParent, DialogText(text.c_str()));
    }
    bool askYesNo(const std::string &text) override
    {
        return QMessageBox::question(mParent, QStringLiteral("Velmara"), DialogText(text.c_str()),
                                     QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes)
            == QMessageBox::Yes;
    }
    std::string askText(const std::string &prompt, const std::string &defaultText) override
    {
        bool ok = false;
        const QString answer = QInputDialog::getText(mParent, QStringLiteral("Velmara"), qs(prompt),
                                                     QLineEdit::Normal, qs(defaultText), &ok);
        return ok ? answer.toStdString() : std::string();
    }

private:
    QWidget *mParent;
};

constexpr std::array<TemplateBox, kTemplateBoxCount> kBoxes = {
    TemplateBox::HNum, TemplateBox::HSize, TemplateBox::HSpace,
    TemplateBox::VNum, TemplateBox::VSize, TemplateBox::VSpace};

bool IsCount(TemplateBox b) { return b == TemplateBox::HNum || b == TemplateBox::VNum; }

// Pixel places of the controls. The boxes across stand in a row above the sheet and the boxes
// down in a column left of it, so that every leader line runs from its box straight to the
// bracket of the first card without crossing another control.
constexpr int kSheetLeft = 230;
constexpr int kSheetTop = 75;
constexpr int kRowTop = 12;       // the row of boxes across
constexpr int kColumnTop = 110;   // the first box down
constexpr int kColumnStep = 35;
constexpr int kLabelWidth = 58;
constexpr int kBoxWidth = 56;
constexpr int kBoxHeight = 22;
constexpr int kSpinWidth = 16;
constexpr int kAcrossStep = 146;

} // namespace

TemplateManagerForm::TemplateManagerForm(const std::string &tempDir, const CardTemplate &current,
                                         TemplateManagerHost *host, QWidget *parent)
    : QDialog(parent), mPoint(LocalePoint())
{
    setWindowTitle(QStringLiteral("Template Manager"));
    if (!host) {
        mOwnHost = std::make_unique<DialogBoxHost>(this);
        host = mOwnHost.get();
    }
    // The boxes take only the point as decimal separator (the key filter knows no other), so the
    // manager writes and reads them with it.
    mRules = std::make_unique<TemplateManager>(tempDir, *host, '.');
    buildControls();
    mRules->open(current);
    sync();
}

TemplateManagerForm::~TemplateManagerForm() = default;

void TemplateManagerForm::buildControls()
{
    setFixedSize(664, 552);

    auto *templateLabel = new QLabel(QStringLiteral("Template:"), this);
    templateLabel->setGeometry(10, 10, 190, 18);
    comboTemplates = new QComboBox(this);
    comboTemplates->setEditable(false);
    comboTemplates->setGeometry(10, 30, 190, 26);
    templateLabel->setBuddy(comboTemplates);

    const char *const captions[kTemplateBoxCount] = {"Number:", "Width:", "Space:",
                                                     "Number:", "Height:", "Space:"};
    const char *const names[kTemplateBoxCount] = {"txtHNum", "txtHSize", "txtHSpace",
                                                  "txtVNum", "txtVSize", "txtVSpace"};
    std::array<std::array<int, 2>, 4> anchors{};
    for (size_t i = 0; i < kBoxes.size(); ++i) {
        const TemplateBox b = kBoxes[i];
        const bool across = i < 3;
        const int x = across ? kSheetLeft + static_cast<int>(i) * kAcrossStep : 10;
        const int y = across ? kRowTop : kColumnTop + static_cast<int>(i - 3) * kColumnStep;
        auto *label = new QLabel(QString::fromLatin1(captions[i]), this);
        label->setGeometry(x, y, kLabelWidth, kBoxHeight);
        auto *box = new QLineEdit(this);
        box->setObjectName(QString::fromLatin1(names[i]));
        box->setGeometry(x + kLabelWidth, y, kBoxWidth, kBoxHeight);
        label->setBuddy(box);
        SetUpEntryBox(box, IsCount(b) ? EntryKind::Digits : EntryKind::Decimal, 0, mPoint);
        // Installed after the entry filter, so it sees the arrow keys first.
        box->installEventFilter(this);
        mBoxes[i] = box;

        const int sx = x + kLabelWidth + kBoxWidth;
        auto *up = new QToolButton(this);
        auto *down = new QToolButton(this);
        up->setArrowType(Qt::UpArrow);
        down->setArrowType(Qt::DownArrow);
        up->setGeometry(sx, y, kSpinWidth, kBoxHeight / 2);
        down->setGeometry(sx, y + kBoxHeight / 2, kSpinWidth, kBoxHeight - kBoxHeight / 2);
        for (QToolButton *arrow : {up, down}) {
            arrow->setFocusPolicy(Qt::NoFocus);
            arrow->setAutoRepeat(true);
        }
        mUp[i] = up;
        mDown[i] = down;

        connect(up, &QToolButton::clicked, this, [this, b] {
            mRules->stepUp(b);
            sync();
        });
        connect(down, &QToolButton::clicked, this, [this, b] {
            mRules->stepDown(b);
            sync();
        });
        connect(box, &QLineEdit::textEdited, this, [this, b](const QString &text) {
            if (mSyncing)
                return;
            mRules->editText(b, ReadNumber(text, mPoint));
            sync();
        });
        OnLeave(box, [this, b] {
            mRules->leaveBox(b);
            sync();
        });

        // Leader lines start below a box across and right of (the spinner of) a box down.
        if (b == TemplateBox::HSize || b == TemplateBox::HSpace)
            anchors[b == TemplateBox::HSize ? 0 : 1] = {x + kLabelWidth + kBoxWidth / 2, y + kBoxHeight};
        if (b == TemplateBox::VSize || b == TemplateBox::VSpace)
            anchors[b == TemplateBox::VSize ? 2 : 3] = {sx + kSpinWidth, y + kBoxHeight / 2};
    }
    mRules->setSheetOrigin(kSheetLeft, kSheetTop);
    mRules->setLeaderAnchors(anchors);

    btnSave = new QPushButton(QStringLiteral("Save"), this);
    btnSave->setGeometry(10, 450, 90, 28);
    btnAccept = new QPushButton(QStringLiteral("Accept"), this);
    btnAccept->setGeometry(10, 510, 90, 28);
    btnCancel = new QPushButton(QStringLiteral("Cancel"), this);
    btnCancel->setGeometry(110, 510, 90, 28);
    // No default button: Enter in a box means nothing here; Esc cancels.
    for (QPushButton *button : {btnSave, btnAccept, btnCancel}) {
        button->setAutoDefault(false);
        button->installEventFilter(this);
    }
    comboTemplates->installEventFilter(this);

    // Opaque, so that each breaks its bracket as a dimension line is broken by its figure.
    lblHSize = new QLabel(this);
    lblVSize = new QLabel(this);
    for (QLabel *label : {lblHSize, lblVSize}) {
        label->setAutoFillBackground(true);
        label->setAlignment(Qt::AlignCenter);
    }

    setTabOrder(comboTemplates, mBoxes[0]);
    for (size_t i = 1; i < mBoxes.size(); ++i)
        setTabOrder(mBoxes[i - 1], mBoxes[i]);
    setTabOrder(mBoxes.back(), btnSave);
    setTabOrder(btnSave, btnAccept);
    setTabOrder(btnAccept, btnCancel);

    connect(comboTemplates, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (mSyncing || index < 0)
            return;
        mRules->select(index);
        sync();
    });
    connect(btnSave, &QPushButton::clicked, this, [this] {
        mRules->save();
        sync();
    });
    connect(btnAccept, &QPushButton::clicked, this, &TemplateManagerForm::acceptClicked);
    connect(btnCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void TemplateManagerForm::acceptClicked()
{
    mAccepted = mRules->accept();
    accept();
}

void TemplateManagerForm::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    comboTemplates->setFocus();
}

int TemplateManagerForm::boxIndex(const QObject *object) const
{
    for (size_t i = 0; i < mBoxes.size(); ++i)
        if (mBoxes[i] == object)
            return static_cast<int>(i);
    return -1;
}

bool TemplateManagerForm::eventFilter(QObject *watched, QEvent *event)
{
    const int index = boxIndex(watched);
    if (event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (index >= 0 && (key->key() == Qt::Key_Up || key->key() == Qt::Key_Down)) {
            const TemplateBox b = kBoxes[static_cast<size_t>(index)];
            if (key->key() == Qt::Key_Up)
                mRules->stepUp(b);
            else
                mRules->stepDown(b);
            sync();
            return true;
        }
        if (watched == comboTemplates && key->key() == Qt::Key_Delete
            && key->modifiers() == Qt::NoModifier) {
            mRules->deleteSelected();
            sync();
            return true;
        }
    } else if (event->type() == QEvent::FocusIn) {
        if (index >= 0)
            mRules->focusBox(kBoxes[static_cast<size_t>(index)]);
        else
            mRules->focusOther();
        update();
    }
    return QDialog::eventFilter(watched, event);
}

void TemplateManagerForm::placeLabel(QLabel *label, const PlacedLabel &placed)
{
    label->setText(qs(placed.Text));
    label->adjustSize();
    const QSize size = label->size();
    if (placed.Place == PlacedLabel::Anchor::TopCentre)
        label->move(placed.X - size.width() / 2, placed.Y);
    else
        label->move(placed.X, placed.Y - size.height() / 2);
}

void TemplateManagerForm::sync()
{
    mSyncing = true;
    const auto &list = mRules->templates();
    bool same = comboTemplates->count() == static_cast<int>(list.size());
    for (int i = 0; same && i < comboTemplates->count(); ++i)
        same = comboTemplates->itemText(i) == qs(list[static_cast<size_t>(i)].Name);
    if (!same) {
        comboTemplates->clear();
        for (const CardTemplate &t : list)
            comboTemplates->addItem(qs(t.Name));
    }
    comboTemplates->setCurrentIndex(mRules->selectedIndex());

    for (size_t i = 0; i < kBoxes.size(); ++i) {
        const TemplateBoxState &state = mRules->box(kBoxes[i]);
        QLineEdit *box = mBoxes[i];
        const QString shown = ShownNumber(state.Text, mPoint);
        if (box->text() != shown)
            box->setText(shown);
        box->setEnabled(state.Enabled);
        mUp[i]->setEnabled(state.Enabled);
        mDown[i]->setEnabled(state.Enabled);
    }
    btnSave->setVisible(mRules->saveVisible());

    const TemplateLayout &layout = mRules->layout();
    placeLabel(lblHSize, layout.HSize);
    placeLabel(lblVSize, layout.VSize);
    if (!layout.Drawn) {
        // The start captions stand where the largest sheet would put them.
        lblHSize->move(kSheetLeft + 170 - lblHSize->width() / 2, kSheetTop + 447);
        lblVSize->move(kSheetLeft + 345, kSheetTop + 220 - lblVSize->height() / 2);
    }
    mSyncing = false;
    update();
}

void TemplateManagerForm::paintEvent(QPaintEvent *event)
{
    QDialog::paintEvent(event);
    const TemplateLayout &layout = mRules->layout();
    if (!layout.Drawn)
        return;
    QPainter painter(this);
    const auto rect = [](const PixelRect &r) { return QRect(r.Left, r.Top, r.Width, r.Height); };
    // An outline drawn inside the shape's own pixels, as a shape control draws its border.
    const auto outline = [&painter](const QRect &r) {
        painter.drawRect(r.adjusted(0, 0, -1, -1));
    };

    painter.setPen(QPen(QColor(96, 96, 96), 1));
    painter.fillRect(rect(layout.Sheet), QColor(224, 224, 224));
    outline(rect(layout.Sheet));
    painter.setPen(QPen(Qt::black, 1));
    for (const PixelRect &card : layout.Cards) {
        painter.fillRect(rect(card), Qt::white);
        outline(rect(card));
    }

    const DimensionMarks &marks = mRules->marks();
    for (const PixelLine &line : marks.Brackets)
        painter.drawLine(line.X1, line.Y1, line.X2, line.Y2);
    if (marks.HasLeader) {
        painter.setPen(QPen(QColor(0, 0, 160), 1));
        painter.drawLine(marks.Leader.X1, marks.Leader.Y1, marks.Leader.X2, marks.Leader.Y2);
    }
}

} // namespace velmara
