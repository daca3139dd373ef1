#include "statistics/textvalue.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace velmara {

namespace {

enum class Parse { Ok, NotANumber, TooLarge };

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

Parse ParseSingle(std::string_view text, Single &out)
{
    size_t b = 0, e = text.size();
    while (b < e && IsBlank(text[b]))
        ++b;
    while (e > b && IsBlank(text[e - 1]))
        --e;
    std::string body(text.substr(b, e - b));

    // Check the shape by hand: from_chars alone would accept "inf", "nan" and hex forms.
    size_t i = 0;
    bool negative = false;
    if (i < body.size() && (body[i] == '+' || body[i] == '-')) {
        negative = body[i] == '-';
        ++i;
    }
    const size_t mantissaStart = i;
    int digits = 0;
    bool point = false;
    for (; i < body.size(); ++i) {
        if (IsDigit(body[i]))
            ++digits;
        else if (body[i] == '.' && !point)
            point = true;
        else
            break;
    }
    if (digits == 0)
        return Parse::NotANumber;
    if (i < body.size()) {
        char &x = body[i];
        if (x != 'e' && x != 'E' && x != 'd' && x != 'D')
            return Parse::NotANumber;
        x = 'e';
        ++i;
        if (i < body.size() && (body[i] == '+' || body[i] == '-'))
            ++i;
        int expDigits = 0;
        for (; i < body.size() && IsDigit(body[i]); ++i)
            ++expDigits;
        if (expDigits == 0 || i != body.size())
            return Parse::NotANumber;
    }

    const char *first = body.data() + mantissaStart;
    const char *last = body.data() + body.size();
    float value = 0;
    const auto r = std::from_chars(first, last, value, std::chars_format::general);
    if (r.ec == std::errc::result_out_of_range) {
        // Too large or too small for a float: a double tells which.
        double wide = 0;
        const auto rd = std::from_chars(first, last, wide, std::chars_format::general);
        const bool tiny = rd.ec == std::errc::result_out_of_range
                              ? body.find("e-") != std::string::npos
                              : std::fabs(wide) < 1.0;
        if (!tiny)
            return Parse::TooLarge;
        value = 0;
    } else if (r.ec != std::errc() || r.ptr != last) {
        return Parse::NotANumber;
    }
    out = negative ? -value : value;
    return Parse::Ok;
}

} // namespace

Single TextToSingle(std::string_view text)
{
    Single v = 0;
    switch (ParseSingle(text, v)) {
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
    if (ParseSingle(text, v) != Parse::Ok)
        return std::nullopt;
    return v;
}

} // namespace velmara
