#include "reports/scanlog.h"

#include "support/testdir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

using namespace velmara;
using velmara::test::ReadBytes;
namespace fs = std::filesystem;

namespace {

std::string Expected(const char *name)
{
    const fs::path path = fs::path(VELMARA_TEST_DATA) / "reports" / name;
    EXPECT_TRUE(fs::exists(path)) << path;
    return ReadBytes(path);
}

// Adds a card with the given image size, resolution and the derived sizes as loading makes them.
int AddCard(Workspace &ws, const fs::path &image, Long width, Long height, Long dpi)
{
    const int i = ws.AppendCard();
    CardImage &c = ws.Card(i);
    c.FullPath = image.string();
    c.FileName = image.filename().string();
    c.WidthPx = width;
    c.HeightPx = height;
    c.Dpi = dpi;
    c.MicronsPerPixelX = 25400.0 / dpi;
    c.MicronsPerPixelY = c.MicronsPerPixelX;
    c.AreaCm2 = (width * c.MicronsPerPixelX / 10000) * (height * c.MicronsPerPixelY / 10000);
    return i;
}

// The card of the worked example: two size rows at an area of about 10 cm², spray record logged.
struct ExampleCard
{
    Workspace ws;
    int index = 0;
    fs::path log;

    explicit ExampleCard(const fs::path &dir)
    {
        index = AddCard(ws, dir / "a1.bmp", 1200, 1860, 1200);
        log = dir / "a1.scn";
        CardImage &c = ws.Card(index);
        c.SizeTable.push_back({12, 3, 0, 84.123f, 0.0025f, 0.0025f, 0.015f, 0.015f});
        c.SizeTable.push_back({145, 1, 0, 912.5f, 0.1204f, 1.0f, 0.005f, 1.0f});
        c.Stats = {456.789, 0.4, 1.5};
        ws.Metric = true;
        ws.LogAnalysis = true;
        ws.Append = false;
        ws.LogSprayInfo = true;
        ws.SpreadFactor = {1.5, 0.56, -0.2};
        ws.Spray = {"Low-wing sprayer", "VM-TST", "Field Trials Ltd", "20", "190", "3.5",
                    "Dyed water", "0.5", "20", "Flat fan 8004", "42", "Flatbed scanner",
                    "-50", "10", "not in the log"};
    }
};

// A scratch folder named after the test, holding the example card.
struct ScanLogTest : ::testing::Test
{
    velmara::test::TestDir scratch;
    const fs::path dir = scratch.dir();
    ExampleCard ex{dir};
};

} // namespace

TEST(ScanLogPath, ReplacesLastThreeCharacters)
{
    EXPECT_EQ(ScanLog::PathFor("/cards/a1.bmp"), "/cards/a1.scn");
    EXPECT_EQ(ScanLog::PathFor("/x/card.tiff"), "/x/card.scn");
    EXPECT_EQ(ScanLog::PathFor("/x/card.JPEG"), "/x/card.scn");
    EXPECT_EQ(ScanLog::PathFor("/x/kärt.bµp"), "/x/kärt.scn");
    EXPECT_EQ(ScanLog::PathFor("ab"), "scn");
}

TEST_F(ScanLogTest, OverwriteWritesHeadSprayScanAndWorkedRows)
{
    const ScanLogResult r = ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, false});
    EXPECT_TRUE(r.Ok && r.Written) << r.Error;
    EXPECT_EQ(ReadBytes(ex.log), Expected("overwrite_spray_metric.scn"));

    // Overwriting again leaves exactly one head block.
    EXPECT_TRUE(ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, false}).Ok);
    EXPECT_EQ(ReadBytes(ex.log), Expected("overwrite_spray_metric.scn"));
}

TEST_F(ScanLogTest, AppendAddsRecordWithoutHeadThenOverwriteStartsAgain)
{
    ASSERT_TRUE(ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, false}).Ok);

    // Scanned again with nothing found: the table empties, the earlier results stay on the card.
    ex.ws.Append = true;
    ex.ws.LogSprayInfo = false;
    ex.ws.Metric = false;
    ex.ws.Card(ex.index).SizeTable.resize(1);
    ASSERT_TRUE(ScanLog(ex.ws).writeScanRecord(ex.index, {0, 255, true}).Ok);
    EXPECT_EQ(ReadBytes(ex.log), Expected("append_second_scan.scn"));

    ex.ws.Append = false;
    ASSERT_TRUE(ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, true}).Ok);
    EXPECT_EQ(ReadBytes(ex.log), Expected("overwrite_after_append.scn"));
}

TEST_F(ScanLogTest, AppendWithoutFileWritesHeadAndNoDrops)
{
    Workspace ws;
    ws.Append = true;
    const int i = AddCard(ws, dir / "b2.bmp", 600, 900, 600);
    const ScanLogResult r = ScanLog(ws).writeScanRecord(i, {30, 200, false});
    EXPECT_TRUE(r.Ok) << r.Error;
    EXPECT_EQ(ReadBytes(dir / "b2.scn"), Expected("append_new_no_drops.scn"));
}

TEST_F(ScanLogTest, SizeRangeRecordAppendsAfterTheScan)
{
    ASSERT_TRUE(ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, false}).Ok);

    ex.ws.RangeLow = 50;
    ex.ws.RangeHigh = 100.5f;
    SizeStats &range = ex.ws.CardRange;
    range.Classes.push_back(ex.ws.Card(ex.index).SizeTable[1]);
    range.AreaCm2 = ex.ws.Card(ex.index).AreaCm2;
    range.Stats = {84.1234, 0.3, 0.0456};
    const ScanLogResult r = ScanLog(ex.ws).writeSizeRangeRecord(ex.index);
    EXPECT_TRUE(r.Ok) << r.Error;
    EXPECT_EQ(ReadBytes(ex.log), Expected("size_range_after_scan.scn"));
}

TEST_F(ScanLogTest, SizeRangeRecordCreatesLogWithoutHeadAndHonoursCardsNoDrops)
{
    ex.ws.Append = false; // the size-range record appends whatever Append says
    ex.ws.CardRange.Classes.push_back(ex.ws.Card(ex.index).SizeTable[1]);
    ex.ws.CardRange.AreaCm2 = 10;
    ex.ws.Card(ex.index).SizeTable.resize(1); // the card's own table decides "no drops"
    ASSERT_TRUE(ScanLog(ex.ws).writeSizeRangeRecord(ex.index).Ok);
    const std::string text = ReadBytes(ex.log);
    EXPECT_EQ(text.rfind("Droplet Size Range:         0.00 -- 32755.00 \xB5m\r\n", 0), 0u);
    EXPECT_EQ(text.find("File: "), std::string::npos);
    EXPECT_NE(text.find(" NO DROPS FOUND "), std::string::npos);
    EXPECT_EQ(text.find("84.123"), std::string::npos);
}

TEST_F(ScanLogTest, DepositUsesDoubleFactorInScanAndSingleFactorInRange)
{
    // 1.36800003 (the Single) and 1.368 (the Double) round this density to different thousandths.
    const double density = 2.05249997 / 1.368;
    ex.ws.Metric = false;
    ex.ws.LogSprayInfo = false;
    ex.ws.Card(ex.index).Stats.VolumeDensity = density;
    ex.ws.CardRange.Stats.VolumeDensity = density;
    ASSERT_TRUE(ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, false}).Ok);
    ASSERT_TRUE(ScanLog(ex.ws).writeSizeRangeRecord(ex.index).Ok);
    const std::string text = ReadBytes(ex.log);
    EXPECT_NE(text.find("Volume:                     1.50 nL/cm\xB2 = 2.052 oz/ac\r\n"),
              std::string::npos);
    EXPECT_NE(text.find("Volume Density:             1.50 nL/cm\xB2 = 2.053 oz/ac\r\n"),
              std::string::npos);
}

TEST_F(ScanLogTest, LocaleSeparatorReachesEveryDecimal)
{
    ASSERT_TRUE(ScanLog(ex.ws, ',').writeScanRecord(ex.index, {30, 200, false}).Ok);
    const std::string text = ReadBytes(ex.log);
    EXPECT_NE(text.find("1,5 + 0,56d + -0,2d\xB2"), std::string::npos);
    EXPECT_NE(text.find("2,54\xD7" "3,94 cm"), std::string::npos);
    EXPECT_NE(text.find("84,123        0,25"), std::string::npos);
}

TEST_F(ScanLogTest, WideCountMovesRestOfRowToNextLine)
{
    ex.ws.LogSprayInfo = false;
    ex.ws.Card(ex.index).SizeTable[1].Count = 1234567890; // its Tab target, 5, lies behind
    ASSERT_TRUE(ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, false}).Ok);
    const std::string text = ReadBytes(ex.log);
    EXPECT_NE(text.find("\r\n   12 \r\n     1234567890       84.123        0.25"),
              std::string::npos);
}

TEST_F(ScanLogTest, UnwritableLogIsReportedAndCardUntouched)
{
    fs::create_directory(ex.log); // a folder where the log should go
    const CardImage before = ex.ws.Card(ex.index);
    const ScanLogResult r = ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, false});
    EXPECT_FALSE(r.Ok);
    EXPECT_NE(r.Error.find(ex.log.string()), std::string::npos);
    EXPECT_EQ(ex.ws.Card(ex.index).SizeRows(), before.SizeRows());
    EXPECT_EQ(ex.ws.Card(ex.index).Stats.Vmd, before.Stats.Vmd);

    const ScanLogResult range = ScanLog(ex.ws).writeSizeRangeRecord(ex.index);
    EXPECT_FALSE(range.Ok);
    EXPECT_FALSE(range.Error.empty());

    ExampleCard gone(dir / "no_such_folder");
    EXPECT_FALSE(ScanLog(gone.ws).writeScanRecord(gone.index, {}).Ok);
}

TEST_F(ScanLogTest, AColourCardHasOneLineMoreInItsScanBlock)
{
    ColourScanInfo &c = ex.ws.Card(ex.index).ColourScan;
    c.Colour = true;
    c.SourceDepth = 24;
    c.TableEntries = 112;
    c.BackgroundClassEntries = 97;
    const ScanLogResult r = ScanLog(ex.ws).writeScanRecord(ex.index, {30, 200, false});
    EXPECT_TRUE(r.Ok && r.Written) << r.Error;
    std::string expected = Expected("overwrite_spray_metric.scn");
    const size_t after = expected.find("\r\n", expected.find("Image Size:")) + 2;
    expected.insert(after, "Colour Scan:                24 bits per pixel, 112 table entries, 97 of them card\r\n");
    EXPECT_EQ(ReadBytes(ex.log), expected);
}
