#include "statistics/samplingline.h"

#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "statistics/swath.h"
#include "statistics/swathpatterns.h"

#include <algorithm>

namespace velmara {

bool BuildSwathTablesOrZero(Workspace &ws, std::string *detail)
{
    try {
        BuildSwathTables(ws);
        return true;
    } catch (const Failure &f) {
        if (detail)
            *detail = f.what();
        const Long n = ws.CardCount();
        for (int s = 1; s <= 2; ++s) {
            SwathSet &set = ws.SwathSets[static_cast<size_t>(s)];
            set.Deposit.Redim(0, n - 1);
            set.Stats.assign(static_cast<size_t>(std::max<Long>(n, 1)), SwathStat{});
            set.MaxCov = 0;
            if (set.Width < 1 || set.Width > n - 1)
                set.Width = std::max<Long>(n - 1, 1);
            set.Profile.Redim(0, -1);
            set.ProfileMax = 0;
            BuildBackForthTables(ws, s, 0);
            set.BackForthProfile.Redim(0, -1);
            set.BackForthProfileMax = 0;
        }
        return false;
    }
}

bool PrepareSamplingLine(Workspace &ws, const LineProblemHandler &onProblem)
{
    ws.CompositeCheck = true;
    CalcCompositeAll(ws);
    try {
        AssignCardPositions(ws);
    } catch (const Failure &f) {
        if (!onProblem(LineProblem::PositionsNotNumbers, f.what()))
            return false;
        try {
            AssignCardPositions(ws);
        } catch (const Failure &) {
            // Told once: the line goes on with the positions as they were.
        }
    }
    if (HasEqualPositions(ws) && !onProblem(LineProblem::SamePositions, {}))
        return false;
    if (RangeSelected(ws))
        CalcCompositeRange(ws);
    ResetLineStats(ws);
    FillLineStats(ws);
    ComputeLineScales(ws);
    ws.SwathSets[1].Width = 0;
    ws.SwathSets[2].Width = 0;
    std::string detail;
    if (!BuildSwathTablesOrZero(ws, &detail) && !onProblem(LineProblem::NoSwathGrid, detail))
        return false;
    return true;
}

} // namespace velmara
