#include "templates/templategrid.h"

#include <array>
#include <gtest/gtest.h>

using namespace velmara;

namespace {

// A letter sheet at 1200 dpi shown in a 340 x 440 picture box: one screen pixel is 0.025 inch.
TemplateGrid LetterGrid(const CardTemplate &t = DefaultTemplate(), int res = 1200)
{
    TemplateGrid g;
    g.setTemplate(t);
    g.setPictureSize(8500 * res / 1000, 11 * res);
    g.setViewSize(340, 440);
    g.setRes(res);
    g.activate();
    return g;
}

} // namespace

TEST(TemplateGridScale, ActivationAndResolutionChange)
{
    EXPECT_EQ(TemplateGrid::PixelsToHiMetric(13200), 349250);
    EXPECT_EQ(TemplateGrid::PixelsToHiMetric(12), 318); // 317.5: halves go up
    EXPECT_EQ(TemplateGrid::PixelsToHiMetric(1), 26);   // 26.46
    TemplateGrid g = LetterGrid();
    EXPECT_FLOAT_EQ(g.scaleWidth(), 8.5f);
    EXPECT_FLOAT_EQ(g.scaleHeight(), 11.0f);
    // The change of resolution divides by 26.46, not by the exact 2540 / 96.
    g.setResolution(600);
    EXPECT_FLOAT_EQ(g.scaleWidth(), static_cast<float>(269875 / 26.46 / 600));
    EXPECT_NE(g.scaleWidth(), 17.0);
    EXPECT_EQ(g.viewWidthForHeight(440), 340);

    // Activation adds 0.5 to the size it gets back from 5821 hundredths (220.006 pixels), so a
    // height of 220 pixels scales as 221.
    TemplateGrid small;
    small.setPictureSize(170, 220);
    small.setRes(20);
    small.activate();
    EXPECT_FLOAT_EQ(small.scaleHeight(), 221.0f / 20.0f);
}

TEST(TemplateGridScale, ResolutionTextKeepsTheLastGoodValue)
{
    TemplateGrid g = LetterGrid();
    for (const char *bad : {"", "abc", "0", "0.4", "32768", "-600", "6O0", "1.2.3"}) {
        EXPECT_FALSE(g.applyResolutionText(bad)) << bad;
        EXPECT_EQ(g.res(), 1200) << bad;
    }
    EXPECT_TRUE(g.applyResolutionText(" 600 "));
    EXPECT_EQ(g.res(), 600);
    EXPECT_TRUE(g.applyResolutionText("300.5")); // half to even
    EXPECT_EQ(g.res(), 300);
}

TEST(TemplateGridCells, PlacesAndClipRectangles)
{
    TemplateGrid g = LetterGrid();
    ASSERT_EQ(g.cellCount(), 9);
    EXPECT_FLOAT_EQ(g.cell(5).Left, 2.0f);
    EXPECT_FLOAT_EQ(g.cell(5).Top, 3.125f);
    const ClipRect r3 = g.clipRect(3);
    EXPECT_EQ(r3.X, 4800);
    EXPECT_EQ(r3.Width, 1800); // a quarter inch off the right
    EXPECT_EQ(r3.Height, 3000);
    EXPECT_EQ(g.clipRect(9).Y, 7500);
    // Half the resolution halves the pixels.
    g.setResolution(600);
    const ClipRect half = g.clipRect(3);
    EXPECT_EQ((std::array{half.X, half.Y, half.Width, half.Height}), (std::array{2400, 0, 900, 1500}));
    // The grid now covers half the scan's width: a wider template still fits at 600 dpi.
    TemplateGrid wide = LetterGrid(CardTemplate{"T", 5, 3, 0.25f, 1, 1, 0.25f});
    EXPECT_EQ(wide.firstCellOutOfBounds(), 3);
    wide.setResolution(600);
    EXPECT_TRUE(wide.okEnabled());
}

TEST(TemplateGridCells, ClipCornersRoundHalfToEven)
{
    // 168 x 216 pixels at 20 dpi (8.4 x 10.8 inches) in a 336 x 432 box: 0.025 inch a pixel.
    TemplateGrid g;
    g.setTemplate(DefaultTemplate());
    g.setPictureSize(168, 216);
    g.setViewSize(336, 432);
    g.setRes(20);
    g.activate();
    // The second row starts at 3.125 x 20 = 62.5 pixels, the third at 125.
    EXPECT_EQ(g.clipRect(4).Y, 62);
    EXPECT_EQ(g.clipRect(7).Y, 125);
    g.setOffsetPixels(0, 20); // half an inch: 3.625 x 20 = 72.5
    EXPECT_EQ(g.clipRect(4).Y, 72);
}

// The window's shift keys and buttons move the grid by one picture pixel (tested there); here
// the first cell that leaves the sheet at each edge.
TEST(TemplateGridBounds, EachEdge)
{
    struct Case { CardTemplate t; ShiftDirection shift; int shifts, outside; };
    const Case cases[] = {
        {DefaultTemplate(), ShiftDirection::Up, 1, 1},
        {DefaultTemplate(), ShiftDirection::Left, 1, 1},
        {CardTemplate{"T", 5, 1.75f, 0.25f, 3, 2.75f, 0.375f}, ShiftDirection::Up, 0, 5},  // 4 x 2 + 1.75 > 8.5
        {CardTemplate{"T", 3, 1.75f, 0.25f, 4, 2.75f, 0.375f}, ShiftDirection::Up, 0, 10}, // 3 x 3.125 + 2.75 > 11
    };
    for (const Case &c : cases) {
        TemplateGrid g = LetterGrid(c.t);
        for (int i = 0; i < c.shifts; ++i)
            g.shift(c.shift);
        EXPECT_EQ(g.firstCellOutOfBounds(), c.outside) << c.t.NumH << "x" << c.t.NumV;
        EXPECT_FALSE(g.okEnabled());
    }
    // Shifted by one pixel down, the clip moves by one scan pixel's worth of the view's pixel.
    TemplateGrid g = LetterGrid();
    g.shift(ShiftDirection::Right);
    g.shift(ShiftDirection::Down);
    EXPECT_FLOAT_EQ(g.cell(1).Top, 0.025f);
    EXPECT_EQ(g.clipRect(1).X, 30);
    EXPECT_TRUE(LetterGrid(CardTemplate{"T", 3, 1.75f, 0.25f, 4, 2.75f, 0.375f}).cell(12).OutOfBounds);
}

TEST(TemplateGridBounds, ExactFitIsOnTheSheetAndDeselectedCellsStillCount)
{
    TemplateGrid g;
    g.setTemplate(CardTemplate{"T", 1, 1.75f, 0.25f, 1, 1.75f, 0.25f});
    g.setPictureSize(2100, 2100); // 1.75 inches at 1200 dpi, exactly
    g.setRes(1200);
    g.activate();
    EXPECT_TRUE(g.okEnabled());
    g.setPictureSize(2099, 2100);
    EXPECT_FALSE(g.okEnabled());
    g.setSelected(1, false); // deselected, still drawn, still must fit
    EXPECT_FALSE(g.okEnabled());
}

TEST(TemplateGridSelection, StrictHitTestTogglesAndSelectAll)
{
    TemplateGrid g = LetterGrid();
    EXPECT_EQ(g.hitTest(2.0, 1.0), 0); // on cell 2's left edge
    EXPECT_EQ(g.hitTest(1.9, 1.0), 0); // in the gap
    EXPECT_EQ(g.hitTest(2.001, 0.001), 2);
    EXPECT_EQ(g.hitTest(3.749, 2.749), 2);
    EXPECT_EQ(g.hitTest(3.75, 1.0), 0);
    EXPECT_FALSE(g.clickAt(8.4, 10.9)); // off every cell
    g.setSelected(4, false);
    g.selectAll();
    for (int n = 1; n <= 25; ++n)
        EXPECT_TRUE(g.selected(n));
    // The picture box's pixels map onto the scan's inches.
    EXPECT_DOUBLE_EQ(g.viewToInchesX(80), 2.0);
    EXPECT_DOUBLE_EQ(g.inchesToViewY(11), 440);
}
