#include "statistics/textvalue.h"

#include <charconv>
#include <string>
#include <system_error>

namespace velmara {

namespace {

enum class Parse { Ok, NotANumber, TooLarge };

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// A number text split into what from_chars reads: the unsigned mantissa and exponent in plain
// form ("12.5e-3"), the sign apart.
struct NumberShape
{
    std::string Plain;
    bool Negative = false;
    long long Magnitude = 0; // decimal place of the first significant digit, exponent included
};

// Checks the shape by hand: from_chars alone would accept "inf", "nan" and hex forms.
bool ReadShape(std::string_view text, NumberShape &shape)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        shape.Negative = text[i] == '-';
        ++i;
    }
    int digits = 0;
    bool point = false;
    long long intDigits = 0, leadingZeros = 0;
    bool significant = false;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (IsDigit(c)) {
            ++digits;
            if (c != '0')
                significant = true;
            if (!point && significant)
                ++intDigits;
            else if (point && !significant)
                ++leadingZeros;
        } else if (c == '.' && !point) {
            point = true;
        } else {
            break;
        }
        shape.Plain += c;
    }
    if (digits == 0)
        return false;
    long long exponent = 0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
        shape.Plain += 'e';
        ++i;
        bool negativeExponent = false;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
            negativeExponent = text[i] == '-';
            shape.Plain += text[i];
            ++i;
        }
        int expDigits = 0;
        for (; i < text.size() && IsDigit(text[i]); ++i, ++expDigits) {
            shape.Plain += text[i];
            if (exponent < 1000000000)
                exponent = exponent * 10 + (text[i] - '0');
        }
        if (expDigits == 0)
            return false;
        if (negativeExponent)
            exponent = -exponent;
    }
    if (i != text.size())
        return false;
    shape.Magnitude = (intDigits > 0 ? intDigits - 1 : -(leadingZeros + 1)) + exponent;
    return true;
}

// Reads the text into a float or a double, rounded once from the decimal text. A value too small
// for the type reads as 0 with its sign.
template <typename Real>
Parse ParseReal(std::string_view text, Real &out)
{
    NumberShape shape;
    if (!ReadShape(text, shape))
        return Parse::NotANumber;
    const char *first = shape.Plain.data();
    const char *last = first + shape.Plain.size();
    Real value = 0;
    const auto r = std::from_chars(first, last, value, std::chars_format::general);
    if (r.ec == std::errc::result_out_of_range) {
        if (shape.Magnitude >= 0)
            return Parse::TooLarge;
        value = 0;
    } else if (r.ec != std::errc() || r.ptr != last) {
        return Parse::NotANumber;
    }
    out = shape.Negative ? -value : value;
    return Parse::Ok;
}

} // namespace

Single TextToSingle(std::string_view text)
{
    Single v = 0;
    switch (ParseReal(text, v)) {
    case Parse::Ok:
        return v;
    case Parse::TooLarge:
        throw Failure(kOverflow);
    case Parse::NotANumber:
        break;
    }
    throw Failure(kTypeMismatch);
}

std::optional<Single> TryTextToSingle(std::string_view text)
{
    Single v = 0;
    if (ParseReal(text, v) != Parse::Ok)
        return std::nullopt;
    return v;
}

std::optional<double> TryTextToDouble(std::string_view text)
{
    double v = 0;
    if (ParseReal(text, v) != Parse::Ok)
        return std::nullopt;
    return v;
}

} // namespace velmara
