#pragma once
// Figures of the whole droplet spectrum, read from a size table: the volume quantiles, the span,
// the number median, the covered share of the card and the volume share of the fine drops.

#include "core/records.h"

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
SpectrumFigures ComputeSpectrum(const std::vector<SizeClass> &rows, double cardPixels);

} // namespace velmara
