#include "templates/templatestore.h"

#include "core/numberform.h"
#include "core/textout.h"
#include "templates/templatetext.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
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

// "1", "1 and 2", "1, 2 and 3"
template <typename T, typename Text>
std::string JoinList(const std::vector<T> &items, Text text)
{
    std::string out;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i > 0)
            out += i + 1 == items.size() ? " and " : ", ";
        out += text(items[i]);
    }
    return out;
}

// The first of path.bak, path.bak2, path.bak3, ... that does not exist; empty when all are taken.
std::string FreeBackupPath(const std::string &path)
{
    std::error_code ec;
    for (int n = 1; n < 1000; ++n) {
        std::string candidate = path + ".bak" + (n > 1 ? std::to_string(n) : std::string());
        if (!fs::exists(fs::symlink_status(candidate, ec)))
            return candidate;
    }
    return {};
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

std::string TemplateStore::whyNotStorable(const CardTemplate &t)
{
    // Tried through the reader of the file itself, so that nothing is written that it would skip.
    if (const auto bytes = Utf8ToCp1252(formatLine(t)))
        if (bytes->find_first_of("\r\n") == std::string::npos && parseLine(*bytes))
            return {};
    if (!ValidTemplateName(t.Name) || t.Name.find_first_of("\r\n") != std::string::npos)
        return "Template '" + t.Name + "' cannot be stored: a name has 1 to 16 characters of the Western "
               "European alphabet, with no double quote and no line break.";
    return "Template '" + t.Name + "' cannot be stored: its numbers of cards must lie between 1 and 5, "
           "its sizes and spaces between 0.05 and 8.5 inches.";
}

bool TemplateStore::load()
{
    mStored.clear();
    mBadLines.clear();
    mError.clear();
    mBackupPath.clear();
    mFileExists = false;

    std::error_code ec;
    const fs::file_status status = fs::status(mPath, ec);
    if (!fs::exists(status))
        return true;
    mFileExists = true;
    if (fs::is_directory(status)) {
        mError = "'" + mPath + "' is a folder, not a templates file.";
        return false;
    }
    // A pipe would block the read until someone writes to it.
    if (!fs::is_regular_file(status)) {
        mError = "'" + mPath + "' is not a regular file, so it is no templates file.";
        return false;
    }
    std::ifstream in(mPath, std::ios::binary);
    if (!in) {
        mError = "Cannot read '" + mPath + "': " + std::strerror(errno) + ".";
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
    if (in.bad()) {
        mError = "Cannot read '" + mPath + "' to its end.";
        mStored.clear();
        mBadLines.clear();
        return false;
    }
    if (!mBadLines.empty())
        mBackupPath = FreeBackupPath(mPath);
    return true;
}

std::string TemplateStore::badLinesMessage() const
{
    if (mBadLines.empty())
        return {};
    const bool one = mBadLines.size() == 1;
    return std::string(one ? "Line " : "Lines ") + JoinList(mBadLines, [](int n) { return std::to_string(n); })
           + " of '" + mPath
           + (one ? "' could not be read and was skipped." : "' could not be read and were skipped.");
}

std::string TemplateStore::backupNotice() const
{
    if (mBackupPath.empty())
        return {};
    return "The file as it stands is kept as '" + fs::path(mBackupPath).filename().string()
           + "' when the list is next saved.";
}

bool TemplateStore::write(const std::vector<CardTemplate> &list)
{
    mError.clear();
    for (size_t i = 1; i < list.size(); ++i) {
        const std::string why = whyNotStorable(list[i]);
        if (!why.empty()) {
            mError = why + "\r'" + mPath + "' was left as it is.";
            return false;
        }
    }
    std::error_code ec;
    if (!mBackupPath.empty() && fs::exists(mPath, ec)) {
        // Someone may have taken the name since the file was read; a copy is never replaced.
        if (fs::exists(fs::symlink_status(mBackupPath, ec)))
            mBackupPath = FreeBackupPath(mPath);
        if (mBackupPath.empty()) {
            mError = "Cannot keep a copy of '" + mPath + "': every backup name is taken.";
            return false;
        }
        fs::copy_file(mPath, mBackupPath, fs::copy_options::none, ec);
        if (ec) {
            mError = "Cannot keep a copy of '" + mPath + "' as '" + mBackupPath + "': " + ec.message();
            return false;
        }
    }
    mBackupPath.clear();

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
    // The store's own code page table, so that every name reads back as it was written (the five
    // bytes the code page leaves undefined included).
    for (size_t i = 1; ok && i < list.size(); ++i) {
        const std::optional<std::string> bytes = Utf8ToCp1252(formatLine(list[i]));
        ok = bytes && out.writeBytes(*bytes) && out.endLine();
    }
    ok = out.close() && ok;
    if (!ok)
        mError = out.errorString();
    return ok;
}

std::optional<CardTemplate> FindTemplate(const std::string &name, const std::string &templatesFile,
                                         std::vector<std::string> *messages)
{
    if (name == kDefaultTemplateName)
        return DefaultTemplate();
    TemplateStore store(templatesFile);
    const bool ok = store.load();
    std::vector<std::string> told;
    if (ok && !store.badLines().empty())
        told.push_back(store.badLinesMessage());
    for (const CardTemplate &t : store.stored())
        if (t.Name == name) {
            if (messages)
                messages->insert(messages->end(), told.begin(), told.end());
            return t;
        }

    const std::string notFound = "Template '" + name + "' was not found";
    const std::string file = "'" + templatesFile + "'";
    if (!ok)
        told.push_back(notFound + ". " + store.errorString());
    else if (!store.fileExists())
        told.push_back(notFound + ": there is no templates file " + file + ".");
    else if (store.stored().empty())
        told.push_back(notFound + ": " + file + " holds no template"
                       + (store.badLines().empty() ? "." : " that could be read."));
    else
        told.push_back(notFound + " in " + file + ", which holds "
                       + JoinList(store.stored(), [](const CardTemplate &t) { return "'" + t.Name + "'"; })
                       + ".");
    if (messages)
        messages->insert(messages->end(), told.begin(), told.end());
    return std::nullopt;
}

} // namespace velmara
