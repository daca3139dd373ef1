#include "core/numberform.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

using namespace velmara;

namespace {
struct Case
{
    double value;
    const char *pattern;
    const char *text;
};
} // namespace

TEST(NumberForm, DoublePatterns)
{
    const Case cases[] = {
        // ties away from zero, on the 15-digit decimal: 2.675 is binary 2.67499999999999982...
        {0.125, "0.00", "0.13"}, {2.5, "0", "3"}, {-2.5, "0", "-3"},
        {2.675, "0.00", "2.68"}, {1.5 * 1.368, "0.000", "2.052"},
        {0.0049999, "0.00", "0.00"}, {0.0006, "0.000", "0.001"},
        // carries into a new digit
        {9.995, "0.00", "10.00"}, {0.96, "0.0", "1.0"},
        // padding, leading zero, digits past the fifteenth
        {1.5, "0.00", "1.50"}, {0.04, "0.0", "0.0"}, {12345.678, "0", "12346"},
        {1e20, "0.00", "100000000000000000000.00"}, {123456789012345678.0, "0", "123456789012346000"},
        // negative values; a value that rounds to zero has no sign
        {-1.234, "0.00", "-1.23"}, {-0.001, "0.00", "0.00"}, {-0.0, "0.000", "0.000"},
        // optional decimals
        {1.0, "0.0#", "1.0"}, {1.255, "0.0#", "1.26"}, {1.999, "0.0#", "2.0"},
        {0.1 + 0.2, "0.0##", "0.3"}, {0.123456789, "0.00#####", "0.1234568"},
        {1e-5, "0.0###########", "0.00001"}, {1.0 / 3.0, "0.0###########", "0.333333333333"},
        {2.0000000000004, "0.00##########", "2.00"},
        // outside the grammar: general form
        {0.56, "#,##0.00", "0.56"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(FormatNumber(c.value, c.pattern), c.text) << c.value << " in " << c.pattern;
}

TEST(NumberForm, SinglesWholeNumbersSeparatorAndNonFinite)
{
    const Single s = 84.1225f; // binary 84.12249755859375: a Single rounds its seven-digit decimal
    EXPECT_EQ(FormatNumber(s, "0.000"), "84.123");
    EXPECT_EQ(FormatNumber(static_cast<double>(s), "0.000"), "84.122");
    EXPECT_EQ(FormatNumber(0.1f, "0.00#####"), "0.10");
    EXPECT_EQ(FormatNumber(-0.004f, "0.00"), "0.00");
    EXPECT_EQ(FormatNumber(-7, "0.00"), "-7.00");
    EXPECT_EQ(FormatNumber(LLONG_MIN, "0"), "-9223372036854775808");
    EXPECT_EQ(FormatNumber(1.5, "0.00", ','), "1,50");
    EXPECT_EQ(FormatNumber(std::numeric_limits<double>::quiet_NaN(), "0.00"), "NaN");
    EXPECT_EQ(FormatNumber(-std::numeric_limits<double>::infinity(), "0"), "-Infinity");
}

TEST(GeneralForm, Double)
{
    const std::pair<double, const char *> cases[] = {
        {0.56, "0.56"}, {300.0, "300"}, {-0.0, "0"}, {0.1 + 0.2, "0.3"}, {2000.0 / 3.0, "666.666666666667"},
        {123456789012345.0, "123456789012345"}, {-2.5e-6, "-2.5E-06"}, {0.0001, "0.0001"},
        {1.5e20, "1.5E+20"}, {1e100, "1E+100"}, {999999999999999.9, "1E+15"},
    };
    for (const auto &[value, text] : cases)
        EXPECT_EQ(GeneralDouble(value), text) << value;
    EXPECT_EQ(GeneralDouble(0.56, ','), "0,56");
}

TEST(GeneralForm, Single)
{
    const std::pair<Single, const char *> cases[] = {
        {0.56f, "0.56"}, {-0.2f, "-0.2"}, {1.0f / 3.0f, "0.3333333"}, {1234567.0f, "1234567"}, {1e7f, "1E+07"}};
    for (const auto &[value, text] : cases)
        EXPECT_EQ(GeneralSingle(value), text) << value;
    EXPECT_EQ(GeneralSingle(1.5e-7f, ','), "1,5E-07");
}
