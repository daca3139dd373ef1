#include "analysis/scanimage.h"

#include "pixelcard.h"

#include <gtest/gtest.h>

using namespace velmara;
using velmara::test::PixelsOf;

namespace {

// A decoded 1200-dpi card holding the given picture.
int AddCard(Workspace &ws, const std::vector<std::string> &lines)
{
    const int i = ws.AppendCard();
    CardImage &c = ws.Card(i);
    c.Dpi = 1200;
    c.MicronsPerPixelX = c.MicronsPerPixelY = 25400.0 / 1200;
    c.AreaCm2 = 2.0;
    c.Pixels = PixelsOf(lines);
    c.PixelsReady = true;
    return i;
}

const std::vector<std::string> kTwoStains = {"....", ".##.", ".##.", "....", "xxx.", "...."};

} // namespace

TEST(ScanImage, FillsTheCardAndMarksItScanned)
{
    Workspace ws;
    const int i = AddCard(ws, kTwoStains);
    const ScanOutcome out = ScanImage(ws, i, NoProgress());
    EXPECT_EQ(out.Status, ScanStatus::Done);
    EXPECT_EQ(out.StainCount, 2);
    EXPECT_EQ(out.HueHigh, 255);
    const CardImage &c = ws.Card(i);
    EXPECT_TRUE(c.Scanned);
    ASSERT_EQ(c.SizeRows(), 2);
    EXPECT_EQ(c.SizeTable[1].AreaPx, 3);
    EXPECT_EQ(c.SizeTable[2].AreaPx, 4);
    EXPECT_DOUBLE_EQ(c.Stats.DropDensity, 1.0);
    EXPECT_EQ(ws.MaxDiameterAll, c.MaxDiameter);
}

TEST(ScanImage, FindingNothingKeepsTheEarlierResults)
{
    Workspace ws;
    const int i = AddCard(ws, kTwoStains);
    ScanImage(ws, i, NoProgress());
    const CardImage first = ws.Card(i);
    ws.Slider1 = ws.Slider2 = 200; // a hue range that takes neither stain
    const ScanOutcome out = ScanImage(ws, i, NoProgress());
    EXPECT_EQ(out.Status, ScanStatus::NoStains);
    EXPECT_EQ(out.Message, "Velmara did not find any\rvalid spots on this card.");
    EXPECT_EQ(out.Rejected, 2);
    const CardImage &c = ws.Card(i);
    EXPECT_EQ(c.SizeRows(), 0);
    EXPECT_EQ(c.Stats.Vmd, first.Stats.Vmd);
    EXPECT_EQ(c.RejectedCount, first.RejectedCount);
    EXPECT_TRUE(c.Scanned);
}

TEST(ScanImage, CancelledOrUndecodedCardsStayAsTheyWere)
{
    struct CancelOnSecondLine : ProgressSink
    {
        bool *flag;
        int lines = 0;
        void Yield() override { if (++lines == 2) *flag = true; }
    };
    Workspace ws;
    const int i = AddCard(ws, kTwoStains);
    ws.Card(i).RejectedCount = 5;
    CancelOnSecondLine sink;
    sink.flag = &ws.CancelRequested;
    EXPECT_EQ(ScanImage(ws, i, sink).Status, ScanStatus::Cancelled);
    EXPECT_FALSE(ws.Card(i).Scanned);
    EXPECT_EQ(ws.Card(i).RejectedCount, 5);
    EXPECT_EQ(ws.Card(i).SizeRows(), 0);
    EXPECT_TRUE(ws.CancelRequested); // the command clears it

    ws.CancelRequested = false;
    ws.Card(i).PixelsReady = false;
    EXPECT_EQ(ScanImage(ws, i, NoProgress()).Status, ScanStatus::NotDecoded);
    EXPECT_EQ(ScanImage(ws, 2, NoProgress()).Status, ScanStatus::NotDecoded);
    EXPECT_FALSE(ws.Card(i).Scanned);
}
