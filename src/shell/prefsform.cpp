#include "shell/prefsform.h"

#include "shell/numerickeyfilter.h"
#include "shell/sprayinfoform.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QVBoxLayout>

namespace velmara {

namespace {
QString qs(const std::string &text) { return QString::fromStdString(text); }

void setIfDifferent(QLineEdit *box, const QString &text)
{
    if (box->text() != text)
        box->setText(text);
}
} // namespace

frmPrefs::frmPrefs(Workspace &ws, SettingsAccess &settings, QWidget *parent)
    : QDialog(parent), mWs(ws), mSettings(settings), mRules(ws), mPoint(LocalePoint())
{
    setWindowTitle(QStringLiteral("Preferences"));

    auto *resFrame = new QGroupBox(QStringLiteral("Default Image &Resolution"));
    ResCombo = new QComboBox;
    ResCombo->setObjectName(QStringLiteral("ResCombo"));
    ResCombo->setEditable(true);
    ResCombo->setInsertPolicy(QComboBox::NoInsert);
    for (const char *line : kResolutionList)
        ResCombo->addItem(QString::fromLatin1(line));
    SelectTextOnFocus(ResCombo, ResCombo->lineEdit());
    ResCombo->setMinimumWidth(ResCombo->fontMetrics().horizontalAdvance(QStringLiteral("000000")) + 40);
    ConversionLabel = new QLabel(QStringLiteral("="));
    ConversionLabel->setMinimumWidth(ConversionLabel->fontMetrics().horizontalAdvance(
        QString::fromUtf8("= 8888.88 \u00b5m/pixel")));
    auto *resRow = new QHBoxLayout(resFrame);
    resRow->addWidget(ResCombo);
    resRow->addWidget(new QLabel(QStringLiteral("dpi")));
    resRow->addSpacing(8);
    resRow->addWidget(ConversionLabel, 1);

    auto *unitsFrame = new QGroupBox(QStringLiteral("&Units"));
    UnitsOption = {new QRadioButton(QStringLiteral("Metric")), new QRadioButton(QStringLiteral("US"))};
    auto *unitsRow = new QHBoxLayout(unitsFrame);
    unitsRow->addWidget(UnitsOption[0]);
    unitsRow->addWidget(UnitsOption[1]);
    unitsRow->addStretch(1);

    auto *logFrame = new QGroupBox;
    LogCheck = new QCheckBox(QStringLiteral("&Log Analysis Results"));
    Option1 = {new QRadioButton(QStringLiteral("Append")), new QRadioButton(QStringLiteral("Overwrite"))};
    // Two groups of options in one dialog: each needs its own exclusive group.
    auto *unitsGroup = new QButtonGroup(this);
    unitsGroup->addButton(UnitsOption[0]);
    unitsGroup->addButton(UnitsOption[1]);
    auto *appendGroup = new QButtonGroup(this);
    appendGroup->addButton(Option1[0]);
    appendGroup->addButton(Option1[1]);
    LogInfoCheck = new QCheckBox(QStringLiteral("Log &Spray Info"));
    ViewSprayButton = new QPushButton(QStringLiteral("&View Spray Info."));
    ViewSprayButton->setAutoDefault(false);
    auto *logGrid = new QGridLayout(logFrame);
    logGrid->addWidget(LogCheck, 0, 0, 1, 2);
    logGrid->addWidget(Option1[0], 1, 0);
    logGrid->addWidget(Option1[1], 1, 1);
    logGrid->addWidget(LogInfoCheck, 2, 0);
    logGrid->addWidget(ViewSprayButton, 2, 1);
    logGrid->setColumnMinimumWidth(0, 20);

    auto *spreadFrame = new QGroupBox(QStringLiteral("Spread &Factor"));
    auto *spreadRow = new QHBoxLayout(spreadFrame);
    const char *const behind[3] = {"+", "D +", "D\u00b2"};
    for (size_t i = 0; i < 3; ++i) {
        auto *box = new QLineEdit;
        box->setObjectName(QStringLiteral("SpreadText%1").arg(i));
        SetUpEntryBox(box, EntryKind::SignedDecimal, kSpreadTextMaxLength[i], mPoint);
        box->setMinimumWidth(box->fontMetrics().horizontalAdvance(QLatin1Char('0'))
                             * (kSpreadTextMaxLength[i] + 2));
        SpreadText[i] = box;
        spreadRow->addWidget(box, kSpreadTextMaxLength[i]);
        spreadRow->addWidget(new QLabel(QString::fromUtf8(behind[i])));
    }

    auto *filterFrame = new QGroupBox(QStringLiteral("&Drop Filters"));
    txtRoundness = new QLineEdit;
    txtHues = new QLineEdit;
    txtRoundness->setObjectName(QStringLiteral("txtRoundness"));
    txtHues->setObjectName(QStringLiteral("txtHues"));
    for (QLineEdit *box : {txtRoundness, txtHues}) {
        SetUpEntryBox(box, EntryKind::Digits, 3);
        box->setMaximumWidth(box->fontMetrics().horizontalAdvance(QStringLiteral("00000")) + 12);
    }
    auto *filterGrid = new QGridLayout(filterFrame);
    filterGrid->addWidget(new QLabel(QStringLiteral("Roundness:")), 0, 0);
    filterGrid->addWidget(txtRoundness, 0, 1);
    filterGrid->addWidget(new QLabel(QStringLiteral("% Valid Hues:")), 1, 0);
    filterGrid->addWidget(txtHues, 1, 1);
    filterGrid->setColumnStretch(2, 1);

    auto *analysisFrame = new QGroupBox(QStringLiteral("&Analysis"));
    ColourScansCheck = new QCheckBox(QStringLiteral("Colour scans (24-bit, greyscale, PNG, JPEG)"));
    UseFileResolutionCheck = new QCheckBox(QStringLiteral("Use the resolution stored in the f&ile"));
    SplitOverlapsCheck = new QCheckBox(QStringLiteral("S&plit overlapping stains"));
    ExtendedResultsCheck = new QCheckBox(QStringLiteral("E&xtended results (spectrum summary)"));
    ColourScansCheck->setObjectName(QStringLiteral("ColourScansCheck"));
    UseFileResolutionCheck->setObjectName(QStringLiteral("UseFileResolutionCheck"));
    SplitOverlapsCheck->setObjectName(QStringLiteral("SplitOverlapsCheck"));
    ExtendedResultsCheck->setObjectName(QStringLiteral("ExtendedResultsCheck"));
    txtCovLimit = new QLineEdit;
    txtCovLimit->setObjectName(QStringLiteral("txtCovLimit"));
    SetUpEntryBox(txtCovLimit, EntryKind::Decimal, kCovLimitMaxLength, mPoint);
    txtCovLimit->setMaximumWidth(txtCovLimit->fontMetrics().horizontalAdvance(QLatin1Char('0'))
                                 * (kCovLimitMaxLength + 2));
    auto *covLabel = new QLabel(QStringLiteral("COV li&mit (%)"));
    covLabel->setBuddy(txtCovLimit);
    auto *analysisGrid = new QGridLayout(analysisFrame);
    analysisGrid->addWidget(ColourScansCheck, 0, 0, 1, 3);
    analysisGrid->addWidget(UseFileResolutionCheck, 1, 0, 1, 3);
    analysisGrid->addWidget(SplitOverlapsCheck, 2, 0, 1, 3);
    analysisGrid->addWidget(ExtendedResultsCheck, 3, 0, 1, 3);
    analysisGrid->addWidget(covLabel, 4, 0);
    analysisGrid->addWidget(txtCovLimit, 4, 1);
    analysisGrid->setColumnStretch(2, 1);

    AcceptButton = new QPushButton(QStringLiteral("Accept"));
    CancelButton = new QPushButton(QStringLiteral("Cancel"));
    AcceptButton->setDefault(true);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(AcceptButton);
    buttons->addWidget(CancelButton);
    buttons->addStretch(1);

    // Two columns keep the dialog low enough for a 600-pixel screen.
    auto *classic = new QVBoxLayout;
    classic->addWidget(resFrame);
    classic->addWidget(unitsFrame);
    classic->addWidget(logFrame);
    classic->addWidget(spreadFrame);
    classic->addWidget(filterFrame);
    auto *added = new QVBoxLayout;
    added->addWidget(analysisFrame);
    added->addStretch(1);
    auto *columns = new QHBoxLayout;
    columns->addLayout(classic);
    columns->addLayout(added);
    auto *outer = new QVBoxLayout(this);
    outer->addLayout(columns);
    outer->addLayout(buttons);

    mRules.Open();
    push();

    connect(ResCombo, &QComboBox::editTextChanged, this, [this](const QString &text) {
        mRules.ResComboChanged(text.toStdString());
        ConversionLabel->setText(ShownNumber(mRules.ConversionLabel, mPoint));
    });
    OnLeave(ResCombo, [this] {
        pull();
        if (mRules.LeaveResCombo()) {
            // Shown once the click that moved the focus is done; the buttons wait for it.
            mResolutionProblem = true;
            QTimer::singleShot(0, this, &frmPrefs::showResolutionProblem);
        }
    });
    for (int i = 0; i < 3; ++i)
        OnLeave(SpreadText[static_cast<size_t>(i)], [this, i] {
            pull();
            mRules.LeaveSpreadText(i);
            push();
        });
    OnLeave(txtRoundness, [this] {
        pull();
        mRules.LeaveRoundness();
        push();
    });
    OnLeave(txtHues, [this] {
        pull();
        mRules.LeaveHues();
        push();
    });
    OnLeave(txtCovLimit, [this] {
        pull();
        mRules.LeaveCovLimit();
        push();
    });
    connect(LogCheck, &QCheckBox::toggled, this, &frmPrefs::enableLogDependents);
    connect(ViewSprayButton, &QPushButton::clicked, this, &frmPrefs::viewSprayInfo);
    connect(AcceptButton, &QPushButton::clicked, this, &frmPrefs::acceptClicked);
    connect(CancelButton, &QPushButton::clicked, this, [this] {
        if (!mResolutionProblem)
            reject();
    });
}

void frmPrefs::pull()
{
    mRules.ResComboChanged(ResCombo->currentText().toStdString());
    mRules.UnitsMetric = UnitsOption[0]->isChecked();
    mRules.LogCheck = LogCheck->isChecked();
    mRules.AppendOption = Option1[0]->isChecked();
    mRules.LogInfoCheck = LogInfoCheck->isChecked();
    for (size_t i = 0; i < 3; ++i)
        mRules.SpreadText[i] = ReadNumber(SpreadText[i]->text(), mPoint);
    mRules.txtRoundness = txtRoundness->text().toStdString();
    mRules.txtHues = txtHues->text().toStdString();
    mRules.ColourScansCheck = ColourScansCheck->isChecked();
    mRules.UseFileResolutionCheck = UseFileResolutionCheck->isChecked();
    mRules.SplitOverlapsCheck = SplitOverlapsCheck->isChecked();
    mRules.ExtendedResultsCheck = ExtendedResultsCheck->isChecked();
    mRules.txtCovLimit = ReadNumber(txtCovLimit->text(), mPoint);
}

void frmPrefs::push()
{
    const QString res = qs(mRules.ResCombo);
    const int line = ResCombo->findText(res);
    if (line >= 0)
        ResCombo->setCurrentIndex(line);
    ResCombo->setEditText(res);
    ConversionLabel->setText(ShownNumber(mRules.ConversionLabel, mPoint));
    UnitsOption[mRules.UnitsMetric ? 0 : 1]->setChecked(true);
    LogCheck->setChecked(mRules.LogCheck);
    Option1[mRules.AppendOption ? 0 : 1]->setChecked(true);
    LogInfoCheck->setChecked(mRules.LogInfoCheck);
    for (size_t i = 0; i < 3; ++i)
        setIfDifferent(SpreadText[i], ShownNumber(mRules.SpreadText[i], mPoint));
    setIfDifferent(txtRoundness, qs(mRules.txtRoundness));
    setIfDifferent(txtHues, qs(mRules.txtHues));
    ColourScansCheck->setChecked(mRules.ColourScansCheck);
    UseFileResolutionCheck->setChecked(mRules.UseFileResolutionCheck);
    SplitOverlapsCheck->setChecked(mRules.SplitOverlapsCheck);
    ExtendedResultsCheck->setChecked(mRules.ExtendedResultsCheck);
    setIfDifferent(txtCovLimit, ShownNumber(mRules.txtCovLimit, mPoint));
    enableLogDependents();
}

void frmPrefs::enableLogDependents()
{
    const bool on = LogCheck->isChecked();
    Option1[0]->setEnabled(on);
    Option1[1]->setEnabled(on);
    LogInfoCheck->setEnabled(on);
    ViewSprayButton->setEnabled(on);
}

void frmPrefs::showResolutionProblem()
{
    if (!mResolutionProblem || !isVisible())
        return;
    mResolutionProblem = false;
    if (const auto message = mRules.LeaveResCombo()) {
        ShowDialogMessage(this, DialogText(message->c_str()));
        ResCombo->setFocus(Qt::OtherFocusReason);
    }
}

void frmPrefs::viewSprayInfo()
{
    if (mResolutionProblem)
        return;
    pull();
    SprayInfoForm spray(mWs, mSettings, mRules.SprayLink(), this);
    spray.exec();
    push();
}

void frmPrefs::acceptClicked()
{
    if (mResolutionProblem)
        return;
    pull();
    if (const auto problem = mRules.AcceptClicked()) {
        ShowDialogMessage(this, DialogText(problem->c_str()));
        if (mRules.FocusAfterFailure() == PrefsRules::Control::CovLimit)
            txtCovLimit->setFocus(Qt::OtherFocusReason);
        else
            ResCombo->setFocus(Qt::OtherFocusReason);
        return;
    }
    accept();
}

PrefsOutcome ShowPrefsForm(QWidget *parent, Workspace &ws, SettingsAccess &settings, bool onFirstTab)
{
    const PrefsSnapshot before = TakePrefsSnapshot(ws);
    PrefsOutcome outcome;
    {
        frmPrefs form(ws, settings, parent);
        outcome.Accepted = form.exec() == QDialog::Accepted;
    }
    outcome.Effect = PrefsEffectAfterClose(before, ws, onFirstTab);
    return outcome;
}

} // namespace velmara
