#pragma once
// Swath analysis: the line folded at every swath width (1..CardCount - 1 card intervals), how even
// the folded deposit is, the width proposed, and the profile across a block of passes. Set 1 of
// ws.SwathSets is the deposit (LineStats VolumeDensity), set 2 the drop density.

#include "core/workspace.h"

#include <vector>

namespace velmara {

// COV threshold of the width choice: the Single nearest 0.3, compared as "at or below".
inline constexpr Single kCovThreshold = 0.3f;

// Index of the first card on the grid of card intervals: Sample_Position1 / Sample_Interval, a
// Single quotient, truncated toward zero (-45 / 10 gives -4).
// Throws Failure: kTypeMismatch for a text that is not a number, kDivisionByZero for an interval
// of 0 (kOverflow when both are 0, as the quotient 0 / 0 reports), kOverflow beyond a Long.
Long SwathFirst(const Workspace &ws);
// The quotient itself, a Single; throws as SwathFirst.
Single GridQuotient(const Workspace &ws);

// Fills Deposit, Stats and MaxCov of both sets from LineStats (missing entries read 0), and
// chooses Width of a set whose Width is 0; then the back-and-forth tables (swathpatterns.h). Needs CardCount of at least 2 for any width to exist.
// Throws as SwathFirst; the sets are untouched then.
void BuildSwathTables(Workspace &ws);

// The width proposed for a set whose Stats (1..n - 1) stand: from wide to narrow, the widest w at
// which Cov drops to kCovThreshold or below while width w + 1 lies above it; n - 1 when no such
// step exists.
Long ChooseSwathWidth(const SwathSet &set, Long n);

// Folds set setIndex (1 or 2) at width w (1..n - 1) and returns Cov, Mean, Max, Min.
SwathStat FoldAtWidth(const Workspace &ws, int setIndex, Long w);

// Sample standard deviation of values[1..m] (element 0 ignored); 0 when m is 1 or less.
Single SampleStdDev(const std::vector<Single> &values);

// Fills Profile, ProfileMax and Passes of set setIndex at its Width, and the back-and-forth
// profile of the same block. Throws
// Failure(kDivisionByZero) when Width is 0.
void BuildOverlapProfile(Workspace &ws, int setIndex);

// Scale factor of a width of w card intervals against the swath the aircraft flew: 1 when AC_Swath
// is empty or not above 0, else Sample_Interval times w / AC_Swath, as a Single.
// Throws Failure(kTypeMismatch) when AC_Swath (not empty) or, where used, Sample_Interval is not a
// number.
Single RateFactorForWidth(const Workspace &ws, Long w);

// RateFactorForWidth at the set's Width.
Single SwathRateFactor(const Workspace &ws, int setIndex);

} // namespace velmara
