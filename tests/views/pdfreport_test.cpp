#include "views/pdfreport.h"

#include "reports/reportpages.h"
#include "reports/sampleline.h"
#include "views/qpainterreportcanvas.h"

#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>

using namespace velmara;
using namespace velmara::testing;
namespace fs = std::filesystem;

namespace {

void EnsureGuiApp()
{
    static int argc = 1;
    static char name[] = "test_views";
    static char *argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QGuiApplication(argc, argv);
}

std::string Capture(const std::string &command)
{
    std::string out;
    FILE *pipe = popen(command.c_str(), "r");
    for (int ch; pipe && (ch = fgetc(pipe)) != EOF;)
        out += static_cast<char>(ch);
    if (pipe)
        pclose(pipe);
    return out;
}

bool HavePoppler() { return std::system("pdfinfo -v >/dev/null 2>&1") == 0; }

class PdfReportTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        EnsureGuiApp();
        ASSERT_TRUE(mDir.isValid());
        dir = mDir.path().toStdString();
        MakeLine(ws, LineSpec{});
        ws.Spray.AC_Swath = "30";
        ws.Spray.Comment = "Wind 5 km/h, \"gusty\", 2 µm² drift";
    }
    QTemporaryDir mDir;
    fs::path dir;
    Workspace ws;
};

} // namespace

TEST_F(PdfReportTest, FourLetterPagesWithTheTitles)
{
    const std::string path = (dir / "line.pdf").string();
    std::string error;
    ASSERT_TRUE(WritePdfReport(ws, path, error)) << error;
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), {}), 1) << "no temporary file stays";
    EXPECT_LT(fs::file_size(path), 2u * 1024 * 1024);
    if (!HavePoppler())
        GTEST_SKIP() << "pdfinfo not installed";
    const std::string info = Capture("pdfinfo '" + path + "'");
    const size_t pages = info.find("Pages:");
    ASSERT_NE(pages, std::string::npos) << info;
    EXPECT_EQ(std::stoi(info.substr(pages + 6)), 4) << info;
    EXPECT_NE(info.find("612 x 792 pts"), std::string::npos) << info; // Letter
    const std::string text = Capture("pdftotext -layout '" + path + "' -");
    for (const char *expected : {"Orvinek Velmara", "Analysis Parameters", "Drop Size Statistics",
                                 "Composite Results", "Swath Analysis", "Drop Size (µm)",
                                 "(#/cm²)", "\"gusty\", 2 µm² drift"})
        EXPECT_NE(text.find(expected), std::string::npos) << expected;
}

// The report is made under a temporary name that only its owner may read; the finished file
// must not keep that mode, or others could not open a report written for them.
TEST_F(PdfReportTest, FinishedFileTakesTheModeOfANewFileOrOfTheOneItReplaces)
{
    const mode_t oldMask = ::umask(022);
    const fs::path path = dir / "line.pdf";
    std::string error;
    ASSERT_TRUE(WritePdfReport(ws, path.string(), error)) << error;
    const fs::perms rw = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read
                         | fs::perms::others_read;
    EXPECT_EQ(fs::status(path).permissions(), rw);

    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read
                              | fs::perms::group_write);
    ASSERT_TRUE(WritePdfReport(ws, path.string(), error)) << error;
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write
                                                  | fs::perms::group_read | fs::perms::group_write);
    ::umask(oldMask);
}

TEST_F(PdfReportTest, FailedJobLeavesNothingAndSaysWhy)
{
    MakeLine(ws, LineSpec{2});
    const fs::path path = dir / "two.pdf";
    std::string error;
    EXPECT_FALSE(WritePdfReport(ws, path.string(), error));
    EXPECT_EQ(error, "There was an error:\n\n     Division by zero");
    EXPECT_TRUE(fs::is_empty(dir));

    // An older report of the same name goes too: it would pass for the report of this line.
    { std::ofstream(path) << "old"; }
    EXPECT_FALSE(WritePdfReport(ws, path.string(), error));
    EXPECT_TRUE(fs::is_empty(dir));

    MakeLine(ws, LineSpec{});
    EXPECT_FALSE(WritePdfReport(ws, (dir / "missing" / "r.pdf").string(), error));
    EXPECT_NE(error.find("missing"), std::string::npos) << error;
}

TEST_F(PdfReportTest, PreviewPictureScalesTheFontsAndKeepsTheLayout)
{
    QImage image(425, 550, QImage::Format_RGB32);
    QPainterReportCanvas canvas(image);
    for (int page = 1; page <= 4; ++page) {
        const ReportResult r = PrintSub2(ws, canvas, false, page);
        ASSERT_TRUE(r.Ok) << page << r.Error;
        canvas.flush();
        // Something was drawn, and the margins of the sheet stay white.
        int dark = 0, marginInk = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                dark += qGray(image.pixel(x, y)) < 128;
            marginInk += image.pixel(2, y) != qRgb(255, 255, 255) || image.pixel(422, y) != qRgb(255, 255, 255);
        }
        EXPECT_GT(dark, 500) << page;
        EXPECT_EQ(marginInk, 0) << page;
    }
    // Without a printer the page cannot be set: the failure, and the picture stays blank.
    canvas.setPrinterAvailable(false);
    image.fill(Qt::black);
    const ReportResult none = PrintSub2(ws, canvas, false, 1);
    canvas.flush();
    EXPECT_EQ(none.Error, "Printer error");
    EXPECT_EQ(image.pixel(200, 20), qRgb(255, 255, 255));
}
