// The single-card cycle of the main window beyond load, decode and scan: Cancel and Escape inside
// a running pass, closing during a pass, the histogram clicks, the information popup, panning,
// and the controls' captions and picture scales.

#include "settings/settingsstore.h"
#include "shell/infoform.h"
#include "shell/cardview.h"
#include "shell/mainwindow.h"
#include "shell/picturebox.h"
#include "shell/sprayinfoform.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>

using namespace velmara;

namespace {

void ensureApplication()
{
    if (QApplication::instance() == nullptr) {
        static int argc = 1;
        static char name[] = "test_shell";
        static char *argv[] = {name, nullptr};
        new QApplication(argc, argv);
    }
}

InfoForm *shownInfoForm()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *form = qobject_cast<InfoForm *>(w); form && form->isVisible())
            return form;
    return nullptr;
}

class CycleTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ensureApplication();
        ASSERT_TRUE(dir.isValid());
        for (const char *name : {"card01.bmp", "card02.bmp", "card03.bmp"})
            ASSERT_TRUE(QFile::copy(QStringLiteral(VELMARA_SOURCE_DIR "/samples/") + name, dir.filePath(name)));
        store = std::make_unique<SettingsStore>(dir.filePath(QStringLiteral("settings.ini")));
        store->SaveSetting("Prefs", "DefaultRes", "600");
        ws.TempDir = dir.path().toStdString() + "/";
        window = std::make_unique<MainWindow>(ws, *store, 768);
        window->setMessageHook([this](const QString &text) { messages << text; });
        window->setQuestionHook([](int, int, Byte, Byte) { return Answer::Yes; });
        window->resize(1024, 768);
        window->show();
    }

    QString path(const char *name) const { return dir.filePath(QLatin1String(name)); }
    void loadThree() { window->loadChosenFiles({path("card01.bmp"), path("card02.bmp"), path("card03.bmp")}); }

    QTemporaryDir dir;
    Workspace ws;
    std::unique_ptr<SettingsStore> store;
    std::unique_ptr<MainWindow> window;
    QStringList messages;
};

} // namespace

// Escape reaches the running decode of card 3 through the message loop of the pass: no scan
// follows for it, the composite is made of the two cards scanned, and card 3 stays current.
TEST_F(CycleTest, EscapeDuringTheDecodeOfCardThreeInScanAll)
{
    loadThree();
    window->selectCard(1);
    window->btnScanColour_Click();
    ASSERT_TRUE(ws.Card(1).PixelsReady);

    int escapes = 0;
    QTimer watcher;
    watcher.setInterval(0);
    QObject::connect(&watcher, &QTimer::timeout, [&] {
        if (escapes == 0 && ws.CurrentCard == 3 && window->ProgressBar1->isVisible()
            && window->btnCancel->isEnabled()) {
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
    EXPECT_FALSE(ws.Card(3).Scanned);
    EXPECT_EQ(ws.CurrentCard, 3);
    EXPECT_EQ(window->ImageStrip->currentIndex(), 2);
    EXPECT_FALSE(QFile::exists(path("card03.scn")));
    EXPECT_EQ(ws.CompositeAll.Stats.DropDensity > 0, true);
    long counted = 0;
    for (const SizeClass &row : ws.CompositeAll.Classes)
        counted += row.Count;
    long own = 0;
    for (int i = 1; i <= 2; ++i)
        for (const SizeClass &row : ws.Card(i).SizeTable)
            own += row.Count;
    EXPECT_EQ(counted, own);
    EXPECT_FALSE(ws.CancelRequested);
    EXPECT_FALSE(window->ProgressBar1->isVisible());
    EXPECT_FALSE(window->btnCancel->isEnabled());
    EXPECT_TRUE(window->btnChangeRes->isEnabled());

    // Escape at rest only reselects the card; nothing is left to cancel.
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(ws.CancelRequested);
    EXPECT_EQ(ws.CurrentCard, 3);
}

TEST_F(CycleTest, CancelledRescanKeepsTheOldTable)
{
    window->loadChosenFiles({path("card02.bmp")});
    window->btnScanColour_Click();
    window->btnScan_Click();
    ASSERT_TRUE(ws.Card(1).Scanned);
    const size_t rows = ws.Card(1).SizeTable.size();
    const double vmd = ws.Card(1).Stats.Vmd;

    window->Slider2->setValue(10); // a range that would leave no stain
    QTimer::singleShot(0, window->btnCancel, &QPushButton::click);
    window->btnScan_Click();
    EXPECT_EQ(ws.Card(1).SizeTable.size(), rows);
    EXPECT_DOUBLE_EQ(ws.Card(1).Stats.Vmd, vmd);
    EXPECT_FALSE(ws.CancelRequested);
    EXPECT_TRUE(window->btnChangeRes->isEnabled());
    EXPECT_TRUE(messages.isEmpty()); // no message marks a cancel
}

// Closing during a pass cancels it, and the window goes as soon as the pass has ended, writing
// the preferences on its way out.
TEST_F(CycleTest, CloseDuringAPassWaitsForItsEnd)
{
    window->loadChosenFiles({path("card01.bmp")});
    window->ProgressBar1->setVisible(true);
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(ws.CancelRequested);
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(store->GetSetting("Settings", "InitialDir", "").empty());

    window->ProgressBar1->setVisible(false);
    ws.CancelRequested = false; // as the command does after its pass
    for (int waited = 0; window->isVisible() && waited < 2000; waited += 20)
        QTest::qWait(20);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(store->GetSetting("Settings", "InitialDir", ""), dir.path().toStdString() + "/");
}

TEST_F(CycleTest, HistogramClicksSetTheEndsOfTheHueRange)
{
    window->loadChosenFiles({path("card01.bmp")});
    window->btnScanColour_Click();
    PictureBox *histogram = window->HistogramPic;
    ASSERT_TRUE(histogram->isEnabled());
    // The scale runs from -1 across 256 units over 260 pixels.
    auto pixelOf = [&](double hue) { return static_cast<int>((hue + 1.0) * 260.0 / 256.0 + 0.5); };

    QTest::mouseClick(histogram, Qt::LeftButton, Qt::NoModifier, QPoint(pixelOf(100), 50));
    EXPECT_EQ(window->Slider1->value(), 100);
    EXPECT_EQ(window->Label1->text(), "100");
    QTest::mouseClick(histogram, Qt::RightButton, Qt::NoModifier, QPoint(pixelOf(60), 50));
    EXPECT_EQ(window->Slider2->value(), 60); // the right button moves the high end
    EXPECT_EQ(window->Slider1->value(), 59); // and the low end keeps below it
    EXPECT_EQ(window->Label1->text(), "59");
    EXPECT_EQ(ws.Slider1, 59);
    EXPECT_EQ(ws.Slider2, 60);

    // Left of the first column: the minimum. With Ctrl: nothing.
    QTest::mouseClick(histogram, Qt::LeftButton, Qt::NoModifier, QPoint(0, 50));
    EXPECT_EQ(window->Slider1->value(), 0);
    QTest::mouseClick(histogram, Qt::LeftButton, Qt::ControlModifier, QPoint(pixelOf(30), 50));
    EXPECT_EQ(window->Slider1->value(), 0);

    // The selected range is the white box; outside it the window colour.
    const QImage &image = histogram->image();
    EXPECT_EQ(image.pixel(pixelOf(30), 2), qRgb(255, 255, 255));
    EXPECT_NE(image.pixel(pixelOf(200), 2), qRgb(255, 255, 255));
}

TEST_F(CycleTest, RightButtonHeldShowsTheImageInformation)
{
    loadThree();
    QTest::mousePress(window->Picture1, Qt::RightButton, Qt::NoModifier, QPoint(40, 40));
    InfoForm *form = shownInfoForm();
    ASSERT_NE(form, nullptr);
    const auto *dpi = form->findChild<QLabel *>(QStringLiteral("ResLabel2"));
    ASSERT_NE(dpi, nullptr);
    EXPECT_EQ(dpi->text(), "600 d.p.i.");
    QTest::mouseRelease(window->Picture1, Qt::RightButton, Qt::NoModifier, QPoint(40, 40));
    QApplication::processEvents();
    EXPECT_EQ(shownInfoForm(), nullptr);

    // The left button and a right button with Shift show nothing.
    QTest::mousePress(window->Picture1, Qt::LeftButton, Qt::NoModifier, QPoint(40, 40));
    EXPECT_EQ(shownInfoForm(), nullptr);
    QTest::mouseRelease(window->Picture1, Qt::LeftButton, Qt::NoModifier, QPoint(40, 40));
    QTest::mousePress(window->Picture1, Qt::RightButton, Qt::ShiftModifier, QPoint(40, 40));
    EXPECT_EQ(shownInfoForm(), nullptr);
    QTest::mouseRelease(window->Picture1, Qt::RightButton, Qt::ShiftModifier, QPoint(40, 40));
}

TEST_F(CycleTest, ScrollBarsPanOnePixelPerPixel)
{
    window->loadChosenFiles({path("card02.bmp")}); // 239 by 481 pixels
    window->resize(1024, 700);
    QApplication::processEvents();
    const QSize view = window->Picture1->size();
    ASSERT_LT(view.height(), 481);
    ASSERT_GT(view.width(), 239);
    EXPECT_FALSE(window->HScroll1->isEnabled());
    EXPECT_EQ(window->HScroll1->value(), 0);
    EXPECT_TRUE(window->VScroll1->isEnabled());
    const int maximum = 481 - view.height();
    EXPECT_EQ(window->VScroll1->maximum(), maximum);
    EXPECT_EQ(window->VScroll1->pageStep(), qRound(maximum / 4.0));
    window->VScroll1->setValue(7);
    EXPECT_EQ(window->Picture1->pan(), QPoint(0, 7));

    // A picture that fits: no bar.
    window->resize(1024, 1000);
    QApplication::processEvents();
    ASSERT_GE(window->Picture1->height(), 481);
    EXPECT_FALSE(window->VScroll1->isEnabled());
    EXPECT_EQ(window->Picture1->pan(), QPoint(0, 0));
}

TEST_F(CycleTest, CaptionsAccessKeysAndGraphScales)
{
    EXPECT_EQ(window->btnLoad->text(), "Load Image");
    EXPECT_EQ(window->btnScanColour->text(), "Scan Colours");
    EXPECT_EQ(window->btnScanColourAll->text(), "All");
    EXPECT_EQ(window->btnScan->text(), "Stain Count");
    EXPECT_EQ(window->btnScanAll->text(), "All");
    EXPECT_EQ(window->btnCancel->text(), "Cancel");
    EXPECT_EQ(window->HueInvertCheck->text(), "Invert");
    EXPECT_EQ(window->MaskFrame->title(), "Colour Masking");
    EXPECT_EQ(window->MaskCheck->text(), "&Mask all but these hues");
    EXPECT_EQ(window->BackColorOption[1]->text(), "Black");
    EXPECT_EQ(window->BackColorOption[2]->text(), "White");
    EXPECT_EQ(window->CompositeCheck->text(), "Composite");
    EXPECT_EQ(window->GraphOption[3]->text(), QStringLiteral("#/cm") + QChar(0x00B2));
    EXPECT_EQ(window->ResultLabel->text(), QStringLiteral("%1m").arg(QChar(0x00B5)));
    for (QToolButton *b : {window->btnLoadTemplate, window->btnPrefs, window->btnChangeRes,
                           window->btnWriteComposite, window->btnPrint})
        EXPECT_FALSE(b->icon().isNull());

    EXPECT_EQ(window->HistogramPic->size(), QSize(260, 105));
    EXPECT_DOUBLE_EQ(window->HistogramPic->scale().Left, -1.0);
    EXPECT_DOUBLE_EQ(window->HistogramPic->scale().Left + window->HistogramPic->scale().Width, 255.0);
    EXPECT_DOUBLE_EQ(window->HistogramPic->scale().Top + window->HistogramPic->scale().Height, -101.0);
    EXPECT_EQ(window->ResultPic->size(), QSize(290, 70));
    EXPECT_DOUBLE_EQ(window->ResultPic->scale().Height, -1.0);

    // "MS Sans Serif" 8 becomes the system's sans face at 8 points.
    EXPECT_DOUBLE_EQ(window->Label1->font().pointSizeF(), 8.0);
    EXPECT_DOUBLE_EQ(window->ResultLabelX1->font().pointSizeF(), 8.0);
}

// With the spray record asked for, declining it ends the scan command before anything moves;
// without the scan log the question isn't put at all.
TEST_F(CycleTest, DeclinedSprayRecordLeavesEverythingAsItWas)
{
    loadThree();
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
    EXPECT_TRUE(window->btnChangeRes->isEnabled());
    EXPECT_FALSE(window->ResultFrame->isVisibleTo(window.get()));

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
TEST_F(CycleTest, CancelBetweenTheFilesOfOneChoice)
{
    QTimer::singleShot(0, window->btnCancel, &QPushButton::click);
    window->loadChosenFiles({path("card03.bmp"), path("card02.bmp"), path("card01.bmp")});
    ASSERT_EQ(ws.CardCount(), 1);
    EXPECT_EQ(ws.Card(1).FileName, "card01.bmp");
    EXPECT_EQ(ws.CurrentCard, 1);
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara -- card01.bmp -- 600 dpi");
    EXPECT_FALSE(window->btnCancel->isEnabled());
    EXPECT_FALSE(ws.CancelRequested);
    EXPECT_EQ(ws.InitialDir, dir.path().toStdString() + "/");
}
