#include "shell/sprayinfoform.h"

#include "shell/numerickeyfilter.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace velmara {

namespace {

QString qs(const std::string &text) { return QString::fromStdString(text); }

// A frame of label, box and unit rows for the given fields.
QGroupBox *fieldFrame(const char *caption, std::initializer_list<SprayField> fields,
                      std::array<QLineEdit *, kSprayFieldCount> &boxes,
                      std::array<QLabel *, kSprayFieldCount> &units)
{
    auto *frame = new QGroupBox(QString::fromUtf8(caption));
    auto *grid = new QGridLayout(frame);
    int row = 0;
    for (SprayField field : fields) {
        const SprayFieldInfo &info = SprayFieldTable(field);
        auto *box = new QLineEdit;
        box->setObjectName(QString::fromLatin1(info.Key));
        SetUpEntryBox(box, info.Entry, info.MaxLength, LocalePoint());
        const int chars = info.Entry == EntryKind::Free ? 22 : 10;
        box->setMinimumWidth(box->fontMetrics().horizontalAdvance(QLatin1Char('M')) * chars / 2 + 8);
        boxes[static_cast<size_t>(field)] = box;
        auto *label = new QLabel(QString::fromUtf8(info.Label));
        label->setBuddy(box);
        grid->addWidget(label, row, 0);
        grid->addWidget(box, row, 1);
        if (*info.UsUnit) {
            auto *unit = new QLabel(QString::fromUtf8(info.UsUnit));
            unit->setMinimumWidth(unit->fontMetrics().horizontalAdvance(QStringLiteral("oz/ac")));
            units[static_cast<size_t>(field)] = unit;
            grid->addWidget(unit, row, 2);
        }
        ++row;
        if (field == SprayField::Sample_Position1) {
            auto *note = new QLabel(QStringLiteral("(w.r.t. A/C centerline)"));
            grid->addWidget(note, row++, 0, 1, 2);
        }
    }
    grid->setColumnStretch(1, 1);
    return frame;
}

} // namespace

SprayInfoForm::SprayInfoForm(Workspace &ws, SettingsAccess &settings,
                             std::optional<PrefsSprayLink> prefs, QWidget *parent)
    : QDialog(parent), mRules(ws, settings, prefs), mPoint(LocalePoint())
{
    setWindowTitle(QStringLiteral("Spray Information"));
    using F = SprayField;

    QGroupBox *aircraft = fieldFrame("&Aircraft",
                                     {F::AC_Type, F::AC_Registration, F::AC_Owner, F::AC_Swath,
                                      F::AC_Speed, F::AC_Height},
                                     mBoxes, mUnitLabels);
    QGroupBox *spray = fieldFrame("Spray &Characteristics",
                                  {F::Spray_Product, F::Spray_ActiveRate, F::Spray_SprayRate},
                                  mBoxes, mUnitLabels);
    QGroupBox *nozzles = fieldFrame("&Nozzles", {F::Nozzle_Type, F::Nozzle_Number}, mBoxes, mUnitLabels);
    QGroupBox *sampler = fieldFrame("&Sampler", {F::Sampler_Type}, mBoxes, mUnitLabels);
    QGroupBox *sampleArray =
        fieldFrame("Sa&mple Array", {F::Sample_Position1, F::Sample_Interval}, mBoxes, mUnitLabels);

    // The spread factor as a sum: a + b D + c D².
    auto *samplerGrid = static_cast<QGridLayout *>(sampler->layout());
    samplerGrid->addWidget(new QLabel(QStringLiteral("Spread Factor:")), 1, 0, 1, 3);
    auto *sum = new QHBoxLayout;
    const char *const behind[3] = {"+", "D +", "D\u00b2"};
    for (int i = 0; i < 3; ++i) {
        auto *box = new QLineEdit;
        box->setObjectName(QStringLiteral("SpreadText%1").arg(i));
        SetUpEntryBox(box, EntryKind::SignedDecimal, kSpreadTextMaxLength[static_cast<size_t>(i)], LocalePoint());
        box->setMinimumWidth(box->fontMetrics().horizontalAdvance(QLatin1Char('0'))
                             * (kSpreadTextMaxLength[static_cast<size_t>(i)] + 2));
        SpreadText[static_cast<size_t>(i)] = box;
        sum->addWidget(box, kSpreadTextMaxLength[static_cast<size_t>(i)]);
        sum->addWidget(new QLabel(QString::fromUtf8(behind[i])));
    }
    samplerGrid->addLayout(sum, 2, 0, 1, 3);

    auto *comment = new QGroupBox(QStringLiteral("C&omment"));
    auto *commentLayout = new QVBoxLayout(comment);
    QLineEdit *commentBox = new QLineEdit;
    commentBox->setObjectName(QStringLiteral("CommentText"));
    SetUpEntryBox(commentBox, EntryKind::Free, SprayFieldTable(F::Comment).MaxLength);
    mBoxes[static_cast<size_t>(F::Comment)] = commentBox;
    commentLayout->addWidget(commentBox);

    AcceptButton = new QPushButton(QStringLiteral("Accept"));
    CancelButton = new QPushButton(QStringLiteral("Cancel"));
    ResetButton = new QPushButton(QStringLiteral("Reset Values"));
    AcceptButton->setDefault(true);
    // Accept and Cancel stand on either side of the centre of the sampling frame.
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(AcceptButton);
    buttons->addSpacing(10);
    buttons->addWidget(CancelButton);
    buttons->addStretch(1);
    auto *reset = new QHBoxLayout;
    reset->addStretch(1);
    reset->addWidget(ResetButton);
    reset->addStretch(1);

    auto *left = new QVBoxLayout;
    left->addWidget(aircraft);
    left->addWidget(spray);
    left->addWidget(nozzles);
    left->addStretch(1);
    auto *right = new QVBoxLayout;
    right->addWidget(sampler);
    right->addWidget(sampleArray);
    right->addLayout(buttons);
    right->addSpacing(6);
    right->addLayout(reset);
    right->addStretch(1);
    auto *columns = new QHBoxLayout;
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);
    auto *outer = new QVBoxLayout(this);
    outer->addLayout(columns);
    outer->addWidget(comment);

    for (int i = 0; i < 3; ++i)
        OnLeave(SpreadText[static_cast<size_t>(i)], [this, i] {
            pullBoxes();
            mRules.LeaveSpreadText(i);
            pushBoxes();
        });
    for (int n = 1; n <= 2; ++n)
        OnLeave(box(n == 1 ? F::Sample_Position1 : F::Sample_Interval), [this, n] {
            pullBoxes();
            mRules.LeaveSampleInput(n);
            pushBoxes();
        });
    connect(ResetButton, &QPushButton::clicked, this, [this] {
        mRules.ResetValues();
        pushBoxes();
    });
    connect(AcceptButton, &QPushButton::clicked, this, &SprayInfoForm::acceptClicked);
    connect(CancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(this, &QDialog::rejected, this, [this] { mRules.CancelClicked(); });

    mRules.Open();
    for (int f = 0; f < kSprayFieldCount; ++f)
        if (QLabel *unit = mUnitLabels[static_cast<size_t>(f)])
            unit->setText(qs(mRules.UnitLabel(static_cast<SprayField>(f))));
    pushBoxes();
}

// Numbers show the locale's decimal separator; the record and the store keep the point.
QChar SprayInfoForm::pointOf(size_t field) const
{
    return AllowsDecimal(SprayFieldTable(static_cast<SprayField>(field)).Entry) ? mPoint : QLatin1Char('.');
}

void SprayInfoForm::pullBoxes()
{
    for (size_t f = 0; f < mBoxes.size(); ++f)
        mRules.Box[f] = ReadNumber(mBoxes[f]->text(), pointOf(f));
    for (size_t i = 0; i < 3; ++i)
        mRules.SpreadText[i] = ReadNumber(SpreadText[i]->text(), mPoint);
}

void SprayInfoForm::pushBoxes()
{
    // setText only where the text differs, so that a box keeps its caret and selection.
    for (size_t f = 0; f < mBoxes.size(); ++f)
        if (const QString shown = ShownNumber(mRules.Box[f], pointOf(f)); mBoxes[f]->text() != shown)
            mBoxes[f]->setText(shown);
    for (size_t i = 0; i < 3; ++i)
        if (const QString shown = ShownNumber(mRules.SpreadText[i], mPoint); SpreadText[i]->text() != shown)
            SpreadText[i]->setText(shown);
}

void SprayInfoForm::acceptClicked()
{
    pullBoxes();
    const auto problem = mRules.AcceptClicked();
    if (!problem) {
        accept();
        return;
    }
    ShowDialogMessage(this, DialogText(problem->Message.c_str()));
    QLineEdit *target = nullptr;
    switch (problem->Focus) {
    case SprayFocus::SpreadText0: target = SpreadText[0]; break;
    case SprayFocus::SpreadText1: target = SpreadText[1]; break;
    case SprayFocus::SpreadText2: target = SpreadText[2]; break;
    case SprayFocus::SampleInput1: target = box(SprayField::Sample_Position1); break;
    case SprayFocus::SampleInput2: target = box(SprayField::Sample_Interval); break;
    }
    target->setFocus(Qt::OtherFocusReason);
    target->selectAll();
}

bool ShowSprayInfoForm(QWidget *parent, Workspace &ws, SettingsAccess &settings)
{
    SprayInfoForm form(ws, settings, std::nullopt, parent);
    form.exec();
    return form.Accept();
}

} // namespace velmara
