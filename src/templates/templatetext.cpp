#include "templates/templatetext.h"

#include <array>
#include <cstdint>

namespace velmara {

namespace {

// Code points of the bytes 0x80 to 0x9F; the undefined ones map to themselves.
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char32_t CodePointOf(unsigned char byte)
{
    if (byte >= 0x80 && byte <= 0x9F)
        return kHighControls[byte - 0x80];
    return byte;
}

std::optional<unsigned char> ByteOf(char32_t cp)
{
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF))
        return static_cast<unsigned char>(cp);
    for (size_t i = 0; i < kHighControls.size(); ++i)
        if (kHighControls[i] == cp)
            return static_cast<unsigned char>(0x80 + i);
    return std::nullopt;
}

void AppendUtf8(std::string &out, char32_t cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// Decodes one code point at i and advances i; nullopt on a malformed sequence.
std::optional<char32_t> NextCodePoint(const std::string &s, size_t &i)
{
    const auto lead = static_cast<unsigned char>(s[i]);
    int extra = 0;
    char32_t cp = 0;
    if (lead < 0x80) {
        ++i;
        return lead;
    } else if ((lead & 0xE0) == 0xC0) {
        extra = 1;
        cp = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2;
        cp = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3;
        cp = lead & 0x07;
    } else {
        return std::nullopt;
    }
    if (i + static_cast<size_t>(extra) >= s.size())
        return std::nullopt;
    for (int k = 1; k <= extra; ++k) {
        const auto c = static_cast<unsigned char>(s[i + static_cast<size_t>(k)]);
        if ((c & 0xC0) != 0x80)
            return std::nullopt;
        cp = (cp << 6) | (c & 0x3F);
    }
    // Overlong forms and surrogates are not UTF-8.
    static constexpr char32_t kMinOf[] = {0, 0x80, 0x800, 0x10000};
    if (cp < kMinOf[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return std::nullopt;
    i += static_cast<size_t>(extra) + 1;
    return cp;
}

unsigned char LowerByte(unsigned char b)
{
    if (b >= 'A' && b <= 'Z')
        return static_cast<unsigned char>(b + 0x20);
    if (b >= 0xC0 && b <= 0xDE && b != 0xD7)
        return static_cast<unsigned char>(b + 0x20);
    switch (b) {
    case 0x8A: return 0x9A; // S caron
    case 0x8C: return 0x9C; // OE
    case 0x8E: return 0x9E; // Z caron
    case 0x9F: return 0xFF; // Y diaeresis
    default: return b;
    }
}

} // namespace

std::optional<std::string> Utf8ToCp1252(const std::string &utf8)
{
    std::string out;
    out.reserve(utf8.size());
    size_t i = 0;
    while (i < utf8.size()) {
        const auto cp = NextCodePoint(utf8, i);
        if (!cp)
            return std::nullopt;
        const auto b = ByteOf(*cp);
        if (!b)
            return std::nullopt;
        out += static_cast<char>(*b);
    }
    return out;
}

std::string Cp1252ToUtf8(const std::string &bytes)
{
    std::string out;
    out.reserve(bytes.size());
    for (char c : bytes)
        AppendUtf8(out, CodePointOf(static_cast<unsigned char>(c)));
    return out;
}

int Utf8Length(const std::string &utf8)
{
    int n = 0;
    size_t i = 0;
    while (i < utf8.size()) {
        if (!NextCodePoint(utf8, i))
            return -1;
        ++n;
    }
    return n;
}

std::string TrimSpaces(const std::string &text)
{
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos)
        return {};
    const size_t last = text.find_last_not_of(' ');
    return text.substr(first, last - first + 1);
}

std::string LowerCaseName(const std::string &utf8)
{
    if (const auto bytes = Utf8ToCp1252(utf8)) {
        std::string lowered = *bytes;
        for (char &c : lowered)
            c = static_cast<char>(LowerByte(static_cast<unsigned char>(c)));
        return Cp1252ToUtf8(lowered);
    }
    std::string lowered = utf8;
    for (char &c : lowered)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c + 0x20);
    return lowered;
}

} // namespace velmara
