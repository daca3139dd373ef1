#include "intake/loadimage.h"
#include "settings/settingsstore.h"
#include "shell/application.h"
#include "shell/colourquestionform.h"
#include "shell/infoform.h"
#include "shell/mainwindow.h"
#include "shell/picturebox.h"
#include "statistics/range.h"
#include "views/statslabels.h"
#include "views/textforms.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
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

// A window over copies of the sample cards, with the questions and boxes answered by script.
class WindowTest : public ::testing::Test
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
        window->setQuestionHook([this](int kind, int, Byte, Byte) {
            ++(kind == 0 ? backgroundQuestions : ditherQuestions);
            return Answer::Yes;
        });
        window->resize(1024, 768);
        window->show();
    }

    QString path(const char *name) const { return dir.filePath(QLatin1String(name)); }
    void loadThree() { window->loadChosenFiles({path("card03.bmp"), path("card01.bmp"), path("card02.bmp")}); }
    void key(int k, Qt::KeyboardModifiers m = Qt::NoModifier) { QTest::keyClick(window.get(), Qt::Key(k), m); }

    QTemporaryDir dir;
    Workspace ws;
    std::unique_ptr<SettingsStore> store;
    std::unique_ptr<MainWindow> window;
    QStringList messages;
    int backgroundQuestions = 0;
    int ditherQuestions = 0;
};

} // namespace

TEST_F(WindowTest, EmptyWindowAndItsKeys)
{
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara");
    EXPECT_EQ(window->ImageStrip->count(), 1);
    EXPECT_EQ(window->ImageStrip->tabText(0), "<No Image>");
    EXPECT_FALSE(window->btnScanColour->isEnabled());
    EXPECT_FALSE(window->btnScan->isEnabled());
    EXPECT_FALSE(window->ResultFrame->isVisibleTo(window.get()));
    EXPECT_FALSE(window->btnChangeRes->isVisibleTo(window.get()));
    EXPECT_FALSE(window->Slider1->isEnabled());
    EXPECT_EQ(window->ResultFrame->title(), "Scan Results  (Volume Fraction)");
    // Only Ctrl+P and Ctrl+L act on an empty list; the rest change nothing.
    key(Qt::Key_S, Qt::ControlModifier);
    key(Qt::Key_Tab, Qt::ControlModifier);
    key(Qt::Key_2, Qt::ControlModifier);
    key(Qt::Key_Delete);
    EXPECT_EQ(ws.GraphMode, 1);
    EXPECT_EQ(ws.CurrentCard, 1);
    EXPECT_EQ(ws.CardCount(), 0);
    EXPECT_TRUE(messages.isEmpty());
}

TEST_F(WindowTest, LoadSortsShowsTheLastChosenAndRefuses)
{
    loadThree();
    ASSERT_EQ(ws.CardCount(), 3);
    EXPECT_EQ(window->ImageStrip->tabText(0), "card01.bmp");
    EXPECT_EQ(window->ImageStrip->tabText(2), "card03.bmp");
    EXPECT_EQ(ws.CurrentCard, 3); // the last of the sorted names
    EXPECT_EQ(ws.ShownCard, 3);
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara -- card03.bmp -- 600 dpi");
    EXPECT_EQ(ws.InitialDir, dir.path().toStdString() + "/");
    EXPECT_TRUE(window->btnChangeRes->isVisibleTo(window.get()));
    EXPECT_TRUE(window->btnScanColour->isEnabled());
    EXPECT_TRUE(window->btnScanColourAll->isEnabled());
    EXPECT_FALSE(window->btnScan->isEnabled());
    EXPECT_FALSE(window->MaskCheck->isEnabled());
    EXPECT_FALSE(window->KromeKotePicture().isNull());
    EXPECT_FALSE(window->btnCancel->isEnabled());

    window->loadChosenFiles({path("card01.bmp")});
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0], "'card01.bmp' has\ralready been opened.");
    EXPECT_EQ(ws.CardCount(), 3);
    EXPECT_EQ(ws.CurrentCard, 1); // the name to show is found: the card already open

    QFile notes(path("notes.txt"));
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.close();
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
    EXPECT_FALSE(window->btnScanColour->isEnabled());
    EXPECT_FALSE(window->btnScanColourAll->isEnabled()); // even though cards 2 and 3 aren't decoded
    EXPECT_TRUE(window->btnScan->isEnabled());
    EXPECT_TRUE(window->Slider1->isEnabled());
    EXPECT_TRUE(window->MaskCheck->isEnabled());
    EXPECT_FALSE(window->ResultFrame->isVisibleTo(window.get()));
    EXPECT_FALSE(window->ProgressBar1->isVisibleTo(window.get()));

    window->btnScan_Click();
    ASSERT_TRUE(ws.Card(1).Scanned);
    ASSERT_GT(ws.Card(1).SizeRows(), 1);
    EXPECT_TRUE(window->ResultFrame->isVisibleTo(window.get()));
    EXPECT_FALSE(window->CompositeCheck->isVisibleTo(window.get())); // one scanned card
    EXPECT_TRUE(QFile::exists(path("card01.scn")));
    const CardStats own = ws.Card(1).Stats;
    EXPECT_EQ(window->VMDLabel->text(), StatsTexts(own, ws.Metric).vmd);
    EXPECT_EQ(window->ResultLabelX1->text(), "0.0");

    // Left button dragged from pixel 60 to 80, then the right button at pixel 200.
    PictureBox *graph = window->ResultPic;
    const double x80 = graph->userX(80);
    const double x200 = graph->userX(200);
    QTest::mousePress(graph, Qt::LeftButton, Qt::NoModifier, QPoint(60, 30));
    QMouseEvent move(QEvent::MouseMove, QPointF(80, 30), graph->mapToGlobal(QPointF(80, 30)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(graph, &move);
    EXPECT_TRUE(window->SizeRangeLabel->isVisible());
    EXPECT_EQ(window->SizeRangeLabel->text(), FixedText(x80, 1));
    QTest::mouseRelease(graph, Qt::LeftButton, Qt::NoModifier, QPoint(80, 30));
    EXPECT_FALSE(window->SizeRangeLabel->isVisible());
    EXPECT_FLOAT_EQ(ws.RangeLow, ToSingle(x80));
    QTest::mouseClick(graph, Qt::RightButton, Qt::NoModifier, QPoint(200, 30));
    EXPECT_FLOAT_EQ(ws.RangeHigh, ToSingle(x200));
    ASSERT_TRUE(RangeSelected(ws));
    const StatsLabelTexts range = StatsTexts(ws.CardRange.Stats, ws.Metric);
    EXPECT_EQ(window->VMDLabel->text(), range.vmd);
    EXPECT_EQ(window->DropLabel->text(), range.drop);
    EXPECT_EQ(window->VolumeLabel->text(), range.volume);
    EXPECT_NE(window->VMDLabel->text(), StatsTexts(own, ws.Metric).vmd);
    EXPECT_DOUBLE_EQ(ws.CurrentVMD, ws.CardRange.Stats.Vmd);

    // A press with Shift moves no bound, but the release still refreshes.
    QTest::mouseClick(graph, Qt::LeftButton, Qt::ShiftModifier, QPoint(10, 30));
    EXPECT_FLOAT_EQ(ws.RangeLow, ToSingle(x80));
}

TEST_F(WindowTest, ScanAllShowsTheCompositeBoxAndKeysFollowTheTable)
{
    loadThree();
    key(Qt::Key_A, Qt::ControlModifier); // the shown card isn't decoded: decodes all
    for (int i = 1; i <= 3; ++i)
        EXPECT_TRUE(ws.Card(i).PixelsReady);
    EXPECT_EQ(ws.CurrentCard, 3);
    key(Qt::Key_A, Qt::ControlModifier); // now scans all
    EXPECT_EQ(ws.ScannedCount(), 3);
    EXPECT_EQ(ws.CurrentCard, 3);
    EXPECT_TRUE(window->CompositeCheck->isVisibleTo(window.get()));

    key(Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(ws.CurrentCard, 1); // round from the last to the first
    EXPECT_EQ(window->ImageStrip->currentIndex(), 0);
    key(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(ws.CurrentCard, 3);
    key(Qt::Key_3, Qt::ControlModifier);
    EXPECT_EQ(ws.GraphMode, 3);
    EXPECT_EQ(ws.CurrentSwathSet, 2);
    EXPECT_TRUE(window->GraphOption[3]->isChecked());
    EXPECT_EQ(window->ResultFrame->title(), QStringLiteral("Scan Results  (drops/cm ") + QChar(0x00B2) + ")");
    EXPECT_EQ(window->ResultLabelY1->text(), "0");
    key(Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(window->ResultLabelY1->text(), "0%");

    key(Qt::Key_Delete, Qt::ShiftModifier); // other modifiers: nothing
    EXPECT_EQ(ws.CardCount(), 3);
    window->selectCard(1);
    key(Qt::Key_Delete); // the first of three: the new first is selected
    ASSERT_EQ(ws.CardCount(), 2);
    EXPECT_EQ(ws.CurrentCard, 1);
    EXPECT_EQ(window->ImageStrip->count(), 2);
    EXPECT_EQ(window->ImageStrip->tabText(0), "card02.bmp");
    EXPECT_TRUE(window->CompositeCheck->isVisibleTo(window.get()));
    key(Qt::Key_Delete);
    EXPECT_FALSE(window->CompositeCheck->isVisibleTo(window.get())); // one scanned card left

    key(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(ws.CardCount(), 0);
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara");
    EXPECT_EQ(window->ImageStrip->tabText(0), "<No Image>");
    EXPECT_FALSE(window->ResultFrame->isVisibleTo(window.get()));
    EXPECT_FALSE(window->btnChangeRes->isVisibleTo(window.get()));
    EXPECT_FALSE(window->btnScanColour->isEnabled());
    EXPECT_FALSE(ws.DisableBackgroundWarning);
}

TEST_F(WindowTest, CtrlSDecodesThenScansAndDeleteWaitsForAPass)
{
    window->loadChosenFiles({path("card02.bmp")});
    key(Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(ws.Card(1).PixelsReady);
    EXPECT_FALSE(ws.Card(1).Scanned);
    key(Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(ws.Card(1).Scanned);

    // While a pass runs the list stays as it is.
    window->ProgressBar1->setVisible(true);
    key(Qt::Key_Delete);
    key(Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_EQ(ws.CardCount(), 1);
    window->ProgressBar1->setVisible(false);
    key(Qt::Key_Delete); // the only card: the same state as Ctrl+Delete
    EXPECT_EQ(ws.CardCount(), 0);
    EXPECT_EQ(ws.CurrentCard, 1);
    window->loadChosenFiles({path("card02.bmp")}); // the next load reuses tab 1
    EXPECT_EQ(window->ImageStrip->count(), 1);
    EXPECT_EQ(window->ImageStrip->tabText(0), "card02.bmp");
}

TEST_F(WindowTest, SlidersNeverCrossAndMaskingChangesOnlyTheColourTable)
{
    window->loadChosenFiles({path("card01.bmp")});
    window->btnScanColour_Click();
    window->Slider1->setValue(255);
    EXPECT_EQ(window->Slider1->value(), 255);
    EXPECT_EQ(window->Slider2->value(), 255);
    EXPECT_EQ(window->Label1->text(), "255");
    window->MaskCheck->click(); // both at the top: the low end goes back to 0
    EXPECT_EQ(window->Slider1->value(), 0);
    EXPECT_EQ(ws.Slider1, 0);

    const QImage &shown = window->KromeKotePicture();
    const uchar *pixels = shown.constBits();
    const CardImage &card = ws.Card(1);
    ASSERT_EQ(shown.format(), QImage::Format_Indexed8);
    EXPECT_EQ(shown.color(card.BackgroundIndex), qRgb(0, 0, 0)); // the background is always filled
    window->Slider2->setValue(100); // below the red dye at 243
    const QImage &masked = window->KromeKotePicture();
    int dyeIndex = -1;
    for (size_t i = 1; i < card.ColourTable.size(); ++i)
        if (card.HueOfIndex[i] == 243) {
            dyeIndex = static_cast<int>(i);
            break;
        }
    ASSERT_GE(dyeIndex, 0);
    EXPECT_EQ(masked.color(dyeIndex), qRgb(0, 0, 0));
    window->BackColorOption[2]->click();
    EXPECT_EQ(window->KromeKotePicture().color(dyeIndex), qRgb(255, 255, 255));
    window->HueInvertCheck->click(); // 0..100 excluded: the dye keeps its colour
    const auto &own = card.ColourTable[static_cast<size_t>(dyeIndex)];
    EXPECT_EQ(window->KromeKotePicture().color(dyeIndex), qRgb(own[1], own[2], own[3]));
    EXPECT_EQ(window->KromeKotePicture().constBits(), pixels); // the pixels are never copied
    window->MaskCheck->click();
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

TEST(Startup, HueColoursAndScreenCheck)
{
    std::array<Long, 257> hue{};
    FillHueColour(hue);
    auto rgb = [&](int i) {
        const Long v = hue[static_cast<size_t>(i)];
        return std::array<int, 3>{v & 255, (v >> 8) & 255, (v >> 16) & 255};
    };
    EXPECT_EQ(rgb(0), (std::array<int, 3>{255, 0, 0}));
    EXPECT_EQ(rgb(41), (std::array<int, 3>{255, 246, 0}));
    EXPECT_EQ(rgb(42), (std::array<int, 3>{255, 255, 0})); // 256 held at 255
    EXPECT_EQ(rgb(43), (std::array<int, 3>{250, 255, 0}));
    EXPECT_EQ(rgb(126), (std::array<int, 3>{0, 255, 255}));
    EXPECT_EQ(rgb(251), (std::array<int, 3>{255, 0, 10}));
    EXPECT_EQ(rgb(252), (std::array<int, 3>{255, 0, 0}));
    EXPECT_EQ(rgb(256), (std::array<int, 3>{255, 0, 0}));

    const QChar x(0x00D7);
    EXPECT_EQ(ScreenHeightMessage(1024, 599),
              QStringLiteral("Your screen resolution is currently set to 1024") + x
                  + "599.\r\rVelmara was designed to run at a minimum resolution\rof 800" + x
                  + "600, and preferably 1024" + x + "768 or higher.\r\rClick OK to access the display settings.");
    EXPECT_TRUE(ScreenHeightMessage(640, 600).isEmpty());
}

TEST(Startup, TemporaryBitmapsGoAtExit)
{
    QTemporaryDir dir;
    for (const char *name : {"masktemp.bmp", "dither_temp.bmp", "clip1.bmp", "clip12.bmp", "temp.bmp", "card.bmp"}) {
        QFile f(dir.filePath(name));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    }
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
    EXPECT_EQ(m.dpi, "1200 d.p.i.");
    EXPECT_EQ(m.pixels, QStringLiteral("2000") + x + "3000 pixels");
    EXPECT_EQ(m.size, QStringLiteral("4.23") + x + "6.35 cm");
    EXPECT_EQ(m.area, QStringLiteral("26.88 cm ") + sq);
    const ImageInfoTexts us = ImageInformation(card, false);
    EXPECT_EQ(us.size, QStringLiteral("1.67") + x + "2.50 inches");
    EXPECT_EQ(us.area, QStringLiteral("4.17 inches ") + sq);
}

TEST(ColourQuestion, PreviewPatchesOnlyTheTableAndKeysAnswer)
{
    ensureApplication();
    QImage picture(8, 4, QImage::Format_Indexed8);
    picture.setColorTable({qRgb(255, 255, 255), qRgb(10, 200, 30), qRgb(200, 0, 0)});
    picture.fill(1);
    picture.setPixel(3, 2, 2);
    const QImage preview = PreviewWithOnlyIndex(picture, 1);
    EXPECT_EQ(preview.color(0), qRgb(0, 0, 0));
    EXPECT_EQ(preview.color(1), qRgb(10, 200, 30));
    EXPECT_EQ(preview.color(2), qRgb(0, 0, 0));
    EXPECT_EQ(preview.pixelIndex(3, 2), 2);
    EXPECT_EQ(picture.color(0), qRgb(255, 255, 255)); // the card's picture is untouched

    CardImage card;
    card.ColourTable = {{0, 255, 255, 255}, {0, 10, 200, 30}, {0, 200, 0, 0}};
    ColourQuestionForm no(ColourQuestionForm::Kind::Background, card, picture, 1, 0);
    QTest::keyClick(&no, Qt::Key_N);
    EXPECT_EQ(no.answer(), 0); // the background stays index 0
    EXPECT_EQ(no.choice(), Answer::No);
    ColourQuestionForm all(ColourQuestionForm::Kind::Background, card, picture, 1, 0);
    QTest::keyClick(&all, Qt::Key_A, Qt::ShiftModifier);
    EXPECT_EQ(all.answer(), 1);
    EXPECT_EQ(all.choice(), Answer::YesToAll);
    ColourQuestionForm dither(ColourQuestionForm::Kind::Dither, card, picture, 2, 1);
    QTest::keyClick(&dither, Qt::Key_N);
    EXPECT_EQ(dither.answer(), 1); // no second background: the dither index becomes the background
    ColourQuestionForm yes(ColourQuestionForm::Kind::Dither, card, picture, 2, 1);
    QTest::keyClick(&yes, Qt::Key_Y);
    EXPECT_EQ(yes.answer(), 2);
    EXPECT_EQ(yes.windowTitle(), "Dithered Background?");
}
