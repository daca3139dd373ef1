#pragma once
// Command line of velmara-cli: one command word, options, then image files.

#include <optional>
#include <string>
#include <vector>

namespace velmara::cli {

enum class Command { Scan, Line, Clip, Help };
enum class DitherAnswer { Yes, No, All };

struct Options
{
    Command command = Command::Help;

    // Shared by every command.
    std::string settingsFile;          // --settings: the store to read; never written
    std::optional<int> dpi;            // --dpi: resolution of newly loaded cards
    bool dpiFromFile = false;          // --dpi file: the resolution each file records
    bool colourScans = false;          // --colour-scans: read colour scans, this run only
    std::optional<int> stainBoundary;  // --stain-boundary N: card/stain boundary of colour scans
    int hueLow = 0;                    // --hue LOW:HIGH
    int hueHigh = 255;
    bool invertHue = false;            // --invert-hue
    bool backgroundZero = false;       // --background zero (the No answer)
    DitherAnswer dither = DitherAnswer::Yes;
    bool noLog = false;                // --no-log
    bool splitOverlaps = false;        // --split-overlaps: on for this run, whatever the settings say
    bool json = false;                 // --json
    bool extended = false;             // --extended: spectrum block and report page, for this run
    int jobs = 0;                      // --jobs N: cards at once; 0: one per core
    bool recursive = false;            // --recursive: folders given also by their subfolders
    std::string summaryFile;           // --summary FILE.csv: one row per card as it finishes
    bool fromJson = false;             // --from-json: the files are shards of scan --json

    // line
    std::optional<std::string> position1; // --position1 TEXT
    std::optional<std::string> interval;  // --interval TEXT
    std::optional<std::pair<float, float>> range; // --range LOW:HIGH
    std::string outFile;               // --out FILE
    bool csv = false;                  // --format csv
    std::string reportFile;            // --report FILE.pdf
    std::optional<double> covLimit;    // --cov-limit N: percent, for the effective swath

    // Multi-card sheets.
    std::string templateName;          // --template NAME
    std::string templatesFile;         // --templates FILE
    std::optional<int> sheetDpi;       // --sheet-dpi N
    double offsetX = 0, offsetY = 0;   // --offset X:Y, sheet inches
    std::vector<int> cells;            // --cells 1,2,5 (1-based); empty: all
    std::string clipDir;               // --clip-dir DIR
    bool keepClips = false;            // --keep-clips

    std::vector<std::string> images;
};

// Parses argv. On bad usage returns nullopt and sets error to a one-line reason.
std::optional<Options> ParseOptions(int argc, char **argv, std::string &error);

// The text of --help.
std::string HelpText();

} // namespace velmara::cli
