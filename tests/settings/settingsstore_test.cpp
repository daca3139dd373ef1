#include "settings/preferences.h"
#include "settings/settingkeys.h"
#include "settings/settingsstore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <tuple>
#include <vector>

using namespace velmara;

namespace {

class SettingsFile : public ::testing::Test
{
protected:
    QString path(const char *name = "velmara.ini") const { return mDir.filePath(QString::fromLatin1(name)); }

    std::string contents(const QString &file) const
    {
        QFile f(file);
        if (!f.open(QIODevice::ReadOnly))
            return "<missing>";
        return f.readAll().toStdString();
    }

    void write(const QString &file, const std::string &bytes) const
    {
        QFile f(file);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes.data(), static_cast<qint64>(bytes.size()));
    }

    SettingsStore store() const
    {
        SettingsStore s(path());
        s.setLocale(QLocale::c());
        return s;
    }

    QTemporaryDir mDir;
};

// Sets a variable for one scope and puts back what was there.
struct ScopedEnv
{
    ScopedEnv(const char *name, const QByteArray &value) : name(name), old(qgetenv(name)), had(qEnvironmentVariableIsSet(name)) { qputenv(name, value); }
    ~ScopedEnv() { had ? void(qputenv(name, old)) : void(qunsetenv(name)); }
    const char *name;
    QByteArray old;
    bool had;
};

} // namespace

TEST_F(SettingsFile, FirstRunGivesEveryDefaultAndCreatesNothing)
{
    const SettingsStore s = store();
    Workspace ws;
    ws.DefaultRes = 1, ws.SpreadFactor = {9, 9, 9}, ws.LogAnalysis = false, ws.Append = ws.LogSprayInfo = true;
    ws.ShapeThreshold = ws.HueThreshold = 1, ws.InitialDir = "x", ws.Metric = false;
    ws.ColourScans = ws.UseFileResolution = ws.SplitOverlaps = ws.ExtendedResults = true, ws.CovLimit = 5;
    ws.Spray.Comment = "old", ws.Spray.Sample_Position1 = "5";
    LoadStartupSettings(ws, s);
    LoadPreferences(ws, s);
    // ShapeThreshold's default is 100, not the 0 of HueThreshold.
    EXPECT_EQ(std::tuple(ws.Metric, ws.DefaultRes, ws.LogAnalysis, ws.Append, ws.LogSprayInfo, ws.ShapeThreshold,
                         ws.HueThreshold, ws.InitialDir),
              std::tuple(true, 1200, true, false, false, 100, 0, "C:"));
    EXPECT_EQ(std::tuple(ws.ColourScans, ws.UseFileResolution, ws.SplitOverlaps, ws.ExtendedResults, ws.CovLimit),
              std::tuple(false, false, false, false, 25.0));
    EXPECT_EQ(ws.SpreadFactor, (std::array<double, 3>{0.0, 0.56, 0.0}));
    EXPECT_EQ(ws.Spray.Comment + ws.Spray.Sample_Position1, "");

    EXPECT_EQ(s.GetSetting("Settings", "TemplateName", SettingKeys::TemplateName.defaultText), "<Default>");
    EXPECT_EQ(s.readSingle("Settings", "TemplateSpaceV", SettingKeys::TemplateSpaceV.defaultText), 0.375f);
    EXPECT_FALSE(QFileInfo::exists(path()));
}

TEST_F(SettingsFile, ExitWritesTheUnloadListInOrder)
{
    SettingsStore s = store();
    Workspace ws;
    ws.SpreadFactor = {1.5, 0.56, -0.0002};
    ws.InitialDir = "/home/ann/cards/";
    ws.HueThreshold = 25;
    ws.Metric = false;
    ws.ColourScans = ws.ExtendedResults = true;
    ws.CovLimit = 12.5;
    ASSERT_TRUE(SavePreferences(ws, s));
    EXPECT_EQ(contents(path()),
              "[Prefs]\n"
              "DefaultRes=1200\n"
              "SpreadFactor0=1.5\n"
              "SpreadFactor1=0.56\n"
              "SpreadFactor2=-0.0002\n"
              "LogAnalysis=True\n"
              "Append=False\n"
              "LogSprayInfo=False\n"
              "ShapeThreshold=100\n"
              "HueThreshold=25\n"
              "Metric=False\n"
              "ColourScans=True\n"
              "UseFileResolution=False\n"
              "SplitOverlaps=False\n"
              "ExtendedResults=True\n"
              "CovLimit=12.5\n"
              "\n"
              "[Settings]\n"
              "InitialDir=/home/ann/cards/\n");

    Workspace back;
    LoadStartupSettings(back, s);
    LoadPreferences(back, s);
    EXPECT_EQ(std::tuple(back.ColourScans, back.UseFileResolution, back.ExtendedResults, back.CovLimit),
              std::tuple(true, false, true, 12.5));
}

TEST_F(SettingsFile, SprayRecordRoundTripsButSamplerFieldsStartEachRunEmpty)
{
    SettingsStore s = store();
    Workspace ws;
    ws.Spray.AC_Type = "Sky Sprayer 802";
    ws.Spray.Nozzle_Number = "48";
    ws.Spray.Sample_Position1 = "-30";
    ws.Spray.Sample_Interval = "2.5";
    ws.Spray.Comment = "Wind 3 m/s, \"gusty\"; VMD ~ 250 µm, 2 L/ha²";
    ASSERT_TRUE(SaveSprayInfo(ws, s));

    const std::string file = contents(path());
    EXPECT_NE(file.find("Comment=Wind 3 m/s, \"gusty\"; VMD ~ 250 µm, 2 L/ha²\n"), std::string::npos)
        << "plain text stays hand-editable";

    Workspace back;
    back.Spray.Sample_Position1 = "7";
    LoadSprayInfo(back, s);
    EXPECT_EQ(std::tuple(back.Spray.AC_Type, back.Spray.Nozzle_Number, back.Spray.Comment),
              std::tuple(ws.Spray.AC_Type, "48", ws.Spray.Comment));
    EXPECT_EQ(back.Spray.Sample_Position1 + back.Spray.Sample_Interval, "");
    EXPECT_EQ(s.GetSetting("SprayInfo", "Sample_Position1", SettingKeys::CardPositionDefaultPosition1), "-30");
}

// Saved text reads back as written but for its outer blanks; a saved empty value is a stored
// blank, not an absent key, so it never reads as the default.
TEST_F(SettingsFile, SavedTextReadsBackExactlyAndEmptyIsNotTheDefault)
{
    SettingsStore s = store();
    const std::pair<std::string, std::string> values[] = {
        {"", ""}, {"  120 ft ", "120 ft"}, {"\"open", "\"open"},
        {"C:\\cards\\new\\", "C:\\cards\\new\\"}, // backslashes, as a Windows folder
        {"x=y; #z [s], \"q\"", "x=y; #z [s], \"q\""}, // the INI syntax characters
        {"line one\r\nline two\tx", "line one\r\nline two\tx"}, {"100% µ² × ñ", "100% µ² × ñ"},
    };
    for (size_t i = 0; i < std::size(values); ++i)
        ASSERT_TRUE(s.SaveSetting("SprayInfo", "K" + std::to_string(i), values[i].first));
    for (size_t i = 0; i < std::size(values); ++i)
        EXPECT_EQ(s.GetSetting("SprayInfo", "K" + std::to_string(i), "fallback"), values[i].second) << i;
    EXPECT_EQ(s.GetSetting("SprayInfo", "Missing", "  padded default "), "padded default");
    EXPECT_NE(contents(path()).find("K0=\" \"\n"), std::string::npos);
}

TEST_F(SettingsFile, HandWrittenFileIsReadLeniently)
{
    // CR LF line ends, a byte-order mark, blanks around "=", other letter case, comments, and a
    // Windows-1252 byte that is not UTF-8.
    write(path(), "\xEF\xBB\xBF; written by hand\r\n[prefs]\r\n  defaultres = 600 \r\n"
                  "SpreadFactor1=0.5\r\n# note\r\n[Settings]\r\nInitialDir=C:\\scans\r\n");
    const SettingsStore s = store();
    Workspace ws;
    LoadPreferences(ws, s);
    EXPECT_EQ(ws.DefaultRes, 600);
    EXPECT_EQ(ws.SpreadFactor[1], 0.5);
    EXPECT_EQ(ws.InitialDir, "C:\\scans");

    write(path(), "[SprayInfo]\nComment=50 \xB5m\n");
    EXPECT_EQ(store().GetSetting("SprayInfo", "Comment", ""), "50 µm");
}

TEST_F(SettingsFile, RewriteKeepsCommentsUnknownKeysAndPlaces)
{
    write(path(), "; my settings\n[Prefs]\nDefaultRes=600\nFuture=1\n\n[Other]\nx=1\n");
    SettingsStore s = store();
    ASSERT_TRUE(s.SaveSetting("Prefs", "defaultres", "300"));
    ASSERT_TRUE(s.SaveSetting("Prefs", "Metric", "False"));
    EXPECT_EQ(contents(path()), "; my settings\n[Prefs]\nDefaultRes=300\nFuture=1\nMetric=False\n\n[Other]\nx=1\n");
}

TEST_F(SettingsFile, NumbersUseTheLocaleSeparatorAndAlsoAcceptAPoint)
{
    SettingsStore german(path());
    german.setLocale(QLocale(QLocale::German, QLocale::Germany));
    ASSERT_TRUE(german.saveDouble("Prefs", "SpreadFactor1", 0.56));
    EXPECT_EQ(german.GetSetting("Prefs", "SpreadFactor1", ""), "0,56");
    EXPECT_EQ(german.readDouble("Prefs", "SpreadFactor1", "0"), 0.56);
    ASSERT_TRUE(german.SaveSetting("Prefs", "SpreadFactor0", "0.25"));
    EXPECT_EQ(german.readDouble("Prefs", "SpreadFactor0", "0"), 0.25);
    // In a point locale a comma is no decimal separator: the key's default holds.
    EXPECT_EQ(store().readDouble("Prefs", "SpreadFactor1", "0.5"), 0.5);

    // The shortest general form, as the settings of the earlier program hold them.
    const std::tuple<double, int, const char *> cases[] = {
        {1e-5, 15, "1E-05"}, {1.0 / 3.0, 15, "0.333333333333333"}, {static_cast<double>(0.1f), 7, "0.1"}, {-0.0, 15, "0"}};
    for (const auto &[value, digits, text] : cases)
        EXPECT_EQ(store().numberText(value, digits), text) << value;
}

TEST_F(SettingsFile, UnreadableOrOutOfRangeNumbersGiveTheKeysDefault)
{
    write(path(), "[Prefs]\nDefaultRes=abc\nSpreadFactor1=0.5x\nShapeThreshold=300\nHueThreshold=-1\n"
                  "LogAnalysis=maybe\nAppend=1\nMetric=0\nSpreadFactor2=inf\nColourScans=yes\nSplitOverlaps=TRUE\n"
                  "[Settings]\nTemplateNumH=2.5\nTemplateNumV=3.5\n");
    const SettingsStore s = store();
    // Integer texts round half to even.
    EXPECT_EQ(std::pair(s.readInteger("Settings", "TemplateNumH", "3"), s.readInteger("Settings", "TemplateNumV", "3")), std::pair(2, 4));
    Workspace ws;
    ws.SpreadFactor[2] = 7;
    LoadStartupSettings(ws, s);
    LoadPreferences(ws, s);
    // A number reads as a boolean, non-zero being true.
    EXPECT_EQ(std::tuple(ws.DefaultRes, ws.SpreadFactor[1], ws.SpreadFactor[2], ws.ShapeThreshold, ws.HueThreshold,
                         ws.LogAnalysis, ws.Append, ws.Metric, ws.ColourScans, ws.SplitOverlaps),
              std::tuple(1200, 0.56, 0.0, 100, 0, true, true, false, false, true));
    EXPECT_EQ(UnreadablePreferences(s),
              (std::vector<std::string>{"DefaultRes=\"abc\"", "SpreadFactor1=\"0.5x\"", "SpreadFactor2=\"inf\"",
                                        "LogAnalysis=\"maybe\"", "ShapeThreshold=\"300\"", "HueThreshold=\"-1\"",
                                        "ColourScans=\"yes\""}));

    // The COV limit takes 1 to 100, fractions included.
    const std::pair<const char *, double> limits[] = {{"12.5", 12.5}, {"0.5", 25}, {"100.5", 25}, {"", 25}};
    for (const auto &[text, limit] : limits) {
        write(path(), std::string("[Prefs]\nCovLimit=") + text + "\n");
        LoadPreferences(ws, s);
        EXPECT_EQ(ws.CovLimit, limit) << text;
        EXPECT_EQ(UnreadablePreferences(s).size(), limit == 25 ? 1u : 0u) << text;
    }
    EXPECT_EQ(UnreadablePreferencesNotice(s),
              "The settings file '" + QDir::toNativeSeparators(path()).toStdString()
                  + "' holds a value that cannot be read: CovLimit=\"\".\r\rIts default is used, and saved in its "
                    "place when the program ends.");
}

TEST_F(SettingsFile, TwoPercentSignsApartExpandFromTheEnvironment)
{
    ScopedEnv name("VELMARA_TEST_PILOT", "Kim");
    SettingsStore s = store();
    ASSERT_TRUE(s.SaveSetting("SprayInfo", "Comment", "by %VELMARA_TEST_PILOT% at 50%"));
    EXPECT_EQ(s.GetSetting("SprayInfo", "Comment", ""), "by Kim at 50%");
    // Stored as written; the expansion happens on reading.
    EXPECT_NE(contents(path()).find("Comment=by %VELMARA_TEST_PILOT% at 50%"), std::string::npos);

    // Adjacent signs are no reference; an unknown name keeps its signs and the closing one opens
    // the next reference.
    const std::pair<const char *, const char *> cases[] = {
        {"20% to 30%", "20% to 30%"}, {"%%VELMARA_TEST_PILOT%", "%Kim"}, {"%x%VELMARA_TEST_PILOT%", "%xKim"}};
    for (const auto &[text, expanded] : cases)
        EXPECT_EQ(SettingsStore::expandEnvironment(text), expanded) << text;
}

TEST_F(SettingsFile, FailedWritesAreReportedOnceAndReadsFallBack)
{
    write(path("plain.txt"), "not a folder");
    SettingsStore s(path("plain.txt") + "/sub/velmara.ini");
    std::vector<std::string> reports;
    s.setFailureHandler([&](const std::string &m) { reports.push_back(m); });
    Workspace ws;
    EXPECT_FALSE(SavePreferences(ws, s));
    EXPECT_FALSE(SaveSprayInfo(ws, s));
    EXPECT_TRUE(s.writeFailed());
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find("velmara.ini"), std::string::npos);
    EXPECT_EQ(s.GetSetting("Prefs", "DefaultRes", "1200"), "1200");
}

// What can be read is read; a file that is not one is neither read nor overwritten.
TEST_F(SettingsFile, DamagedFilesAreReadAsFarAsTheyCanBe)
{
    using State = SettingsFileCheck::State;
    static const char raw[] = "[Prefs]\nDefaultRes=600\n\0\x01\x02";
    struct Case
    {
        std::string bytes;
        State status;
        std::vector<int> skipped;
        const char *reason; // start of the reason
        int defaultRes;
        const char *afterSave; // the file after a save of Metric; nullptr: unchanged
    };
    const Case cases[] = {
        {"[Prefs]\nstray\x1b[2Jwords\nDefaultRes=600\n", State::PartlyRead, {2},
         "line 2 is neither a [Section] header nor a Key=value line: \"stray?[2Jwords\"", 600,
         "[Prefs]\nDefaultRes=600\nMetric=False\n"},
        // The keys after an unclosed header have no known section.
        {"[Prefs]\nDefaultRes=600\n[Settings\nInitialDir=/x\n; kept\n[SprayInfo]\nComment=a\n", State::PartlyRead, {3, 4},
         "line 3 opens a section without closing it: \"[Settings\"", 600,
         "[Prefs]\nDefaultRes=600\nMetric=False\n; kept\n[SprayInfo]\nComment=a\n"},
        {std::string(raw, sizeof raw - 1), State::NotSettings, {3}, "line 3 holds binary data", 1200, nullptr},
        {std::string(70000, 'x'), State::NotSettings, {}, "it is larger than 64 KiB", 1200, nullptr},
        {"", State::Empty, {}, "", 1200, "[Prefs]\nMetric=False\n"},
        {"[Prefs]\nDefaultRes=600\n", State::Read, {}, "", 600, "[Prefs]\nDefaultRes=600\nMetric=False\n"},
    };
    for (const Case &c : cases) {
        write(path(), c.bytes);
        SettingsStore s = store();
        int reports = 0;
        s.setFailureHandler([&](const std::string &) { ++reports; });
        const SettingsFileCheck check = s.checkFile();
        EXPECT_EQ(check.Status, c.status) << c.bytes;
        EXPECT_EQ(check.SkippedLines, c.skipped) << c.bytes;
        EXPECT_EQ(check.Reason.rfind(c.reason, 0), 0u) << check.Reason;
        EXPECT_EQ(s.readInteger("Prefs", "DefaultRes", "1200"), c.defaultRes) << c.bytes;
        // A file the store will not write was told by checkFile: the save fails without a report.
        EXPECT_EQ(s.saveBool("Prefs", "Metric", false), c.afterSave != nullptr) << c.bytes;
        EXPECT_EQ(contents(path()), c.afterSave ? c.afterSave : c.bytes) << c.bytes;
        EXPECT_EQ(reports, 0) << c.bytes;
    }

    QDir(mDir.path()).mkdir(QStringLiteral("folder.ini"));
    SettingsStore folder(path("folder.ini"));
    EXPECT_EQ(folder.checkFile().Reason, "it is a folder");
    EXPECT_FALSE(folder.SaveSetting("Prefs", "Metric", "True"));
}

// The desktop program tells at start which lines it skipped and what a save will do.
TEST_F(SettingsFile, StartupNoticeNamesTheFileTheLinesAndTheConsequence)
{
    const std::string where = QDir::toNativeSeparators(path()).toStdString();
    const std::pair<const char *, std::string> cases[] = {
        {"[Prefs]\n[Settings\n", "The settings file '" + where + "' could not be read whole: line 2 opens a section "
                                 "without closing it: \"[Settings\".\r\rThe other settings were read. The file is "
                                 "written anew without that line when the settings are next saved."},
        {"[Prefs]\na\nb\nc\n", "\"a\".\rLines 2, 3 and 4 were skipped.\r\rThe other settings were read. The file "
                               "is written anew without those lines"},
        {"just words\n", "The file '" + where + "' is not a settings file: line 1 is neither"},
    };
    for (const auto &[bytes, notice] : cases) {
        write(path(), bytes);
        SettingsStore s = store();
        const std::string told = s.startupNotice(s.checkFile());
        if (notice.empty())
            EXPECT_EQ(told, "");
        else
            EXPECT_NE(told.find(notice), std::string::npos) << told;
    }
}

// The file comes from the argument, then the environment, and its folder is made; the folder of
// the temporary files ends in a separator or is the per-user data folder.
TEST_F(SettingsFile, LocationsOfTheFileAndOfTheTemporaryFiles)
{
    const QString fromEnv = path("env.ini");
    ScopedEnv env("VELMARA_SETTINGS", fromEnv.toUtf8());
    EXPECT_EQ(SettingsStore().filePath(), fromEnv);
    EXPECT_EQ(SettingsStore(path("given.ini")).filePath(), path("given.ini"));
    ASSERT_TRUE(SettingsStore(path("sub/dir/made.ini")).SaveSetting("Prefs", "Metric", "True"));
    EXPECT_TRUE(QFileInfo::exists(path("sub/dir/made.ini")));

    EXPECT_EQ(ResolveTempDir("/data/cards"), "/data/cards/");
    EXPECT_EQ(ResolveTempDir("D:\\cards\\"), "D:\\cards\\");

    ScopedEnv data("XDG_DATA_HOME", mDir.filePath("data").toUtf8());
    const std::string fallback = ResolveTempDir("");
    EXPECT_EQ(fallback, mDir.filePath("data").toStdString() + "/Orvinek/Velmara/");
    EXPECT_TRUE(QFileInfo(QString::fromStdString(fallback)).isDir());

    ScopedEnv root("VELMARA_TEST_ROOT", mDir.path().toUtf8());
    SettingsStore s = store();
    ASSERT_TRUE(s.SaveSetting("Settings", "RootDir", "%VELMARA_TEST_ROOT%/tmp"));
    Workspace ws;
    LoadStartupSettings(ws, s);
    EXPECT_EQ(ws.TempDir, mDir.path().toStdString() + "/tmp/");
}
