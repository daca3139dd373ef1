#include "shell/previewform.h"

#include "dialogs/settingsaccess.h"
#include "reports/recordingreportcanvas.h"
#include "reports/sampleline.h"
#include "shelltest.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>

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
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != qRgb(255, 255, 255))
                return false;
    return true;
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
    ASSERT_EQ(form.cmbPrinters->count(), 4);
    EXPECT_EQ(form.cmbPrinters->currentIndex(), 2) << "case ignored, the last match counts";
    EXPECT_EQ(printers.chosen, std::vector<QString>{"laser"});
    EXPECT_EQ(form.pagesDrawn(), std::vector<int>{1});
    EXPECT_FALSE(Blank(form.pageImage()));
    EXPECT_EQ(form.Picture1->size(), QSize(427, 552));
    EXPECT_EQ(form.pageImage().size(), QSize(425, 550));

    frmPreview2 small(ws, printers, 600);
    EXPECT_EQ(small.Picture1->size(), QSize(363, 469));
}

TEST_F(PreviewFormTest, TabClicksRedrawOnlyWhenTheTabChangesAndEscapeKeepsThePrinter)
{
    frmPreview2 form(ws, printers, 1024);
    form.show();
    clickTab(form, 0);
    EXPECT_EQ(form.pagesDrawn(), (std::vector<int>{1, 1})) << "the field is still 0";
    clickTab(form, 0);
    EXPECT_EQ(form.pagesDrawn(), (std::vector<int>{1, 1}));
    clickTab(form, 2);
    EXPECT_EQ(form.pagesDrawn(), (std::vector<int>{1, 1, 3}));
    // A printer change while page 3 is on show redraws page 3 on the new printer.
    form.cmbPrinters->setCurrentIndex(3);
    EXPECT_EQ(form.pagesDrawn(), (std::vector<int>{1, 1, 3, 3}));
    EXPECT_EQ(printers.current, "Plotter");
    // Escape closes without printing; the printer chosen stays.
    QTest::keyClick(&form, Qt::Key_Escape);
    EXPECT_EQ(form.result(), QDialog::Rejected);
    EXPECT_TRUE(printers.jobs.empty());
    EXPECT_EQ(printers.current, "Plotter");
}

TEST_F(PreviewFormTest, PrintSendsOneJobAndCloses)
{
    frmPreview2 form(ws, printers, 1024);
    form.show();
    QTest::mouseClick(form.btnPrint, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    ASSERT_EQ(printers.jobs.size(), 1u);
    const RecordingReportCanvas &job = *printers.jobs.back();
    EXPECT_EQ(job.count(Op::NewPage), 3);
    EXPECT_EQ(job.count(Op::EndDoc), 1);
    EXPECT_EQ(form.windowTitle(), "Velmara - Printing Page 4...");
}

TEST_F(PreviewFormTest, FailingJobIsReportedAndTheWindowClosesAllTheSame)
{
    MakeLine(ws, LineSpec{2});
    frmPreview2 form(ws, printers, 1024);
    form.setMessageHook([&](const QString &m) { messages.push_back(m); });
    form.show();
    QTest::mouseClick(form.btnPrint, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(printers.jobs.back()->count(Op::KillDoc), 1);
    EXPECT_EQ(printers.jobs.back()->count(Op::EndDoc), 0);
    EXPECT_EQ(messages, std::vector<QString>{"There was an error:\n\n     Division by zero"});

    printers.refuse = true;
    messages.clear();
    frmPreview2 refused(ws, printers, 1024);
    refused.setMessageHook([&](const QString &m) { messages.push_back(m); });
    refused.show();
    QTest::mouseClick(refused.btnPrint, Qt::LeftButton);
    EXPECT_FALSE(refused.isVisible());
    EXPECT_EQ(messages, std::vector<QString>{"There was an error:\n\n     Printer offline"});
}

TEST_F(PreviewFormTest, WithoutPrintersThePictureStaysBlankUntilATabFails)
{
    printers.names.clear();
    printers.current.clear();
    frmPreview2 form(ws, printers, 1024);
    form.setMessageHook([&](const QString &m) { messages.push_back(m); });
    form.show();
    EXPECT_EQ(form.cmbPrinters->count(), 0);
    EXPECT_TRUE(form.pagesDrawn().empty());
    EXPECT_TRUE(Blank(form.pageImage()));
    clickTab(form, 1);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_TRUE(messages[0].startsWith("There was an error:\n\n     ")) << messages[0].toStdString();
    EXPECT_TRUE(Blank(form.pageImage()));
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
