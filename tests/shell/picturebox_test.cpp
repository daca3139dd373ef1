#include "cardgen/cardgen.h"
#include "shell/picturebox.h"
#include "shelltest.h"

#include <QPushButton>

using namespace velmara;
using namespace velmara::shelltest;

namespace {

// Every pixel of the drawing shows on screen, framed but not covered.
void ExpectDrawingUncovered(PictureBox *box)
{
    QApplication::processEvents();
    const QImage shown = box->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QImage &drawn = box->image();
    ASSERT_EQ(shown.size(), drawn.size() + QSize(2 * PictureBox::kFrame, 2 * PictureBox::kFrame));
    int covered = 0;
    for (int y = 0; y < drawn.height(); ++y)
        for (int x = 0; x < drawn.width(); ++x)
            covered += shown.pixel(x + PictureBox::kFrame, y + PictureBox::kFrame) != drawn.pixel(x, y);
    EXPECT_EQ(covered, 0);
}

using GraphFrameTest = WindowFixture;

} // namespace

// A card of one pure red: its only bar, hue 0, stands in the histogram's first column.
TEST_F(GraphFrameTest, HueZeroBarAndSizeGraphEdgesShowThroughTheFrame)
{
    openWindow(0);
    cardgen::CardSpec spec;
    spec.width = 240;
    spec.height = 240;
    spec.colours = {{1, cardgen::Rgb{255, 0, 0}}};
    spec.discs = {{60, 60, 20, 1}, {170, 150, 35, 1}, {60, 190, 8, 1}};
    ASSERT_TRUE(cardgen::WriteBmp(cardgen::MakeCard(spec), path("red.bmp").toStdString()));
    window->loadChosenFiles({path("red.bmp")});
    QTest::mouseClick(ctl<QPushButton>("btnScanColour"), Qt::LeftButton);
    ASSERT_TRUE(WaitFor([&] { return ws.Card(1).PixelsReady; }));

    PictureBox *histogram = ctl<PictureBox>("HistogramPic");
    ExpectDrawingUncovered(histogram);
    const QImage shown = histogram->grab().toImage();
    const QRgb bar = qRgb(255, 0, 0);
    int redInFirstColumn = 0;
    for (int y = 0; y < shown.height(); ++y)
        redInFirstColumn += (shown.pixel(PictureBox::kFrame, y) & 0xffffff) == (bar & 0xffffff);
    EXPECT_GT(redInFirstColumn, 50) << "the hue-0 bar is hidden";

    QTest::mouseClick(ctl<QPushButton>("btnScan"), Qt::LeftButton);
    ASSERT_TRUE(WaitFor([&] { return ws.Card(1).Scanned; }));
    ExpectDrawingUncovered(ctl<PictureBox>("ResultPic"));
}
