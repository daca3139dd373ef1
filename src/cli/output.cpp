#include "cli/output.h"

#include "core/numberform.h"
#include "statistics/range.h"
#include "statistics/swath.h"
#include "statistics/textvalue.h"

#include <cmath>

namespace velmara::cli {

namespace {

void writeStats(JsonWriter &json, const CardStats &s)
{
    json.beginObject();
    json.field("Vmd", s.Vmd);
    json.field("DropDensity", s.DropDensity);
    json.field("VolumeDensity", s.VolumeDensity);
    json.endObject();
}

void writeClasses(JsonWriter &json, const std::vector<SizeClass> &rows)
{
    json.beginArray();
    for (size_t r = 1; r < rows.size(); ++r) {
        const SizeClass &c = rows[r];
        json.beginObject();
        json.field("AreaPx", static_cast<long long>(c.AreaPx));
        json.field("Count", static_cast<long long>(c.Count));
        json.fieldSingle("Volume", c.Volume);
        json.fieldSingle("Diameter", c.Diameter);
        json.fieldSingle("VolumeFraction", c.VolumeFraction);
        json.fieldSingle("CumVolumeFraction", c.CumVolumeFraction);
        json.fieldSingle("NumberFraction", c.NumberFraction);
        json.fieldSingle("CumNumberFraction", c.CumNumberFraction);
        json.endObject();
    }
    json.endArray();
}

std::string pad(std::string s, size_t width, bool right)
{
    if (s.size() >= width)
        return s;
    return right ? std::string(width - s.size(), ' ') + s : s + std::string(width - s.size(), ' ');
}

} // namespace

std::string CardSummary(const Workspace &ws)
{
    const int u = ws.UnitIndex();
    const std::string unit = ws.DepositUnit[u];
    size_t nameWidth = 4;
    for (int i = 1; i <= ws.CardCount(); ++i)
        nameWidth = std::max(nameWidth, ws.Card(i).FileName.size());

    std::string out = pad("Card", nameWidth, false) + "   dpi  stains  rejected   VMD (µm)  drops/cm²  deposit ("
        + unit + ")\n";
    for (int i = 1; i <= ws.CardCount(); ++i) {
        const CardImage &c = ws.Card(i);
        out += pad(c.FileName, nameWidth, false) + pad(std::to_string(c.Dpi), 6, true);
        if (!c.Scanned) {
            out += "  not analysed\n";
            continue;
        }
        long long stains = 0;
        for (int r = 1; r <= c.SizeRows(); ++r)
            stains += c.SizeTable[r].Count;
        if (c.SizeRows() == 0) {
            out += pad("0", 8, true) + pad(std::to_string(c.RejectedCount), 10, true) + "   no drops found\n";
            continue;
        }
        out += pad(std::to_string(stains), 8, true) + pad(std::to_string(c.RejectedCount), 10, true)
            + pad(FormatNumber(c.Stats.Vmd, "0.0"), 11, true) + pad(FormatNumber(c.Stats.DropDensity, "0.0"), 11, true)
            + pad(FormatNumber(c.Stats.VolumeDensity * ws.DepositFactor[u], "0.000"), 10 + unit.size(), true)
            + "\n";
    }
    return out;
}

void WriteSpectrumFields(JsonWriter &json, const SpectrumFigures &f)
{
    json.field("Dv10", f.Dv10);
    json.field("Dv90", f.Dv90);
    json.field("RelativeSpan", f.RelativeSpan);
    json.field("Nmd", f.Nmd);
    json.field("CoveragePercent", f.CoveragePercent);
    json.field("VolumeBelow100", f.VolumeBelow100);
    json.field("VolumeBelow150", f.VolumeBelow150);
    json.field("VolumeBelow200", f.VolumeBelow200);
}

std::string SpectrumSummary(const Workspace &ws, bool ranged, bool withComposite)
{
    size_t nameWidth = 9;
    for (int i = 1; i <= ws.CardCount(); ++i)
        nameWidth = std::max(nameWidth, ws.Card(i).FileName.size());
    auto row = [&](const std::string &name, const SpectrumFigures &f) {
        auto percent = [](double share) { return FormatNumber(share * 100, "0.0") + "%"; };
        return pad(name, nameWidth, false) + pad(FormatNumber(f.Dv10, "0.0"), 8, true)
            + pad(FormatNumber(f.Dv50, "0.0"), 8, true) + pad(FormatNumber(f.Dv90, "0.0"), 8, true)
            + pad(FormatNumber(f.RelativeSpan, "0.00"), 6, true) + pad(FormatNumber(f.Nmd, "0.0"), 8, true)
            + pad(FormatNumber(f.CoveragePercent, "0.00") + "%", 9, true) + pad(percent(f.VolumeBelow100), 8, true)
            + pad(percent(f.VolumeBelow150), 8, true) + pad(percent(f.VolumeBelow200), 8, true) + "\n";
    };
    std::string out = pad(ranged ? "In range" : "Spectrum", nameWidth, false)
        + "   Dv0.1   Dv0.5   Dv0.9  span     NMD  covered  <100µm  <150µm  <200µm\n";
    for (int i = 1; i <= ws.CardCount(); ++i) {
        if (ws.Card(i).Scanned && ws.Card(i).SizeRows() > 0)
            out += row(ws.Card(i).FileName, CardSpectrum(ws, i, ranged));
    }
    if (withComposite)
        out += row("Composite", CompositeSpectrum(ws, ranged));
    return out;
}

void WriteSizeStatsJson(JsonWriter &json, const SizeStats &s, const SpectrumFigures *spectrum)
{
    json.beginObject();
    json.key("Stats");
    writeStats(json, s.Stats);
    json.field("TotalVolume", s.TotalVolume);
    json.field("AreaCm2", s.AreaCm2);
    json.field("DropCount", s.DropCount);
    json.field("MinDiameter", s.MinDiameter);
    json.fieldSingle("MaxDiameter", s.MaxDiameter);
    json.field("MaxClassCount", static_cast<long long>(s.MaxClassCount));
    json.field("MaxClassVolume", s.MaxClassVolume);
    if (spectrum)
        WriteSpectrumFields(json, *spectrum);
    json.key("Classes");
    writeClasses(json, s.Classes);
    json.endObject();
}

void WriteCardsJson(JsonWriter &json, const Workspace &ws, const std::vector<Refusal> &refusals, bool withLine)
{
    const int u = ws.UnitIndex();
    const bool ranged = withLine && RangeSelected(ws);
    json.field("Format", kJsonFormat);
    json.key("Cards");
    json.beginArray();
    for (int i = 1; i <= ws.CardCount(); ++i) {
        const CardImage &c = ws.Card(i);
        long long stains = 0;
        long long foreground = c.Pixels.size() >= 1 ? static_cast<long long>(c.Pixels.size()) - 2 : c.ReleasedForeground;
        if (foreground < 0)
            foreground = 0;
        for (int r = 1; r <= c.SizeRows(); ++r)
            stains += c.SizeTable[r].Count;
        json.beginObject();
        json.field("Index", i);
        json.field("FileName", c.FileName);
        json.field("FullPath", c.FullPath);
        json.field("Dpi", static_cast<long long>(c.Dpi));
        json.field("WidthPx", static_cast<long long>(c.WidthPx));
        json.field("HeightPx", static_cast<long long>(c.HeightPx));
        json.field("MicronsPerPixelX", c.MicronsPerPixelX);
        json.field("MicronsPerPixelY", c.MicronsPerPixelY);
        json.field("AreaCm2", c.AreaCm2);
        json.field("BackgroundIndex", static_cast<int>(c.BackgroundIndex));
        json.field("DitherIndex", static_cast<int>(c.DitherIndex));
        json.field("ColourScan", c.ColourScan.Colour);
        json.field("SourceDepth", c.ColourScan.Colour ? c.ColourScan.SourceDepth : 8);
        json.field("TableEntries", static_cast<long long>(c.ColourTable.size()));
        json.field("BackgroundClassEntries", c.ColourScan.Colour ? c.ColourScan.BackgroundClassEntries
                                             : c.PixelsReady ? (c.BackgroundIndex == c.DitherIndex ? 1 : 2)
                                                             : 0);
        json.key("StainBoundary");
        if (c.ColourScan.Colour && c.PixelsReady)
            json.value(c.ColourScan.StainBoundary);
        else
            json.null(); // an 8-bit card is told from its stains by colour table index alone
        json.field("ForegroundPixels", c.PixelsReady ? foreground : 0);
        json.field("PixelsReady", c.PixelsReady);
        json.field("Scanned", c.Scanned);
        json.field("StainCount", stains);
        json.field("RejectedCount", static_cast<long long>(c.RejectedCount));
        if (c.SplitScan) {
            json.field("SplitStains", static_cast<long long>(c.SplitStains));
            json.field("SplitParts", static_cast<long long>(c.SplitParts));
        }
        json.field("Vmd", c.Stats.Vmd);
        json.field("DropDensity", c.Stats.DropDensity);
        json.field("VolumeDensity", c.Stats.VolumeDensity);
        json.field("TotalVolume", c.TotalVolume);
        json.fieldSingle("MinDiameter", c.MinDiameter);
        json.fieldSingle("MaxDiameter", c.MaxDiameter);
        json.field("MaxVolumeFraction", c.MaxVolumeFraction);
        json.field("MaxClassCount", static_cast<long long>(c.MaxClassCount));
        json.field("Deposit", c.Stats.VolumeDensity * ws.DepositFactor[u]);
        json.field("DepositUnit", ws.DepositUnit[u]);
        WriteSpectrumFields(json, CardSpectrum(ws, i, false));
        if (withLine) {
            json.fieldSingle("Position", c.Position);
            json.key("LineStats");
            writeStats(json, static_cast<size_t>(i) < ws.LineStats.size() ? ws.LineStats[i] : CardStats{});
            if (ranged) {
                const SpectrumFigures f = CardSpectrum(ws, i, true);
                json.key("RangeSpectrum");
                json.beginObject();
                json.field("Vmd", f.Dv50);
                WriteSpectrumFields(json, f);
                json.endObject();
            }
        }
        json.key("SizeTable");
        writeClasses(json, c.SizeTable);
        json.endObject();
    }
    json.endArray();
    json.key("Refused");
    json.beginArray();
    for (const Refusal &r : refusals) {
        json.beginObject();
        json.field("FileName", r.FileName);
        json.field("Message", r.Message);
        json.endObject();
    }
    json.endArray();
}

namespace {

bool SwathIsNumber(const Workspace &ws)
{
    return ws.Spray.AC_Swath.empty() || TryTextToSingle(ws.Spray.AC_Swath).has_value();
}

} // namespace

Single ShownRateFactor(const Workspace &ws, int setIndex)
{
    if (!SwathIsNumber(ws))
        return 1;
    try {
        const Single f = SwathRateFactor(ws, setIndex);
        return std::isfinite(f) ? f : 1;
    } catch (const Failure &) {
        return 1;
    }
}

std::string SwathNote(const Workspace &ws)
{
    if (SwathIsNumber(ws))
        return {};
    return "Aircraft swath '" + ws.Spray.AC_Swath + "' is not a number: counted as none given (rate factor 1)\n";
}

} // namespace velmara::cli
