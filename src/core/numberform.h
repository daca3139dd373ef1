#pragma once
// Number forms of the reports and dialogs: fixed patterns such as "0.00" or "0.0#" and the general
// form of a Single or a Double.
//
// Rounding works on the decimal value as a classic desktop formatter sees it, not on the exact
// binary value: a Double is first written with 15 significant digits, a Single with 7 (each
// correctly rounded from the binary value), and that decimal text is then rounded to the pattern's
// decimals with ties away from zero. So 2.675 (binary 2.67499999999999982...) gives "2.68" in
// "0.00", 1.005 gives "1.01", and a Single 84.1225 gives "84.123" in "0.000".
//
// A value that rounds to zero shows no minus sign: -0.001 in "0.00" gives "0.00", -0.4 in "0"
// gives "0", and the general form of -0.0 is "0".
//
// The decimal separator is a parameter: the desktop program passes the user's locale separator,
// files written for other programs and the command-line tool pass '.'.

#include "core/numeric.h"

#include <concepts>
#include <string>
#include <string_view>

namespace velmara {

// Formats a Double in a pattern of the form "0", "0.0", "0.00", "0.000", "0.0#", "0.0##",
// "0.00#####", "0.0###########", "0.00##########": one digit before the point at least, then as
// many decimals as there are '0' after the point, and up to one more for each '#' (trailing zeros
// of those are dropped). A pattern outside that grammar gives the general form of the value.
// NaN gives "NaN", infinities "Infinity" and "-Infinity".
std::string FormatNumber(double value, std::string_view pattern, char decimalSeparator = '.');

// The same for a Single, whose decimal value has 7 significant digits before the pattern rounds it.
std::string FormatNumber(Single value, std::string_view pattern, char decimalSeparator = '.');

// Whole numbers are formatted from their exact digits.
std::string FormatWhole(long long value, std::string_view pattern, char decimalSeparator = '.');

template <std::integral T>
std::string FormatNumber(T value, std::string_view pattern, char decimalSeparator = '.')
{
    return FormatWhole(static_cast<long long>(value), pattern, decimalSeparator);
}

// General form: the shortest text with at most 7 (Single) or 15 (Double) significant digits that
// stands for the value; no point for a whole number, at least one digit before the point, and the
// exponent form ("1E-05", "1.5E+20") when the decimal exponent is below -4 or reaches the number
// of significant digits (1E+07 for a Single, 1E+15 for a Double).
std::string GeneralSingle(Single value, char decimalSeparator = '.');
std::string GeneralDouble(double value, char decimalSeparator = '.');

} // namespace velmara
