#include "cli/options.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace velmara::cli {

namespace {

bool parseInt(std::string_view text, int &out)
{
    const char *end = text.data() + text.size();
    auto res = std::from_chars(text.data(), end, out);
    return res.ec == std::errc() && res.ptr == end && !text.empty();
}

bool parseDouble(const std::string &text, double &out)
{
    if (text.empty())
        return false;
    char *end = nullptr;
    out = std::strtod(text.c_str(), &end);
    // "nan", "inf" and overflowing texts read as numbers but no range or offset can use them.
    return end == text.c_str() + text.size() && std::isfinite(out);
}

bool splitPair(const std::string &text, std::string &a, std::string &b)
{
    const auto colon = text.find(':');
    if (colon == std::string::npos)
        return false;
    a = text.substr(0, colon);
    b = text.substr(colon + 1);
    return true;
}

bool parseResolution(const std::string &value, std::optional<int> &out)
{
    int v;
    if (!parseInt(value, v) || v <= 0 || v > 32767)
        return false;
    out = v;
    return true;
}

bool parseCells(const std::string &value, std::vector<int> &cells)
{
    cells.clear();
    size_t start = 0;
    for (;;) {
        const auto comma = value.find(',', start);
        int cell;
        if (!parseInt(value.substr(start, comma == std::string::npos ? std::string::npos : comma - start), cell)
            || cell < 1)
            return false;
        cells.push_back(cell);
        if (comma == std::string::npos)
            return true;
        start = comma + 1;
    }
}

// One option that takes a value: its name, what a bad value is told, and how the value is taken.
struct ValueOption
{
    const char *name;
    const char *expected; // the reason given for a bad value; unused when every value is good
    bool (*apply)(const std::string &value, Options &o);
};

const ValueOption kValueOptions[] = {
    {"--settings", "", [](const std::string &v, Options &o) { o.settingsFile = v; return true; }},
    {"--dpi", "a resolution from 1 to 32767 dots per inch, or file",
     [](const std::string &v, Options &o) {
         o.dpiFromFile = v == "file";
         if (o.dpiFromFile)
             o.dpi.reset();
         return o.dpiFromFile || parseResolution(v, o.dpi);
     }},
    {"--stain-boundary", "colour steps from 0 to 255",
     [](const std::string &v, Options &o) {
         int n;
         if (!parseInt(v, n) || n < 0 || n > 255)
             return false;
         o.stainBoundary = n;
         return true;
     }},
    {"--hue", "expected LOW:HIGH with 0 <= LOW <= HIGH <= 255",
     [](const std::string &v, Options &o) {
         std::string a, b;
         int lo, hi;
         if (!splitPair(v, a, b) || !parseInt(a, lo) || !parseInt(b, hi) || lo < 0 || hi > 255 || lo > hi)
             return false;
         o.hueLow = lo;
         o.hueHigh = hi;
         return true;
     }},
    {"--background", "expected likeliest or zero",
     [](const std::string &v, Options &o) {
         o.backgroundZero = v == "zero";
         return v == "zero" || v == "likeliest";
     }},
    {"--dither", "expected yes, no or all",
     [](const std::string &v, Options &o) {
         o.dither = v == "no" ? DitherAnswer::No : v == "all" ? DitherAnswer::All : DitherAnswer::Yes;
         return v == "yes" || v == "no" || v == "all";
     }},
    {"--position1", "", [](const std::string &v, Options &o) { o.position1 = v; return true; }},
    {"--interval", "", [](const std::string &v, Options &o) { o.interval = v; return true; }},
    {"--range", "expected LOW:HIGH in micrometres, LOW <= HIGH",
     [](const std::string &v, Options &o) {
         std::string a, b;
         double lo, hi;
         if (!splitPair(v, a, b) || !parseDouble(a, lo) || !parseDouble(b, hi) || lo < 0 || lo > hi)
             return false;
         o.range = std::make_pair(static_cast<float>(lo), static_cast<float>(hi));
         return true;
     }},
    {"--out", "", [](const std::string &v, Options &o) { o.outFile = v; return true; }},
    {"--format", "expected txt or csv",
     [](const std::string &v, Options &o) {
         o.csv = v == "csv";
         return v == "txt" || v == "csv";
     }},
    {"--report", "", [](const std::string &v, Options &o) { o.reportFile = v; return true; }},
    {"--cov-limit", "a COV limit in percent, from 1 to 100",
     [](const std::string &v, Options &o) {
         double limit;
         if (!parseDouble(v, limit) || limit < 1 || limit > 100)
             return false;
         o.covLimit = limit;
         return true;
     }},
    {"--template", "", [](const std::string &v, Options &o) { o.templateName = v; return true; }},
    {"--templates", "", [](const std::string &v, Options &o) { o.templatesFile = v; return true; }},
    {"--sheet-dpi", "a resolution from 1 to 32767 dots per inch",
     [](const std::string &v, Options &o) { return parseResolution(v, o.sheetDpi); }},
    {"--offset", "expected X:Y in inches",
     [](const std::string &v, Options &o) {
         std::string a, b;
         return splitPair(v, a, b) && parseDouble(a, o.offsetX) && parseDouble(b, o.offsetY);
     }},
    {"--cells", "expected a comma-separated list of cell numbers from 1",
     [](const std::string &v, Options &o) { return parseCells(v, o.cells); }},
    {"--clip-dir", "", [](const std::string &v, Options &o) { o.clipDir = v; return true; }},
    {"--jobs", "a number of cards at once from 1 to 256", [](const std::string &v, Options &o) { return parseInt(v, o.jobs) && o.jobs >= 1 && o.jobs <= 256; }},
    {"--summary", "", [](const std::string &v, Options &o) { o.summaryFile = v; return true; }},
};

// The command word; false with error for an unknown one.
bool parseCommand(const std::string &word, Command &command, std::string &error)
{
    if (word == "--help" || word == "-h" || word == "help")
        command = Command::Help;
    else if (word == "scan")
        command = Command::Scan;
    else if (word == "line")
        command = Command::Line;
    else if (word == "clip")
        command = Command::Clip;
    else {
        error = "unknown command '" + word + "' (expected scan, line or clip)";
        return false;
    }
    return true;
}

// An option that takes no value; false when arg is not one.
bool applyFlag(const std::string &arg, Options &o)
{
    if (arg == "--help" || arg == "-h")
        o.command = Command::Help;
    else if (arg == "--invert-hue")
        o.invertHue = true;
    else if (arg == "--no-log")
        o.noLog = true;
    else if (arg == "--split-overlaps")
        o.splitOverlaps = true;
    else if (arg == "--json")
        o.json = true;
    else if (arg == "--extended")
        o.extended = true;
    else if (arg == "--keep-clips")
        o.keepClips = true;
    else if (arg == "--colour-scans")
        o.colourScans = true;
    else if (arg == "--recursive")
        o.recursive = true;
    else if (arg == "--from-json")
        o.fromJson = true;
    else
        return false;
    return true;
}

// An option with a value, "--name VALUE" or "--name=VALUE"; i moves past what was taken.
bool applyValueOption(int argc, char **argv, int &i, Options &o, std::string &error)
{
    const std::string arg = argv[i];
    std::string name = arg;
    std::string value;
    if (const auto eq = arg.find('='); eq != std::string::npos) {
        name = arg.substr(0, eq);
        value = arg.substr(eq + 1);
    } else if (i + 1 < argc) {
        value = argv[++i];
    } else {
        error = "option " + arg + " needs a value";
        return false;
    }
    for (const ValueOption &option : kValueOptions) {
        if (name != option.name)
            continue;
        if (!option.apply(value, o)) {
            error = "bad value '" + value + "' for " + name + " (" + option.expected + ")";
            return false;
        }
        return true;
    }
    error = "unknown option " + name;
    return false;
}

// What the options mean together, once all are read.
bool checkCombination(const Options &o, std::string &error)
{
    if (o.command != Command::Line
        && (o.position1 || o.interval || o.range || !o.outFile.empty() || !o.reportFile.empty())) {
        error = "--position1, --interval, --range, --out, --format and --report belong to 'line'";
        return false;
    }
    if (o.fromJson && (o.command != Command::Line || !o.templateName.empty() || o.recursive || !o.summaryFile.empty())) {
        error = "--from-json belongs to 'line' and takes the files of 'scan --json': no sheets, folders or --summary";
        return false;
    }
    if (o.command != Command::Line && o.covLimit) {
        error = "--cov-limit belongs to 'line'";
        return false;
    }
    if (o.command == Command::Clip && o.templateName.empty()) {
        error = "'clip' needs --template NAME";
        return false;
    }
    if (o.images.empty()) {
        error = o.fromJson ? "no JSON files given" : o.templateName.empty() ? "no image files given" : "no sheet files given";
        return false;
    }
    return true;
}

} // namespace

std::optional<Options> ParseOptions(int argc, char **argv, std::string &error)
{
    Options o;
    if (argc < 2) {
        error = "no command given";
        return std::nullopt;
    }
    if (!parseCommand(argv[1], o.command, error))
        return std::nullopt;
    if (o.command == Command::Help)
        return o;

    bool optionsEnded = false;
    for (int i = 2; i < argc; ++i) {
        const std::string arg = argv[i];
        if (optionsEnded || arg.empty() || arg[0] != '-' || arg == "-") {
            o.images.push_back(arg);
        } else if (arg == "--") {
            optionsEnded = true;
        } else if (applyFlag(arg, o)) {
            if (o.command == Command::Help)
                return o;
        } else if (!applyValueOption(argc, argv, i, o, error)) {
            return std::nullopt;
        }
    }
    if (!checkCombination(o, error))
        return std::nullopt;
    return o;
}

std::string HelpText()
{
#if VELMARA_HAVE_VIEWS
    const std::string reportOption = "  --report FILE.pdf      also write the four-page printed report as PDF\n";
#else
    const std::string reportOption; // built without Qt: no PDF report
#endif
    std::string text = R"(velmara-cli: analyse spray cards without a screen.

Usage:
  velmara-cli scan [options] IMAGE...
  velmara-cli line [options] [line options] IMAGE...
  velmara-cli line --from-json [line options] SHARD.json...
  velmara-cli clip --template NAME [template options] SHEET...

scan     Loads each card image (8-bit BMP, GIF or TIF; with --colour-scans also 24-bit,
         greyscale, PNG and JPEG), finds the stains, builds the size table and writes the scan
         log beside the image (unless --no-log or the settings say not to). Prints a summary per
         card.
line     Does what scan does, then treats the cards, in name order, as one sampling line:
         composite spectrum, line statistics, swath analysis, and the analysis results file.
clip     Cuts multi-card sheets into clip files with a card template, and nothing more.

An IMAGE may be a folder: its cards are taken (with --recursive those of its subfolders too),
and each file in it that is not a card is told on stderr and skipped.

Options for every command:
  --settings FILE        settings file to read (INI with [Prefs], [Settings], [SprayInfo]);
                         default: the user's own settings. The file is never written.
  --dpi N|file           resolution given to newly loaded cards (default: DefaultRes, 1200);
                         file: the resolution the file records, else DefaultRes
  --colour-scans         read colour scans too (PNG, JPEG, TIFF, 24-bit and greyscale cards),
                         for this run only; 8-bit colour-table cards are read as before
  --stain-boundary N     for colour scans: the boundary between card and stain, in colour
                         steps from the card's own colour (root mean square of the red, green
                         and blue differences, 0 to 255); default: found per card, half way
                         to the stains' colour
  --hue LOW:HIGH         hue range of valid stain pixels, 0..255 (default 0:255)
  --invert-hue           count pixels outside the hue range instead
  --background likeliest|zero
                         the answer to the background question: the likeliest colour of the
                         card's sample (default), or colour index 0; colour scans take the
                         background class found from the picture
  --dither yes|no|all    the answer to the dither question: yes for every card asked (default),
                         no, or all (yes to all: later cards are not asked)
  --no-log               write no scan logs, whatever the settings say
  --split-overlaps       split stains of overlapping drops into one stain per drop
  --json                 print one JSON object on stdout instead of the readable summary
  --extended             add the spectrum block to the results file and the spectrum page to
                         the report, whatever the settings say
  --jobs N               cards decoded and scanned at once (default: one per core); the
                         output is the same whatever N
  --recursive            take the cards of the subfolders of a folder given too
  --summary FILE.csv     write one row per card to FILE.csv as each card finishes
  --help                 this text

Options for line:
  --position1 TEXT       position of the first card, as typed (default: the settings, else -50)
  --interval TEXT        distance between cards, as typed (default: the settings, else 10)
  --range LOW:HIGH       selected drop diameter range in micrometres (default: the whole table)
  --out FILE             the analysis results file (default: results.txt or results.csv in the
                         folder of the first card; the path is printed)
  --format txt|csv       text or comma-separated results (default txt)
  --from-json            build the line from the files written by 'scan --json' instead of
                         images: the same results file and report, no scan logs touched
  --cov-limit N          COV limit in percent of the effective swath, 1 to 100 (default: the
                         settings, else 25)
REPORT_OPTION
Options for multi-card sheets (scan, line, clip):
  --template NAME        cut each sheet with this card template ("<Default>" or a stored one)
  --templates FILE       the template file to read (default: templates.dat in the work folder)
  --sheet-dpi N          resolution of the sheets (default: the card resolution)
  --offset X:Y           offset of the grid on the sheet, in inches (default 0:0)
  --cells LIST           cells to cut, 1-based, comma-separated (default: all)
  --clip-dir DIR         folder for the clip files and their logs (default: a fresh folder)
  --keep-clips           keep the clip files at the end

Messages go to stderr. When stderr is a terminal a progress line shows each card's decode and
scan, or with several jobs the cards done. The exit status is 0 when at least one card was analysed, 1 otherwise, 2 for bad usage.
)";
    text.replace(text.find("REPORT_OPTION"), 13, reportOption);
    return text;
}

} // namespace velmara::cli
