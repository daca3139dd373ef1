#include "chartfixture.h"

#include "views/callouts.h"
#include "views/linechart.h"
#include "views/swathwidthchoice.h"

#include <gtest/gtest.h>

using namespace velmara;
using namespace velmara::testing;

namespace {

// Every label 60 by 15 pixels, whatever it says.
QSize fixedLabel(const QString &)
{
    return {60, 15};
}

} // namespace

TEST(Callouts, AboveUpToTheMiddleOfTheBandBelowBeyondItAndTheirTexts)
{
    Workspace ws = MakeLine(3, "0", "10");
    RecordingChartCanvas c(700, 450);
    DrawLine(c, ws);
    // Card 1: VMD exactly half its band, density just above half, deposit at 0.
    ws.LineStats[1].Vmd = ws.LineMaxVmd / 2.0;
    ws.LineStats[1].DropDensity = ws.LineMaxDensity * 0.51;
    ws.LineStats[1].VolumeDensity = 0;
    const auto out = PlaceCallouts(ws, 1, c.scale(), {700, 450}, fixedLabel);
    ASSERT_TRUE(out);
    const Callout &vmd = out->Bands[1];
    const Callout &density = out->Bands[2];
    const Callout &deposit = out->Bands[3];
    EXPECT_TRUE(vmd.Above);
    EXPECT_FALSE(density.Above);
    EXPECT_TRUE(deposit.Above);

    const int px = static_cast<int>(std::nearbyint(c.toPixelX(0)));
    const int py = static_cast<int>(std::nearbyint(c.toPixelY(2.5)));
    // Above: the label's lower edge 20 pixels over the value, the line ending 1 pixel inside it.
    EXPECT_EQ(vmd.LineFrom, QPoint(px, py));
    EXPECT_EQ(vmd.Label.top(), py - 20 - 15);
    EXPECT_EQ(vmd.LineTo.y(), py - 21);
    // Below: the label's top 20 pixels under the value, the line 1 pixel inside its top.
    const int dy = static_cast<int>(std::nearbyint(c.toPixelY(1 + ToSingle(0.51 * ws.LineMaxDensity / ws.LineMaxDensity))));
    EXPECT_EQ(density.Label.top(), dy + 20);
    EXPECT_EQ(density.LineTo.y(), dy + 21);
    // Card 1 stands left of the middle: everything to its right.
    EXPECT_EQ(vmd.Label.left(), px + 20);
    EXPECT_EQ(vmd.LineTo.x(), px + 21);
    EXPECT_EQ(vmd.Circle, QRect(px - 4, py - 4, 8, 8));
    EXPECT_EQ(out->Caption, "Orvinek Velmara -- card1.bmp");

    // The middle and the last card: everything to the left.
    for (int card : {2, 3}) {
        const auto left = PlaceCallouts(ws, card, c.scale(), {700, 450}, fixedLabel);
        ASSERT_TRUE(left);
        const int x = static_cast<int>(std::nearbyint(c.toPixelX(ws.Card(card).Position)));
        EXPECT_EQ(left->Bands[2].Label.left(), x - 60 - 20);
        EXPECT_EQ(left->Bands[2].LineTo.x(), x - 21);
    }

    // The texts read the line values in the user's unit.
    ws.LineStats[2] = {123.456, 7.005, 2.5};
    auto texts = PlaceCallouts(ws, 2, c.scale(), {700, 450}, fixedLabel);
    ASSERT_TRUE(texts);
    EXPECT_EQ(texts->Bands[1].Text, QString(" 123.46 ") + QChar(0x00B5) + "m ");
    EXPECT_EQ(texts->Bands[2].Text, QString(" 7.01 drops/cm ") + QChar(0x00B2) + " ");
    EXPECT_EQ(texts->Bands[3].Text, " 0.25 L/ha ");
    ws.Metric = false;
    EXPECT_EQ(PlaceCallouts(ws, 2, c.scale(), {700, 450}, fixedLabel)->Bands[3].Text, " 3.42 oz/ac ");
}

TEST(Callouts, NoneForCardsNotScannedOrOutsideTheList)
{
    Workspace ws = MakeLine(3, "0", "10", {2});
    RecordingChartCanvas c(700, 450);
    DrawLine(c, ws);
    EXPECT_FALSE(PlaceCallouts(ws, 2, c.scale(), {700, 450}, fixedLabel));
    EXPECT_FALSE(PlaceCallouts(ws, 4, c.scale(), {700, 450}, fixedLabel));
    // No stain anywhere: the values sit at the band bottoms, nothing is NaN.
    ws.LineStats[1] = {};
    ws.LineMaxVmd = ws.LineMaxDensity = ws.LineMaxDeposit = 0;
    const auto fractions = CalloutFractions(ws, 1);
    EXPECT_EQ(fractions[1], 0);
    EXPECT_EQ(fractions[3], 0);
}

// Choosing the chosen element again is driven through the composite view's buttons.
TEST(SwathWidthChoice, HiddenAndOutOfRangeElementsAndRedraw)
{
    std::vector<int> checked, drawn;
    SwathWidthChoice choice([&](int i) { checked.push_back(i); }, [&](int i) { drawn.push_back(i); });
    choice.setCount(4);
    EXPECT_TRUE(choice.select(0)); // the hidden element draws nothing
    EXPECT_TRUE(drawn.empty());
    EXPECT_FALSE(choice.select(5));
    EXPECT_EQ(choice.selected(), 0);
    checked.clear();
    EXPECT_TRUE(choice.redrawAt(2));
    EXPECT_EQ(checked, (std::vector<int>{0, 2}));
    EXPECT_EQ(drawn.back(), 2);
    choice.setCount(0);
    EXPECT_FALSE(choice.select(1));
}
