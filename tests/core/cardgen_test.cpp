// The synthetic card generator is the oracle of the intake and scan tests and the source of the
// committed samples, so its discs and file layouts are checked against independent counts and
// decoders. The committed colour samples are read back in tests/intake, by the row reader that
// is itself checked there against files the codec libraries write.

#include "cardgen/cardgen.h"
#include "support/testdir.h"

#include <gif_lib.h>
#include <tiffio.h>

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <tuple>

using namespace velmara::cardgen;
using Bytes = std::vector<std::uint8_t>;

namespace {

std::uint32_t le32(const Bytes &b, size_t at)
{
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<std::uint32_t>(b[at + 3]) << 24);
}

bool insideDisc(const Disc &d, int x, int y)
{
    return (x - d.cx) * (x - d.cx) + (y - d.cy) * (y - d.cy) <= d.radius * d.radius;
}

Bytes readAll(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Odd width, short table, distinct rows: every feature the writers must carry.
IndexedImage smallCard()
{
    IndexedImage img(5, 3, {kWhite, Rgb{10, 20, 30}, Rgb{200, 0, 0}});
    img.pixels = {0, 1, 2, 1, 0,  // top row
                  2, 2, 2, 2, 2,  //
                  1, 0, 0, 0, 1}; // bottom row
    return img;
}

// A picture with more rows than one interlace pass and more than one 16-pixel tile each way.
IndexedImage patterned()
{
    IndexedImage img(21, 19, {});
    for (int i = 0; i < 200; ++i)
        img.palette.push_back({static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(255 - i), static_cast<std::uint8_t>(i * 3)});
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width; ++x)
            img.row(y)[x] = static_cast<std::uint8_t>((x * 7 + y * 3) % 200);
    return img;
}

} // namespace

TEST(CardgenDisc, AreaAndPaintingFollowTheLatticeDefinition)
{
    const std::pair<double, long long> areas[] = {{0, 1}, {0.5, 1}, {1, 5}, {1.5, 9}, {2, 13},
                                                  {3, 29}, {5, 81}, {10, 317}};
    for (const auto &[radius, area] : areas)
        EXPECT_EQ(DiscArea(radius), area) << radius;

    // Whole, off-centre and cut by the edges (a quarter of r = 2 plus the two half axes is 6).
    for (const Disc &d : {Disc{20, 15, 6.5, 1}, Disc{10.4, 7.7, 3.2, 1}, Disc{38, 29, 9, 1}, Disc{0, 0, 2, 1}}) {
        IndexedImage img(40, 30, {kWhite, Rgb{0, 0, 255}}, 0);
        const long long painted = PaintDisc(img, d);
        long long inside = 0;
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) {
                inside += insideDisc(d, x, y);
                ASSERT_EQ(img.at(x, y), insideDisc(d, x, y) ? 1 : 0) << d.cx << "," << d.cy << " at " << x << "," << y;
            }
        EXPECT_EQ(painted, inside);
    }
}

TEST(CardgenBmp, BottomUpRowsPaddedAfterTheTableAndHeaderFields)
{
    const IndexedImage img = smallCard();
    const Bytes b = EncodeBmp(img);
    ASSERT_EQ(b.size(), 54u + 3 * 4 + 3 * 8);
    EXPECT_EQ(std::string(b.begin(), b.begin() + 2), "BM");
    const std::pair<size_t, std::uint32_t> fields[] = {
        {2, 90}, {10, 66}, {14, 40}, {18, 5}, {22, 3}, {30, 0}, {46, 3}};
    for (const auto &[at, value] : fields)
        EXPECT_EQ(le32(b, at), value) << "offset " << at;
    EXPECT_EQ(b[28], 8);
    EXPECT_EQ(Bytes(b.begin() + 58, b.begin() + 62), (Bytes{30, 20, 10, 0}));
    EXPECT_EQ(Bytes(b.begin() + 66, b.end()),
              (Bytes{1, 0, 0, 0, 1, 0, 0, 0, 2, 2, 2, 2, 2, 0, 0, 0, 0, 1, 2, 1, 0, 0, 0, 0}));
    const velmara::test::TestDir dir;
    const std::string path = dir.file("small.bmp");
    ASSERT_TRUE(WriteBmp(img, path));
    EXPECT_EQ(readAll(path), b) << "streamed and in-memory forms agree";

    BmpOptions options;
    options.gapBytes = 6;
    const Bytes gapped = EncodeBmp(img, options);
    EXPECT_EQ(le32(gapped, 10), 72u);
    EXPECT_EQ(gapped.size(), b.size() + 6);
    options = {};
    options.zeroColoursFor256 = true;
    const Bytes full = EncodeBmp(IndexedImage(8, 2, std::vector<Rgb>(256), 7), options);
    EXPECT_EQ(le32(full, 46), 0u);
    EXPECT_EQ(full.size(), 54u + 1024 + 16);

    // 24 bits: blue, green, red, rows padded to four bytes.
    const Bytes rgb = EncodeBmp24(ToRgb(img));
    ASSERT_EQ(rgb.size(), 54u + 3 * 16);
    EXPECT_EQ(rgb[28], 24);
    EXPECT_EQ(Bytes(rgb.begin() + 54, rgb.begin() + 57), (Bytes{30, 20, 10}));
    ASSERT_TRUE(WriteBmp24(ToRgb(img), path));
    EXPECT_EQ(readAll(path), rgb);
}

// Pixels and colours of the GIF and TIF files are checked through the program's readers against
// the same picture as a bitmap; here only the forms those tests claim to cover.
TEST(CardgenGifTif, WritesInterlacedGifsAndTiledCompressedTifs)
{
    const IndexedImage img = patterned();
    const velmara::test::TestDir dir;
    const std::string gifPath = dir.file("c.gif");
    for (const bool interlaced : {false, true}) {
        ASSERT_TRUE(WriteGif(img, gifPath, 8, nullptr, interlaced));
        int code = 0;
        GifFileType *gif = DGifOpenFileName(gifPath.c_str(), &code);
        ASSERT_NE(gif, nullptr);
        ASSERT_EQ(DGifSlurp(gif), GIF_OK);
        EXPECT_EQ(gif->SavedImages[0].ImageDesc.Interlace, interlaced);
        DGifCloseFile(gif, &code);
        EXPECT_EQ((readAll(gifPath)[10] >> 4) & 7, 7) << "8 bits of colour resolution";
    }
    ASSERT_TRUE(WriteGif(smallCard(), gifPath, 7));
    EXPECT_EQ((readAll(gifPath)[10] >> 4) & 7, 6) << "a 7-bit file, which the program must refuse";

    const std::string tifPath = dir.file("c.tif");
    for (const auto &[lzw, tile] : {std::pair{false, 0}, {true, 16}}) {
        ASSERT_TRUE(WriteTif(img, tifPath, 600, lzw, nullptr, tile));
        TIFF *tif = TIFFOpen(tifPath.c_str(), "r");
        ASSERT_NE(tif, nullptr);
        std::uint16_t bits = 0, photometric = 0, compression = 0;
        TIFFGetField(tif, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric);
        TIFFGetField(tif, TIFFTAG_COMPRESSION, &compression);
        EXPECT_EQ(std::tuple(bits, photometric, compression, TIFFIsTiled(tif) != 0),
                  std::tuple(8, PHOTOMETRIC_PALETTE, lzw ? COMPRESSION_LZW : COMPRESSION_NONE, tile > 0));
        TIFFClose(tif);
    }
}


namespace {

ColourCardSpec colourSpec(Paper paper, int width, int height, double coverage, std::uint64_t seed = 7)
{
    ColourCardSpec spec;
    spec.paper = paper;
    spec.width = width;
    spec.height = height;
    spec.coverage = coverage;
    spec.seed = seed;
    return spec;
}

ColourStain circle(double cx, double cy, double radius)
{
    ColourStain s;
    s.cx = cx;
    s.cy = cy;
    s.semiMajor = s.semiMinor = radius;
    return s;
}

} // namespace

TEST(CardgenColour, StainListAgreesWithThePaintedShades)
{
    // Without noise and gradient every pixel is an exact mix of card and stain, so the covered
    // area can be read back from the shades, independently of the painter's sub-pixel sweep.
    for (const Paper paper : {Paper::WaterSensitive, Paper::WhiteRed, Paper::WhiteBlack}) {
        ColourCardSpec spec = colourSpec(paper, 300, 200, 0.15);
        spec.noise = 0;
        spec.gradient = 0;
        const ColourCard card(spec);
        const RgbImage img = card.image();
        spec.coverage = 0;
        const Bytes bare = ColourCard(spec).image().data;
        spec.stains = {circle(0.5, 0.5, 100)};
        const Bytes ink = ColourCard(spec).image().data;
        int channel = 0; // the one with the widest span between card and stain
        for (int k = 1; k < 3; ++k)
            if (std::abs(bare[k] - ink[k]) > std::abs(bare[channel] - ink[channel]))
                channel = k;
        double shaded = 0;
        for (size_t i = static_cast<size_t>(channel); i < img.data.size(); i += 3)
            shaded += double(bare[channel] - img.data[i]) / (bare[channel] - ink[channel]);
        EXPECT_NEAR(shaded / (300.0 * 200.0), card.coveredShare(), 0.001);
        EXPECT_NEAR(card.coveredShare(), 0.15, 0.03) << "overlaps take a little of the coverage asked";

        double listed = 0;
        for (const ColourStain &s : card.stains()) {
            listed += s.area;
            const bool inside = s.cx - s.semiMajor > 0 && s.cy - s.semiMajor > 0 && s.cx + s.semiMajor < 300
                                && s.cy + s.semiMajor < 200;
            if (inside) {
                EXPECT_NEAR(s.area, 3.14159265 * s.semiMajor * s.semiMinor, 0.5 + 0.02 * s.area);
            }
            EXPECT_GE(s.semiMajor / s.semiMinor, 1.0);
            EXPECT_LE(s.semiMajor / s.semiMinor, 1 / 0.85 + 1e-9);
        }
        EXPECT_GE(listed, card.coveredShare() * 300 * 200);
        EXPECT_NE(card.stainList(), ColourCard(colourSpec(paper, 300, 200, 0.15, 8)).stainList()) << "the seed counts";
    }
}

TEST(CardgenColour, ResolvableWhenHalfTheStainIsClearOfTheOthers)
{
    struct Case
    {
        const char *what;
        std::vector<ColourStain> stains;
        std::vector<bool> resolvable;
    };
    // Two discs of radius 10 five apart share 69 % of their area; fourteen apart, 19 %.
    const Case cases[] = {
        {"apart", {circle(20, 20, 10), circle(50, 20, 10)}, {true, true}},
        {"deep overlap", {circle(20, 20, 10), circle(25, 20, 10)}, {false, false}},
        {"slight overlap", {circle(20, 20, 10), circle(34, 20, 10)}, {true, true}},
        {"inside a larger one", {circle(30, 20, 10), circle(30, 20, 3)}, {true, false}},
        {"middle of a chain", {circle(15, 20, 10), circle(25, 20, 10), circle(35, 20, 10)}, {true, false, true}},
    };
    for (const Case &c : cases) {
        ColourCardSpec spec = colourSpec(Paper::WaterSensitive, 60, 40, 0);
        spec.stains = c.stains;
        const ColourCard card(spec);
        std::vector<bool> got;
        for (const ColourStain &s : card.stains())
            got.push_back(s.resolvable);
        EXPECT_EQ(got, c.resolvable) << c.what;
    }
    // A disc cut by the edge keeps only the area within the picture.
    ColourCardSpec edge = colourSpec(Paper::WaterSensitive, 60, 40, 0);
    edge.stains = {circle(0, 20, 10)};
    EXPECT_NEAR(ColourCard(edge).stains()[0].area, 3.14159265 * 50, 2);
}

TEST(CardgenColour, ColourTableCopyKeepsTheColoursWithinTheGrid)
{
    const ColourCard card(colourSpec(Paper::WaterSensitive, 120, 90, 0.2));
    const IndexedImage table = ReduceToTable(RowsOf(card));
    ASSERT_EQ(std::tuple(table.width, table.height), std::tuple(120, 90));
    EXPECT_LE(table.palette.size(), 256u);
    EXPECT_GT(table.palette.size(), 20u) << "noise spreads the card over many entries, as a user's reduction does";
    const RgbImage rgb = card.image();
    const RgbImage back = ToRgb(table);
    int worst = 0;
    for (size_t i = 0; i < rgb.data.size(); ++i)
        worst = std::max(worst, std::abs(rgb.data[i] - back.data[i]));
    EXPECT_LE(worst, 24);
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
