#pragma once
// The sampling line as the composite view holds it, prepared in one place for the desktop
// program and the command line: the composite of all cards, the card positions, the range, the
// line statistics, the line scales and the swath tables.

#include "core/workspace.h"

#include <functional>
#include <string>

namespace velmara {

enum class LineProblem {
    PositionsNotNumbers, // Sample_Position1 or Sample_Interval is not a number (detail: the failure)
    SamePositions,       // two cards share a position
    NoSwathGrid,         // the line cannot be laid on the grid of card intervals (detail: the failure)
};

// Told of a problem while the line is prepared; returns whether to go on. Before going on after
// PositionsNotNumbers it may change the two texts (the card position dialog), and the positions
// are computed once more; after SamePositions they are not tested again. NoSwathGrid comes with
// the swath tables zeroed on a grid from 0 and an unchosen width set to CardCount - 1.
using LineProblemHandler = std::function<bool(LineProblem problem, const std::string &detail)>;

// Enters the line afresh (the swath widths are chosen anew) with CompositeCheck set. Returns
// false when the handler said stop; what was prepared up to then stays.
bool PrepareSamplingLine(Workspace &ws, const LineProblemHandler &onProblem);

// BuildSwathTables that never leaves the sets unusable: when the sampling texts cannot place the
// line (an interval of 0, a text that is not a number) both sets get zero tables on a grid from
// 0, and an unchosen Width becomes CardCount - 1. Returns false in that case, with the failure's
// text in detail when given.
bool BuildSwathTablesOrZero(Workspace &ws, std::string *detail = nullptr);

} // namespace velmara
