#include "cli/options.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

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
    return end == text.c_str() + text.size();
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

} // namespace

std::optional<Options> ParseOptions(int argc, char **argv, std::string &error)
{
    Options o;
    if (argc < 2) {
        error = "no command given";
        return std::nullopt;
    }
    const std::string cmd = argv[1];
    if (cmd == "--help" || cmd == "-h" || cmd == "help") {
        o.command = Command::Help;
        return o;
    }
    if (cmd == "scan")
        o.command = Command::Scan;
    else if (cmd == "line")
        o.command = Command::Line;
    else if (cmd == "clip")
        o.command = Command::Clip;
    else {
        error = "unknown command '" + cmd + "' (expected scan, line or clip)";
        return std::nullopt;
    }

    bool optionsEnded = false;
    for (int i = 2; i < argc; ++i) {
        const std::string arg = argv[i];
        if (optionsEnded || arg.empty() || arg[0] != '-' || arg == "-") {
            o.images.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        // Options that take no value.
        if (arg == "--help" || arg == "-h") {
            o.command = Command::Help;
            return o;
        }
        if (arg == "--invert-hue") { o.invertHue = true; continue; }
        if (arg == "--no-log") { o.noLog = true; continue; }
        if (arg == "--json") { o.json = true; continue; }
        if (arg == "--keep-clips") { o.keepClips = true; continue; }

        // Options with a value: "--name VALUE" or "--name=VALUE".
        std::string name = arg;
        std::string value;
        const auto eq = arg.find('=');
        if (eq != std::string::npos) {
            name = arg.substr(0, eq);
            value = arg.substr(eq + 1);
        } else {
            if (i + 1 >= argc) {
                error = "option " + arg + " needs a value";
                return std::nullopt;
            }
            value = argv[++i];
        }
        const std::string bad = "bad value '" + value + "' for " + name;

        if (name == "--settings") {
            o.settingsFile = value;
        } else if (name == "--dpi") {
            int v;
            if (!parseInt(value, v) || v <= 0 || v > 32767) {
                error = bad + " (a resolution from 1 to 32767 dots per inch)";
                return std::nullopt;
            }
            o.dpi = v;
        } else if (name == "--hue") {
            std::string a, b;
            int lo, hi;
            if (!splitPair(value, a, b) || !parseInt(a, lo) || !parseInt(b, hi) || lo < 0 || hi > 255
                || lo > hi) {
                error = bad + " (expected LOW:HIGH with 0 <= LOW <= HIGH <= 255)";
                return std::nullopt;
            }
            o.hueLow = lo;
            o.hueHigh = hi;
        } else if (name == "--background") {
            if (value == "likeliest")
                o.backgroundZero = false;
            else if (value == "zero")
                o.backgroundZero = true;
            else {
                error = bad + " (expected likeliest or zero)";
                return std::nullopt;
            }
        } else if (name == "--dither") {
            if (value == "yes")
                o.dither = DitherAnswer::Yes;
            else if (value == "no")
                o.dither = DitherAnswer::No;
            else if (value == "all")
                o.dither = DitherAnswer::All;
            else {
                error = bad + " (expected yes, no or all)";
                return std::nullopt;
            }
        } else if (name == "--position1") {
            o.position1 = value;
        } else if (name == "--interval") {
            o.interval = value;
        } else if (name == "--range") {
            std::string a, b;
            double lo, hi;
            if (!splitPair(value, a, b) || !parseDouble(a, lo) || !parseDouble(b, hi) || lo < 0
                || lo > hi) {
                error = bad + " (expected LOW:HIGH in micrometres, LOW <= HIGH)";
                return std::nullopt;
            }
            o.range = std::make_pair(static_cast<float>(lo), static_cast<float>(hi));
        } else if (name == "--out") {
            o.outFile = value;
        } else if (name == "--format") {
            if (value == "txt")
                o.csv = false;
            else if (value == "csv")
                o.csv = true;
            else {
                error = bad + " (expected txt or csv)";
                return std::nullopt;
            }
        } else if (name == "--report") {
            o.reportFile = value;
        } else if (name == "--template") {
            o.templateName = value;
        } else if (name == "--templates") {
            o.templatesFile = value;
        } else if (name == "--sheet-dpi") {
            int v;
            if (!parseInt(value, v) || v <= 0 || v > 32767) {
                error = bad + " (a resolution from 1 to 32767 dots per inch)";
                return std::nullopt;
            }
            o.sheetDpi = v;
        } else if (name == "--offset") {
            std::string a, b;
            if (!splitPair(value, a, b) || !parseDouble(a, o.offsetX) || !parseDouble(b, o.offsetY)) {
                error = bad + " (expected X:Y in inches)";
                return std::nullopt;
            }
        } else if (name == "--cells") {
            o.cells.clear();
            size_t start = 0;
            while (start <= value.size()) {
                const auto comma = value.find(',', start);
                const std::string item = value.substr(start, comma == std::string::npos ? std::string::npos
                                                                                          : comma - start);
                int cell;
                if (!parseInt(item, cell) || cell < 1) {
                    error = bad + " (expected a comma-separated list of cell numbers from 1)";
                    return std::nullopt;
                }
                o.cells.push_back(cell);
                if (comma == std::string::npos)
                    break;
                start = comma + 1;
            }
        } else if (name == "--clip-dir") {
            o.clipDir = value;
        } else {
            error = "unknown option " + name;
            return std::nullopt;
        }
    }

    if (o.command != Command::Line) {
        if (o.position1 || o.interval || o.range || !o.outFile.empty() || !o.reportFile.empty()) {
            error = "--position1, --interval, --range, --out, --format and --report belong to 'line'";
            return std::nullopt;
        }
    }
    if (o.command == Command::Clip && o.templateName.empty()) {
        error = "'clip' needs --template NAME";
        return std::nullopt;
    }
    if (o.images.empty()) {
        error = o.templateName.empty() ? "no image files given" : "no sheet files given";
        return std::nullopt;
    }
    return o;
}

std::string HelpText()
{
#if VELMARA_HAVE_VIEWS && __has_include("views/pdfreport.h")
    const std::string reportOption = "  --report FILE.pdf      also write the four-page printed report as PDF\n";
#else
    const std::string reportOption; // built without Qt: no PDF report
#endif
    std::string text = R"(velmara-cli: analyse spray cards without a screen.

Usage:
  velmara-cli scan [options] IMAGE...
  velmara-cli line [options] [line options] IMAGE...
  velmara-cli clip --template NAME [template options] SHEET...

scan     Loads each card image (8-bit BMP, GIF or TIF), finds the stains, builds the size
         table and writes the scan log beside the image (unless --no-log or the settings say
         not to). Prints a summary per card.
line     Does what scan does, then treats the cards, in name order, as one sampling line:
         composite spectrum, line statistics, swath analysis, and the analysis results file.
clip     Cuts multi-card sheets into clip files with a card template, and nothing more.

Options for every command:
  --settings FILE        settings file to read (INI with [Prefs], [Settings], [SprayInfo]);
                         default: the user's own settings. The file is never written.
  --dpi N                resolution given to newly loaded cards (default: DefaultRes, 1200)
  --hue LOW:HIGH         hue range of valid stain pixels, 0..255 (default 0:255)
  --invert-hue           count pixels outside the hue range instead
  --background likeliest|zero
                         the answer to the background question: the likeliest colour of the
                         card's sample (default), or colour index 0
  --dither yes|no|all    the answer to the dither question: yes for every card asked (default),
                         no, or all (yes to all: later cards are not asked)
  --no-log               write no scan logs, whatever the settings say
  --json                 print one JSON object on stdout instead of the readable summary
  --help                 this text

Options for line:
  --position1 TEXT       position of the first card, as typed (default: the settings, else -50)
  --interval TEXT        distance between cards, as typed (default: the settings, else 10)
  --range LOW:HIGH       selected drop diameter range in micrometres (default: the whole table)
  --out FILE             the analysis results file (default: results.txt or results.csv in the
                         folder of the first card; the path is printed)
  --format txt|csv       text or comma-separated results (default txt)
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
scan. The exit status is 0 when at least one card was analysed, 1 otherwise, 2 for bad usage.
)";
    text.replace(text.find("REPORT_OPTION"), 13, reportOption);
    return text;
}

} // namespace velmara::cli
