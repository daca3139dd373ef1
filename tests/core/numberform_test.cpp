#include "core/numberform.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

using namespace velmara;

TEST(NumberForm, TiesRoundAwayFromZero)
{
    EXPECT_EQ(FormatNumber(0.125, "0.00"), "0.13");
    EXPECT_EQ(FormatNumber(2.5, "0"), "3");
    EXPECT_EQ(FormatNumber(0.5, "0"), "1");
    EXPECT_EQ(FormatNumber(1.5, "0"), "2");
    EXPECT_EQ(FormatNumber(-2.5, "0"), "-3");
    EXPECT_EQ(FormatNumber(0.005, "0.00"), "0.01");
    EXPECT_EQ(FormatNumber(0.0049999, "0.00"), "0.00");
}

TEST(NumberForm, DoubleRoundsItsFifteenDigitDecimal)
{
    // Binary 2.67499999999999982... reads as 2.67500000000000 first.
    EXPECT_EQ(FormatNumber(2.675, "0.00"), "2.68");
    EXPECT_EQ(FormatNumber(1.005, "0.00"), "1.01");
    EXPECT_EQ(FormatNumber(1.5 * 1.368, "0.000"), "2.052");
    EXPECT_EQ(FormatNumber(0.1 + 0.2, "0.0##"), "0.3");
}

TEST(NumberForm, SingleRoundsItsSevenDigitDecimal)
{
    const Single s = 84.1225f; // binary 84.12249755859375
    EXPECT_EQ(FormatNumber(s, "0.000"), "84.123");
    EXPECT_EQ(FormatNumber(static_cast<double>(s), "0.000"), "84.122");
    EXPECT_EQ(FormatNumber(912.5f, "0.000"), "912.500");
    EXPECT_EQ(FormatNumber(0.1f, "0.00#####"), "0.10");
    EXPECT_EQ(FormatNumber(ToSingle(0.0025) * 100.0f, "0.00"), "0.25");
}

TEST(NumberForm, CarryRunsIntoNewDigit)
{
    EXPECT_EQ(FormatNumber(9.995, "0.00"), "10.00");
    EXPECT_EQ(FormatNumber(99.96, "0.0"), "100.0");
    EXPECT_EQ(FormatNumber(0.96, "0.0"), "1.0");
    EXPECT_EQ(FormatNumber(0.6, "0"), "1");
    EXPECT_EQ(FormatNumber(0.0006, "0.000"), "0.001");
}

TEST(NumberForm, FixedDecimalsPadAndLeadWithZero)
{
    EXPECT_EQ(FormatNumber(1.5, "0.00"), "1.50");
    EXPECT_EQ(FormatNumber(0.3, "0.000"), "0.300");
    EXPECT_EQ(FormatNumber(0.0, "0.0"), "0.0");
    EXPECT_EQ(FormatNumber(0.04, "0.0"), "0.0");
    EXPECT_EQ(FormatNumber(12345.678, "0"), "12346");
    EXPECT_EQ(FormatNumber(1e20, "0.00"), "100000000000000000000.00");
    // Digits beyond the fifteenth are zeros.
    EXPECT_EQ(FormatNumber(123456789012345678.0, "0"), "123456789012346000");
}

TEST(NumberForm, NegativeValuesAndNegativeZero)
{
    EXPECT_EQ(FormatNumber(-1.234, "0.00"), "-1.23");
    EXPECT_EQ(FormatNumber(-0.5, "0"), "-1");
    EXPECT_EQ(FormatNumber(-0.2, "0.0#"), "-0.2");
    EXPECT_EQ(FormatNumber(-0.001, "0.00"), "0.00");
    EXPECT_EQ(FormatNumber(-0.4, "0"), "0");
    EXPECT_EQ(FormatNumber(-0.0, "0.000"), "0.000");
    EXPECT_EQ(FormatNumber(-0.004f, "0.00"), "0.00");
}

TEST(NumberForm, OptionalDecimalsDropTrailingZeros)
{
    EXPECT_EQ(FormatNumber(1.0, "0.0#"), "1.0");
    EXPECT_EQ(FormatNumber(1.2, "0.0#"), "1.2");
    EXPECT_EQ(FormatNumber(1.25, "0.0#"), "1.25");
    EXPECT_EQ(FormatNumber(1.255, "0.0#"), "1.26");
    EXPECT_EQ(FormatNumber(1.999, "0.0#"), "2.0");
    EXPECT_EQ(FormatNumber(0.56, "0.00#####"), "0.56");
    EXPECT_EQ(FormatNumber(0.123456789, "0.00#####"), "0.1234568");
    EXPECT_EQ(FormatNumber(1e-5, "0.0###########"), "0.00001");
    EXPECT_EQ(FormatNumber(1.0 / 3.0, "0.0###########"), "0.333333333333");
    EXPECT_EQ(FormatNumber(2.0, "0.00##########"), "2.00");
    EXPECT_EQ(FormatNumber(2.0000000000004, "0.00##########"), "2.00");
}

TEST(NumberForm, SeparatorIsAParameter)
{
    EXPECT_EQ(FormatNumber(1.5, "0.00", ','), "1,50");
    EXPECT_EQ(FormatNumber(3.0, "0", ','), "3");
    EXPECT_EQ(GeneralDouble(0.56, ','), "0,56");
    EXPECT_EQ(GeneralSingle(1.5e-7f, ','), "1,5E-07");
}

TEST(NumberForm, WholeNumbersKeepEveryDigit)
{
    EXPECT_EQ(FormatNumber(300, "0"), "300");
    EXPECT_EQ(FormatNumber(-7, "0.00"), "-7.00");
    EXPECT_EQ(FormatNumber(Long{2147483647}, "0"), "2147483647");
    EXPECT_EQ(FormatNumber(LLONG_MIN, "0"), "-9223372036854775808");
    EXPECT_EQ(FormatNumber(0, "0.0#"), "0.0");
}

TEST(NumberForm, UnknownPatternAndNonFinite)
{
    EXPECT_EQ(FormatNumber(0.56, "#,##0.00"), "0.56");
    EXPECT_EQ(FormatNumber(0.56f, "bad"), "0.56");
    EXPECT_EQ(FormatNumber(std::numeric_limits<double>::quiet_NaN(), "0.00"), "NaN");
    EXPECT_EQ(FormatNumber(-std::numeric_limits<double>::infinity(), "0"), "-Infinity");
}

TEST(GeneralForm, DoubleUpToFifteenDigits)
{
    EXPECT_EQ(GeneralDouble(0.56), "0.56");
    EXPECT_EQ(GeneralDouble(-0.2), "-0.2");
    EXPECT_EQ(GeneralDouble(300.0), "300");
    EXPECT_EQ(GeneralDouble(0.0), "0");
    EXPECT_EQ(GeneralDouble(-0.0), "0");
    EXPECT_EQ(GeneralDouble(0.1 + 0.2), "0.3");
    EXPECT_EQ(GeneralDouble(1.0 / 3.0), "0.333333333333333");
    EXPECT_EQ(GeneralDouble(123456789012345.0), "123456789012345");
    EXPECT_EQ(GeneralDouble(2.0 / 3.0 * 1000), "666.666666666667");
}

TEST(GeneralForm, ExponentForVerySmallAndLarge)
{
    EXPECT_EQ(GeneralDouble(1e-5), "1E-05");
    EXPECT_EQ(GeneralDouble(-2.5e-6), "-2.5E-06");
    EXPECT_EQ(GeneralDouble(0.0001), "0.0001");
    EXPECT_EQ(GeneralDouble(0.00012), "0.00012");
    EXPECT_EQ(GeneralDouble(1e15), "1E+15");
    EXPECT_EQ(GeneralDouble(1.5e20), "1.5E+20");
    EXPECT_EQ(GeneralDouble(1e100), "1E+100");
    EXPECT_EQ(GeneralDouble(999999999999999.9), "1E+15");
}

TEST(GeneralForm, SingleUpToSevenDigits)
{
    EXPECT_EQ(GeneralSingle(0.56f), "0.56");
    EXPECT_EQ(GeneralSingle(-0.2f), "-0.2");
    EXPECT_EQ(GeneralSingle(1.0f / 3.0f), "0.3333333");
    EXPECT_EQ(GeneralSingle(1234567.0f), "1234567");
    EXPECT_EQ(GeneralSingle(1e7f), "1E+07");
    EXPECT_EQ(GeneralSingle(32755.0f), "32755");
    EXPECT_EQ(GeneralSingle(1e-5f), "1E-05");
}
