#include "dialogs/numbertext.h"

#include "core/numberform.h"
#include "statistics/textvalue.h"

#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace velmara {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// Reads the grammar of TextIsNumeric. The conversion goes through from_chars, which ignores the C
// locale: under the desktop program the process locale may use a decimal comma.
std::optional<double> parse(std::string_view text)
{
    text = trimmed(text);
    std::string plain;
    size_t i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    int digits = 0;
    bool point = false;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (isDigit(c)) {
            plain += c;
            ++digits;
        } else if (c == '.' && !point) {
            plain += c;
            point = true;
        } else {
            break;
        }
    }
    if (digits == 0)
        return std::nullopt;
    bool negativeExponent = false;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E' || text[i] == 'd' || text[i] == 'D')) {
        plain += 'e';
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
            negativeExponent = text[i] == '-';
            plain += text[i];
            ++i;
        }
        int expDigits = 0;
        for (; i < text.size() && isDigit(text[i]); ++i, ++expDigits)
            plain += text[i];
        if (expDigits == 0)
            return std::nullopt;
    }
    if (i != text.size())
        return std::nullopt;

    double value = 0;
    const auto res = std::from_chars(plain.data(), plain.data() + plain.size(), value);
    if (res.ec == std::errc::result_out_of_range) {
        if (!negativeExponent)
            return std::nullopt; // beyond the Double range
        value = 0;               // too small to tell from zero
    } else if (res.ec != std::errc() || res.ptr != plain.data() + plain.size()) {
        return std::nullopt;
    }
    return negative ? -value : value;
}

template <typename Word>
std::optional<Word> rounded(std::string_view text, double low, double high)
{
    const auto v = parse(text);
    if (!v)
        return std::nullopt;
    const double r = RoundHalfEven(*v);
    if (!(r >= low && r <= high))
        return std::nullopt;
    return static_cast<Word>(r);
}

} // namespace

bool TextIsNumeric(std::string_view text) { return parse(text).has_value(); }

std::optional<double> TextAsDouble(std::string_view text) { return parse(text); }

std::optional<Integer> TextAsInteger(std::string_view text)
{
    return rounded<Integer>(text, -32768.0, 32767.0);
}

std::optional<Long> TextAsLong(std::string_view text)
{
    return rounded<Long>(text, -2147483648.0, 2147483647.0);
}

std::optional<Byte> TextAsByte(std::string_view text) { return rounded<Byte>(text, 0.0, 255.0); }

std::optional<Single> TextAsSingle(std::string_view text)
{
    if (!parse(text))
        return std::nullopt;
    return TryTextToSingle(text);
}

std::string FormatIfNumeric(std::string_view text, std::string_view pattern)
{
    const auto v = parse(text);
    if (!v)
        return std::string(text);
    return FormatNumber(*v, pattern);
}

} // namespace velmara
