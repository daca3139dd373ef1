#include "intake/loadimage.h"

#include "testimages.h"

#include <gtest/gtest.h>

using namespace velmara;
using namespace velmara::test;

namespace {

struct LoadFixture : ::testing::Test
{
    TempFolder dir;
    Workspace ws;

    std::string bmp(const std::string &name, const IndexedImage &im, const BmpOptions &o = {})
    {
        WriteBytes(dir.file(name), BmpBytes(im, o));
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

} // namespace

TEST_F(LoadFixture, RegistersTheCardWithResolutionAndArea)
{
    ws.CompositeCheck = true;
    const LoadResult r = load(bmp("card.bmp", MakeImage(2400, 2400, 2)));
    ASSERT_TRUE(r.Ok) << r.Message;
    EXPECT_EQ(r.CardIndex, 1);
    EXPECT_FALSE(ws.CompositeCheck);
    const CardImage &card = ws.Card(1);
    EXPECT_EQ(card.FullPath, dir.folder() + "card.bmp");
    EXPECT_EQ(card.FileName, "card.bmp");
    EXPECT_EQ(card.WidthPx, 2400);
    EXPECT_EQ(card.HeightPx, 2400);
    EXPECT_EQ(card.Dpi, 1200);
    // 1200 dpi is about 21.17 micrometres a pixel, computed as ((1 / 1200) / 12 / 3.2808) * 1e6.
    EXPECT_DOUBLE_EQ(card.MicronsPerPixelX, ((1.0 / 1200) / 12 / 3.2808) * 1000000);
    EXPECT_NEAR(card.MicronsPerPixelX, 21.1669, 1e-4);
    EXPECT_EQ(card.MicronsPerPixelY, card.MicronsPerPixelX);
    EXPECT_NEAR(card.AreaCm2, 25.81, 0.01);
    EXPECT_FALSE(card.PixelsReady);
    EXPECT_FALSE(card.Scanned);
    EXPECT_EQ(card.Position, 0);
}

TEST_F(LoadFixture, TheResolutionComesFromDefaultRes)
{
    ws.DefaultRes = 600;
    ASSERT_TRUE(load(bmp("a.bmp", MakeImage(10, 20, 2))).Ok);
    EXPECT_EQ(ws.Card(1).Dpi, 600);
    EXPECT_NEAR(ws.Card(1).MicronsPerPixelX, 42.3338, 1e-4);
}

TEST_F(LoadFixture, FileNameEndings)
{
    const IndexedImage im = MakeImage(4, 4, 2);
    EXPECT_TRUE(load(bmp("UPPER.BMP", im)).Ok);
    EXPECT_TRUE(load(bmp("nodotbmp", im)).Ok); // merely ending in the letters passes

    const LoadResult tiff = load(bmp("scan.tiff", im));
    EXPECT_FALSE(tiff.Ok);
    EXPECT_EQ(tiff.Message, "'scan.tiff' is an unsupported file type.");
    EXPECT_TRUE(tiff.Exclamation);
    EXPECT_EQ(refusal("notes.txt"), "'notes.txt' is an unsupported file type.");
    EXPECT_EQ(refusal("mp"), "'mp' is an unsupported file type.");
}

TEST_F(LoadFixture, TheSamePathTwiceIsRefusedButTheSameNameElsewhereLoads)
{
    const IndexedImage im = MakeImage(4, 4, 2);
    ASSERT_TRUE(load(bmp("a.bmp", im)).Ok);
    EXPECT_EQ(refusal("a.bmp"), "'a.bmp' has\ralready been opened.");

    TempFolder other;
    WriteBytes(other.file("a.bmp"), BmpBytes(im));
    const LoadResult r = LoadImage(ws, other.file("a.bmp"));
    ASSERT_TRUE(r.Ok) << r.Message;
    EXPECT_EQ(ws.CardCount(), 2);
    EXPECT_EQ(ws.Card(2).FileName, "a.bmp");
    EXPECT_EQ(ws.Card(2).FullPath, other.file("a.bmp"));
}

TEST_F(LoadFixture, DepthRefusalsNameTheDepth)
{
    const IndexedImage im = MakeImage(4, 4, 2);
    BmpOptions deep;
    deep.bitsField = 24;
    EXPECT_EQ(refusal(bmp("deep.bmp", im, deep)), "This file is encoded at 24 bits per\rpixel and cannot be analysed.");

    WriteGif(dir.file("seven.gif"), MakeImage(4, 4, 256), 7);
    EXPECT_EQ(refusal("seven.gif"), "This file is encoded at 7 bits per\rpixel and cannot be analysed.");

    std::vector<Byte> rgb(4 * 4 * 3, 100);
    WriteRgbTiff(dir.file("rgb.tif"), 4, 4, rgb);
    EXPECT_EQ(refusal("rgb.tif"), "This file is encoded at 24 bits per\rpixel and cannot be analysed.");
}

TEST_F(LoadFixture, GifAndTifRegisterFromTheirHeaders)
{
    const IndexedImage im = MakeImage(33, 17, 256);
    WriteGif(dir.file("c.gif"), im);
    WriteTiff(dir.file("c.tif"), im);
    for (const char *name : {"c.gif", "c.tif"}) {
        SCOPED_TRACE(name);
        const LoadResult r = load(name);
        ASSERT_TRUE(r.Ok) << r.Message;
        EXPECT_EQ(ws.Card(r.CardIndex).WidthPx, 33);
        EXPECT_EQ(ws.Card(r.CardIndex).HeightPx, 17);
    }

    std::vector<Byte> bytes = ReadBytes(dir.file("c.gif"));
    bytes[3] = 'x'; // "GIFx9a"
    WriteBytes(dir.file("bad.gif"), bytes);
    EXPECT_EQ(refusal("bad.gif"), "'bad.gif' does not seem to be a valid GIF image.");
    bytes[0] = 'g', bytes[3] = '8'; // the signature is compared in lower case
    WriteBytes(dir.file("lower.gif"), bytes);
    EXPECT_TRUE(load("lower.gif").Ok);
    WriteBytes(dir.file("tiny.gif"), {'G', 'I', 'F'});
    EXPECT_EQ(refusal("tiny.gif"), "'tiny.gif' does not seem to be a valid GIF image.");

    WriteBytes(dir.file("text.tif"), std::vector<Byte>(100, 'z'));
    EXPECT_EQ(refusal("text.tif").rfind("Error: ", 0), 0u);
}

TEST_F(LoadFixture, DamagedAndMissingFilesGiveAnErrorAndNoCard)
{
    const IndexedImage im = MakeImage(6, 5, 4);
    ASSERT_TRUE(load(bmp("good.bmp", im)).Ok);

    EXPECT_EQ(refusal("missing.bmp"), "Error: File not found");
    WriteBytes(dir.file("stub.bmp"), std::vector<Byte>(20, 0));
    EXPECT_EQ(refusal("stub.bmp"), "Error: The file is too short to be a picture.");

    BmpOptions cut;
    cut.truncateTo = 54 + 16 + 8;
    EXPECT_EQ(refusal(bmp("cut.bmp", im, cut)), "Error: The file is shorter than its header says; it may be truncated.");
    BmpOptions offset;
    offset.pixelOffsetField = 1 << 30;
    EXPECT_EQ(refusal(bmp("offset.bmp", im, offset)),
              "Error: The file is shorter than its header says; it may be truncated.");
    BmpOptions colours;
    colours.coloursField = 300;
    EXPECT_EQ(refusal(bmp("colours.bmp", im, colours)), "Error: The colour table of the bitmap is damaged.");
    BmpOptions longTable;
    longTable.coloursField = 200; // the table would run past the end of this small file
    EXPECT_EQ(refusal(bmp("table.bmp", MakeImage(1, 1, 2), longTable)),
              "Error: The file is shorter than its header says; it may be truncated.");
    EXPECT_EQ(ws.CardCount(), 1);
}

TEST_F(LoadFixture, SizesOutsideOneTo32767AreRefused)
{
    const IndexedImage im = MakeImage(3, 3, 2);
    const auto sized = [&](long w, long h) {
        BmpOptions o;
        o.widthField = w;
        o.heightField = h;
        return refusal(bmp("s.bmp", im, o));
    };
    EXPECT_EQ(sized(0, 3), "Error: The picture is 0 by 3 pixels; a card must have 1 to 32767 lines and columns.");
    EXPECT_EQ(sized(3, -3), "Error: The picture is 3 by -3 pixels; a card must have 1 to 32767 lines and columns.");
    EXPECT_EQ(sized(32768, 3),
              "Error: The picture is 32768 by 3 pixels; a card must have 1 to 32767 lines and columns.");
    EXPECT_EQ(sized(3, 40000),
              "Error: The picture is 3 by 40000 pixels; a card must have 1 to 32767 lines and columns.");

    std::vector<Byte> gif = {'G', 'I', 'F', '8', '9', 'a', 0x00, 0x90, 0x05, 0x00, 0xF7};
    WriteBytes(dir.file("wide.gif"), gif); // 36864 by 5
    EXPECT_EQ(refusal("wide.gif"),
              "Error: The picture is 36864 by 5 pixels; a card must have 1 to 32767 lines and columns.");
}

TEST_F(LoadFixture, AResolutionOfZeroOrBelowIsRefusedWithoutDividing)
{
    for (int res : {0, -300}) {
        ws.DefaultRes = res;
        EXPECT_EQ(refusal(bmp("r.bmp", MakeImage(3, 3, 2))),
                  "Error: The default image resolution (DefaultRes) is " + std::to_string(res) +
                      " dpi; set a resolution above 0 under Preferences (--dpi for the command line).");
    }
}
