#pragma once
// The print preview, "Velmara - Print": one page of the report at a time on a picture, the
// printer list, and the Print button that sends the whole report to the chosen printer as one
// job. The list always ends with "Save as PDF...", with which Print asks for a file name and
// writes the report there as the command line does. The printers come through PrinterAccess and
// the file name through FileChooser, so that tests can answer both.

#include "core/workspace.h"
#include "reports/reportcanvas.h"

#include <QDialog>
#include <QImage>
#include <QStringList>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QComboBox;
class QFrame;
class QLabel;
class QPushButton;
class QTabBar;

namespace velmara {

class FileChooser;
class QPainterReportCanvas;
class SettingsAccess;

inline constexpr const char *kSaveAsPdfEntry = "Save as PDF...";
inline constexpr const char *kSaveAsPdfTitle = "Save Report as PDF";
inline constexpr const char *kPdfFilter = "PDF File (*.pdf)|*.pdf";

// A print job under way: its canvas ends the job through EndDoc or KillDoc.
class PrintJob
{
public:
    virtual ~PrintJob() = default;
    virtual ReportCanvas &canvas() = 0;
};

// The system's printers and the program's default printer object, which keeps the printer
// chosen in the preview for the rest of the run.
class PrinterAccess
{
public:
    virtual ~PrinterAccess() = default;
    // DeviceName of each installed printer, in the system's order; empty when there is none.
    virtual QStringList printerNames() = 0;
    // Name of the current default printer object; empty when there is none.
    virtual QString defaultPrinterName() = 0;
    // Makes the named printer the default printer object.
    virtual void setDefaultPrinter(const QString &name) = 0;
    // Starts a job on the default printer. nullptr with error set when it cannot start.
    virtual std::unique_ptr<PrintJob> startJob(std::string &error) = 0;
};

// The printers of the system (QPrinterInfo); jobs go to a letter sheet through QPrinter.
class SystemPrinters : public PrinterAccess
{
public:
    QStringList printerNames() override;
    QString defaultPrinterName() override;
    void setDefaultPrinter(const QString &name) override;
    std::unique_ptr<PrintJob> startJob(std::string &error) override;

private:
    QString mChosen; // empty until the preview chose one: the system's default stands
};

// The picture of the preview: a one-pixel frame around the page image.
class PreviewPicture : public QWidget
{
public:
    PreviewPicture(int width, int height, QWidget *parent);
    QImage &image() { return mImage; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage mImage;
};

class frmPreview2 : public QDialog
{
public:
    // Lays itself out for a screen of screenHeight pixels, brings the report's line scales and
    // overlap profiles up to date, fills the printer list and draws page 1 through the printer
    // selection. ws and printers must outlive the window.
    frmPreview2(Workspace &ws, PrinterAccess &printers, int screenHeight, char decimalSeparator = '.',
                QWidget *parent = nullptr);
    ~frmPreview2() override;

    // Message boxes go through this; tests collect them instead.
    using MessageHook = std::function<void(const QString &text)>;
    void setMessageHook(MessageHook hook) { mMessageHook = std::move(hook); }
    // The save dialog of "Save as PDF..."; the system's own unless set. Must outlive the window.
    void setFileChooser(FileChooser &chooser) { mFiles = &chooser; }

    // The click handlers, as the controls run them.
    void cmbPrinters_Click();
    void PreviewTabs_Click(int tabIndex); // 1 to 4
    void btnPrint_Click();

    // Pages drawn on the picture, in order (each PrintSub2 call on it), for tests.
    const std::vector<int> &pagesDrawn() const { return mPagesDrawn; }
    const QImage &pageImage() const;

    QLabel *Label1 = nullptr;
    QComboBox *cmbPrinters = nullptr;
    QPushButton *btnPrint = nullptr;
    QTabBar *PreviewTabs = nullptr;
    PreviewPicture *Picture1 = nullptr;

private:
    void layOut(int pictureWidth, int pictureHeight);
    void fillPrinters();
    void drawPage(int page);
    void clearPicture();
    void showMessage(const std::string &text);
    bool pdfChosen() const;
    void saveAsPdf();

    Workspace &mWs;
    PrinterAccess &mPrinters;
    char mSeparator;
    QFrame *mTabBody = nullptr;
    std::unique_ptr<QPainterReportCanvas> mCanvas;
    int mTabField = 0; // the tab last drawn through the tab strip
    bool mLoading = true;
    std::vector<int> mPagesDrawn;
    MessageHook mMessageHook;
    FileChooser *mFiles = nullptr;
};

struct PrintCommandHooks
{
    // The spray information dialog; true on Accept. Default: ShowSprayInfoForm.
    std::function<bool()> SprayDialog;
    // Shows the preview modally. Default: exec().
    std::function<void(frmPreview2 &)> ShowPreview;
};

// The report command of the composite view (btnPrint): the spray information dialog, a repaint
// of parent, then the preview, only when the dialog was accepted. Returns whether the preview
// was shown.
bool RunPrintCommand(QWidget *parent, Workspace &ws, SettingsAccess &settings, PrinterAccess &printers,
                     int screenHeight, char decimalSeparator = '.', const PrintCommandHooks &hooks = {});

} // namespace velmara
