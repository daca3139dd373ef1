#pragma once
// A synthetic sampling line for the report tests and the report benchmark: cards with size
// tables of known shape, run through the same statistics chain as the composite view.

#include "core/workspace.h"
#include "statistics/samplingline.h"

#include <cmath>

namespace velmara::testing {

struct LineSpec
{
    int cards = 5;
    int rowsPerCard = 40;
    std::string position1 = "-20";
    std::string interval = "10";
    bool metric = true;
    int unscannedCard = 0; // a card left unscanned, 0 for none
};

// Fills card i with rows of diameters 20 + 7.3 k micrometres, counts that fall off with size and
// vary along the line, so that deposit and density differ from card to card.
inline void FillCard(CardImage &card, int i, int rows)
{
    card.FileName = "card" + std::to_string(i) + ".bmp";
    card.FullPath = "/tmp/" + card.FileName;
    card.AreaCm2 = 4.5;
    card.Scanned = true;
    card.SizeTable.assign(1, SizeClass{});
    double count = 0, volume = 0;
    for (int r = 1; r <= rows; ++r) {
        SizeClass c;
        c.Diameter = static_cast<Single>(20 + 7.3 * r + 0.01 * i);
        c.AreaPx = r * 3;
        c.Count = 1 + static_cast<Long>((40 + 25 * std::sin(i * 0.7)) / (1 + r * 0.15));
        c.Volume = static_cast<Single>(4.0 / 3.0 * 3.141592653589793 * std::pow(c.Diameter / 2, 3));
        count += c.Count;
        volume += c.Count * static_cast<double>(c.Volume);
        card.SizeTable.push_back(c);
    }
    double cum = 0;
    for (int r = 1; r <= rows; ++r) {
        SizeClass &c = card.SizeTable[static_cast<size_t>(r)];
        c.VolumeFraction = static_cast<Single>(c.Count * static_cast<double>(c.Volume) / volume);
        cum += c.VolumeFraction;
        c.CumVolumeFraction = static_cast<Single>(cum);
        if (card.Stats.Vmd == 0 && cum >= 0.5)
            card.Stats.Vmd = c.Diameter + 20 * std::sin(i * 1.3);
    }
    card.MinDiameter = card.SizeTable[1].Diameter;
    card.MaxDiameter = card.SizeTable.back().Diameter;
    card.TotalVolume = volume / 1e6;
    card.Stats.DropDensity = count / card.AreaCm2;
    card.Stats.VolumeDensity = card.TotalVolume / card.AreaCm2;
}

// Recomputes what the composite view holds: positions, composites, line statistics, swath tables.
inline void Recompute(Workspace &ws)
{
    PrepareSamplingLine(ws, [](LineProblem, const std::string &) { return true; });
}

inline void MakeLine(Workspace &ws, const LineSpec &spec)
{
    ws.ClearAll();
    ws.Metric = spec.metric;
    ws.Spray.AC_Type = "Duster 510G";
    ws.Spray.AC_Registration = "ZK-VLM";
    ws.Spray.AC_Owner = "Harrow, Field & Sons";
    ws.Spray.AC_Swath = "";
    ws.Spray.AC_Speed = "190";
    ws.Spray.AC_Height = "4";
    ws.Spray.Spray_Product = "Glyphosate";
    ws.Spray.Spray_ActiveRate = "1.2";
    ws.Spray.Spray_SprayRate = "30";
    ws.Spray.Nozzle_Type = "CP-09 0.125";
    ws.Spray.Nozzle_Number = "42";
    ws.Spray.Sampler_Type = "Flatbed 1200 dpi";
    ws.Spray.Sample_Position1 = spec.position1;
    ws.Spray.Sample_Interval = spec.interval;
    ws.Spray.Comment = "Morning run, light wind";
    for (int i = 1; i <= spec.cards; ++i) {
        CardImage &card = ws.Card(ws.AppendCard());
        FillCard(card, i, spec.rowsPerCard);
        if (i == spec.unscannedCard)
            card.Scanned = false;
    }
    Recompute(ws);
}

} // namespace velmara::testing
