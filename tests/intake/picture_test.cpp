#include "intake/picture.h"

#include "testimages.h"

#include <gtest/gtest.h>

using namespace velmara;
using namespace velmara::test;

namespace {

IndexedImage Pattern(int width, int height, int colours)
{
    IndexedImage im = MakeImage(width, height, colours);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            im.pixels[static_cast<size_t>(y) * width + x] = static_cast<Byte>((x * 7 + y * 3) % colours);
    return im;
}

void ExpectSamePicture(const Picture &p, const IndexedImage &im)
{
    EXPECT_EQ(p.Width, im.width);
    EXPECT_EQ(p.Height, im.height);
    EXPECT_EQ(p.Channels, 1);
    EXPECT_EQ(p.Palette, im.palette);
    EXPECT_EQ(p.Data, im.pixels);
}

Picture Read(const std::string &path, PictureDepth mode = PictureDepth::EightBitOnly)
{
    Picture p;
    std::string error;
    EXPECT_TRUE(ReadPicture(path, mode, p, error)) << error;
    return p;
}

std::string Refusal(const std::string &path, PictureDepth mode = PictureDepth::EightBitOnly, int *depth = nullptr)
{
    Picture p;
    std::string error;
    EXPECT_FALSE(ReadPicture(path, mode, p, error));
    if (depth)
        *depth = p.BitsPerPixel;
    return error;
}

} // namespace

TEST(PictureBmp, WriterRoundTripsAndMatchesTheInMemoryLayout)
{
    TempFolder dir;
    for (int width : {1, 2, 3, 4, 5, 13}) {
        SCOPED_TRACE(width);
        const IndexedImage im = Pattern(width, 4, 256);
        std::string error;
        ASSERT_TRUE(SaveBitmap8(im.toPicture(), dir.file("w.bmp"), error)) << error;
        const std::vector<Byte> file = ReadBytes(dir.file("w.bmp"));
        // The writer's bytes are the reference bitmap layout, byte for byte.
        EXPECT_EQ(file, BmpBytes(im));
        ExpectSamePicture(Read(dir.file("w.bmp")), im);

        const Picture p = im.toPicture();
        ASSERT_EQ(BitmapFileSize(p), file.size());
        std::vector<Byte> virtualFile(file.size() + 10, 0xEE);
        // Read in awkward pieces: the pieces must join up across header, table and rows.
        size_t at = 0;
        while (at < file.size()) {
            const size_t got = ReadBitmapBytes(p, at, virtualFile.data() + at, 7);
            ASSERT_GT(got, 0u);
            at += got;
        }
        EXPECT_EQ(ReadBitmapBytes(p, file.size(), virtualFile.data(), 4), 0u);
        virtualFile.resize(file.size());
        EXPECT_EQ(virtualFile, file);
    }
}

TEST(PictureBmp, OtherDepthsAreReportedAtTheirOwnDepth)
{
    TempFolder dir;
    BmpOptions o;
    o.bitsField = 24;
    WriteBytes(dir.file("d.bmp"), BmpBytes(Pattern(4, 4, 4), o));
    int depth = 0;
    EXPECT_EQ(Refusal(dir.file("d.bmp"), PictureDepth::EightBitOnly, &depth),
              "This file is encoded at 24 bits per\rpixel and cannot be analysed.");
    EXPECT_EQ(depth, 24);
}

TEST(PictureBmp, SheetsOfOneFourTwentyFourAndThirtyTwoBits)
{
    TempFolder dir;
    // 1-bit, 3 pixels wide: one byte of bits per row, padded to 4.
    std::vector<Byte> f(62 + 4 * 2, 0);
    f[0] = 'B', f[1] = 'M';
    Put32(f, 10, 62), Put32(f, 14, 40), Put32(f, 18, 3), Put32(f, 22, 2);
    f[26] = 1, f[28] = 1;
    f[54 + 4] = 10, f[54 + 5] = 20, f[54 + 6] = 30; // entry 1: blue 10, green 20, red 30
    f[62] = 0xA0;     // bottom row: 1 0 1
    f[66] = 0x40;     // top row: 0 1 0
    WriteBytes(dir.file("one.bmp"), f);
    Picture p = Read(dir.file("one.bmp"), PictureDepth::AnyDepth);
    EXPECT_EQ(p.BitsPerPixel, 1);
    EXPECT_EQ(p.Data, (std::vector<Byte>{0, 1, 0, 1, 0, 1}));
    EXPECT_EQ(p.Palette[1], (PaletteEntry{30, 20, 10}));
    EXPECT_EQ(Refusal(dir.file("one.bmp")), BitDepthMessage(1));

    // 4-bit, 3 wide, 1 high.
    std::vector<Byte> g(54 + 64 + 4, 0);
    g[0] = 'B', g[1] = 'M';
    Put32(g, 10, 54 + 64), Put32(g, 14, 40), Put32(g, 18, 3), Put32(g, 22, 1);
    g[26] = 1, g[28] = 4;
    g[118] = 0x3F, g[119] = 0x20;
    WriteBytes(dir.file("four.bmp"), g);
    p = Read(dir.file("four.bmp"), PictureDepth::AnyDepth);
    EXPECT_EQ(p.Palette.size(), 16u);
    EXPECT_EQ(p.Data, (std::vector<Byte>{3, 15, 2}));

    // 24 and 32 bits stay RGB, top row first.
    for (int bits : {24, 32}) {
        SCOPED_TRACE(bits);
        const int bpp = bits / 8;
        const size_t stride = ((2 * bpp) + 3) & ~3;
        std::vector<Byte> h(54 + 2 * stride, 0);
        h[0] = 'B', h[1] = 'M';
        Put32(h, 10, 54), Put32(h, 14, 40), Put32(h, 18, 2), Put32(h, 22, 2);
        h[26] = 1, h[28] = static_cast<Byte>(bits);
        // bottom row: pixel (0,1) is blue 1 green 2 red 3
        h[54] = 1, h[55] = 2, h[56] = 3;
        // top row: pixel (1,0) is blue 4 green 5 red 6
        h[54 + stride + bpp] = 4, h[54 + stride + bpp + 1] = 5, h[54 + stride + bpp + 2] = 6;
        WriteBytes(dir.file("rgb.bmp"), h);
        p = Read(dir.file("rgb.bmp"), PictureDepth::AnyDepth);
        EXPECT_EQ(p.BitsPerPixel, bits);
        EXPECT_EQ(p.Channels, 3);
        EXPECT_EQ(p.Data, (std::vector<Byte>{0, 0, 0, 6, 5, 4, 3, 2, 1, 0, 0, 0}));
    }
}

TEST(PictureBmp, LyingHeadersAreRefusedWithoutReadingPastTheFile)
{
    TempFolder dir;
    const IndexedImage im = Pattern(5, 4, 8);
    const auto refusal = [&](BmpOptions o) {
        WriteBytes(dir.file("x.bmp"), BmpBytes(im, o));
        return Refusal(dir.file("x.bmp"));
    };
    BmpOptions tall;
    tall.heightField = 5000;
    EXPECT_EQ(refusal(tall), "The file is shorter than its header says; it may be truncated.");
    BmpOptions huge;
    huge.widthField = 40000;
    EXPECT_NE(refusal(huge).find("1 to 32767"), std::string::npos);
    BmpOptions none;
    none.widthField = 0;
    EXPECT_NE(refusal(none).find("1 to 32767"), std::string::npos);
    BmpOptions colours;
    colours.coloursField = 100000;
    EXPECT_EQ(refusal(colours), "The bitmap's colour table is damaged.");
    BmpOptions offset;
    offset.pixelOffsetField = 0x7FFFFFF0;
    EXPECT_EQ(refusal(offset), "The file is shorter than its header says; it may be truncated.");
    BmpOptions cut;
    cut.truncateTo = 40;
    EXPECT_EQ(refusal(cut), "The bitmap file is too short to hold its header.");

    WriteBytes(dir.file("text.bmp"), std::vector<Byte>{'h', 'e', 'l', 'l', 'o'});
    EXPECT_EQ(Refusal(dir.file("text.bmp")), "Invalid picture");
    EXPECT_EQ(Refusal(dir.file("missing.bmp")), "File not found");
}

TEST(PictureGifTif, KeepTheColourTableOrderAndIndexes)
{
    TempFolder dir;
    const IndexedImage im = Pattern(21, 19, 200);
    WriteGif(dir.file("p.gif"), im);
    WriteGif(dir.file("i.gif"), im, 8, true);
    WriteTiff(dir.file("p.tif"), im);
    WriteTiff(dir.file("t.tif"), im, true);
    IndexedImage im256 = im;
    im256.palette.resize(256); // GIF and TIF tables are stored at full length
    {
        SCOPED_TRACE("gif");
        ExpectSamePicture(Read(dir.file("p.gif")), im256);
    }
    {
        SCOPED_TRACE("interlaced gif");
        ExpectSamePicture(Read(dir.file("i.gif")), im256);
    }
    {
        SCOPED_TRACE("tif");
        ExpectSamePicture(Read(dir.file("p.tif")), im256);
    }
    {
        SCOPED_TRACE("tiled tif");
        ExpectSamePicture(Read(dir.file("t.tif")), im256);
    }
}

TEST(PictureGifTif, ShortGifTableAndOtherDepths)
{
    TempFolder dir;
    const IndexedImage small = Pattern(6, 5, 16);
    WriteGif(dir.file("s.gif"), small);
    ExpectSamePicture(Read(dir.file("s.gif")), small);

    WriteGif(dir.file("seven.gif"), small, 7);
    int depth = 0;
    EXPECT_EQ(Refusal(dir.file("seven.gif"), PictureDepth::EightBitOnly, &depth), BitDepthMessage(7));
    EXPECT_EQ(depth, 7);
    EXPECT_EQ(Read(dir.file("seven.gif"), PictureDepth::AnyDepth).Data, small.pixels);

    std::vector<Byte> rgb(4 * 3 * 3);
    for (size_t i = 0; i < rgb.size(); ++i)
        rgb[i] = static_cast<Byte>(i * 5);
    WriteRgbTiff(dir.file("rgb.tif"), 4, 3, rgb);
    EXPECT_EQ(Refusal(dir.file("rgb.tif"), PictureDepth::EightBitOnly, &depth), BitDepthMessage(24));
    EXPECT_EQ(depth, 24);
    const Picture sheet = Read(dir.file("rgb.tif"), PictureDepth::AnyDepth);
    EXPECT_EQ(sheet.Channels, 3);
    EXPECT_EQ(sheet.Data, rgb);
    Picture info;
    std::string error;
    ASSERT_TRUE(ProbeTiff(dir.file("rgb.tif"), info, error));
    EXPECT_EQ(info.BitsPerPixel, 24);
    EXPECT_EQ(info.Width, 4);
    EXPECT_EQ(info.Height, 3);
}

TEST(PictureClip, CutsARectangleAndKeepsTheTable)
{
    const IndexedImage im = Pattern(10, 8, 50);
    Picture clip;
    std::string error;
    ASSERT_TRUE(ClipPicture(im.toPicture(), 2, 3, 4, 2, clip, error));
    EXPECT_EQ(clip.Width, 4);
    EXPECT_EQ(clip.Height, 2);
    EXPECT_EQ(clip.Palette, im.palette);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(clip.Row(y)[x], im.at(2 + x, 3 + y));
    EXPECT_FALSE(ClipPicture(im.toPicture(), 7, 0, 4, 2, clip, error));
    EXPECT_FALSE(ClipPicture(im.toPicture(), 0, 7, 1, 2, clip, error));
    EXPECT_FALSE(ClipPicture(im.toPicture(), -1, 0, 1, 1, clip, error));
    EXPECT_FALSE(ClipPicture(im.toPicture(), 0, 0, 0, 1, clip, error));
}

TEST(PictureSave, RgbClipsComeOutAsEightBitBitmaps)
{
    TempFolder dir;
    // Few colours: kept exactly.
    Picture few;
    few.Width = 3, few.Height = 2, few.Channels = 3, few.BitsPerPixel = 24;
    few.Data = {255, 0, 0, 0, 0, 255, 255, 0, 0, 9, 9, 9, 0, 0, 255, 9, 9, 9};
    std::string error;
    ASSERT_TRUE(SaveBitmap8(few, dir.file("few.bmp"), error)) << error;
    Picture back = Read(dir.file("few.bmp"));
    ASSERT_EQ(back.Palette.size(), 3u);
    for (int i = 0; i < 6; ++i) {
        const PaletteEntry &e = back.Palette[back.Data[i]];
        EXPECT_EQ((std::vector<int>{e.Red, e.Green, e.Blue}),
                  (std::vector<int>{few.Data[3 * i], few.Data[3 * i + 1], few.Data[3 * i + 2]}));
    }

    // Many colours: at most 256, each pixel near its colour.
    Picture many;
    many.Width = 64, many.Height = 64, many.Channels = 3, many.BitsPerPixel = 24;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            many.Data.insert(many.Data.end(), {static_cast<Byte>(x * 4), static_cast<Byte>(y * 4), 128});
    ASSERT_TRUE(SaveBitmap8(many, dir.file("many.bmp"), error)) << error;
    back = Read(dir.file("many.bmp"));
    EXPECT_LE(back.Palette.size(), 256u);
    for (int i = 0; i < 64 * 64; ++i) {
        const PaletteEntry &e = back.Palette[back.Data[i]];
        EXPECT_NEAR(e.Red, many.Data[3 * i], 12);
        EXPECT_NEAR(e.Green, many.Data[3 * i + 1], 12);
        EXPECT_NEAR(e.Blue, many.Data[3 * i + 2], 12);
    }
    EXPECT_FALSE(SaveBitmap8(many, dir.file("no/such/folder.bmp"), error));
}

TEST(PictureGifTif, AGifImageSmallerThanItsScreenStandsOnTheBackgroundColour)
{
    TempFolder dir;
    int err = 0;
    GifFileType *gif = EGifOpenFileName(dir.file("f.gif").c_str(), false, &err);
    ASSERT_NE(gif, nullptr);
    std::vector<GifColorType> colours(256, GifColorType{1, 2, 3});
    ColorMapObject *map = GifMakeMapObject(256, colours.data());
    ASSERT_EQ(EGifPutScreenDesc(gif, 6, 5, 8, 9, map), GIF_OK); // background index 9
    // A 4 x 2 image at (3, 4): its right half and bottom line fall off the screen.
    ASSERT_EQ(EGifPutImageDesc(gif, 3, 4, 4, 2, false, nullptr), GIF_OK);
    GifPixelType line[4] = {1, 2, 3, 4};
    ASSERT_EQ(EGifPutLine(gif, line, 4), GIF_OK);
    ASSERT_EQ(EGifPutLine(gif, line, 4), GIF_OK);
    GifFreeMapObject(map);
    ASSERT_EQ(EGifCloseFile(gif, &err), GIF_OK);

    const Picture p = Read(dir.file("f.gif"));
    ASSERT_EQ(p.Width, 6);
    ASSERT_EQ(p.Height, 5);
    std::vector<Byte> expected(30, 9);
    expected[4 * 6 + 3] = 1, expected[4 * 6 + 4] = 2, expected[4 * 6 + 5] = 3;
    EXPECT_EQ(p.Data, expected);
}
