#pragma once
// Reading a number out of a text the user typed (spray record, card positions, the dialogs' boxes):
// the one reader of typed numbers, shared by the dialogs and the engine, so that a dialog accepts
// exactly the texts that the engine can read.

#include "core/numeric.h"

#include <optional>
#include <string_view>

namespace velmara {

// Reads text as a Single. Accepted: optional blanks or tabs around, an optional sign, digits with
// at most one '.', at least one digit, and an optional exponent (E or D, upper or lower case,
// optional sign, digits). The decimal separator is always '.', whatever the locale, so that a
// file written on one machine reads the same on another. No thousands separators, no hex.
// The decimal text is rounded once, straight to the nearest Single; a value too small for a
// Single reads as 0 (with its sign).
// Throws Failure(kTypeMismatch) for any other text, the empty one included, and
// Failure(kOverflow) for a number beyond the range of a Single.
Single TextToSingle(std::string_view text);

// The same, without throwing: nothing for a text TextToSingle refuses.
std::optional<Single> TryTextToSingle(std::string_view text);

// The same text read as a Double, rounded once from the decimal text; nothing for text that is no
// number or beyond the Double range.
std::optional<double> TryTextToDouble(std::string_view text);

} // namespace velmara
