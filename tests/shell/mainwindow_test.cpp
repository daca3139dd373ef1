#include "cardgen/cardgen.h"
#include "intake/loadimage.h"
#include "shell/application.h"
#include "shell/cardview.h"
#include "shell/colourquestionform.h"
#include "shell/infoform.h"
#include "shell/picturebox.h"
#include "shell/sprayinfoform.h"
#include "shelltest.h"
#include "statistics/range.h"
#include "views/statslabels.h"
#include "views/textforms.h"

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QTimer>
#include <QWheelEvent>
#include <QToolButton>

using namespace velmara;
using namespace velmara::shelltest;

namespace {

InfoForm *shownInfoForm()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *form = qobject_cast<InfoForm *>(w); form && form->isVisible())
            return form;
    return nullptr;
}

// The window with the scan log on; three cards are loaded in an unsorted order.
class WindowTest : public WindowFixture
{
protected:
    void SetUp() override { openWindow(3, true); }
    void loadThree() { window->loadChosenFiles({path("card03.bmp"), path("card01.bmp"), path("card02.bmp")}); }
};

} // namespace

TEST_F(WindowTest, LoadSortsShowsTheLastChosenAndRefuses)
{
    loadThree();
    EXPECT_EQ(tabs(), (QStringList{"card01.bmp", "card02.bmp", "card03.bmp"}));
    EXPECT_EQ(ws.CurrentCard, 3); // the last of the sorted names
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara -- card03.bmp -- 600 dpi");
    EXPECT_FALSE(ctl<QPushButton>("btnScan")->isEnabled());
    EXPECT_FALSE(window->KromeKotePicture().isNull());

    window->loadChosenFiles({path("card01.bmp")});
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0], "'card01.bmp' has\ralready been opened.");
    EXPECT_EQ(ws.CardCount(), 3);
    EXPECT_EQ(ws.CurrentCard, 1); // the name to show is found: the card already open

    ASSERT_TRUE(WriteFile(path("notes.txt"), {}));
    window->loadChosenFiles({path("notes.txt")});
    EXPECT_EQ(messages.last(), "'notes.txt' is an unsupported file type.");
}

TEST_F(WindowTest, DecodeScanAndDragARangeOnTheGraph)
{
    loadThree();
    window->selectCard(1);
    window->btnScanColour_Click();
    const CardImage &card = ws.Card(1);
    ASSERT_TRUE(card.PixelsReady);
    EXPECT_FALSE(ctl<QPushButton>("btnScanColourAll")->isEnabled()); // even though cards 2 and 3 aren't decoded
    EXPECT_FALSE(ctl<QGroupBox>("ResultFrame")->isVisibleTo(window.get()));

    window->btnScan_Click();
    ASSERT_TRUE(ws.Card(1).Scanned);
    ASSERT_GT(ws.Card(1).SizeRows(), 1);
    EXPECT_TRUE(ctl<QGroupBox>("ResultFrame")->isVisibleTo(window.get()));
    EXPECT_FALSE(ctl<QCheckBox>("CompositeCheck")->isVisibleTo(window.get())); // one scanned card
    EXPECT_TRUE(QFile::exists(path("card01.scn")));
    const CardStats own = ws.Card(1).Stats;
    EXPECT_EQ(ctl<QLabel>("VMDLabel")->text(), StatsTexts(own, ws.Metric).vmd);

    // Left button dragged from pixel 60 to 80, then the right button at pixel 200.
    PictureBox *graph = ctl<PictureBox>("ResultPic");
    const double x80 = graph->userX(80);
    const double x200 = graph->userX(200);
    QTest::mousePress(graph, Qt::LeftButton, Qt::NoModifier, QPoint(60, 30));
    QMouseEvent move(QEvent::MouseMove, QPointF(80, 30), graph->mapToGlobal(QPointF(80, 30)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(graph, &move);
    EXPECT_TRUE(ctl<QLabel>("SizeRangeLabel")->isVisible());
    EXPECT_EQ(ctl<QLabel>("SizeRangeLabel")->text(), FixedText(x80, 1));
    QTest::mouseRelease(graph, Qt::LeftButton, Qt::NoModifier, QPoint(80, 30));
    EXPECT_FALSE(ctl<QLabel>("SizeRangeLabel")->isVisible());
    EXPECT_FLOAT_EQ(ws.RangeLow, ToSingle(x80));
    QTest::mouseClick(graph, Qt::RightButton, Qt::NoModifier, QPoint(200, 30));
    EXPECT_FLOAT_EQ(ws.RangeHigh, ToSingle(x200));
    ASSERT_TRUE(RangeSelected(ws));
    EXPECT_EQ(ctl<QLabel>("VMDLabel")->text(), StatsTexts(ws.CardRange.Stats, ws.Metric).vmd);
    EXPECT_NE(ctl<QLabel>("VMDLabel")->text(), StatsTexts(own, ws.Metric).vmd);

    // A press with Shift moves no bound, but the release still refreshes.
    QTest::mouseClick(graph, Qt::LeftButton, Qt::ShiftModifier, QPoint(10, 30));
    EXPECT_FLOAT_EQ(ws.RangeLow, ToSingle(x80));
}

TEST_F(WindowTest, ScanAllShowsTheCompositeBoxAndKeysFollowTheTable)
{
    loadThree();
    key(Qt::Key_A, Qt::ControlModifier); // the shown card isn't decoded: decodes all
    EXPECT_TRUE(ws.Card(1).PixelsReady && ws.Card(2).PixelsReady && ws.Card(3).PixelsReady);
    key(Qt::Key_A, Qt::ControlModifier); // now scans all
    EXPECT_EQ(std::pair(ws.ScannedCount(), ws.CurrentCard), std::pair(3, 3));
    EXPECT_TRUE(ctl<QCheckBox>("CompositeCheck")->isVisibleTo(window.get()));

    // A card's tab names its file in full; the composite's tabs nothing.
    EXPECT_EQ(ctl<QTabBar>("ImageStrip")->tabToolTip(0), path("card01.bmp"));
    ws.Spray.Sample_Position1 = "-50";
    ws.Spray.Sample_Interval = "10";
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(ctl<QTabBar>("ImageStrip")->tabToolTip(0), QString());
    key(Qt::Key_C, Qt::ControlModifier);

    key(Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(ws.CurrentCard, 1); // round from the last to the first
    key(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(ws.CurrentCard, 3);
    key(Qt::Key_3, Qt::ControlModifier);
    EXPECT_EQ(ws.GraphMode, 3);
    EXPECT_EQ(ws.CurrentSwathSet, 2);
    EXPECT_TRUE(ctl<QRadioButton>("GraphOption3")->isChecked());
    EXPECT_EQ(ctl<QLabel>("ResultLabelY1")->text(), "0");
    key(Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(ctl<QLabel>("ResultLabelY1")->text(), "0%");

    key(Qt::Key_Delete, Qt::ShiftModifier); // other modifiers: nothing
    EXPECT_EQ(ws.CardCount(), 3);
    window->selectCard(1);
    key(Qt::Key_Delete); // the first of three: the new first is selected
    EXPECT_EQ(ws.CurrentCard, 1);
    EXPECT_EQ(tabs(), (QStringList{"card02.bmp", "card03.bmp"}));
    key(Qt::Key_Delete);
    EXPECT_FALSE(ctl<QCheckBox>("CompositeCheck")->isVisibleTo(window.get())); // one scanned card left

    key(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(ws.CardCount(), 0);
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara");
    EXPECT_EQ(tabs(), QStringList{"<No Image>"});
    EXPECT_FALSE(ctl<QGroupBox>("ResultFrame")->isVisibleTo(window.get()));
    EXPECT_FALSE(ctl<QPushButton>("btnScanColour")->isEnabled());
}

TEST_F(WindowTest, CtrlSDecodesThenScansAndDeleteWaitsForAPass)
{
    window->loadChosenFiles({path("card02.bmp")});
    key(Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(ws.Card(1).PixelsReady && !ws.Card(1).Scanned);
    key(Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(ws.Card(1).Scanned);

    // While a pass runs the list stays as it is.
    ctl<QProgressBar>("ProgressBar1")->setVisible(true);
    key(Qt::Key_Delete);
    key(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(ws.CardCount(), 1);
    ctl<QProgressBar>("ProgressBar1")->setVisible(false);
    key(Qt::Key_Delete); // the only card: the same state as Ctrl+Delete
    EXPECT_EQ(ws.CardCount(), 0);
    EXPECT_EQ(ws.CurrentCard, 1);
    window->loadChosenFiles({path("card02.bmp")}); // the next load reuses tab 1
    EXPECT_EQ(tabs(), QStringList{"card02.bmp"});
}

TEST_F(WindowTest, SlidersNeverCrossAndMaskingChangesOnlyTheColourTable)
{
    window->loadChosenFiles({path("card01.bmp")});
    window->btnScanColour_Click();
    ctl<QSlider>("Slider1")->setValue(255);
    EXPECT_EQ(ctl<QSlider>("Slider2")->value(), 255) << "pushed up by the low end";
    ctl<QCheckBox>("MaskCheck")->click(); // both at the top: the low end goes back to 0
    EXPECT_EQ(ctl<QSlider>("Slider1")->value(), 0);
    EXPECT_EQ(ws.Slider1, 0);

    const QImage &shown = window->KromeKotePicture();
    const uchar *pixels = shown.constBits();
    const CardImage &card = ws.Card(1);
    ASSERT_EQ(shown.format(), QImage::Format_Indexed8);
    EXPECT_EQ(shown.color(card.BackgroundIndex), qRgb(0, 0, 0)); // the background is always filled
    ctl<QSlider>("Slider2")->setValue(100); // below the red dye at 243
    const QImage &masked = window->KromeKotePicture();
    int dyeIndex = -1;
    for (size_t i = 1; i < card.ColourTable.size(); ++i)
        if (card.HueOfIndex[i] == 243) {
            dyeIndex = static_cast<int>(i);
            break;
        }
    ASSERT_GE(dyeIndex, 0);
    EXPECT_EQ(masked.color(dyeIndex), qRgb(0, 0, 0));
    ctl<QRadioButton>("BackColorOption2")->click();
    EXPECT_EQ(window->KromeKotePicture().color(dyeIndex), qRgb(255, 255, 255));
    ctl<QCheckBox>("HueInvertCheck")->click(); // 0..100 excluded: the dye keeps its colour
    const auto &own = card.ColourTable[static_cast<size_t>(dyeIndex)];
    EXPECT_EQ(window->KromeKotePicture().color(dyeIndex), qRgb(own[1], own[2], own[3]));
    EXPECT_EQ(window->KromeKotePicture().constBits(), pixels); // the pixels are never copied
    ctl<QCheckBox>("MaskCheck")->click();
    EXPECT_EQ(window->KromeKotePicture().color(dyeIndex), qRgb(own[1], own[2], own[3]));
}

TEST_F(WindowTest, VanishedPictureGivesOneMessageAndStillScans)
{
    loadThree();
    window->selectCard(1);
    window->btnScanColour_Click();
    ASSERT_TRUE(QFile::remove(path("card01.bmp")));
    window->selectCard(2);
    messages.clear();
    window->selectCard(1);
    ASSERT_EQ(messages.size(), 1);
    EXPECT_TRUE(messages[0].contains("card01.bmp"));
    EXPECT_TRUE(window->KromeKotePicture().isNull());
    window->selectCard(1); // selecting it again doesn't repeat the box
    EXPECT_EQ(messages.size(), 1);
    window->btnScan_Click();
    EXPECT_TRUE(ws.Card(1).Scanned);
}

// Beyond load, decode and scan: Cancel and Escape inside a running pass, closing during a pass,
// the histogram clicks, the information popup and panning.

// Escape reaches the running decode of card 3 through the message loop of the pass: no scan
// follows for it, the composite is made of the two cards scanned, and card 3 stays current.
TEST_F(WindowTest, EscapeDuringTheDecodeOfCardThreeInScanAll)
{
    loadCards(3);
    window->selectCard(1);
    window->btnScanColour_Click();
    ASSERT_TRUE(ws.Card(1).PixelsReady);

    int escapes = 0;
    QTimer watcher;
    watcher.setInterval(0);
    QObject::connect(&watcher, &QTimer::timeout, [&] {
        if (escapes == 0 && ws.CurrentCard == 3 && ctl<QProgressBar>("ProgressBar1")->isVisible()
            && ctl<QPushButton>("btnCancel")->isEnabled()) {
            ++escapes;
            QTest::keyClick(window.get(), Qt::Key_Escape);
        }
    });
    watcher.start();
    QTest::keyClick(window.get(), Qt::Key_A, Qt::ControlModifier); // card 1 is decoded: scans all
    watcher.stop();

    ASSERT_EQ(escapes, 1);
    EXPECT_TRUE(ws.Card(1).Scanned);
    EXPECT_TRUE(ws.Card(2).Scanned);
    EXPECT_FALSE(ws.Card(3).PixelsReady);
    EXPECT_EQ(ws.CurrentCard, 3);
    EXPECT_FALSE(QFile::exists(path("card03.scn")));
    auto stains = [](const auto &rows) {
        long n = 0;
        for (const SizeClass &row : rows)
            n += row.Count;
        return n;
    };
    EXPECT_EQ(stains(ws.CompositeAll.Classes), stains(ws.Card(1).SizeTable) + stains(ws.Card(2).SizeTable));
    EXPECT_FALSE(ctl<QPushButton>("btnCancel")->isEnabled());

    // Escape at rest only reselects the card; nothing is left to cancel.
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(ws.CancelRequested);
    EXPECT_EQ(ws.CurrentCard, 3);
}

TEST_F(WindowTest, CancelledRescanKeepsTheOldTable)
{
    window->loadChosenFiles({path("card02.bmp")});
    window->btnScanColour_Click();
    window->btnScan_Click();
    ASSERT_TRUE(ws.Card(1).Scanned);
    const size_t rows = ws.Card(1).SizeTable.size();
    const double vmd = ws.Card(1).Stats.Vmd;

    ctl<QSlider>("Slider2")->setValue(10); // a range that would leave no stain
    QTimer::singleShot(0, ctl<QPushButton>("btnCancel"), &QPushButton::click);
    window->btnScan_Click();
    EXPECT_EQ(ws.Card(1).SizeTable.size(), rows);
    EXPECT_DOUBLE_EQ(ws.Card(1).Stats.Vmd, vmd);
    EXPECT_FALSE(ws.CancelRequested);
    EXPECT_TRUE(messages.isEmpty()); // no message marks a cancel
}

// Closing during a pass cancels it, and the window goes as soon as the pass has ended, writing
// the preferences on its way out.
TEST_F(WindowTest, CloseDuringAPassWaitsForItsEnd)
{
    window->loadChosenFiles({path("card01.bmp")});
    ctl<QProgressBar>("ProgressBar1")->setVisible(true);
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(ws.CancelRequested);
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(store->GetSetting("Settings", "InitialDir", "").empty());

    ctl<QProgressBar>("ProgressBar1")->setVisible(false);
    ws.CancelRequested = false; // as the command does after its pass
    for (int waited = 0; window->isVisible() && waited < 2000; waited += 20)
        QTest::qWait(20);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(store->GetSetting("Settings", "InitialDir", ""), dir.path().toStdString() + "/");
}

TEST_F(WindowTest, HistogramClicksAndKeysSetTheEndsOfTheHueRange)
{
    window->loadChosenFiles({path("card01.bmp")});
    window->btnScanColour_Click();
    PictureBox *histogram = ctl<PictureBox>("HistogramPic");
    ASSERT_TRUE(histogram->isEnabled());
    // The scale runs from -1 across 256 units over 260 pixels, inside the frame.
    auto pixelOf = [&](double hue) { return static_cast<int>((hue + 1.0) * 260.0 / 256.0 + 0.5) + PictureBox::kFrame; };

    QTest::mouseClick(histogram, Qt::LeftButton, Qt::NoModifier, QPoint(pixelOf(100), 50));
    EXPECT_EQ(ctl<QSlider>("Slider1")->value(), 100);
    QTest::mouseClick(histogram, Qt::RightButton, Qt::NoModifier, QPoint(pixelOf(60), 50));
    EXPECT_EQ(ctl<QSlider>("Slider2")->value(), 60); // the right button moves the high end
    EXPECT_EQ(ctl<QSlider>("Slider1")->value(), 59); // and the low end keeps below it
    EXPECT_EQ(ws.Slider1, 59);

    // Left of the first column: the minimum. With Ctrl: nothing.
    QTest::mouseClick(histogram, Qt::LeftButton, Qt::NoModifier, QPoint(0, 50));
    EXPECT_EQ(ctl<QSlider>("Slider1")->value(), 0);
    QTest::mouseClick(histogram, Qt::LeftButton, Qt::ControlModifier, QPoint(pixelOf(30), 50));
    EXPECT_EQ(ctl<QSlider>("Slider1")->value(), 0);

    // The selected range is the white box; outside it the window colour.
    const QImage &image = histogram->image();
    EXPECT_EQ(image.pixel(pixelOf(30), 2), qRgb(255, 255, 255));
    EXPECT_NE(image.pixel(pixelOf(200), 2), qRgb(255, 255, 255));

    // The keys move a slider too, and the labels read the sliders, which keep their values
    // across a load.
    ctl<QSlider>("Slider2")->setFocus();
    QTest::keyClick(ctl<QSlider>("Slider2"), Qt::Key_PageDown);
    QApplication::processEvents();
    ASSERT_EQ(ctl<QSlider>("Slider2")->value(), 44);
    window->loadChosenFiles({path("card02.bmp")});
    EXPECT_EQ(ctl<QLabel>("Label2")->text(), "44");
}

TEST_F(WindowTest, RightButtonHeldShowsTheImageInformation)
{
    loadCards(3);
    QTest::mousePress(ctl<CardView>("Picture1"), Qt::RightButton, Qt::NoModifier, QPoint(40, 40));
    InfoForm *form = shownInfoForm();
    ASSERT_NE(form, nullptr);
    const auto *dpi = form->findChild<QLabel *>(QStringLiteral("ResLabel2"));
    ASSERT_NE(dpi, nullptr);
    EXPECT_EQ(dpi->text(), "600 d.p.i.");
    QTest::mouseRelease(ctl<CardView>("Picture1"), Qt::RightButton, Qt::NoModifier, QPoint(40, 40));
    QApplication::processEvents();
    EXPECT_EQ(shownInfoForm(), nullptr);

    // The left button and a right button with Shift show nothing.
    for (const auto &[button, mods] : {std::pair{Qt::LeftButton, Qt::NoModifier}, {Qt::RightButton, Qt::ShiftModifier}}) {
        QTest::mousePress(ctl<CardView>("Picture1"), button, mods, QPoint(40, 40));
        EXPECT_EQ(shownInfoForm(), nullptr) << button;
        QTest::mouseRelease(ctl<CardView>("Picture1"), button, mods, QPoint(40, 40));
    }
}

TEST_F(WindowTest, ScrollBarsPanOnePixelPerPixel)
{
    window->loadChosenFiles({path("card02.bmp")}); // 239 by 481 pixels
    window->resize(1024, 700);
    QApplication::processEvents();
    const QSize view = ctl<CardView>("Picture1")->size();
    ASSERT_LT(view.height(), 481);
    EXPECT_FALSE(ctl<QScrollBar>("HScroll1")->isEnabled());
    const int maximum = 481 - view.height();
    EXPECT_EQ(ctl<QScrollBar>("VScroll1")->maximum(), maximum);
    EXPECT_EQ(ctl<QScrollBar>("VScroll1")->pageStep(), qRound(maximum / 4.0));
    ctl<QScrollBar>("VScroll1")->setValue(7);
    EXPECT_EQ(ctl<CardView>("Picture1")->pan(), QPoint(0, 7));

    // The wheel pans a large card: down, Shift sideways, a sideways wheel likewise.
    ASSERT_TRUE(QFile::copy(QStringLiteral(VELMARA_SOURCE_DIR "/samples/sheet/sheet3x3.gif"), path("sheet.gif")));
    window->loadChosenFiles({path("sheet.gif")});
    const struct { QPoint delta; Qt::KeyboardModifiers mods; QPoint pan; } wheels[] = {
        {{0, -120}, Qt::NoModifier, {0, 48}}, {{0, -240}, Qt::ShiftModifier, {96, 48}},
        {{120, 0}, Qt::NoModifier, {48, 48}}, {{0, 240}, Qt::NoModifier, {48, 0}}};
    for (const auto &w : wheels) {
        const QPointF at(50, 50);
        QWheelEvent wheel(at, ctl<CardView>("Picture1")->mapToGlobal(at), QPoint(), w.delta, Qt::NoButton, w.mods,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(ctl<CardView>("Picture1"), &wheel);
        EXPECT_EQ(ctl<CardView>("Picture1")->pan(), w.pan) << w.delta.x() << "," << w.delta.y();
    }
}

// With the spray record asked for, declining it ends the scan command before anything moves;
// without the scan log the question isn't put at all.
TEST_F(WindowTest, DeclinedSprayRecordLeavesEverythingAsItWas)
{
    loadCards(3);
    window->selectCard(1);
    window->btnScanColour_Click();
    ws.LogAnalysis = true;
    ws.LogSprayInfo = true;
    int asked = 0;
    auto decline = [&] {
        if (auto *form = qobject_cast<SprayInfoForm *>(QApplication::activeModalWidget())) {
            ++asked;
            form->reject();
        }
    };
    QTimer::singleShot(0, decline);
    window->btnScanAll_Click();
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(ws.ScannedCount(), 0);
    EXPECT_FALSE(ws.Card(2).PixelsReady);
    EXPECT_EQ(ws.CurrentCard, 1);
    EXPECT_TRUE(ctl<QToolButton>("btnChangeRes")->isEnabled());

    QTimer::singleShot(0, decline);
    window->btnScan_Click();
    EXPECT_EQ(asked, 2);
    EXPECT_FALSE(ws.Card(1).Scanned);

    ws.LogAnalysis = false;
    QTimer::singleShot(0, decline);
    window->btnScan_Click();
    QApplication::processEvents();
    EXPECT_EQ(asked, 2);
    EXPECT_TRUE(ws.Card(1).Scanned);
    EXPECT_FALSE(QFile::exists(path("card01.scn"))); // no log asked for
}

// The message loop runs between two files of a choice, so Cancel stops the loading there; the
// card to show is still the last name chosen, and when it wasn't reached the current card stays.
// Before, on the empty list, the card commands change nothing.
TEST_F(WindowTest, EmptyListKeysThenCancelBetweenTheFilesOfOneChoice)
{
    for (const auto &[k, m] : {std::pair{Qt::Key_S, Qt::ControlModifier}, {Qt::Key_Tab, Qt::ControlModifier},
                               {Qt::Key_A, Qt::ControlModifier}, {Qt::Key_Delete, Qt::NoModifier}})
        key(k, m);
    EXPECT_EQ(std::tuple(ws.CardCount(), ws.CurrentCard), std::tuple(0, 1));
    EXPECT_TRUE(messages.isEmpty());

    QTimer::singleShot(0, ctl<QPushButton>("btnCancel"), &QPushButton::click);
    window->loadChosenFiles({path("card03.bmp"), path("card02.bmp"), path("card01.bmp")});
    ASSERT_EQ(ws.CardCount(), 1);
    EXPECT_EQ(ws.Card(1).FileName, "card01.bmp");
    EXPECT_EQ(ws.CurrentCard, 1);
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara -- card01.bmp -- 600 dpi");
    EXPECT_FALSE(ws.CancelRequested);
    EXPECT_EQ(ws.InitialDir, dir.path().toStdString() + "/");
}

// The tab strip stays live during a pass. A card clicked meanwhile that is not Scanned (Loaded,
// or Decoded only) shows no results when the pass ends, whether the button or Ctrl+S started it.
// Meanwhile the busy cursor shows and the commands that would do nothing look disabled.
TEST_F(WindowTest, CardClickedDuringAStainCountShowsNoResultsUnlessScanned)
{
    const struct { bool byKey, decodeAll; } cases[] = {{false, false}, {true, false}, {false, true}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "key " << c.byKey << " decodeAll " << c.decodeAll);
        key(Qt::Key_Delete, Qt::ControlModifier);
        loadThree();
        key(c.decodeAll ? Qt::Key_A : Qt::Key_S, Qt::ControlModifier); // card 3 shown: decodes
        ASSERT_TRUE(ws.Card(3).PixelsReady);
        bool clicked = false;
        QList<bool> busy; // busy cursor, Load, All, Cancel: the commands that would do nothing look idle
        QTimer watcher;
        QObject::connect(&watcher, &QTimer::timeout, [&] {
            if (!clicked && ctl<QProgressBar>("ProgressBar1")->isVisible()) {
                clicked = true;
                const QCursor *cursor = QApplication::overrideCursor();
                busy = {cursor && cursor->shape() == Qt::WaitCursor, ctl<QPushButton>("btnLoad")->isEnabled(),
                        ctl<QPushButton>("btnScanAll")->isEnabled(), ctl<QPushButton>("btnCancel")->isEnabled()};
                QTabBar *strip = ctl<QTabBar>("ImageStrip");
                QTest::mouseClick(strip, Qt::LeftButton, {}, strip->tabRect(0).center());
            }
        });
        watcher.start(0);
        if (c.byKey)
            key(Qt::Key_S, Qt::ControlModifier);
        else
            QTest::mouseClick(ctl<QPushButton>("btnScan"), Qt::LeftButton);
        watcher.stop();
        ASSERT_TRUE(clicked);
        EXPECT_EQ(busy, (QList<bool>{true, false, false, true}));
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
        EXPECT_TRUE(ctl<QPushButton>("btnLoad")->isEnabled());
        EXPECT_TRUE(ws.Card(3).Scanned);
        EXPECT_EQ(ws.CurrentCard, 1);
        EXPECT_TRUE(window->windowTitle().contains("card01.bmp"));
        EXPECT_FALSE(ctl<QGroupBox>("ResultFrame")->isVisible());
    }
}

// A step that throws inside a command is told in a box, and the window is back at rest: no bar,
// no busy cursor, Cancel idle, the commands live again. The failing step is the background
// question of card00, whose sample is all colour 1.
TEST_F(WindowTest, AFailingStepIsToldAndTheWindowComesBackToRest)
{
    ASSERT_TRUE(cardgen::WriteCard(cardgen::IndexedImage(60, 60, {{0, 0, 0}, cardgen::kWhite}, 1),
                                   path("card00.bmp").toStdString()));
    window->loadChosenFiles({path("card00.bmp"), path("card01.bmp"), path("card02.bmp")});
    auto answer = [&](bool fail) {
        window->setQuestionHook([fail](int, int, Byte, Byte) {
            if (fail)
                throw Failure(kOverflow);
            return Answer::Yes;
        });
    };
    const std::function<void()> starts[] = {
        [&] {
            QTest::mouseClick(ctl<QTabBar>("ImageStrip"), Qt::LeftButton, {}, ctl<QTabBar>("ImageStrip")->tabRect(0).center());
            QTest::mouseClick(ctl<QPushButton>("btnScanColour"), Qt::LeftButton);
        },
        [&] { key(Qt::Key_A, Qt::ControlModifier); },
        [&] {
            window->selectCard(2);
            key(Qt::Key_S, Qt::ControlModifier); // card01 decoded: the scan of all starts at card00
            QTest::mouseClick(ctl<QPushButton>("btnScanAll"), Qt::LeftButton);
        }};
    for (size_t i = 0; i < std::size(starts); ++i) {
        SCOPED_TRACE(i);
        answer(true);
        messages.clear();
        starts[i]();
        EXPECT_EQ(messages, QStringList{"Error: Overflow"});
        EXPECT_FALSE(ctl<QProgressBar>("ProgressBar1")->isVisible());
        EXPECT_FALSE(ctl<QPushButton>("btnCancel")->isEnabled());
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
        EXPECT_TRUE(ctl<QPushButton>("btnLoad")->isEnabled());
        EXPECT_TRUE(ctl<QToolButton>("btnChangeRes")->isEnabled());
        EXPECT_FALSE(ws.Card(1).PixelsReady);
    }
    // With a spread factor of 0 no drop has volume: one notice for the whole command.
    answer(false);
    ws.SpreadFactor = {0.0, 0.0, 0.0};
    key(Qt::Key_A, Qt::ControlModifier); // card00 decodes now
    messages.clear();
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(ws.ScannedCount(), 3);
    EXPECT_EQ(messages.count(QString::fromLatin1(kZeroVolumeNotice)), 1);
}

// Everything stays on an 800 by 600 screen: nothing is cut by the window's edge.
TEST_F(WindowTest, FitsAnEightHundredBySixHundredScreen)
{
    window = std::make_unique<MainWindow>(ws, *store, 600);
    window->setMessageHook([this](const QString &text) { messages << text; });
    window->setQuestionHook([](int, int, Byte, Byte) { return Answer::Yes; });
    window->show();
    window->resize(800, 570); // the height a task bar leaves
    loadThree();
    key(Qt::Key_A, Qt::ControlModifier);
    key(Qt::Key_A, Qt::ControlModifier);
    QApplication::processEvents();
    EXPECT_LE(window->width(), 800);
    EXPECT_LE(window->height(), 570);
    const QRect inside = window->rect();
    // The controls along the right and bottom edges.
    for (QWidget *w : std::initializer_list<QWidget *>{
             ctl<QScrollBar>("VScroll1"), ctl<QScrollBar>("HScroll1"), ctl<QToolButton>("btnChangeRes"), ctl<QLabel>("Label2"),
             ctl<QPushButton>("btnCancel"), ctl<QGroupBox>("MaskFrame"), ctl<QLabel>("ResultLabelX2"), ctl<QLabel>("VolumeLabel"),
             ctl<QCheckBox>("CompositeCheck")}) {
        EXPECT_TRUE(w->isVisible()) << w->metaObject()->className();
        const QRect r(w->mapTo(window.get(), QPoint(0, 0)), w->size());
        EXPECT_TRUE(inside.contains(r)) << w->metaObject()->className() << " " << r.x() << "," << r.y() << " "
                                        << r.width() << "x" << r.height();
    }
}

TEST(Startup, HueColoursAndScreenCheck)
{
    std::array<Long, 257> hue{};
    FillHueColour(hue);
    EXPECT_EQ(hue[42], 0x00ffff) << "42 holds 256 at 255: yellow, not a wrapped green";
    EXPECT_TRUE(ScreenHeightMessage(1024, 599).contains(QStringLiteral("set to 1024") + QChar(0x00D7) + "599."));
    EXPECT_TRUE(ScreenHeightMessage(640, 600).isEmpty());
}

TEST(Startup, TemporaryBitmapsGoAtExit)
{
    QTemporaryDir dir;
    for (const char *name : {"masktemp.bmp", "dither_temp.bmp", "clip1.bmp", "clip12.bmp", "temp.bmp", "card.bmp"})
        ASSERT_TRUE(WriteFile(dir.filePath(name), {}));
    RemoveTemporaryBitmaps(dir.path().toStdString() + "/");
    // temp.bmp is the decoder's to delete; the cards are never touched.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), (QStringList{"card.bmp", "temp.bmp"}));
}

TEST(InfoPopup, TextsInBothUnits)
{
    CardImage card;
    card.WidthPx = 2000;
    card.HeightPx = 3000;
    card.Dpi = 1200;
    card.MicronsPerPixelX = card.MicronsPerPixelY = MicronsPerPixelAt(1200);
    card.AreaCm2 = (2000 * card.MicronsPerPixelX / 10000) * (3000 * card.MicronsPerPixelY / 10000);
    const QChar micro(0x00B5), x(0x00D7), sq(0x00B2);
    const ImageInfoTexts m = ImageInformation(card, true);
    EXPECT_EQ(m.resolution, QStringLiteral("21.2 ") + micro + "m/pixel");
    EXPECT_EQ(m.size, QStringLiteral("4.23") + x + "6.35 cm");
    EXPECT_EQ(m.area, QStringLiteral("26.88 cm ") + sq);
    EXPECT_EQ(ImageInformation(card, false).area, QStringLiteral("4.17 inches ") + sq);
}
