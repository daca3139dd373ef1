#include "statistics/spectrum.h"

#include "statistics/range.h"

#include <cmath>

namespace velmara {

namespace {

// Fractions are stored as Singles: the asked share is taken as one too, so that a row whose
// stored share equals it reaches it (0.9 as a Single lies below 0.9 as a Double).
template <typename Cumulative>
double Quantile(const std::vector<SizeClass> &rows, double share, Cumulative cumulative)
{
    const double target = ToSingle(share);
    double prevD = 0;
    double prevC = 0;
    for (size_t i = 1; i < rows.size(); ++i) {
        const double d = rows[i].Diameter;
        const double c = cumulative(rows[i]);
        // prevC lies below target here, so c - prevC is never 0.
        if (c >= target)
            return prevD + (d - prevD) * ((target - prevC) / (c - prevC));
        prevD = d;
        prevC = c;
    }
    return 0;
}

double Finite(double v) { return std::isfinite(v) ? v : 0; }

double CardPixels(const CardImage &card)
{
    return static_cast<double>(card.WidthPx) * static_cast<double>(card.HeightPx);
}

long long BinOf(Single diameter) { return static_cast<long long>(RoundHalfEven(static_cast<double>(diameter) * 10.0)); }

} // namespace

double VolumeQuantile(const std::vector<SizeClass> &rows, double share)
{
    return Quantile(rows, share, [](const SizeClass &r) { return static_cast<double>(r.CumVolumeFraction); });
}

double NumberQuantile(const std::vector<SizeClass> &rows, double share)
{
    return Quantile(rows, share, [](const SizeClass &r) { return static_cast<double>(r.CumNumberFraction); });
}

double VolumeShareBelow(const std::vector<SizeClass> &rows, double diameter)
{
    if (!(diameter > 0))
        return 0;
    double prevD = 0;
    double prevC = 0;
    for (size_t i = 1; i < rows.size(); ++i) {
        const double d = rows[i].Diameter;
        const double c = rows[i].CumVolumeFraction;
        if (d >= diameter) {
            // Two rows of one diameter (a spread polynomial that is not increasing): no slope.
            if (d == prevD)
                return c;
            return prevC + (c - prevC) * ((diameter - prevD) / (d - prevD));
        }
        prevD = d;
        prevC = c;
    }
    return prevC;
}

SpectrumFigures ComputeSpectrum(const std::vector<SizeClass> &rows, double cardPixels)
{
    return ComputeSpectrum(rows, cardPixels, VolumeQuantile(rows, 0.5));
}

SpectrumFigures ComputeSpectrum(const std::vector<SizeClass> &rows, double cardPixels, double vmd)
{
    SpectrumFigures f;
    f.Dv10 = Finite(VolumeQuantile(rows, 0.1));
    f.Dv50 = Finite(vmd);
    f.Dv90 = Finite(VolumeQuantile(rows, 0.9));
    f.RelativeSpan = f.Dv50 > 0 ? Finite((f.Dv90 - f.Dv10) / f.Dv50) : 0;
    f.Nmd = Finite(NumberQuantile(rows, 0.5));
    double stainPixels = 0;
    for (size_t i = 1; i < rows.size(); ++i)
        stainPixels += static_cast<double>(rows[i].AreaPx) * rows[i].Count;
    f.CoveragePercent = cardPixels > 0 ? Finite(stainPixels / cardPixels * 100) : 0;
    f.VolumeBelow100 = Finite(VolumeShareBelow(rows, 100));
    f.VolumeBelow150 = Finite(VolumeShareBelow(rows, 150));
    f.VolumeBelow200 = Finite(VolumeShareBelow(rows, 200));
    return f;
}

SpectrumFigures CardSpectrum(const Workspace &ws, int index, bool ranged)
{
    const CardImage &card = ws.Card(index);
    if (!ranged)
        return ComputeSpectrum(card.SizeTable, CardPixels(card), card.SizeRows() > 0 ? card.Stats.Vmd : 0);
    SizeStats cut;
    cut.Classes = card.SizeTable;
    if (cut.Classes.empty())
        cut.Classes.resize(1);
    RestrictToRange(cut, ws.RangeLow, ws.RangeHigh);
    return ComputeSpectrum(cut.Classes, CardPixels(card), cut.Stats.Vmd);
}

SpectrumFigures CompositeSpectrum(const Workspace &ws, bool ranged)
{
    const SizeStats &t = ranged ? ws.CompositeRange : ws.CompositeAll;
    SpectrumFigures f = ComputeSpectrum(t.Classes, 0, t.Stats.Vmd);
    if (t.Classes.size() < 2 || !(t.AreaCm2 > 0))
        return f;
    // The composite's classes are contiguous bins, so a card row belongs to them when its bin
    // lies between those of the first and the last class.
    const long long lowBin = BinOf(t.Classes[1].Diameter);
    const long long highBin = BinOf(t.Classes.back().Diameter);
    double coveredCm2 = 0;
    for (int k = 1; k <= ws.CardCount(); ++k) {
        const CardImage &card = ws.Card(k);
        const double pixels = CardPixels(card);
        if (!card.Scanned || !(pixels > 0))
            continue;
        double stainPixels = 0;
        for (int r = 1; r <= card.SizeRows(); ++r) {
            const SizeClass &row = card.SizeTable[static_cast<size_t>(r)];
            const long long b = BinOf(row.Diameter);
            if (b >= lowBin && b <= highBin)
                stainPixels += static_cast<double>(row.AreaPx) * row.Count;
        }
        coveredCm2 += stainPixels * (card.AreaCm2 / pixels);
    }
    f.CoveragePercent = Finite(coveredCm2 / t.AreaCm2 * 100);
    return f;
}

} // namespace velmara
