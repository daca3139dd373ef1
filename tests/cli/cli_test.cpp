// velmara-cli as a user runs it: exit codes, stdout, stderr and the files it leaves.

#include "cardgen/cardgen.h"
#include "support/testdir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using namespace velmara::cardgen;
using velmara::test::ReadBytes;

namespace {

struct CliRun
{
    int status = -1;
    std::string out;
    std::string err;
};

size_t count(const std::string &text, const std::string &what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

// Runs a shell command; its stdout, and its exit status when status is given.
std::string capture(const std::string &cmd, int *status = nullptr)
{
    std::string out;
    FILE *p = popen(cmd.c_str(), "r");
    std::array<char, 4096> buf;
    for (size_t n; (n = fread(buf.data(), 1, buf.size(), p)) > 0;)
        out.append(buf.data(), n);
    const int raw = pclose(p);
    if (status)
        *status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return out;
}

CliRun runCli(const std::string &args, const fs::path &dir)
{
    CliRun r;
    // A run that waits for ever fails the test instead of hanging it (status 124).
    r.out = capture("timeout 60 " + std::string(VELMARA_CLI) + " " + args + " 2>" + (dir / "stderr.txt").string(),
                    &r.status);
    r.err = ReadBytes(dir / "stderr.txt");
    return r;
}

class CliTest : public ::testing::Test
{
protected:
    void SetUp() override { std::ofstream(settings) << "[Prefs]\n"; }

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
    bool withReport() { return runCli("--help", dir).out.find("--report") != std::string::npos; }

    velmara::test::TestDir scratch;
    const fs::path dir = scratch.dir();
    const fs::path settings = dir / "settings.ini";
};

} // namespace

TEST_F(CliTest, UsageErrorsExitTwoWithOneLine)
{
    for (const char *args : {"", "frobnicate x.bmp", "scan", "scan --hue 9:3 a.bmp", "scan --dither maybe a.bmp",
                             "scan --out r.txt a.bmp", "line --format pdf a.bmp", "scan --dpi 0 a.bmp",
                             "scan --cells 1,,2 a.bmp", "scan --offset=1 a.bmp", "scan a.bmp --dpi",
                             "scan --bogus=1 a.bmp", "clip a.bmp", "line --range 5:1 a.bmp", "line --range nan:1 a.bmp",
                             "clip --offset 1e9991:0.2 a.bmp", "scan --jobs 0 a.bmp", "scan --from-json a.json",
                             "line --from-json --recursive a.json",
                             "line --cov-limit 0.5 a.bmp",
                             "line --cov-limit 101 a.bmp", "line --cov-limit many a.bmp", "scan --cov-limit 25 a.bmp"}) {
        const CliRun r = runCli(args, dir);
        EXPECT_EQ(r.status, 2) << args;
        EXPECT_TRUE(r.out.empty()) << args;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << args << ": " << r.err;
    }
    const CliRun help = runCli("--help", dir);
    EXPECT_EQ(help.status, 0);
    for (const char *opt : {"--settings", "--dpi", "--hue", "--invert-hue", "--background", "--dither", "--no-log",
                            "--json", "--position1", "--interval", "--range", "--out", "--format", "--template",
                            "--jobs", "--recursive", "--summary", "--from-json",
                            "--cov-limit"})
        EXPECT_NE(help.out.find(opt), std::string::npos) << opt;
}

// Each bad file is told by name in one line of the program's own text, the rest analysed in name
// order; stdout holds only the JSON object.
TEST_F(CliTest, ScanRefusesBadFilesAnalysesTheRestInNameOrderAndFailsWithNothingAnalysable)
{
    const fs::path b = card("b.bmp", 5);
    const fs::path a = card("a.bmp", 12);
    std::ofstream(dir / "notes.txt") << "not a card";
    fs::create_directory(dir / "folder.bmp");
    ASSERT_EQ(::mkfifo((dir / "pipe.tif").c_str(), 0600), 0);
    ASSERT_TRUE(WriteGif(MakeCard(CardSpec{}), (dir / "cut.gif").string()));
    fs::resize_file(dir / "cut.gif", fs::file_size(dir / "cut.gif") / 2);
    const std::pair<std::string, std::string> cases[] = {
        {"notes.txt", "'notes.txt' is an unsupported file type."},
        {"gone.bmp", "gone.bmp"},
        {"./a.bmp", "'a.bmp' has already been opened."},
        {"folder.bmp", "folder.bmp: the folder holds no cards"},
        {"pipe.tif", "'pipe.tif' is not a regular file."},
        {"cut.gif", "cut.gif: The GIF file is truncated or damaged"},
    };
    std::string files = " " + b.string() + " " + a.string();
    for (const auto &[file, message] : cases)
        files += " " + (dir / file).string();
    CliRun r = runCli("scan --json " + base() + files, dir);
    EXPECT_EQ(r.status, 0) << r.err;
    for (const auto &[file, message] : cases)
        EXPECT_NE(r.err.find(message), std::string::npos) << file << ":\n" << r.err;
    EXPECT_EQ(count(r.err, "\n"), std::size(cases)) << "one line each:\n" << r.err;
    ASSERT_FALSE(r.out.empty());
    EXPECT_EQ(r.out.front(), '{');
    EXPECT_LT(r.out.find("\"FileName\":\"a.bmp\""), r.out.find("\"FileName\":\"b.bmp\""));
    EXPECT_EQ(count(r.out, "\"FileName\":\"a.bmp\",\"FullPath\""), 1u) << "the card counts once";
    EXPECT_NE(r.out.find("\"StainCount\":12"), std::string::npos);
    EXPECT_NE(r.out.find("{\"FileName\":\"notes.txt\"", r.out.find("\"Refused\":[")), std::string::npos);
    EXPECT_TRUE(fs::exists(dir / "a.scn")) << "the scan log stands beside the image";

    fs::remove(dir / "a.scn");
    r = runCli("scan --no-log " + base() + a.string(), dir);
    EXPECT_EQ(r.status, 0);
    EXPECT_FALSE(fs::exists(dir / "a.scn"));
    EXPECT_NE(r.out.find("a.bmp"), std::string::npos);

    std::ofstream(dir / "x.gif") << "GIF87a but not really";
    r = runCli("scan " + base() + (dir / "x.gif").string(), dir);
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("no card could be analysed"), std::string::npos);
}

// Three pairs of overlapping drops and two lone ones: with --split-overlaps each pair counts as two
// stains, and the log and the JSON say how many were split; without it both keep their old form.
TEST_F(CliTest, SplitOverlapsCountsEveryDropAndSaysSo)
{
    CardSpec spec;
    spec.width = 160;
    spec.height = 60;
    spec.colours = {{1, Rgb{220, 20, 30}}};
    for (int i = 0; i < 3; ++i) {
        spec.discs.push_back(Disc{15.0 + 45 * i, 18, 7, 1});
        spec.discs.push_back(Disc{26.0 + 45 * i, 20, 7, 1});
    }
    spec.discs.push_back(Disc{30, 48, 5, 1});
    spec.discs.push_back(Disc{90, 48, 5, 1});
    const fs::path p = dir / "pairs.bmp";
    ASSERT_TRUE(WriteBmp(MakeCard(spec), p.string()));
    struct Row
    {
        const char *flag;
        const char *stains, *split, *logLine; // nullptr: must not appear
    };
    const Row rows[] = {
        {"--split-overlaps ", "\"StainCount\":8", "\"SplitStains\":3,\"SplitParts\":6", "3 stains into 6 parts\r\n"},
        {"", "\"StainCount\":5", nullptr, nullptr},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.flag);
        const CliRun r = runCli("scan --json " + std::string(row.flag) + base() + p.string(), dir);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.out.find(row.stains), std::string::npos) << r.out;
        const std::string log = ReadBytes(dir / "pairs.scn");
        if (row.split) {
            EXPECT_NE(r.out.find(row.split), std::string::npos) << r.out;
            EXPECT_NE(log.find("Overlaps Split:"), std::string::npos);
            EXPECT_NE(log.find(row.logLine), std::string::npos) << log;
        } else {
            EXPECT_EQ(r.out.find("SplitStains"), std::string::npos);
            EXPECT_EQ(log.find("Overlaps Split"), std::string::npos);
        }
    }
}

// A settings file named for the run must be one; the user's own file is read as far as it can be.
TEST_F(CliTest, SettingsFileThatIsNotOneIsRefusedButTheOwnFileIsReadAsFarAsItCanBe)
{
    const fs::path a = card("a.bmp", 6);
    static const char binary[] = "[Prefs]\nDefaultRes=600\n\0\x7f";
    // Every reason is the store's own text (tests/settings); here, how the command line tells it.
    const fs::path bad = dir / "bad.ini";
    std::ofstream(bad, std::ios::binary) << std::string(binary, sizeof binary - 1);
    for (const auto &[file, reason] : {std::pair{bad, ": line 3 holds binary data"}, {dir, ": it is a folder"}}) {
        const CliRun r = runCli("scan --settings " + file.string() + " " + a.string(), dir);
        EXPECT_EQ(r.status, 2) << reason;
        EXPECT_EQ(r.err.rfind("velmara-cli: cannot read the settings file " + file.string() + reason, 0), 0u) << r.err;
        EXPECT_TRUE(r.out.empty() && count(r.err, "\n") == 1) << r.err;
    }

    // The own file (no --settings): the readable lines count, the skipped one is told once.
    std::ofstream(bad, std::ios::binary) << "[Prefs]\nstray\nDefaultRes=600\n";
    setenv("VELMARA_SETTINGS", bad.c_str(), 1);
    const CliRun r = runCli("scan --json " + a.string(), dir);
    unsetenv("VELMARA_SETTINGS");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"Dpi\":600"), std::string::npos);
    EXPECT_EQ(r.err, "velmara-cli: the settings file " + bad.string() + " could not be read whole: line 2 is neither "
                     "a [Section] header nor a Key=value line: \"stray\"; that line was skipped\n");
}

TEST_F(CliTest, LineNeedsTwoCardsAtDistinctPositionsAndWritesNothingWithout)
{
    const std::string a = card("a.bmp", 6).string(), ab = a + " " + card("b.bmp", 9).string();
    const std::pair<std::string, std::string> cases[] = {
        {a, "at least two"},
        {"--interval 0 " + ab, "There are two or more cards with the same position."},
        {"--interval abc " + ab, "Type mismatch"}};
    for (const auto &[args, message] : cases) {
        const CliRun r = runCli("line --out " + (dir / "r.txt").string() + " " + base() + args, dir);
        EXPECT_NE(r.status, 0) << args;
        EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
        EXPECT_FALSE(fs::exists(dir / "r.txt")) << args;
    }
}

TEST_F(CliTest, LineWritesResultsFileSizeRangeRecordsAndSpectrumFigures)
{
    const fs::path a = card("a.bmp", 6), b = card("b.bmp", 9), c = card("c.bmp", 14);
    const fs::path out = dir / "line.csv";
    CliRun r = runCli("line --json --format csv --range 1:100000 --position1 -45 --interval 2.5 --cov-limit 12.5 --out "
                          + out.string() + " " + base() + c.string() + " " + a.string() + " " + b.string(),
                      dir);
    EXPECT_EQ(r.status, 0) << r.err;
    ASSERT_TRUE(fs::exists(out));
    EXPECT_NE(ReadBytes(out).find("\r\n"), std::string::npos);
    EXPECT_NE(r.out.find("\"Sample_Position1\":\"-45\""), std::string::npos);
    EXPECT_NE(r.out.find("\"Position\":-42.5"), std::string::npos) << r.out.substr(0, 400);
    EXPECT_NE(r.out.find("\"SwathSets\":[{\"First\":-18"), std::string::npos);
    EXPECT_NE(r.out.find("\"CovLimit\":12.5,"), std::string::npos);
    EXPECT_NE(r.out.find("\"BackAndForth\":{\"Stats\":[{\"Width\":1,"), std::string::npos);
    EXPECT_NE(r.out.find("\"Effective\":{\"Racetrack\":{\"Width\":"), std::string::npos);
    EXPECT_NE(r.out.find("\"ResultsFile\":{\"Path\":\"" + out.string() + "\",\"Format\":\"csv\"}"), std::string::npos);
    // One whole-table range: all stains of radius 4 have one size, so 1..100000 cuts nothing
    // off and no size-range record is due.
    EXPECT_NE(r.out.find("\"RangeSelected\":false"), std::string::npos);
    EXPECT_NE(r.out.find("\"LogsAppended\":[]"), std::string::npos);

    // Stains of radius 4 and 7: a range from 200 µm keeps only the large drops. The summary shows
    // the spectrum table; the results file has its block only with --extended, for that run.
    const std::string ab = card("a.bmp", 6, 7.0).string() + " " + card("b.bmp", 9, 7.0).string();
    r = runCli("line --range 200:5000 --out " + (dir / "r.txt").string() + " " + base() + ab, dir);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("Size range: 200.0 to 5000.0"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Size-range records: 2 scan logs"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Dv0.1"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("Effective swath"), std::string::npos) << "two cards have no swath analysis";
    for (const char *name : {"a.scn", "b.scn"})
        EXPECT_NE(ReadBytes(dir / name).find("Droplet Size Range:"), std::string::npos) << name;
    EXPECT_EQ(ReadBytes(dir / "r.txt").find("Spectrum Summary"), std::string::npos);

    r = runCli("line --json --extended --range 200:5000 --out " + (dir / "r.txt").string() + " " + base() + ab, dir);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(ReadBytes(dir / "r.txt").find("Spectrum Summary:"), std::string::npos);
    for (const char *field : {"Dv10", "Dv90", "RelativeSpan", "Nmd", "CoveragePercent", "VolumeBelow100",
                              "VolumeBelow150", "VolumeBelow200"}) // cards, their ranges and both composites
        EXPECT_EQ(count(r.out, "\"" + std::string(field) + "\":"), 2 + 2 + 2u) << field;
}

TEST_F(CliTest, ReportIsFourLetterPagesAlsoForTwoCards)
{
    if (!withReport())
        GTEST_SKIP() << "built without the PDF report";
    const fs::path a = card("a.bmp", 6, 7.0);
    const fs::path b = card("b.bmp", 9, 7.0);
    const fs::path c = card("c.bmp", 14, 7.0);
    auto report = [&](const fs::path &pdf, const std::string &cards) {
        return runCli("line --report " + pdf.string() + " --out " + (dir / "r.txt").string() + " " + base() + cards, dir);
    };
    const fs::path pdf = dir / "report.pdf";
    CliRun r = report(pdf, a.string() + " " + b.string() + " " + c.string());
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string text = capture("pdfinfo " + pdf.string() + " 2>/dev/null");
    EXPECT_NE(text.find("Pages:           4"), std::string::npos) << text;
    EXPECT_NE(text.find("612 x 792"), std::string::npos) << text;

    // Two cards: the swath page says why it holds no graphs, and the report is written.
    const fs::path two = dir / "two.pdf";
    r = report(two, a.string() + " " + b.string());
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "velmara-cli: report page 4: The swath analysis needs at least three cards.\n");
    EXPECT_NE(r.out.find("Report:             " + two.string()), std::string::npos) << r.out;
    EXPECT_NE(capture("pdfinfo " + two.string() + " 2>/dev/null").find("Pages:           4"), std::string::npos);

}

// --- Multi-card sheets cut by a card template.

namespace {

// At 80 dpi the default grid falls on whole pixels: pitch 160 across and 250 down, clips of
// 120 x 200 pixels, so a card of that size placed at the pitch is exactly one clip.
constexpr int kSheetDpi = 80;

std::vector<IndexedImage> NineCards()
{
    std::vector<IndexedImage> cards;
    for (int n = 1; n <= 9; ++n) {
        CardSpec spec;
        spec.width = 120;
        spec.height = 200;
        spec.paletteSize = 16;
        spec.colours = {{1, ColourOfHue(240)}, {2, ColourOfHue(20)}};
        IndexedImage card = MakeCard(spec);
        Rng rng(static_cast<std::uint64_t>(n));
        ScatterSpec scatter;
        scatter.coverage = 0.03;
        scatter.maxRadius = 2 + n;
        scatter.separate = true;
        scatter.discIndexes = {1, 2};
        Scatter(card, scatter, rng);
        cards.push_back(std::move(card));
    }
    return cards;
}

// A letter sheet at 80 dpi with the cards on the default grid from its top left corner.
IndexedImage LetterSheet(const std::vector<IndexedImage> &cards, int width = 680)
{
    SheetSpec spec = SheetFromInches(kSheetDpi, 3, 3, 1.75, 2.75, 0.25, 0.375, 0, 0);
    spec.width = width;
    spec.height = 880;
    return MakeSheet(spec, cards);
}

// The "SizeTable" array of the card of that file name in the JSON answer; empty when absent.
std::string SizeTableOf(const std::string &json, const std::string &fileName)
{
    const size_t card = json.find("\"FileName\":\"" + fileName + "\"");
    if (card == std::string::npos)
        return {};
    const size_t table = json.find("\"SizeTable\":[", card);
    if (table == std::string::npos)
        return {};
    return json.substr(table, json.find(']', table) - table + 1);
}

std::string ClipName(int n) { return (n < 10 ? "clip0" : "clip") + std::to_string(n) + ".bmp"; }

class CliSheetTest : public CliTest
{
protected:
    // The size table of each card scanned alone, as velmara-cli gives it.
    std::vector<std::string> tablesAlone(const std::vector<IndexedImage> &cards)
    {
        std::string files;
        for (size_t n = 0; n < cards.size(); ++n) {
            const fs::path p = dir / ("card" + std::to_string(n + 1) + ".bmp");
            EXPECT_TRUE(WriteBmp(cards[n], p.string()));
            files += " " + p.string();
        }
        const CliRun r = runCli("scan --json --no-log " + base() + files, dir);
        EXPECT_EQ(r.status, 0) << r.err;
        std::vector<std::string> tables;
        for (size_t n = 0; n < cards.size(); ++n) {
            tables.push_back(SizeTableOf(r.out, "card" + std::to_string(n + 1) + ".bmp"));
            EXPECT_GT(tables.back().size(), 40u) << "card " << n + 1;
        }
        return tables;
    }
};

} // namespace

TEST_F(CliSheetTest, ClipsScanLikeTheirCardsAloneAndCellsUseUpTheirNumbers)
{
    const auto cards = NineCards();
    const auto alone = tablesAlone(cards);
    ASSERT_TRUE(WriteBmp(LetterSheet(cards), (dir / "sheet8.bmp").string()));
    ASSERT_TRUE(WriteBmp24(ToRgb(LetterSheet({cards.rbegin(), cards.rend()})), (dir / "sheet24.bmp").string()));
    const fs::path clips = dir / "clips";
    CliRun r = runCli("scan --json " + base() + "--template '<Default>' --sheet-dpi 80 --clip-dir " + clips.string()
                          + " " + (dir / "sheet8.bmp").string() + " " + (dir / "sheet24.bmp").string(),
                      dir);
    ASSERT_EQ(r.status, 0) << r.err;
    // Sheets in name order, each taking nine numbers: "sheet24.bmp", cards reversed, before "sheet8.bmp".
    for (int n = 1; n <= 18; ++n)
        EXPECT_EQ(SizeTableOf(r.out, ClipName(n)), alone[static_cast<size_t>(n <= 9 ? 9 - n : n - 10)]) << ClipName(n);
    // The clips go at the end; their scan logs stay in the clip folder.
    EXPECT_FALSE(fs::exists(clips / "clip01.bmp"));
    EXPECT_TRUE(fs::exists(clips / "clip01.scn"));
    EXPECT_TRUE(fs::exists(clips / "clip18.scn"));

    // Chosen cells, and a sheet one pixel too narrow for the third column at 80 dpi.
    ASSERT_TRUE(WriteBmp(LetterSheet(cards, 439), (dir / "narrow.bmp").string()));
    const fs::path a = dir / "sheet8.bmp";
    r = runCli("scan --json " + base() + "--template '<Default>' --sheet-dpi 80 --cells 9,1 --clip-dir "
                   + (dir / "cells").string() + " " + (dir / "narrow.bmp").string() + " " + a.string(),
               dir);
    ASSERT_EQ(r.status, 0) << r.err;
    // Every cell uses up its number, cut or not, and the off sheet cuts nothing.
    EXPECT_EQ(SizeTableOf(r.out, "clip01.bmp"), alone[0]);
    EXPECT_EQ(SizeTableOf(r.out, "clip09.bmp"), alone[8]);
    for (const char *unused : {"clip02.bmp", "clip10.bmp"})
        EXPECT_EQ(r.out.find(std::string("\"") + unused + "\""), std::string::npos) << unused;
    // The refusal names the sheet, the template, the first cell off it and the sheet's size.
    EXPECT_NE(r.err.find("Template '<Default>' does not fit on '" + (dir / "narrow.bmp").string()
                         + "': cell 3 lies off the sheet, which is 5.49 by 11.00 inches at 80 dpi."),
              std::string::npos)
        << r.err;

    const CliRun bad = runCli("clip " + base() + "--template '<Default>' --cells 10 --clip-dir " + clips.string()
                                  + " " + a.string(),
                              dir);
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.err.find("Cell 10 is not in template '<Default>', which has 9 cells."), std::string::npos)
        << bad.err;
}

TEST_F(CliSheetTest, StoredTemplatesAreReadNeverWrittenAndTheDefaultFolderIsFresh)
{
    const fs::path work = dir / "work";
    fs::create_directories(work);
    std::ofstream(settings, std::ios::binary) << "[Settings]\r\nRootDir=" << work.string() << "/\r\n";
    // A corrupt line, then a stored template of two cells across, one down.
    const std::string stored = "\"Broken\",9,1,1,1,1,1\r\n\"Pair\",2,1.75,0.25,1,2.75,0.375\r\n";
    std::ofstream(work / "templates.dat", std::ios::binary) << stored;
    const auto cards = NineCards();
    ASSERT_TRUE(WriteBmp(LetterSheet(cards), (dir / "sheet.bmp").string()));

    // 'clip' keeps its clips in a fresh folder under the work folder and lists them.
    CliRun r = runCli("clip " + base() + "--template Pair --sheet-dpi 80 " + (dir / "sheet.bmp").string(), dir);
    ASSERT_EQ(r.status, 0) << r.err;
    std::vector<fs::path> listed;
    std::istringstream lines(r.out);
    for (std::string line; std::getline(lines, line);)
        listed.emplace_back(line);
    ASSERT_EQ(listed.size(), 2u) << r.out;
    const fs::path fresh = listed[0].parent_path();
    EXPECT_EQ(listed[1], fresh / "clip02.bmp");
    EXPECT_EQ(fresh.parent_path(), work);
    EXPECT_TRUE(fs::exists(listed[1]));
    EXPECT_NE(r.err.find(fresh.string()), std::string::npos) << "the folder is told: " << r.err;
    EXPECT_NE(r.err.find("Line 1"), std::string::npos) << "the corrupt line is named: " << r.err;
    EXPECT_EQ(r.err.find(".bak"), std::string::npos) << "the command line keeps no copy: " << r.err;
    // The store is read only: no rewrite, no copy.
    EXPECT_EQ(ReadBytes(work / "templates.dat"), stored);
    EXPECT_FALSE(fs::exists(work / "templates.dat.bak"));

    // A second run never meets the first one's clips.
    r = runCli("scan --no-log " + base() + "--template Pair --sheet-dpi 80 " + (dir / "sheet.bmp").string(), dir);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("clip01.bmp"), std::string::npos) << r.out;
    EXPECT_EQ(std::count_if(fs::directory_iterator(work), {}, [](const auto &e) { return e.is_directory(); }), 1)
        << "the scan's folder ended empty and went";
    EXPECT_TRUE(fs::exists(listed[0])) << "the earlier clips are untouched";

    // A template file named on the command line, and --keep-clips.
    const fs::path other = dir / "other.dat";
    std::ofstream(other, std::ios::binary) << "\"Column\",1,1.75,0.25,3,2.75,0.375";
    const fs::path clips = dir / "kept";
    r = runCli("scan --no-log --keep-clips " + base() + "--templates " + other.string()
                   + " --template Column --sheet-dpi 80 --clip-dir " + clips.string() + " "
                   + (dir / "sheet.bmp").string(),
               dir);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(fs::exists(clips / "clip03.bmp"));
    EXPECT_FALSE(fs::exists(clips / "clip04.bmp"));
}

// --- Bad input and awkward situations: the run tells each fault by name, analyses the rest and
// leaves no broken file behind.

// A swath that is not a number counts as none given for the whole line: the results file is
// written as for an empty swath, the summary says so, and nothing aborts.
TEST_F(CliTest, ASwathThatIsNotANumberIsToldNotAborted)
{
    std::ofstream(settings, std::ios::binary) << "[SprayInfo]\r\nAC_Swath=abc\r\n";
    const std::string files = card("a.bmp", 6).string() + " " + card("b.bmp", 9).string() + " "
        + card("c.bmp", 14).string();
    const std::string note = "Aircraft swath 'abc' is not a number: counted as none given (rate factor 1)";
    for (const std::string json : {"--json ", ""}) {
        const CliRun r = runCli("line --no-log " + json + "--out " + (dir / "r.txt").string() + " " + base() + files, dir);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_TRUE(r.err.empty()) << r.err;
        EXPECT_NE(r.out.find(note), std::string::npos) << r.out.substr(0, 300);
        EXPECT_TRUE(fs::exists(dir / "r.txt"));
        if (!json.empty()) {
            EXPECT_EQ(count(r.out, "\"RateFactor\":1,"), 2u);
        }
    }
}

// The full-disk cases need a small file system of their own.
class CliFullDiskTest : public CliTest
{
protected:
    void SetUp() override
    {
        CliTest::SetUp();
        if (::geteuid() != 0)
            GTEST_SKIP() << "a full disk is made as a small tmpfs, which needs root";
        full = dir / "full";
        fs::create_directories(full);
        if (std::system(("mount -t tmpfs -o size=256k velmara-full " + full.string()).c_str()) != 0)
            GTEST_SKIP() << "no tmpfs could be mounted for a full disk";
        mounted = true;
    }
    void TearDown() override
    {
        if (mounted)
            std::system(("umount " + full.string()).c_str());
    }
    // Fills the file system to the last byte.
    void fill()
    {
        std::ofstream filler(full / "filler", std::ios::binary);
        const std::string block(4096, 'f');
        while (filler.write(block.data(), static_cast<std::streamsize>(block.size())))
            filler.flush();
    }

    fs::path full;
    bool mounted = false;
};

TEST_F(CliFullDiskTest, FilesThatCannotBeFinishedAreTakenBackAndEarlierLogsKept)
{
    fs::copy_file(card("a.bmp", 6), full / "a.bmp");
    fs::copy_file(card("b.bmp", 9), full / "b.bmp");
    // Nearly a whole page, so that the appended record cannot hide in the page's slack.
    const std::string earlier = "Velmara -- earlier record\r\n" + std::string(4060, '-') + "\r\n";
    std::ofstream(full / "a.scn", std::ios::binary) << earlier;
    const std::string earlierReport(40000, 'e');
    std::ofstream(full / "report.pdf", std::ios::binary) << earlierReport;
    auto cards = NineCards();
    cards.resize(3);
    ASSERT_TRUE(WriteBmp(LetterSheet(cards), (dir / "sheet.bmp").string()));
    fill();

    // Append on: a's log keeps what it had; b's log, new, is not left empty.
    std::ofstream(settings, std::ios::binary) << "[Prefs]\r\nAppend=True\r\n";
    CliRun r = runCli("scan " + base() + (full / "a.bmp").string() + " " + (full / "b.bmp").string(), dir);
    EXPECT_EQ(r.status, 0) << "the cards were analysed: " << r.err;
    EXPECT_NE(r.err.find("the scan log could not be written"), std::string::npos) << r.err;
    EXPECT_EQ(ReadBytes(full / "a.scn"), earlier);
    EXPECT_FALSE(fs::exists(full / "b.scn"));

    r = runCli("clip " + base() + "--template '<Default>' --sheet-dpi 80 --clip-dir " + (full / "clips").string() + " "
                   + (dir / "sheet.bmp").string(),
               dir);
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("clip01.bmp' could not be written"), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(full / "clips" / "clip01.bmp"));

    // A report with no room: the earlier one stays whole, nothing is left beside it, the run says why.
    if (withReport()) {
        const auto entries = std::distance(fs::directory_iterator(full), {});
        r = runCli("line --no-log --report " + (full / "report.pdf").string() + " --out " + (dir / "r.txt").string() + " "
                       + base() + (full / "a.bmp").string() + " " + (full / "b.bmp").string(),
                   dir);
        EXPECT_EQ(r.status, 1);
        EXPECT_NE(r.err.find("velmara-cli: the report was not written: Cannot write \"" + (full / "report.pdf").string()
                             + "\": No space left on device\n"),
                  std::string::npos)
            << r.err;
        EXPECT_EQ(r.out.find("Report:"), std::string::npos) << r.out;
        EXPECT_EQ(ReadBytes(full / "report.pdf"), earlierReport);
        EXPECT_EQ(std::distance(fs::directory_iterator(full), {}), entries);
    }
}

// A 24-bit card is refused without --colour-scans and read with it; an 8-bit card reads alike
// either way, and the colour card's figures and log say how it was read.
TEST_F(CliTest, ColourScansAreReadForTheRunAndToldInTheJson)
{
    const fs::path eight = card("eight.bmp", 6);
    CardSpec spec;
    spec.width = 203;
    spec.height = 150;
    spec.colours = {{1, Rgb{40, 60, 190}}};
    for (int i = 0; i < 7; ++i)
        spec.discs.push_back(Disc{14.0 + 25.0 * i, 60.0, 5.0, 1});
    ASSERT_TRUE(WriteBmp24(ToRgb(MakeCard(spec)), (dir / "colour.bmp").string()));
    const std::string files = " " + eight.string() + " " + (dir / "colour.bmp").string();

    const CliRun plain = runCli("scan --json " + base() + files, dir);
    EXPECT_NE(plain.err.find("colour.bmp: This file is encoded at 24 bits per pixel"), std::string::npos) << plain.err;

    // With --dpi file the scale is the file's (or DefaultRes where it records none), not --dpi 600.
    const struct { const char *options; const char *boundary; bool sameScale; } rows[] = {
        {"--colour-scans", "\"StainBoundary\":", true},
        {"--colour-scans --stain-boundary 37", "\"StainBoundary\":37,", true},
        {"--colour-scans --dpi file", "\"StainBoundary\":", false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.options);
        const CliRun r = runCli("scan --json " + base() + row.options + files, dir);
        ASSERT_EQ(r.status, 0) << r.err;
        if (row.sameScale) {
            EXPECT_EQ(SizeTableOf(r.out, "eight.bmp"), SizeTableOf(plain.out, "eight.bmp"));
        }
        const std::string colour = r.out.substr(r.out.find("\"FileName\":\"colour.bmp\""));
        for (const char *field : {"\"ColourScan\":true", "\"SourceDepth\":24", "\"StainCount\":7", row.boundary})
            EXPECT_NE(colour.find(field), std::string::npos) << field << "\n" << colour;
        EXPECT_NE(r.out.find("\"ColourScan\":false,\"SourceDepth\":8"), std::string::npos);
        EXPECT_NE(ReadBytes(dir / "colour.scn").find("Colour Scan:                24 bits per pixel"), std::string::npos);
        EXPECT_EQ(ReadBytes(settings), "[Prefs]\n") << "the store is never written";
    }
    for (const char *bad : {"--stain-boundary 256", "--stain-boundary x", "--dpi files"})
        EXPECT_EQ(runCli("scan " + base() + bad + files, dir).status, 2) << bad;
}

// The bundled colour line, JPEG artefacts included: each card's count stays near the stains it
// was drawn with (the artefacts' tail once set a JPEG card's boundary among the noise).
TEST_F(CliTest, ColourSamplesCountNearTheirStainLists)
{
    for (int n = 1; n <= 6; ++n) {
        const std::string stem = std::string(VELMARA_SOURCE_DIR) + "/samples/colour/card0" + std::to_string(n);
        const std::string file = stem + (n % 2 ? ".png" : ".jpg");
        const CliRun r = runCli("scan --json --no-log --colour-scans " + base() + file, dir);
        ASSERT_EQ(r.status, 0) << r.err;
        const size_t at = r.out.find("\"StainCount\":");
        ASSERT_NE(at, std::string::npos);
        const long found = std::stol(r.out.substr(at + 13));
        const long drawn = static_cast<long>(count(ReadBytes(stem + ".stains.csv"), "\n")) - 1;
        EXPECT_NEAR(found, drawn, 0.25 * drawn) << file; // touching stains merge
    }
}

// --- Batches: several cards at once, folders, the summary file, lines from shards.

namespace {

// Every file of the folder but stderr.txt, name and bytes, in name order.
std::string FolderBytes(const fs::path &folder)
{
    std::vector<fs::path> files;
    for (const auto &e : fs::recursive_directory_iterator(folder))
        if (e.is_regular_file() && e.path().filename() != "stderr.txt")
            files.push_back(e.path());
    std::sort(files.begin(), files.end());
    std::string all;
    for (const fs::path &f : files)
        all += f.string() + ":\n" + ReadBytes(f) + "\n";
    return all;
}

} // namespace

// Two jobs, or more jobs than cards, leave what one job leaves: stdout, stderr, every scan log, the
// results file and the summary, byte for byte; a "to all" answer asks as one job asks.
TEST_F(CliTest, TwoJobsWriteWhatOneJobWrites)
{
    const fs::path cards = dir / "cards";
    fs::create_directories(cards);
    std::string files;
    for (int n = 1; n <= 7; ++n) {
        CardSpec spec;
        spec.width = 160;
        spec.height = 120;
        spec.colours = {{1, Rgb{220, 20, 30}}};
        spec.ditherIndex = n % 3 ? 3 : -1; // the dither question for most cards
        for (int s = 0; s < 3 * (n % 4); ++s)
            spec.discs.push_back(Disc{15.0 + 20.0 * (s % 7), 15.0 + 30.0 * (s / 7), 3.0 + s % 4, 1});
        const fs::path p = cards / ("c" + std::to_string(n) + ".bmp");
        ASSERT_TRUE(WriteBmp(MakeCard(spec), p.string()));
        files += " " + p.string();
    }
    std::ofstream(cards / "notes.txt") << "not a card";
    files += " " + (cards / "notes.txt").string();
    const std::string out = " --out " + (cards / "r.txt").string() + " --summary " + (cards / "s.csv").string();
    for (const std::string command : {"scan --json --dither all", "scan --dither no --background zero",
                                      "line --json --range 200:5000 --dither all", "line --format csv"}) {
        std::string first;
        for (const char *jobs : {" --jobs 1 ", " --jobs 2 ", " --jobs 16 "}) {
            for (const auto &e : fs::directory_iterator(cards))
                if (e.path().extension() != ".bmp" && e.path().extension() != ".txt")
                    fs::remove(e.path());
            const std::string extra = command.rfind("line", 0) == 0 ? out : out.substr(out.find(" --summary"));
            const CliRun r = runCli(command + jobs + extra + " " + base() + files, dir);
            EXPECT_EQ(r.status, 0) << command << jobs << r.err;
            const std::string all = r.out + "\nstderr:\n" + r.err + FolderBytes(cards);
            if (first.empty())
                first = all;
            else
                EXPECT_EQ(all, first) << command;
        }
    }
}

// A folder gives its cards sorted by name as a load sorts them, its subfolders' with --recursive;
// a file that is no card is told in one line, an earlier scan log passed over. The summary has a
// row per card and per refusal, as each finishes.
TEST_F(CliTest, FoldersGiveTheirCardsAndTheSummaryARowEach)
{
    const fs::path cards = dir / "cards";
    fs::create_directories(cards / "sub");
    fs::copy_file(card("b.bmp", 5), cards / "b.bmp");
    fs::copy_file(card("none.bmp", 0), cards / "none.bmp");
    fs::copy_file(card("a.bmp", 12), cards / "sub" / "a.bmp");
    std::ofstream(cards / "notes.txt") << "not a card";
    std::ofstream(cards / "b.scn") << "an earlier log";
    std::ofstream(cards / "cut.bmp") << "BM too short";
    const fs::path summary = dir / "summary.csv";
    const struct
    {
        const char *options;
        std::vector<std::pair<std::string, std::string>> rows; // file in its folder; status and message
    } runs[] = {
        {"", {{"cut.bmp", "refused,"}, {"b.bmp", "analysed,"}, {"none.bmp", "no stains,Velmara did not find any valid spots"}}},
        {"--recursive ",
         {{"cut.bmp", "refused,"}, {"sub/a.bmp", "analysed,"}, {"b.bmp", "analysed,"}, {"none.bmp", "no stains,"}}},
    };
    for (const auto &run : runs) {
        const CliRun r = runCli("scan --no-log " + std::string(run.options) + "--summary " + summary.string() + " "
                                    + base() + cards.string(),
                                dir);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(count(r.err, "\n"), 3u) << "notes.txt, cut.bmp and the no-stains card:\n" << r.err;
        EXPECT_NE(r.err.find("'notes.txt' is an unsupported file type. Skipped."), std::string::npos) << r.err;
        EXPECT_EQ(r.err.find("b.scn"), std::string::npos) << r.err;
        std::istringstream lines(ReadBytes(summary));
        std::string line;
        std::getline(lines, line);
        EXPECT_EQ(line, "File,Folder,Dpi,Stains,Rejected,VMD,Dv0.1,Dv0.9,DropDensity,Coverage,Deposit,Unit,Status,Message");
        for (const auto &[file, status] : run.rows) { // fourteen columns each (no message here holds a comma)
            ASSERT_TRUE(std::getline(lines, line)) << file;
            const fs::path path = cards / file;
            EXPECT_EQ(line.rfind(path.filename().string() + "," + path.parent_path().string() + ",", 0), 0u) << line;
            EXPECT_NE(line.find("," + status), std::string::npos) << line;
            EXPECT_EQ(count(line, ","), 13u) << line;
        }
        EXPECT_FALSE(std::getline(lines, line)) << line;
    }
    // The figures of an analysed card are the printed summary's.
    const std::string rows = ReadBytes(summary);
    EXPECT_NE(rows.find("a.bmp," + (cards / "sub").string() + ",600,12,0,"), std::string::npos) << rows;
}

// A line built from the JSON of scans made elsewhere is the line built from the images: the same
// results file byte for byte and the same report pages. A shard of another kind or version is
// refused by name.
TEST_F(CliTest, LineFromScanJsonIsTheLineFromTheImages)
{
    std::vector<std::string> samples;
    for (int n = 1; n <= 6; ++n)
        samples.push_back(std::string(VELMARA_SOURCE_DIR) + "/samples/card0" + std::to_string(n) + ".bmp");
    const bool report = withReport();
    const struct
    {
        const char *options;
        std::vector<std::vector<int>> shards; // sample numbers scanned together, in shard order
    } lines[] = {
        {"", {{4, 5, 6}, {1, 2, 3}}},
        {"--format csv --range 300:700 --position1 -30 --interval 7.5", {{6}, {2, 1, 3, 5, 4}}},
    };
    for (const auto &line : lines) {
        std::string all, shardFiles;
        for (const std::string &s : samples)
            all += " " + s;
        const std::string common = "line --no-log " + std::string(line.options) + " " + base();
        const std::string reportTo = report ? " --report " : " --out ";
        CliRun r = runCli(common + "--out " + (dir / "direct").string() + reportTo + (dir / "direct.pdf").string() + all, dir);
        ASSERT_EQ(r.status, 0) << r.err;
        for (size_t s = 0; s < line.shards.size(); ++s) {
            std::string cards;
            for (int n : line.shards[s])
                cards += " " + samples[static_cast<size_t>(n - 1)];
            r = runCli("scan --json --no-log --jobs 2 " + base() + cards, dir);
            ASSERT_EQ(r.status, 0) << r.err;
            const fs::path shard = dir / ("shard" + std::to_string(s) + ".json");
            std::ofstream(shard) << r.out;
            shardFiles += " " + shard.string();
        }
        r = runCli(common + "--from-json --out " + (dir / "merged").string() + reportTo + (dir / "merged.pdf").string()
                       + shardFiles,
                   dir);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(ReadBytes(dir / "merged"), ReadBytes(dir / "direct")) << line.options;
        if (report) {
            const std::string pages = capture("pdftotext -layout " + (dir / "direct.pdf").string() + " - 2>/dev/null");
            EXPECT_GT(pages.size(), 500u);
            EXPECT_EQ(capture("pdftotext -layout " + (dir / "merged.pdf").string() + " - 2>/dev/null"), pages);
        }
    }

    const std::pair<std::string, std::string> refused[] = {
        {"scan log, not JSON", " is not a JSON file written by 'velmara-cli scan --json'"},
        {"{\"Cards\":[]}", " comes from an older velmara-cli without a format version"},
        {"{\"Format\":3,\"Cards\":[]}", " is of format 3; this velmara-cli reads format 2"},
        {"{\"Format\":2,\"Cards\":[{\"FileName\":\"a.bmp\",\"Dpi\":\"600\"}]}", " is not a JSON file written by"},
        {"{\"Format\":2,\"Cards\":[{\"FileName\":\"a.bmp\"}", " is not a JSON file written by"},
    };
    for (const auto &[bytes, message] : refused) {
        const fs::path shard = dir / "bad.json";
        std::ofstream(shard, std::ios::binary | std::ios::trunc) << bytes;
        const CliRun r = runCli("line --from-json " + base() + (dir / "shard0.json").string() + " " + shard.string(), dir);
        EXPECT_EQ(r.status, 1) << bytes;
        EXPECT_EQ(r.err.rfind("velmara-cli: " + shard.string() + message, 0), 0u) << r.err;
        EXPECT_EQ(count(r.err, "\n"), 1u) << r.err;
    }
}
