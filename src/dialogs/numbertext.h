#pragma once
// Numbers as the dialogs see them: text that the user typed, tested and read the way every box of
// the dialogs reads it.

#include "core/numeric.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmara {

// True when the text reads as a number: blanks around it, an optional leading sign, digits with at
// most one decimal point (at least one digit in all), an optional exponent ("1e3"), and a value
// within the range of a Double. "-", "." and the empty text are not numbers. The point is always
// '.': what the boxes hold goes into the store and the spray record, which read it that way.
bool TextIsNumeric(std::string_view text);

// The text read as a Double; nullopt when TextIsNumeric is false.
std::optional<double> TextAsDouble(std::string_view text);
// Read as a number, then rounded half to even into the word; nullopt when it is no number or the
// rounded value does not fit (the conversion the user sees refused, never a wrap).
std::optional<Integer> TextAsInteger(std::string_view text);
std::optional<Long> TextAsLong(std::string_view text);
std::optional<Byte> TextAsByte(std::string_view text);
// The text read as a Single; nullopt when it is no number or beyond the Single range.
std::optional<Single> TextAsSingle(std::string_view text);

// Numeric text in a number form ("0.0", "0.00#####"); any other text, the empty text included,
// comes back unchanged.
std::string FormatIfNumeric(std::string_view text, std::string_view pattern);

} // namespace velmara
