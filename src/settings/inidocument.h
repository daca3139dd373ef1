#pragma once
// The text form of the settings file: "[Section]" headers and "Key=value" lines, kept line by line
// so that a rewrite leaves the user's comments, blank lines and unknown keys where they were.
//
// Values are plain text to the end of the line. A value that could not survive that form (line
// breaks, other control characters, leading or trailing blanks, a leading double quote) is written
// in double quotes with backslash escapes. Only a value that starts and ends with a double quote is
// unquoted on reading, so hand-written paths with backslashes and comments with commas, quotes or
// percent signs read back exactly as they stand. Sections and keys match without regard to ASCII
// case, so that a hand-edited file with "prefs" for "Prefs" still reads.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmara {

class IniDocument
{
public:
    // Why a line was skipped.
    enum class Fault { BinaryData, UnclosedSection, NotASetting, UnderBrokenHeader };
    struct SkippedLine
    {
        int Number = 0;   // 1-based
        Fault Why = Fault::NotASetting;
        std::string Text; // the line as it stands (UTF-8)
    };

    // Parses UTF-8 text (a leading byte-order mark is skipped; text that is not valid UTF-8 is read
    // as Latin-1). Every line that is neither blank, a comment ("; " or "# "), a "[Section]" header
    // nor a "Key=value" line is skipped and listed by skipped(). So are the keys after a header
    // that is not closed, up to the next header: their section is unknown.
    static IniDocument parse(std::string_view bytes);

    // The lines parse() could not read, in file order. serialize() leaves them out.
    const std::vector<SkippedLine> &skipped() const { return mSkipped; }
    // True when the text holds at least one header or key line.
    bool hasEntries() const;

    // The value of the first matching key of the first matching section; nothing when either is
    // missing.
    std::optional<std::string> value(std::string_view section, std::string_view key) const;

    // Replaces the first matching key's value in place, or appends the key to its section, or
    // appends the section at the end.
    void setValue(std::string_view section, std::string_view key, std::string_view value);

    // UTF-8 text with LF line ends, without the skipped lines.
    std::string serialize() const;

    // The line form of one value, and back.
    static std::string encodeValue(std::string_view value);
    static std::string decodeValue(std::string_view text);

private:
    struct Line
    {
        std::string text;    // the line as it stands in the file
        std::string section; // the section it belongs to ("" before the first header)
        std::string key;     // for a "Key=value" line, the key as written; else empty
        bool header = false;
        bool skipped = false;
    };

    std::vector<Line> mLines;
    std::vector<SkippedLine> mSkipped;
};

} // namespace velmara
