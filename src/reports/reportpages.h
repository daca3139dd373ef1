#pragma once
// The printed report of a sampling line: four letter pages (analysis parameters, drop size
// statistics, composite results, swath analysis), laid out once on a ReportCanvas and drawn on
// the preview picture, a printer or a PDF file alike.

#include "core/workspace.h"
#include "reports/reportcanvas.h"

#include <functional>
#include <string>
#include <vector>

namespace velmara {

// Page titles, in page order.
inline constexpr const char *kReportPageTitles[4] = {"Analysis Parameters", "Drop Size Statistics",
                                                     "Composite Results", "Swath Analysis"};
inline constexpr const char *kReportHeadline = "Orvinek Velmara";
// The fifth page, printed only with the extended results.
inline constexpr const char *kSpectrumPageTitle = "Spectrum Summary";

// 5 with the extended results, else 4.
int ReportPageCount(const Workspace &ws);
// Title of page 1 to ReportPageCount.
const char *ReportPageTitle(int page);

// Box text of a failure; the failure's own text follows the five blanks. Lines break at "\r".
inline constexpr const char *kReportErrorLead = "There was an error:\r\r     ";

// "Velmara - Printing Page 1..." and so on: the preview window's caption while page n prints.
std::string PrintingCaption(int page);

// Reasons a page cannot be drawn, told on the page in place of its graphs.
inline constexpr const char *kNoSwathBelowThreeCards = "The swath analysis needs at least three cards.";
inline constexpr const char *kNoSizeStatisticsWithoutStains =
    "The drop size statistics need at least one stain.";
inline constexpr const char *kNoLineResultsWithoutStains = "The composite results need at least one stain.";
inline constexpr const char *kNoLineResultsAtOnePosition = "The composite results need cards at different positions.";
// Any other failure of a page: this lead and the failure's text, e.g. "Division by zero".
inline constexpr const char *kPageNotDrawnLead = "This page cannot be drawn: ";

struct ReportHooks
{
    // Printer only: page n (1 to ReportPageCount) starts; the caller shows PrintingCaption(n) and refreshes.
    std::function<void(int page)> PageStarted;
    // The failure box, with the whole text (kReportErrorLead and the failure).
    std::function<void(const std::string &message)> ShowMessage;
};

struct PageNote
{
    int Page = 0;
    std::string Reason;
};

struct ReportResult
{
    bool Ok = true;
    std::string Error;   // the failure's text, e.g. "Division by zero", "Type mismatch"
    std::string Message; // kReportErrorLead + Error; empty when Ok
    // Pages drawn as a note in place of their graphs, in page order.
    std::vector<PageNote> NotDrawn;
};

// The refresh the report needs before it is drawn, kept out of the drawing so that the pages
// only read: the line scales of page 3 and the overlap profiles of both swath sets for page 4,
// from the tables as they stand. A set whose profile cannot be built (no width) is left without
// one, and page 4 says so.
void PrepareReport(Workspace &ws);

// Draws the report on DestC from a workspace that PrepareReport has brought up to date. PageNum 0
// draws all pages (four, or five with the extended results) in order (the printer job), 1 to 4 that page alone (the preview, which is
// cleared first). On the printer every page after the first starts with NewPage, and the job
// ends with EndDoc. A page that cannot be drawn (too few cards, no stain, a sampling text that is
// not a number) shows its head, the empty frames of its graphs and one line saying why; the other
// pages are drawn as usual and the result lists the note pages. Only a failure outside the pages
// (the target cannot convert a length) ends the call at once: KillDoc on the printer,
// hooks.ShowMessage gets the box text, and the result says what failed.
// decimalSeparator: the user's locale separator in the desktop program, '.' elsewhere.
ReportResult PrintSub2(const Workspace &ws, ReportCanvas &DestC, bool DestCisPrinter, int PageNum,
                       const ReportHooks &hooks = {}, char decimalSeparator = '.');

// Sets the font size of the report: Size itself on the printer, Size times the canvas width in
// points over 612 in the preview; a resulting size of 7 or less takes "Small Fonts", a larger one
// "Arial". Bold is left as it is. Throws Failure when the canvas cannot convert to points.
void SetReportFont(ReportCanvas &DestC, bool DestCisPrinter, Single Size);

// The text broken at blanks into lines that each fit within width inches in the canvas's current
// font; a word wider than that is broken between characters. An empty text gives one empty line.
std::vector<std::string> WrapToWidth(const ReportCanvas &canvas, const std::string &text, double width);

} // namespace velmara
