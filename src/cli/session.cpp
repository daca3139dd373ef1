#include "cli/session.h"

#include "analysis/scanallcards.h"
#include "intake/loadimage.h"
#include "reports/scanlog.h"
#include "settings/preferences.h"
#include "settings/settingsstore.h"
#include "templates/sheetcutter.h"

#include <QLocale>
#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <set>

namespace velmara::cli {

namespace {

// The answers an interactive user would give, fixed by the options.
class OptionAnswers : public DecodeQuestions
{
public:
    explicit OptionAnswers(const Options &o) : mOptions(o) {}

    Answer AskBackground(const Workspace &, int, Byte) override
    {
        // Yes and Yes to All give the same cards; Yes keeps the question for every card, as a
        // careful user would.
        return mOptions.backgroundZero ? Answer::No : Answer::Yes;
    }
    Answer AskDither(const Workspace &, int, Byte, Byte) override
    {
        switch (mOptions.dither) {
        case DitherAnswer::Yes: return Answer::Yes;
        case DitherAnswer::No: return Answer::No;
        case DitherAnswer::All: return Answer::YesToAll;
        }
        return Answer::Yes;
    }

private:
    const Options &mOptions;
};

class CliHooks : public ScanAllHooks
{
public:
    CliHooks(Session &session, Workspace &ws) : mSession(session), mWs(ws), mLog(ws, '.') {}

    void decodeStarting(int index) override { stage(index, "decode"); }
    void scanStarting(int index) override { stage(index, "scan"); }
    void notify(int index, const std::string &text) override
    {
        mSession.tell(mWs.Card(index).FileName + ": " + OneLine(text));
    }
    void scanned(int index, const ScanOutcome &outcome) override
    {
        const ScanLogResult log = mLog.writeScanRecord(index, ScanHues{outcome.HueLow, outcome.HueHigh,
                                                                      outcome.HueInvert});
        // A log that cannot be written costs no result; each file is named once.
        if (!log.Ok && mFailedLogs.insert(log.Path).second)
            mSession.tell("the scan log could not be written: " + log.Error);
    }

private:
    void stage(int index, const char *what)
    {
        mSession.progress().setStage(index, mWs.CardCount(), mWs.Card(index).FileName, what);
    }

    Session &mSession;
    Workspace &mWs;
    ScanLog mLog;
    std::set<std::string> mFailedLogs;
};

} // namespace

std::string OneLine(const std::string &boxText)
{
    std::string out;
    for (size_t i = 0; i < boxText.size(); ++i) {
        const char c = boxText[i];
        if (c == '\r' || c == '\n') {
            // "a\rb" joins with a blank; blank lines of a box add nothing.
            if (!out.empty() && out.back() != ' ')
                out += ' ';
        } else {
            out += c;
        }
    }
    while (!out.empty() && out.back() == ' ')
        out.pop_back();
    return out;
}

Session::Session(const Options &options) : mOptions(options) {}

void Session::tell(const std::string &text)
{
    mProgress.clear();
    std::fprintf(stderr, "velmara-cli: %s\n", text.c_str());
}

bool Session::prepare(std::string &error)
{
    SettingsStore store(QString::fromStdString(mOptions.settingsFile));
    // Numbers in the store follow the user's locale, as the desktop program writes them; reading
    // also accepts ".".
    store.setLocale(QLocale::system());
    const SettingsFileCheck check = store.checkFile();
    using State = SettingsFileCheck::State;
    if (!mOptions.settingsFile.empty()) {
        // A file named for this run must be one: running on the defaults instead would give other
        // figures without a word.
        if (check.Status == State::Missing)
            error = "cannot read the settings file " + mOptions.settingsFile + ": there is no such file";
        else if (check.Status == State::Empty)
            error = "cannot read the settings file " + mOptions.settingsFile + ": it holds no settings";
        else if (check.Status != State::Read)
            error = "cannot read the settings file " + mOptions.settingsFile + ": " + check.Reason;
        if (!error.empty())
            return false;
    } else if (check.Status == State::PartlyRead) {
        const bool one = check.SkippedLines.size() == 1;
        tell("the settings file " + store.filePath().toStdString() + " could not be read whole: " + check.Reason
             + (one ? "; that line was skipped" : "; " + std::to_string(check.SkippedLines.size()) + " lines were skipped"));
    } else if (check.Status == State::NotSettings || check.Status == State::Unreadable) {
        tell("the settings file " + store.filePath().toStdString() + " is not used, " + check.Reason
             + "; the default settings apply");
    }
    const std::vector<std::string> unreadable = UnreadablePreferences(store);
    if (!unreadable.empty()) {
        std::string list;
        for (const std::string &value : unreadable)
            list += (list.empty() ? "" : ", ") + value;
        tell("the settings file " + store.filePath().toStdString() + " holds "
             + (unreadable.size() == 1 ? "a value" : "values") + " that cannot be read (" + list
             + "); the defaults apply");
    }
    LoadStartupSettings(mWs, store);
    LoadPreferences(mWs, store);
    storedPosition1 = store.GetSetting("SprayInfo", "Sample_Position1", "");
    storedInterval = store.GetSetting("SprayInfo", "Sample_Interval", "");
    // The spray record is the stored one, as if its dialog had been accepted unchanged.
    mWs.Spray.Sample_Position1 = storedPosition1;
    mWs.Spray.Sample_Interval = storedInterval;

    if (mOptions.dpi) {
        mWs.DefaultRes = *mOptions.dpi;
        mWs.UseFileResolution = false; // a resolution given for the run is every card's
    }
    if (mOptions.dpiFromFile)
        mWs.UseFileResolution = true;
    if (mOptions.colourScans)
        mWs.ColourScans = true;
    if (mOptions.stainBoundary)
        mWs.StainBoundary = *mOptions.stainBoundary;
    mWs.Slider1 = mOptions.hueLow;
    mWs.Slider2 = mOptions.hueHigh;
    mWs.HueInvertCheck = mOptions.invertHue;
    if (mOptions.noLog)
        mWs.LogAnalysis = false;
    if (mOptions.splitOverlaps)
        mWs.SplitOverlaps = true;
    if (mOptions.extended)
        mWs.ExtendedResults = true;
    return true;
}

void Session::loadImages(const std::vector<std::string> &paths)
{
    for (const std::string &path : paths) {
        const LoadResult r = LoadImage(mWs, path);
        if (!r.Ok) {
            const auto slash = path.find_last_of("/\\");
            const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
            mRefusals.push_back({name, OneLine(r.Message)});
            tell(path + ": " + OneLine(r.Message));
        }
    }
    mWs.SortByName();
    mWs.CurrentCard = 1;
}

bool Session::loadInput(std::string &error)
{
    if (mOptions.templateName.empty()) {
        loadImages(mOptions.images);
        return true;
    }
    return loadSheets(mOptions.images, error);
}

bool Session::loadSheets(const std::vector<std::string> &sheets, std::string &error)
{
    namespace fs = std::filesystem;
    if (!mOptions.clipDir.empty()) {
        std::error_code ec;
        fs::create_directories(mOptions.clipDir, ec);
        if (!fs::is_directory(mOptions.clipDir)) {
            error = "cannot make the clip folder " + mOptions.clipDir;
            return false;
        }
        mClipDir = mOptions.clipDir;
    } else {
        // A fresh folder per run, so that runs never collide with each other or with the desktop
        // program's clips in the same work folder.
        std::string pattern = mWs.TempDir + "cli-XXXXXX";
        std::error_code ec;
        fs::create_directories(mWs.TempDir, ec);
        if (!mkdtemp(pattern.data())) {
            error = "cannot make a folder for the clips in " + mWs.TempDir;
            return false;
        }
        mClipDir = pattern;
        tell("clips go to " + mClipDir);
    }
    if (mClipDir.back() != '/')
        mClipDir += '/';

    std::vector<std::string> ordered = sheets;
    // Sheets in name order, as the cards of a load; the clips then keep sheet and cell order.
    std::sort(ordered.begin(), ordered.end(), [](const std::string &a, const std::string &b) {
        return fs::path(a).filename().string() < fs::path(b).filename().string();
    });
    for (const std::string &sheet : ordered) {
        SheetCutRequest request;
        request.SheetPath = sheet;
        request.TemplateName = mOptions.templateName;
        request.TemplatesFile = mOptions.templatesFile;
        request.Res = mOptions.sheetDpi.value_or(mWs.DefaultRes);
        request.OffsetX = mOptions.offsetX;
        request.OffsetY = mOptions.offsetY;
        request.Cells = mOptions.cells;
        request.ClipDir = mClipDir;
        const CutResult cut = CutSheetFile(mWs, request);
        for (const std::string &m : cut.Messages) {
            mRefusals.push_back({fs::path(sheet).filename().string(), OneLine(m)});
            tell(sheet + ": " + OneLine(m));
        }
        for (const std::string &clip : cut.Clips)
            mClipPaths.push_back(mClipDir + clip);
    }
    mWs.CurrentCard = 1;
    return true;
}

void Session::removeClips()
{
    if (mClipDir.empty())
        return;
    std::error_code ec;
    if (!mOptions.keepClips)
        for (const std::string &clip : mClipPaths)
            std::filesystem::remove(clip, ec);
    // A folder of our own making that ended up empty (nothing was cut) is not worth keeping.
    if (mOptions.clipDir.empty() && std::filesystem::is_empty(mClipDir, ec))
        std::filesystem::remove(mClipDir, ec);
}

void Session::scanAll()
{
    OptionAnswers answers(mOptions);
    CliHooks hooks(*this, mWs);
    ScanAllCards(mWs, answers, hooks, mProgress);
    mProgress.clear();
}

} // namespace velmara::cli
