#include "dialogs/numbertext.h"

#include "core/numberform.h"
#include "statistics/textvalue.h"

#include <string>

namespace velmara {

namespace {

// The engine's reader: a box accepts exactly the numbers that the analysis can read later.
std::optional<double> parse(std::string_view text) { return TryTextToDouble(text); }

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
