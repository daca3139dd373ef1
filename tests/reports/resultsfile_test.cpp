#include "reports/resultsfile.h"

#include "reports/scanlog.h"
#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/samplingline.h"
#include "statistics/swath.h"
#include "support/testdir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

using namespace velmara;
using velmara::test::ReadBytes;
namespace fs = std::filesystem;

namespace {

const fs::path kLines = fs::path(VELMARA_TEST_DATA) / "reports" / "lines";

Byte ToByte(const std::string &text) { return static_cast<Byte>(std::stoi(text)); }

std::string *SprayField(SprayInfo &s, const std::string &key)
{
    const std::pair<const char *, std::string *> fields[] = {
        {"AC_Type", &s.AC_Type}, {"AC_Registration", &s.AC_Registration}, {"AC_Owner", &s.AC_Owner},
        {"AC_Swath", &s.AC_Swath}, {"AC_Speed", &s.AC_Speed}, {"AC_Height", &s.AC_Height},
        {"Spray_Product", &s.Spray_Product}, {"Spray_ActiveRate", &s.Spray_ActiveRate},
        {"Spray_SprayRate", &s.Spray_SprayRate}, {"Nozzle_Type", &s.Nozzle_Type},
        {"Nozzle_Number", &s.Nozzle_Number}, {"Sampler_Type", &s.Sampler_Type},
        {"Sample_Position1", &s.Sample_Position1}, {"Sample_Interval", &s.Sample_Interval},
        {"Comment", &s.Comment}};
    for (const auto &[name, field] : fields)
        if (key == name)
            return field;
    return nullptr;
}

// Reads a sampling line written as in tests/data/reports/lines/*.cards: "set" and "spray" lines,
// then each card with its rows (area in pixels, count, volume, diameter).
Workspace ReadLine(const fs::path &path)
{
    Workspace ws;
    std::ifstream in(path);
    std::string raw;
    while (std::getline(in, raw)) {
        if (raw.empty() || raw[0] == '#')
            continue;
        const size_t blank = raw.find(' ');
        const std::string kind = raw.substr(0, blank), rest = raw.substr(blank + 1);
        if (kind == "set" || kind == "spray") {
            const size_t eq = rest.find('=');
            const std::string key = rest.substr(0, eq), value = rest.substr(eq + 1);
            if (key == "Metric") ws.Metric = value == "1";
            else if (key == "RangeLow") ws.RangeLow = ToSingle(std::stod(value));
            else if (key == "RangeHigh") ws.RangeHigh = ToSingle(std::stod(value));
            else if (key == "ShapeThreshold") ws.ShapeThreshold = ToByte(value);
            else if (key == "HueThreshold") ws.HueThreshold = ToByte(value);
            else if (key == "LogAnalysis") ws.LogAnalysis = value == "1";
            else if (key == "Spread") {
                std::istringstream parts(value);
                std::string part;
                for (double &c : ws.SpreadFactor) {
                    std::getline(parts, part, ',');
                    c = std::stod(part);
                }
            } else if (SprayField(ws.Spray, key)) {
                *SprayField(ws.Spray, key) = value;
            } else {
                ADD_FAILURE() << "unknown key " << key;
            }
        } else if (kind == "card") {
            CardImage &c = ws.Card(ws.AppendCard());
            std::istringstream fields(rest);
            std::string field;
            while (fields >> field) {
                const size_t eq = field.find('=');
                const std::string key = field.substr(0, eq), value = field.substr(eq + 1);
                if (key == "name") c.FileName = value;
                else if (key == "area") c.AreaCm2 = std::stod(value);
                else if (key == "scanned") c.Scanned = c.PixelsReady = value == "1";
                else if (key == "vmd") c.Stats.Vmd = std::stod(value);
                else if (key == "dd") c.Stats.DropDensity = std::stod(value);
                else if (key == "vd") c.Stats.VolumeDensity = std::stod(value);
                else if (key == "total") c.TotalVolume = std::stod(value);
            }
        } else if (kind == "row") {
            CardImage &c = ws.Card(ws.CardCount());
            std::istringstream fields(rest);
            SizeClass r;
            double volume = 0, diameter = 0;
            fields >> r.AreaPx >> r.Count >> volume >> diameter;
            r.Volume = ToSingle(volume);
            r.Diameter = ToSingle(diameter);
            c.SizeTable.push_back(r);
            c.MinDiameter = c.SizeTable[1].Diameter;
            c.MaxDiameter = r.Diameter;
        }
    }
    return ws;
}

// The composite view entered afresh, as the write command finds it.
void EnterCompositeView(Workspace &ws)
{
    EXPECT_TRUE(PrepareSamplingLine(ws, [](LineProblem, const std::string &) { return false; }));
}

class ResultsFileTest : public ::testing::Test
{
protected:
    velmara::test::TestDir mScratch;
    const fs::path mDir = mScratch.dir();
};

class GoldenLines : public ResultsFileTest, public ::testing::WithParamInterface<const char *>
{
};

} // namespace

// Whole lines against files worked out independently by tests/data/reports/lines/make_expected.py.
TEST_P(GoldenLines, BothFormsMatchByteForByte)
{
    const std::string name = GetParam();
    Workspace ws = ReadLine(kLines / (name + ".cards"));
    ws.LogAnalysis = false;
    EnterCompositeView(ws);
    const std::pair<ResultsFormat, const char *> forms[] = {{ResultsFormat::Text, ".txt"},
                                                            {ResultsFormat::Csv, ".csv"}};
    for (const auto &[format, ext] : forms) {
        const fs::path out = mDir / (name + ext);
        const ResultsFileResult r = WriteResultsFile(ws, out.string(), format);
        ASSERT_TRUE(r.Ok) << r.Message;
        EXPECT_TRUE(r.Message.empty());
        const std::string expected = ReadBytes(kLines / (name + ".expected" + ext));
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(ReadBytes(out), expected) << name << ext;
    }
}

// With the extended results the file is the same up to two more blocks: the spectrum, a row per
// scanned card and one for the composite, whose Dv0.5 is the composite VMD of the results section;
// and both swath patterns.
TEST_P(GoldenLines, ExtendedResultsAddOneSpectrumBlockAtTheEnd)
{
    const std::string name = GetParam();
    Workspace ws = ReadLine(kLines / (name + ".cards"));
    ws.LogAnalysis = false;
    ws.ExtendedResults = true;
    EnterCompositeView(ws);
    std::vector<std::string> names;
    for (int i = 1; i <= ws.CardCount(); ++i)
        if (ws.Card(i).Scanned)
            names.push_back(ws.Card(i).FileName);
    names.push_back("Composite");
    for (const bool csv : {false, true}) {
        const fs::path out = mDir / (name + (csv ? ".csv" : ".txt"));
        ASSERT_TRUE(WriteResultsFile(ws, out.string(), csv ? ResultsFormat::Csv : ResultsFormat::Text).Ok);
        std::string classic = ReadBytes(kLines / (name + (csv ? ".expected.csv" : ".expected.txt")));
        if (csv)
            classic.resize(classic.size() - 2); // the closing blank line follows the new block
        std::string got = ReadBytes(out);
        ASSERT_EQ(got.substr(0, classic.size()), classic) << name;
        // The swath patterns follow: title, headings, the COV of each at every whole width, an empty
        // line, then the effective swaths.
        const size_t swath = got.find(csv ? "\r\n\r\nSwath Patterns\r\n" : "\r\n\r\nSwath Patterns:\r\n", classic.size());
        if (name == "line_a") {
            ASSERT_NE(swath, std::string::npos);
            const size_t effective = got.find(csv ? "Effective Swath\r\n" : "Effective Swath:", swath);
            ASSERT_NE(effective, std::string::npos);
            EXPECT_EQ(std::count(got.begin() + swath, got.begin() + effective, '\n'), (csv ? 6 : 7) + ws.CardCount() - 1);
            EXPECT_NE(got.find(csv ? "\r\nRacetrack," : "\r\nRacetrack", effective), std::string::npos);
            EXPECT_NE(got.find("\r\nBack and Forth", effective), std::string::npos);
        }
        if (swath != std::string::npos)
            got.erase(swath, got.size() - swath - (csv ? 2 : 0));

        std::vector<std::string> rows;
        for (size_t at = classic.size(), end; (end = got.find("\r\n", at)) != std::string::npos; at = end + 2)
            rows.push_back(got.substr(at, end - at));
        // Two blank lines, the heading (and its dashes), two column heads; the CSV's closing line.
        rows.erase(rows.begin(), rows.begin() + (csv ? 5 : 6));
        if (csv)
            rows.pop_back();
        ASSERT_EQ(rows.size(), names.size()) << name << csv;
        for (size_t k = 0; k < rows.size(); ++k)
            EXPECT_EQ(csv ? rows[k].substr(rows[k].rfind(',') + 1) : rows[k].substr(std::min<size_t>(85, rows[k].size())),
                      names[k]) << rows[k];
        const size_t vmdAt = got.find_first_of("0123456789", got.find("Composite VMD:"));
        const std::string vmd = got.substr(vmdAt, got.find_first_not_of("0123456789.", vmdAt) - vmdAt);
        const std::string &last = rows.back();
        EXPECT_EQ(csv ? last.substr(last.find(',', 1) + 1, vmd.size()) : last.substr(21 - vmd.size(), vmd.size()), vmd)
            << last;
    }
}

INSTANTIATE_TEST_SUITE_P(Lines, GoldenLines, ::testing::Values("line_a", "line_b", "line_c"));

TEST_F(ResultsFileTest, CompositeWithoutStainsStopsBeforeTheSizeRangeLine)
{
    Workspace ws;
    for (const char *name : {"e1.bmp", "e2.bmp"}) {
        CardImage &c = ws.Card(ws.AppendCard());
        c.FileName = name;
        c.AreaCm2 = 4;
        c.Scanned = true;
    }
    ws.Spray.Sample_Position1 = "-50";
    ws.Spray.Sample_Interval = "10";
    EnterCompositeView(ws);
    const fs::path out = mDir / "empty.txt";
    const ResultsFileResult r = WriteResultsFile(ws, out.string(), ResultsFormat::Text);
    EXPECT_FALSE(r.Ok);
    EXPECT_EQ(r.Error, "Subscript out of range");
    EXPECT_EQ(r.Message,
              "There was an error writing the data file.\r\rError: Subscript out of range");
    const std::string text = ReadBytes(out);
    const std::string tail = "Comment:                \r\n"
                             "--------------------------------------------------\r\n"
                             "\r\n"
                             "Results:\r\n"
                             "--------\r\n";
    ASSERT_GE(text.size(), tail.size());
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
    EXPECT_EQ(text.rfind("Velmara -- Orvinek Droplet Analysis Program\r\n"
                         "Swath Deposit Analysis\r\n",
                         0),
              0u);
}

TEST_F(ResultsFileTest, TextsThatAreNotNumbersFailBeforeTheFileIsTouched)
{
    Workspace ws = ReadLine(kLines / "line_a.cards");
    EnterCompositeView(ws);
    const fs::path out = mDir / "old.txt";
    std::ofstream(out) << "old";

    ws.Spray.AC_Swath = "wide";
    ResultsFileResult r = WriteResultsFile(ws, out.string(), ResultsFormat::Csv);
    EXPECT_EQ(r.Message, "There was an error writing the data file.\r\rError: Type mismatch");

    ws.Spray.AC_Swath.clear();
    ws.Spray.Sample_Interval = "0";
    r = WriteResultsFile(ws, out.string(), ResultsFormat::Csv);
    EXPECT_EQ(r.Error, "Division by zero");
    EXPECT_EQ(ReadBytes(out), "old");

    ws.Spray.Sample_Interval = "10"; // a file that cannot be opened
    r = WriteResultsFile(ws, (mDir / "missing" / "r.txt").string(), ResultsFormat::Text);
    EXPECT_FALSE(r.Ok);
    EXPECT_EQ(r.Message.rfind("There was an error writing the data file.\r\rError: ", 0), 0u);
    EXPECT_NE(r.Error.find("r.txt"), std::string::npos);
}

TEST_F(ResultsFileTest, SizeRangeRecordsGoToTheLogsOfTheScannedCards)
{
    Workspace ws = ReadLine(kLines / "line_a.cards");
    for (int i = 1; i <= ws.CardCount(); ++i)
        ws.Card(i).FullPath = (mDir / ws.Card(i).FileName).string();
    ws.RangeLow = 100;
    ws.LogAnalysis = true;
    EnterCompositeView(ws);
    ASSERT_TRUE(RangeSelected(ws));

    SizeRangeLogsResult r = AppendSizeRangeRecords(ws);
    EXPECT_TRUE(r.Ok);
    EXPECT_EQ(r.Cards, (std::vector<int>{1, 2, 4, 5})); // card 3 is not scanned
    ASSERT_EQ(r.Paths.size(), 4u);
    EXPECT_EQ(r.Paths[0], ScanLog::PathFor(ws.Card(1).FullPath));
    EXPECT_TRUE(fs::exists(mDir / "a1.scn"));
    EXPECT_FALSE(fs::exists(mDir / "a3.scn"));
    EXPECT_EQ(ws.CardRange.AreaCm2, ws.Card(5).AreaCm2);
    const std::string log = ReadBytes(mDir / "a2.scn");
    EXPECT_EQ(log.rfind("Droplet Size Range:", 0), 0u);
    EXPECT_NE(log.find("100.00 -- 32755.00 \xB5m\r\n"), std::string::npos);

    // Off without a range or with LogAnalysis off: no log is touched.
    fs::remove_all(mDir);
    fs::create_directories(mDir);
    ws.LogAnalysis = false;
    EXPECT_TRUE(AppendSizeRangeRecords(ws).Cards.empty());
    ws.LogAnalysis = true;
    ws.RangeLow = 0;
    EXPECT_TRUE(AppendSizeRangeRecords(ws).Cards.empty());
    EXPECT_TRUE(fs::is_empty(mDir));

    // Logs that cannot be written give the results file's message.
    ws.RangeLow = 100;
    for (int i = 1; i <= ws.CardCount(); ++i)
        ws.Card(i).FullPath = (mDir / "nowhere" / ws.Card(i).FileName).string();
    const SizeRangeLogsResult bad = AppendSizeRangeRecords(ws);
    EXPECT_FALSE(bad.Ok);
    EXPECT_TRUE(bad.Cards.empty());
    EXPECT_EQ(bad.Message.rfind("There was an error writing the data file.\r\rError: ", 0), 0u);
}
