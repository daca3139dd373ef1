#pragma once
// The size graph of the result frame: the polygon skyline of a size table in one of three
// measures, the white band of the selected diameter range and the red median mark. The same graph
// is where the range is chosen: the helpers below turn mouse positions into RangeLow/RangeHigh.

#include "core/workspace.h"
#include "views/canvas.h"

#include <QString>

namespace velmara {

inline constexpr QRgb kGraphBackground = 0xfff0f0f0; // the button face colour
inline constexpr QRgb kGraphOutline = 0xff000000;    // window text
inline constexpr QRgb kGraphFill = 0xffc0ffff;       // RGB 192, 255, 255
inline constexpr QRgb kGraphBand = 0xffffffff;
inline constexpr QRgb kMedianMark = 0xffff0000;

// The scale of the graph before its first drawing: pixels across, 0 to -1 up.
UserScale InitialGraphScale(int pixelWidth);

// "  (Volume Fraction)", "  (Cumulative Volume Fraction)", "  (drops/cm²)"; empty for other modes.
QString GraphModeSuffix(int graphMode);
// "Scan Results" or "Composite Results" followed by the suffix of the mode.
QString ResultFrameCaption(bool composite, int graphMode);
// "VF", "CVF", "#/cm²" for options 1 to 3.
QString GraphOptionCaption(int index);

// The value a row stands for in the graph mode; areaCm2 divides the count in mode 3.
double GraphValue(const SizeClass &row, int graphMode, double areaCm2);
// Top of the vertical axis for the card (single view) or the composite, held as Single.
// Returns 0 when the table gives no top (an area or total of 0).
Single GraphTop(const Workspace &ws, int cardIndex);

// Repaints the graph of card cardIndex (or of the composite when CompositeCheck is on).
// Leaves the canvas scale set for the axis labels and the mouse; does nothing without cards.
void DrawResult(Canvas &canvas, const Workspace &ws, int cardIndex);

// Mouse press on the graph: button 1 sets RangeLow, 2 sets RangeHigh, the other bound follows
// so that the two never cross. Returns false (and changes nothing) for other buttons or any
// Shift/Ctrl/Alt state.
bool PressRange(Workspace &ws, int button, int shift, double x);
// Clips x to 0..MaxDiameterAll, then moves a bound as PressRange does. Returns whether a bound
// moved; x comes back clipped in any case, for the label and the tool tip.
bool DragRange(Workspace &ws, int button, int shift, double &x);

// Left edge, in user units, of the floating label of a bound at x.
double SizeRangeLabelLeft(double x, double labelWidth, double scaleWidth);
// The tool tip of the graph at (x, y), e.g. "123µm / 25.0%"; empty when mouseCoords is false.
QString SizeGraphToolTip(bool mouseCoords, int graphMode, double x, double y);

} // namespace velmara
