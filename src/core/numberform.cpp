#include "core/numberform.h"

#include <cmath>
#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <optional>

namespace velmara {

namespace {

// A decimal value: 0.<digits> times ten to the power pointPos. digits has no leading or trailing
// zeros; it is empty for zero.
struct Decimal
{
    bool negative = false;
    std::string digits;
    int pointPos = 0;
};

void trimTrailingZeros(Decimal &d)
{
    while (!d.digits.empty() && d.digits.back() == '0')
        d.digits.pop_back();
}

// The value correctly rounded to `significant` digits, as the classic formatter sees it before
// any pattern applies.
Decimal fromFloating(double value, int significant)
{
    Decimal d;
    d.negative = std::signbit(value);
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*e", significant - 1, std::fabs(value));
    // buf: "d.ddddde+XX" (or "de+XX" for one digit)
    const char *p = buf;
    for (; *p != 'e' && *p != '\0'; ++p) {
        if (*p >= '0' && *p <= '9')
            d.digits.push_back(*p);
    }
    const int exponent = (*p == 'e') ? std::atoi(p + 1) : 0;
    d.pointPos = exponent + 1;
    trimTrailingZeros(d);
    if (d.digits.empty())
        d.pointPos = 0;
    return d;
}

Decimal fromWhole(long long value)
{
    Decimal d;
    d.negative = value < 0;
    // Through unsigned so that the most negative value has a magnitude too.
    unsigned long long magnitude = d.negative ? 0ULL - static_cast<unsigned long long>(value)
                                              : static_cast<unsigned long long>(value);
    d.digits = std::to_string(magnitude);
    d.pointPos = static_cast<int>(d.digits.size());
    trimTrailingZeros(d);
    if (d.digits.empty())
        d.pointPos = 0;
    return d;
}

// Rounds to `decimals` places, ties away from zero: on a decimal text the first dropped digit
// alone decides.
void roundTo(Decimal &d, int decimals)
{
    if (d.digits.empty())
        return;
    const long kept = static_cast<long>(d.pointPos) + decimals;
    if (kept >= static_cast<long>(d.digits.size()))
        return;
    if (kept < 0) {
        d.digits.clear();
        d.pointPos = 0;
        return;
    }
    const bool up = d.digits[static_cast<size_t>(kept)] >= '5';
    d.digits.resize(static_cast<size_t>(kept));
    if (up) {
        long i = kept - 1;
        for (; i >= 0; --i) {
            char &c = d.digits[static_cast<size_t>(i)];
            if (c == '9') {
                c = '0';
            } else {
                ++c;
                break;
            }
        }
        if (i < 0) { // carried out of the first digit: 0.999 -> 1.000
            d.digits.insert(d.digits.begin(), '1');
            ++d.pointPos;
        }
    }
    trimTrailingZeros(d);
    if (d.digits.empty())
        d.pointPos = 0;
}

char digitAt(const Decimal &d, long index)
{
    if (index < 0 || index >= static_cast<long>(d.digits.size()))
        return '0';
    return d.digits[static_cast<size_t>(index)];
}

std::string renderFixed(const Decimal &d, int minDecimals, int maxDecimals, char sep)
{
    std::string out;
    // A value that rounded to zero shows no sign.
    if (d.negative && !d.digits.empty())
        out.push_back('-');
    if (d.pointPos <= 0) {
        out.push_back('0');
    } else {
        for (long i = 0; i < d.pointPos; ++i)
            out.push_back(digitAt(d, i));
    }
    std::string fraction;
    for (long i = 0; i < maxDecimals; ++i)
        fraction.push_back(digitAt(d, d.pointPos + i));
    while (static_cast<int>(fraction.size()) > minDecimals && fraction.back() == '0')
        fraction.pop_back();
    if (!fraction.empty()) {
        out.push_back(sep);
        out += fraction;
    }
    return out;
}

struct Pattern
{
    int minDecimals = 0;
    int maxDecimals = 0;
};

// "0", or "0." followed by zeros and then hashes.
std::optional<Pattern> parsePattern(std::string_view pattern)
{
    if (pattern.empty() || pattern[0] != '0')
        return std::nullopt;
    Pattern p;
    if (pattern.size() == 1)
        return p;
    if (pattern[1] != '.')
        return std::nullopt;
    size_t i = 2;
    for (; i < pattern.size() && pattern[i] == '0'; ++i)
        ++p.minDecimals;
    p.maxDecimals = p.minDecimals;
    for (; i < pattern.size() && pattern[i] == '#'; ++i)
        ++p.maxDecimals;
    if (i != pattern.size())
        return std::nullopt;
    return p;
}

std::optional<std::string> nonFinite(double value)
{
    if (std::isnan(value))
        return std::string("NaN");
    if (std::isinf(value))
        return std::string(value < 0 ? "-Infinity" : "Infinity");
    return std::nullopt;
}

// The pattern has been checked by the caller.
std::string formatDecimal(Decimal d, std::string_view pattern, char sep)
{
    const Pattern p = *parsePattern(pattern);
    roundTo(d, p.maxDecimals);
    return renderFixed(d, p.minDecimals, p.maxDecimals, sep);
}

std::string general(double value, int significant, char sep)
{
    if (auto text = nonFinite(value))
        return *text;
    const Decimal d = fromFloating(value, significant);
    if (d.digits.empty())
        return "0";
    const int exponent = d.pointPos - 1;
    if (exponent < -4 || exponent >= significant) {
        std::string out;
        if (d.negative)
            out.push_back('-');
        out.push_back(d.digits[0]);
        if (d.digits.size() > 1) {
            out.push_back(sep);
            out.append(d.digits, 1);
        }
        char buf[16];
        std::snprintf(buf, sizeof buf, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
        out += buf;
        return out;
    }
    const int decimals = std::max(0, static_cast<int>(d.digits.size()) - d.pointPos);
    return renderFixed(d, 0, decimals, sep);
}

} // namespace

std::string FormatNumber(double value, std::string_view pattern, char decimalSeparator)
{
    if (!parsePattern(pattern))
        return GeneralDouble(value, decimalSeparator);
    if (auto text = nonFinite(value))
        return *text;
    return formatDecimal(fromFloating(value, 15), pattern, decimalSeparator);
}

std::string FormatNumber(Single value, std::string_view pattern, char decimalSeparator)
{
    if (!parsePattern(pattern))
        return GeneralSingle(value, decimalSeparator);
    if (auto text = nonFinite(value))
        return *text;
    return formatDecimal(fromFloating(value, 7), pattern, decimalSeparator);
}

std::string FormatWhole(long long value, std::string_view pattern, char decimalSeparator)
{
    if (!parsePattern(pattern))
        return FormatWhole(value, "0", decimalSeparator);
    return formatDecimal(fromWhole(value), pattern, decimalSeparator);
}

std::string GeneralSingle(Single value, char decimalSeparator)
{
    return general(value, 7, decimalSeparator);
}

std::string GeneralDouble(double value, char decimalSeparator)
{
    return general(value, 15, decimalSeparator);
}

} // namespace velmara
