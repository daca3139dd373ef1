#pragma once
// The printed report of a sampling line: four letter pages (analysis parameters, drop size
// statistics, composite results, swath analysis), laid out once on a ReportCanvas and drawn on
// the preview picture, a printer or a PDF file alike.

#include "core/workspace.h"
#include "reports/reportcanvas.h"

#include <functional>
#include <string>

namespace velmara {

// Page titles, in page order.
inline constexpr const char *kReportPageTitles[4] = {"Analysis Parameters", "Drop Size Statistics",
                                                     "Composite Results", "Swath Analysis"};
inline constexpr const char *kReportHeadline = "Orvinek Velmara";

// Box text of a failure; the failure's own text follows the five blanks. Lines break at "\r".
inline constexpr const char *kReportErrorLead = "There was an error:\r\r     ";

// "Velmara - Printing Page 1..." and so on: the preview window's caption while page n prints.
std::string PrintingCaption(int page);

struct ReportHooks
{
    // Printer only: page n (1 to 4) starts; the caller shows PrintingCaption(n) and refreshes.
    std::function<void(int page)> PageStarted;
    // The failure box, with the whole text (kReportErrorLead and the failure).
    std::function<void(const std::string &message)> ShowMessage;
};

struct ReportResult
{
    bool Ok = true;
    std::string Error;   // the failure's text, e.g. "Division by zero", "Type mismatch"
    std::string Message; // kReportErrorLead + Error; empty when Ok
};

// Draws the report on DestC. PageNum 0 draws all four pages in order (the printer job), 1 to 4
// that page alone (the preview, which is cleared first). On the printer every page after the
// first starts with NewPage, and the job ends with EndDoc, or with KillDoc on any failure. A
// failure ends the call at once: a preview keeps what was drawn, hooks.ShowMessage gets the box
// text, and the result says what failed. Reads the scanned cards, CompositeAll or CompositeRange,
// LineStats and SwathSets (tables built); refreshes the line scales and both overlap profiles.
// decimalSeparator: the user's locale separator in the desktop program, '.' elsewhere.
ReportResult PrintSub2(Workspace &ws, ReportCanvas &DestC, bool DestCisPrinter, int PageNum,
                       const ReportHooks &hooks = {}, char decimalSeparator = '.');

// Sets the font size of the report: Size itself on the printer, Size times the canvas width in
// points over 612 in the preview; a resulting size of 7 or less takes "Small Fonts", a larger one
// "Arial". Bold is left as it is. Throws Failure when the canvas cannot convert to points.
void SetReportFont(ReportCanvas &DestC, bool DestCisPrinter, Single Size);

} // namespace velmara
