#pragma once
// The results-file command of the composite view, in the order the user meets it: the save
// dialog, the spray record, the question on cards not yet scanned, the sampling line when it is
// missing, then the file and the size-range records of the scan logs. The window's dialogs and
// its scan passes come through WriteCompositeHost, so that the order can be run without them.

#include "reports/resultsfile.h"

#include <QString>

#include <functional>
#include <vector>

class QWidget;

namespace velmara {

class FileChooser;
class PrinterAccess;
class frmPreview2;

inline constexpr const char *kSaveResultsTitle = "Save Analysis Results";
inline constexpr const char *kResultsFilter =
    "Text File (*.txt)|*.txt|Comma-Separated Values File (*.csv)|*.csv";

class WriteCompositeHost
{
public:
    virtual ~WriteCompositeHost() = default;
    // Owner of the dialogs.
    virtual QWidget *owner() = 0;
    virtual FileChooser &files() = 0;
    // The spray information dialog; true on Accept.
    virtual bool sprayDialog() = 0;
    // A Yes/No box titled "Velmara"; lines end in '\r'. True for Yes.
    virtual bool askYesNo(const QString &text) = 0;
    // Decodes (where needed) and scans the cards in turn; the view on show stays. A cancel stops
    // the passes quietly.
    virtual void scanCards(const std::vector<int> &cards) = 0;
    // The statistics changed under the composite view: redraw what is on show.
    virtual void refreshView() = 0;
    // The card position dialog, Cancel allowed; true on Accept.
    virtual bool cardPositions() = 0;
    // The failure box, with a warning icon; lines end in '\r'.
    virtual void showWarning(const QString &text) = 0;
};

struct WriteCompositeOutcome
{
    enum class Status { Cancelled, Written, Failed };
    Status status = Status::Cancelled;
    QString path;                          // the name chosen; empty when the dialog was cancelled
    ResultsFormat format = ResultsFormat::Text;
    std::vector<int> scanned;              // the cards the user agreed to scan
    QString message;                       // the failure box shown; empty otherwise
};

// What the main window's two file commands (results file, report) use in place of its own
// dialogs when set; tests answer them this way.
struct ResultsCommandHooks
{
    FileChooser *Files = nullptr;                  // default: the system's save dialog
    std::function<bool()> SprayDialog;             // default: the spray information dialog
    std::function<bool(const QString &)> AskYesNo; // default: a Yes/No box
    std::function<bool()> CardPositions;           // default: the card position dialog
    PrinterAccess *Printers = nullptr;             // default: the window's SystemPrinters
    std::function<void(frmPreview2 &)> ShowPreview; // default: modal
};

// The cards not Scanned, in list order.
std::vector<int> UnscannedCards(const Workspace &ws);

// The question on those cards, singular for one card, the list of names for several.
QString UnscannedCardsQuestion(const Workspace &ws, const std::vector<int> &cards);

// Runs the command. Nothing is written when a dialog is cancelled (the save dialog, the spray
// dialog, or the card position dialog that a missing sampling line brings up). After cards were
// scanned at the question, the composites, LineStats and the swath tables (widths kept) are
// brought up to date and the view redrawn before the file is written. A failure shows the box
// "There was an error writing the data file.", a blank line, "Error: " and its text; the part
// of the file already written stays.
WriteCompositeOutcome RunWriteComposite(Workspace &ws, WriteCompositeHost &host, char decimalSeparator = '.');

} // namespace velmara
