#pragma once
// The two ways a pattern is flown, and the effective swath. Racetrack flies every pass the same
// way (the tables of swath.h); back and forth flies every other pass the opposite way, so that
// its deposit lies mirrored about its flight line, position 0 of the line. The effective swath is
// the widest pass spacing, in tenths of a card interval, whose COV stays within a limit.

#include "core/workspace.h"

namespace velmara {

enum class SwathPattern { Racetrack, BackAndForth };

struct EffectiveSwath
{
    bool Found = false; // false: even the narrowest width lies above the limit
    double Width = 0;   // card intervals, a whole number of tenths
    Single Cov = 0;
};

// Fills BackForthStats, BackForthMaxCov, GridOffset, Lags, Pairs and DepositSum of set setIndex
// from its Deposit. gridOffset: Sample_Position1 / Sample_Interval less its whole part.
void BuildBackForthTables(Workspace &ws, int setIndex, Single gridOffset);

// Folds set setIndex back and forth at width w (1..n - 1): the bins span the two passes after
// which the pattern repeats.
SwathStat FoldBackForthAtWidth(const SwathSet &set, Long w);

// Fills BackForthProfile and BackForthProfileMax at the set's Width and Passes (BuildOverlapProfile
// runs it).
void BuildBackForthProfile(SwathSet &set);

// Cov and MaxCov of one pattern's table.
const std::vector<SwathStat> &PatternStats(const SwathSet &set, SwathPattern pattern);
Single PatternMaxCov(const SwathSet &set, SwathPattern pattern);

// The COV at a width of any number of card intervals above 1, the other passes' deposit read
// between cards by linear interpolation. At whole widths it agrees with the tables.
Single CovAtWidth(const SwathSet &set, SwathPattern pattern, double width);

// The limit in percent as the COVs are held: the nearest Single to the fraction.
Single CovLimitFraction(double percent);

// The widest width from n - 1 down to 1.1 intervals, in tenths, whose COV is at or below the
// limit (percent). Whole widths take the tables' COV. Width 1 folds the line onto one bin and
// says nothing about evenness, so it is not searched.
EffectiveSwath FindEffectiveSwath(const SwathSet &set, SwathPattern pattern, double limitPercent);

} // namespace velmara
