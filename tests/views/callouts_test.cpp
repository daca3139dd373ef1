#include "chartfixture.h"

#include "views/callouts.h"
#include "views/linechart.h"

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
    EXPECT_EQ(std::tuple(vmd.Above, density.Above, out->Bands[3].Above), std::tuple(true, false, true));

    const int px = static_cast<int>(std::nearbyint(c.toPixelX(0)));
    const int py = static_cast<int>(std::nearbyint(c.toPixelY(2.5)));
    // Above: the label's lower edge 20 pixels over the value, the line ending 1 pixel inside it.
    EXPECT_EQ(vmd.LineFrom, QPoint(px, py));
    EXPECT_EQ(vmd.Label.top(), py - 20 - 15);
    // Below: the label's top 20 pixels under the value, the line 1 pixel inside its top.
    const int dy = static_cast<int>(std::nearbyint(c.toPixelY(1 + ToSingle(0.51 * ws.LineMaxDensity / ws.LineMaxDensity))));
    EXPECT_EQ(density.Label.top(), dy + 20);
    // Card 1 stands left of the middle: everything to its right.
    EXPECT_EQ(vmd.Label.left(), px + 20);
    EXPECT_EQ(out->Caption, "Orvinek Velmara -- card1.bmp");

    // The middle card: everything to the left.
    const int x2 = static_cast<int>(std::nearbyint(c.toPixelX(ws.Card(2).Position)));
    EXPECT_EQ(PlaceCallouts(ws, 2, c.scale(), {700, 450}, fixedLabel)->Bands[2].Label.left(), x2 - 60 - 20);

    // The texts read the line values in the user's unit.
    ws.LineStats[2] = {123.456, 7.005, 2.5};
    auto texts = PlaceCallouts(ws, 2, c.scale(), {700, 450}, fixedLabel);
    EXPECT_EQ(texts->Bands[1].Text, QString(" 123.46 ") + QChar(0x00B5) + "m ");
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

