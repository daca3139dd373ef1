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

TEST(NumericKeyFilter, DigitsPassAndOtherKeysAreDropped)
{
    TextBoxState box{"12", 2, 0};
    for (int key = '0'; key <= '9'; ++key)
        EXPECT_EQ(Press(box, key, false, false), key);
    for (int key : {kKeyBackspace, kKeyEnter, int('a'), int('+'), int(','), int(' '), int('e')})
        EXPECT_EQ(Press(box, key, true, true), 0) << key;
    EXPECT_EQ(box.Text, "12");
}

TEST(NumericKeyFilter, DecimalPointOnlyOnceOutsideTheSelection)
{
    TextBoxState box{"12", 2, 0};
    EXPECT_EQ(Press(box, '.', false, false), 0);
    EXPECT_EQ(Press(box, '.', true, false), '.');

    TextBoxState withPoint{"1.5", 3, 0};
    EXPECT_EQ(Press(withPoint, '.', true, false), 0);
    // The point itself selected: typing replaces it, so a new one may come.
    TextBoxState pointSelected{"1.5", 1, 1};
    EXPECT_EQ(Press(pointSelected, '.', true, false), '.');
    // Whole text selected, as after getting the focus.
    TextBoxState allSelected{"1.5", 0, 3};
    EXPECT_EQ(Press(allSelected, '.', true, false), '.');
}

TEST(NumericKeyFilter, MinusNeverReachesTheBox)
{
    TextBoxState box{"12", 2, 0};
    EXPECT_EQ(Press(box, '-', true, false), 0);
    EXPECT_EQ(box.Text, "12");
    EXPECT_EQ(box.SelStart, 2);
}

TEST(NumericKeyFilter, MinusTogglesTheSign)
{
    TextBoxState box{"12", 2, 0};
    EXPECT_EQ(Press(box, '-', true, true), 0);
    EXPECT_EQ(box.Text, "-12");
    EXPECT_EQ(box.SelStart, 3);
    Press(box, '-', true, true);
    EXPECT_EQ(box.Text, "12");
    EXPECT_EQ(box.SelStart, 2);

    // Caret at 0 in "-5": the sign goes, the caret stays at 0.
    TextBoxState atStart{"-5", 0, 0};
    Press(atStart, '-', true, true);
    EXPECT_EQ(atStart.Text, "5");
    EXPECT_EQ(atStart.SelStart, 0);

    // The selection length stays in the first two cases.
    TextBoxState partial{"-123", 2, 2};
    Press(partial, '-', true, true);
    EXPECT_EQ(partial.Text, "123");
    EXPECT_EQ(partial.SelStart, 1);
    EXPECT_EQ(partial.SelLength, 2);
    Press(partial, '-', true, true);
    EXPECT_EQ(partial.Text, "-123");
    EXPECT_EQ(partial.SelStart, 2);
    EXPECT_EQ(partial.SelLength, 2);
}

TEST(NumericKeyFilter, MinusInsideTheSelectionReplacesIt)
{
    TextBoxState all{"-50.0", 0, 5};
    Press(all, '-', true, true);
    EXPECT_EQ(all.Text, "-");
    EXPECT_EQ(all.SelStart, 1);
    EXPECT_EQ(all.SelLength, 0);

    TextBoxState front{"-50.0", 0, 2};
    Press(front, '-', true, true);
    EXPECT_EQ(front.Text, "-0.0");
    EXPECT_EQ(front.SelStart, 1);
}

TEST(NumericKeyFilter, EmptyTextAndStaleSelection)
{
    TextBoxState empty;
    Press(empty, '-', true, true);
    EXPECT_EQ(empty.Text, "-");
    EXPECT_EQ(empty.SelStart, 1);
    // A selection past the end is clipped, not read beyond the text.
    TextBoxState stale{"1.2", 7, 4};
    EXPECT_EQ(Press(stale, '.', true, false), 0);
}

TEST(NumberText, WhatCountsAsANumber)
{
    for (const char *yes : {"0", "12", " 12 ", "-5", "+5", "1.", ".5", "-.5", "1e3", "2.5E-2", "1D2"})
        EXPECT_TRUE(TextIsNumeric(yes)) << yes;
    for (const char *no : {"", " ", "-", ".", "-.", "1.2.3", "1e", "12a", "1,5", "--1", "1e999"})
        EXPECT_FALSE(TextIsNumeric(no)) << no;
    EXPECT_EQ(TextAsDouble("1e-999").value(), 0.0);
}

TEST(NumberText, WordConversionsRoundHalfToEvenAndRefuseOverflow)
{
    EXPECT_EQ(TextAsInteger("2.5").value(), 2);
    EXPECT_EQ(TextAsInteger("3.5").value(), 4);
    EXPECT_EQ(TextAsInteger("32767").value(), 32767);
    EXPECT_FALSE(TextAsInteger("40000"));
    EXPECT_FALSE(TextAsInteger(""));
    EXPECT_EQ(TextAsByte("255").value(), 255);
    EXPECT_FALSE(TextAsByte("256"));
    EXPECT_FALSE(TextAsByte("-1"));
    EXPECT_EQ(TextAsLong("2147483647").value(), 2147483647);
    EXPECT_FALSE(TextAsLong("2147483648"));
    EXPECT_FALSE(TextAsSingle("1e39"));
    EXPECT_EQ(FormatIfNumeric("abc", "0.0"), "abc");
    EXPECT_EQ(FormatIfNumeric("", "0.0"), "");
    EXPECT_EQ(FormatIfNumeric("-50", "0.0"), "-50.0");
    EXPECT_EQ(FormatIfNumeric("2.25", "0.0"), "2.3");
}

TEST(DialogPlacement, CentredBelowThePictureCentreAndKeptOnScreen)
{
    const PixelRect picture{10, 32, 700, 450};
    const PixelRect dialog{0, 0, 300, 200};
    const PixelRect placed = PlaceOverPicture(dialog, picture, 1920, 1080);
    EXPECT_EQ(placed.Left, 10 + 200);
    EXPECT_EQ(placed.Top, 32 + 225 + 20 - 100);
    EXPECT_EQ(placed.Width, 300);

    // Past the bottom and right: moved back to end at the screen's edge.
    const PixelRect off = PlaceOverPicture({0, 0, 300, 500}, {900, 500, 200, 400}, 1000, 800);
    EXPECT_EQ(off.Top, 300);
    EXPECT_EQ(off.Left, 700);
    // Negative left and top become 0.
    const PixelRect neg = PlaceOverPicture({0, 0, 600, 600}, {-200, -300, 100, 100}, 1920, 1080);
    EXPECT_EQ(neg.Left, 0);
    EXPECT_EQ(neg.Top, 0);
}

TEST(DialogPlacement, GridRows)
{
    EXPECT_EQ(GridVisibleRows(3), 3);
    EXPECT_EQ(GridVisibleRows(20), 20);
    EXPECT_FALSE(GridNeedsScrollBar(20));
    EXPECT_EQ(GridVisibleRows(21), 20);
    EXPECT_TRUE(GridNeedsScrollBar(21));
}
