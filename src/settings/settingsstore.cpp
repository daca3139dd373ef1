#include "settings/settingsstore.h"

#include "core/numeric.h"
#include "settings/inidocument.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <charconv>
#include <cstdio>
#include <optional>

namespace velmara {

namespace {

// A settings file is a few kilobytes; anything far larger is not one, and is left alone.
constexpr qint64 kMaxFileBytes = 64 * 1024;

std::string trimSpaces(const std::string &s)
{
    const size_t first = s.find_first_not_of(' ');
    if (first == std::string::npos)
        return {};
    const size_t last = s.find_last_not_of(' ');
    return s.substr(first, last - first + 1);
}

bool equalsIgnoringCase(const std::string &a, const char *b)
{
    size_t i = 0;
    for (; i < a.size() && b[i]; ++i) {
        char c = a[i];
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        if (c != b[i])
            return false;
    }
    return i == a.size() && b[i] == 0;
}

using State = SettingsFileCheck::State;

struct LoadedFile
{
    SettingsFileCheck check;
    IniDocument document;
    bool usable() const { return check.Status != State::NotSettings && check.Status != State::Unreadable; }
};

// The line as the user would find it in an editor: blanks trimmed, at most 40 characters.
std::string quotedLine(const std::string &text)
{
    size_t first = text.find_first_not_of(" \t");
    size_t last = text.find_last_not_of(" \t");
    std::string shown = first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
    size_t cut = 0;
    for (int chars = 0; cut < shown.size() && chars < 40; ++chars)
        for (++cut; cut < shown.size() && (static_cast<unsigned char>(shown[cut]) & 0xC0) == 0x80;)
            ++cut;
    const bool longer = cut < shown.size();
    shown.resize(cut);
    // Control characters would reach a terminal as they are.
    for (char &c : shown)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    return "\"" + shown + (longer ? "...\"" : "\"");
}

std::string faultText(const IniDocument::SkippedLine &line)
{
    const std::string where = "line " + std::to_string(line.Number);
    switch (line.Why) {
    case IniDocument::Fault::BinaryData: return where + " holds binary data";
    case IniDocument::Fault::UnclosedSection:
        return where + " opens a section without closing it: " + quotedLine(line.Text);
    case IniDocument::Fault::UnderBrokenHeader:
        return where + " follows a section header that could not be read: " + quotedLine(line.Text);
    case IniDocument::Fault::NotASetting: break;
    }
    return where + " is neither a [Section] header nor a Key=value line: " + quotedLine(line.Text);
}

LoadedFile loadFile(const QString &path)
{
    LoadedFile result;
    SettingsFileCheck &check = result.check;
    const QFileInfo info(path);
    if (!info.exists())
        return result;
    check.Status = State::Unreadable;
    if (info.isDir()) {
        check.Reason = "it is a folder";
        return result;
    }
    // A pipe or a device would block the read or never end.
    if (!info.isFile()) {
        check.Reason = "it is not a regular file";
        return result;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        check.Reason = "it cannot be opened (" + file.errorString().toStdString() + ")";
        return result;
    }
    const QByteArray bytes = file.read(kMaxFileBytes + 1);
    if (file.error() != QFileDevice::NoError) {
        check.Reason = "it cannot be read (" + file.errorString().toStdString() + ")";
        return result;
    }
    check.Status = State::NotSettings;
    if (bytes.size() > kMaxFileBytes) {
        check.Reason = "it is larger than 64 KiB";
        return result;
    }

    result.document = IniDocument::parse(std::string_view(bytes.constData(), static_cast<size_t>(bytes.size())));
    const auto &skipped = result.document.skipped();
    const IniDocument::SkippedLine *worst = skipped.empty() ? nullptr : &skipped.front();
    for (const auto &line : skipped) {
        check.SkippedLines.push_back(line.Number);
        if (line.Why == IniDocument::Fault::BinaryData && worst->Why != IniDocument::Fault::BinaryData)
            worst = &line;
    }
    if (worst)
        check.Reason = faultText(*worst);
    // Binary data, or no line that reads, is some other file: it is neither read nor rewritten.
    if (worst && (worst->Why == IniDocument::Fault::BinaryData || !result.document.hasEntries()))
        check.Status = State::NotSettings;
    else if (worst)
        check.Status = State::PartlyRead;
    else
        check.Status = result.document.hasEntries() ? State::Read : State::Empty;
    return result;
}

std::string nativePath(const QString &path) { return QDir::toNativeSeparators(path).toStdString(); }

} // namespace

SettingsStore::SettingsStore() : SettingsStore(QString()) {}

SettingsStore::SettingsStore(const QString &filePath)
    : mFilePath(filePath.isEmpty() ? defaultFilePath() : filePath), mLocale(QLocale::system())
{
}

QString SettingsStore::defaultFilePath()
{
    const QString fromEnvironment = qEnvironmentVariable("VELMARA_SETTINGS");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
           + QStringLiteral("/Orvinek/Velmara.ini");
}

SettingsFileCheck SettingsStore::checkFile()
{
    SettingsFileCheck check = loadFile(mFilePath).check;
    if (check.Status == State::NotSettings || check.Status == State::Unreadable)
        mWriteFailed = true;
    return check;
}

std::string SettingsStore::startupNotice(const SettingsFileCheck &check) const
{
    const std::string where = nativePath(mFilePath);
    switch (check.Status) {
    case State::Missing:
    case State::Empty:
    case State::Read:
        return {};
    case State::PartlyRead: {
        const bool one = check.SkippedLines.size() == 1;
        std::string text = "The settings file '" + where + "' could not be read whole: " + check.Reason + ".";
        if (!one) {
            text += "\rLines ";
            for (size_t i = 0; i < check.SkippedLines.size(); ++i) {
                if (i > 0)
                    text += i + 1 == check.SkippedLines.size() ? " and " : ", ";
                text += std::to_string(check.SkippedLines[i]);
            }
            text += " were skipped.";
        }
        return text + "\r\rThe other settings were read. The file is written anew without "
               + (one ? "that line" : "those lines") + " when the settings are next saved.";
    }
    case State::NotSettings:
        return "The file '" + where + "' is not a settings file: " + check.Reason
               + ".\r\rThe default settings are used, and the settings of this run are not saved. "
                 "Rename or remove that file to keep them again.";
    case State::Unreadable:
        return "The settings file '" + where + "' cannot be read: " + check.Reason
               + ".\r\rThe default settings are used, and the settings of this run are not saved.";
    }
    return {};
}

std::string SettingsStore::GetSetting(const std::string &section, const std::string &key,
                                      const std::string &defaultValue) const
{
    const LoadedFile loaded = loadFile(mFilePath);
    if (!loaded.usable())
        return trimSpaces(defaultValue);
    const std::optional<std::string> stored = loaded.document.value(section, key);
    if (!stored)
        return trimSpaces(defaultValue);
    return trimSpaces(expandEnvironment(*stored));
}

bool SettingsStore::SaveSetting(const std::string &section, const std::string &key, const std::string &value)
{
    const std::string where = nativePath(mFilePath);
    LoadedFile loaded = loadFile(mFilePath);
    if (loaded.check.Status == State::Unreadable)
        return fail("The settings file '" + where + "' cannot be read (" + loaded.check.Reason
                    + "), so the settings were not saved.");
    if (loaded.check.Status == State::NotSettings)
        return fail("The file '" + where + "' is not a settings file (" + loaded.check.Reason
                    + "); it was left unchanged and the settings were not saved.");

    loaded.document.setValue(section, key, value.empty() ? std::string(" ") : value);
    const std::string text = loaded.document.serialize();

    const QFileInfo info(mFilePath);
    QSaveFile file(mFilePath);
    // The save goes through a new file renamed over the old one, which would overrule a file the
    // user made read-only.
    const bool written = !(info.exists() && !info.isWritable()) && QDir().mkpath(info.absolutePath())
                         && file.open(QIODevice::WriteOnly)
                         && file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size())
                         && file.commit();
    if (!written)
        return fail("The settings could not be saved to '" + where + "'.");
    return true;
}

bool SettingsStore::fail(const std::string &message)
{
    if (!mWriteFailed && mFailureHandler)
        mFailureHandler(message);
    mWriteFailed = true;
    return false;
}

std::string SettingsStore::quoted(const std::string &text) { return quotedLine(text); }

std::string SettingsStore::expandEnvironment(const std::string &text)
{
    const size_t first = text.find('%');
    if (first == std::string::npos || text.find('%', first + 2) == std::string::npos)
        return text;

    std::string out;
    size_t pos = 0;
    while (pos < text.size()) {
        const size_t open = text.find('%', pos);
        if (open == std::string::npos) {
            out.append(text, pos, std::string::npos);
            break;
        }
        out.append(text, pos, open - pos);
        const size_t close = text.find('%', open + 1);
        if (close == std::string::npos) {
            out.append(text, open, std::string::npos);
            break;
        }
        const std::string name = text.substr(open + 1, close - open - 1);
        if (!name.empty() && qEnvironmentVariableIsSet(name.c_str())) {
            out += qEnvironmentVariable(name.c_str()).toStdString();
            pos = close + 1;
        } else {
            // Not a reference: keep "%name" and let the closing sign open the next one.
            out.append(text, open, close - open);
            pos = close;
        }
    }
    return out;
}

std::string SettingsStore::numberText(double value, int significantDigits) const
{
    if (value == 0.0)
        return "0"; // also for -0
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.*g", significantDigits, value);
    std::string text(buffer);
    const std::string point = mLocale.decimalPoint().toStdString();
    std::string out;
    for (char c : text) {
        if (c == 'e')
            out += 'E';
        else if (c == '.')
            out += point;
        else
            out += c;
    }
    return out;
}

bool SettingsStore::parseNumber(const std::string &text, double &value) const
{
    const std::string trimmed = trimSpaces(text);
    const std::string point = mLocale.decimalPoint().toStdString();
    std::string s;
    s.reserve(trimmed.size());
    for (size_t i = 0; i < trimmed.size();) {
        if (!point.empty() && point != "." && trimmed.compare(i, point.size(), point) == 0) {
            s += '.';
            i += point.size();
        } else {
            s += trimmed[i++];
        }
    }
    bool negative = false;
    const std::string minus = mLocale.negativeSign().toStdString();
    if (!s.empty() && (s[0] == '-' || s[0] == '+')) {
        negative = s[0] == '-';
        s.erase(0, 1);
    } else if (!minus.empty() && minus != "-" && s.compare(0, minus.size(), minus) == 0) {
        negative = true;
        s.erase(0, minus.size());
    }
    // from_chars would also take "inf", "nan" and a second sign.
    if (s.empty() || !((s[0] >= '0' && s[0] <= '9') || s[0] == '.'))
        return false;
    double parsed = 0;
    const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), parsed);
    if (error != std::errc() || end != s.data() + s.size())
        return false;
    value = negative ? -parsed : parsed;
    return true;
}

namespace {

template <typename T, typename Convert>
T readTyped(const SettingsStore &store, const std::string &section, const std::string &key,
            const std::string &defaultText, Convert convert)
{
    T value{};
    if (convert(store.GetSetting(section, key, defaultText), value))
        return value;
    if (convert(trimSpaces(defaultText), value))
        return value;
    return T{};
}

} // namespace

bool SettingsStore::readBool(const std::string &section, const std::string &key, const std::string &defaultText) const
{
    return readTyped<bool>(*this, section, key, defaultText, [this](const std::string &text, bool &out) {
        if (equalsIgnoringCase(text, "true")) {
            out = true;
            return true;
        }
        if (equalsIgnoringCase(text, "false")) {
            out = false;
            return true;
        }
        double number = 0;
        if (!parseNumber(text, number))
            return false;
        out = number != 0.0;
        return true;
    });
}

int SettingsStore::readInteger(const std::string &section, const std::string &key, const std::string &defaultText) const
{
    return readTyped<int>(*this, section, key, defaultText, [this](const std::string &text, int &out) {
        double number = 0;
        if (!parseNumber(text, number))
            return false;
        try {
            out = CInt(number);
        } catch (const Failure &) {
            return false;
        }
        return true;
    });
}

int SettingsStore::readByte(const std::string &section, const std::string &key, const std::string &defaultText) const
{
    return readTyped<int>(*this, section, key, defaultText, [this](const std::string &text, int &out) {
        double number = 0;
        if (!parseNumber(text, number))
            return false;
        try {
            out = CByte(number);
        } catch (const Failure &) {
            return false;
        }
        return true;
    });
}

double SettingsStore::readDouble(const std::string &section, const std::string &key, const std::string &defaultText) const
{
    return readTyped<double>(*this, section, key, defaultText, [this](const std::string &text, double &out) {
        return parseNumber(text, out);
    });
}

float SettingsStore::readSingle(const std::string &section, const std::string &key, const std::string &defaultText) const
{
    return ToSingle(readDouble(section, key, defaultText));
}

bool SettingsStore::saveBool(const std::string &section, const std::string &key, bool value)
{
    return SaveSetting(section, key, value ? "True" : "False");
}

bool SettingsStore::saveInteger(const std::string &section, const std::string &key, long long value)
{
    return SaveSetting(section, key, std::to_string(value));
}

bool SettingsStore::saveDouble(const std::string &section, const std::string &key, double value)
{
    return SaveSetting(section, key, numberText(value, 15));
}

bool SettingsStore::saveSingle(const std::string &section, const std::string &key, float value)
{
    return SaveSetting(section, key, numberText(static_cast<double>(value), 7));
}

} // namespace velmara
