// The synthetic card generator is the oracle of the intake and scan tests, so its discs, colour
// tables and file layouts are checked here against independent counts and decoders.

#include "cardgen/cardgen.h"

#include <gif_lib.h>
#include <tiffio.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <unistd.h>

using namespace velmara::cardgen;

namespace {

std::uint32_t le32(const std::vector<std::uint8_t> &b, size_t at)
{
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<std::uint32_t>(b[at + 3]) << 24);
}
unsigned le16(const std::vector<std::uint8_t> &b, size_t at) { return b[at] | (b[at + 1] << 8); }

long long bruteDisc(double cx, double cy, double r, int width, int height)
{
    long long n = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r)
                ++n;
    return n;
}

std::vector<std::uint8_t> readAll(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// One folder per process, since CTest runs the cases of this file side by side; removed at exit.
std::filesystem::path scratchDir()
{
    return std::filesystem::temp_directory_path() / ("velmara-cardgen-test-" + std::to_string(::getpid()));
}

class ScratchCleanup : public ::testing::Environment
{
public:
    void TearDown() override
    {
        std::error_code ec;
        std::filesystem::remove_all(scratchDir(), ec);
    }
};
[[maybe_unused]] ::testing::Environment *const kScratchCleanup = ::testing::AddGlobalTestEnvironment(new ScratchCleanup);

std::string scratch(const std::string &name)
{
    std::filesystem::create_directories(scratchDir());
    return (scratchDir() / name).string();
}

// A small card with every feature the writers must carry: odd width, short table, distinct rows.
IndexedImage smallCard()
{
    CardSpec spec;
    spec.width = 5;
    spec.height = 3;
    spec.paletteSize = 3;
    spec.colours = {{1, Rgb{10, 20, 30}}, {2, Rgb{200, 0, 0}}};
    IndexedImage img = MakeCard(spec);
    img.pixels = {0, 1, 2, 1, 0,  // top row
                  2, 2, 2, 2, 2,  //
                  1, 0, 0, 0, 1}; // bottom row
    return img;
}

} // namespace

TEST(CardgenDisc, AreaIsTheLatticeCountOfTheDisc)
{
    EXPECT_EQ(DiscArea(0), 1);
    EXPECT_EQ(DiscArea(0.5), 1);
    EXPECT_EQ(DiscArea(1), 5);
    EXPECT_EQ(DiscArea(1.5), 9);
    EXPECT_EQ(DiscArea(2), 13);
    EXPECT_EQ(DiscArea(3), 29);
    EXPECT_EQ(DiscArea(5), 81);
    EXPECT_EQ(DiscArea(10), 317);
    for (double r : {2.5, 7.3, 12.0, 40.0})
        EXPECT_EQ(DiscArea(r), bruteDisc(50, 50, r, 101, 101)) << r;
}

TEST(CardgenDisc, PaintingMatchesTheDefinitionAndClipsAtTheEdges)
{
    IndexedImage img(40, 30, {kWhite, Rgb{0, 0, 255}}, 0);
    EXPECT_EQ(PaintDisc(img, {0, 0, 2, 1}), 6); // a quarter of r = 2 plus the two half axes
    EXPECT_EQ(img.count(1), 6);

    for (const Disc &d : {Disc{20, 15, 6.5, 1}, Disc{10.4, 7.7, 3.2, 1}, Disc{38, 29, 9, 1}}) {
        IndexedImage fresh(40, 30, {kWhite, Rgb{0, 0, 255}}, 0);
        const long long painted = PaintDisc(fresh, d);
        EXPECT_EQ(painted, bruteDisc(d.cx, d.cy, d.radius, 40, 30));
        EXPECT_EQ(fresh.count(1), painted);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) {
                const bool inside = (x - d.cx) * (x - d.cx) + (y - d.cy) * (y - d.cy) <= d.radius * d.radius;
                ASSERT_EQ(fresh.at(x, y), inside ? 1 : 0) << x << "," << y;
            }
    }
}

TEST(CardgenColour, HueFollowsTheProgramsScale)
{
    EXPECT_EQ(HueOf({255, 0, 0}), 0);
    EXPECT_EQ(HueOf({255, 255, 0}), 42);
    EXPECT_EQ(HueOf({0, 255, 0}), 85);
    EXPECT_EQ(HueOf({0, 255, 255}), 127);
    EXPECT_EQ(HueOf({0, 0, 255}), 170);
    EXPECT_EQ(HueOf({255, 0, 255}), 212);
    EXPECT_EQ(HueOf({255, 128, 0}), 21);
    EXPECT_EQ(HueOf({200, 100, 50}), 14);
    EXPECT_EQ(HueOf({0, 0, 0}), 169);
    EXPECT_EQ(HueOf(kWhite), 169);

    for (int h = 0; h <= 254; ++h)
        ASSERT_EQ(HueOf(ColourOfHue(h)), h);
    const Rgb dye{176, 24, 64};
    EXPECT_NEAR(HueOf(Tint(dye, 0.35)), HueOf(dye), 1) << "a paler rim keeps the stain's hue";
    EXPECT_EQ(Tint(dye, 1.0), kWhite);
}

TEST(CardgenCard, BackgroundDitherAndTableSize)
{
    CardSpec spec;
    spec.width = 7;
    spec.height = 4;
    spec.paletteSize = 16;
    spec.backgroundIndex = 5;
    spec.ditherIndex = 9;
    spec.discs = {{3, 2, 0, 12}};
    const IndexedImage card = MakeCard(spec);
    ASSERT_EQ(card.palette.size(), 16u);
    EXPECT_EQ(card.palette[5], kWhite);
    EXPECT_EQ(card.palette[9], spec.ditherColour);
    EXPECT_EQ(card.count(12), 1);
    EXPECT_EQ(card.count(5) + card.count(9), 27);
    EXPECT_EQ(card.at(0, 0), 5);
    EXPECT_EQ(card.at(1, 0), 9) << "half and half is a checkerboard";
    EXPECT_EQ(card.at(0, 1), 9);

    spec.discs = {{3, 2, 1, 16}};
    EXPECT_EQ(MakeCard(spec).width, 0) << "an index beyond the table";
    spec.discs.clear();
    spec.paletteSize = 257;
    EXPECT_EQ(MakeCard(spec).width, 0);
}

TEST(CardgenBmp, LayoutIsBottomUpPaddedWithTheTableAt54)
{
    const IndexedImage img = smallCard();
    const std::vector<std::uint8_t> b = EncodeBmp(img);
    ASSERT_EQ(b.size(), 54u + 3 * 4 + 3 * 8);
    EXPECT_EQ(b[0], 'B');
    EXPECT_EQ(b[1], 'M');
    EXPECT_EQ(le32(b, 2), b.size());
    EXPECT_EQ(le32(b, 10), 66u);
    EXPECT_EQ(le32(b, 14), 40u);
    EXPECT_EQ(le32(b, 18), 5u);
    EXPECT_EQ(le32(b, 22), 3u);
    EXPECT_EQ(le16(b, 28), 8u);
    EXPECT_EQ(le32(b, 30), 0u);
    EXPECT_EQ(le32(b, 46), 3u);
    EXPECT_EQ(std::vector<std::uint8_t>(b.begin() + 58, b.begin() + 62), (std::vector<std::uint8_t>{30, 20, 10, 0}));
    // The file's first row is the picture's last, padded to 8 bytes.
    EXPECT_EQ(std::vector<std::uint8_t>(b.begin() + 66, b.end()),
              (std::vector<std::uint8_t>{1, 0, 0, 0, 1, 0, 0, 0, 2, 2, 2, 2, 2, 0, 0, 0, 0, 1, 2, 1, 0, 0, 0, 0}));

    BmpOptions options;
    options.gapBytes = 6;
    const std::vector<std::uint8_t> gapped = EncodeBmp(img, options);
    EXPECT_EQ(le32(gapped, 10), 72u);
    EXPECT_EQ(gapped.size(), b.size() + 6);

    IndexedImage full(8, 2, std::vector<Rgb>(256), 7);
    options = {};
    options.zeroColoursFor256 = true;
    const std::vector<std::uint8_t> f = EncodeBmp(full, options);
    EXPECT_EQ(le32(f, 46), 0u);
    EXPECT_EQ(f.size(), 54u + 1024 + 16) << "a width of 8 needs no padding";

    const std::string path = scratch("small.bmp");
    ASSERT_TRUE(WriteBmp(img, path));
    EXPECT_EQ(readAll(path), b) << "streamed and in-memory forms agree";
}

TEST(CardgenBmp, TwentyFourBitRowsAreBlueGreenRed)
{
    const RgbImage rgb = ToRgb(smallCard());
    const std::vector<std::uint8_t> b = EncodeBmp24(rgb);
    EXPECT_EQ(le16(b, 28), 24u);
    EXPECT_EQ(le32(b, 10), 54u);
    ASSERT_EQ(b.size(), 54u + 3 * 16);
    // Bottom row, first pixel: index 1 = (10, 20, 30).
    EXPECT_EQ(std::vector<std::uint8_t>(b.begin() + 54, b.begin() + 57), (std::vector<std::uint8_t>{30, 20, 10}));
    const std::string path = scratch("small24.bmp");
    ASSERT_TRUE(WriteBmp24(rgb, path));
    EXPECT_EQ(readAll(path), b);
}

TEST(CardgenGif, DecodesToTheSamePixelsAndStatesTheColourResolution)
{
    const IndexedImage img = smallCard();
    const std::string path = scratch("small.gif");
    ASSERT_TRUE(WriteGif(img, path));
    const std::vector<std::uint8_t> raw = readAll(path);
    ASSERT_GE(raw.size(), 13u);
    EXPECT_EQ(std::string(raw.begin(), raw.begin() + 3), "GIF");
    EXPECT_EQ(le16(raw, 6), 5u);
    EXPECT_EQ(le16(raw, 8), 3u);
    EXPECT_EQ((raw[10] >> 4) & 7, 7) << "8 bits of colour resolution";

    int code = 0;
    GifFileType *gif = DGifOpenFileName(path.c_str(), &code);
    ASSERT_NE(gif, nullptr);
    ASSERT_EQ(DGifSlurp(gif), GIF_OK);
    ASSERT_EQ(gif->ImageCount, 1);
    const ColorMapObject *map = gif->SColorMap;
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->ColorCount, 4) << "three entries padded to a power of two";
    EXPECT_EQ(map->Colors[2].Red, 200);
    EXPECT_EQ(std::vector<std::uint8_t>(gif->SavedImages[0].RasterBits, gif->SavedImages[0].RasterBits + 15), img.pixels);
    DGifCloseFile(gif, &code);

    ASSERT_TRUE(WriteGif(img, path, 7));
    EXPECT_EQ((readAll(path)[10] >> 4) & 7, 6) << "a 7-bit file, which the program must refuse";
}

TEST(CardgenTif, PaletteTiffReadsBackWithFullColourMap)
{
    const IndexedImage img = smallCard();
    const std::string path = scratch("small.tif");
    for (bool lzw : {false, true}) {
        ASSERT_TRUE(WriteTif(img, path, 600, lzw));
        TIFF *tif = TIFFOpen(path.c_str(), "r");
        ASSERT_NE(tif, nullptr);
        std::uint16_t bits = 0, photometric = 0;
        std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
        TIFFGetField(tif, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric);
        ASSERT_EQ(TIFFGetField(tif, TIFFTAG_COLORMAP, &red, &green, &blue), 1);
        EXPECT_EQ(bits, 8);
        EXPECT_EQ(photometric, PHOTOMETRIC_PALETTE);
        EXPECT_EQ(red[2], 200 * 257);
        EXPECT_EQ(blue[1], 30 * 257);
        std::vector<std::uint8_t> line(static_cast<size_t>(TIFFScanlineSize(tif)));
        for (int y = 0; y < 3; ++y) {
            ASSERT_EQ(TIFFReadScanline(tif, line.data(), static_cast<std::uint32_t>(y), 0), 1);
            EXPECT_EQ(std::vector<std::uint8_t>(line.begin(), line.begin() + 5),
                      std::vector<std::uint8_t>(img.row(y), img.row(y) + 5));
        }
        TIFFClose(tif);
    }
}

TEST(CardgenScatter, SameSeedSameCardAndSeparateDiscsKeepTheirArea)
{
    ScatterSpec spec;
    spec.coverage = 0.08;
    spec.minRadius = 1;
    spec.maxRadius = 9;
    spec.discIndexes = {1};
    spec.speckIndexes = {2};
    const auto make = [&](std::uint64_t seed) {
        IndexedImage img(300, 200, {kWhite, Rgb{255, 0, 0}, Rgb{90, 90, 90}}, 0);
        Rng rng(seed);
        Scatter(img, spec, rng);
        return img.pixels;
    };
    EXPECT_EQ(make(7), make(7));
    EXPECT_NE(make(7), make(8));

    spec.separate = true;
    spec.speckShare = 0;
    IndexedImage img(300, 200, {kWhite, Rgb{255, 0, 0}}, 0);
    Rng rng(3);
    const ScatterResult placed = Scatter(img, spec, rng);
    ASSERT_GT(placed.discs.size(), 20u);
    EXPECT_GE(placed.discPixels, 0.08 * 300 * 200);
    EXPECT_EQ(img.count(1), placed.discPixels) << "no disc overlaps another or the edge";
    for (const Disc &d : placed.discs) {
        EXPECT_GE(d.radius, 1);
        EXPECT_LE(d.radius, 9);
    }
}

TEST(CardgenLine, MoreDepositInTheMiddleAndTheSameEveryTime)
{
    LineSpec spec;
    const std::vector<IndexedImage> line = MakeSprayLine(spec);
    ASSERT_EQ(line.size(), 6u);
    std::vector<long long> stained;
    for (const IndexedImage &card : line) {
        EXPECT_NEAR(card.width, 300, 3);
        EXPECT_NEAR(card.height, 600, 3);
        EXPECT_EQ(card.palette[0], kWhite);
        stained.push_back(card.count(1) + card.count(2) + card.count(3));
    }
    EXPECT_GT(stained[2], 2 * stained[0]);
    EXPECT_GT(stained[3], 2 * stained[5]);
    EXPECT_EQ(MakeSprayLine(spec)[4].pixels, line[4].pixels);
}

TEST(CardgenSheet, CardsSitOnTheTemplateGrid)
{
    const SheetSpec layout = SheetFromInches(100, 2, 2, 1.0, 1.5, 0.25, 0.5, 0.25, 0.25);
    EXPECT_EQ(layout.left, 25);
    EXPECT_EQ(layout.pitchX, 125);
    EXPECT_EQ(layout.pitchY, 200);
    std::vector<IndexedImage> cards;
    for (std::uint8_t i = 1; i <= 4; ++i)
        cards.emplace_back(100, 150, std::vector<Rgb>(8), i);
    SheetSpec spec = layout;
    spec.backgroundIndex = 7;
    const IndexedImage sheet = MakeSheet(spec, cards);
    EXPECT_EQ(sheet.width, 25 + 125 + 100 + 25);
    EXPECT_EQ(sheet.height, 25 + 200 + 150 + 25);
    EXPECT_EQ(sheet.at(24, 24), 7);
    EXPECT_EQ(sheet.at(25, 25), 1);
    EXPECT_EQ(sheet.at(150, 25), 2);
    EXPECT_EQ(sheet.at(149, 25), 7);
    EXPECT_EQ(sheet.at(25, 225), 3);
    EXPECT_EQ(sheet.at(249, 374), 4);
    EXPECT_EQ(sheet.count(4), 100 * 150);
    EXPECT_EQ(MakeSheet(spec, {}).width, 0);
}

TEST(CardgenSamples, CommittedSampleLineIsWhatTheGeneratorMakes)
{
    // The command in samples/README.md; a change to the generator must come with new samples.
    LineSpec spec;
    spec.widthInches = 0.4;
    spec.heightInches = 0.8;
    spec.seed = 1;
    const std::vector<IndexedImage> line = MakeSprayLine(spec);
    ASSERT_EQ(line.size(), 6u);
    for (size_t i = 0; i < line.size(); ++i) {
        const std::string path = std::string(VELMARA_SOURCE_DIR) + "/samples/card0" + std::to_string(i + 1) + ".bmp";
        EXPECT_EQ(readAll(path), EncodeBmp(line[i])) << path;
    }
}
