#include "shell/mainwindow.h"

#include "settings/preferences.h"
#include "settings/settingsstore.h"
#include "shell/application.h"
#include "shell/cardview.h"
#include "shell/compositeview.h"
#include "shell/infoform.h"
#include "shell/picturebox.h"
#include "shell/toolicons.h"
#include "statistics/composite.h"
#include "views/huehistogram.h"
#include "views/sizegraph.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace velmara {

namespace {

const QString kTitle = QStringLiteral("Orvinek Velmara");

// The small controls take the interface font: the system's sans face at UiFontSize points.
QFont smallFont(const Workspace &ws)
{
    QFont f = QApplication::font();
    f.setPointSizeF(ws.UiFontSize);
    return f;
}

QToolButton *pictureButton(ToolIcon icon, const QString &tip, QWidget *parent)
{
    auto *b = new QToolButton(parent);
    b->setIcon(MakeToolIcon(icon));
    b->setIconSize(QSize(20, 20));
    b->setToolTip(tip);
    b->setAutoRaise(false);
    b->setFixedSize(30, 30);
    return b;
}

} // namespace

MainWindow::MainWindow(Workspace &ws, SettingsStore &store, int screenHeight, QWidget *parent)
    : QMainWindow(parent), mWs(ws), mStore(store), mScreenHeight(screenHeight)
{
    // Initialisation, in the order the settings are read.
    mWs.RangeLow = 0;
    mWs.RangeHigh = 32755;
    LoadPreferences(mWs, mStore);
    mWs.MouseCoords = true;
    mWs.GraphMode = 1;
    FillHueColour(mWs.HueColour);

    setObjectName(QStringLiteral("frmMain"));
    setWindowIcon(MakeToolIcon(ToolIcon::Application));
    buildControls();
    mComposite = new CompositeView(*this, mWs, mStore);
    mProgress = std::make_unique<WindowProgress>(ProgressBar1, btnCancel);
    ResultFrame->setTitle(ResultFrameCaption(false, 1));
    setEmptyState();
    qApp->installEventFilter(this);
}

MainWindow::~MainWindow()
{
    qApp->removeEventFilter(this);
    // The composite view filters events of our children; it must go before they are torn down
    // (and send their last events) while this object is no longer a MainWindow.
    delete mComposite;
    mComposite = nullptr;
}

void MainWindow::buildControls()
{
    auto *central = new QWidget(this);
    auto *outer = new QVBoxLayout(central);
    outer->setContentsMargins(8, 6, 8, 8);
    outer->setSpacing(4);

    ImageStrip = new QTabBar(central);
    ImageStrip->setExpanding(false);
    ImageStrip->setDocumentMode(true);
    ImageStrip->setUsesScrollButtons(true);
    ImageStrip->setFocusPolicy(Qt::NoFocus);
    connect(ImageStrip, &QTabBar::currentChanged, this, [this](int) {
        if (!mTabGuard)
            command([this] { ImageStrip_Click(); });
    });
    outer->addWidget(ImageStrip);

    // The card view with its scroll bars and the resolution button in their corner.
    auto *viewFrame = new QFrame(central);
    viewFrame->setFrameShape(QFrame::StyledPanel);
    auto *viewGrid = new QGridLayout(viewFrame);
    viewGrid->setContentsMargins(1, 1, 1, 1);
    viewGrid->setSpacing(1);
    Picture1 = new CardView(viewFrame);
    // The view keeps its pixel height rule: 450 above a 600-pixel screen, else 319.
    Picture1->setMinimumHeight(mScreenHeight > 600 ? 250 : 180);
    HScroll1 = new QScrollBar(Qt::Horizontal, viewFrame);
    VScroll1 = new QScrollBar(Qt::Vertical, viewFrame);
    btnChangeRes = new QToolButton(viewFrame);
    btnChangeRes->setIcon(MakeToolIcon(ToolIcon::Resolution));
    btnChangeRes->setToolTip(QStringLiteral("Card Resolution"));
    btnChangeRes->setAutoRaise(true);
    const int bar = HScroll1->sizeHint().height();
    btnChangeRes->setFixedSize(bar + 2, bar + 2);
    btnChangeRes->setIconSize(QSize(bar - 2, bar - 2));
    viewGrid->addWidget(Picture1, 0, 0);
    viewGrid->addWidget(VScroll1, 0, 1);
    viewGrid->addWidget(HScroll1, 1, 0);
    viewGrid->addWidget(btnChangeRes, 1, 1);
    outer->addWidget(viewFrame, 1);
    connect(HScroll1, &QScrollBar::valueChanged, this, &MainWindow::onScroll);
    connect(VScroll1, &QScrollBar::valueChanged, this, &MainWindow::onScroll);
    connect(Picture1, &CardView::resized, this, &MainWindow::updateScrollBars);
    connect(Picture1, &CardView::mousePressed, this, asCommand(&MainWindow::onPictureMousePressed));
    connect(Picture1, &CardView::mouseReleased, this, asCommand(&MainWindow::onPictureMouseReleased));
    connect(Picture1, &CardView::wheelTurned, this, &MainWindow::onPictureWheel);
    connect(btnChangeRes, &QToolButton::clicked, this, asCommand(&MainWindow::btnChangeRes_Click));

    ProgressBar1 = new QProgressBar(central);
    ProgressBar1->setTextVisible(false);
    ProgressBar1->setFixedHeight(10);
    QSizePolicy keep = ProgressBar1->sizePolicy();
    keep.setRetainSizeWhenHidden(true);
    ProgressBar1->setSizePolicy(keep);
    ProgressBar1->setVisible(false);
    outer->addWidget(ProgressBar1);

    // Below the view, in the order of use: hues, commands, masking, results. The histogram and
    // the command buttons share a row, the sliders and the masking frame the next, so that the
    // whole window fits an 800 by 600 screen.
    auto *bottom = new QHBoxLayout;
    bottom->setSpacing(8);
    auto *controls = new QGridLayout;
    controls->setHorizontalSpacing(6);
    controls->setVerticalSpacing(4);
    buildHuePanel(controls, central);
    buildCommandPanel(controls, central);
    bottom->addLayout(controls);
    bottom->addStretch(1);
    bottom->addWidget(buildResultFrame(), 0, Qt::AlignTop);
    outer->addLayout(bottom);

    setCentralWidget(central);
    nameControls();
    resize(mScreenHeight > 600 ? QSize(1000, 720) : QSize(790, 560));
}

void MainWindow::buildHuePanel(QGridLayout *grid, QWidget *panel)
{
    HistogramPic = new PictureBox(260, 105, InitialHistogramScale(), panel);
    HistogramPic->setToolTip(QStringLiteral("Left click: low end of the hue range; right click: high end"));
    grid->addWidget(HistogramPic, 0, 0, Qt::AlignLeft | Qt::AlignTop);

    auto *sliders = new QGridLayout;
    sliders->setHorizontalSpacing(4);
    sliders->setVerticalSpacing(1);
    Slider1 = new QSlider(Qt::Horizontal, panel);
    Slider2 = new QSlider(Qt::Horizontal, panel);
    for (QSlider *s : {Slider1, Slider2}) {
        s->setRange(0, 255);
        s->setFixedWidth(234);
        s->setPageStep(16);
    }
    Slider1->setValue(0);
    Slider2->setValue(255);
    Label1 = new QLabel(panel);
    Label2 = new QLabel(panel);
    for (QLabel *l : {Label1, Label2}) {
        l->setMinimumWidth(24);
        l->setFont(smallFont(mWs));
    }
    showHueLabels();
    sliders->addWidget(Slider1, 0, 0);
    sliders->addWidget(Label1, 0, 1);
    sliders->addWidget(Slider2, 1, 0);
    sliders->addWidget(Label2, 1, 1);
    grid->addLayout(sliders, 1, 0, Qt::AlignLeft);
    HueInvertCheck = new QCheckBox(QStringLiteral("Invert"), panel);
    grid->addWidget(HueInvertCheck, 1, 1, Qt::AlignLeft | Qt::AlignVCenter);

    connect(HistogramPic, &PictureBox::mousePressed, this, [this](int button, int shift, double x, double, QPoint) {
        command([&] { onHistogramPressed(button, shift, x); });
    });
    connect(Slider1, &QSlider::valueChanged, this, [this](int) { command([this] { onSliderValue(1); }); });
    connect(Slider2, &QSlider::valueChanged, this, [this](int) { command([this] { onSliderValue(2); }); });
    connect(Slider1, &QSlider::sliderReleased, this, asCommand(&MainWindow::sliderChanged));
    connect(Slider2, &QSlider::sliderReleased, this, asCommand(&MainWindow::sliderChanged));
    connect(HueInvertCheck, &QCheckBox::clicked, this, asCommand(&MainWindow::onHueInvertClicked));
}

void MainWindow::buildCommandPanel(QGridLayout *controls, QWidget *parent)
{
    auto *panel = new QWidget(parent);
    auto *grid = new QGridLayout(panel);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(3);
    grid->setVerticalSpacing(3);
    // The load and scan buttons sit in a widget of their own, idle as one while a pass runs;
    // Cancel and the preferences stay live.
    mPassCommands = new QWidget(panel);
    auto *pass = new QGridLayout(mPassCommands);
    pass->setContentsMargins(0, 0, 0, 0);
    pass->setHorizontalSpacing(3);
    pass->setVerticalSpacing(3);
    btnLoad = new QPushButton(QStringLiteral("Load Image"), mPassCommands);
    btnLoadTemplate = pictureButton(ToolIcon::LoadTemplate, QStringLiteral("Load Multi-Card Scan"), mPassCommands);
    btnScanColour = new QPushButton(QStringLiteral("Scan Colours"), mPassCommands);
    btnScanColourAll = new QPushButton(QStringLiteral("All"), mPassCommands);
    btnScan = new QPushButton(QStringLiteral("Stain Count"), mPassCommands);
    btnScanAll = new QPushButton(QStringLiteral("All"), mPassCommands);
    btnCancel = new QPushButton(QStringLiteral("Cancel"), panel);
    btnPrefs = pictureButton(ToolIcon::Preferences, QStringLiteral("Preferences"), panel);
    for (QPushButton *b : {btnLoad, btnScanColour, btnScan, btnCancel}) {
        b->setFixedSize(88, 24);
        b->setAutoDefault(false);
    }
    for (QPushButton *b : {btnScanColourAll, btnScanAll}) {
        b->setFixedSize(30, 24);
        b->setAutoDefault(false);
    }
    for (QToolButton *b : {btnLoadTemplate, btnPrefs})
        b->setFixedSize(30, 24);
    btnScanColourAll->setToolTip(QStringLiteral("Scan the colours of all cards"));
    btnScanAll->setToolTip(QStringLiteral("Count the stains of all cards"));
    pass->addWidget(btnLoad, 0, 0);
    pass->addWidget(btnLoadTemplate, 0, 1);
    pass->addWidget(btnScanColour, 1, 0);
    pass->addWidget(btnScanColourAll, 1, 1);
    pass->addWidget(btnScan, 2, 0);
    pass->addWidget(btnScanAll, 2, 1);
    grid->addWidget(mPassCommands, 0, 0, 1, 2);
    grid->addWidget(btnCancel, 1, 0);
    grid->addWidget(btnPrefs, 1, 1);
    controls->addWidget(panel, 0, 1, Qt::AlignLeft | Qt::AlignTop);

    MaskFrame = new QGroupBox(QStringLiteral("Colour Masking"), parent);
    auto *mask = new QGridLayout(MaskFrame);
    mask->setContentsMargins(8, 2, 8, 4);
    mask->setVerticalSpacing(1);
    MaskCheck = new QCheckBox(QStringLiteral("&Mask all but these hues"), MaskFrame);
    BackColorOption[1] = new QRadioButton(QStringLiteral("Black"), MaskFrame);
    BackColorOption[2] = new QRadioButton(QStringLiteral("White"), MaskFrame);
    BackColorOption[1]->setChecked(true);
    auto *colours = new QButtonGroup(MaskFrame);
    colours->addButton(BackColorOption[1], 1);
    colours->addButton(BackColorOption[2], 2);
    mask->addWidget(MaskCheck, 0, 0, 1, 3);
    mask->addWidget(BackColorOption[1], 1, 0);
    mask->addWidget(BackColorOption[2], 1, 1);
    // Beside the Black and White choices, so that the frame keeps its height on small screens.
    auto *boundary = new QHBoxLayout;
    boundary->setSpacing(3);
    StainBoundaryLabel = new QLabel(QStringLiteral("Stain boundary"), MaskFrame);
    StainBoundaryBox = new QSpinBox(MaskFrame);
    StainBoundaryLabel->setBuddy(StainBoundaryBox);
    StainBoundaryBox->setRange(0, 255);
    // A typed number re-reads the card once, on Enter, not once per digit.
    StainBoundaryBox->setKeyboardTracking(false);
    StainBoundaryBox->setToolTip(QStringLiteral("Stain boundary: colour steps from the card's colour below "
                                                "which a pixel is card"));
    StainBoundaryAuto = new QCheckBox(QStringLiteral("Auto"), MaskFrame);
    StainBoundaryAuto->setToolTip(QStringLiteral("Use the boundary found from the picture"));
    boundary->addWidget(StainBoundaryLabel);
    boundary->addWidget(StainBoundaryBox);
    boundary->addWidget(StainBoundaryAuto);
    mask->addLayout(boundary, 1, 2, Qt::AlignRight);
    mask->setColumnStretch(2, 1);
    for (QWidget *w : std::initializer_list<QWidget *>{StainBoundaryLabel, StainBoundaryBox, StainBoundaryAuto})
        w->setVisible(false);
    controls->addWidget(MaskFrame, 2, 0, 1, 2, Qt::AlignTop);

    connect(btnLoad, &QPushButton::clicked, this, asCommand(&MainWindow::btnLoad_Click));
    connect(btnLoadTemplate, &QToolButton::clicked, this, asCommand(&MainWindow::btnLoadTemplate_Click));
    connect(btnScanColour, &QPushButton::clicked, this, asCommand(&MainWindow::btnScanColour_Click));
    connect(btnScanColourAll, &QPushButton::clicked, this, asCommand(&MainWindow::btnScanColourAll_Click));
    connect(btnScan, &QPushButton::clicked, this, asCommand(&MainWindow::btnScan_Click));
    connect(btnScanAll, &QPushButton::clicked, this, asCommand(&MainWindow::btnScanAll_Click));
    connect(btnCancel, &QPushButton::clicked, this, asCommand(&MainWindow::btnCancel_Click));
    connect(btnPrefs, &QToolButton::clicked, this, asCommand(&MainWindow::btnPrefs_Click));
    connect(MaskCheck, &QCheckBox::clicked, this, asCommand(&MainWindow::onMaskCheckClicked));
    connect(colours, &QButtonGroup::idClicked, this, [this](int) { command([this] { onBackColourClicked(); }); });
    connect(StainBoundaryBox, &QSpinBox::valueChanged, this, [this](int) { command([this] { onStainBoundaryChanged(); }); });
    connect(StainBoundaryAuto, &QCheckBox::clicked, this, asCommand(&MainWindow::onStainBoundaryAutoClicked));
}

void MainWindow::nameControls()
{
    const std::pair<QWidget *, const char *> named[] = {
        {ImageStrip, "ImageStrip"}, {Picture1, "Picture1"}, {HScroll1, "HScroll1"}, {VScroll1, "VScroll1"},
        {btnChangeRes, "btnChangeRes"}, {ProgressBar1, "ProgressBar1"}, {HistogramPic, "HistogramPic"},
        {Slider1, "Slider1"}, {Slider2, "Slider2"}, {Label1, "Label1"}, {Label2, "Label2"},
        {HueInvertCheck, "HueInvertCheck"}, {btnLoad, "btnLoad"}, {btnLoadTemplate, "btnLoadTemplate"},
        {btnScanColour, "btnScanColour"}, {btnScanColourAll, "btnScanColourAll"}, {btnScan, "btnScan"},
        {btnScanAll, "btnScanAll"}, {btnCancel, "btnCancel"}, {btnPrefs, "btnPrefs"}, {MaskFrame, "MaskFrame"},
        {MaskCheck, "MaskCheck"}, {ResultFrame, "ResultFrame"}, {ResultPic, "ResultPic"},
        {SizeRangeLabel, "SizeRangeLabel"}, {ResultLabel, "ResultLabel"}, {ResultLabelX1, "ResultLabelX1"},
        {ResultLabelX2, "ResultLabelX2"}, {ResultLabelY1, "ResultLabelY1"}, {ResultLabelY2, "ResultLabelY2"},
        {VMDLabel, "VMDLabel"}, {DropLabel, "DropLabel"}, {VolumeLabel, "VolumeLabel"},
        {CompositeCheck, "CompositeCheck"}, {btnWriteComposite, "btnWriteComposite"}, {btnPrint, "btnPrint"},
        {BackColorOption[1], "BackColorOption1"}, {BackColorOption[2], "BackColorOption2"},
        {StainBoundaryBox, "StainBoundaryBox"}, {StainBoundaryAuto, "StainBoundaryAuto"},
        {GraphOption[1], "GraphOption1"}, {GraphOption[2], "GraphOption2"}, {GraphOption[3], "GraphOption3"},
        {InfoLabel[1], "InfoLabel1"}, {InfoLabel[2], "InfoLabel2"}, {InfoLabel[3], "InfoLabel3"},
        {EffectiveInfoLabel, "InfoLabel4"}, {EffectiveLabel, "EffectiveLabel"}};
    for (const auto &[widget, name] : named)
        widget->setObjectName(QLatin1String(name));
}

QWidget *MainWindow::buildResultFrame()
{
    ResultFrame = new QGroupBox(this);
    QSizePolicy keep = ResultFrame->sizePolicy();
    keep.setRetainSizeWhenHidden(true);
    ResultFrame->setSizePolicy(keep);
    auto *box = new QVBoxLayout(ResultFrame);
    box->setContentsMargins(6, 4, 6, 6);
    box->setSpacing(2);
    const QFont small = smallFont(mWs);

    // The graph and its axis labels are placed by hand: the labels centre on the graph's edges.
    auto *graphArea = new QWidget(ResultFrame);
    graphArea->setFixedSize(336, 92);
    ResultPic = new PictureBox(290, 70, InitialGraphScale(290), graphArea);
    ResultPic->move(34, 4);
    ResultPic->setMouseTracking(true);
    SizeRangeLabel = new QLabel(ResultPic);
    SizeRangeLabel->setAutoFillBackground(true);
    SizeRangeLabel->setStyleSheet(QStringLiteral("background: white; padding: 0 1px;"));
    SizeRangeLabel->setFont(small);
    SizeRangeLabel->hide();
    ResultLabelX1 = new QLabel(QStringLiteral("0.0"), graphArea);
    ResultLabelX2 = new QLabel(graphArea);
    ResultLabelY1 = new QLabel(graphArea);
    ResultLabelY2 = new QLabel(graphArea);
    ResultLabel = new QLabel(QStringLiteral("%1m").arg(QChar(0x00B5)), graphArea);
    for (QLabel *l : {ResultLabelX1, ResultLabelX2, ResultLabelY1, ResultLabelY2, ResultLabel})
        l->setFont(small);
    ResultLabel->adjustSize();
    ResultLabel->move(34 + 145 - ResultLabel->width() / 2, 76);
    box->addWidget(graphArea);

    auto *options = new QHBoxLayout;
    options->setSpacing(10);
    auto *graphGroup = new QButtonGroup(ResultFrame);
    for (int i = 1; i <= 3; ++i) {
        GraphOption[static_cast<size_t>(i)] = new QRadioButton(GraphOptionCaption(i), ResultFrame);
        graphGroup->addButton(GraphOption[static_cast<size_t>(i)], i);
        options->addWidget(GraphOption[static_cast<size_t>(i)]);
    }
    GraphOption[1]->setChecked(true);
    options->addStretch(1);
    // In the row of the graph options, where it takes no width from the figures below.
    mSpectrumButton = new QToolButton(ResultFrame);
    mSpectrumButton->setObjectName(QStringLiteral("btnSpectrum"));
    mSpectrumButton->setText(QStringLiteral("Spectrum"));
    mSpectrumButton->setToolTip(QStringLiteral("Dv0.1, Dv0.9, span, NMD, coverage and fine drops of what is shown"));
    options->addWidget(mSpectrumButton);
    box->addLayout(options);
    connect(graphGroup, &QButtonGroup::idClicked, this, asCommand(&MainWindow::GraphOption_Click));

    auto *lower = new QHBoxLayout;
    auto *stats = new QGridLayout;
    stats->setHorizontalSpacing(8);
    stats->setVerticalSpacing(1);
    VMDLabel = new QLabel(ResultFrame);
    DropLabel = new QLabel(ResultFrame);
    VolumeLabel = new QLabel(ResultFrame);
    const std::array<QLabel *, 4> values{nullptr, VMDLabel, DropLabel, VolumeLabel};
    for (int i = 1; i <= 3; ++i) {
        InfoLabel[static_cast<size_t>(i)] = new QLabel(ResultFrame);
        QFont bold = InfoLabel[static_cast<size_t>(i)]->font();
        bold.setBold(true);
        InfoLabel[static_cast<size_t>(i)]->setFont(bold);
        stats->addWidget(InfoLabel[static_cast<size_t>(i)], i - 1, 0);
        stats->addWidget(values[static_cast<size_t>(i)], i - 1, 1);
    }
    EffectiveInfoLabel = new QLabel(ResultFrame);
    QFont bold = EffectiveInfoLabel->font();
    bold.setBold(true);
    EffectiveInfoLabel->setFont(bold);
    EffectiveLabel = new QLabel(ResultFrame);
    stats->addWidget(EffectiveInfoLabel, 3, 0);
    stats->addWidget(EffectiveLabel, 3, 1);
    EffectiveInfoLabel->hide();
    EffectiveLabel->hide();
    lower->addLayout(stats, 1);
    auto *side = new QVBoxLayout;
    side->setSpacing(3);
    mFileCommands = new QWidget(ResultFrame);
    auto *files = new QHBoxLayout(mFileCommands);
    files->setContentsMargins(0, 0, 0, 0);
    files->setSpacing(3);
    btnWriteComposite = pictureButton(ToolIcon::WriteResults, QStringLiteral("Write Results File"), mFileCommands);
    btnPrint = pictureButton(ToolIcon::Print, QStringLiteral("Print Report"), mFileCommands);
    files->addStretch(1);
    files->addWidget(btnWriteComposite);
    files->addWidget(btnPrint);
    CompositeCheck = new QCheckBox(QStringLiteral("Composite"), ResultFrame);
    side->addWidget(mFileCommands);
    side->addWidget(CompositeCheck, 0, Qt::AlignRight);
    lower->addLayout(side);
    box->addLayout(lower);

    connect(ResultPic, &PictureBox::mousePressed, this, [this](int button, int shift, double x, double y, QPoint) {
        command([&] { onResultPressed(button, shift, x, y); });
    });
    connect(ResultPic, &PictureBox::mouseMoved, this, [this](int buttons, int shift, double x, double y, QPoint) {
        command([&] { onResultMoved(buttons, shift, x, y); });
    });
    connect(ResultPic, &PictureBox::mouseReleased, this,
            [this](int, int, double, double, QPoint) { command([this] { onResultReleased(); }); });
    // Toggled, not clicked: loading unchecks the box in code, and that leaves the view too.
    connect(CompositeCheck, &QCheckBox::toggled, this, [this](bool on) {
        btnChangeRes->setToolTip(on ? QStringLiteral("Card Positions") : QStringLiteral("Card Resolution"));
        if (mComposite)
            command([this] { mComposite->CompositeCheck_Click(); });
        setTabToolTips(); // the tabs stand for cards again, or for the views
    });
    connect(btnWriteComposite, &QToolButton::clicked, this, asCommand(&MainWindow::btnWriteComposite_Click));
    connect(btnPrint, &QToolButton::clicked, this, asCommand(&MainWindow::btnPrint_Click));
    connect(mSpectrumButton, &QToolButton::clicked, this, asCommand(&MainWindow::showSpectrum));
    return ResultFrame;
}

// The state of an empty list: nothing to scan, no results, the hue controls at rest.
void MainWindow::setEmptyState()
{
    mTabGuard = true;
    while (ImageStrip->count() > 0)
        ImageStrip->removeTab(0);
    ImageStrip->addTab(QStringLiteral("<No Image>"));
    mTabGuard = false;
    setCaption(kTitle);
    mShownPicture = QImage();
    mOriginalTable.clear();
    Picture1->clearPicture(Qt::white);
    for (QWidget *w : std::initializer_list<QWidget *>{btnScanColour, btnScanColourAll, btnScan, btnScanAll,
                                                       MaskFrame, MaskCheck, BackColorOption[1],
                                                       BackColorOption[2], HistogramPic, HueInvertCheck,
                                                       HScroll1, VScroll1, Slider1, Slider2})
        w->setEnabled(false);
    btnCancel->setEnabled(false);
    ResultFrame->setVisible(false);
    MaskCheck->setChecked(false);
    for (QWidget *w : std::initializer_list<QWidget *>{StainBoundaryLabel, StainBoundaryBox, StainBoundaryAuto})
        w->setVisible(false);
    HueInvertCheck->setChecked(false);
    mWs.HueInvertCheck = false;
    mSliderGuard = true;
    Slider1->setValue(0);
    Slider2->setValue(255);
    mSliderGuard = false;
    mWs.Slider1 = 0;
    mWs.Slider2 = 255;
    showHueLabels();
    btnChangeRes->setVisible(false);
    CompositeCheck->setChecked(false);
    CompositeCheck->setVisible(false);
    mWs.CompositeCheck = false;
    HistogramPic->clear(palette().color(QPalette::Window).rgb());
    GraphOption[1]->setChecked(true);
    mWs.GraphMode = 1;
    ResultFrame->setTitle(ResultFrameCaption(false, 1));
    HScroll1->setValue(0);
    VScroll1->setValue(0);
}

void MainWindow::showHueLabels()
{
    Label1->setText(QString::number(Slider1->value()));
    Label2->setText(QString::number(Slider2->value()));
}

void MainWindow::setCaption(const QString &text)
{
    setWindowTitle(text);
}

void MainWindow::setCardCaption(const CardImage &card, const QString &tail)
{
    setCaption(kTitle + QStringLiteral(" -- ") + QString::fromStdString(card.FileName) + tail);
}

void MainWindow::rebuildTabs()
{
    mTabGuard = true;
    const int n = std::max(1, mWs.CardCount());
    while (ImageStrip->count() > n)
        ImageStrip->removeTab(ImageStrip->count() - 1);
    while (ImageStrip->count() < n)
        ImageStrip->addTab(QString());
    if (mWs.CardCount() == 0)
        ImageStrip->setTabText(0, QStringLiteral("<No Image>"));
    for (int i = 1; i <= mWs.CardCount(); ++i)
        ImageStrip->setTabText(i - 1, QString::fromStdString(mWs.Card(i).FileName));
    setTabToolTips();
    mTabGuard = false;
}

void MainWindow::setTabToolTips()
{
    const bool cards = !CompositeCheck->isChecked() && ImageStrip->count() == mWs.CardCount();
    for (int i = 0; i < ImageStrip->count(); ++i)
        ImageStrip->setTabToolTip(i, cards ? QString::fromStdString(mWs.Card(i + 1).FullPath) : QString());
}

void MainWindow::selectCard(int index)
{
    if (index < 1)
        index = 1;
    if (ImageStrip->currentIndex() == index - 1 || index - 1 >= ImageStrip->count()) {
        ImageStrip_Click();
        return;
    }
    mTabGuard = true;
    ImageStrip->setCurrentIndex(index - 1);
    mTabGuard = false;
    ImageStrip_Click();
}

bool MainWindow::passRunning() const
{
    return mBusy > 0 || ProgressBar1->isVisibleTo(const_cast<MainWindow *>(this));
}

MainWindow::BusyGuard::BusyGuard(MainWindow &window) : mWindow(window)
{
    if (mWindow.mBusy++ > 0)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    mWindow.mPassCommands->setEnabled(false);
    mWindow.mFileCommands->setEnabled(false);
}

MainWindow::BusyGuard::~BusyGuard()
{
    if (--mWindow.mBusy > 0)
        return;
    mWindow.mPassCommands->setEnabled(true);
    mWindow.mFileCommands->setEnabled(true);
    QApplication::restoreOverrideCursor();
}

void MainWindow::commandFailed(const QString &what)
{
    // The pass (if any) has unwound through its guard; what it left half done is put at rest:
    // no bar, no pending cancel, the composite of what was scanned, the card shown anew.
    showMessage(QStringLiteral("Error: ") + what, true);
    if (mBusy > 0)
        return; // a handler run inside a pass: the pass goes on and ends as usual
    mProgress->Finish();
    mWs.CancelRequested = false;
    try {
        btnChangeRes->setEnabled(mWs.CardCount() > 0);
        CalcCompositeAll(mWs);
        updateCompositeVisibility();
        closingStep();
    } catch (const std::exception &) {
        // Told once above; the window stays as the failed step left it.
    }
}

void MainWindow::showMessage(const QString &text, bool warning)
{
    if (mMessageHook) {
        mMessageHook(text);
        return;
    }
    QString shown = text;
    shown.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    if (warning)
        QMessageBox::warning(this, QStringLiteral("Velmara"), shown);
    else
        QMessageBox::information(this, QStringLiteral("Velmara"), shown);
}

// --- Keys. The window sees every key before the control with the focus.

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        auto *widget = qobject_cast<QWidget *>(watched);
        if (widget && widget->window() == this && QApplication::activeModalWidget() == nullptr) {
            auto *key = static_cast<QKeyEvent *>(event);
            bool handled = true;
            command([&] { handled = handleKey(key->key(), key->modifiers()); });
            if (handled)
                return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

bool MainWindow::handleKey(int key, Qt::KeyboardModifiers modifiers)
{
    const Qt::KeyboardModifiers mods =
        modifiers & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    const bool ctrl = mods == Qt::ControlModifier;
    const bool ctrlShift = mods == (Qt::ControlModifier | Qt::ShiftModifier);
    const bool none = mods == Qt::NoModifier;
    const bool composite = CompositeCheck->isChecked();

    if (ctrl && key == Qt::Key_P) {
        btnPrefs_Click();
        return true;
    }
    if (ctrl && key == Qt::Key_L) {
        btnLoad_Click();
        closingStep();
        return true;
    }
    // Escape answers the Cancel button while it is live, also with no card in the list.
    if (key == Qt::Key_Escape && btnCancel->isEnabled())
        btnCancel_Click();
    if (mWs.CardCount() == 0)
        return key == Qt::Key_Escape;

    if (ctrl && key == Qt::Key_Tab) {
        if (composite)
            return false;
        mWs.CurrentCard = mWs.CurrentCard >= mWs.CardCount() ? 1 : mWs.CurrentCard + 1;
    } else if (ctrlShift && (key == Qt::Key_Backtab || key == Qt::Key_Tab)) {
        if (composite)
            return false;
        mWs.CurrentCard = mWs.CurrentCard <= 1 ? mWs.CardCount() : mWs.CurrentCard - 1;
    } else if (ctrl && key == Qt::Key_S) {
        // In the composite view the scan keys do nothing: the tabs stand for views there.
        if (composite)
            return true;
        if (!mWs.Card(mWs.CurrentCard).PixelsReady)
            btnScanColour_Click();
        else
            btnScan_Click();
    } else if (ctrl && key == Qt::Key_A) {
        if (composite)
            return true;
        if (!mWs.Card(mWs.CurrentCard).PixelsReady)
            btnScanColourAll_Click();
        else
            btnScanAll_Click();
    } else if (ctrl && key == Qt::Key_R) {
        if (!btnChangeRes->isEnabled() || !btnChangeRes->isVisibleTo(this))
            return false;
        btnChangeRes_Click();
    } else if (ctrl && key == Qt::Key_C) {
        if (!CompositeCheck->isVisibleTo(this))
            return false;
        CompositeCheck->click();
    } else if (ctrl && key >= Qt::Key_1 && key <= Qt::Key_3) {
        const int index = key - Qt::Key_0;
        if (!GraphOption[static_cast<size_t>(index)]->isChecked()) {
            GraphOption[static_cast<size_t>(index)]->setChecked(true);
            GraphOption_Click(index);
        }
    } else if (key == Qt::Key_Delete && (none || ctrl)) {
        if (composite)
            return true;
        // The list can't change under a running pass: the keys are ignored until it ends.
        if (passRunning())
            return true;
        if (none)
            removeSelectedCard();
        else
            clearAllCards();
    } else if (key == Qt::Key_Delete) {
        return true; // other modifiers: nothing, and no closing step
    } else if (key == Qt::Key_Escape) {
        // only the closing step
    } else {
        return false;
    }
    closingStep();
    return true;
}

void MainWindow::closingStep()
{
    if (CompositeCheck->isChecked() || mWs.CardCount() == 0)
        return;
    selectCard(mWs.CurrentCard);
}

// --- Window events.

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    if (!isMinimized() && !CompositeCheck->isChecked() && mWs.CardCount() > 0 && isVisible())
        command([this] { selectCard(mWs.CurrentCard); });
}

void MainWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    // The picture is read on the first selection after the window comes back from the task bar.
    if (event->type() == QEvent::WindowStateChange && !isMinimized() && mWs.CardCount() > 0
        && !CompositeCheck->isChecked())
        command([this] { selectCard(mWs.CurrentCard); });
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    // A pass under way is cancelled first; the window closes once it has ended. The close is
    // tried again a little later rather than queued at once, so that a box shown inside the pass
    // doesn't spin on it.
    if (passRunning()) {
        mWs.CancelRequested = true;
        event->ignore();
        QTimer::singleShot(100, this, &QWidget::close);
        return;
    }
    if (mInfoForm)
        mInfoForm->close();
    SavePreferences(mWs, mStore);
    RemoveTemporaryBitmaps(mWs.TempDir);
    mWs.Cards.assign(1, CardImage{});
    event->accept();
}

} // namespace velmara
