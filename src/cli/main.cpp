// velmara-cli: the analysis of the desktop program without a screen, for batches.

#include "cli/json.h"
#include "cli/options.h"
#include "cli/output.h"
#include "cli/session.h"
#include "core/numberform.h"
#include "core/numeric.h"
#include "reports/resultsfile.h"
#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/samplingline.h"
#include "statistics/swath.h"
#include "statistics/swathpatterns.h"
#include "statistics/textvalue.h"

#include <cstdio>
#include <filesystem>
#include <iostream>

#if VELMARA_HAVE_VIEWS
#include "views/pdfreport.h"
#include <QGuiApplication>
#define VELMARA_CLI_PDF 1
#endif

using namespace velmara;
using namespace velmara::cli;

namespace {

constexpr int kExitOk = 0;
constexpr int kExitNothing = 1;
constexpr int kExitUsage = 2;

int fail(const std::string &reason, int code = kExitNothing)
{
    std::fprintf(stderr, "velmara-cli: %s\n", reason.c_str());
    return code;
}

int runScan(const Options &o)
{
    Session session(o);
    std::string error;
    if (!session.prepare(error))
        return fail(error, kExitUsage);
    if (!session.openSummary(error) || !session.loadInput(error))
        return fail(error);
    const bool summaryWritten = session.scanAll();
    session.removeClips();
    Workspace &ws = session.workspace();
    CalcCompositeAll(ws);

    if (o.json) {
        JsonWriter json;
        json.beginObject();
        WriteCardsJson(json, ws, session.refusals(), false);
        json.endObject();
        std::cout << json.text() << "\n";
    } else {
        std::cout << CardSummary(ws);
        if (session.scannedCount() > 0)
            std::cout << "\n" << SpectrumSummary(ws, false, false);
    }
    if (session.scannedCount() == 0)
        return fail("no card could be analysed");
    return summaryWritten ? kExitOk : kExitNothing;
}

void writeStatsJson(JsonWriter &json, const std::vector<SwathStat> &stats)
{
    json.key("Stats");
    json.beginArray();
    for (size_t w = 1; w < stats.size(); ++w) {
        const SwathStat &st = stats[w];
        json.beginObject();
        json.field("Width", static_cast<long long>(w));
        json.fieldSingle("Cov", st.Cov);
        json.fieldSingle("Mean", st.Mean);
        json.fieldSingle("Max", st.Max);
        json.fieldSingle("Min", st.Min);
        json.endObject();
    }
    json.endArray();
}

void writeSinglesJson(JsonWriter &json, const char *name, const std::vector<Single> &values)
{
    json.key(name);
    json.beginArray();
    for (Single v : values)
        json.valueSingle(v);
    json.endArray();
}

// The line's interval as a number; 0 when it is none (the line then has no swath figures).
Single lineInterval(const Workspace &ws)
{
    return TryTextToSingle(ws.Spray.Sample_Interval).value_or(0.0f);
}

// Width in the line's unit of length and COV as a fraction; both null when no width meets it.
void writeEffectiveJson(JsonWriter &json, const char *name, const EffectiveSwath &e, Single interval)
{
    json.key(name);
    json.beginObject();
    json.key("Width");
    if (e.Found)
        json.valueSingle(ToSingle(static_cast<double>(interval) * e.Width));
    else
        json.null();
    json.key("Cov");
    if (e.Found)
        json.valueSingle(e.Cov);
    else
        json.null();
    json.endObject();
}

void writeSwathJson(JsonWriter &json, const Workspace &ws)
{
    const Single interval = lineInterval(ws);
    json.key("SwathSets");
    json.beginArray();
    for (int s = 1; s <= 2; ++s) {
        const SwathSet &set = ws.SwathSets[s];
        json.beginObject();
        json.field("First", static_cast<long long>(set.First()));
        json.field("Width", static_cast<long long>(set.Width));
        json.fieldSingle("MaxCov", set.MaxCov);
        json.field("Passes", static_cast<long long>(set.Passes));
        json.fieldSingle("ProfileMax", set.ProfileMax);
        json.fieldSingle("RateFactor", ShownRateFactor(ws, s));
        writeSinglesJson(json, "Deposit", set.Deposit.Items);
        writeSinglesJson(json, "Profile", set.Profile.Items);
        writeStatsJson(json, set.Stats);
        json.key("BackAndForth");
        json.beginObject();
        writeStatsJson(json, set.BackForthStats);
        writeSinglesJson(json, "Profile", set.BackForthProfile.Items);
        json.endObject();
        json.key("Effective");
        json.beginObject();
        writeEffectiveJson(json, "Racetrack", FindEffectiveSwath(set, SwathPattern::Racetrack, ws.CovLimit), interval);
        writeEffectiveJson(json, "BackAndForth", FindEffectiveSwath(set, SwathPattern::BackAndForth, ws.CovLimit),
                           interval);
        json.endObject();
        json.endObject();
    }
    json.endArray();
}

std::string defaultResultsPath(const Workspace &ws, bool csv)
{
    const std::filesystem::path first(ws.Card(1).FullPath);
    return (first.parent_path() / (csv ? "results.csv" : "results.txt")).string();
}

// The sampling texts as typed; else the stored ones; else the card position dialog's defaults.
void setLineTexts(const Options &o, Session &session)
{
    Workspace &ws = session.workspace();
    ws.Spray.Sample_Position1 = o.position1 ? *o.position1
        : session.storedPosition1.empty()   ? std::string("-50")
                                            : session.storedPosition1;
    ws.Spray.Sample_Interval = o.interval ? *o.interval
        : session.storedInterval.empty()  ? std::string("10")
                                          : session.storedInterval;
    if (o.range) {
        ws.RangeLow = o.range->first;
        ws.RangeHigh = o.range->second;
    }
    if (o.covLimit)
        ws.CovLimit = *o.covLimit;
}

// The composite view, entered as the desktop program enters it; without its dialogs a problem
// with the positions ends the run. Empty when the line stands, else the reason.
std::string prepareLine(Workspace &ws)
{
    std::string reason;
    PrepareSamplingLine(ws, [&](LineProblem problem, const std::string &detail) {
        switch (problem) {
        case LineProblem::PositionsNotNumbers:
            reason = "the card positions cannot be computed from position1 '" + ws.Spray.Sample_Position1
                     + "' and interval '" + ws.Spray.Sample_Interval + "': " + detail;
            break;
        case LineProblem::SamePositions:
            reason = std::string(kSamePositionMessage) + " Check --position1 and --interval (interval '"
                     + ws.Spray.Sample_Interval + "').";
            break;
        case LineProblem::NoSwathGrid:
            reason = "the swath analysis cannot place the line from position1 '" + ws.Spray.Sample_Position1
                     + "' and interval '" + ws.Spray.Sample_Interval + "': " + detail;
            break;
        }
        return false;
    });
    return reason;
}

struct LineFiles
{
    std::string resultsPath;
    bool resultsWritten = false;
    std::vector<std::string> logsAppended;
    bool reportWritten = false;
};

// The results file, then the size-range records of the scan logs (which stay where the cards
// were scanned when the line is built from shards). False when either failed.
bool writeResults(const Options &o, Session &session, LineFiles &files)
{
    Workspace &ws = session.workspace();
    files.resultsPath = o.outFile.empty() ? defaultResultsPath(ws, o.csv) : o.outFile;
    const ResultsFileResult written =
        WriteResultsFile(ws, files.resultsPath, o.csv ? ResultsFormat::Csv : ResultsFormat::Text);
    files.resultsWritten = written.Ok;
    if (!written.Ok) {
        session.tell(OneLine(written.Message));
        return false;
    }
    if (o.fromJson)
        return true;
    const SizeRangeLogsResult logs = AppendSizeRangeRecords(ws);
    files.logsAppended = logs.Paths;
    if (!logs.Ok) {
        session.tell(OneLine(logs.Message));
        return false;
    }
    return true;
}

#ifdef VELMARA_CLI_PDF
// The PDF report; false when it could not be written. A page that cannot be drawn (a line of two
// cards has no swath analysis) is told, and the report is written with a note in its place.
bool writeReport(const Options &o, Session &session, LineFiles &files)
{
    // Qt starts only for the report, and without a display unless one is asked for.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    char programName[] = "velmara-cli";
    char *qtArgv[] = {programName, nullptr};
    // Qt's notes about the session (no runtime folder, no display hints) are not the user's
    // business in a batch run; real errors still come through.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtCriticalMsg || type == QtFatalMsg)
            std::fprintf(stderr, "velmara-cli: %s\n", qPrintable(text));
    });
    QGuiApplication app(qtArgc, qtArgv);
    std::string reportError;
    std::vector<PageNote> notes;
    if (!WritePdfReport(session.workspace(), o.reportFile, reportError, &notes)) {
        session.tell("the report was not written: " + OneLine(reportError));
        return false;
    }
    for (const PageNote &note : notes)
        session.tell("report page " + std::to_string(note.Page) + ": " + note.Reason);
    files.reportWritten = true;
    return true;
}
#endif

void printLineJson(const Options &o, Session &session, const LineFiles &files, const std::string &swathNote)
{
    const Workspace &ws = session.workspace();
    JsonWriter json;
    json.beginObject();
    WriteCardsJson(json, ws, session.refusals(), true);
    json.field("Metric", ws.Metric);
    json.field("Sample_Position1", ws.Spray.Sample_Position1);
    json.field("Sample_Interval", ws.Spray.Sample_Interval);
    json.fieldSingle("RangeLow", ws.RangeLow);
    json.fieldSingle("RangeHigh", ws.RangeHigh);
    json.field("RangeSelected", RangeSelected(ws));
    json.field("CovLimit", ws.CovLimit);
    json.fieldSingle("MaxVmdOfCards", ws.MaxVmdOfCards);
    json.key("CompositeAll");
    const SpectrumFigures all = CompositeSpectrum(ws, false);
    WriteSizeStatsJson(json, ws.CompositeAll, &all);
    json.key("CompositeRange");
    if (RangeSelected(ws)) {
        const SpectrumFigures range = CompositeSpectrum(ws, true);
        WriteSizeStatsJson(json, ws.CompositeRange, &range);
    } else {
        json.null();
    }
    writeSwathJson(json, ws);
    if (!swathNote.empty())
        json.field("SwathNote", OneLine(swathNote));
    json.key("ResultsFile");
    json.beginObject();
    json.field("Path", files.resultsPath);
    json.field("Format", o.csv ? "csv" : "txt");
    json.endObject();
    json.key("LogsAppended");
    json.beginArray();
    for (const std::string &p : files.logsAppended)
        json.value(p);
    json.endArray();
    json.endObject();
    std::cout << json.text() << "\n";
}

// Both patterns of a set: the COV at every whole width, then the effective swath of each.
void printPatternsSummary(const Workspace &ws, const SwathSet &set)
{
    const Single interval = lineInterval(ws);
    const char *unit = ws.Metric ? " m" : " ft";
    auto percent = [](Single cov) { return FormatNumber(cov * 100.0, "0.0") + "%"; };
    auto column = [](std::string text, size_t width) { return std::string(width > text.size() ? width - text.size() : 0, ' ') + text; };
    std::cout << "  Width (" << (ws.Metric ? "m" : "ft") << ")  Racetrack  Back and forth\n";
    for (size_t w = 1; w < set.Stats.size() && w < set.BackForthStats.size(); ++w)
        std::cout << column(FormatNumber(ToSingle(static_cast<double>(interval) * w), "0.0#"), 11)
                  << column(percent(set.Stats[w].Cov), 11) << column(percent(set.BackForthStats[w].Cov), 16) << "\n";
    auto effective = [&](SwathPattern pattern) {
        const EffectiveSwath e = FindEffectiveSwath(set, pattern, ws.CovLimit);
        if (!e.Found)
            return std::string("none");
        return FormatNumber(ToSingle(static_cast<double>(interval) * e.Width), "0.0#") + unit + " (COV " + percent(e.Cov) + ")";
    };
    std::cout << "  Effective swath at COV " << FormatNumber(ws.CovLimit, "0.0#") << "%: racetrack "
              << effective(SwathPattern::Racetrack) << ", back and forth " << effective(SwathPattern::BackAndForth)
              << "\n";
}

void printLineSummary(const Workspace &ws, const LineFiles &files, const std::string &swathNote)
{
    const int u = ws.UnitIndex();
    const SizeStats &shown = RangeSelected(ws) ? ws.CompositeRange : ws.CompositeAll;
    std::cout << CardSummary(ws) << "\n";
    std::cout << "Sampling line of " << ws.CardCount() << " cards, first at " << ws.Spray.Sample_Position1
              << ", interval " << ws.Spray.Sample_Interval << (ws.Metric ? " m" : " ft") << "\n";
    if (RangeSelected(ws))
        std::cout << "Size range: " << FormatNumber(ws.RangeLow, "0.0") << " to " << FormatNumber(ws.RangeHigh, "0.0")
                  << " µm\n";
    std::cout << "Composite VMD:      " << FormatNumber(shown.Stats.Vmd, "0.0") << " µm\n";
    std::cout << "Drop density:       " << FormatNumber(shown.Stats.DropDensity, "0.0") << " drops/cm²\n";
    std::cout << "Deposit:            " << FormatNumber(shown.Stats.VolumeDensity * ws.DepositFactor[u], "0.000")
              << " " << ws.DepositUnit[u] << "\n";
    std::cout << "\n" << SpectrumSummary(ws, RangeSelected(ws), true) << "\n";
    if (ws.CardCount() > 2) {
        const char *names[3] = {"", "deposit", "drop density"};
        for (int s = 1; s <= 2; ++s) {
            const SwathSet &set = ws.SwathSets[s];
            if (set.Width < 1 || static_cast<size_t>(set.Width) >= set.Stats.size())
                continue;
            std::cout << "Swath (" << names[s] << "): width " << set.Width << " intervals, COV "
                      << FormatNumber(set.Stats[set.Width].Cov * 100.0, "0.0") << "%\n";
            printPatternsSummary(ws, set);
        }
    }
    std::cout << swathNote;
    if (files.resultsWritten)
        std::cout << "Results file:       " << files.resultsPath << "\n";
    if (!files.logsAppended.empty())
        std::cout << "Size-range records: " << files.logsAppended.size() << " scan logs\n";
}

int runLine(const Options &o)
{
    Session session(o);
    std::string error;
    if (!session.prepare(error))
        return fail(error, kExitUsage);
    setLineTexts(o, session);
    // A swath that is no number counts as none given for the whole line: the figures, the results
    // file and the report alike, and the summary says so.
    const std::string swathNote = SwathNote(session.workspace());
    if (!swathNote.empty())
        session.workspace().Spray.AC_Swath.clear();
    bool summaryWritten = true;
    if (o.fromJson) {
        if (!session.loadShards(o.images, error))
            return fail(error);
    } else {
        if (!session.openSummary(error) || !session.loadInput(error))
            return fail(error);
        summaryWritten = session.scanAll();
        session.removeClips();
    }
    Workspace &ws = session.workspace();
    if (session.scannedCount() < 2) {
        if (!o.json)
            std::cout << CardSummary(ws);
        return fail("a sampling line needs at least two analysed cards; " + std::to_string(session.scannedCount())
                    + (session.scannedCount() == 1 ? " was" : " were") + " analysed");
    }
    const std::string lineProblem = prepareLine(ws);
    if (!lineProblem.empty())
        return fail(lineProblem);

    LineFiles files;
    bool ok = writeResults(o, session, files);
    if (!o.reportFile.empty()) {
#ifdef VELMARA_CLI_PDF
        // The report only of a line whose results stand.
        ok = ok && writeReport(o, session, files);
#else
        session.tell("this build has no PDF report (built without Qt)");
        ok = false;
#endif
    }

    if (o.json) {
        printLineJson(o, session, files, swathNote);
    } else {
        printLineSummary(ws, files, swathNote);
        if (files.reportWritten && ok)
            std::cout << "Report:             " << o.reportFile << "\n";
    }
    return ok && summaryWritten ? kExitOk : kExitNothing;
}

// The cut alone: the clips stay, and their names are printed.
int runClip(const Options &o)
{
    Session session(o);
    std::string error;
    if (!session.prepare(error))
        return fail(error, kExitUsage);
    if (!session.loadInput(error))
        return fail(error);
    Workspace &ws = session.workspace();
    if (ws.CardCount() == 0)
        session.removeClips(); // only an empty folder of our own goes
    if (o.json) {
        JsonWriter json;
        json.beginObject();
        WriteCardsJson(json, ws, session.refusals(), false);
        json.field("ClipDir", session.clipDir());
        json.endObject();
        std::cout << json.text() << "\n";
    } else {
        for (const std::string &clip : session.clipPaths())
            std::cout << clip << "\n";
    }
    if (ws.CardCount() == 0)
        return fail("no clip was made");
    return kExitOk;
}

} // namespace

// Every command ends here: whatever a step throws is told in one line and ends the run with 1,
// never with an abort.
int main(int argc, char **argv)
{
    try {
        std::string error;
        const std::optional<Options> options = ParseOptions(argc, argv, error);
        if (!options)
            return fail(error + " (try 'velmara-cli --help')", kExitUsage);
        switch (options->command) {
        case Command::Help:
            std::cout << HelpText();
            return kExitOk;
        case Command::Scan:
            return runScan(*options);
        case Command::Line:
            return runLine(*options);
        case Command::Clip:
            return runClip(*options);
        }
        return kExitUsage;
    } catch (const std::bad_alloc &) {
        return fail("out of memory");
    } catch (const std::exception &e) {
        return fail(OneLine(e.what()));
    } catch (...) {
        return fail("an unexpected error ended the run");
    }
}
