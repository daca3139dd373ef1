// A sheet of known cards cut by the default template gives clips that scan exactly like the cards
// scanned alone, whether the sheet is 8-bit or 24-bit.

#include "analysis/scanimage.h"
#include "cardgen/cardgen.h"
#include "intake/decode.h"
#include "intake/loadimage.h"
#include "templates/sheetcutter.h"

#include "testdir.h"

#include <gtest/gtest.h>

using namespace velmara;
using velmara::test::TestDir;

namespace {

// At 80 dpi the default grid falls on whole pixels: pitch 160 across and 250 down, clips of
// 120 x 200 pixels, so a card of that size placed at the pitch is exactly one clip.
constexpr int kDpi = 80;

std::vector<cardgen::IndexedImage> Cards()
{
    std::vector<cardgen::IndexedImage> cards;
    for (int n = 1; n <= 9; ++n) {
        cardgen::CardSpec spec;
        spec.width = 120;
        spec.height = 200;
        spec.paletteSize = 16;
        spec.colours = {{1, cardgen::ColourOfHue(240)}, {2, cardgen::ColourOfHue(20)}};
        cardgen::IndexedImage card = cardgen::MakeCard(spec);
        cardgen::Rng rng(static_cast<std::uint64_t>(n));
        cardgen::ScatterSpec scatter;
        scatter.coverage = 0.04;
        scatter.maxRadius = 2 + n;
        scatter.separate = true;
        scatter.discIndexes = {1, 2};
        cardgen::Scatter(card, scatter, rng);
        cards.push_back(std::move(card));
    }
    return cards;
}

cardgen::IndexedImage Sheet(const std::vector<cardgen::IndexedImage> &cards)
{
    cardgen::SheetSpec spec = cardgen::SheetFromInches(kDpi, 3, 3, 1.75, 2.75, 0.25, 0.375, 0, 0);
    spec.width = 8500 * kDpi / 1000;
    spec.height = 11 * kDpi;
    return cardgen::MakeSheet(spec, cards);
}

// Decodes and scans card i; the size table as (area, count) pairs.
std::vector<std::pair<Long, Long>> ScanCard(Workspace &ws, int i)
{
    FixedAnswers answers(Answer::No, Answer::No);
    const DecodeResult d = DecodeCard(ws, i, answers);
    EXPECT_TRUE(d.Ok) << d.Message;
    const ScanOutcome s = ScanImage(ws, i, NoProgress());
    EXPECT_EQ(s.Status, ScanStatus::Done) << ws.Card(i).FileName;
    std::vector<std::pair<Long, Long>> rows;
    for (int r = 1; r <= ws.Card(i).SizeRows(); ++r)
        rows.emplace_back(ws.Card(i).SizeTable[r].AreaPx, ws.Card(i).SizeTable[r].Count);
    return rows;
}

void CheckSheet(bool rgb)
{
    TestDir dir;
    const auto cards = Cards();
    Workspace alone;
    alone.TempDir = dir.dir();
    std::vector<std::vector<std::pair<Long, Long>>> expected;
    for (size_t n = 0; n < cards.size(); ++n) {
        const std::string name = "card" + std::to_string(n + 1) + ".bmp";
        ASSERT_TRUE(cardgen::WriteBmp(cards[n], dir.file(name)));
        ASSERT_TRUE(LoadImage(alone, name, dir.dir()).Ok);
        expected.push_back(ScanCard(alone, alone.CardCount()));
        ASSERT_GT(expected.back().size(), 3u);
    }

    const cardgen::IndexedImage sheet = Sheet(cards);
    const std::string sheetPath = dir.file(rgb ? "sheet24.bmp" : "sheet8.bmp");
    ASSERT_TRUE(rgb ? cardgen::WriteBmp24(cardgen::ToRgb(sheet), sheetPath) : cardgen::WriteBmp(sheet, sheetPath));

    Workspace ws;
    ws.TempDir = dir.dir();
    SheetCutRequest req;
    req.SheetPath = sheetPath;
    req.TemplateName = "<Default>";
    req.Res = kDpi;
    req.ClipDir = dir.dir();
    const CutResult r = CutSheetFile(ws, req);
    ASSERT_TRUE(r.Messages.empty()) << r.Messages.front();
    ASSERT_EQ(ws.CardCount(), 9);
    for (int i = 1; i <= 9; ++i) {
        // Pixel for pixel the card's colours, whatever the clip's table order.
        const cardgen::IndexedImage &card = cards[static_cast<size_t>(i - 1)];
        Picture clip;
        std::string error;
        ASSERT_TRUE(ReadPicture(ws.Card(i).FullPath, PictureDepth::EightBitOnly, clip, error)) << error;
        ASSERT_EQ(clip.Width, card.width);
        ASSERT_EQ(clip.Height, card.height);
        int wrong = 0;
        for (int y = 0; y < card.height; ++y)
            for (int x = 0; x < card.width; ++x) {
                const PaletteEntry got = clip.Palette.at(clip.Row(y)[x]);
                const cardgen::Rgb want = card.palette.at(card.at(x, y));
                wrong += got.Red != want.r || got.Green != want.g || got.Blue != want.b;
            }
        EXPECT_EQ(wrong, 0) << "cell " << i;
        EXPECT_EQ(ScanCard(ws, i), expected[static_cast<size_t>(i - 1)]) << "cell " << i;
    }
}

} // namespace

TEST(SheetRoundTrip, EightBitClipsScanLikeTheirCards) { CheckSheet(false); }

TEST(SheetRoundTrip, TwentyFourBitClipsScanLikeTheirCards) { CheckSheet(true); }
