#pragma once
// The analysis results file of a sampling line (the composite view's "write results" command),
// in a column-aligned text form or a comma-separated form with the same sections, and the
// size-range records that the same command appends to the scan logs of the scanned cards.

#include "core/workspace.h"

#include <string>
#include <vector>

namespace velmara {

enum class ResultsFormat { Text, Csv };

// Box text of a failure; the failure's own text follows it.
inline constexpr const char *kResultsFileErrorLead =
    "There was an error writing the data file.\r\rError: ";

struct ResultsFileResult
{
    bool Ok = true;
    std::string Error;   // text of the failure, e.g. "Type mismatch", "Subscript out of range"
    std::string Message; // the whole box text (kResultsFileErrorLead + Error); empty when Ok
};

// Writes the results file of the composite view (CompositeCheck ticked) to path. Reads the
// scanned cards, CompositeAll or CompositeRange (by RangeSelected), LineStats and SwathSets, whose
// tables must stand (BuildSwathTables); rebuilds both overlap profiles first. The spray record is
// used as it stands: asking for it, for positions and for unscanned cards is the caller's part.
// Every text-to-number reading (Sample_Position1, Sample_Interval, AC_Swath) happens before the
// file is opened, so such a failure leaves any old file untouched. A failure while writing stops
// there and leaves the part written on disk; a composite without any row stops before the
// "Droplet Size Range:" line. decimalSeparator: the user's locale separator in the desktop
// program, '.' elsewhere.
ResultsFileResult WriteResultsFile(Workspace &ws, const std::string &path, ResultsFormat format,
                                   char decimalSeparator = '.');

struct SizeRangeLogsResult
{
    bool Ok = true;
    std::vector<int> Cards;         // cards whose log received a record, in list order
    std::vector<std::string> Paths; // their log files
    std::string Error;
    std::string Message; // as for the results file; empty when Ok
};

// The command's last step, run after a successful WriteResultsFile: when LogAnalysis is on and
// RangeSelected(), appends the size-range record to the log of each scanned card in list order
// (CalcSingleRange of the card first, so CardRange ends on the last one). Stops at the first
// failure; the records already appended stay. Nothing happens otherwise.
SizeRangeLogsResult AppendSizeRangeRecords(Workspace &ws, char decimalSeparator = '.');

} // namespace velmara
