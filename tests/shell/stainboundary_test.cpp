#include "cardgen/cardgen.h"
#include "shell/colourquestionform.h"
#include "shelltest.h"

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>

using namespace velmara;
using namespace velmara::shelltest;
using namespace velmara::cardgen;

namespace {

class StainBoundaryWindow : public WindowFixture
{
protected:
    void SetUp() override { openWindow(1); }

    void click(QWidget *w, QPoint at = {})
    {
        QTest::mouseClick(w, Qt::LeftButton, {}, at.isNull() ? w->rect().center() : at);
        QTest::qWait(20);
    }
    // Keys as typed on whatever has the focus, the event loop running between them.
    void type(std::initializer_list<int> keys)
    {
        for (int k : keys) {
            QWidget *focused = QApplication::focusWidget();
            ASSERT_NE(focused, nullptr);
            QTest::keyClick(focused, Qt::Key(k));
            QTest::qWait(20);
        }
    }
    // Types a new boundary into the box and Enter, as a person retypes a spin box.
    void typeBoundary(int value)
    {
        click(ctl<QSpinBox>("StainBoundaryBox"));
        type({Qt::Key_End, Qt::Key_Backspace, Qt::Key_Backspace, Qt::Key_Backspace});
        for (QChar digit : QString::number(value))
            type({Qt::Key_0 + digit.digitValue()});
    }
    QImage shown() { return ctl<QWidget>("Picture1")->grab().toImage(); }
    void keep(const QString &name, QWidget *what = nullptr)
    {
        // Pictures for a person to look at, when a folder is named for them.
        if (const QByteArray dir = qgetenv("VELMARA_SCREENSHOTS"); !dir.isEmpty())
            (what ? what : window.get())->grab().save(QString::fromLocal8Bit(dir) + "/" + name);
    }
};

int blackPixels(const QImage &image)
{
    int n = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            n += (image.pixel(x, y) & 0xffffff) == 0;
    return n;
}

} // namespace

// A colour card is decoded, masked and scanned; typing a wider boundary into the box re-reads it at
// once (more of the stains' soft edges become card), and Auto brings the found boundary back. An
// 8-bit card never shows the box, and the frame keeps its rows for both.
TEST_F(StainBoundaryWindow, TypedBoundaryReclassifiesTheShownCard)
{
    ws.ColourScans = true; // as the Preferences check box sets it
    ColourCardSpec spec;
    spec.width = 420;
    spec.height = 300;
    spec.coverage = 0.15;
    std::string error;
    ASSERT_TRUE(WriteColour(RowsOf(ColourCard(spec)), path("wsp.bmp").toStdString(), {}, &error)) << error;
    auto *box = ctl<QSpinBox>("StainBoundaryBox");
    auto *automatic = ctl<QCheckBox>("StainBoundaryAuto");
    auto *frame = ctl<QGroupBox>("MaskFrame");

    window->loadChosenFiles({path("card01.bmp"), path("wsp.bmp")});
    ASSERT_EQ(ws.CardCount(), 2);
    window->selectCard(1);
    QTest::qWait(20);
    EXPECT_FALSE(box->isVisible());
    const int frameHeight = frame->height();

    window->selectCard(2);
    QTest::qWait(20);
    EXPECT_TRUE(box->isVisible());
    EXPECT_FALSE(box->isEnabled()) << "nothing to move before the colours are read";
    click(ctl<QPushButton>("btnScanColour"));
    const ColourScanInfo &colour = ws.Card(2).ColourScan;
    ASSERT_TRUE(WaitFor([&] { return ws.Card(2).PixelsReady && box->isEnabled(); }));
    const int found = colour.AutoBoundary;
    ASSERT_GT(found, 0);
    EXPECT_EQ(box->text(), QString::number(found));
    EXPECT_TRUE(automatic->isChecked());
    EXPECT_LE(frame->height(), frameHeight + 4) << "the box shares the row of Black and White";
    EXPECT_TRUE(frame->rect().contains(QRect(box->mapTo(frame, QPoint()), box->size())));
    click(ctl<QCheckBox>("MaskCheck"), QPoint(6, 8));
    click(ctl<QPushButton>("btnScan"));
    ASSERT_TRUE(WaitFor([&] { return ws.Card(2).Scanned; }));
    const QImage before = shown();
    keep(QStringLiteral("1-automatic-boundary.png"));

    const int wider = std::min(255, found + 40);
    typeBoundary(wider);
    EXPECT_EQ(colour.StainBoundary, found) << "a digit alone must not re-read the card";
    type({Qt::Key_Return});
    ASSERT_TRUE(WaitFor([&] { return colour.StainBoundary == wider; }));
    QTest::qWait(50);
    const QImage after = shown();
    keep(QStringLiteral("2-typed-boundary.png"));
    EXPECT_EQ(colour.BoundaryOverride, wider);
    EXPECT_FALSE(automatic->isChecked());
    EXPECT_TRUE(ws.Card(2).PixelsReady);
    EXPECT_FALSE(ws.Card(2).Scanned) << "the count of the old class is void";
    EXPECT_GT(blackPixels(after), blackPixels(before) + 50) << "the soft edges are masked as card now";

    click(automatic, QPoint(6, automatic->height() / 2));
    ASSERT_TRUE(WaitFor([&] { return colour.StainBoundary == found; }));
    QTest::qWait(50);
    EXPECT_EQ(colour.BoundaryOverride, -1);
    EXPECT_EQ(box->text(), QString::number(found));
    EXPECT_EQ(shown(), before);

    window->selectCard(1);
    QTest::qWait(20);
    EXPECT_FALSE(box->isVisible());
    EXPECT_EQ(ws.Card(1).ColourScan.BoundaryOverride, -1);
    keep(QStringLiteral("3-eight-bit-card.png"));
    EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
}

// A card mostly stained: the found boundary takes it all as card. A tighter boundary typed in
// decodes it again, and its class, now under half the card, is put as a question that shows the
// card in its colour and the stain black; Y keeps the class, and the mask shows the stain.
TEST_F(StainBoundaryWindow, ClassUnderHalfTheCardIsAskedWithItsPreview)
{
    ws.ColourScans = true;
    window->setQuestionHook({});
    ColourCardSpec spec;
    spec.width = 360;
    spec.height = 300;
    ColourStain blot; // clear of the top rows, which give the card's colour
    blot.cx = 180;
    blot.cy = 190;
    blot.semiMajor = blot.semiMinor = 150;
    spec.stains = {blot};
    const ColourCard card(spec);
    ASSERT_GT(card.coveredShare(), 0.55);
    std::string error;
    ASSERT_TRUE(WriteColour(RowsOf(card), path("blot.png").toStdString(), {}, &error)) << error;

    QString title, text;
    QImage preview;
    QPoint inside; // the preview's top left corner within its frame
    QTimer watcher;
    QObject::connect(&watcher, &QTimer::timeout, [&] {
        auto *form = qobject_cast<ColourQuestionForm *>(QApplication::activeModalWidget());
        if (!form || !title.isEmpty())
            return;
        title = form->windowTitle();
        for (const QLabel *label : form->findChildren<QLabel *>())
            text += label->text();
        auto *box = Control<QLabel>(*form, "Preview");
        preview = box->grab().toImage();
        inside = box->contentsRect().topLeft();
        keep(QStringLiteral("colour-question.png"), form);
        QWidget *focused = QApplication::focusWidget();
        QTest::keyClick(focused && form->isAncestorOf(focused) ? focused : form, Qt::Key_Y);
        if (form->isVisible()) {
            ADD_FAILURE() << "Y did not answer the question";
            form->answerNo();
        }
    });
    watcher.start(10);
    window->loadChosenFiles({path("blot.png")});
    click(ctl<QPushButton>("btnScanColour"));
    ASSERT_TRUE(WaitFor([&] { return ws.Card(1).PixelsReady; }));
    EXPECT_TRUE(title.isEmpty()) << "the found boundary leaves at least half the card as card";
    typeBoundary(60);
    type({Qt::Key_Return});
    watcher.stop();

    ASSERT_EQ(title, "Background Colour");
    EXPECT_TRUE(text.contains("They cover less than half of the card.")) << text.toStdString();
    const QColor paper = preview.pixelColor(inside + QPoint(20, 10)), stain = preview.pixelColor(inside + QPoint(180, 190));
    EXPECT_TRUE(paper.red() > 190 && paper.green() > 170 && paper.blue() < 110) << paper.name().toStdString();
    EXPECT_EQ(stain, QColor(Qt::black));
    // The card is 360 pixels wide: beyond it the box is empty, not more card.
    EXPECT_NE(preview.pixelColor(inside + QPoint(400, 10)), paper);
    const ColourScanInfo &colour = ws.Card(1).ColourScan;
    EXPECT_TRUE(ws.Card(1).PixelsReady);
    EXPECT_EQ(colour.StainBoundary, 60);
    EXPECT_LT(colour.BackgroundClassEntries, colour.TableEntries);
    EXPECT_FALSE(ws.DisableBackgroundWarning) << "Yes asks again next time";
    click(ctl<QCheckBox>("MaskCheck"), QPoint(6, 8));
    const QImage masked = shown();
    EXPECT_EQ(masked.pixelColor(20, 10), QColor(Qt::black));
    EXPECT_GT(masked.pixelColor(180, 190).blue(), 80) << "the stain in its own colour";
    EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
}
