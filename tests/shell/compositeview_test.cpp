#include "shell/cardposform.h"
#include "shell/cardview.h"
#include "shell/compositeview.h"
#include "shell/picturebox.h"
#include "shelltest.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/swath.h"
#include "statistics/swathpatterns.h"
#include "views/linechart.h"
#include "views/swathview.h"
#include "views/textforms.h"

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QTimer>
#include <QToolButton>

using namespace velmara;
using namespace velmara::shelltest;

namespace {

// A window with n sample cards on a line from -50 at 10, ready to enter the view.
class CompositeTest : public WindowFixture
{
protected:
    void open(int n, bool scanAll = true)
    {
        openWindow(n);
        view = window->compositeView();
        view->setPositionDialogHook([this](CardPosMode mode) {
            dialogs.push_back(mode);
            if (answer)
                answer();
            return true;
        });
        loadCards(n);
        if (scanAll)
            window->btnScanAll_Click();
        ws.Spray.Sample_Position1 = "-50";
        ws.Spray.Sample_Interval = "10";
    }
    void enter()
    {
        ASSERT_TRUE(ctl<QCheckBox>("CompositeCheck")->isVisibleTo(window.get()));
        ctl<QCheckBox>("CompositeCheck")->click();
    }
    void moveOnto(QWidget *w)
    {
        const QPointF at(w->width() / 2.0, w->height() / 2.0);
        QMouseEvent move(QEvent::MouseMove, at, w->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(w, &move);
    }

    CompositeView *view = nullptr;
    std::vector<CardPosMode> dialogs;
    std::function<void()> answer;
};

} // namespace

// Two cards: no swath tab, and the card commands are off. Equal positions, then empty texts,
// bring the position dialog.
TEST_F(CompositeTest, TwoCardsAndThePositionDialog)
{
    open(2);
    enter();
    EXPECT_EQ(tabs(), QStringList{"Spray Line Statistics"});
    EXPECT_EQ(ctl<QGroupBox>("ResultFrame")->title(), "Composite Results  (Volume Fraction)");
    EXPECT_TRUE(dialogs.empty());
    for (QWidget *w : std::initializer_list<QWidget *>{ctl<QPushButton>("btnLoad"), ctl<QPushButton>("btnScan"),
                                                       ctl<QSlider>("Slider1"), ctl<QScrollBar>("HScroll1")})
        EXPECT_FALSE(w->isEnabled());
    EXPECT_EQ(view->picture().size(), ctl<CardView>("Picture1")->size());

    ctl<QCheckBox>("CompositeCheck")->click();
    ws.Spray.Sample_Interval = "0";
    enter();
    EXPECT_EQ(messages, QStringList{"There are two or more cards with the same position."});
    EXPECT_EQ(dialogs, std::vector<CardPosMode>{CardPosMode::NoCancel});
    EXPECT_TRUE(view->isOn()); // the view is whole even though the positions stayed equal

    ctl<QCheckBox>("CompositeCheck")->click();
    messages.clear();
    dialogs.clear();
    ws.Spray.Sample_Position1.clear();
    answer = [this] {
        ws.Spray.Sample_Position1 = "-50.0";
        ws.Spray.Sample_Interval = "10.0";
    };
    enter();
    EXPECT_EQ(dialogs, std::vector<CardPosMode>{CardPosMode::AcceptOnly});
    EXPECT_TRUE(messages.isEmpty());
    EXPECT_EQ(ws.Card(2).Position, -40.0f);
}

TEST_F(CompositeTest, EnteringWithThreeAndLeavingBack)
{
    open(3);
    window->selectCard(2);
    ws.RangeLow = 100;
    ws.RangeHigh = 300;
    enter();
    EXPECT_EQ(tabs(), (QStringList{"Spray Line Statistics", "Swath Analysis"}));
    ASSERT_TRUE(RangeSelected(ws));
    EXPECT_LT(ws.LineStats[1].DropDensity, ws.Card(1).Stats.DropDensity); // values of the range

    ctl<QTabBar>("ImageStrip")->setCurrentIndex(1);
    EXPECT_TRUE(view->optSwathWidth[2]->isVisibleTo(window.get()) || view->optSwathWidth[1]->isVisibleTo(window.get()));
    EXPECT_EQ(ctl<QLabel>("InfoLabel1")->text(), "COV:");

    ctl<QCheckBox>("CompositeCheck")->click();
    EXPECT_EQ(tabs(), (QStringList{"card01.bmp", "card02.bmp", "card03.bmp"}));
    EXPECT_EQ(ws.CurrentCard, 2);
    EXPECT_EQ(ws.ShownCard, 2); // read again on the way out
    EXPECT_FALSE(ctl<QToolButton>("btnWriteComposite")->isVisibleTo(window.get()));
    EXPECT_TRUE(ctl<QSlider>("Slider1")->isEnabled()); // the scanned card's own state
    EXPECT_EQ(ctl<QGroupBox>("ResultFrame")->title(), "Scan Results  (Volume Fraction)");
    // Entering again chooses the widths afresh.
    ws.SwathSets[1].Width = 1;
    enter();
    EXPECT_EQ(ws.SwathSets[1].Width, ChooseSwathWidth(ws.SwathSets[1], 3));
}

// On the line chart of three cards: callouts on the markers and off over the chart, a range
// dragged on the graph refreshes the chart and the labels, and new units redraw the labels;
// on the swath tab the callouts go and the swath texts stay on the labels.
TEST_F(CompositeTest, CalloutsRangeAndUnitsOnALineOfThree)
{
    open(3);
    enter();
    moveOnto(view->CardLabel[1]);
    ASSERT_TRUE(view->CalloutsShown);
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara -- card01.bmp");
    // Card 1 is left of the middle: the labels stand to its right.
    EXPECT_TRUE(view->DataLabel[3]->isVisibleTo(window.get()) && view->DataLabelCircle[3]->isVisibleTo(window.get()));
    EXPECT_GT(view->DataLabel[3]->x(), view->CardLabel[1]->x());
    const QString vmd = view->DataLabel[1]->text();
    // Straight on to the next marker: the first card's callouts stay.
    moveOnto(view->CardLabel[2]);
    EXPECT_EQ(view->DataLabel[1]->text(), vmd);
    // Over the chart they go.
    moveOnto(view->surface());
    EXPECT_FALSE(view->DataLabel[1]->isVisibleTo(window.get()));
    EXPECT_EQ(window->windowTitle(), "Orvinek Velmara -- Composite Results");
    // The last card's on its left.
    moveOnto(view->CardLabel[3]);
    EXPECT_LT(view->DataLabel[2]->x(), view->CardLabel[3]->x());
    moveOnto(view->surface());

    const CardStats before = ws.LineStats[2];
    const QImage chartBefore = view->picture().copy();
    const QString labelBefore = ctl<QLabel>("DropLabel")->text();
    PictureBox *graph = ctl<PictureBox>("ResultPic");
    QTest::mouseClick(graph, Qt::LeftButton, Qt::NoModifier, QPoint(40, 30));
    QTest::mouseClick(graph, Qt::RightButton, Qt::NoModifier, QPoint(120, 30));
    ASSERT_TRUE(RangeSelected(ws));
    EXPECT_NE(ws.LineStats[2].DropDensity, before.DropDensity);
    EXPECT_NE(view->picture(), chartBefore);
    EXPECT_NE(ctl<QLabel>("DropLabel")->text(), labelBefore);
    ws.Metric = false;
    view->applyPrefsEffect(PrefsEffectAfterClose({true, ws.Spray.Sample_Position1, ws.Spray.Sample_Interval}, ws, true));
    EXPECT_TRUE(ctl<QLabel>("VolumeLabel")->text().endsWith(QStringLiteral("oz/ac")));

    ctl<QTabBar>("ImageStrip")->setCurrentIndex(1);
    EXPECT_FALSE(view->CalloutsShown);
    EXPECT_FALSE(view->CardLabel[1]->isVisibleTo(window.get()));
    QTest::mouseClick(graph, Qt::LeftButton, Qt::NoModifier, QPoint(20, 30));
    EXPECT_EQ(ctl<QLabel>("InfoLabel2")->text(), "Mean:");
    ws.Metric = true;
    view->applyPrefsEffect(PrefsEffectAfterClose({false, ws.Spray.Sample_Position1, ws.Spray.Sample_Interval}, ws, false));
    EXPECT_TRUE(ctl<QLabel>("DropLabel")->text().endsWith(QStringLiteral("L/ha")));
    EXPECT_EQ(ctl<QLabel>("InfoLabel2")->text(), "Mean:");

    // New positions from the preferences: every Position first, then the swath tables and view.
    const PrefsSnapshot snapshot{true, ws.Spray.Sample_Position1, ws.Spray.Sample_Interval};
    ws.Spray.Sample_Position1 = "-45";
    const PrefsEffect effect = PrefsEffectAfterClose(snapshot, ws, false);
    ASSERT_TRUE(effect.AssignPositions);
    AssignCardPositions(ws);
    view->applyPrefsEffect(effect);
    EXPECT_EQ(ws.SwathSets[1].First(), -4);
}

TEST_F(CompositeTest, WidthButtonsAndGraphModesOnTheSwathTab)
{
    open(4);
    enter();
    ctl<QTabBar>("ImageStrip")->setCurrentIndex(1);
    ASSERT_EQ(view->optSwathWidth.size(), 4u);
    QRadioButton *one = view->optSwathWidth[1];
    ASSERT_TRUE(one->isVisibleTo(window.get()));
    QTest::mouseClick(one, Qt::LeftButton);
    EXPECT_EQ(ws.SwathSets[1].Width, 1);
    EXPECT_EQ(ctl<QLabel>("VMDLabel")->text(), "0.00"); // width 1 folds everything into one bin
    // Clicking the chosen one again still draws (the labels were changed meanwhile).
    ctl<QLabel>("VMDLabel")->setText(QString());
    QTest::mouseClick(one, Qt::LeftButton);
    EXPECT_EQ(ctl<QLabel>("VMDLabel")->text(), "0.00");

    // Ctrl+3: the density set, with its own width; Ctrl+1 back to the deposit's width 1.
    key(Qt::Key_3, Qt::ControlModifier);
    EXPECT_EQ(ws.CurrentSwathSet, 2);
    EXPECT_TRUE(ctl<QLabel>("DropLabel")->text().contains(QStringLiteral("drops/cm")));
    QTest::mouseClick(view->optSwathWidth[2], Qt::LeftButton);
    EXPECT_EQ(ws.SwathSets[2].Width, 2);
    key(Qt::Key_1, Qt::ControlModifier);
    EXPECT_TRUE(view->optSwathWidth[1]->isChecked());
    EXPECT_TRUE(ctl<QLabel>("DropLabel")->text().endsWith(QStringLiteral("L/ha")));
    key(Qt::Key_3, Qt::ControlModifier);
    EXPECT_TRUE(view->optSwathWidth[2]->isChecked());

    // Back on the first tab the buttons go and the statistics come back.
    ctl<QTabBar>("ImageStrip")->setCurrentIndex(0);
    EXPECT_FALSE(view->optSwathWidth[1]->isVisibleTo(window.get()));
    EXPECT_EQ(ctl<QLabel>("InfoLabel1")->text(), "VMD:");
}

TEST_F(CompositeTest, UnscannedCardsKeysAndResize)
{
    open(3, false);
    decodeAndScan({1, 3});
    enter();
    ASSERT_TRUE(view->isOn());
    ASSERT_FALSE(ws.Card(2).Scanned);
    const QImage marker = view->CardLabel[2]->grab().toImage();
    EXPECT_EQ(marker.pixelColor(marker.width() / 2, marker.height() / 2), QColor(255, 200, 200));
    moveOnto(view->CardLabel[2]);
    EXPECT_FALSE(view->CalloutsShown);
    EXPECT_EQ(ws.LineStats[2].Vmd, 0);

    const int cards = ws.CardCount();
    key(Qt::Key_Delete);
    for (int k : {Qt::Key_Delete, Qt::Key_S, Qt::Key_A, Qt::Key_Tab})
        key(k, Qt::ControlModifier);
    EXPECT_EQ(ws.CardCount(), cards);
    EXPECT_TRUE(view->isOn() && !ws.Card(2).Scanned);

    // A larger window: the chart is drawn again at once at the new size, on either tab.
    const int oldWidth = view->picture().width();
    window->resize(1200, 860);
    QApplication::processEvents();
    ASSERT_GT(ctl<CardView>("Picture1")->width(), oldWidth);
    EXPECT_EQ(view->surface()->size(), ctl<CardView>("Picture1")->size());
    const QImage shown = view->surface()->grab().toImage();
    int blackBeyond = 0;
    for (int x = oldWidth; x < shown.width(); ++x)
        for (int y = 0; y < shown.height(); ++y)
            blackBeyond += (shown.pixel(x, y) & 0xffffff) == 0;
    EXPECT_GT(blackBeyond, 20) << "the chart keeps its old size";
    ctl<QTabBar>("ImageStrip")->setCurrentIndex(1);
    window->resize(1024, 768);
    QApplication::processEvents();
    EXPECT_EQ(view->picture().size(), ctl<CardView>("Picture1")->size());

    // Ctrl+C leaves again.
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_FALSE(view->isOn());
    EXPECT_EQ(tabs().size(), 3);
}

// The spectrum window opened from the statistics frame follows what the frame shows: the card
// on show, the range dragged on the graph, the composite. Its Dv0.5 is the VMD label's figure.
TEST_F(CompositeTest, SpectrumWindowFollowsTheCardTheRangeAndTheComposite)
{
    open(3);
    QTest::mouseClick(ctl<QToolButton>("btnSpectrum"), Qt::LeftButton);
    QWidget *spectrum = window->findChild<QWidget *>(QStringLiteral("SpectrumWindow"));
    ASSERT_NE(spectrum, nullptr);
    ASSERT_TRUE(WaitFor([&] { return spectrum->isVisible(); }));
    auto text = [&](const char *name) { return Control<QLabel>(*spectrum, name)->text(); };
    auto shows = [&](const QString &subject) {
        return WaitFor([&] { return text("SpectrumSubject") == subject; });
    };
    const QString microns = QStringLiteral(" %1m").arg(QChar(0x00B5));
    EXPECT_TRUE(shows(QString::fromStdString(ws.Card(ws.CurrentCard).FileName))) << text("SpectrumSubject").toStdString();

    QTabBar *strip = ctl<QTabBar>("ImageStrip");
    QTest::mouseClick(strip, Qt::LeftButton, Qt::NoModifier, strip->tabRect(0).center());
    EXPECT_TRUE(shows(QStringLiteral("card01.bmp"))) << text("SpectrumSubject").toStdString();
    EXPECT_EQ(text("Dv50Value"), ctl<QLabel>("VMDLabel")->text());
    const QString wholeCard = text("Dv10Value");

    PictureBox *graph = ctl<PictureBox>("ResultPic");
    QTest::mouseClick(graph, Qt::LeftButton, Qt::NoModifier, QPoint(40, 30));
    QTest::mouseClick(graph, Qt::RightButton, Qt::NoModifier, QPoint(120, 30));
    ASSERT_TRUE(RangeSelected(ws));
    EXPECT_TRUE(text("SpectrumSubject").startsWith(QStringLiteral("card01.bmp, ")) && text("SpectrumSubject").endsWith(microns))
        << text("SpectrumSubject").toStdString();
    EXPECT_NE(text("Dv10Value"), wholeCard);
    EXPECT_EQ(text("Dv50Value"), ctl<QLabel>("VMDLabel")->text());

    enter();
    EXPECT_TRUE(WaitFor([&] { return text("SpectrumSubject").startsWith(QStringLiteral("Composite")); }))
        << text("SpectrumSubject").toStdString();
    EXPECT_EQ(text("Dv50Value"), ctl<QLabel>("VMDLabel")->text());
    EXPECT_GE(spectrum->grab().width(), 200);
}

TEST_F(CompositeTest, SwathPatternsAreChosenWithTheirButtons)
{
    open(6);
    ws.CovLimit = 40;
    enter();
    QTabBar *strip = ctl<QTabBar>("ImageStrip");
    QTest::mouseClick(strip, Qt::LeftButton, Qt::NoModifier, strip->tabRect(1).center());
    QTest::qWait(20);
    ASSERT_TRUE(view->swathTabShown());
    QRadioButton *racetrack = ctl<QRadioButton>("optRacetrack");
    QRadioButton *backForth = ctl<QRadioButton>("optBackAndForth");
    ASSERT_TRUE(racetrack->isVisible() && backForth->isVisible());
    EXPECT_TRUE(racetrack->isChecked());

    // What each pattern shows: its own COV at the chosen width and its own effective swath, the
    // limit line and the mark drawn in their colour.
    const SwathSet &set = ws.SwathSets[1];
    QImage shown[2];
    for (int i = 0; i < 2; ++i) {
        QRadioButton *b = i == 0 ? backForth : racetrack;
        const SwathPattern pattern = i == 0 ? SwathPattern::BackAndForth : SwathPattern::Racetrack;
        QTest::mouseClick(b, Qt::LeftButton, Qt::NoModifier, QPoint(8, b->height() / 2));
        QTest::qWait(20);
        EXPECT_EQ(view->pattern(), pattern);
        EXPECT_EQ(ctl<QLabel>("VMDLabel")->text(),
                  FixedText(PatternStats(set, pattern)[static_cast<size_t>(set.Width)].Cov, 2));
        const EffectiveSwath e = FindEffectiveSwath(set, pattern, 40);
        EXPECT_EQ(ctl<QLabel>("EffectiveLabel")->text().startsWith(e.Found ? ChartText(10 * e.Width, "0.0#") : "None"), true)
            << ctl<QLabel>("EffectiveLabel")->text().toStdString();
        shown[i] = view->surface()->grab().toImage();
        int blue = 0;
        for (int y = 0; y < shown[i].height(); ++y)
            for (int x = 0; x < shown[i].width(); ++x)
                blue += shown[i].pixel(x, y) == kEffectiveSwathColour;
        EXPECT_GT(blue, shown[i].width() / 3) << "the limit line across the COV chart";
    }
    EXPECT_NE(shown[0], shown[1]);

    // The line chart hides the pattern buttons and the fourth line; the choice stays.
    QTest::mouseClick(strip, Qt::LeftButton, Qt::NoModifier, strip->tabRect(0).center());
    QTest::qWait(20);
    EXPECT_FALSE(racetrack->isVisible());
    EXPECT_FALSE(ctl<QLabel>("EffectiveLabel")->isVisible());
}
