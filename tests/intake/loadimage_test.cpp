#include "intake/loadimage.h"

#include "testimages.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

using namespace velmara;
using namespace velmara::test;

namespace {

struct LoadFixture : ::testing::Test
{
    TempFolder dir;
    Workspace ws;

    std::string put(const std::string &name, const Bytes &bytes)
    {
        WriteBytes(dir.file(name), bytes);
        return name;
    }
    LoadResult load(const std::string &name) { return LoadImage(ws, name, dir.folder()); }
    // A refusal leaves the list as it was.
    std::string refusal(const std::string &name)
    {
        const int before = ws.CardCount();
        const LoadResult r = load(name);
        EXPECT_FALSE(r.Ok);
        EXPECT_EQ(ws.CardCount(), before);
        return r.Message;
    }
};

std::string SizeMessage(const std::string &size)
{
    return "Error: The picture is " + size + " pixels; a card must have 1 to 32767 lines and columns.";
}

} // namespace

TEST_F(LoadFixture, RegistersTheCardAtTheDefaultResolution)
{
    // 1200 dpi is about 21.17 micrometres a pixel, computed as ((1 / 1200) / 12 / 3.2808) * 1e6.
    const struct
    {
        int dpi, width, height;
        double microns, areaCm2;
    } cases[] = {{1200, 2400, 2400, 21.1669, 25.81}, {600, 10, 20, 42.3338, 0.0035843}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.dpi);
        ws.CompositeCheck = true;
        ws.DefaultRes = c.dpi;
        const std::string name = "card" + std::to_string(c.dpi) + ".bmp";
        const LoadResult r = load(put(name, Bmp(MakeImage(c.width, c.height, 2))));
        ASSERT_TRUE(r.Ok) << r.Message;
        EXPECT_FALSE(ws.CompositeCheck);
        const CardImage &card = ws.Card(r.CardIndex);
        EXPECT_EQ(card.FullPath, dir.folder() + name);
        EXPECT_EQ(card.FileName, name);
        EXPECT_EQ(card.WidthPx, c.width);
        EXPECT_EQ(card.HeightPx, c.height);
        EXPECT_EQ(card.Dpi, c.dpi);
        EXPECT_NEAR(card.MicronsPerPixelX, c.microns, 1e-4);
        EXPECT_EQ(card.MicronsPerPixelY, card.MicronsPerPixelX);
        EXPECT_NEAR(card.AreaCm2, c.areaCm2, c.areaCm2 * 1e-3);
        EXPECT_FALSE(card.PixelsReady || card.Scanned);
        EXPECT_EQ(card.Position, 0);
    }
}

TEST_F(LoadFixture, GifAndTifRegisterFromTheirHeadersAndEndingsAreCaseBlind)
{
    const IndexedImage im = MakeImage(33, 17, 256);
    ASSERT_TRUE(cardgen::WriteGif(im, dir.file("c.gif")));
    ASSERT_TRUE(cardgen::WriteTif(im, dir.file("c.tif")));
    Bytes lower = ReadBytes(dir.file("c.gif"));
    lower[0] = 'g'; // the signature is compared in lower case
    // A resolution tag that can't be read changes no pixel: its warning stays hidden.
    const Bytes badResolution = PatchTifTag(ReadBytes(dir.file("c.tif")), 282, 0x7FFFFFF0);
    // Merely ending in the letters passes.
    for (const std::string &name : {std::string("c.gif"), std::string("c.tif"), put("lower.gif", lower),
                                    put("UPPER.BMP", Bmp(im)), put("nodotbmp", Bmp(im)),
                                    put("res.tif", badResolution)}) {
        SCOPED_TRACE(name);
        const LoadResult r = load(name);
        ASSERT_TRUE(r.Ok) << r.Message;
        EXPECT_EQ(ws.Card(r.CardIndex).WidthPx, 33);
        EXPECT_EQ(ws.Card(r.CardIndex).HeightPx, 17);
    }
}

TEST_F(LoadFixture, RefusalsNameTheFaultAndAddNoCard)
{
    const IndexedImage im = MakeImage(6, 5, 4);
    ASSERT_TRUE(load(put("good.bmp", Bmp(im))).Ok);
    ASSERT_TRUE(cardgen::WriteGif(MakeImage(4, 4, 256), dir.file("seven.gif"), 7));
    ASSERT_TRUE(cardgen::WriteTif24(cardgen::RgbImage{4, 4, Bytes(4 * 4 * 3, 100)}, dir.file("rgb.tif")));
    ASSERT_TRUE(cardgen::WriteGif(MakeImage(4, 4, 256), dir.file("eight.gif")));
    Bytes badGif = ReadBytes(dir.file("eight.gif"));
    badGif[3] = 'x'; // "GIFx9a"
    // A colour map past the end of the file, or cut by it: read without it, the card would be grey.
    ASSERT_TRUE(cardgen::WriteTif(im, dir.file("map.tif")));
    const Bytes tif = ReadBytes(dir.file("map.tif"));
    const std::string badMap = "' is damaged: IO error during reading of \"ColorMap\".";
    std::filesystem::create_directory(dir.file("folder.bmp"));
    // Held open for writing and reading, so that a reader that waited for a writer would not hang.
    ASSERT_EQ(::mkfifo(dir.file("pipe.gif").c_str(), 0600), 0);
    const int pipeHeld = ::open(dir.file("pipe.gif").c_str(), O_RDWR | O_NONBLOCK);
    const std::string truncated = "Error: The file is shorter than its header says; it may be truncated.";
    const std::pair<std::string, std::string> cases[] = {
        {put("scan.tiff", Bmp(im)), "'scan.tiff' is an unsupported file type."},
        {put("notes.txt", Bmp(im)), "'notes.txt' is an unsupported file type."},
        {put("mp", Bmp(im)), "'mp' is an unsupported file type."},
        {"good.bmp", "'good.bmp' has\ralready been opened."},
        {"./good.bmp", "'good.bmp' has\ralready been opened."},
        {"folder.bmp", "'folder.bmp' is a folder, not a picture file."},
        {"pipe.gif", "'pipe.gif' is not a regular file."},
        {std::string(300, 'n') + ".bmp", "Error: The file name is too long"},
        {put("far.tif", PatchTifTag(tif, 320, 0x7FFFFFF0)), "Error: The TIF file 'far.tif" + badMap},
        {put("cutmap.tif", PatchTifTag(tif, 320, static_cast<long>(tif.size()) - 100)),
         "Error: The TIF file 'cutmap.tif" + badMap},
        {put("deep.bmp", Bmp(im, {{28, 24}})), "This file is encoded at 24 bits per\rpixel and cannot be analysed."},
        {"seven.gif", "This file is encoded at 7 bits per\rpixel and cannot be analysed."},
        {"rgb.tif", "This file is encoded at 24 bits per\rpixel and cannot be analysed."},
        {put("bad.gif", badGif), "'bad.gif' does not seem to be a valid GIF image."},
        {put("tiny.gif", {'G', 'I', 'F'}), "'tiny.gif' does not seem to be a valid GIF image."},
        {"missing.bmp", "Error: File not found"},
        {put("stub.bmp", Bytes(20, 0)), "Error: The file is too short to be a picture."},
        {put("cut.bmp", Bmp(im, {}, 54 + 16 + 8)), truncated},
        {put("offset.bmp", Bmp(im, {{10, 1 << 30}})), truncated},
        {put("colours.bmp", Bmp(im, {{46, 300}})), "Error: The colour table of the bitmap is damaged."},
        // The table would run past the end of this small file.
        {put("table.bmp", Bmp(MakeImage(1, 1, 2), {{46, 200}})), truncated},
        {put("w0.bmp", Bmp(im, {{18, 0}})), SizeMessage("0 by 5")},
        {put("h-3.bmp", Bmp(im, {{22, -3}})), SizeMessage("6 by -3")},
        {put("w32768.bmp", Bmp(im, {{18, 32768}})), SizeMessage("32768 by 5")},
        {put("h40000.bmp", Bmp(im, {{22, 40000}})), SizeMessage("6 by 40000")},
        {put("wide.gif", {'G', 'I', 'F', '8', '9', 'a', 0x00, 0x90, 0x05, 0x00, 0xF7}), SizeMessage("36864 by 5")},
    };
    for (const auto &[name, message] : cases)
        EXPECT_EQ(refusal(name), message) << name;
    EXPECT_TRUE(load("scan.tiff").Exclamation);
    put("text.tif", Bytes(100, 'z'));
    EXPECT_EQ(refusal("text.tif").rfind("Error: ", 0), 0u);
    EXPECT_EQ(ws.CardCount(), 1);
    ::close(pipeHeld);
}

TEST_F(LoadFixture, TheSameNameInAnotherFolderLoads)
{
    ASSERT_TRUE(load(put("a.bmp", Bmp(MakeImage(4, 4, 2)))).Ok);
    TempFolder other;
    WriteBytes(other.file("a.bmp"), Bmp(MakeImage(4, 4, 2)));
    const LoadResult r = LoadImage(ws, other.file("a.bmp"));
    ASSERT_TRUE(r.Ok) << r.Message;
    EXPECT_EQ(ws.Card(2).FileName, "a.bmp");
    EXPECT_EQ(ws.Card(2).FullPath, other.file("a.bmp"));
}

TEST_F(LoadFixture, AResolutionOfZeroOrBelowIsRefusedWithoutDividing)
{
    for (int res : {0, -300}) {
        ws.DefaultRes = res;
        EXPECT_EQ(refusal(put("r.bmp", Bmp(MakeImage(3, 3, 2)))),
                  "Error: The default image resolution (DefaultRes) is " + std::to_string(res) +
                      " dpi; set a resolution above 0 under Preferences (--dpi for the command line).");
    }
}

TEST_F(LoadFixture, ABatchRegistersAsTheSameFilesOneByOne)
{
    // Enough files for helper threads; duplicates within the batch, of an earlier card and under
    // another spelling, among refusals of every stage.
    ASSERT_TRUE(load(put("early.bmp", Bmp(MakeImage(3, 3, 2)))).Ok);
    std::vector<std::string> paths;
    for (int i = 0; i < 150; ++i)
        paths.push_back(dir.file(put("c" + std::to_string(i) + ".bmp", Bmp(MakeImage(4 + i % 7, 5, 2)))));
    for (const std::string &odd : {dir.file("c3.bmp"), dir.folder() + "./c4.bmp", dir.file("early.bmp"),
                                   dir.file(put("n.txt", {})), dir.file("gone.bmp"),
                                   dir.file(put("deep.bmp", Bmp(MakeImage(4, 4, 2), {{28, 24}})))})
        paths.insert(paths.begin() + 40, odd);
    Workspace one = ws;
    std::vector<LoadResult> expected;
    for (const std::string &p : paths)
        expected.push_back(LoadImage(one, p));

    const std::vector<LoadResult> got = LoadImages(ws, paths, 3);
    ASSERT_EQ(got.size(), expected.size());
    for (size_t i = 0; i < got.size(); ++i) {
        SCOPED_TRACE(paths[i]);
        EXPECT_EQ(got[i].Ok, expected[i].Ok);
        EXPECT_EQ(got[i].CardIndex, expected[i].CardIndex);
        EXPECT_EQ(got[i].Message, expected[i].Message);
        EXPECT_EQ(got[i].Exclamation, expected[i].Exclamation);
    }
    ASSERT_EQ(ws.CardCount(), one.CardCount());
    EXPECT_EQ(ws.CardCount(), 1 + 150);
    for (int i = 1; i <= ws.CardCount(); ++i) {
        EXPECT_EQ(ws.Card(i).FullPath, one.Card(i).FullPath);
        EXPECT_EQ(ws.Card(i).WidthPx, one.Card(i).WidthPx);
        EXPECT_EQ(ws.Card(i).AreaCm2, one.Card(i).AreaCm2);
    }
}
