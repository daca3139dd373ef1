#pragma once
// The column text writer shared by the scan log and the results file, and the unit texts of those
// files.

#include "core/textout.h"

#include <string>
#include <string_view>

namespace velmara {

// Unit texts of the reports: metric "m", "km/h", "L/ha"; imperial "ft", "mph", "oz/ac". The spray
// record holds values typed in these units; nothing is converted when a unit is written.
struct UnitTexts
{
    std::string Length;
    std::string Speed;
    std::string Rate;
};
UnitTexts UnitTextsFor(bool metric);

// Writes text into one open TextOut keeping a current column, 1 at the start of a line, that
// counts characters as they stand in the file (one per Windows-1252 byte, so "µm" is two).
// Every call returns false once the file has failed; the TextOut holds the reason.
class ColumnWriter
{
public:
    explicit ColumnWriter(TextOut &out) : mOut(out) {}

    int column() const { return mColumn; }

    // Writes a string at the current column.
    bool text(std::string_view utf8);
    // A whole number as an item: a blank (or the minus sign), the digits, one blank behind.
    bool number(long long value);
    // Moves to column n (below 1 counts as 1) with blanks; past it, ends the line first and then
    // writes blanks up to column n of the next line.
    bool tab(int n);
    bool endLine();
    // n minus signs, then the end of the line.
    bool dashes(int n);

    // Text and a line end.
    bool line(std::string_view utf8 = {}) { return text(utf8) && endLine(); }
    // Tab(n) then the text.
    bool textAt(int n, std::string_view utf8) { return tab(n) && text(utf8); }
    // A text value whose last character stands in column c: Tab(c + 1 - length), then Text.
    bool textEndingAt(int c, std::string_view utf8);
    // A whole number whose last digit stands in column c: Tab(c - digits), then Number, so the
    // item's blank stands before the first digit and its second blank in column c + 1.
    bool numberEndingAt(int c, long long value);

private:
    bool put(const std::string &bytes);

    TextOut &mOut;
    int mColumn = 1;
};

} // namespace velmara
