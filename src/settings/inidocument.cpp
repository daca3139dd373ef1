#include "settings/inidocument.h"

namespace velmara {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view trimBlanks(std::string_view s)
{
    while (!s.empty() && isBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && isBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

char asciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool sameName(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (asciiLower(a[i]) != asciiLower(b[i]))
            return false;
    return true;
}

bool isValidUtf8(std::string_view s)
{
    size_t i = 0;
    while (i < s.size()) {
        const auto c = static_cast<unsigned char>(s[i]);
        int extra = 0;
        unsigned min = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            extra = 1;
            min = 0x80;
        } else if ((c & 0xF0) == 0xE0) {
            extra = 2;
            min = 0x800;
        } else if ((c & 0xF8) == 0xF0) {
            extra = 3;
            min = 0x10000;
        } else {
            return false;
        }
        if (i + extra >= s.size())
            return false;
        unsigned cp = c & (0x3F >> extra);
        for (int k = 1; k <= extra; ++k) {
            const auto cc = static_cast<unsigned char>(s[i + k]);
            if ((cc & 0xC0) != 0x80)
                return false;
            cp = (cp << 6) | (cc & 0x3F);
        }
        if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += extra + 1;
    }
    return true;
}

std::string latin1ToUtf8(std::string_view s)
{
    std::string out;
    out.reserve(s.size() + s.size() / 8);
    for (char ch : s) {
        const auto c = static_cast<unsigned char>(ch);
        if (c < 0x80) {
            out.push_back(ch);
        } else {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return out;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    c = asciiLower(c);
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

} // namespace

IniDocument IniDocument::parse(std::string_view bytes)
{
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF")
        bytes.remove_prefix(3);
    const std::string text = isValidUtf8(bytes) ? std::string(bytes) : latin1ToUtf8(bytes);

    IniDocument doc;
    std::string section;
    bool brokenHeader = false;
    size_t start = 0;
    int number = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string_view raw(text.data() + start, end - start);
        if (!raw.empty() && raw.back() == '\r')
            raw.remove_suffix(1);
        start = end + 1;
        ++number;

        Line line;
        line.text = std::string(raw);
        const std::string_view t = trimBlanks(raw);
        std::optional<Fault> fault;
        if (raw.find('\0') != std::string_view::npos) {
            fault = Fault::BinaryData;
        } else if (t.empty() || t.front() == ';' || t.front() == '#') {
            // blank or comment: kept as it stands
        } else if (t.front() == '[') {
            brokenHeader = !(t.size() >= 2 && t.back() == ']');
            if (brokenHeader) {
                fault = Fault::UnclosedSection;
            } else {
                section = std::string(trimBlanks(t.substr(1, t.size() - 2)));
                line.header = true;
            }
        } else {
            const size_t eq = t.find('=');
            const std::string_view key = eq == std::string_view::npos ? std::string_view() : trimBlanks(t.substr(0, eq));
            if (key.empty())
                fault = Fault::NotASetting;
            else if (brokenHeader)
                fault = Fault::UnderBrokenHeader;
            else
                line.key = std::string(key);
        }
        if (fault) {
            doc.mSkipped.push_back({number, *fault, line.text});
            line.skipped = true;
        }
        line.section = section;
        doc.mLines.push_back(std::move(line));
    }
    return doc;
}

bool IniDocument::hasEntries() const
{
    for (const Line &line : mLines)
        if (line.header || !line.key.empty())
            return true;
    return false;
}

std::optional<std::string> IniDocument::value(std::string_view section, std::string_view key) const
{
    for (const Line &line : mLines) {
        if (!line.key.empty() && sameName(line.key, key) && sameName(line.section, section)) {
            const size_t eq = line.text.find('=');
            return decodeValue(std::string_view(line.text).substr(eq + 1));
        }
    }
    return std::nullopt;
}

void IniDocument::setValue(std::string_view section, std::string_view key, std::string_view value)
{
    const std::string encoded = encodeValue(value);
    // The first change writes the whole text anew: the lines that could not be read go.
    std::erase_if(mLines, [](const Line &line) { return line.skipped; });
    size_t insertAfter = mLines.size();
    for (size_t i = 0; i < mLines.size(); ++i) {
        Line &line = mLines[i];
        if (!sameName(line.section, section))
            continue;
        if (!line.key.empty() && sameName(line.key, key)) {
            line.text = line.key + "=" + encoded;
            return;
        }
        // The very first lines of a file without a header belong to the unnamed section only.
        if (line.header || !line.key.empty())
            insertAfter = i;
    }

    Line entry;
    entry.section = std::string(section);
    entry.key = std::string(key);
    entry.text = entry.key + "=" + encoded;
    if (insertAfter < mLines.size()) {
        mLines.insert(mLines.begin() + static_cast<std::ptrdiff_t>(insertAfter) + 1, std::move(entry));
        return;
    }
    if (!mLines.empty() && !trimBlanks(mLines.back().text).empty()) {
        Line blank;
        blank.section = mLines.back().section;
        mLines.push_back(std::move(blank));
    }
    Line header;
    header.section = std::string(section);
    header.header = true;
    header.text = "[" + header.section + "]";
    mLines.push_back(std::move(header));
    mLines.push_back(std::move(entry));
}

std::string IniDocument::serialize() const
{
    std::string out;
    for (const Line &line : mLines) {
        if (line.skipped)
            continue;
        out += line.text;
        out += '\n';
    }
    return out;
}

std::string IniDocument::encodeValue(std::string_view value)
{
    bool quote = !value.empty() && (isBlank(value.front()) || isBlank(value.back()) || value.front() == '"');
    for (char c : value)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            quote = true;
    if (!quote)
        return std::string(value);

    static const char hex[] = "0123456789ABCDEF";
    std::string out = "\"";
    for (char c : value) {
        const auto u = static_cast<unsigned char>(c);
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '"': out += "\\\""; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (u < 0x20 || u == 0x7F) {
                out += "\\x";
                out += hex[u >> 4];
                out += hex[u & 0xF];
            } else {
                out += c;
            }
        }
    }
    out += '"';
    return out;
}

std::string IniDocument::decodeValue(std::string_view text)
{
    text = trimBlanks(text);
    if (text.size() < 2 || text.front() != '"' || text.back() != '"')
        return std::string(text);

    text = text.substr(1, text.size() - 2);
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c != '\\' || i + 1 == text.size()) {
            out += c;
            continue;
        }
        const char e = text[i + 1];
        switch (e) {
        case '\\': out += '\\'; ++i; break;
        case '"': out += '"'; ++i; break;
        case 'n': out += '\n'; ++i; break;
        case 'r': out += '\r'; ++i; break;
        case 't': out += '\t'; ++i; break;
        case 'x':
            if (i + 3 < text.size() && hexDigit(text[i + 2]) >= 0 && hexDigit(text[i + 3]) >= 0) {
                out += static_cast<char>(hexDigit(text[i + 2]) * 16 + hexDigit(text[i + 3]));
                i += 3;
                break;
            }
            out += c;
            break;
        default:
            out += c; // an unknown escape keeps its backslash
        }
    }
    return out;
}

} // namespace velmara
