#pragma once
// Figures of the whole droplet spectrum, read from a size table: the volume quantiles, the span,
// the number median, the covered share of the card and the volume share of the fine drops.

#include "core/workspace.h"

#include <vector>

namespace velmara {

struct SpectrumFigures
{
    double Dv10 = 0;
    double Dv50 = 0;
    double Dv90 = 0;
    double RelativeSpan = 0;
    double Nmd = 0;
    double CoveragePercent = 0;
    double VolumeBelow100 = 0; // shares 0 to 1
    double VolumeBelow150 = 0;
    double VolumeBelow200 = 0;
};

// rows is a size table (element 0 the zero row); cardPixels the pixels of the card or cards the
// table covers (0: coverage 0). Empty and one-row tables give finite figures.
// Quantiles interpolate linearly from row 0 (diameter 0, share 0) to the first row whose
// cumulative share reaches the asked share; a share no row reaches gives 0, as a median that is
// never crossed does. Dv50 is read the same way at one half.
SpectrumFigures ComputeSpectrum(const std::vector<SizeClass> &rows, double cardPixels);

// The same with Dv50 (and so the span) taken from vmd: the median the rest of the program shows
// for this table, whose rules for a first row and for a share of exactly one half differ by table.
SpectrumFigures ComputeSpectrum(const std::vector<SizeClass> &rows, double cardPixels, double vmd);

// The diameter at which the cumulative volume (or number) share reaches share; see above.
double VolumeQuantile(const std::vector<SizeClass> &rows, double share);
double NumberQuantile(const std::vector<SizeClass> &rows, double share);
// The cumulative volume share at diameter, the same polyline read the other way: 0 at or below
// 0, the last row's share beyond the last row.
double VolumeShareBelow(const std::vector<SizeClass> &rows, double diameter);

// Card index (1-based), its whole table, or when ranged its table cut to RangeLow..RangeHigh as
// the line statistics take it. Leaves CardRange alone.
SpectrumFigures CardSpectrum(const Workspace &ws, int index, bool ranged);

// CompositeRange when ranged, else CompositeAll. A composite table keeps no stain areas, so the
// coverage comes from the scanned cards' rows that fall into the composite's classes, each card
// weighted by the area of its pixels, over the area of all scanned cards.
SpectrumFigures CompositeSpectrum(const Workspace &ws, bool ranged);

} // namespace velmara
