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
    int hueLow = 0;                    // --hue LOW:HIGH
    int hueHigh = 255;
    bool invertHue = false;            // --invert-hue
    bool backgroundZero = false;       // --background zero (the No answer)
    DitherAnswer dither = DitherAnswer::Yes;
    bool noLog = false;                // --no-log
    bool json = false;                 // --json

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
