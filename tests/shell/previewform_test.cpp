#include "shell/previewform.h"

#include "dialogs/settingsaccess.h"
#include "support/recordingreportcanvas.h"
#include "reports/reportpages.h"
#include "reports/sampleline.h"
#include "shell/commondialogs.h"
#include "shell/writecompositecommand.h"
#include "shelltest.h"
#include "support/scriptedchooser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

using namespace velmara;
using namespace velmara::testing;
using namespace velmara::shelltest;
using Op = RecordingReportCanvas::Op;

namespace {

// Printers offered by the test; every job is kept, with its calls, after the window dropped it.
class FakePrinters : public PrinterAccess
{
public:
    QStringList names;
    QString current;
    std::vector<QString> chosen;
    std::vector<std::unique_ptr<RecordingReportCanvas>> jobs;
    bool refuse = false;

    QStringList printerNames() override { return names; }
    QString defaultPrinterName() override { return current; }
    void setDefaultPrinter(const QString &name) override
    {
        current = name;
        chosen.push_back(name);
    }
    std::unique_ptr<PrintJob> startJob(std::string &error) override
    {
        if (refuse) {
            error = "Printer offline";
            return nullptr;
        }
        struct Borrowed : PrintJob
        {
            explicit Borrowed(RecordingReportCanvas &c) : mCanvas(c) {}
            ReportCanvas &canvas() override { return mCanvas; }
            RecordingReportCanvas &mCanvas;
        };
        jobs.push_back(std::make_unique<RecordingReportCanvas>());
        return std::make_unique<Borrowed>(*jobs.back());
    }
};

bool Blank(const QImage &image)
{
    QImage white(image.size(), image.format());
    white.fill(Qt::white);
    return image == white;
}

class PreviewFormTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        EnsureApp();
        MakeLine(ws, LineSpec{});
        printers.names = {"Office", "LASER", "laser", "Plotter"};
        printers.current = "Laser";
    }

    void clickTab(frmPreview2 &form, int index)
    {
        QTest::mouseClick(form.PreviewTabs, Qt::LeftButton, {}, form.PreviewTabs->tabRect(index).center());
    }

    Workspace ws;
    FakePrinters printers;
    std::vector<QString> messages;
};

} // namespace

TEST_F(PreviewFormTest, OpeningChoosesTheDefaultPrinterAndDrawsPageOneOnce)
{
    frmPreview2 form(ws, printers, 1024);
    EXPECT_EQ(form.cmbPrinters->itemText(4), kSaveAsPdfEntry);
    EXPECT_EQ(form.cmbPrinters->currentIndex(), 2) << "case ignored, the last match counts";
    EXPECT_EQ(printers.chosen, std::vector<QString>{"laser"});
    EXPECT_EQ(form.pagesDrawn(), std::vector<int>{1});
    EXPECT_FALSE(Blank(form.pageImage()));
    EXPECT_EQ(form.Picture1->size(), QSize(427, 552));
    EXPECT_EQ(frmPreview2(ws, printers, 600).Picture1->size(), QSize(363, 469));
}

TEST_F(PreviewFormTest, TabClicksRedrawOnlyWhenTheTabChangesAndEscapeKeepsThePrinter)
{
    frmPreview2 form(ws, printers, 1024);
    form.show();
    clickTab(form, 0);
    EXPECT_EQ(form.pagesDrawn(), (std::vector<int>{1, 1})) << "the field is still 0";
    clickTab(form, 0);
    clickTab(form, 2);
    EXPECT_EQ(form.pagesDrawn(), (std::vector<int>{1, 1, 3}));
    // A printer change while page 3 is on show redraws page 3 on the new printer.
    form.cmbPrinters->setCurrentIndex(3);
    EXPECT_EQ(form.pagesDrawn(), (std::vector<int>{1, 1, 3, 3}));
    EXPECT_EQ(printers.current, "Plotter");
    // Return and Enter print nothing, wherever the focus is; Escape closes without printing, and
    // the printer chosen stays.
    form.activateWindow();
    for (QWidget *focus : std::initializer_list<QWidget *>{form.cmbPrinters, &form}) {
        focus->setFocus();
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &form, key);
            QTest::qWait(20);
        }
    }
    EXPECT_TRUE(form.isVisible());
    QTest::keyClick(&form, Qt::Key_Escape);
    EXPECT_EQ(form.result(), QDialog::Rejected);
    EXPECT_TRUE(printers.jobs.empty());
    EXPECT_EQ(printers.current, "Plotter");
}

// The pages of the job are the report's own tests; here the window prints one job and closes,
// also for a line without a swath page, and tells a refused job.
TEST_F(PreviewFormTest, PrintSendsOneJobAndClosesAlsoForALineWithoutSwathPage)
{
    MakeLine(ws, LineSpec{2});
    frmPreview2 form(ws, printers, 1024);
    form.setMessageHook([&](const QString &m) { messages.push_back(m); });
    form.show();
    QTest::mouseClick(form.btnPrint, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    ASSERT_EQ(printers.jobs.size(), 1u);
    EXPECT_EQ(printers.jobs.back()->count(Op::EndDoc), 1);
    EXPECT_EQ(form.windowTitle(), "Velmara - Printing Page 4...");
    EXPECT_TRUE(messages.empty());

    printers.refuse = true;
    frmPreview2 refused(ws, printers, 1024);
    refused.setMessageHook([&](const QString &m) { messages.push_back(m); });
    refused.show();
    QTest::mouseClick(refused.btnPrint, Qt::LeftButton);
    EXPECT_FALSE(refused.isVisible());
    EXPECT_EQ(messages, std::vector<QString>{"There was an error:\n\n     Printer offline"});
}

// Opened from the main window on a machine without printers: the pages are drawn, the list
// offers "Save as PDF...", and Print writes the report to the file chosen.
TEST_F(WindowFixture, PreviewWithoutPrintersDrawsThePagesAndSavesAsPdf)
{
    openWindow(3);
    FakePrinters none;
    ScriptedChooser chooser;
    ResultsCommandHooks hooks;
    hooks.Printers = &none;
    hooks.SprayDialog = [] { return true; };
    QStringList seen;
    hooks.ShowPreview = [&](frmPreview2 &form) {
        form.setFileChooser(chooser);
        form.setMessageHook([&](const QString &m) { seen << m; });
        form.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&form));
        for (int i = 0; i < form.cmbPrinters->count(); ++i)
            seen << form.cmbPrinters->itemText(i);
        const QImage shown = form.grab().toImage();
        EXPECT_FALSE(Blank(shown.copy(form.Picture1->geometry().adjusted(1, 1, -1, -1))));
        // Cancel at the file name leaves the preview open; a name writes the four pages.
        QTest::mouseClick(form.btnPrint, Qt::LeftButton);
        EXPECT_TRUE(form.isVisible());
        chooser.answers.push_back({dir.filePath(QStringLiteral("line")), 1});
        QTest::mouseClick(form.btnPrint, Qt::LeftButton);
        EXPECT_FALSE(form.isVisible());
    };
    window->setResultsCommandHooks(hooks);
    loadCards(3);
    decodeAndScan({1, 2, 3});
    ws.Spray.Sample_Position1 = "-50";
    ws.Spray.Sample_Interval = "10";
    ctl<QCheckBox>("CompositeCheck")->click();
    QTest::mouseClick(ctl<QToolButton>("btnPrint"), Qt::LeftButton);

    EXPECT_EQ(seen, QStringList{QString::fromLatin1(kSaveAsPdfEntry)});
    ASSERT_EQ(chooser.requests.size(), 2u);
    EXPECT_EQ(chooser.requests[0].NameFilters, QStringList{QStringLiteral("PDF File (*.pdf)")});
    EXPECT_TRUE(ReadAll(dir.filePath(QStringLiteral("line.pdf"))).startsWith("%PDF"));
    EXPECT_TRUE(none.chosen.empty() && none.jobs.empty());
}

TEST_F(PreviewFormTest, PrintCommandOpensThePreviewOnlyAfterAccept)
{
    MemorySettings settings;
    for (const bool accept : {false, true}) {
        int shown = 0;
        PrintCommandHooks hooks;
        hooks.SprayDialog = [&] { return accept; };
        hooks.ShowPreview = [&](frmPreview2 &form) {
            ++shown;
            EXPECT_EQ(form.pagesDrawn(), std::vector<int>{1});
        };
        EXPECT_EQ(RunPrintCommand(nullptr, ws, settings, printers, 1024, '.', hooks), accept);
        EXPECT_EQ(shown, accept ? 1 : 0);
    }
}
