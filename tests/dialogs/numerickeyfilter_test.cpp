#include "dialogs/dialogplacement.h"
#include "dialogs/numbertext.h"
#include "dialogs/numerickeyfilter.h"

#include <gtest/gtest.h>

using namespace velmara;

namespace {
// Types one key into a box; returns the key as it reaches the box (0 when dropped).
int Press(TextBoxState &box, int key, bool allowDecimal, bool allowNegative)
{
    NumericKeyFilter(box, key, allowDecimal, allowNegative);
    return key;
}
} // namespace

TEST(NumericKeyFilter, DecimalPointOnlyOnceOutsideTheSelection)
{
    struct Case
    {
        TextBoxState box;
        bool allowDecimal, passes;
    };
    const Case cases[] = {
        {{"12", 2, 0}, false, false},
        {{"12", 2, 0}, true, true},
        {{"1.5", 3, 0}, true, false},
        {{"1.5", 1, 1}, true, true}, // the point itself selected: typing replaces it
        {{"1.5", 0, 3}, true, true}, // all selected, as after getting the focus
        {{"1.2", 7, 4}, true, false}, // a stale selection is clipped, not read beyond the text
    };
    for (Case k : cases) {
        const std::string before = k.box.Text;
        EXPECT_EQ(Press(k.box, '.', k.allowDecimal, false), k.passes ? '.' : 0)
            << before << " at " << k.box.SelStart << "+" << k.box.SelLength;
    }
}

TEST(NumericKeyFilter, MinusTogglesTheSignOrReplacesTheSelectionButNeverReachesTheBox)
{
    struct Case
    {
        TextBoxState box;
        bool allowNegative;
        TextBoxState after;
    };
    const Case cases[] = {
        {{"12", 2, 0}, false, {"12", 2, 0}},
        {{"12", 2, 0}, true, {"-12", 3, 0}},
        {{"-12", 3, 0}, true, {"12", 2, 0}},
        {{"-5", 0, 0}, true, {"5", 0, 0}}, // caret at 0: stays at 0
        {{"123", 1, 2}, true, {"-123", 2, 2}}, // the selection length stays
        {{"-50.0", 0, 5}, true, {"-", 1, 0}}, // the sign inside the selection: replaced
        {{"-50.0", 0, 2}, true, {"-0.0", 1, 0}},
        {{"", 0, 0}, true, {"-", 1, 0}},
    };
    for (Case k : cases) {
        SCOPED_TRACE(k.box.Text + " at " + std::to_string(k.box.SelStart) + "+" + std::to_string(k.box.SelLength));
        EXPECT_EQ(Press(k.box, '-', true, k.allowNegative), 0);
        EXPECT_EQ(k.box.Text, k.after.Text);
        EXPECT_EQ(k.box.SelStart, k.after.SelStart);
        EXPECT_EQ(k.box.SelLength, k.after.SelLength);
    }
}

// The grammar is the analysis' reader (tested with it); here the Double range and the words.
TEST(NumberText, TheConversionsRefuseOverflow)
{
    EXPECT_TRUE(TextIsNumeric("1e39"));
    EXPECT_FALSE(TextIsNumeric("1e999"));
    EXPECT_EQ(TextAsDouble("1e-999").value(), 0.0);

    EXPECT_EQ(TextAsInteger("2.5").value(), 2); // half to even
    EXPECT_EQ(TextAsInteger("32767").value(), 32767);
    EXPECT_FALSE(TextAsInteger("40000"));
    EXPECT_EQ(TextAsByte("255").value(), 255);
    EXPECT_FALSE(TextAsByte("256") || TextAsByte("-1") || TextAsLong("2147483648") || TextAsSingle("1e39"));
    EXPECT_EQ(FormatIfNumeric("abc", "0.0"), "abc");
    EXPECT_EQ(FormatIfNumeric("2.25", "0.0"), "2.3"); // half away from zero
}

TEST(DialogPlacement, CentredBelowThePictureCentreAndKeptOnScreen)
{
    struct Case { PixelRect dialog, picture; int screenW, screenH, left, top; };
    const Case cases[] = {
        {{0, 0, 300, 200}, {10, 32, 700, 450}, 1920, 1080, 10 + 200, 32 + 225 + 20 - 100},
        {{0, 0, 300, 500}, {900, 500, 200, 400}, 1000, 800, 700, 300}, // back to end at the screen's edge
        {{0, 0, 600, 600}, {-200, -300, 100, 100}, 1920, 1080, 0, 0},  // never left of or above it
    };
    for (const Case &c : cases) {
        const PixelRect placed = PlaceOverPicture(c.dialog, c.picture, c.screenW, c.screenH);
        EXPECT_EQ(std::pair(placed.Left, placed.Top), std::pair(c.left, c.top));
        EXPECT_EQ(placed.Width, c.dialog.Width);
    }
    EXPECT_EQ(std::pair(GridVisibleRows(20), GridNeedsScrollBar(20)), std::pair(20, false));
    EXPECT_EQ(std::pair(GridVisibleRows(21), GridNeedsScrollBar(21)), std::pair(20, true));
}
