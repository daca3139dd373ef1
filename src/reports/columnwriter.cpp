#include "reports/columnwriter.h"

#include <string>

namespace velmara {

namespace {

int digitCount(long long value)
{
    unsigned long long magnitude = value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                                             : static_cast<unsigned long long>(value);
    int digits = 1;
    while (magnitude >= 10) {
        magnitude /= 10;
        ++digits;
    }
    return digits;
}

} // namespace

UnitTexts UnitTextsFor(bool metric)
{
    if (metric)
        return {"m", "km/h", "L/ha"};
    return {"ft", "mph", "oz/ac"};
}

bool ColumnWriter::put(const std::string &bytes)
{
    if (!mOut.writeBytes(bytes))
        return false;
    mColumn += static_cast<int>(bytes.size());
    return true;
}

bool ColumnWriter::text(std::string_view utf8)
{
    return put(ToWindows1252(utf8));
}

bool ColumnWriter::number(long long value)
{
    std::string item = std::to_string(value);
    if (value >= 0)
        item.insert(item.begin(), ' ');
    item.push_back(' ');
    return put(item);
}

bool ColumnWriter::tab(int n)
{
    if (n < 1)
        n = 1;
    if (mColumn > n && !endLine())
        return false;
    return put(std::string(static_cast<size_t>(n - mColumn), ' '));
}

bool ColumnWriter::endLine()
{
    if (!mOut.endLine())
        return false;
    mColumn = 1;
    return true;
}

bool ColumnWriter::dashes(int n)
{
    return put(std::string(static_cast<size_t>(n > 0 ? n : 0), '-')) && endLine();
}

bool ColumnWriter::textEndingAt(int c, std::string_view utf8)
{
    const std::string bytes = ToWindows1252(utf8);
    return tab(c + 1 - static_cast<int>(bytes.size())) && put(bytes);
}

bool ColumnWriter::numberEndingAt(int c, long long value)
{
    return tab(c - digitCount(value)) && number(value);
}

} // namespace velmara
