// The commands of the main window: loading, the card view, decoding, masking, scanning and the
// size graph's range selection.

#include "shell/mainwindow.h"

#include "analysis/scanimage.h"
#include "intake/colourdecode.h"
#include "intake/loadimage.h"
#include "intake/picture.h"
#include "reports/scanlog.h"
#include "shell/application.h"
#include "shell/cardview.h"
#include "shell/colourquestionform.h"
#include "shell/commondialogs.h"
#include "shell/compositeview.h"
#include "shell/infoform.h"
#include "shell/picturebox.h"
#include "shell/prefsform.h"
#include "shell/resolutionform.h"
#include "shell/spectrumwindow.h"
#include "shell/sprayinfoform.h"
#include "shell/storesettingsaccess.h"
#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "views/huehistogram.h"
#include "views/sizegraph.h"
#include "views/statslabels.h"
#include "views/textforms.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLocale>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

const QString kTitle = QStringLiteral("Orvinek Velmara");

char localeSeparator()
{
    const QString point = QLocale().decimalPoint();
    return point.size() == 1 && point.at(0).unicode() < 128 ? point.at(0).toLatin1() : '.';
}

QImage toImage(const Picture &picture)
{
    if (picture.Indexed()) {
        QImage image(picture.Width, picture.Height, QImage::Format_Indexed8);
        QList<QRgb> table;
        for (const PaletteEntry &e : picture.Palette)
            table.append(qRgb(e.Red, e.Green, e.Blue));
        while (table.size() < 256)
            table.append(qRgb(0, 0, 0));
        image.setColorTable(table);
        for (int y = 0; y < picture.Height; ++y)
            std::copy_n(picture.Row(y), picture.Width, image.scanLine(y));
        return image;
    }
    QImage image(picture.Width, picture.Height, QImage::Format_RGB888);
    for (int y = 0; y < picture.Height; ++y)
        std::copy_n(picture.Row(y), picture.RowBytes(), image.scanLine(y));
    return image;
}

// Answers the decoder's questions with the two dialogs of the window.
class WindowQuestions : public DecodeQuestions
{
public:
    explicit WindowQuestions(MainWindow &window) : mWindow(window) {}
    Answer AskBackground(const Workspace &ws, int cardIndex, Byte likeliestIndex) override
    {
        // A colour card's class can be shown only from its indexes, which the decoder hands over
        // at its end; every answer keeps the class, so the question waits until then.
        if (ws.Card(cardIndex).ColourScan.Colour) {
            mClassAsked = true;
            return Answer::Yes;
        }
        return mWindow.askQuestion(0, cardIndex, likeliestIndex, 0);
    }
    Answer AskDither(const Workspace &, int cardIndex, Byte backgroundIndex, Byte ditherIndex) override
    {
        return mWindow.askQuestion(1, cardIndex, ditherIndex, backgroundIndex);
    }

    bool classAsked() const { return mClassAsked; }

private:
    MainWindow &mWindow;
    bool mClassAsked = false;
};

} // namespace

// --- Loading.

void MainWindow::btnLoad_Click()
{
    if (passRunning())
        return;
    // A folder that no longer exists (the first run's "C:" among them) opens the home folder.
    QString start = QString::fromStdString(mWs.InitialDir);
    if (start.isEmpty() || !QDir(start).exists())
        start = QDir::homePath();
    const QStringList paths = QFileDialog::getOpenFileNames(this, QStringLiteral("Load Card Image(s)"), start,
                                                            CardImageFilter(mWs.ColourScans));
    Picture1->setFocus();
    repaint();
    if (paths.isEmpty())
        return;
    loadChosenFiles(paths);
}

void MainWindow::loadChosenFiles(const QStringList &paths)
{
    if (paths.isEmpty() || passRunning())
        return;
    std::string toShow;
    if (paths.size() > 1) {
        const std::string folder = QFileInfo(paths.front()).absolutePath().toStdString() + "/";
        std::vector<std::string> names;
        for (const QString &p : paths)
            names.push_back(QFileInfo(p).fileName().toStdString());
        std::sort(names.begin(), names.end());
        for (const std::string &name : names) {
            registerFile(name, folder);
            // The message loop runs between two files so that Cancel works here.
            QCoreApplication::processEvents();
            if (mWs.CancelRequested)
                break;
        }
        mWs.InitialDir = folder;
        toShow = names.back();
    } else {
        const QFileInfo info(paths.front());
        mWs.InitialDir = info.absolutePath().toStdString() + "/";
        toShow = info.fileName().toStdString();
        registerFile(toShow, mWs.InitialDir);
    }
    if (mWs.CardCount() > 0) {
        // The sort moves whole records; the picture in the view then belongs to some other index.
        if (!mWs.SortByName().empty())
            mWs.ShownCard = 0;
        rebuildTabs();
        const int found = mWs.FindByName(toShow);
        if (found > 0) {
            mWs.CurrentCard = found;
            mWs.ShownCard = found - 1;
        }
        if (mWs.CurrentCard == 0)
            mWs.CurrentCard = 1;
        btnChangeRes->setVisible(true);
        btnChangeRes->setEnabled(true);
        if (isMinimized())
            showNormal();
        selectCard(mWs.CurrentCard);
    }
    btnCancel->setEnabled(false);
    mWs.CancelRequested = false;
}

void MainWindow::registerFile(const std::string &fileName, const std::string &folder)
{
    CompositeCheck->setChecked(false);
    btnCancel->setEnabled(true);
    const LoadResult result = LoadImage(mWs, fileName, folder);
    if (!result.Ok) {
        showMessage(QString::fromStdString(result.Message), result.Exclamation);
        return;
    }
    rebuildTabs();
    setCardCaption(mWs.Card(result.CardIndex), QString());
    HistogramPic->clear(palette().color(QPalette::Window).rgb());
    showHueLabels();
    for (QWidget *w : std::initializer_list<QWidget *>{MaskFrame, MaskCheck, BackColorOption[1], BackColorOption[2]})
        w->setEnabled(false);
}

// --- The card view.

bool MainWindow::loadShownPicture(const CardImage &card)
{
    Picture picture;
    std::string error;
    std::string colourError;
    const bool read = ReadPicture(card.FullPath, PictureDepth::AnyDepth, picture, error) ||
                      (card.ColourScan.Colour && ReadColourPicture(card.FullPath, picture, colourError));
    if (!read) {
        if (!colourError.empty())
            error = colourError;
        mShownPicture = QImage();
        mOriginalTable.clear();
        // One message naming the file; the view stays grey and a decoded card still scans.
        showMessage(QStringLiteral("'") + QString::fromStdString(card.FullPath)
                    + QStringLiteral("' could not be shown.\r") + QString::fromStdString(error));
        return false;
    }
    mShownPicture = toImage(picture);
    mOriginalTable = mShownPicture.colorTable();
    return true;
}

void MainWindow::ImageStrip_Click()
{
    if (mWs.CardCount() == 0) {
        Picture1->clearPicture(Qt::white);
        return;
    }
    if (CompositeCheck->isChecked()) {
        mComposite->tabClicked(); // the tabs stand for the views of the composite there
        return;
    }
    mWs.CurrentCard = std::clamp(ImageStrip->currentIndex() + 1, 1, mWs.CardCount());
    const CardImage &card = mWs.Card(mWs.CurrentCard);
    if (!isMinimized() && mWs.ShownCard != mWs.CurrentCard) {
        setCardCaption(card, QStringLiteral(" -- Loading Image"));
        loadShownPicture(card);
        mWs.ShownCard = mWs.CurrentCard;
        if (MaskCheck->isChecked() && card.PixelsReady)
            BuildMask();
        mSliderGuard = true;
        HScroll1->setValue(0);
        VScroll1->setValue(0);
        mSliderGuard = false;
        updateScrollBars();
    }
    setCardCaption(card, QStringLiteral(" -- ") + QString::number(card.Dpi) + QStringLiteral(" dpi"));
    applyCardState(card);
    if (card.PixelsReady) {
        if (card.Scanned) {
            if (RangeSelected(mWs))
                CalcSingleRange(mWs, 0);
            mWs.CurrentVMD = GetCurrentVMD(mWs);
            DrawResult();
            UpdateHistogramLabels();
            UpdateStatsLabels();
        }
        DrawHueHistogram();
    }
    Picture1->setBackground(QColor(240, 240, 240));
    PaintCard();
}

void MainWindow::applyCardState(const CardImage &card)
{
    const bool decoded = card.PixelsReady;
    btnScanColour->setEnabled(!decoded);
    btnScanColourAll->setEnabled(!decoded);
    btnScan->setEnabled(decoded);
    btnScanAll->setEnabled(decoded);
    ResultFrame->setVisible(decoded && card.Scanned);
    HistogramPic->clear(palette().color(QPalette::Window).rgb());
    HistogramPic->setEnabled(decoded);
    for (QWidget *w : std::initializer_list<QWidget *>{Slider1, Slider2, HueInvertCheck, MaskFrame, MaskCheck,
                                                       BackColorOption[1], BackColorOption[2]})
        w->setEnabled(decoded);
    showStainBoundary(card);
}

void MainWindow::showStainBoundary(const CardImage &card)
{
    const ColourScanInfo &colour = card.ColourScan;
    for (QWidget *w : std::initializer_list<QWidget *>{StainBoundaryLabel, StainBoundaryBox, StainBoundaryAuto})
        w->setVisible(colour.Colour);
    // Until the card is decoded there is no boundary to show or move.
    const bool ready = colour.Colour && card.PixelsReady;
    StainBoundaryBox->setEnabled(ready);
    StainBoundaryAuto->setEnabled(ready);
    const QSignalBlocker quietBox(StainBoundaryBox);
    StainBoundaryBox->setSpecialValueText(ready ? QString() : QStringLiteral("Auto"));
    StainBoundaryBox->setValue(ready ? colour.StainBoundary : StainBoundaryBox->minimum());
    StainBoundaryAuto->setChecked(colour.BoundaryOverride < 0);
    if (ready)
        StainBoundaryAuto->setToolTip(QStringLiteral("Use the boundary found from the picture (%1)")
                                          .arg(colour.AutoBoundary));
}

void MainWindow::onStainBoundaryChanged()
{
    if (mWs.CardCount() == 0 || !StainBoundaryBox->isEnabled())
        return;
    const CardImage &card = mWs.Card(mWs.CurrentCard);
    if (!card.ColourScan.Colour || !card.PixelsReady || StainBoundaryBox->value() == card.ColourScan.StainBoundary)
        return;
    reclassifyCard(StainBoundaryBox->value());
}

void MainWindow::onStainBoundaryAutoClicked()
{
    if (mWs.CardCount() == 0)
        return;
    const CardImage &card = mWs.Card(mWs.CurrentCard);
    if (!card.ColourScan.Colour || !card.PixelsReady)
        return;
    // Unticking keeps the class as it is, now held by the card's own boundary.
    reclassifyCard(StainBoundaryAuto->isChecked() ? -1 : card.ColourScan.StainBoundary);
}

void MainWindow::reclassifyCard(int boundaryOverride)
{
    if (passRunning())
        return;
    const int index = mWs.CurrentCard;
    CardImage &card = mWs.Card(index);
    card.ColourScan.BoundaryOverride = boundaryOverride;
    const int boundary = boundaryOverride >= 0   ? boundaryOverride
                         : mWs.StainBoundary >= 0 ? std::min(mWs.StainBoundary, 255)
                                                  : card.ColourScan.AutoBoundary;
    if (boundary == card.ColourScan.StainBoundary) {
        showStainBoundary(card);
        return;
    }
    // The stain pixels follow from the class, so the card is decoded again and its count is void.
    card.PixelsReady = false;
    card.Scanned = false;
    decodeCard(index);
    mWs.CancelRequested = false;
    selectCard(index);
    if (MaskCheck->isChecked()) {
        BuildMask();
        PaintCard();
    }
}

void MainWindow::updateScrollBars()
{
    if (CompositeCheck->isChecked())
        return; // the chart covers the picture; the bars keep their place for the return
    const QSize picture = mShownPicture.size();
    const QSize view = Picture1->size();
    auto setBar = [](QScrollBar *bar, int pictureSide, int viewSide) {
        if (pictureSide > viewSide) {
            const int maximum = pictureSide - viewSide;
            bar->setRange(0, maximum);
            bar->setPageStep(static_cast<int>(std::nearbyint(maximum / 4.0)));
            bar->setEnabled(true);
        } else {
            bar->setRange(0, 0);
            bar->setEnabled(false);
        }
    };
    setBar(HScroll1, picture.width(), view.width());
    setBar(VScroll1, picture.height(), view.height());
    Picture1->setPan(HScroll1->value(), VScroll1->value());
}

void MainWindow::onScroll()
{
    // The picture follows the drag at once: one image pixel per screen pixel.
    Picture1->setPan(HScroll1->value(), VScroll1->value());
}

void MainWindow::PaintCard()
{
    Picture1->setPicture(&mShownPicture);
    Picture1->setPan(HScroll1->value(), VScroll1->value());
}

void MainWindow::onPictureMousePressed(QMouseEvent *event)
{
    if (event->button() != Qt::RightButton || ShiftCode(event->modifiers()) != 0
        || mWs.CardCount() == 0 || CompositeCheck->isChecked())
        return;
    if (mInfoForm)
        mInfoForm->close();
    mInfoForm = new InfoForm(mWs.Card(mWs.CurrentCard), mWs.Metric, this);
    mInfoForm->setAttribute(Qt::WA_DeleteOnClose);
    // Above and to the left of the pointer, kept on the screen.
    const QPoint global = event->globalPosition().toPoint();
    const int left = std::max(0, global.x() - mInfoForm->width() + 5);
    const int top = std::max(0, global.y() - mInfoForm->height() + 20);
    mInfoForm->move(left, top);
    mInfoForm->show();
}

void MainWindow::onPictureWheel(QWheelEvent *event)
{
    // A notch pans by three lines of 16 pixels; Shift, or a sideways wheel, pans across.
    const QPoint delta = event->angleDelta();
    const bool across = delta.x() != 0 || (event->modifiers() & Qt::ShiftModifier);
    const int notches = delta.x() != 0 ? delta.x() : delta.y();
    QScrollBar *bar = across ? HScroll1 : VScroll1;
    if (!bar->isEnabled() || CompositeCheck->isChecked())
        return;
    bar->setValue(bar->value() - notches * 3 * 16 / 120);
    event->accept();
}

void MainWindow::onPictureMouseReleased(QMouseEvent *event)
{
    if (event->button() == Qt::RightButton && ShiftCode(event->modifiers()) == 0 && mInfoForm)
        mInfoForm->close();
}

// --- Hue histogram, sliders and masking.

void MainWindow::DrawHueHistogram()
{
    if (mWs.CardCount() == 0)
        return;
    PainterCanvas *canvas = HistogramPic->beginDrawing();
    velmara::DrawHueHistogram(*canvas, mWs.Card(mWs.CurrentCard), mWs,
                              palette().color(QPalette::Window).rgb());
    HistogramPic->commit();
}

void MainWindow::BuildMask()
{
    if (mWs.CardCount() == 0 || mShownPicture.format() != QImage::Format_Indexed8)
        return;
    // Only the colour table changes, so a new mask costs the same on any size of card.
    const CardImage &card = mWs.Card(mWs.CurrentCard);
    const bool invert = HueInvertCheck->isChecked();
    const int low = Slider1->value();
    const int high = Slider2->value();
    const int fill = BackColorOption[1]->isChecked() ? 0 : 255;
    QList<QRgb> table = mOriginalTable;
    for (size_t i = 0; i < card.ColourTable.size() && i < static_cast<size_t>(table.size()); ++i) {
        const Long hue = card.HueOfIndex[i];
        bool masked = IsBackgroundEntry(card, static_cast<int>(i));
        // The mask keeps hues equal to the two ends when inverted; the scan counts them as outside.
        if (!invert && (hue < low || hue > high))
            masked = true;
        if (invert && hue > low && hue < high)
            masked = true;
        const auto &own = card.ColourTable[i];
        table[static_cast<int>(i)] = masked ? qRgb(fill, fill, fill) : qRgb(own[1], own[2], own[3]);
    }
    mShownPicture.setColorTable(table);
}

void MainWindow::onSliderValue(int which)
{
    if (mSliderGuard)
        return;
    sliderMoving(which);
    QSlider *slider = which == 1 ? Slider1 : Slider2;
    if (!slider->isSliderDown())
        sliderChanged();
}

void MainWindow::sliderMoving(int which)
{
    mWs.SliderSettled = false;
    mSliderGuard = true;
    if (which == 1 && Slider2->value() <= Slider1->value())
        Slider2->setValue(Slider1->value() + 1); // held at 255 at the end of the scale
    else if (which == 2 && Slider1->value() >= Slider2->value())
        Slider1->setValue(Slider2->value() - 1);
    mSliderGuard = false;
    showHueLabels();
    mWs.Slider1 = Slider1->value();
    mWs.Slider2 = Slider2->value();
    DrawHueHistogram();
    mWs.SliderSettled = true;
}

void MainWindow::sliderChanged()
{
    if (MaskCheck->isChecked() && mWs.SliderSettled) {
        BuildMask();
        PaintCard();
    }
}

void MainWindow::onHistogramPressed(int button, int shift, double x)
{
    if (shift != 0 || (button != 1 && button != 2))
        return;
    const int value = std::clamp(static_cast<int>(std::nearbyint(x)), 0, 255);
    mSliderGuard = true;
    (button == 1 ? Slider1 : Slider2)->setValue(value);
    mSliderGuard = false;
    sliderMoving(button);
    sliderChanged();
}

void MainWindow::onHueInvertClicked()
{
    mWs.HueInvertCheck = HueInvertCheck->isChecked();
    DrawHueHistogram();
    if (MaskCheck->isChecked() && mWs.SliderSettled) {
        BuildMask();
        PaintCard();
    }
}

void MainWindow::onBackColourClicked()
{
    if (MaskCheck->isChecked()) {
        BuildMask();
        PaintCard();
    }
}

void MainWindow::onMaskCheckClicked()
{
    if (mWs.CardCount() == 0)
        return;
    if (Slider1->value() == 255 && Slider2->value() == 255) {
        mSliderGuard = true;
        Slider1->setValue(0);
        mSliderGuard = false;
        mWs.Slider1 = 0;
        showHueLabels();
        DrawHueHistogram();
    }
    if (MaskCheck->isChecked()) {
        BuildMask();
    } else {
        if (mShownPicture.format() == QImage::Format_Indexed8)
            mShownPicture.setColorTable(mOriginalTable);
        const QString leftOver = QString::fromStdString(mWs.TempDir) + QStringLiteral("masktemp.bmp");
        if (QFile::exists(leftOver))
            QFile::remove(leftOver);
    }
    PaintCard();
}

// --- Decoding.

Answer MainWindow::askQuestion(int kind, int cardIndex, Byte suggested, Byte background)
{
    if (mQuestionHook)
        return mQuestionHook(kind, cardIndex, suggested, background);
    // The preview shows the top left part of the card with its own colours.
    QImage picture = mShownPicture;
    if (picture.format() == QImage::Format_Indexed8)
        picture.setColorTable(mOriginalTable);
    if (mWs.ShownCard != cardIndex) {
        Picture p;
        std::string error;
        if (ReadPicture(mWs.Card(cardIndex).FullPath, PictureDepth::AnyDepth, p, error))
            picture = toImage(p);
    }
    ColourQuestionForm form(kind == 0 ? ColourQuestionForm::Kind::Background : ColourQuestionForm::Kind::Dither,
                            mWs.Card(cardIndex), picture, suggested, background, this);
    form.exec();
    repaint();
    return form.choice();
}

Answer MainWindow::askClassQuestion(int cardIndex, const Picture &indexes)
{
    if (mQuestionHook)
        return mQuestionHook(0, cardIndex, 0, 0);
    const CardImage &card = mWs.Card(cardIndex);
    ColourQuestionForm form(ColourQuestionForm::Kind::BackgroundClass, card,
                            toImage(BackgroundClassPreview(card, indexes)), 0, 0, this);
    form.exec();
    repaint();
    return form.choice();
}

bool MainWindow::decodeCard(int index)
{
    WindowQuestions questions(*this);
    const BusyGuard busy(*this);
    // A colour card is shown by its table and indexes once decoded, so that masking, which
    // rewrites only the table, works for it as for an 8-bit card.
    Picture indexes;
    const bool colour = mWs.Card(index).ColourScan.Colour;
    const DecodeResult result = colour ? DecodeColourCard(mWs, index, questions, *mProgress, &indexes)
                                       : DecodeCard(mWs, index, questions, *mProgress);
    if (colour && result.Ok && questions.classAsked() && askClassQuestion(index, indexes) == Answer::YesToAll)
        mWs.DisableBackgroundWarning = true;
    if (colour && result.Ok && !indexes.Data.empty() && mWs.ShownCard == index) {
        mShownPicture = toImage(indexes);
        mOriginalTable = mShownPicture.colorTable();
    }
    if (!result.Ok && !result.Cancelled && !result.Message.empty())
        showMessage(QString::fromStdString(result.Message));
    return result.Ok;
}

void MainWindow::btnScanColour_Click()
{
    if (passRunning() || mWs.CardCount() == 0)
        return;
    btnChangeRes->setEnabled(false);
    Picture1->setFocus();
    repaint();
    decodeCard(mWs.CurrentCard);
    if (mWs.CancelRequested) {
        btnChangeRes->setEnabled(true);
        mWs.CancelRequested = false;
        return;
    }
    selectCard(mWs.CurrentCard);
    btnChangeRes->setEnabled(true);
    if (MaskCheck->isChecked()) {
        BuildMask();
        PaintCard();
    }
}

void MainWindow::btnScanColourAll_Click()
{
    if (passRunning() || mWs.CardCount() == 0)
        return;
    const int remembered = mWs.CurrentCard;
    btnChangeRes->setEnabled(false);
    Picture1->setFocus();
    repaint();
    {
        const BusyGuard busy(*this);
        for (int i = 1; i <= mWs.CardCount(); ++i) {
            if (!mWs.Card(i).PixelsReady) {
                selectCard(i);
                decodeCard(i);
            }
            if (mWs.CancelRequested)
                break;
        }
    }
    if (mWs.CancelRequested) {
        btnChangeRes->setEnabled(true);
        mWs.CancelRequested = false;
        return;
    }
    selectCard(remembered);
    if (isMinimized())
        showNormal();
    btnChangeRes->setEnabled(true);
}

// --- Scanning.

bool MainWindow::sprayRecordStep()
{
    if (!(mWs.LogAnalysis && mWs.LogSprayInfo))
        return true;
    StoreSettingsAccess settings(mStore);
    if (!ShowSprayInfoForm(this, mWs, settings))
        return false;
    AssignCardPositions(mWs);
    return true;
}

void MainWindow::afterScan(int index, const ScanOutcome &outcome)
{
    const ScanLogResult log = ScanLog(mWs, localeSeparator())
                                  .writeScanRecord(index, {outcome.HueLow, outcome.HueHigh, outcome.HueInvert});
    if (!log.Ok)
        showMessage(QString::fromStdString(log.Error));
    updateCompositeVisibility();
}

ScanAllSummary MainWindow::scanCards(const std::vector<int> &cards, bool followTabs)
{
    // The window's side of the scan driver: its boxes, its questions, and the tab of each card.
    class Hooks : public ScanAllHooks
    {
    public:
        Hooks(MainWindow &w, bool followTabs) : mW(w), mFollowTabs(followTabs) {}
        void cardStarted(int index) override
        {
            if (mFollowTabs)
                mW.selectCard(index);
        }
        void notify(int, const std::string &text) override { mW.showMessage(QString::fromStdString(text)); }
        void scanned(int index, const ScanOutcome &outcome) override { mW.afterScan(index, outcome); }

    private:
        MainWindow &mW;
        bool mFollowTabs;
    };

    Hooks hooks(*this, followTabs);
    WindowQuestions questions(*this);
    const BusyGuard busy(*this);
    if (followTabs)
        return ScanAllCards(mWs, questions, hooks, *mProgress);
    return ScanCards(mWs, cards, questions, hooks, *mProgress);
}

void MainWindow::updateCompositeVisibility()
{
    CompositeCheck->setVisible(mWs.ScannedCount() > 1);
}

void MainWindow::btnScan_Click()
{
    if (passRunning() || mWs.CardCount() == 0)
        return;
    Picture1->setFocus();
    if (!sprayRecordStep())
        return;
    btnChangeRes->setEnabled(false);
    if (scanCards({mWs.CurrentCard}, false).Cancelled) {
        btnChangeRes->setEnabled(true);
        return;
    }
    CalcCompositeAll(mWs);
    refreshAfterScan();
}

void MainWindow::btnScanAll_Click()
{
    if (passRunning() || mWs.CardCount() == 0)
        return;
    Picture1->setFocus();
    repaint();
    if (!sprayRecordStep())
        return;
    repaint();
    btnChangeRes->setEnabled(false);
    const ScanAllSummary summary = scanCards({}, true);
    // The cards scanned so far count, also after a cancel.
    CalcCompositeAll(mWs);
    if (summary.Cancelled) {
        btnChangeRes->setEnabled(true);
        return;
    }
    selectCard(mWs.CurrentCard);
    refreshAfterScan();
}

void MainWindow::refreshAfterScan()
{
    if (CompositeCheck->isChecked()) {
        if (RangeSelected(mWs))
            CalcCompositeRange(mWs);
    } else if (RangeSelected(mWs)) {
        CalcSingleRange(mWs, 0);
    }
    mWs.CurrentVMD = GetCurrentVMD(mWs);
    // The tab strip stays live during a pass: the card on show now may not be the one scanned,
    // and a card that is not Scanned has no results to show.
    const bool results = CompositeCheck->isChecked() || mWs.Card(mWs.CurrentCard).Scanned;
    ResultFrame->setVisible(results);
    if (results) {
        DrawResult();
        UpdateHistogramLabels();
        UpdateStatsLabels();
    }
    btnChangeRes->setEnabled(true);
}

void MainWindow::btnCancel_Click()
{
    mWs.CancelRequested = true;
}

void MainWindow::btnPrefs_Click()
{
    StoreSettingsAccess settings(mStore);
    const PrefsOutcome outcome = ShowPrefsForm(this, mWs, settings, ImageStrip->currentIndex() == 0);
    if (outcome.Effect.AssignPositions)
        AssignCardPositions(mWs);
    if (CompositeCheck->isChecked()) {
        mComposite->applyPrefsEffect(outcome.Effect);
        return;
    }
    for (PrefsRedraw redraw : outcome.Effect.Redraws) {
        if (redraw == PrefsRedraw::UpdateStatsLabels && mWs.CardCount() > 0
            && mWs.Card(mWs.CurrentCard).Scanned)
            UpdateStatsLabels();
    }
}

void MainWindow::btnChangeRes_Click()
{
    Picture1->setFocus();
    if (mWs.CardCount() == 0 || passRunning())
        return;
    if (CompositeCheck->isChecked()) {
        mComposite->changePositions();
        return;
    }
    const QRect picture(Picture1->mapToGlobal(QPoint(0, 0)), Picture1->size());
    ShowResolutionForm(this, mWs, picture, [this](const std::vector<int> &cards) {
        btnChangeRes->setEnabled(false);
        scanCards(cards, false);
        CalcCompositeAll(mWs);
        if (mWs.Card(mWs.CurrentCard).Scanned)
            refreshAfterScan();
        btnChangeRes->setEnabled(true);
    });
    const CardImage &card = mWs.Card(mWs.CurrentCard);
    setCardCaption(card, QStringLiteral(" -- ") + QString::number(card.Dpi) + QStringLiteral(" dpi"));
}

// --- The card list.

void MainWindow::removeSelectedCard()
{
    if (mWs.CardCount() == 0 || CompositeCheck->isChecked() || passRunning())
        return;
    const int index = ImageStrip->currentIndex() + 1;
    if (mWs.CardCount() == 1) {
        clearAllCards();
        return;
    }
    mWs.RemoveCard(index);
    updateCompositeVisibility();
    rebuildTabs();
    CalcCompositeAll(mWs);
    selectCard(mWs.CurrentCard);
}

void MainWindow::clearAllCards()
{
    if (CompositeCheck->isChecked() || passRunning())
        return;
    mWs.ClearAll();
    setEmptyState();
    btnLoad->setFocus();
    RemoveClipFiles(mWs.TempDir);
    mWs.CurrentCard = 1;
}

// --- The size graph.

void MainWindow::DrawResult()
{
    if (mWs.CardCount() == 0)
        return;
    PainterCanvas *canvas = ResultPic->beginDrawing();
    velmara::DrawResult(*canvas, mWs, mWs.CurrentCard);
    ResultPic->commit();
}

void MainWindow::UpdateHistogramLabels()
{
    const AxisLabelTexts t = HistogramLabelTexts(ResultPic->scale(), mWs.GraphMode);
    ResultLabelX1->setText(t.x1);
    ResultLabelX2->setText(t.x2);
    ResultLabelY1->setText(t.y1);
    ResultLabelY2->setText(t.y2);
    for (QLabel *l : {ResultLabelX1, ResultLabelX2, ResultLabelY1, ResultLabelY2})
        l->adjustSize();
    const QRect pic = ResultPic->imageGeometry();
    const int areaWidth = ResultPic->parentWidget()->width();
    const int below = pic.bottom() + 2;
    ResultLabelX1->move(pic.left() - ResultLabelX1->width() / 2, below);
    int x2 = pic.left() + pic.width() - ResultLabelX2->width() / 2;
    if (x2 + ResultLabelX2->width() > areaWidth - 4)
        x2 = areaWidth - ResultLabelX2->width() - 4;
    ResultLabelX2->move(x2, below);
    ResultLabelY2->move(pic.left() - 3 - ResultLabelY2->width(), pic.top() - 2);
    ResultLabelY1->move(pic.left() - 3 - ResultLabelY1->width(), pic.bottom() - ResultLabelY1->height() + 3);
}

void MainWindow::UpdateStatsLabels()
{
    const StatsLabelTexts t = StatsTexts(ShownStats(mWs, RangeSelected(mWs)), mWs.Metric);
    InfoLabel[1]->setText(t.info1);
    InfoLabel[2]->setText(t.info2);
    InfoLabel[3]->setText(t.info3);
    VMDLabel->setText(t.vmd);
    DropLabel->setText(t.drop);
    VolumeLabel->setText(t.volume);
    if (mSpectrum)
        mSpectrum->refresh(mWs);
}

void MainWindow::showSpectrum()
{
    if (!mSpectrum)
        mSpectrum = new SpectrumWindow(this);
    if (!mSpectrum->isVisible()) {
        const QPoint corner = ResultFrame->mapToGlobal(QPoint(ResultFrame->width() + 8, 0));
        mSpectrum->move(corner);
    }
    mSpectrum->show();
    mSpectrum->raise();
    mSpectrum->refresh(mWs);
}

void MainWindow::GraphOption_Click(int index)
{
    mWs.GraphMode = index;
    mWs.CurrentSwathSet = index == 3 ? 2 : 1;
    ResultFrame->setTitle(ResultFrameCaption(CompositeCheck->isChecked(), index));
    DrawResult();
    UpdateHistogramLabels();
    if (CompositeCheck->isChecked())
        mComposite->graphModeChanged();
}

void MainWindow::placeSizeRangeLabel(double x)
{
    SizeRangeLabel->adjustSize();
    const UserScale &s = ResultPic->scale();
    const double pixelsPerUnit = ResultPic->image().width() / s.Width;
    const double left = SizeRangeLabelLeft(x, SizeRangeLabel->width() / pixelsPerUnit, s.Width);
    SizeRangeLabel->move(static_cast<int>(std::lround((left - s.Left) * pixelsPerUnit)) + PictureBox::kFrame,
                         1 + PictureBox::kFrame);
    SizeRangeLabel->show();
    SizeRangeLabel->raise();
}

void MainWindow::onResultPressed(int button, int shift, double x, double)
{
    if (mWs.CardCount() == 0 || !PressRange(mWs, button, shift, x))
        return;
    SizeRangeLabel->setText(FixedText(x, 0));
    placeSizeRangeLabel(x);
    DrawResult();
}

void MainWindow::onResultMoved(int buttons, int shift, double x, double y)
{
    if (mWs.CardCount() == 0)
        return;
    if (DragRange(mWs, buttons, shift, x)) {
        SizeRangeLabel->setText(FixedText(x, 1));
        placeSizeRangeLabel(x);
        DrawResult();
    }
    ResultPic->setToolTip(SizeGraphToolTip(mWs.MouseCoords, mWs.GraphMode, x, y));
}

void MainWindow::onResultReleased()
{
    if (mWs.CardCount() == 0)
        return;
    SizeRangeLabel->hide();
    if (CompositeCheck->isChecked())
        mComposite->refreshAtMouseUp();
    else if (RangeSelected(mWs))
        CalcSingleRange(mWs, 0);
    mWs.CurrentVMD = GetCurrentVMD(mWs);
    DrawResult();
    // The swath view has put its own texts on the statistics labels.
    if (!mComposite->swathTabShown())
        UpdateStatsLabels();
}

} // namespace velmara
