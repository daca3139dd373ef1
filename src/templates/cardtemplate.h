#pragma once
// One card template: how the cards lie on a sheet of a multi-card scan. All lengths in inches.

#include "core/numeric.h"

#include <string>

namespace velmara {

struct CardTemplate
{
    std::string Name; // UTF-8; 1 to 16 characters, no double quote
    Integer NumH = 3; // cards across, 1 to 5
    Single SizeH = 1.75f;
    Single SpaceH = 0.25f;
    Integer NumV = 3; // cards down, 1 to 5
    Single SizeV = 2.75f;
    Single SpaceV = 0.375f;

    // The six dimensions, name left out.
    bool SameDimensions(const CardTemplate &other) const;
    bool operator==(const CardTemplate &other) const = default;
};

// Name of the built-in element 0, which is never stored.
inline const char *const kDefaultTemplateName = "<Default>";
// Name handed to the load dialog when the list held only the built-in element.
inline const char *const kNoTemplateName = "<No Name>";

// Spinner ranges: counts as they are, lengths in thousandths of an inch.
constexpr int kMinCount = 1;
constexpr int kMaxCount = 5;
constexpr int kMinLength = 50;
constexpr int kMaxLength = 8500;
constexpr int kMaxNameLength = 16;

// "<Default>", 3 x 3 cards of 1.75 by 2.75 inches, 0.25 across and 0.375 down between them.
CardTemplate DefaultTemplate();

// True when the name is not empty, holds no double quote and has at most 16 characters.
// Names are kept in UTF-8 and stored in Windows-1252, so a character that code page cannot hold
// is refused too: the store could not give it back.
bool ValidTemplateName(const std::string &name);

// True when every field would fit the manager's spinners (counts 1 to 5, lengths 0.05 to 8.5
// inches) and the name is valid: only such a template can be edited and stored unchanged.
bool TemplateInRange(const CardTemplate &t);

} // namespace velmara
