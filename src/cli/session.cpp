#include "cli/session.h"

#include "analysis/scanallcards.h"
#include "cli/shards.h"
#include "intake/loadimage.h"
#include "reports/scanlog.h"
#include "settings/preferences.h"
#include "settings/settingsstore.h"
#include "templates/sheetcutter.h"

#include <QLocale>
#include <QString>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <set>
#include <system_error>
#include <thread>
#include <unordered_set>

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
    CliHooks(Session &session, Workspace &ws, SummaryFile &summary)
        : mSession(session), mWs(ws), mLog(ws, '.'), mSummary(summary)
    {
    }

    void decodeStarting(int index) override { stage(index, "decode"); }
    void scanStarting(int index) override { stage(index, "scan"); }
    void notify(int index, const std::string &text) override
    {
        mSession.tell(mWs.Card(index).FileName + ": " + OneLine(text));
        mTold += (mTold.empty() ? "" : " ") + OneLine(text);
    }
    void cardFinished(int index, int done, int total) override
    {
        if (mSummary.isOpen()) {
            mSummary.card(mWs, index, mTold);
            if (!mSummary.ok() && !mSummaryTold) {
                mSession.tell(mSummary.error());
                mSummaryTold = true;
            }
        }
        mTold.clear();
        mSession.progress().cardsDone(done, total, mWs.Card(index).FileName);
    }
    bool summaryFailed() const { return mSummaryTold; }
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
    SummaryFile &mSummary;
    std::string mTold; // what was told about the card in hand
    bool mSummaryTold = false;
};

// The order of the load command. Its exchange sort takes a time that grows with the square of
// the list; names that are all different end in the one ascending order any sort gives.
void sortByName(Workspace &ws)
{
    std::vector<CardImage> &cards = ws.Cards;
    std::vector<size_t> order(cards.size() - 1);
    std::iota(order.begin(), order.end(), size_t{1});
    const auto name = [&](size_t i) -> const std::string & { return cards[i].FileName; };
    // Shards and folders usually come in order already; a card record is large to move.
    if (std::is_sorted(cards.begin() + 1, cards.end(),
                       [](const CardImage &a, const CardImage &b) { return a.FileName < b.FileName; }))
        return;
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return name(a) < name(b); });
    if (std::adjacent_find(order.begin(), order.end(), [&](size_t a, size_t b) { return name(a) == name(b); })
        != order.end()) {
        ws.SortByName();
        return;
    }
    std::vector<CardImage> sorted;
    sorted.reserve(cards.size());
    sorted.push_back(std::move(cards[0]));
    for (size_t i : order)
        sorted.push_back(std::move(cards[i]));
    cards = std::move(sorted);
}

// Scan logs of earlier runs lie beside the cards of a folder; they are ours, not strangers.
bool isScanLog(const std::filesystem::path &p)
{
    std::string ext = p.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext == ".scn";
}

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

bool Session::openSummary(std::string &error)
{
    return mOptions.summaryFile.empty() || mSummary.open(mOptions.summaryFile, error);
}

void Session::refuse(const std::string &path, const std::string &message)
{
    const auto slash = path.find_last_of("/\\");
    mRefusals.push_back({slash == std::string::npos ? path : path.substr(slash + 1), message});
    tell(path + ": " + message);
    mSummary.refused(path, message);
}

void Session::loadImages(const std::vector<std::string> &paths)
{
    namespace fs = std::filesystem;
    // Every file first, then one registration of them all: a folder of thousands of cards is
    // registered by every job at once.
    std::vector<std::string> files;
    std::vector<bool> inFolder;
    for (const std::string &path : paths) {
        std::error_code ec;
        if (!fs::is_directory(path, ec)) {
            files.push_back(path);
            inFolder.push_back(false);
            continue;
        }
        std::vector<std::string> found;
        const auto take = [&](const fs::directory_entry &entry) {
            std::error_code typeError;
            if (!entry.is_directory(typeError) && !isScanLog(entry.path()))
                found.push_back(entry.path().string());
        };
        if (mOptions.recursive) {
            for (fs::recursive_directory_iterator it(path, fs::directory_options::skip_permission_denied, ec), end;
                 !ec && it != end; it.increment(ec))
                take(*it);
        } else {
            for (fs::directory_iterator it(path, ec), end; !ec && it != end; it.increment(ec))
                take(*it);
        }
        if (ec)
            tell(path + ": the folder could not be read whole: " + ec.message());
        else if (found.empty())
            tell(path + ": the folder holds no cards");
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
        inFolder.resize(files.size(), true);
    }
    const std::vector<LoadResult> results = LoadImages(mWs, files, jobs());
    for (size_t i = 0; i < files.size(); ++i) {
        const LoadResult &r = results[i];
        if (r.Ok)
            continue;
        // In a folder only a card that cannot be read is a refusal; another kind of file is told
        // and passed over.
        if (inFolder[i] && r.Exclamation)
            tell(files[i] + ": " + OneLine(r.Message) + " Skipped.");
        else
            refuse(files[i], OneLine(r.Message));
    }
    sortByName(mWs);
    mWs.CurrentCard = 1;
}

bool Session::loadShards(const std::vector<std::string> &paths, std::string &error)
{
    std::unordered_set<std::string> seen;
    for (const std::string &path : paths) {
        const size_t first = mWs.Cards.size();
        if (!ReadShard(path, mWs, mRefusals, error))
            return false;
        // The same card twice (a shard given twice) would count twice on the line.
        const auto again = [&](const CardImage &card) {
            if (seen.insert(card.FullPath).second)
                return false;
            tell(path + ": " + card.FullPath + " was read from an earlier shard already; skipped");
            return true;
        };
        mWs.Cards.erase(std::remove_if(mWs.Cards.begin() + static_cast<std::ptrdiff_t>(first), mWs.Cards.end(), again),
                        mWs.Cards.end());
    }
    sortByName(mWs);
    mWs.CurrentCard = 1;
    // As the scans of these cards leave it.
    mWs.MaxDiameterAll = 0;
    for (int i = 1; i <= mWs.CardCount(); ++i)
        if (mWs.Card(i).Scanned)
            mWs.MaxDiameterAll = std::max(mWs.MaxDiameterAll, mWs.Card(i).MaxDiameter);
    return true;
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
        for (const std::string &m : cut.Messages)
            refuse(sheet, OneLine(m));
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

int Session::jobs() const
{
    return mOptions.jobs > 0 ? mOptions.jobs : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

bool Session::scanAll()
{
    OptionAnswers answers(mOptions);
    CliHooks hooks(*this, mWs, mSummary);
    ScanAllOptions options;
    options.Jobs = jobs();
    // Nothing after the scan looks at a pixel again; the size tables are what the run needs.
    options.ReleasePixels = true;
    ScanAllCards(mWs, answers, hooks, mProgress, options);
    mProgress.clear();
    return !hooks.summaryFailed();
}

} // namespace velmara::cli
