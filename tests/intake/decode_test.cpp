#include "intake/decode.h"

#include "intake/loadimage.h"
#include "testimages.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

using namespace velmara;
using namespace velmara::test;

namespace {

TEST(RgbToHue, SamplesAndGreys)
{
    EXPECT_EQ(RgbToHue(255, 0, 0), 0);
    EXPECT_EQ(RgbToHue(255, 255, 0), 42);
    EXPECT_EQ(RgbToHue(0, 255, 0), 85);
    EXPECT_EQ(RgbToHue(0, 255, 255), 127);
    EXPECT_EQ(RgbToHue(0, 0, 255), 170);
    EXPECT_EQ(RgbToHue(255, 0, 255), 212);
    EXPECT_EQ(RgbToHue(255, 128, 0), 21);
    EXPECT_EQ(RgbToHue(200, 100, 50), 14);
    // Without saturation the fixed code -2 gives a trifle below two thirds: 169, not 170.
    EXPECT_EQ(RgbToHue(0, 0, 0), 169);
    EXPECT_EQ(RgbToHue(255, 255, 255), 169);
    EXPECT_EQ(RgbToHue(77, 77, 77), 169);
    // Just below red wraps round to the top of the scale.
    EXPECT_EQ(RgbToHue(255, 0, 1), 254);
}

std::tuple<Byte, Byte, Integer, Integer> Fields(const CardPixel &p)
{
    return {p.Hue, p.PaletteIndex, p.Row, p.Column};
}

// The list the pass must give: bottom line first, left to right, then the closing element.
std::vector<CardPixel> ExpectedPixels(const IndexedImage &im, const CardImage &card)
{
    std::vector<CardPixel> out(1);
    for (int y = im.height - 1; y >= 0; --y)
        for (int x = 0; x < im.width; ++x) {
            const Byte b = im.at(x, y);
            if (b != card.BackgroundIndex && b != card.DitherIndex)
                out.push_back({static_cast<Byte>(card.HueOfIndex[b]), b, static_cast<Integer>(y + 1),
                               static_cast<Integer>(x + 1)});
        }
    CardPixel closing;
    closing.Column = static_cast<Integer>(im.width);
    closing.Row = out.size() > 1 ? out.back().Row : Integer{0};
    closing.Hue = static_cast<Byte>(card.HueOfIndex[0]);
    out.push_back(closing);
    return out;
}

void ExpectPixels(const std::vector<CardPixel> &actual, const std::vector<CardPixel> &expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (size_t i = 0; i < actual.size(); ++i)
        ASSERT_EQ(Fields(actual[i]), Fields(expected[i])) << "element " << i;
}

struct RecordingProgress : ProgressSink
{
    Workspace *ws = nullptr;
    long cancelAt = -1;
    long maximum = -1;
    std::vector<long> values;
    int yields = 0, finishes = 0;
    void Start(long m) override { maximum = m; }
    void SetValue(long v) override { values.push_back(v); }
    void Yield() override
    {
        ++yields;
        if (ws && !values.empty() && values.back() == cancelAt)
            ws->CancelRequested = true;
    }
    void Finish() override { ++finishes; }
};

struct DecodeFixture : ::testing::Test
{
    TempFolder dir;
    Workspace ws;
    FixedAnswers answers;

    int add(const std::string &name, const IndexedImage &im, const BmpOptions &o = {})
    {
        WriteBytes(dir.file(name), BmpBytes(im, o));
        const LoadResult r = LoadImage(ws, name, dir.folder());
        EXPECT_TRUE(r.Ok) << r.Message;
        return r.CardIndex;
    }
    DecodeResult decode(int index, DecodeQuestions &q) { return DecodeCard(ws, index, q); }
    DecodeResult decode(int index) { return DecodeCard(ws, index, answers); }
};

} // namespace

TEST_F(DecodeFixture, PixelListInFileOrderWithClosingElement)
{
    IndexedImage im = MakeImage(5, 4, 4); // width 5: three padding bytes per row
    im.palette[1] = {255, 0, 0};
    im.palette[2] = {0, 0, 255};
    im.palette[3] = {255, 255, 0};
    im.pixels = {1, 0, 0, 0, 2,  // row 1 (top)
                 0, 0, 0, 0, 0,  // row 2
                 0, 3, 0, 0, 0,  // row 3
                 0, 0, 2, 2, 0}; // row 4 (bottom, first in the file)
    const int i = add("c.bmp", im);
    RecordingProgress progress;
    const DecodeResult r = DecodeCard(ws, i, answers, progress);
    ASSERT_TRUE(r.Ok) << r.Message;
    const CardImage &card = ws.Card(i);
    EXPECT_TRUE(card.PixelsReady);
    EXPECT_EQ(card.BackgroundIndex, 0);
    EXPECT_EQ(card.DitherIndex, 0);
    EXPECT_EQ(answers.BackgroundAsked + answers.DitherAsked, 0);

    const std::vector<CardPixel> expected = {
        {}, {170, 2, 4, 3}, {170, 2, 4, 4}, {42, 3, 3, 2}, {0, 1, 1, 1}, {170, 2, 1, 5},
        {static_cast<Byte>(card.HueOfIndex[0]), 0, 1, 5}};
    ExpectPixels(card.Pixels, expected);

    ASSERT_EQ(card.ColourTable.size(), 4u);
    EXPECT_EQ(card.ColourTable[3], (std::array<Byte, 4>{0, 255, 255, 0}));
    EXPECT_EQ(card.HueOfIndex[1], 0);
    EXPECT_EQ(card.HueOfIndex[2], 170);
    EXPECT_EQ(card.HueCount[170], 3);
    EXPECT_EQ(card.HueCount[42], 1);
    EXPECT_EQ(card.HueCount[0], 1);
    EXPECT_EQ(card.HueCount[256], 0);

    EXPECT_EQ(progress.maximum, 4);
    EXPECT_EQ(progress.values, (std::vector<long>{0, 4})); // line 0, then the end
    EXPECT_EQ(progress.yields, 1);
    EXPECT_EQ(progress.finishes, 1);
}

TEST_F(DecodeFixture, EveryPaddingWidthGivesTheSameListAsTheImage)
{
    for (int width = 1; width <= 19; ++width) {
        SCOPED_TRACE(width);
        IndexedImage im = MakeImage(width, 7, 6);
        for (int y = 0; y < im.height; ++y)
            for (int x = 0; x < width; ++x)
                if ((x * 5 + y * 3) % 4 == 0)
                    im.pixels[static_cast<size_t>(y) * width + x] = static_cast<Byte>(1 + (x + y) % 5);
        // Keep index 0 the likeliest background in the sample.
        for (int x = 0; x < width; ++x)
            im.pixels[static_cast<size_t>(6) * width + x] = 0;
        const int i = add("w" + std::to_string(width) + ".bmp", im);
        FixedAnswers no(Answer::No, Answer::No);
        ASSERT_TRUE(decode(i, no).Ok);
        ExpectPixels(ws.Card(i).Pixels, ExpectedPixels(im, ws.Card(i)));
    }
}

TEST_F(DecodeFixture, ShortColourTableLeavesHueZeroAboveIt)
{
    IndexedImage im = MakeImage(8, 6, 3);
    im.palette[1] = {0, 0, 255};
    im.pixels[0] = 1;
    im.pixels[1] = 7; // beyond the table of 3
    const int i = add("short.bmp", im);
    ASSERT_TRUE(decode(i).Ok);
    const CardImage &card = ws.Card(i);
    EXPECT_EQ(card.ColourTable.size(), 3u);
    EXPECT_EQ(card.HueOfIndex[7], 0);
    ExpectPixels(card.Pixels, {{}, {170, 1, 1, 1}, {0, 7, 1, 2}, {static_cast<Byte>(card.HueOfIndex[0]), 0, 1, 8}});
}

TEST_F(DecodeFixture, TheSampleReadsTheGapAndThePixelsComeFromTheOffset)
{
    IndexedImage im = MakeImage(4, 10, 16);
    im.pixels[0] = 5;
    BmpOptions gap;
    gap.gap = 12;
    gap.gapByte = 9; // 12 of the 20 sampled bytes are 9: the sample points at index 9
    const int i = add("gap.bmp", im, gap);
    FixedAnswers no(Answer::No, Answer::No);
    ASSERT_TRUE(decode(i, no).Ok);
    EXPECT_EQ(no.BackgroundAsked, 1);
    const CardImage &card = ws.Card(i);
    EXPECT_EQ(card.BackgroundIndex, 0);
    ExpectPixels(card.Pixels, ExpectedPixels(im, card));
    EXPECT_EQ(card.Pixels.size(), 3u); // the gap's bytes are no pixels
}

TEST_F(DecodeFixture, BackgroundQuestion)
{
    // Index 4 covers the bottom five rows: it outnumbers index 0 in the sample.
    IndexedImage im = MakeImage(6, 8, 8, 4);
    for (int x = 0; x < 6; ++x)
        im.pixels[x] = 0;
    im.pixels[10] = 2;

    const int a = add("a.bmp", im);
    FixedAnswers yes(Answer::Yes, Answer::No);
    ASSERT_TRUE(decode(a, yes).Ok);
    EXPECT_EQ(yes.BackgroundAsked, 1);
    EXPECT_EQ(ws.Card(a).BackgroundIndex, 4);
    EXPECT_EQ(ws.Card(a).DitherIndex, 4); // nothing confirmed: the background's own index
    EXPECT_EQ(ws.Card(a).Pixels.size(), 2u + 6 + 1); // the top row of 0s and the 2
    EXPECT_FALSE(ws.DisableBackgroundWarning);

    const int b = add("b.bmp", im);
    FixedAnswers no(Answer::No, Answer::No);
    ASSERT_TRUE(decode(b, no).Ok);
    EXPECT_EQ(ws.Card(b).BackgroundIndex, 0);
    EXPECT_EQ(ws.Card(b).Pixels.size(), 2u + 6 * 7); // index 0 stays background though 4 dominates

    const int c = add("c.bmp", im);
    const int d = add("d.bmp", im);
    FixedAnswers all(Answer::YesToAll, Answer::No);
    ASSERT_TRUE(decode(c, all).Ok);
    EXPECT_TRUE(ws.DisableBackgroundWarning);
    ASSERT_TRUE(decode(d, all).Ok);
    EXPECT_EQ(all.BackgroundAsked, 1); // the later card isn't asked
    EXPECT_EQ(ws.Card(d).BackgroundIndex, 4);
}

TEST_F(DecodeFixture, NoBackgroundQuestionWhenIndexZeroHoldsItsOwn)
{
    // In the 5 x 4 sample index 3 and index 0 have ten bytes each: a tie keeps index 0.
    IndexedImage im = MakeImage(4, 6, 4, 0);
    for (int y = 1; y < 6; ++y)
        for (int x = 0; x < 2; ++x)
            im.pixels[static_cast<size_t>(y) * 4 + x] = 3;
    const int i = add("tie.bmp", im);
    ASSERT_TRUE(decode(i).Ok);
    EXPECT_EQ(answers.BackgroundAsked, 0);
    EXPECT_EQ(ws.Card(i).BackgroundIndex, 0);

    // With the warning disabled a leading index is taken without a question.
    ws.DisableBackgroundWarning = true;
    IndexedImage lead = MakeImage(4, 6, 4, 2);
    const int j = add("lead.bmp", lead);
    ASSERT_TRUE(decode(j).Ok);
    EXPECT_EQ(answers.BackgroundAsked, 0);
    EXPECT_EQ(ws.Card(j).BackgroundIndex, 2);
    EXPECT_EQ(ws.Card(j).Pixels.size(), 2u);
}

TEST_F(DecodeFixture, DitherQuestion)
{
    // 12 x 10, background 0; the 60 sampled bytes are the bottom five rows. Index 6 fills 7 of them,
    // index 5 fills 6 (a ratio of exactly 0.1, not above): 6 is Top, 5 is Second.
    IndexedImage im = MakeImage(12, 10, 8, 0);
    const auto put = [&](int n, Byte v, int column) {
        for (int k = 0; k < n; ++k)
            im.pixels[static_cast<size_t>(5 + k % 5) * 12 + k / 5 * 2 + column] = v;
    };
    put(7, 6, 0);
    put(6, 5, 1);
    im.pixels[3] = 1;
    const int exact = add("exact.bmp", im);
    ASSERT_TRUE(decode(exact).Ok);
    EXPECT_EQ(answers.DitherAsked, 0); // 0.1 is not above 0.1

    // One more 5: a tie of 7 makes the lower index 5 Top and 6 Second, at a ratio above 0.1.
    im.pixels[static_cast<size_t>(9) * 12 + 11] = 5;
    const int yes = add("yes.bmp", im);
    FixedAnswers y(Answer::Yes, Answer::Yes);
    ASSERT_TRUE(decode(yes, y).Ok);
    EXPECT_EQ(y.DitherAsked, 1);
    EXPECT_EQ(ws.Card(yes).BackgroundIndex, 0);
    EXPECT_EQ(ws.Card(yes).DitherIndex, 6);
    ExpectPixels(ws.Card(yes).Pixels, ExpectedPixels(im, ws.Card(yes)));
    for (size_t k = 1; k + 1 < ws.Card(yes).Pixels.size(); ++k)
        EXPECT_NE(ws.Card(yes).Pixels[k].PaletteIndex, 6);

    const int no = add("no.bmp", im);
    FixedAnswers n(Answer::Yes, Answer::No);
    ASSERT_TRUE(decode(no, n).Ok);
    EXPECT_EQ(ws.Card(no).DitherIndex, 0);

    const int all1 = add("all1.bmp", im);
    const int all2 = add("all2.bmp", im);
    FixedAnswers a(Answer::Yes, Answer::YesToAll);
    ASSERT_TRUE(decode(all1, a).Ok);
    ASSERT_TRUE(decode(all2, a).Ok);
    EXPECT_EQ(a.DitherAsked, 1);
    EXPECT_TRUE(ws.DisableDitherWarning);
    EXPECT_EQ(ws.Card(all1).DitherIndex, 6);
    EXPECT_EQ(ws.Card(all2).DitherIndex, 0); // suppressed: the background's index
}

TEST_F(DecodeFixture, AllBackgroundCardHasOnlyTheClosingElement)
{
    const int i = add("blank.bmp", MakeImage(7, 3, 2, 0));
    ASSERT_TRUE(decode(i).Ok);
    const CardImage &card = ws.Card(i);
    ASSERT_EQ(card.Pixels.size(), 2u);
    EXPECT_EQ(card.Pixels[1].Row, 0);
    EXPECT_EQ(card.Pixels[1].Column, 7);
    EXPECT_EQ(card.Pixels[1].PaletteIndex, 0);
    EXPECT_EQ(card.Pixels[1].Hue, card.HueOfIndex[0]);
}

TEST_F(DecodeFixture, CancelLeavesTheCardLoadedAndTheNextPassStartsAfresh)
{
    IndexedImage im = MakeImage(9, 35, 4, 0);
    for (int y = 0; y < 35; ++y)
        im.pixels[static_cast<size_t>(y) * 9 + y % 9] = 1;
    const int i = add("cancel.bmp", im);
    RecordingProgress progress;
    progress.ws = &ws;
    progress.cancelAt = 10;
    DecodeResult r = DecodeCard(ws, i, answers, progress);
    EXPECT_FALSE(r.Ok);
    EXPECT_TRUE(r.Cancelled);
    EXPECT_FALSE(ws.Card(i).PixelsReady);
    EXPECT_EQ(ws.Card(i).Pixels.size(), 1u + 11); // lines 0 to 10 were read
    EXPECT_EQ(progress.finishes, 1);

    ws.CancelRequested = false;
    r = decode(i);
    ASSERT_TRUE(r.Ok);
    ExpectPixels(ws.Card(i).Pixels, ExpectedPixels(im, ws.Card(i)));
    EXPECT_EQ(ws.Card(i).HueCount[ws.Card(i).HueOfIndex[1]], 35);

    // A decoded card isn't decoded again.
    FixedAnswers never;
    ASSERT_TRUE(decode(i, never).Ok);
    EXPECT_EQ(ws.Card(i).Pixels.size(), 37u);
}

TEST_F(DecodeFixture, AVanishedOrShortenedFileLeavesTheCardLoaded)
{
    const IndexedImage im = MakeImage(6, 6, 4, 0);
    const int gone = add("gone.bmp", im);
    const int cut = add("cut.bmp", im);
    const int fine = add("fine.bmp", im);
    std::filesystem::remove(dir.file("gone.bmp"));
    BmpOptions o;
    o.truncateTo = 54 + 16 + 20;
    WriteBytes(dir.file("cut.bmp"), BmpBytes(im, o));

    DecodeResult r = decode(gone);
    EXPECT_FALSE(r.Ok);
    EXPECT_EQ(r.Message, "File not found");
    EXPECT_FALSE(ws.Card(gone).PixelsReady);
    r = decode(cut);
    EXPECT_EQ(r.Message, "The file is shorter than its header says; it may be truncated.");
    EXPECT_FALSE(ws.Card(cut).PixelsReady);
    EXPECT_TRUE(decode(fine).Ok);
    EXPECT_EQ(DecodeCard(ws, 9, answers).Message, "Subscript out of range");
}

TEST_F(DecodeFixture, GifAndTifGiveTheSameTablesAndPixelsAsTheBitmap)
{
    IndexedImage im = MakeImage(13, 11, 256, 3); // index 3 dominates: the question is put
    for (int y = 0; y < im.height; ++y)
        for (int x = 0; x < im.width; ++x)
            if ((x + 2 * y) % 5 == 0)
                im.pixels[static_cast<size_t>(y) * im.width + x] = static_cast<Byte>(40 + x * y);
    const int bmp = add("same.bmp", im);
    WriteGif(dir.file("same.gif"), im);
    WriteTiff(dir.file("same.tif"), im);
    const int gif = LoadImage(ws, "same.gif", dir.folder()).CardIndex;
    const int tif = LoadImage(ws, "same.tif", dir.folder()).CardIndex;
    ASSERT_GT(gif, 0);
    ASSERT_GT(tif, 0);
    for (int i : {bmp, gif, tif})
        ASSERT_TRUE(decode(i).Ok) << i;
    EXPECT_EQ(answers.BackgroundAsked, 3);
    const CardImage &b = ws.Card(bmp);
    EXPECT_EQ(b.BackgroundIndex, 3);
    for (int i : {gif, tif}) {
        SCOPED_TRACE(ws.Card(i).FileName);
        const CardImage &c = ws.Card(i);
        EXPECT_EQ(c.ColourTable, b.ColourTable);
        EXPECT_EQ(c.HueOfIndex, b.HueOfIndex);
        EXPECT_EQ(c.HueCount, b.HueCount);
        EXPECT_EQ(c.BackgroundIndex, b.BackgroundIndex);
        EXPECT_EQ(c.DitherIndex, b.DitherIndex);
        ExpectPixels(c.Pixels, b.Pixels);
    }
}
