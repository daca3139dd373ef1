#pragma once
// The spray line chart of the composite view: three stacked bands over the sampling line (VMD
// 2..3, drop density 1..2, deposit 0..1), a grey line through the values of the scanned cards, a
// dotted red line at the composite value, axes on three sides and one marker per card under the
// line. The markers are controls of the window; the chart only says where they stand.

#include "core/workspace.h"
#include "views/chartcanvas.h"

#include <QRect>
#include <QString>

#include <string>
#include <string_view>
#include <vector>

namespace velmara {

inline constexpr QRgb kLineGrey = 0xff808080;        // the card values
inline constexpr QRgb kLinePlaceMark = 0xffe6e6e6;   // the vertical line at each card
inline constexpr QRgb kUnscannedMarker = 0xffffc8c8; // marker of a card not scanned

struct CardMarker
{
    QRect Rect; // pixels on the picture
    bool Scanned = false;
};

struct LineChartLayout
{
    int MarkerWidth = 0;
    int MarkerHeight = 0;
    std::vector<CardMarker> Markers; // 1..CardCount, element 0 unused
};

// A number in a pattern such as "0", "0.0", "0.0#", "0.00", with the locale's decimal separator.
QString ChartText(double value, std::string_view pattern);

// True when the text's last character is the digit 0 ("-50", "10.0").
bool EndsInZero(const std::string &text);

// "0" when both sampling texts end in the digit 0, else "0.0": the form of positions on the axis.
std::string PositionPattern(const Workspace &ws);

// value / top as a place inside a band, or 0 when the band has no top (no stain anywhere, or a
// top that is not a positive number): such a band shows its values at its bottom.
double BandFraction(double value, double top);

// Marker size from the pixel pitch of the cards: pitch - 3, at most 20, and 1.25 times as high;
// a pitch that leaves nothing (about 170 cards on 700 pixels) gives 3 by 4 pixels.
QSize MarkerSize(double pitchPixels);

// Draws the chart from ws's line scales (ComputeLineScales must have run since the positions,
// the line statistics or the unit last changed) and returns where the card markers go. Needs at
// least one card. Never draws a coordinate that is not a number: a line of no length, an interval
// of 0 and empty bands each have a drawing of their own. The band labels take as many decimals as
// their step needs; a band's title carries its unit and stands beside the band's labels.
LineChartLayout DrawLineChart(ChartCanvas &canvas, const Workspace &ws);

} // namespace velmara
