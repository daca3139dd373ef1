#include "core/workspace.h"

#include <cmath>
#include <utility>

namespace velmara {

Workspace::Workspace() : Cards(1), Pi(4.0 * std::atan(1.0)) {}

int Workspace::AppendCard()
{
    Cards.emplace_back();
    return CardCount();
}

void Workspace::WithdrawCard()
{
    if (CardCount() > 0)
        Cards.pop_back();
}

std::vector<std::pair<int, int>> Workspace::SortByName()
{
    std::vector<std::pair<int, int>> swaps;
    const int n = CardCount();
    for (int i = 1; i <= n - 1; ++i) {
        for (int j = i + 1; j <= n; ++j) {
            if (Cards[i].FileName > Cards[j].FileName) {
                std::swap(Cards[i], Cards[j]);
                swaps.emplace_back(i, j);
            }
        }
    }
    return swaps;
}

int Workspace::FindByName(const std::string &fileName) const
{
    for (int i = 1; i <= CardCount(); ++i)
        if (Cards[i].FileName == fileName)
            return i;
    return 0;
}

void Workspace::RemoveCard(int index)
{
    const int oldCount = CardCount();
    if (index < 1 || index > oldCount)
        return;
    Cards.erase(Cards.begin() + index);
    CurrentCard = index < oldCount ? index : CardCount();
    if (CurrentCard < 1)
        CurrentCard = 1;
    ShownCard = 0;
    MaxDiameterAll = ComputeMaxDiameterAll();
}

void Workspace::ClearAll()
{
    Cards.assign(1, CardImage{});
    CurrentCard = 1;
    ShownCard = 0;
    Spray.Sample_Position1.clear();
    Spray.Sample_Interval.clear();
    DisableBackgroundWarning = false;
    DisableDitherWarning = false;
    MaxDiameterAll = 0;
}

int Workspace::ScannedCount() const
{
    int n = 0;
    for (int i = 1; i <= CardCount(); ++i)
        n += Cards[i].Scanned ? 1 : 0;
    return n;
}

Single Workspace::ComputeMaxDiameterAll() const
{
    Single m = 0;
    for (int i = 1; i <= CardCount(); ++i) {
        const CardImage &c = Cards[i];
        if (c.Scanned && c.SizeRows() > 0 && c.SizeTable.back().Diameter > m)
            m = c.SizeTable.back().Diameter;
    }
    return m;
}

} // namespace velmara
