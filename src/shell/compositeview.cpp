#include "shell/compositeview.h"

#include "shell/cardposform.h"
#include "shell/cardview.h"
#include "shell/mainwindow.h"
#include "shell/picturebox.h"
#include "shell/storesettingsaccess.h"
#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/samplingline.h"
#include "views/chartcanvas.h"
#include "views/linechart.h"
#include "views/swathview.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QEvent>
#include <QGroupBox>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyle>
#include <QTabBar>
#include <QToolButton>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmara {

namespace {

const QString kCompositeCaption = QStringLiteral("Orvinek Velmara -- Composite Results");
const char *const kCardIndexProperty = "velmaraCardIndex";

// A straight line between two points that stands on the chart like a control.
class CalloutLine : public QWidget
{
public:
    explicit CalloutLine(QWidget *parent) : QWidget(parent)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        hide();
    }
    void setPoints(QPoint from, QPoint to)
    {
        const QRect box = QRect(from, to).normalized().adjusted(-1, -1, 1, 1);
        mFrom = from - box.topLeft();
        mTo = to - box.topLeft();
        setGeometry(box);
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter p(this);
        p.setPen(Qt::black);
        p.drawLine(mFrom, mTo);
    }

private:
    QPoint mFrom, mTo;
};

class CalloutCircle : public QWidget
{
public:
    explicit CalloutCircle(QWidget *parent) : QWidget(parent)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        hide();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(QColor(0, 128, 0));
        p.setBrush(QColor::fromRgb(kCalloutCircle));
        p.drawEllipse(QRectF(0.5, 0.5, width() - 1.0, height() - 1.0));
    }
};

// A card's marker under the line: an empty bordered box, white for a scanned card. Painted by
// hand: a line of 1000 cards makes 1000 of them, and labels with palettes cost far more.
class CardMarkerBox : public QLabel
{
public:
    explicit CardMarkerBox(QWidget *parent) : QLabel(parent)
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setMouseTracking(true);
        hide();
    }
    void setFill(QRgb fill)
    {
        if (fill != mFill) {
            mFill = fill;
            update();
        }
    }
    QRgb fill() const { return mFill; }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter p(this);
        p.fillRect(rect(), QColor::fromRgb(mFill));
        p.setPen(Qt::black);
        p.drawRect(rect().adjusted(0, 0, -1, -1));
    }

private:
    QRgb mFill = kChartWhite;
};

QLabel *valueLabel(QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setFrameShape(QFrame::Box);
    label->setLineWidth(1);
    label->setAutoFillBackground(true);
    QPalette pal = label->palette();
    pal.setColor(QPalette::Window, Qt::white);
    pal.setColor(QPalette::WindowText, Qt::black);
    label->setPalette(pal);
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    label->hide();
    return label;
}

} // namespace

// The face of Picture1 while the view is on: it shows the retained picture and reports the
// pointer moving over the chart.
class ChartSurface : public QWidget
{
public:
    ChartSurface(const QImage &image, std::function<void()> moved, QWidget *parent)
        : QWidget(parent), mImage(image), mMoved(std::move(moved))
    {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setMouseTracking(true);
        hide();
    }

protected:
    void paintEvent(QPaintEvent *event) override
    {
        QPainter p(this);
        p.fillRect(event->rect(), Qt::white);
        p.drawImage(0, 0, mImage);
    }
    void mouseMoveEvent(QMouseEvent *event) override
    {
        mMoved();
        event->accept();
    }
    void mousePressEvent(QMouseEvent *event) override { event->accept(); }
    void mouseReleaseEvent(QMouseEvent *event) override { event->accept(); }

private:
    const QImage &mImage;
    std::function<void()> mMoved;
};

CompositeView::CompositeView(MainWindow &window, Workspace &ws, SettingsStore &store)
    : QObject(&window), mWindow(window), mWs(ws), mStore(store),
      mChoice([this](int index) {
          if (index >= 0 && static_cast<size_t>(index) < optSwathWidth.size())
              optSwathWidth[static_cast<size_t>(index)]->setChecked(true);
      },
              [this](int index) {
                  mWs.SwathSets[static_cast<size_t>(mWs.CurrentSwathSet == 2 ? 2 : 1)].Width = index;
                  DrawSwathView();
              })
{
    mSurface = new ChartSurface(mImage, [this] { Picture1_MouseMove(); }, window.Picture1);
    mWindow.Picture1->installEventFilter(this);
    mWidthGroup = new QButtonGroup(this);
    mWidthGroup->setExclusive(true);
    connect(mWidthGroup, &QButtonGroup::idClicked, this, &CompositeView::optSwathWidth_Click);
    // Element 0 is never shown: it holds the choice while no width is to be drawn.
    auto *hidden = new QRadioButton(mSurface);
    hidden->hide();
    mWidthGroup->addButton(hidden, 0);
    optSwathWidth.push_back(hidden);

    DataLabel[0] = nullptr;
    for (size_t i = 1; i <= 3; ++i) {
        DataLabel[i] = valueLabel(mSurface);
        DataLabelLine[i] = new CalloutLine(mSurface);
        DataLabelCircle[i] = new CalloutCircle(mSurface);
        DataLabelCircle[i]->resize(8, 8);
    }
    CardLabel.push_back(nullptr);

    auto *patterns = new QButtonGroup(this);
    patterns->setExclusive(true);
    const std::pair<SwathPattern, const char *> kinds[] = {{SwathPattern::Racetrack, "Racetrack"},
                                                           {SwathPattern::BackAndForth, "Back and Forth"}};
    for (size_t i = 0; i < 2; ++i) {
        auto *b = new QRadioButton(QString::fromLatin1(kinds[i].second), mSurface);
        b->setObjectName(i == 0 ? QStringLiteral("optRacetrack") : QStringLiteral("optBackAndForth"));
        b->adjustSize();
        b->hide();
        patterns->addButton(b, static_cast<int>(i));
        optSwathPattern[i] = b;
    }
    optSwathPattern[0]->setChecked(true);
    connect(patterns, &QButtonGroup::idClicked, this, [this](int id) {
        mPattern = id == 1 ? SwathPattern::BackAndForth : SwathPattern::Racetrack;
        DrawSwathView();
    });
    // The file buttons belong to this view alone.
    mWindow.btnWriteComposite->setVisible(false);
    mWindow.btnPrint->setVisible(false);
}

CompositeView::~CompositeView() = default;

QWidget *CompositeView::surface() const
{
    return mSurface;
}

bool CompositeView::swathTabShown() const
{
    return mOn && mWindow.ImageStrip->currentIndex() == 1;
}

// --- Entering and leaving.

void CompositeView::CompositeCheck_Click()
{
    const bool ticked = mWindow.CompositeCheck->isChecked();
    if (mWs.CardCount() == 0 || ticked == mOn)
        return;
    mWs.CompositeCheck = ticked;
    setDependentControls(ticked);
    if (ticked)
        enter();
    else
        leave();

    int chosen = 1;
    for (int i = 1; i <= 3; ++i)
        if (mWindow.GraphOption[static_cast<size_t>(i)]->isChecked())
            chosen = i;
    mWindow.GraphOption_Click(chosen);
    mWs.CurrentVMD = GetCurrentVMD(mWs);
    mWindow.DrawResult();
    mWindow.UpdateHistogramLabels();
    mWindow.UpdateStatsLabels();
}

void CompositeView::setDependentControls(bool ticked)
{
    MainWindow &w = mWindow;
    for (QWidget *c : std::initializer_list<QWidget *>{w.btnLoad, w.btnLoadTemplate, w.btnScan, w.btnScanAll, w.Slider1,
                                                       w.Slider2, w.HueInvertCheck, w.HistogramPic, w.HScroll1,
                                                       w.VScroll1, w.MaskFrame, w.MaskCheck, w.BackColorOption[1],
                                                       w.BackColorOption[2]})
        c->setEnabled(!ticked);
    w.btnWriteComposite->setVisible(ticked);
    w.btnPrint->setVisible(ticked);
}

void CompositeView::enter()
{
    const int n = mWs.CardCount();
    loadWidthButtons(n - 1);
    mWindow.setWindowTitle(kCompositeCaption);
    mOn = true;
    // The chart keeps its drawing across repaints: it lives in mImage, shown over the card view.
    mSurface->setGeometry(mWindow.Picture1->rect());
    mSurface->show();
    mSurface->raise();

    if (mWs.Spray.Sample_Position1.empty() || mWs.Spray.Sample_Interval.empty())
        openPositionDialog(CardPosMode::AcceptOnly);
    PrepareSamplingLine(mWs, [this](LineProblem problem, const std::string &) {
        if (problem == LineProblem::PositionsNotNumbers) {
            // A stored text that is not a number: only the dialog can give the line.
            openPositionDialog(CardPosMode::AcceptOnly);
        } else if (problem == LineProblem::SamePositions) {
            mWindow.showMessage(QString::fromLatin1(kSamePositionMessage));
            // Closing it by its frame still counts as Cancel; the positions are not tested again.
            openPositionDialog(CardPosMode::NoCancel);
        }
        return true; // a line off the grid shows zero tables
    });

    {
        // One click for the whole rebuild: the tab strip is silent while it changes.
        const QSignalBlocker quiet(mWindow.ImageStrip);
        while (mWindow.ImageStrip->count() > 0)
            mWindow.ImageStrip->removeTab(0);
        mWindow.ImageStrip->addTab(QStringLiteral("Spray Line Statistics"));
        if (n > 2)
            mWindow.ImageStrip->addTab(QStringLiteral("Swath Analysis"));
        mWindow.ImageStrip->setCurrentIndex(0);
    }
    tabClicked();
}

void CompositeView::leave()
{
    hideCardLabels();
    showSwathExtras(false);
    unloadWidthButtons();
    hideCallouts();
    const CardImage &card = mWs.Card(std::clamp(mWs.CurrentCard, 1, mWs.CardCount()));
    mWindow.setWindowTitle(QStringLiteral("Orvinek Velmara -- ") + QString::fromStdString(card.FileName)
                           + QStringLiteral(" -- ") + QString::number(card.Dpi) + QStringLiteral(" dpi"));
    if (RangeSelected(mWs))
        CalcSingleRange(mWs, 0);
    {
        const QSignalBlocker quiet(mWindow.ImageStrip);
        while (mWindow.ImageStrip->count() > 0)
            mWindow.ImageStrip->removeTab(0);
        for (int i = 1; i <= mWs.CardCount(); ++i)
            mWindow.ImageStrip->addTab(QString::fromStdString(mWs.Card(i).FileName));
        mWindow.ImageStrip->setCurrentIndex(std::clamp(mWs.CurrentCard, 1, mWs.CardCount()) - 1);
    }
    mSurface->hide();
    mOn = false;
    // The picture is read again: the view showed something else meanwhile.
    mWs.ShownCard = 0;
    mWindow.selectCard(mWs.CurrentCard);
}

bool CompositeView::openPositionDialog(CardPosMode mode)
{
    if (mPositionDialogHook)
        return mPositionDialogHook(mode);
    StoreSettingsAccess settings(mStore);
    const QRect picture(mWindow.Picture1->mapToGlobal(QPoint(0, 0)), mWindow.Picture1->size());
    return ShowCardPosForm(&mWindow, mWs, settings, mode, picture);
}

// --- Tabs and the commands that redraw.

void CompositeView::tabClicked()
{
    if (!mOn)
        return;
    if (!swathTabShown()) {
        mChoice.select(0);
        mWindow.UpdateStatsLabels();
        DrawLineChart();
    } else {
        mChoice.select(static_cast<int>(mWs.SwathSets[static_cast<size_t>(mWs.CurrentSwathSet == 2 ? 2 : 1)].Width));
    }
}

void CompositeView::optSwathWidth_Click(int index)
{
    mChoice.select(index);
}

void CompositeView::refreshAtMouseUp()
{
    if (!mOn)
        return;
    if (RangeSelected(mWs))
        CalcCompositeRange(mWs);
    FillLineStats(mWs);
    RebuildSwathTables(mWs);
    if (!swathTabShown())
        DrawLineChart();
    else
        DrawSwathView(); // builds the overlap profile of the current set first
}

void CompositeView::graphModeChanged()
{
    if (!mOn)
        return;
    if (!swathTabShown())
        mWindow.UpdateStatsLabels();
    else
        mChoice.redrawAt(static_cast<int>(mWs.SwathSets[static_cast<size_t>(mWs.CurrentSwathSet == 2 ? 2 : 1)].Width));
}

void CompositeView::changePositions()
{
    if (!mOn)
        return;
    const std::string first = mWs.Spray.Sample_Position1;
    const std::string interval = mWs.Spray.Sample_Interval;
    openPositionDialog(CardPosMode::Ordinary);
    if (first == mWs.Spray.Sample_Position1 && interval == mWs.Spray.Sample_Interval)
        return;
    if (!swathTabShown()) {
        DrawLineChart();
    } else {
        RebuildSwathTables(mWs);
        mChoice.redrawAt(static_cast<int>(mWs.SwathSets[static_cast<size_t>(mWs.CurrentSwathSet == 2 ? 2 : 1)].Width));
    }
}

void CompositeView::applyPrefsEffect(const PrefsEffect &effect)
{
    if (!mOn)
        return;
    for (PrefsRedraw redraw : effect.Redraws) {
        switch (redraw) {
        case PrefsRedraw::DrawLineChart:
            DrawLineChart();
            break;
        case PrefsRedraw::BuildSwathTables:
            RebuildSwathTables(mWs);
            break;
        case PrefsRedraw::DrawSwathView:
            DrawSwathView();
            break;
        case PrefsRedraw::UpdateStatsLabels:
            mWindow.UpdateStatsLabels();
            break;
        }
    }
}

// --- Drawing.

QImage &CompositeView::canvasImage()
{
    QSize size = mWindow.Picture1->size();
    size = size.expandedTo(QSize(200, 150));
    if (mImage.size() != size)
        mImage = QImage(size, QImage::Format_RGB32);
    return mImage;
}

void CompositeView::commitImage()
{
    mSurface->setGeometry(mWindow.Picture1->rect());
    mSurface->update();
}

void CompositeView::DrawLineChart()
{
    if (!mOn)
        return;
    hideWidthButtons();
    // The scales follow the positions, the line statistics and the unit: computed afresh before
    // each drawing, which only reads.
    ComputeLineScales(mWs);
    LineChartLayout layout;
    {
        PainterChartCanvas canvas(canvasImage());
        layout = velmara::DrawLineChart(canvas, std::as_const(mWs));
        mChartScale = canvas.scale();
    }
    const int n = mWs.CardCount();
    ensureCardLabels(n);
    for (int i = 1; i <= n; ++i) {
        QLabel *label = CardLabel[static_cast<size_t>(i)];
        const CardMarker &m = layout.Markers[static_cast<size_t>(i)];
        label->setGeometry(m.Rect);
        static_cast<CardMarkerBox *>(label)->setFill(m.Scanned ? kChartWhite : kUnscannedMarker);
        label->show();
    }
    for (size_t i = static_cast<size_t>(n) + 1; i < CardLabel.size(); ++i)
        CardLabel[i]->hide();
    commitImage();
}

void CompositeView::DrawSwathView()
{
    if (!mOn)
        return;
    hideCardLabels();
    if (CalloutsShown) {
        hideCallouts();
        mWindow.setWindowTitle(kCompositeCaption);
    }
    PrepareSwathView(mWs);
    SwathViewLayout layout;
    {
        PainterChartCanvas canvas(canvasImage());
        layout = velmara::DrawSwathView(canvas, std::as_const(mWs), mPattern);
    }
    showSwathExtras(layout.Drawn);
    if (layout.Drawn) {
        for (size_t w = 1; w < optSwathWidth.size() && w < layout.ButtonCentreX.size(); ++w) {
            QRadioButton *b = optSwathWidth[w];
            b->move(static_cast<int>(std::lround(layout.ButtonCentreX[w] - b->width() / 2.0)), layout.ButtonTop);
            b->show();
        }
        mWindow.InfoLabel[1]->setText(layout.Info1);
        mWindow.InfoLabel[2]->setText(layout.Info2);
        mWindow.InfoLabel[3]->setText(layout.Info3);
        mWindow.VMDLabel->setText(layout.Vmd);
        mWindow.DropLabel->setText(layout.Drop);
        mWindow.VolumeLabel->setText(layout.Volume);
        mWindow.EffectiveInfoLabel->setText(layout.Info4);
        mWindow.EffectiveLabel->setText(layout.Effective);
    }
    commitImage();
}

void CompositeView::redrawAtNewSize()
{
    if (!mOn)
        return;
    if (swathTabShown()) {
        DrawSwathView();
        return;
    }
    // The callouts stand on the old scale.
    if (CalloutsShown) {
        hideCallouts();
        mWindow.setWindowTitle(kCompositeCaption);
    }
    DrawLineChart();
}

// --- Callouts.

void CompositeView::CardLabel_MouseMove(int index)
{
    if (!mOn || CalloutsShown || index < 1 || index > mWs.CardCount())
        return;
    QLabel *measure = DataLabel[1];
    const auto placed = PlaceCallouts(mWs, index, mChartScale, mImage.size(), [measure](const QString &text) {
        measure->setText(text);
        measure->adjustSize();
        return measure->size();
    });
    if (!placed)
        return;
    mWindow.setWindowTitle(placed->Caption);
    for (size_t b = 1; b <= 3; ++b) {
        DataLabel[b]->setText(placed->Bands[b].Text);
        DataLabel[b]->setGeometry(placed->Bands[b].Label);
        static_cast<CalloutLine *>(DataLabelLine[b])->setPoints(placed->Bands[b].LineFrom, placed->Bands[b].LineTo);
        DataLabelCircle[b]->setGeometry(placed->Bands[b].Circle);
    }
    // Labels, then lines, then circles: each shown over what came before.
    for (size_t b = 1; b <= 3; ++b) {
        DataLabel[b]->show();
        DataLabel[b]->raise();
    }
    for (size_t b = 1; b <= 3; ++b) {
        DataLabelLine[b]->show();
        DataLabelLine[b]->raise();
    }
    for (size_t b = 1; b <= 3; ++b) {
        DataLabelCircle[b]->show();
        DataLabelCircle[b]->raise();
    }
    CalloutsShown = true;
}

void CompositeView::Picture1_MouseMove()
{
    if (!mOn || !CalloutsShown)
        return;
    hideCallouts();
    mWindow.setWindowTitle(kCompositeCaption);
}

void CompositeView::hideCallouts()
{
    for (size_t b = 1; b <= 3; ++b) {
        DataLabel[b]->hide();
        DataLabelLine[b]->hide();
        DataLabelCircle[b]->hide();
    }
    CalloutsShown = false;
}

// --- Controls that come and go.

void CompositeView::loadWidthButtons(int count)
{
    unloadWidthButtons();
    const QStyle *style = mSurface->style();
    const QSize indicator(style->pixelMetric(QStyle::PM_ExclusiveIndicatorWidth),
                          style->pixelMetric(QStyle::PM_ExclusiveIndicatorHeight));
    for (int w = 1; w <= count; ++w) {
        auto *b = new QRadioButton(mSurface);
        b->setFixedSize(indicator + QSize(2, 2));
        b->setFocusPolicy(Qt::NoFocus);
        b->setToolTip(QString::number(w));
        b->hide();
        mWidthGroup->addButton(b, w);
        optSwathWidth.push_back(b);
    }
    mChoice.setCount(count);
}

void CompositeView::unloadWidthButtons()
{
    while (optSwathWidth.size() > 1) {
        QRadioButton *b = optSwathWidth.back();
        optSwathWidth.pop_back();
        mWidthGroup->removeButton(b);
        delete b;
    }
    mChoice.setCount(0);
}

void CompositeView::hideWidthButtons()
{
    for (size_t w = 1; w < optSwathWidth.size(); ++w)
        optSwathWidth[w]->hide();
    showSwathExtras(false);
}

void CompositeView::showSwathExtras(bool shown)
{
    int x = 4;
    for (QRadioButton *b : optSwathPattern) {
        b->move(x, 2);
        x += b->width() + 12;
        b->setVisible(shown);
        if (shown)
            b->raise();
    }
    mWindow.EffectiveInfoLabel->setVisible(shown);
    mWindow.EffectiveLabel->setVisible(shown);
}

void CompositeView::hideCardLabels()
{
    for (size_t i = 1; i < CardLabel.size(); ++i)
        CardLabel[i]->hide();
}

void CompositeView::ensureCardLabels(int count)
{
    while (CardLabel.size() < static_cast<size_t>(count) + 1) {
        auto *label = new CardMarkerBox(mSurface);
        label->setProperty(kCardIndexProperty, static_cast<int>(CardLabel.size()));
        label->installEventFilter(this);
        CardLabel.push_back(label);
    }
}

bool CompositeView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == mWindow.Picture1 && event->type() == QEvent::Resize) {
        mSurface->setGeometry(mWindow.Picture1->rect());
        redrawAtNewSize();
    } else if (event->type() == QEvent::MouseMove) {
        const QVariant index = watched->property(kCardIndexProperty);
        if (index.isValid()) {
            CardLabel_MouseMove(index.toInt());
            return true; // the marker is not the chart: the callouts stay
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace velmara
