#include "templates/templatestore.h"

#include "core/numberform.h"
#include "core/textout.h"
#include "templates/templatetext.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace velmara {

namespace {

namespace fs = std::filesystem;

std::string TrimBlanks(const std::string &s)
{
    const size_t first = s.find_first_not_of(" \t");
    if (first == std::string::npos)
        return {};
    const size_t last = s.find_last_not_of(" \t");
    return s.substr(first, last - first + 1);
}

std::optional<double> ParseNumber(const std::string &field)
{
    const std::string text = TrimBlanks(field);
    if (text.empty())
        return std::nullopt;
    double value = 0;
    const char *end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (ec != std::errc() || ptr != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<Integer> ParseCount(const std::string &field)
{
    const auto value = ParseNumber(field);
    if (!value || *value != std::floor(*value) || *value < kMinCount || *value > kMaxCount)
        return std::nullopt;
    return static_cast<Integer>(*value);
}

std::optional<Single> ParseLength(const std::string &field)
{
    const auto value = ParseNumber(field);
    if (!value)
        return std::nullopt;
    return ToSingle(*value);
}

std::string JoinNumbers(const std::vector<int> &numbers)
{
    std::string out;
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0)
            out += i + 1 == numbers.size() ? " and " : ", ";
        out += std::to_string(numbers[i]);
    }
    return out;
}

} // namespace

TemplateStore::TemplateStore(std::string filePath) : mPath(std::move(filePath)) {}

std::string TemplateStore::PathIn(const std::string &tempDir) { return tempDir + "templates.dat"; }

std::string TemplateStore::formatLine(const CardTemplate &t)
{
    // General form with '.', never the locale's separator: the file must read back anywhere.
    std::string line = "\"" + t.Name + "\",";
    line += std::to_string(t.NumH) + ",";
    line += GeneralSingle(t.SizeH, '.') + ",";
    line += GeneralSingle(t.SpaceH, '.') + ",";
    line += std::to_string(t.NumV) + ",";
    line += GeneralSingle(t.SizeV, '.') + ",";
    line += GeneralSingle(t.SpaceV, '.');
    return line;
}

std::optional<CardTemplate> TemplateStore::parseLine(const std::string &bytes)
{
    // The name is quoted and may hold commas, so it is taken before the line is split.
    const size_t open = bytes.find_first_not_of(" \t");
    if (open == std::string::npos || bytes[open] != '"')
        return std::nullopt;
    const size_t close = bytes.find('"', open + 1);
    if (close == std::string::npos)
        return std::nullopt;
    const size_t comma = bytes.find_first_not_of(" \t", close + 1);
    if (comma == std::string::npos || bytes[comma] != ',')
        return std::nullopt;

    std::vector<std::string> fields;
    std::stringstream rest(bytes.substr(comma + 1));
    std::string field;
    while (std::getline(rest, field, ','))
        fields.push_back(field);
    if (!bytes.empty() && bytes.back() == ',')
        fields.emplace_back(); // getline drops an empty last field
    if (fields.size() != 6)
        return std::nullopt;

    CardTemplate t;
    t.Name = Cp1252ToUtf8(bytes.substr(open + 1, close - open - 1));
    const auto numH = ParseCount(fields[0]);
    const auto sizeH = ParseLength(fields[1]);
    const auto spaceH = ParseLength(fields[2]);
    const auto numV = ParseCount(fields[3]);
    const auto sizeV = ParseLength(fields[4]);
    const auto spaceV = ParseLength(fields[5]);
    if (!numH || !sizeH || !spaceH || !numV || !sizeV || !spaceV)
        return std::nullopt;
    t.NumH = *numH;
    t.SizeH = *sizeH;
    t.SpaceH = *spaceH;
    t.NumV = *numV;
    t.SizeV = *sizeV;
    t.SpaceV = *spaceV;
    if (!TemplateInRange(t))
        return std::nullopt;
    return t;
}

bool TemplateStore::load()
{
    mStored.clear();
    mBadLines.clear();
    mError.clear();
    mBackupPending = false;

    std::error_code ec;
    if (!fs::exists(mPath, ec))
        return true;
    std::ifstream in(mPath, std::ios::binary);
    if (!in) {
        mError = "Cannot read '" + mPath + "'.";
        return false;
    }
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (TrimBlanks(line).empty())
            continue;
        if (auto t = parseLine(line))
            mStored.push_back(std::move(*t));
        else
            mBadLines.push_back(number);
    }
    mBackupPending = !mBadLines.empty();
    return true;
}

std::string TemplateStore::badLinesMessage() const
{
    if (mBadLines.empty())
        return {};
    const bool one = mBadLines.size() == 1;
    return std::string(one ? "Line " : "Lines ") + JoinNumbers(mBadLines) + " of '" + mPath
           + (one ? "' could not be read and was skipped." : "' could not be read and were skipped.")
           + "\rThe file as it stands is kept as 'templates.dat.bak' when the list is next saved.";
}

bool TemplateStore::write(const std::vector<CardTemplate> &list)
{
    mError.clear();
    std::error_code ec;
    if (mBackupPending && fs::exists(mPath, ec)) {
        fs::copy_file(mPath, mPath + ".bak", fs::copy_options::overwrite_existing, ec);
        if (ec) {
            mError = "Cannot keep a copy of '" + mPath + "' as '" + mPath + ".bak': " + ec.message();
            return false;
        }
    }
    mBackupPending = false;

    if (list.size() <= 1) {
        fs::remove(mPath, ec);
        if (ec) {
            mError = "Cannot delete '" + mPath + "': " + ec.message();
            return false;
        }
        return true;
    }
    TextOut out;
    bool ok = out.open(mPath, TextOut::Mode::Overwrite);
    for (size_t i = 1; ok && i < list.size(); ++i)
        ok = out.writeLine(formatLine(list[i]));
    ok = out.close() && ok;
    if (!ok)
        mError = out.errorString();
    return ok;
}

std::optional<CardTemplate> FindTemplate(const std::string &name, const std::string &templatesFile,
                                         std::string *warning)
{
    if (name == kDefaultTemplateName)
        return DefaultTemplate();
    TemplateStore store(templatesFile);
    const bool ok = store.load();
    if (warning)
        *warning = ok ? store.badLinesMessage() : store.errorString();
    for (const CardTemplate &t : store.stored())
        if (t.Name == name)
            return t;
    return std::nullopt;
}

} // namespace velmara
