#pragma once
// The swath analysis view: below, the COV of every swath width as dots, with a width button under
// each; above, the deposit (or drop density) profile of a block of passes at the chosen width with
// the line as measured. It draws the set that the graph mode selects (CurrentSwathSet) and says where the
// width buttons stand and what the labels beside the size graph read.

#include "core/workspace.h"
#include "statistics/swathpatterns.h"
#include "views/chartcanvas.h"

#include <QString>

#include <vector>

namespace velmara {

struct SwathViewLayout
{
    bool Drawn = false;              // false with fewer than 3 cards: nothing but a clear
    int ButtonTop = 0;               // pixel top of every width button
    std::vector<double> ButtonCentreX; // 1..n - 1, pixels; element 0 unused
    // The six labels beside the size graph.
    QString Info1, Info2, Info3;
    QString Vmd, Drop, Volume;
    // The line under them: the effective swath of the pattern drawn.
    QString Info4, Effective;
    EffectiveSwath EffectiveWidth;
};

// The value factors of a set: U (DepositFactor for the deposit set, 1 for drop density) and F
// (the rate factor at the set's width; 1 when the swath text cannot be read).
double SwathUnitFactor(const Workspace &ws, int setIndex);
double SwathShownRateFactor(const Workspace &ws, int setIndex);

// c: the COV at the top of the COV box, MaxCov * 1.2 rounded up to a tenth, at least 1.
double CovAxisTop(Single maxCov);
// T: the value at the top of the profile box, from the largest shown profile value (ProfileMax
// times U times F), at least 1.
double ProfileAxisTop(double shownProfileMax);

// BuildSwathTables that never leaves the sets unusable: when the sampling texts cannot place the
// line (an interval of 0, a text that is not a number) both sets get zero tables on a grid from
// 0, and an unchosen Width becomes n - 1. Returns false in that case.
bool RebuildSwathTables(Workspace &ws);

// What the view of the current set draws from: its tables (rebuilt as RebuildSwathTables does
// when missing) and its overlap profile. Run it before each drawing; nothing with fewer than 3
// cards.
void PrepareSwathView(Workspace &ws);

// Draws the view of the current set, as PrepareSwathView left it, on canvas; with fewer than 3
// cards or without prepared tables only clears it. The profile box holds the whole block, and the
// labels under it never run together. pattern chooses the fold and profile drawn; the COV chart
// also shows the limit (CovLimit) and marks the effective swath.
SwathViewLayout DrawSwathView(ChartCanvas &canvas, const Workspace &ws,
                              SwathPattern pattern = SwathPattern::Racetrack);

// Colour of the limit line and of the mark at the effective swath.
inline constexpr QRgb kEffectiveSwathColour = 0xff0000c0;

} // namespace velmara
