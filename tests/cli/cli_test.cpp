// velmara-cli as a user runs it: exit codes, stdout, stderr and the files it leaves.

#include "cardgen/cardgen.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace fs = std::filesystem;
using namespace velmara::cardgen;

namespace {

struct CliRun
{
    int status = -1;
    std::string out;
    std::string err;
};

CliRun runCli(const std::string &args, const fs::path &dir)
{
    const fs::path errFile = dir / "stderr.txt";
    const std::string cmd = std::string(VELMARA_CLI) + " " + args + " 2>" + errFile.string();
    CliRun r;
    FILE *p = popen(cmd.c_str(), "r");
    std::array<char, 4096> buf;
    size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0)
        r.out.append(buf.data(), n);
    const int raw = pclose(p);
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    std::ifstream e(errFile, std::ios::binary);
    std::stringstream ss;
    ss << e.rdbuf();
    r.err = ss.str();
    return r;
}

std::string readFile(const fs::path &p)
{
    std::ifstream f(p, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

class CliTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        dir = fs::temp_directory_path()
            / ("velmara-cli-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(dir);
        fs::create_directories(dir);
        settings = dir / "settings.ini";
        std::ofstream(settings) << "";
    }
    void TearDown() override { fs::remove_all(dir); }

    // A card with n red stains of radius 4 on white, background at index 0.
    fs::path card(const std::string &name, int stains, double bigRadius = 4.0)
    {
        CardSpec spec;
        spec.width = 203; // not a multiple of 4
        spec.height = 150;
        spec.colours = {{1, Rgb{220, 20, 30}}};
        for (int i = 0; i < stains; ++i)
            spec.discs.push_back(Disc{12.0 + 18.0 * (i % 10), 12.0 + 18.0 * (i / 10), i % 2 ? bigRadius : 4.0, 1});
        const fs::path p = dir / name;
        EXPECT_TRUE(WriteBmp(MakeCard(spec), p.string()));
        return p;
    }

    std::string base() const { return "--settings " + settings.string() + " --dpi 600 "; }

    fs::path dir;
    fs::path settings;
};

} // namespace

TEST_F(CliTest, UsageErrorsExitTwoWithOneLine)
{
    for (const char *args : {"", "frobnicate x.bmp", "scan", "scan --hue 9:3 a.bmp", "scan --dither maybe a.bmp",
                             "scan --out r.txt a.bmp", "line --format pdf a.bmp", "scan --dpi 0 a.bmp"}) {
        const CliRun r = runCli(args, dir);
        EXPECT_EQ(r.status, 2) << args;
        EXPECT_TRUE(r.out.empty()) << args;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << args << ": " << r.err;
    }
    const CliRun help = runCli("--help", dir);
    EXPECT_EQ(help.status, 0);
    for (const char *opt : {"--settings", "--dpi", "--hue", "--invert-hue", "--background", "--dither", "--no-log",
                            "--json", "--position1", "--interval", "--range", "--out", "--format", "--template"})
        EXPECT_NE(help.out.find(opt), std::string::npos) << opt;
}

TEST_F(CliTest, ScanRefusesBadFilesAndAnalysesTheRestInNameOrder)
{
    const fs::path b = card("b.bmp", 5);
    const fs::path a = card("a.bmp", 12);
    std::ofstream(dir / "notes.txt") << "not a card";
    const CliRun r = runCli("scan --json " + base() + b.string() + " " + (dir / "notes.txt").string() + " "
                             + (dir / "gone.bmp").string() + " " + a.string(),
                         dir);
    EXPECT_EQ(r.status, 0) << r.err;
    // Refusals name the file with the program's own text; stdout holds only the JSON object.
    EXPECT_NE(r.err.find("'notes.txt' is an unsupported file type."), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("gone.bmp"), std::string::npos);
    ASSERT_FALSE(r.out.empty());
    EXPECT_EQ(r.out.front(), '{');
    EXPECT_LT(r.out.find("\"FileName\":\"a.bmp\""), r.out.find("\"FileName\":\"b.bmp\""));
    EXPECT_NE(r.out.find("\"StainCount\":12"), std::string::npos);
    EXPECT_NE(r.out.find("\"StainCount\":5"), std::string::npos);
    EXPECT_NE(r.out.find("\"Refused\":[{\"FileName\":\"notes.txt\""), std::string::npos);
    // The scan logs stand beside the images, in Windows-1252 with CR LF.
    const std::string log = readFile(dir / "a.scn");
    EXPECT_NE(log.find("File: a.bmp\r\n"), std::string::npos);
    EXPECT_EQ(log.find("µ"), std::string::npos); // UTF-8 µ must not leak into the file
    EXPECT_NE(log.find('\xB5'), std::string::npos);
}

TEST_F(CliTest, NoLogWritesNoScanLogAndNothingAnalysableFails)
{
    const fs::path a = card("a.bmp", 3);
    CliRun r = runCli("scan --no-log " + base() + a.string(), dir);
    EXPECT_EQ(r.status, 0);
    EXPECT_FALSE(fs::exists(dir / "a.scn"));
    EXPECT_NE(r.out.find("a.bmp"), std::string::npos);

    std::ofstream(dir / "x.gif") << "GIF87a but not really";
    r = runCli("scan " + base() + (dir / "x.gif").string(), dir);
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("no card could be analysed"), std::string::npos);
}

TEST_F(CliTest, LineNeedsTwoCardsAndDistinctPositions)
{
    const fs::path a = card("a.bmp", 6);
    CliRun r = runCli("line " + base() + a.string(), dir);
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("at least two"), std::string::npos) << r.err;

    const fs::path b = card("b.bmp", 9);
    r = runCli("line --interval 0 --out " + (dir / "r.txt").string() + " " + base() + a.string() + " " + b.string(),
               dir);
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("There are two or more cards with the same position."), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(dir / "r.txt"));

    r = runCli("line --interval abc " + base() + a.string() + " " + b.string(), dir);
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("Type mismatch"), std::string::npos) << r.err;
}

TEST_F(CliTest, LineWritesResultsFileAndSizeRangeRecords)
{
    const fs::path a = card("a.bmp", 6);
    const fs::path b = card("b.bmp", 9);
    const fs::path c = card("c.bmp", 14);
    const fs::path out = dir / "line.csv";
    const CliRun r = runCli("line --json --format csv --range 1:100000 --position1 -45 --interval 2.5 --out "
                             + out.string() + " " + base() + c.string() + " " + a.string() + " " + b.string(),
                         dir);
    EXPECT_EQ(r.status, 0) << r.err;
    ASSERT_TRUE(fs::exists(out));
    const std::string results = readFile(out);
    EXPECT_NE(results.find("\r\n"), std::string::npos);
    EXPECT_NE(r.out.find("\"Sample_Position1\":\"-45\""), std::string::npos);
    EXPECT_NE(r.out.find("\"Position\":-42.5"), std::string::npos) << r.out.substr(0, 400);
    EXPECT_NE(r.out.find("\"SwathSets\":[{\"First\":-18"), std::string::npos);
    EXPECT_NE(r.out.find("\"ResultsFile\":{\"Path\":\"" + out.string() + "\",\"Format\":\"csv\"}"), std::string::npos);
    // One whole-table range: all stains of radius 4 have one size, so 1..100000 cuts nothing
    // off and no size-range record is due.
    EXPECT_NE(r.out.find("\"RangeSelected\":false"), std::string::npos);
    EXPECT_NE(r.out.find("\"LogsAppended\":[]"), std::string::npos);
}

TEST_F(CliTest, SelectedRangeAppendsSizeRangeRecordsToEachScannedLog)
{
    // Stains of radius 4 and 7: a range from 200 µm keeps only the large drops.
    const fs::path a = card("a.bmp", 6, 7.0);
    const fs::path b = card("b.bmp", 9, 7.0);
    const CliRun r = runCli("line --range 200:5000 --out " + (dir / "r.txt").string() + " " + base() + a.string()
                                + " " + b.string(),
                            dir);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("Size range: 200.0 to 5000.0"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Size-range records: 2 scan logs"), std::string::npos) << r.out;
    for (const char *name : {"a.scn", "b.scn"})
        EXPECT_NE(readFile(dir / name).find("Droplet Size Range:"), std::string::npos) << name;
}

TEST_F(CliTest, ReportIsFourLetterPagesAndTwoCardsLeaveNoPdf)
{
    if (runCli("--help", dir).out.find("--report") == std::string::npos)
        GTEST_SKIP() << "built without the PDF report";
    const fs::path a = card("a.bmp", 6, 7.0);
    const fs::path b = card("b.bmp", 9, 7.0);
    const fs::path c = card("c.bmp", 14, 7.0);
    const fs::path pdf = dir / "report.pdf";
    CliRun r = runCli("line --report " + pdf.string() + " --out " + (dir / "r.txt").string() + " " + base()
                          + a.string() + " " + b.string() + " " + c.string(),
                      dir);
    ASSERT_EQ(r.status, 0) << r.err;
    FILE *p = popen(("pdfinfo " + pdf.string() + " 2>/dev/null").c_str(), "r");
    std::string text;
    std::array<char, 1024> buf;
    size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0)
        text.append(buf.data(), n);
    pclose(p);
    EXPECT_NE(text.find("Pages:           4"), std::string::npos) << text;
    EXPECT_NE(text.find("612 x 792"), std::string::npos) << text;

    // Two cards: the swath page cannot be drawn, so the whole job is lost; the results file stays.
    const fs::path pdf2 = dir / "two.pdf";
    r = runCli("line --report " + pdf2.string() + " --out " + (dir / "r2.txt").string() + " " + base() + a.string()
                   + " " + b.string(),
               dir);
    EXPECT_NE(r.status, 0);
    EXPECT_FALSE(fs::exists(pdf2));
    EXPECT_TRUE(fs::exists(dir / "r2.txt"));
    EXPECT_NE(r.err.find("There was an error:"), std::string::npos) << r.err;
    for (const auto &entry : fs::directory_iterator(dir))
        EXPECT_FALSE(entry.path().extension() == ".pdf" && entry.path() != pdf) << "left behind: " << entry.path();
}
