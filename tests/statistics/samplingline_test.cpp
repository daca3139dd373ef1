#include "statistics/samplingline.h"

#include "cardmaker.h"
#include "statistics/swath.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

using namespace velmara;
using namespace velmara::testing;

// What the handler hears and what its answer does: stop, or fix the texts and go on.
TEST(PrepareSamplingLine, ProblemsGoToTheHandlerWhoseAnswerDecides)
{
    struct Case
    {
        const char *position1, *interval;
        bool goOn;
        std::vector<LineProblem> told;
        bool prepared;
        Single lastPosition; // of card 3, after the handler's fix where it went on
    };
    using P = LineProblem;
    const std::vector<Case> cases = {
        {"-50", "10", false, {}, true, -30},
        {"-5O", "10", false, {P::PositionsNotNumbers}, false, 0},
        {"-5O", "10", true, {P::PositionsNotNumbers}, true, 20},
        {"0", "0", false, {P::SamePositions}, false, 0},
        {"0", "0", true, {P::SamePositions, P::NoSwathGrid}, true, 0},
    };
    for (const Case &k : cases) {
        Workspace ws;
        for (int i = 0; i < 3; ++i)
            AddCard(ws, 4, {{100, 2 + i, 5e5f}, {200, 1, 4e6f}});
        ws.Spray.Sample_Position1 = k.position1;
        ws.Spray.Sample_Interval = k.interval;
        std::vector<LineProblem> told;
        const bool prepared = PrepareSamplingLine(ws, [&](LineProblem p, const std::string &) {
            told.push_back(p);
            if (p == P::PositionsNotNumbers) // the card position dialog's answer
                ws.Spray.Sample_Position1 = "0";
            return k.goOn;
        });
        EXPECT_EQ(told, k.told) << k.position1;
        EXPECT_EQ(prepared, k.prepared) << k.position1;
        EXPECT_TRUE(ws.CompositeCheck);
        EXPECT_EQ(ws.CompositeAll.DropCount, (2 + 3 + 4) + 3) << "the composite comes first";
        if (!prepared)
            continue;
        EXPECT_EQ(ws.Card(3).Position, k.lastPosition) << k.position1;
        EXPECT_EQ(ws.LineStats.size(), 4u);
        EXPECT_GT(ws.LineMaxDensity, 0);
        // Off the grid the swath tables are zero, with a width to draw at.
        const bool offGrid = !k.told.empty() && k.told.back() == P::NoSwathGrid;
        EXPECT_EQ(ws.SwathSets[1].Width, offGrid ? 2 : ChooseSwathWidth(ws.SwathSets[1], 3)) << k.position1;
        EXPECT_EQ(ws.SwathSets[1].MaxCov > 0, !offGrid) << k.position1;
    }
}
