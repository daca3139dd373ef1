#pragma once
// The settings store: a per-user file of sections and keys whose values are all text.
//
// Every call reads (and a save rewrites) the file afresh, so a value one dialog saves is what the
// next reader sees; the object itself only remembers where the file is, which locale numbers use,
// and whether a failed write has been reported already.

#include <QLocale>
#include <QString>

#include <functional>
#include <string>
#include <vector>

namespace velmara {

// What a look at the settings file found.
struct SettingsFileCheck
{
    enum class State {
        Missing,     // no file: every value is its default
        Empty,       // blanks and comments only
        Read,        // every line read
        PartlyRead,  // some lines skipped, the others read; a save writes the file anew without them
        NotSettings, // binary data, too large, or no line readable: read as defaults, never written
        Unreadable   // a folder, or cannot be opened or read: read as defaults, never written
    };
    State Status = State::Missing;
    // 1-based numbers of the lines that could not be read.
    std::vector<int> SkippedLines;
    // Lower-case clause saying what is wrong, naming the first bad line where there is one:
    // "line 3 opens a section without closing it: \"[Prefs\"", "it is a folder". Empty when the
    // file was read whole, is empty or is missing.
    std::string Reason;
};

class SettingsStore
{
public:
    // Told once per store, on the first write that fails; the text is meant for the user.
    using FailureHandler = std::function<void(const std::string &message)>;

    // The file named by the environment variable VELMARA_SETTINGS, or else the default file in the
    // user's configuration folder.
    SettingsStore();
    // The given file; an empty path means the same as the default constructor.
    explicit SettingsStore(const QString &filePath);

    // VELMARA_SETTINGS when set and not empty, else "Orvinek/Velmara.ini" in the user's
    // configuration folder.
    static QString defaultFilePath();

    QString filePath() const { return mFilePath; }

    // Numbers are written with this locale's decimal separator and read with it or with ".".
    // The user's system locale unless set.
    void setLocale(const QLocale &locale) { mLocale = locale; }
    const QLocale &locale() const { return mLocale; }

    // Reads the file once and says what it holds. When it is one a save would refuse (not a
    // settings file, or unreadable), this counts as the store's first failure: the caller tells
    // the user now (see startupNotice) and later saves fail without a further report.
    SettingsFileCheck checkFile();
    // The message for the desktop program after checkFile(); empty when there is nothing to tell.
    std::string startupNotice(const SettingsFileCheck &check) const;

    void setFailureHandler(FailureHandler handler) { mFailureHandler = std::move(handler); }
    // True once any write has failed.
    bool writeFailed() const { return mWriteFailed; }

    // The stored text with its environment references expanded and leading and trailing spaces
    // removed. A missing file, section or key, a skipped line, or a file that is unreadable or not
    // a settings file, gives defaultValue, also trimmed.
    std::string GetSetting(const std::string &section, const std::string &key,
                           const std::string &defaultValue) const;

    // Stores value as text; an empty value is stored as one space, so it reads back empty and not
    // as the default. Makes the folder, the file, the section and the key when missing; lines that
    // could not be read are left out of the new text. Returns false, and reports through the
    // failure handler if this is the store's first failure, when the file cannot be read back, is
    // not a settings file, or cannot be written.
    bool SaveSetting(const std::string &section, const std::string &key, const std::string &value);

    // Typed access. The default is given as text, as the key tables state it; a stored text that
    // does not read as the type gives the default's value (and false, 0 when that fails too).
    // Integers and bytes round half to even; out-of-range values count as unreadable.
    bool readBool(const std::string &section, const std::string &key, const std::string &defaultText) const;
    int readInteger(const std::string &section, const std::string &key, const std::string &defaultText) const;
    int readByte(const std::string &section, const std::string &key, const std::string &defaultText) const;
    double readDouble(const std::string &section, const std::string &key, const std::string &defaultText) const;
    float readSingle(const std::string &section, const std::string &key, const std::string &defaultText) const;

    // "True" or "False"; plain decimal; the shortest general form with up to 15 (Double) or 7
    // (Single) significant digits and this store's decimal separator.
    bool saveBool(const std::string &section, const std::string &key, bool value);
    bool saveInteger(const std::string &section, const std::string &key, long long value);
    bool saveDouble(const std::string &section, const std::string &key, double value);
    bool saveSingle(const std::string &section, const std::string &key, float value);

    // The text forms used above, for callers that show or compare them.
    std::string numberText(double value, int significantDigits) const;
    // Reads a number written with this store's decimal separator or with "."; an optional sign and
    // an exponent ("1E-05") are accepted, group separators are not. False when the text is not a
    // number.
    bool parseNumber(const std::string &text, double &value) const;

    // Expands each %NAME% whose NAME the environment knows, when the text holds a "%" and another
    // "%" at least two characters after it; unknown names and a lone "%" stay as they are.
    static std::string expandEnvironment(const std::string &text);

    // Text from the file as a message quotes it: blanks trimmed, at most 40 characters, control
    // characters shown as "?", in double quotes.
    static std::string quoted(const std::string &text);

private:
    bool fail(const std::string &message);

    QString mFilePath;
    QLocale mLocale;
    FailureHandler mFailureHandler;
    bool mWriteFailed = false;
};

} // namespace velmara
