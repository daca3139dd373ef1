#include "analysis/scanallcards.h"

#include "cardgen/cardgen.h"
#include "intake/loadimage.h"
#include "support/testdir.h"

#include <gtest/gtest.h>

#include <filesystem>


using namespace velmara;
namespace fs = std::filesystem;

namespace {

struct Recorder : ScanAllHooks
{
    Workspace *ws = nullptr;
    int cancelInDecodeOf = 0;
    std::vector<std::string> events;
    void cardStarted(int i) override { events.push_back("card " + std::to_string(i)); }
    void decodeStarting(int i) override
    {
        events.push_back("decode " + std::to_string(i));
        if (i == cancelInDecodeOf)
            ws->CancelRequested = true;
    }
    void scanStarting(int i) override { events.push_back("scan " + std::to_string(i)); }
    void notify(int i, const std::string &text) override
    {
        events.push_back("notify " + std::to_string(i) + (text.rfind("Velmara did not", 0) == 0 ? " none" : ""));
    }
    void scanned(int i, const ScanOutcome &o) override
    {
        events.push_back("log " + std::to_string(i) + " " + std::to_string(o.StainCount));
    }
};

class ScanAllCardsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // b: three separate discs, a: none, c: one disc; loaded out of order, then sorted.
        write("b.bmp", {{10, 10, 3}, {30, 30, 4}, {10, 40, 2}});
        write("a.bmp", {});
        write("c.bmp", {{20, 20, 5}});
        for (const char *name : {"b.bmp", "a.bmp", "c.bmp"})
            ASSERT_TRUE(LoadImage(ws, (mDir / name).string()).Ok);
        ws.SortByName();
        ws.CurrentCard = 1;
        hooks.ws = &ws;
    }

    void write(const std::string &name, const std::vector<cardgen::Disc> &discs)
    {
        cardgen::CardSpec spec;
        spec.width = 50;
        spec.height = 60;
        spec.colours = {{1, {200, 30, 30}}};
        for (auto d : discs) {
            d.index = 1;
            spec.discs.push_back(d);
        }
        ASSERT_TRUE(cardgen::WriteBmp(cardgen::MakeCard(spec), (mDir / name).string()));
    }

    velmara::test::TestDir mScratch;
    const fs::path mDir = mScratch.dir();
    Workspace ws;
    Recorder hooks;
    FixedAnswers answers;
};

} // namespace

TEST_F(ScanAllCardsTest, DecodesAndScansInListOrder)
{
    fs::remove(mDir / "c.bmp"); // vanished between load and decode
    const ScanAllSummary s = ScanAllCards(ws, answers, hooks);
    EXPECT_EQ(s.Scanned, 2);
    EXPECT_FALSE(s.Cancelled);
    const std::vector<std::string> expected = {
        "card 1", "decode 1", "scan 1", "notify 1 none", "log 1 0",
        "card 2", "decode 2", "scan 2", "log 2 3",
        "card 3", "decode 3", "notify 3"};
    EXPECT_EQ(hooks.events, expected);
    EXPECT_EQ(ws.CurrentCard, 1);
    EXPECT_FALSE(ws.Card(3).PixelsReady);
    EXPECT_FALSE(ws.Card(3).Scanned);
    EXPECT_EQ(ws.Card(2).SizeRows(), 3);

    // A second run decodes nothing again.
    hooks.events.clear();
    ScanAllCards(ws, answers, hooks);
    EXPECT_EQ(hooks.events[1], "scan 1");
}

TEST_F(ScanAllCardsTest, CancelInADecodeStopsAtThatCard)
{
    hooks.cancelInDecodeOf = 2;
    const ScanAllSummary s = ScanAllCards(ws, answers, hooks);
    EXPECT_TRUE(s.Cancelled);
    EXPECT_EQ(s.Scanned, 1);
    EXPECT_EQ(hooks.events.back(), "decode 2");
    EXPECT_EQ(ws.CurrentCard, 2);
    EXPECT_FALSE(ws.CancelRequested);
    EXPECT_FALSE(ws.Card(2).PixelsReady);
    EXPECT_FALSE(ws.Card(3).PixelsReady);
}

// A list in its own order leaves the current card alone; a spread factor of 0 gives every card of
// the run no volume, and the notice is told once.
TEST_F(ScanAllCardsTest, ListOfCardsKeepsTheCurrentCardAndTellsNoVolumeOnce)
{
    ws.SpreadFactor = {0.0, 0.0, 0.0};
    const ScanAllSummary s = ScanCards(ws, {3, 2}, answers, hooks);
    EXPECT_EQ(s.Scanned, 2);
    const std::vector<std::string> expected = {"card 3", "decode 3", "scan 3", "notify 3", "log 3 1",
                                               "card 2", "decode 2", "scan 2", "log 2 3"};
    EXPECT_EQ(hooks.events, expected);
    EXPECT_EQ(ws.CurrentCard, 1);
}
