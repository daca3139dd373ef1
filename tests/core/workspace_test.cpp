#include "core/workspace.h"

#include <gtest/gtest.h>

using namespace velmara;

namespace {
Workspace WithNames(std::initializer_list<const char *> names)
{
    Workspace ws;
    for (const char *n : names) {
        const int i = ws.AppendCard();
        ws.Card(i).FileName = n;
    }
    return ws;
}
std::vector<std::string> Names(const Workspace &ws)
{
    std::vector<std::string> out;
    for (int i = 1; i <= ws.CardCount(); ++i)
        out.push_back(ws.Card(i).FileName);
    return out;
}
} // namespace

TEST(Workspace, SortIsACaseSensitiveExchangeSort)
{
    Workspace ws = WithNames({"b.bmp", "B.bmp", "a.bmp"});
    ws.SortByName();
    EXPECT_EQ(Names(ws), (std::vector<std::string>{"B.bmp", "a.bmp", "b.bmp"}));

    // Not stable: equal names follow the swaps, and find-by-name yields the first of them.
    ws = WithNames({"b", "b", "a"});
    ws.Card(1).FullPath = "first";
    ws.Card(2).FullPath = "second";
    ws.SortByName();
    EXPECT_EQ(ws.Card(2).FullPath, "second");
    EXPECT_EQ(ws.Card(3).FullPath, "first");
    EXPECT_EQ(ws.FindByName("b"), 2);
    EXPECT_EQ(ws.FindByName("c"), 0);
}

TEST(Workspace, RemoveSelectsNeighbourAndRecomputesMaxDiameter)
{
    Workspace ws = WithNames({"a", "b", "c"});
    ws.Card(3).Scanned = true;
    ws.Card(3).SizeTable.push_back(SizeClass{5, 1, 0, 80.f, 0, 0, 0, 0});
    ws.Card(1).Scanned = true;
    ws.Card(1).SizeTable.push_back(SizeClass{5, 1, 0, 40.f, 0, 0, 0, 0});
    ws.ShownCard = 3;

    ws.RemoveCard(3); // the last: the new last is selected
    EXPECT_EQ(ws.CurrentCard, 2);
    EXPECT_EQ(ws.ShownCard, 0);
    EXPECT_FLOAT_EQ(ws.MaxDiameterAll, 40.f);

    ws.RemoveCard(1); // the first of two: the new first
    EXPECT_EQ(Names(ws), std::vector<std::string>{"b"});
    EXPECT_FLOAT_EQ(ws.MaxDiameterAll, 0.f);
}

TEST(Workspace, ClearAllResetsListAndPerRunState)
{
    Workspace ws = WithNames({"a", "b"});
    ws.CurrentCard = 2;
    ws.Spray.Sample_Position1 = "-50";
    ws.Spray.AC_Type = "kept";
    ws.DisableDitherWarning = true;
    ws.ClearAll();
    EXPECT_EQ(ws.CardCount(), 0);
    EXPECT_EQ(ws.CurrentCard, 1);
    EXPECT_TRUE(ws.Spray.Sample_Position1.empty());
    EXPECT_EQ(ws.Spray.AC_Type, "kept");
    EXPECT_FALSE(ws.DisableDitherWarning);
}
