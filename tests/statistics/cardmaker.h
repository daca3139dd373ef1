#pragma once
// Small hand-made cards for the statistics tests: a size table given as diameter, count and
// volume per row, with the card figures a scan would leave.

#include "core/workspace.h"

#include <initializer_list>
#include <string>
#include <tuple>

namespace velmara::testing {

struct Row
{
    Single diameter;
    Long count;
    Single volume; // cubic micrometres of one drop
};

// Appends a scanned card of the given area with these rows (ascending diameter) and returns its
// index. Fractions and Vmd are filled roughly; the tests that read them set them themselves.
inline int AddCard(Workspace &ws, double areaCm2, std::initializer_list<Row> rows,
                   bool scanned = true)
{
    const int i = ws.AppendCard();
    CardImage &c = ws.Card(i);
    c.AreaCm2 = areaCm2;
    c.Scanned = scanned;
    c.FileName = "card" + std::to_string(i) + ".bmp";
    double total = 0, count = 0;
    Long area = 0;
    for (const Row &r : rows) {
        SizeClass s;
        s.AreaPx = ++area;
        s.Count = r.count;
        s.Volume = r.volume;
        s.Diameter = r.diameter;
        c.SizeTable.push_back(s);
        total += static_cast<double>(r.count) * r.volume;
        count += r.count;
    }
    for (size_t k = 1; k < c.SizeTable.size(); ++k) {
        SizeClass &s = c.SizeTable[k];
        s.VolumeFraction = ToSingle(s.Count * static_cast<double>(s.Volume) / total);
        s.NumberFraction = ToSingle(s.Count / count);
        s.CumVolumeFraction = c.SizeTable[k - 1].CumVolumeFraction + s.VolumeFraction;
        s.CumNumberFraction = c.SizeTable[k - 1].CumNumberFraction + s.NumberFraction;
    }
    if (c.SizeTable.size() > 1) {
        c.MinDiameter = c.SizeTable[1].Diameter;
        c.MaxDiameter = c.SizeTable.back().Diameter;
        c.TotalVolume = total / 1000000;
        c.Stats.DropDensity = count / areaCm2;
        c.Stats.VolumeDensity = c.TotalVolume / areaCm2;
    }
    return i;
}

// The three figures of a card as one comparable value.
inline std::tuple<double, double, double> Figures(const CardStats &s)
{
    return {s.Vmd, s.DropDensity, s.VolumeDensity};
}

// Text of the Failure that f throws; empty when it throws none.
template <typename F>
std::string FailureText(F &&f)
{
    try {
        f();
    } catch (const Failure &e) {
        return e.what();
    }
    return {};
}

} // namespace velmara::testing
