#pragma once
// The hue histogram of a decoded card: the selected hue range as white boxes and one bar per hue
// in that hue's display colour. Across, the scale runs from -1 to 255; up, from 0 to the largest
// count plus 5.

#include "core/workspace.h"
#include "views/canvas.h"

namespace velmara {

// The scale the histogram has before any card is drawn: -1 to 255 across, 0 to -101 down.
UserScale InitialHistogramScale();

// Display colour of a hue entry of HueColour (a red + 256 green + 65536 blue value).
QRgb HueRgb(Long colour);

// Draws card's HueCount under the slider range of ws (Slider1, Slider2, HueInvertCheck).
void DrawHueHistogram(Canvas &canvas, const CardImage &card, const Workspace &ws, QRgb background);

// Slider value of a click at pixel px: the rounded user x, held to 0..255.
int HistogramSliderValue(const Canvas &canvas, double px);

} // namespace velmara
