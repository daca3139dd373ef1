#include "intake/colourdecode.h"

#include "intake/loadimage.h"
#include "testimages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace velmara;
using namespace velmara::test;

namespace {

struct Colour
{
    double r, g, b;
};

// A colour scan drawn in memory: discs of stain colour with soft, sub-pixel edges on a card whose
// light falls off by 5 % from left to right, with sensor noise; Truth is the covered share drawn.
struct SyntheticCard
{
    cardgen::RgbImage Image;
    double Truth = 0;
};

SyntheticCard DrawCard(Colour card, Colour stain, int noise, unsigned seed, int width = 420, int height = 300)
{
    SyntheticCard out;
    out.Image.width = width;
    out.Image.height = height;
    out.Image.data.resize(3 * static_cast<size_t>(width) * height);
    unsigned state = seed;
    const auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 8; };
    struct Drop { double x, y, r; };
    std::vector<Drop> drops;
    for (int i = 0; i < 70; ++i)
        drops.push_back({next() % width * 1.0 + 0.37, next() % height * 1.0 + 0.61, 1.5 + next() % 90 / 10.0});
    constexpr int kSub = 6; // sub-samples a side give each pixel its covered share
    double covered = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            int hits = 0;
            for (int sy = 0; sy < kSub; ++sy)
                for (int sx = 0; sx < kSub; ++sx) {
                    const double px = x + (sx + 0.5) / kSub, py = y + (sy + 0.5) / kSub;
                    hits += std::any_of(drops.begin(), drops.end(), [&](const Drop &d) {
                        return (px - d.x) * (px - d.x) + (py - d.y) * (py - d.y) <= d.r * d.r;
                    });
                }
            const double a = hits / double(kSub * kSub);
            covered += a;
            const double light = 1.0 - 0.05 * x / width;
            const double mixed[3] = {card.r + a * (stain.r - card.r), card.g + a * (stain.g - card.g),
                                     card.b + a * (stain.b - card.b)};
            for (int c = 0; c < 3; ++c) {
                const int n = noise ? static_cast<int>(next() % (2 * noise + 1) + next() % (2 * noise + 1)) - 2 * noise : 0;
                out.Image.data[3 * (static_cast<size_t>(y) * width + x) + c] =
                    static_cast<Byte>(std::clamp<long>(std::lround(mixed[c] * light) + n / 2, 0, 255));
            }
        }
    out.Truth = covered / (double(width) * height);
    return out;
}

class ColourFixture : public ::testing::Test
{
protected:
    ColourFixture()
    {
        ws.ColourScans = true;
        ws.TempDir = dir.folder();
    }
    int load(const cardgen::RgbImage &image, const std::string &name)
    {
        std::string error;
        EXPECT_TRUE(cardgen::WriteBmp24(image, dir.file(name), 600, &error)) << error;
        const LoadResult r = LoadImage(ws, name, dir.folder());
        EXPECT_TRUE(r.Ok) << r.Message;
        return r.CardIndex;
    }
    double coveredShare(int index) const
    {
        const CardImage &c = ws.Card(index);
        return double(c.Pixels.size() - 2) / (double(c.WidthPx) * c.HeightPx);
    }

    TempFolder dir;
    Workspace ws;
    FixedAnswers answers;
};

TEST_F(ColourFixture, TheCardKindsGiveTheirCoveredShareAndAStableTable)
{
    const struct
    {
        const char *kind;
        Colour card, stain;
    } kinds[] = {
        {"water-sensitive paper", {232, 212, 64}, {38, 52, 140}},
        {"white, red dye", {246, 244, 238}, {196, 38, 52}},
        {"white, blue dye", {246, 244, 238}, {42, 66, 186}},
        {"white, black dye", {246, 244, 238}, {28, 28, 30}},
        {"greyscale", {228, 228, 228}, {72, 72, 72}},
    };
    unsigned seed = 7;
    for (const auto &k : kinds) {
        SCOPED_TRACE(k.kind);
        const SyntheticCard drawn = DrawCard(k.card, k.stain, 4, seed++);
        const int index = load(drawn.Image, "card" + std::to_string(seed) + ".bmp");
        ASSERT_GT(index, 0);
        ASSERT_TRUE(DecodeCard(ws, index, answers).Ok);
        const CardImage &card = ws.Card(index);
        EXPECT_TRUE(card.ColourScan.Colour);
        EXPECT_EQ(card.ColourScan.SourceDepth, 24);
        EXPECT_NEAR(coveredShare(index), drawn.Truth, 0.005) << "truth " << drawn.Truth;
        EXPECT_GT(card.ColourScan.BackgroundClassEntries, 0);
        EXPECT_LE(card.ColourScan.TableEntries, 256);
        EXPECT_EQ(card.ColourScan.StainBoundary, card.ColourScan.AutoBoundary);

        // The same file gives the same table and the same pixels.
        const auto table = card.ColourTable;
        const auto pixels = card.Pixels;
        ws.Card(index).PixelsReady = false;
        ASSERT_TRUE(DecodeCard(ws, index, answers).Ok);
        EXPECT_EQ(ws.Card(index).ColourTable, table);
        EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), ws.Card(index).Pixels.begin(),
                               ws.Card(index).Pixels.end(), [](const CardPixel &a, const CardPixel &b) {
                                   return a.Row == b.Row && a.Column == b.Column && a.PaletteIndex == b.PaletteIndex;
                               }));
    }
    EXPECT_EQ(answers.BackgroundAsked, 0);
}

TEST_F(ColourFixture, TheBoundaryOverridesTheAutomaticClass)
{
    const SyntheticCard drawn = DrawCard({240, 240, 236}, {30, 30, 30}, 2, 3);
    const int index = load(drawn.Image, "b.bmp");
    // In steps from the card: 0 leaves no card, 255 no stain; a boundary short of the stain colour
    // takes in more of each edge than the automatic one does.
    const struct { int boundary; double low, high; } rows[] = {
        {0, 1.0, 1.0}, {255, 0.0, 0.0}, {30, drawn.Truth + 0.002, 1.0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.boundary);
        ws.StainBoundary = row.boundary;
        ws.Card(index).PixelsReady = false;
        ASSERT_TRUE(DecodeCard(ws, index, answers).Ok);
        EXPECT_EQ(ws.Card(index).ColourScan.StainBoundary, row.boundary);
        EXPECT_GE(coveredShare(index), row.low);
        EXPECT_LE(coveredShare(index), row.high);
        EXPECT_EQ(ws.Card(index).ColourScan.BackgroundClassEntries == 0, row.boundary == 0);
    }
}

TEST_F(ColourFixture, OneColourIsAllCardAndThePreviewShowsOnlyTheClass)
{
    cardgen::RgbImage plain{40, 30, std::vector<Byte>(3 * 40 * 30, 200)};
    const int index = load(plain, "plain.bmp");
    Picture indexes;
    ASSERT_TRUE(DecodeColourCard(ws, index, answers, NoProgress(), &indexes).Ok);
    const CardImage &card = ws.Card(index);
    EXPECT_EQ(card.Pixels.size(), 2u); // element 0 and the closing element
    EXPECT_EQ(card.ColourScan.TableEntries, 1);
    EXPECT_EQ(card.ColourScan.BackgroundClassEntries, 1);

    ws.StainBoundary = 0;
    ws.Card(index).PixelsReady = false;
    ASSERT_TRUE(DecodeColourCard(ws, index, answers, NoProgress(), &indexes).Ok);
    const Picture preview = BackgroundClassPreview(ws.Card(index), indexes);
    ASSERT_EQ(preview.Palette.size(), 1u);
    EXPECT_EQ(preview.Palette[0], PaletteEntry{}); // nothing is card: all black
    EXPECT_EQ(indexes.Palette[0], (PaletteEntry{200, 200, 200}));
}

TEST_F(ColourFixture, EndingsAndDamagedFilesAreToldByName)
{
    cardgen::RgbImage plain{8, 8, std::vector<Byte>(3 * 64, 90)};
    std::string error;
    ASSERT_TRUE(cardgen::WriteBmp24(plain, dir.file("whole.bmp"), 600, &error));
    const Bytes whole = ReadBytes(dir.file("whole.bmp"));
    WriteBytes(dir.file("cut.bmp"), Bytes(whole.begin(), whole.begin() + 80));
    WriteBytes(dir.file("empty.PNG"), Bytes{});
    WriteBytes(dir.file("noise.jpeg"), Bytes(200, 0x5a));

    const struct { const char *name; bool colourScans; const char *says; } rows[] = {
        {"empty.PNG", false, "unsupported file type"},
        {"empty.PNG", true, "'empty.PNG' could not be read"},
        {"noise.jpeg", true, "'noise.jpeg' could not be read"},
        {"cut.bmp", true, "cut.bmp"},
        {"whole.bmp", false, "24 bits per"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        Workspace fresh;
        fresh.ColourScans = row.colourScans;
        const LoadResult r = LoadImage(fresh, row.name, dir.folder());
        std::string message = r.Message;
        if (r.Ok) // a damaged file may register from its header: the decode then tells it
            message = DecodeCard(fresh, r.CardIndex, answers).Message;
        EXPECT_NE(message.find(row.says), std::string::npos) << message;
        EXPECT_FALSE(r.Ok && fresh.Card(r.CardIndex).PixelsReady);
    }
}

} // namespace

TEST_F(ColourFixture, ALargePictureReadAheadKeepsItsRowsInOrderAndTellsACut)
{
    // Large enough to be read ahead on a second thread: two black squares on white, whose rows
    // must come back where they were drawn.
    constexpr int kSide = 2100;
    cardgen::RgbImage big{kSide, kSide, std::vector<Byte>(3 * static_cast<size_t>(kSide) * kSide, 245)};
    for (const int top : {100, 1500})
        for (int y = top; y < top + 100; ++y)
            std::fill_n(big.data.begin() + 3 * (static_cast<std::ptrdiff_t>(y) * kSide + 50), 3 * 100, Byte{10});
    const int index = load(big, "big.bmp");
    ASSERT_TRUE(DecodeCard(ws, index, answers).Ok);
    const std::vector<CardPixel> &pixels = ws.Card(index).Pixels;
    ASSERT_EQ(pixels.size(), 2u + 2 * 100 * 100);
    for (size_t i = 1; i + 1 < pixels.size(); ++i) {
        const int row = pixels[i].Row; // 1 is the top line
        ASSERT_TRUE((row > 100 && row <= 200) || (row > 1500 && row <= 1600)) << row;
    }

    // Cut in its last bands: the rows already read ahead don't hide the fault.
    std::string error;
    ASSERT_TRUE(cardgen::WritePng(cardgen::RowsOf(big), dir.file("big.png"), 600, &error)) << error;
    const Bytes png = ReadBytes(dir.file("big.png"));
    WriteBytes(dir.file("cut.png"), Bytes(png.begin(), png.begin() + static_cast<std::ptrdiff_t>(png.size() * 3 / 4)));
    const LoadResult r = LoadImage(ws, "cut.png", dir.folder());
    ASSERT_TRUE(r.Ok) << r.Message; // its header is whole
    const DecodeResult cut = DecodeCard(ws, r.CardIndex, answers);
    EXPECT_FALSE(cut.Ok);
    EXPECT_NE(cut.Message.find("'cut.png' could not be read"), std::string::npos) << cut.Message;
}
