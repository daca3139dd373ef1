#pragma once
// The texts beside the size graph: the ends of its two axes and the three result lines. Each
// call rewrites every text from the current data; nothing is kept.

#include "core/workspace.h"
#include "views/canvas.h"

#include <QString>

namespace velmara {

struct AxisLabelTexts
{
    QString x1, x2; // left and right end of the diameter axis
    QString y1, y2; // bottom and top of the vertical axis
};

struct StatsLabelTexts
{
    QString info1, info2, info3; // "VMD:", "Drop Density:", "Volume:"
    QString vmd, drop, volume;
};

// From the scale the last DrawResult left on the graph.
AxisLabelTexts HistogramLabelTexts(const UserScale &scale, int graphMode);

// The statistics on show: the composite's or the card's own, or those of the range when
// rangeSelected is true. Returns zeros for a card index outside the list.
CardStats ShownStats(const Workspace &ws, bool rangeSelected);

StatsLabelTexts StatsTexts(const CardStats &stats, bool metric);

} // namespace velmara
