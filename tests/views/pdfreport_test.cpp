#include "views/pdfreport.h"

#include "reports/reportpages.h"
#include "reports/sampleline.h"
#include "views/qpainterreportcanvas.h"

#include <QDir>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include <sys/stat.h>

using namespace velmara;
using namespace velmara::testing;
namespace fs = std::filesystem;

namespace {

void EnsureGuiApp()
{
    if (QCoreApplication::instance())
        return;
    static int argc = 1;
    static char name[] = "test_views";
    static char *argv[] = {name, nullptr};
    new QGuiApplication(argc, argv);
}

std::string Capture(const std::string &command)
{
    std::string out;
    std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe)
        return out;
    std::array<char, 4096> buffer{};
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0)
        out.append(buffer.data(), n);
    return out;
}

bool HavePoppler() { return std::system("pdfinfo -v >/dev/null 2>&1") == 0; }

std::vector<std::string> Entries(const fs::path &dir)
{
    std::vector<std::string> out;
    for (const auto &e : fs::directory_iterator(dir))
        out.push_back(e.path().filename().string());
    return out;
}

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
    EXPECT_TRUE(error.empty());
    EXPECT_EQ(Entries(dir), std::vector<std::string>{"line.pdf"}) << "no temporary file stays";
    const auto size = fs::file_size(path);
    EXPECT_LT(size, 2u * 1024 * 1024);
    std::ifstream in(path, std::ios::binary);
    std::string magic(5, '\0');
    in.read(magic.data(), 5);
    EXPECT_EQ(magic, "%PDF-");

    if (!HavePoppler())
        GTEST_SKIP() << "pdfinfo not installed";
    const std::string info = Capture("pdfinfo '" + path + "'");
    std::istringstream lines(info);
    std::string line;
    int pages = 0;
    while (std::getline(lines, line))
        if (line.rfind("Pages:", 0) == 0)
            pages = std::stoi(line.substr(6));
    EXPECT_EQ(pages, 4) << info;
    EXPECT_NE(info.find("612 x 792 pts"), std::string::npos) << info;
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
    EXPECT_TRUE(Entries(dir).empty());

    // An older report of the same name goes too: it would pass for the report of this line.
    { std::ofstream(path) << "old"; }
    EXPECT_FALSE(WritePdfReport(ws, path.string(), error));
    EXPECT_TRUE(Entries(dir).empty());

    MakeLine(ws, LineSpec{});
    EXPECT_FALSE(WritePdfReport(ws, (dir / "missing" / "r.pdf").string(), error));
    EXPECT_NE(error.find("missing"), std::string::npos) << error;
}

TEST_F(PdfReportTest, PreviewPictureScalesTheFontsAndKeepsTheLayout)
{
    QImage image(425, 550, QImage::Format_RGB32);
    QPainterReportCanvas canvas(image);
    EXPECT_DOUBLE_EQ(canvas.pixelsPerInch(), 50);
    EXPECT_NEAR(canvas.ScaleX(8.5, ScaleUnit::Page, ScaleUnit::Points), 318.75, 1e-9);
    for (int page = 1; page <= 4; ++page) {
        const ReportResult r = PrintSub2(ws, canvas, false, page);
        ASSERT_TRUE(r.Ok) << page << r.Error;
        canvas.flush();
        // Something was drawn, and the margins of the sheet stay white.
        int dark = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                dark += qGray(image.pixel(x, y)) < 128;
        EXPECT_GT(dark, 500) << page;
        for (int y = 0; y < image.height(); ++y) {
            EXPECT_EQ(image.pixel(2, y), qRgb(255, 255, 255)) << page << " row " << y;
            EXPECT_EQ(image.pixel(422, y), qRgb(255, 255, 255)) << page << " row " << y;
        }
    }
    // The head is centred by its measured width, in a face narrow enough for the picture.
    SetReportFont(canvas, false, 18);
    canvas.Font.Bold = true;
    const double headline = canvas.TextWidth(kReportHeadline);
    EXPECT_GT(headline, 1.5);
    EXPECT_LT(headline, 3.5);
    SetReportFont(canvas, false, 10);
    EXPECT_EQ(canvas.Font.Name, "Small Fonts");
    EXPECT_GT(canvas.TextHeight(), 0.08);
    EXPECT_LT(canvas.TextHeight(), 0.25);

    // Without a printer the page cannot be set: the failure, and the picture stays blank.
    canvas.setPrinterAvailable(false);
    image.fill(Qt::black);
    const ReportResult none = PrintSub2(ws, canvas, false, 1);
    canvas.flush();
    EXPECT_EQ(none.Error, "Printer error");
    EXPECT_EQ(image.pixel(200, 20), qRgb(255, 255, 255));
}

// Renders the evidence of the layout when VELMARA_REPORT_EVIDENCE names a folder: the PDF and the
// four preview pages as pictures, to be looked at side by side.
TEST_F(PdfReportTest, EvidenceWhenAsked)
{
    const char *out = std::getenv("VELMARA_REPORT_EVIDENCE");
    if (!out)
        GTEST_SKIP() << "set VELMARA_REPORT_EVIDENCE to a folder to render the evidence";
    QDir().mkpath(QString::fromLocal8Bit(out));
    MakeLine(ws, LineSpec{12, 60, "-30", "5"});
    ws.Spray.AC_Swath = "24";
    std::string error;
    ASSERT_TRUE(WritePdfReport(ws, std::string(out) + "/report.pdf", error)) << error;
    QImage image(425, 550, QImage::Format_RGB32);
    QPainterReportCanvas canvas(image);
    for (int page = 1; page <= 4; ++page) {
        ASSERT_TRUE(PrintSub2(ws, canvas, false, page).Ok);
        canvas.flush();
        image.save(QString::fromLocal8Bit(out) + QStringLiteral("/preview-%1.png").arg(page));
    }
}
