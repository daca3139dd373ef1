#pragma once
// The scan log: a text record of each scan of a card, written beside the card's image, and the
// size-range record that the results command appends to the same file.

#include "core/workspace.h"

#include <string>

namespace velmara {

// Hue limits of one scan: the two slider values taken at the start of the stain walk, and whether
// the hue range was inverted (HueInvertCheck) for that scan.
struct ScanHues
{
    int HueLow = 0;
    int HueHigh = 255;
    bool Inverted = false;
};

// Outcome of writing one record. When Ok is false, Error names the file and the reason; the
// scan's results in memory are untouched, and the caller tells the user once.
struct ScanLogResult
{
    bool Ok = true;
    bool Written = false; // false when nothing was to be written (LogAnalysis off)
    std::string Path;
    std::string Error;
};

class ScanLog
{
public:
    // decimalSeparator: the user's locale separator in the desktop program, '.' elsewhere.
    explicit ScanLog(const Workspace &ws, char decimalSeparator = '.')
        : mWs(ws), mSeparator(decimalSeparator)
    {
    }

    // The log beside an image: the path without its last three characters, then "scn"
    // ("C:/cards/a1.bmp" gives "C:/cards/a1.scn").
    static std::string PathFor(const std::string &fullPath);

    // Writes the record of the scan of card `cardIndex` that has just ended (after its size table
    // and results were built, or after a scan that found nothing). Nothing is written while
    // LogAnalysis is off. With Append on, the record is added to an existing file; otherwise the
    // file is replaced. A new or replaced file begins with the head block.
    ScanLogResult writeScanRecord(int cardIndex, const ScanHues &hues) const;

    // Appends the size-range record of card `cardIndex` whatever Append says, creating the file
    // without head block when it is missing. CardRange must hold this card's range statistics
    // (CalcSingleRange of the card run just before). LogAnalysis is the caller's test.
    ScanLogResult writeSizeRangeRecord(int cardIndex) const;

private:
    const Workspace &mWs;
    char mSeparator;
};

} // namespace velmara
