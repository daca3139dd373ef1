#pragma once
// Statistics of a card inside the selected diameter range (RangeLow..RangeHigh of the Workspace).
// Calling order wherever the selection or the data change: ask RangeSelected(); only if true run
// CalcSingleRange(ws, 0) (or CalcCompositeRange in the composite view); then store
// GetCurrentVMD() in CurrentVMD and redraw.

#include "core/workspace.h"

namespace velmara {

// True when the selection cuts something off the table on show: in the composite view
// (CompositeCheck) against CompositeAll's ends, else against CurrentCard's MinDiameter and
// MaxDiameter. Strict comparisons: a bound equal to the table's end cuts nothing.
// False when there is no card.
bool RangeSelected(const Workspace &ws);

// Fills ws.CardRange for card cardIndex (0 means CurrentCard). The card's own table is not
// touched. An index outside 1..CardCount leaves CardRange as it was.
void CalcSingleRange(Workspace &ws, int cardIndex);

// Volume median diameter of what is on show (see RangeSelected for which table that is).
double GetCurrentVMD(const Workspace &ws);

// The common core of the card range and the composite range: keeps the rows of stats.Classes
// from the first whose Diameter is at or above low to the first, searching from the last row
// down to row 2, whose Diameter is at or below high; sums TotalVolume (Count times Volume, in the
// table's own volume unit) and DropCount; recomputes the four fractions and Stats.Vmd. A first
// selected row that passes one half alone gives its own Diameter, not a value interpolated from 0.
// Densities are left to the caller. An empty table (not even row 0) stays empty, with zero sums.
void RestrictToRange(SizeStats &stats, Single low, Single high);

} // namespace velmara
