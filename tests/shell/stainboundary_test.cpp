#include "cardgen/cardgen.h"
#include "shelltest.h"

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QPushButton>
#include <QSpinBox>

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
    QImage shown() { return ctl<QWidget>("Picture1")->grab().toImage(); }
    void keep(const QString &name)
    {
        // Pictures for a person to look at, when a folder is named for them.
        if (const QByteArray dir = qgetenv("VELMARA_SCREENSHOTS"); !dir.isEmpty())
            window->grab().save(QString::fromLocal8Bit(dir) + "/" + name);
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
    click(box);
    type({Qt::Key_End, Qt::Key_Backspace, Qt::Key_Backspace, Qt::Key_Backspace});
    for (QChar digit : QString::number(wider))
        type({Qt::Key_0 + digit.digitValue()});
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
