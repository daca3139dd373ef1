#pragma once
// Text helpers of the template store and manager: names live in UTF-8 in memory and in
// Windows-1252 in "templates.dat", and the manager compares them the way its user reads them.

#include <optional>
#include <string>

namespace velmara {

// The Windows-1252 bytes of a UTF-8 text; nullopt when the text is not valid UTF-8 or holds a
// character the code page lacks.
std::optional<std::string> Utf8ToCp1252(const std::string &utf8);

// The UTF-8 text of Windows-1252 bytes. The five bytes the code page leaves undefined come back
// as the control characters of the same number, so that every byte survives a round trip.
std::string Cp1252ToUtf8(const std::string &bytes);

// Number of characters of a UTF-8 text; -1 when it is not valid UTF-8.
int Utf8Length(const std::string &utf8);

// Leading and trailing spaces removed (spaces only, not tabs).
std::string TrimSpaces(const std::string &text);

// Lower case of the letters of Windows-1252 (ASCII, the accented capitals, Š Œ Ž Ÿ); other
// characters unchanged. Text that cannot be mapped is lowered in its ASCII letters only.
std::string LowerCaseName(const std::string &utf8);

} // namespace velmara
