#pragma once
// One run of velmara-cli: the workspace filled from the settings and the options, the cards
// loaded, decoded and scanned, and what the run has to say about them.

#include "cli/options.h"
#include "cli/summary.h"
#include "cli/terminalprogress.h"
#include "core/workspace.h"
#include "intake/decode.h"

#include <string>
#include <vector>

namespace velmara::cli {

struct Refusal
{
    std::string FileName;
    std::string Message;
};

class Session
{
public:
    explicit Session(const Options &options);

    // Reads the settings store into the workspace and applies the options. False with error set
    // (naming the file and its first bad line) when the file given with --settings is missing or
    // cannot be read as a settings file: a fault of the command line. The user's own file is read
    // as far as it can be; what it could not give is told once on stderr.
    bool prepare(std::string &error);
    // Opens the --summary file, if one is asked for; false with error when it cannot be made.
    bool openSummary(std::string &error);
    // Registers the images in the order given, then sorts the list by name. Refusals go to stderr.
    // A folder gives its files in path order (its subfolders' too with --recursive); those that
    // are no cards are told and passed over, the scan logs of earlier runs quietly.
    void loadImages(const std::vector<std::string> &paths);
    // The cards of shards written by 'scan --json', sorted by name as a load sorts them. False
    // with error naming the file when one is refused.
    bool loadShards(const std::vector<std::string> &paths, std::string &error);
    // With --template: cuts each sheet, in name order, into clips that join the list in sheet and
    // cell order (unsorted). False when no folder for the clips could be made.
    bool loadSheets(const std::vector<std::string> &sheets, std::string &error);
    // Loads the images or cuts the sheets, as the options say.
    bool loadInput(std::string &error);
    // Deletes the clip files at the end unless they are to be kept.
    void removeClips();
    const std::string &clipDir() const { return mClipDir; }
    const std::vector<std::string> &clipPaths() const { return mClipPaths; }
    // Decodes and scans every card in list order, writing each scan log and summary row. False
    // when the summary could not be written (told on stderr).
    bool scanAll();

    Workspace &workspace() { return mWs; }
    const std::vector<Refusal> &refusals() const { return mRefusals; }
    // Cards whose scan ended (with or without stains).
    int scannedCount() const { return mWs.ScannedCount(); }
    // Tells the user on stderr; the progress line is cleared first.
    void tell(const std::string &text);
    TerminalProgress &progress() { return mProgress; }

    // Texts of [SprayInfo] Sample_Position1 and Sample_Interval as stored (may be empty).
    std::string storedPosition1;
    std::string storedInterval;

private:
    void refuse(const std::string &path, const std::string &message);
    int jobs() const; // --jobs, or one per core

    const Options &mOptions;
    Workspace mWs;
    std::vector<Refusal> mRefusals;
    TerminalProgress mProgress;
    std::string mClipDir;
    std::vector<std::string> mClipPaths;
    SummaryFile mSummary;
};

// A box text ("line one\rline two") as one line for a terminal.
std::string OneLine(const std::string &boxText);

} // namespace velmara::cli
