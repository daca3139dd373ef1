#include "views/pdfreport.h"

#include "reports/reportpages.h"
#include "reports/sampleline.h"
#include "support/testdir.h"
#include "views/qpainterreportcanvas.h"

#include <QGuiApplication>
#include <QHashSeed>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>

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

// Page count, paper size, the two-card note and a full disk are checked through velmara-cli;
// here the text as a reader of the file extracts it, symbols and quotes included.
TEST_F(PdfReportTest, PagesCarryTheTitlesAndTheCommentAsText)
{
    const std::string path = (dir / "line.pdf").string();
    std::string error;
    ASSERT_TRUE(WritePdfReport(ws, path, error)) << error;
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), {}), 1) << "no temporary file stays";
    EXPECT_LT(fs::file_size(path), 2u * 1024 * 1024);
    if (!HavePoppler())
        GTEST_SKIP() << "pdftotext not installed";
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

// The same input gives the same bytes apart from the date, however the process seeds its hashes.
TEST_F(PdfReportTest, SameInputSameBytes)
{
    auto masked = [&](int run) {
        QHashSeed::resetRandomGlobalSeed();
        const fs::path path = dir / ("run" + std::to_string(run) + ".pdf");
        std::string error;
        EXPECT_TRUE(WritePdfReport(ws, path.string(), error)) << error;
        return std::regex_replace(velmara::test::ReadBytes(path.string()), std::regex("\\(D:[0-9]+[^)]*\\)"), "(D:)");
    };
    const std::string first = masked(0);
    for (int run = 1; run < 8; ++run)
        ASSERT_EQ(masked(run), first) << run;
}

TEST_F(PdfReportTest, FailedWritesSayWhy)
{
    std::string error;
    EXPECT_FALSE(WriteWholeFile("/dev/full", std::string(100000, 'x'), error));
    EXPECT_EQ(error, "Cannot write \"/dev/full\": No space left on device");

    EXPECT_FALSE(WritePdfReport(ws, (dir / "missing" / "r.pdf").string(), error));
    EXPECT_NE(error.find("missing"), std::string::npos) << error;
}

TEST_F(PdfReportTest, PreviewPictureScalesTheFontsAndKeepsTheLayout)
{
    // A comment of the most characters the spray dialog takes must wrap inside the margin.
    ws.Spray.Comment = "Drift towards the creek after ten, wind 8 to 12 km/h from the west, "
                       "cards 4 to 9 wet at their edges.";
    PrepareReport(ws);
    QImage image(425, 550, QImage::Format_RGB32);
    QPainterReportCanvas canvas(image);
    for (int page = 1; page <= 4; ++page) {
        const ReportResult r = PrintSub2(ws, canvas, false, page);
        ASSERT_TRUE(r.Ok && r.NotDrawn.empty()) << page << r.Error;
        canvas.flush();
        // Something was drawn, and the margins of the sheet stay white: on page 1 all that lies
        // right of the graphs' edge at 7.5 inches.
        const int right = page == 1 ? 378 : 422;
        int dark = 0, marginInk = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                dark += qGray(image.pixel(x, y)) < 128;
                marginInk += (x == 2 || x >= right) && image.pixel(x, y) != qRgb(255, 255, 255);
            }
        }
        EXPECT_GT(dark, 500) << page;
        EXPECT_EQ(marginInk, 0) << page;
    }
}
