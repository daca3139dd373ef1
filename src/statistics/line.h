#pragma once
// The sampling line: a place for each card, the figures of each card as the line shows them, and
// the scales of the line chart.

#include "core/workspace.h"

#include <string>

namespace velmara {

// Shown when two cards share a position; the caller then opens the card position dialog.
inline constexpr const char *kSamePositionMessage =
    "There are two or more cards with the same position.";

// Position of card i = Sample_Position1 + Sample_Interval times (i - 1), the two texts read by
// TextToSingle; the product and the sum are each rounded to Single. Unscanned cards get their
// place too.
// Throws Failure(kTypeMismatch) (or kOverflow) when either text is not a number; no position is
// changed then.
void AssignCardPositions(Workspace &ws);

// The most cards that SamplingLineUsable answers for.
inline constexpr int kLineCardLimit = 32767;

// True when the analysis can lay out and use a line from this first position and spacing: the
// spacing is not 0, every position up to kLineCardLimit cards stays a finite Single, and the swath
// tables' indexes (first / spacing, cut towards zero, then one per card) stay within a Long. The
// dialogs that take the line refuse any other pair, so that no later step fails on it.
bool SamplingLineUsable(Single first, Single interval);

// True when two cards have exactly the same Position (pairs i < j, first pair found ends it).
bool HasEqualPositions(const Workspace &ws);

// Gives LineStats the bounds 1..CardCount, all zero (done on entering the composite view).
void ResetLineStats(Workspace &ws);

// Refills LineStats of the scanned cards: their own figures, or their figures inside the range
// when RangeSelected(). Entries of unscanned cards stay as they are; LineStats is first grown to
// CardCount + 1 elements when shorter. Leaves CardRange holding the last scanned card.
void FillLineStats(Workspace &ws);

// LineLeft, LineRight and the three band tops (LineMaxDeposit in the user's unit). Needs at least
// one card and LineStats of CardCount + 1 elements (missing entries read as 0).
void ComputeLineScales(Workspace &ws);

// Step between axis labels for a band whose top is max: 0.25, 0.5, 1 or 2 times the power of ten
// at or below max. For max at or below 0 (a band with nothing to label) or not a number it returns
// 1, a step that keeps a chart drawable; report pages must not use that fallback as a divisor.
double TickStep(Single max);

// Decimals that labels at multiples of step need so that each reads its exact value: 0 for a
// whole step, 1 for 0.5 or 2.5, 2 for 0.25, 4 for 0.0025. Steps of Single precision count as the
// decimal they stand for. 0 for a step that is not a positive number.
int TickDecimals(double step);

// The number pattern of such labels: "0", "0.0", "0.00", ...
std::string TickPattern(double step);

} // namespace velmara
