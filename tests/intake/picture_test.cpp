#include "intake/picture.h"

#include "testimages.h"

#include <gif_lib.h>

#include <gtest/gtest.h>

using namespace velmara;
using namespace velmara::test;

namespace {

IndexedImage Pattern(int width, int height, int colours)
{
    IndexedImage im = MakeImage(width, height, colours);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            im.row(y)[x] = static_cast<Byte>((x * 7 + y * 3) % colours);
    return im;
}

Picture Read(const std::string &path, PictureDepth mode = PictureDepth::EightBitOnly)
{
    Picture p;
    std::string error;
    EXPECT_TRUE(ReadPicture(path, mode, p, error)) << error;
    return p;
}

std::string Refusal(const std::string &path, int *depth = nullptr)
{
    Picture p;
    std::string error;
    EXPECT_FALSE(ReadPicture(path, PictureDepth::EightBitOnly, p, error));
    if (depth)
        *depth = p.BitsPerPixel;
    return error;
}

// A bitmap of any depth: header, 2^bits table entries below 16 bits (entry i is red 3i, green 2i,
// blue i) and the rows as stored, bottom-up and padded.
Bytes RawBmp(int width, int height, int bits, const Bytes &rows)
{
    const int colours = bits < 16 ? 1 << bits : 0;
    Bytes f(54 + 4 * static_cast<size_t>(colours), 0);
    f[0] = 'B', f[1] = 'M', f[26] = 1, f[28] = static_cast<Byte>(bits);
    Put32(f, 10, static_cast<long>(f.size())), Put32(f, 14, 40), Put32(f, 18, width), Put32(f, 22, height);
    for (int i = 0; i < colours; ++i)
        f[54 + 4 * i] = static_cast<Byte>(i), f[55 + 4 * i] = static_cast<Byte>(2 * i), f[56 + 4 * i] = static_cast<Byte>(3 * i);
    f.insert(f.end(), rows.begin(), rows.end());
    return f;
}

const std::string kTruncated = "The file is shorter than its header says; it may be truncated.";

} // namespace

TEST(PictureBmp, WriterMatchesTheLayoutAndReadsBackInPieces)
{
    TempFolder dir;
    for (int width : {1, 2, 3, 4, 5, 13}) {
        SCOPED_TRACE(width);
        const IndexedImage im = Pattern(width, 4, 256);
        const Picture p = ToPicture(im);
        std::string error;
        ASSERT_TRUE(SaveBitmap8(p, dir.file("w.bmp"), error)) << error;
        const Bytes file = ReadBytes(dir.file("w.bmp"));
        // The generator's layout without a resolution, every colour marked important.
        cardgen::BmpOptions noResolution;
        noResolution.dpi = 0;
        Bytes expected = cardgen::EncodeBmp(im, noResolution);
        Put32(expected, 50, 256);
        EXPECT_EQ(file, expected);
        const Picture back = Read(dir.file("w.bmp"));
        EXPECT_EQ(back.Palette, p.Palette);
        EXPECT_EQ(back.Data, p.Data);

        // Read in awkward pieces: the pieces must join up across header, table and rows.
        ASSERT_EQ(BitmapFileSize(p), file.size());
        Bytes virtualFile(file.size() + 10, 0xEE);
        for (size_t at = 0; at < file.size();) {
            const size_t got = ReadBitmapBytes(p, at, virtualFile.data() + at, 7);
            ASSERT_GT(got, 0u);
            at += got;
        }
        EXPECT_EQ(ReadBitmapBytes(p, file.size(), virtualFile.data(), 4), 0u);
        virtualFile.resize(file.size());
        EXPECT_EQ(virtualFile, file);
    }
}

TEST(PictureBmp, OtherDepthsAreReadForSheetsAndRefusedForCards)
{
    TempFolder dir;
    const struct
    {
        int bits, width, height;
        Bytes rows, data;
    } cases[] = {
        {1, 3, 2, {0xA0, 0, 0, 0, 0x40, 0, 0, 0}, {0, 1, 0, 1, 0, 1}},
        {4, 3, 1, {0x3F, 0x20, 0, 0}, {3, 15, 2}},
        // RGB stays RGB, top row first.
        {24, 2, 2, {1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 4, 5, 6, 0, 0}, {0, 0, 0, 6, 5, 4, 3, 2, 1, 0, 0, 0}},
        {32, 2, 2, {1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 5, 6, 0}, {0, 0, 0, 6, 5, 4, 3, 2, 1, 0, 0, 0}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.bits);
        WriteBytes(dir.file("d.bmp"), RawBmp(c.width, c.height, c.bits, c.rows));
        const Picture p = Read(dir.file("d.bmp"), PictureDepth::AnyDepth);
        EXPECT_EQ(p.BitsPerPixel, c.bits);
        EXPECT_EQ(p.Channels, c.bits < 16 ? 1 : 3);
        EXPECT_EQ(p.Data, c.data);
        if (c.bits < 16) {
            EXPECT_EQ(p.Palette.size(), 1u << c.bits);
            EXPECT_EQ(p.Palette[1], (PaletteEntry{3, 2, 1}));
        }
        int depth = 0;
        EXPECT_EQ(Refusal(dir.file("d.bmp"), &depth), BitDepthMessage(c.bits));
        EXPECT_EQ(depth, c.bits);
    }
    EXPECT_EQ(BitDepthMessage(24), "This file is encoded at 24 bits per\rpixel and cannot be analysed.");
}

TEST(PictureBmp, LyingHeadersAreRefusedWithoutReadingPastTheFile)
{
    TempFolder dir;
    const IndexedImage im = Pattern(5, 4, 8);
    const std::pair<Bytes, std::string> cases[] = {
        {Bmp(im, {{22, 5000}}), kTruncated},
        {Bmp(im, {{10, 0x7FFFFFF0}}), kTruncated},
        {Bmp(im, {{18, 40000}}), "The picture is 40000 by 4 pixels; a picture must have 1 to 32767 lines and columns."},
        {Bmp(im, {{18, 0}}), "The picture is 0 by 4 pixels; a picture must have 1 to 32767 lines and columns."},
        {Bmp(im, {{46, 100000}}), "The bitmap's colour table is damaged."},
        {Bmp(im, {}, 40), "The bitmap file is too short to hold its header."},
        {{'h', 'e', 'l', 'l', 'o'}, "Invalid picture"},
    };
    for (const auto &[bytes, message] : cases) {
        WriteBytes(dir.file("x.bmp"), bytes);
        EXPECT_EQ(Refusal(dir.file("x.bmp")), message);
    }
    EXPECT_EQ(Refusal(dir.file("missing.bmp")), "File not found");
}

TEST(PictureGifTif, OtherDepthsAreReadForSheets)
{
    TempFolder dir;
    const IndexedImage small = Pattern(6, 5, 16);
    ASSERT_TRUE(cardgen::WriteGif(small, dir.file("seven.gif"), 7)); // a card refuses it (tests of loading)
    const Picture seven = Read(dir.file("seven.gif"), PictureDepth::AnyDepth);
    EXPECT_EQ(seven.Palette, PaletteOf(small)) << "a GIF table as long as the file has it";
    EXPECT_EQ(seven.Data, small.pixels);

    cardgen::RgbImage rgb{4, 3, {}};
    for (int i = 0; i < 4 * 3 * 3; ++i)
        rgb.data.push_back(static_cast<Byte>(i * 5));
    ASSERT_TRUE(cardgen::WriteTif24(rgb, dir.file("rgb.tif")));
    const Picture sheet = Read(dir.file("rgb.tif"), PictureDepth::AnyDepth);
    EXPECT_EQ(sheet.Channels, 3);
    EXPECT_EQ(sheet.Data, rgb.data);
    Picture info;
    std::string error;
    ASSERT_TRUE(ProbeTiff(dir.file("rgb.tif"), info, error));
    EXPECT_EQ(std::make_tuple(info.BitsPerPixel, info.Width, info.Height), std::make_tuple(24, 4, 3));
}

TEST(PictureGifTif, CutOrPaddedGifsAreRefusedBeforeTheirScreenIsAllocated)
{
    TempFolder dir;
    ASSERT_TRUE(cardgen::WriteGif(Pattern(300, 200, 256), dir.file("p.gif")));
    const Bytes gif = ReadBytes(dir.file("p.gif"));
    // A screen of 864 million pixels and a comment that makes the file big enough to seem to
    // hold it: only the image's own data counts.
    Bytes padded(gif.begin(), gif.begin() + 13 + 768);
    padded[6] = 0x00, padded[7] = 0x7D, padded[8] = 0x78, padded[9] = 0x69; // 32000 by 27000
    padded.insert(padded.end(), {0x21, 0xFE});
    for (int block = 0; block < 1720; ++block) {
        padded.push_back(255);
        padded.insert(padded.end(), 255, 'x');
    }
    padded.push_back(0);
    padded.insert(padded.end(), gif.begin() + 13 + 768, gif.end());
    const std::string damaged = "The GIF file is truncated or damaged";
    const std::pair<Bytes, std::string> cases[] = {
        {Bytes(gif.begin(), gif.begin() + 400), damaged},                  // in the colour table
        {Bytes(gif.begin(), gif.begin() + 13 + 768 + 30), damaged},        // in the image's data
        {Bytes(gif.begin(), gif.end() - gif.size() / 3), damaged},
        {padded, "The GIF's screen of 32000 by 27000 pixels is far more than its picture data can fill; "
                 "the file is damaged."},
    };
    for (const auto &[bytes, message] : cases) {
        WriteBytes(dir.file("x.gif"), bytes);
        EXPECT_EQ(Refusal(dir.file("x.gif")).substr(0, message.size()), message) << bytes.size();
    }
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
    Bytes expected(30, 9);
    expected[4 * 6 + 3] = 1, expected[4 * 6 + 4] = 2, expected[4 * 6 + 5] = 3;
    EXPECT_EQ(p.Data, expected);
}

TEST(PictureClip, RectanglesLeavingThePictureAreRefused)
{
    const Picture source = ToPicture(Pattern(10, 8, 50));
    Picture clip;
    std::string error;
    ASSERT_TRUE(ClipPicture(source, 2, 3, 4, 2, clip, error));
    EXPECT_EQ(clip.Palette, source.Palette);
    EXPECT_EQ(Bytes(clip.Row(1), clip.Row(1) + 4), Bytes(source.Row(4) + 2, source.Row(4) + 6));
    for (const auto &[x, y, w, h] : {std::tuple{7, 0, 4, 2}, {0, 7, 1, 2}, {-1, 0, 1, 1}, {0, 0, 0, 1}})
        EXPECT_FALSE(ClipPicture(source, x, y, w, h, clip, error)) << x << "," << y << " " << w << "x" << h;
}

TEST(PictureSave, AnRgbPictureOfManyColoursIsBroughtTo256)
{
    TempFolder dir;
    Picture many;
    many.Width = 64, many.Height = 64, many.Channels = 3, many.BitsPerPixel = 24;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            many.Data.insert(many.Data.end(), {static_cast<Byte>(x * 4), static_cast<Byte>(y * 4), 128});
    std::string error;
    ASSERT_TRUE(SaveBitmap8(many, dir.file("rgb.bmp"), error)) << error;
    const Picture back = Read(dir.file("rgb.bmp"));
    EXPECT_LE(back.Palette.size(), 256u);
    for (size_t i = 0; i < back.Data.size(); ++i) {
        const PaletteEntry &e = back.Palette[back.Data[i]];
        ASSERT_NEAR(e.Red, many.Data[3 * i], 12) << i;
        ASSERT_NEAR(e.Green, many.Data[3 * i + 1], 12) << i;
        ASSERT_NEAR(e.Blue, many.Data[3 * i + 2], 12) << i;
    }
    EXPECT_FALSE(SaveBitmap8(many, dir.file("no/such/folder.bmp"), error));
}
