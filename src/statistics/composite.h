#pragma once
// The composite: all scanned cards merged into one table of 0.1 micrometre diameter classes.

#include "core/workspace.h"

namespace velmara {

// Largest count a class of a composite table can hold; a merged class above it keeps Count 0.
inline constexpr Long kMaxClassCount = 32767;

// Rebuilds ws.CompositeAll and ws.MaxVmdOfCards from the scanned cards. Never fails: a class of
// more than kMaxClassCount stains keeps Count 0 and NumberFraction 0 (its VolumeFraction uses the
// full count); with no row at all Classes is empty (not even row 0), Stats.Vmd is 0 and
// MinDiameter keeps its old value; with no scanned card the two densities keep their old values.
// A row whose diameter falls outside the bins (a spread polynomial that is not increasing) adds
// to DropCount but to no class.
void CalcCompositeAll(Workspace &ws);

// ws.CompositeRange: CompositeAll cut to RangeLow..RangeHigh, fractions and median recomputed,
// AreaCm2 and the Max/Min fields kept from CompositeAll. Needs a current CompositeAll.
void CalcCompositeRange(Workspace &ws);

} // namespace velmara
