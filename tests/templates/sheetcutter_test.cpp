#include "templates/sheetcutter.h"

#include "intake/decode.h"

#include "testdir.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace velmara;
using velmara::test::TestDir;

namespace {

constexpr int kRes = 20; // a letter sheet of 170 x 220 pixels keeps the files small

TemplateGrid SheetGrid(const Picture &sheet, const CardTemplate &t = DefaultTemplate())
{
    TemplateGrid g;
    g.setTemplate(t);
    g.setPictureSize(sheet.Width, sheet.Height);
    g.setRes(kRes);
    g.activate();
    return g;
}

// An 8-bit sheet at 20 dpi: background index 0, and every clip area of the default grid filled
// with the index of its cell, so each clip shows where it came from.
Picture IndexedSheet()
{
    Picture p;
    p.Width = 170;
    p.Height = 220;
    p.BitsPerPixel = 8;
    p.Channels = 1;
    for (int i = 0; i < 16; ++i)
        p.Palette.push_back({static_cast<Byte>(255 - i * 10), static_cast<Byte>(i * 15), static_cast<Byte>(i)});
    p.Data.assign(static_cast<size_t>(p.Width) * p.Height, 0);
    const TemplateGrid g = SheetGrid(p);
    for (int n = 1; n <= 9; ++n) {
        const ClipRect r = g.clipRect(n);
        for (int y = r.Y; y < r.Y + r.Height; ++y)
            for (int x = r.X; x < r.X + r.Width; ++x)
                p.Row(y)[x] = static_cast<Byte>(n);
    }
    return p;
}

void SelectOnly(TemplateGrid &g, std::initializer_list<int> cells)
{
    for (int n = 1; n <= TemplateGrid::kMaxCells; ++n)
        g.setSelected(n, false);
    for (int n : cells)
        g.setSelected(n, true);
}

// A fresh folder that is the Workspace's TempDir, the sheet above and the default grid on it.
struct SheetCut : ::testing::Test
{
    TestDir dir;
    Workspace ws;
    Picture sheet = IndexedSheet();
    TemplateGrid grid = SheetGrid(sheet);
    SheetCut() { ws.TempDir = dir.dir(); }

    // The request for the sheet written as sheet.bmp, cut into the folder.
    SheetCutRequest request()
    {
        std::string error;
        EXPECT_TRUE(SaveBitmap8(sheet, dir.file("sheet.bmp"), error)) << error;
        SheetCutRequest req;
        req.SheetPath = dir.file("sheet.bmp");
        req.TemplateName = "<Default>";
        req.Res = kRes;
        req.ClipDir = dir.dir();
        return req;
    }
};

struct Recorder : CutObserver
{
    std::vector<std::string> events;
    void cellStarted(int cell) override { events.push_back("start " + std::to_string(cell)); }
    void cellFinished(int cell, int card) override
    {
        events.push_back("end " + std::to_string(cell) + " card " + std::to_string(card));
    }
};

Picture ReadClip(const std::string &path)
{
    Picture clip;
    std::string error;
    EXPECT_TRUE(ReadPicture(path, PictureDepth::EightBitOnly, clip, error)) << error;
    return clip;
}

} // namespace

TEST_F(SheetCut, EightBitSheetKeepsTableAndIndexes)
{
    Recorder rec;
    const CutResult r = CutSheet(ws, sheet, grid, ws.TempDir, &rec);
    EXPECT_TRUE(r.Messages.empty());
    ASSERT_EQ(r.Clips.size(), 9u);
    EXPECT_EQ(r.Clips.back(), "clip09.bmp");
    ASSERT_EQ(ws.CardCount(), 9);
    EXPECT_EQ(ws.Card(4).FileName, "clip04.bmp"); // cell order, not sorted
    EXPECT_EQ(ws.Card(4).FullPath, dir.dir() + "clip04.bmp");
    EXPECT_EQ(ws.Card(4).Dpi, ws.DefaultRes); // Res shapes the cut, not the card
    EXPECT_EQ(ws.LastClipIndex, 9);
    EXPECT_EQ(rec.events.back(), "end 9 card 9");

    const Picture clip5 = ReadClip(dir.file("clip05.bmp"));
    EXPECT_EQ(clip5.Width, 30); // (1.75 - 0.25) x 20
    EXPECT_EQ(clip5.Height, 50);
    EXPECT_EQ(clip5.Palette, sheet.Palette);
    EXPECT_EQ(clip5.Data, std::vector<Byte>(30 * 50, 5));
}

TEST_F(SheetCut, SkippedCellsConsumeTheirNumbers)
{
    SelectOnly(grid, {3});
    EXPECT_EQ(CutSheet(ws, sheet, grid, ws.TempDir).Clips, (std::vector<std::string>{"clip03.bmp"}));
    SelectOnly(grid, {1});
    EXPECT_EQ(CutSheet(ws, sheet, grid, ws.TempDir).Clips, (std::vector<std::string>{"clip10.bmp"}));
    ws.LastClipIndex = 99;
    EXPECT_EQ(CutSheet(ws, sheet, grid, ws.TempDir).Clips, (std::vector<std::string>{"clip100.bmp"}));
    EXPECT_EQ(ws.LastClipIndex, 108);
    // Nothing selected: no clip, and the numbers still rise by the cell count.
    SelectOnly(grid, {});
    const CutResult none = CutSheet(ws, sheet, grid, ws.TempDir);
    EXPECT_TRUE(none.Clips.empty());
    EXPECT_TRUE(none.Cut);
    EXPECT_EQ(ws.LastClipIndex, 117);
    EXPECT_EQ(ws.CardCount(), 3);
}

TEST_F(SheetCut, QuarterInchCellsAreRefusedByName)
{
    CardTemplate t = DefaultTemplate();
    t.NumH = 2;
    t.NumV = 1;
    t.SizeH = 0.26f; // 0.01 x 20 rounds to no width
    TemplateGrid narrow = SheetGrid(sheet, t);
    const CutResult r = CutSheet(ws, sheet, narrow, ws.TempDir);
    EXPECT_TRUE(r.Clips.empty());
    EXPECT_EQ(r.Messages,
              (std::vector<std::string>{
                  "Cell 1 is a quarter of an inch or less across or down and gives no clip.",
                  "Cell 2 is a quarter of an inch or less across or down and gives no clip."}));
    EXPECT_EQ(ws.LastClipIndex, 2);
}

TEST_F(SheetCut, UnwritableClipStopsTheCutAndKeepsWhatWasMade)
{
    // After the first clip, a folder takes the second clip's name, so it cannot be written.
    struct Blocker : Recorder
    {
        std::string path;
        void cellFinished(int cell, int card) override
        {
            Recorder::cellFinished(cell, card);
            std::filesystem::create_directory(path);
        }
    } blocker;
    blocker.path = dir.file("clip02.bmp");
    const CutResult r = CutSheet(ws, sheet, grid, ws.TempDir, &blocker);
    EXPECT_TRUE(r.Stopped);
    EXPECT_EQ(r.Clips, (std::vector<std::string>{"clip01.bmp"}));
    ASSERT_EQ(r.Messages.size(), 1u);
    EXPECT_EQ(r.Messages[0].rfind("The clip '" + dir.file("clip02.bmp") + "' could not be written", 0), 0u)
        << r.Messages[0];
    EXPECT_TRUE(std::filesystem::exists(dir.file("clip01.bmp")));
    EXPECT_EQ(ws.CardCount(), 1);
    EXPECT_EQ(blocker.events.back(), "end 2 card 0");
    EXPECT_EQ(ws.LastClipIndex, 9);
}

TEST_F(SheetCut, RefusedClipAddsNoCardAndTheCutGoesOn)
{
    SelectOnly(grid, {1, 2});
    CutSheet(ws, sheet, grid, ws.TempDir);
    ws.LastClipIndex = 0; // the same names again: LoadImage finds them opened already
    SelectOnly(grid, {1, 2, 3});
    const CutResult r = CutSheet(ws, sheet, grid, ws.TempDir);
    EXPECT_EQ(r.Clips.size(), 3u);
    EXPECT_EQ(r.Cards, (std::vector<int>{3}));
    ASSERT_EQ(r.Messages.size(), 2u);
    EXPECT_NE(r.Messages[0].find("already been opened."), std::string::npos);
    EXPECT_EQ(ws.CardCount(), 3);
}

TEST_F(SheetCut, RefusalsCutNothingThenCellsOffsetAndResolution)
{
    SheetCutRequest req = request();
    req.Res = 0; // DefaultRes, 1200: the sheet is far too small
    CutResult r = CutSheetFile(ws, req);
    EXPECT_FALSE(r.Cut);
    ASSERT_EQ(r.Messages.size(), 1u);
    EXPECT_EQ(r.Messages[0], "Template '<Default>' does not fit on '" + req.SheetPath
                                 + "': cell 1 lies off the sheet, which is 0.14 by 0.18 inches at 1200 dpi.");
    req.Res = kRes;
    req.TemplateName = "Nope";
    r = CutSheetFile(ws, req);
    ASSERT_EQ(r.Messages.size(), 1u);
    EXPECT_EQ(r.Messages[0].rfind("Template 'Nope' was not found: there is no templates file '", 0), 0u);
    req.TemplateName = "<Default>";
    const std::string sheetPath = req.SheetPath;
    req.SheetPath = dir.file("missing.bmp");
    r = CutSheetFile(ws, req);
    ASSERT_EQ(r.Messages.size(), 1u);
    EXPECT_EQ(r.Messages[0].rfind("Error: ", 0), 0u);
    EXPECT_EQ(ws.LastClipIndex, 0);
    EXPECT_EQ(ws.CardCount(), 0);

    req.SheetPath = sheetPath;
    req.OffsetX = 0.05; // one pixel right at 20 dpi
    req.Cells = {5, 2};
    r = CutSheetFile(ws, req);
    EXPECT_TRUE(r.Messages.empty()) << r.Messages.front();
    EXPECT_EQ(r.Clips, (std::vector<std::string>{"clip02.bmp", "clip05.bmp"}));
    const Picture clip = ReadClip(dir.file("clip05.bmp"));
    EXPECT_EQ(clip.Row(0)[0], 5);
    EXPECT_EQ(clip.Row(0)[29], 0); // shifted one pixel past the painted card
    EXPECT_EQ(ws.LastClipIndex, 9);
}

// With colour scans on, the clips of a colour sheet stay 24-bit and each card finds its own
// background class: no question, whatever the gap colour of the sheet is.
TEST_F(SheetCut, ColourSheetClipsKeepTheirColoursAndTheirOwnClass)
{
    Picture rgb;
    rgb.Width = sheet.Width;
    rgb.Height = sheet.Height;
    rgb.BitsPerPixel = 24;
    rgb.Channels = 3;
    for (size_t i = 0; i < sheet.Data.size(); ++i) {
        const PaletteEntry c = sheet.Palette[sheet.Data[i]];
        rgb.Data.insert(rgb.Data.end(), {c.Red, c.Green, c.Blue});
    }
    for (int n = 1; n <= 9; ++n) { // a 4 by 5 stain in each clip
        const ClipRect r = grid.clipRect(n);
        for (int y = r.Y + 10; y < r.Y + 15; ++y)
            for (int x = r.X + 10; x < r.X + 14; ++x)
                std::fill_n(rgb.Row(y) + 3 * x, 3, Byte{20});
    }
    ws.ColourScans = true;
    const CutResult r = CutSheet(ws, rgb, grid, ws.TempDir);
    EXPECT_TRUE(r.Messages.empty());
    ASSERT_EQ(ws.CardCount(), 9);
    FixedAnswers answers;
    for (int i = 1; i <= 9; ++i) {
        SCOPED_TRACE(i);
        Picture clip;
        std::string error;
        ASSERT_TRUE(ReadPicture(dir.file(ws.Card(i).FileName), PictureDepth::AnyDepth, clip, error)) << error;
        EXPECT_EQ(clip.BitsPerPixel, 24);
        EXPECT_EQ(clip.Row(12)[3 * 12], 20);
        ASSERT_TRUE(DecodeCard(ws, i, answers).Ok);
        EXPECT_EQ(ws.Card(i).Pixels.size(), 20u + 2u);
    }
    EXPECT_EQ(answers.BackgroundAsked, 0);
}
