#include "cli/output.h"

#include "core/numberform.h"

namespace velmara::cli {

namespace {

void writeStats(JsonWriter &json, const CardStats &s)
{
    json.beginObject();
    json.key("Vmd");
    json.value(s.Vmd);
    json.key("DropDensity");
    json.value(s.DropDensity);
    json.key("VolumeDensity");
    json.value(s.VolumeDensity);
    json.endObject();
}

void writeClasses(JsonWriter &json, const std::vector<SizeClass> &rows)
{
    json.beginArray();
    for (size_t r = 1; r < rows.size(); ++r) {
        const SizeClass &c = rows[r];
        json.beginObject();
        json.key("AreaPx");
        json.value(static_cast<long long>(c.AreaPx));
        json.key("Count");
        json.value(static_cast<long long>(c.Count));
        json.key("Volume");
        json.valueSingle(c.Volume);
        json.key("Diameter");
        json.valueSingle(c.Diameter);
        json.key("VolumeFraction");
        json.valueSingle(c.VolumeFraction);
        json.key("CumVolumeFraction");
        json.valueSingle(c.CumVolumeFraction);
        json.key("NumberFraction");
        json.valueSingle(c.NumberFraction);
        json.key("CumNumberFraction");
        json.valueSingle(c.CumNumberFraction);
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

void WriteSizeStatsJson(JsonWriter &json, const SizeStats &s)
{
    json.beginObject();
    json.key("Stats");
    writeStats(json, s.Stats);
    json.key("TotalVolume");
    json.value(s.TotalVolume);
    json.key("AreaCm2");
    json.value(s.AreaCm2);
    json.key("DropCount");
    json.value(s.DropCount);
    json.key("MinDiameter");
    json.value(s.MinDiameter);
    json.key("MaxDiameter");
    json.valueSingle(s.MaxDiameter);
    json.key("MaxClassCount");
    json.value(static_cast<long long>(s.MaxClassCount));
    json.key("MaxClassVolume");
    json.value(s.MaxClassVolume);
    json.key("Classes");
    writeClasses(json, s.Classes);
    json.endObject();
}

void WriteCardsJson(JsonWriter &json, const Workspace &ws, const std::vector<Refusal> &refusals, bool withLine)
{
    const int u = ws.UnitIndex();
    json.key("Cards");
    json.beginArray();
    for (int i = 1; i <= ws.CardCount(); ++i) {
        const CardImage &c = ws.Card(i);
        long long stains = 0;
        long long foreground = c.Pixels.size() >= 1 ? static_cast<long long>(c.Pixels.size()) - 2 : 0;
        if (foreground < 0)
            foreground = 0;
        for (int r = 1; r <= c.SizeRows(); ++r)
            stains += c.SizeTable[r].Count;
        json.beginObject();
        json.key("Index");
        json.value(i);
        json.key("FileName");
        json.value(c.FileName);
        json.key("FullPath");
        json.value(c.FullPath);
        json.key("Dpi");
        json.value(static_cast<long long>(c.Dpi));
        json.key("WidthPx");
        json.value(static_cast<long long>(c.WidthPx));
        json.key("HeightPx");
        json.value(static_cast<long long>(c.HeightPx));
        json.key("MicronsPerPixelX");
        json.value(c.MicronsPerPixelX);
        json.key("AreaCm2");
        json.value(c.AreaCm2);
        json.key("BackgroundIndex");
        json.value(static_cast<int>(c.BackgroundIndex));
        json.key("DitherIndex");
        json.value(static_cast<int>(c.DitherIndex));
        json.key("ForegroundPixels");
        json.value(c.PixelsReady ? foreground : 0);
        json.key("PixelsReady");
        json.value(c.PixelsReady);
        json.key("Scanned");
        json.value(c.Scanned);
        json.key("StainCount");
        json.value(stains);
        json.key("RejectedCount");
        json.value(static_cast<long long>(c.RejectedCount));
        json.key("Vmd");
        json.value(c.Stats.Vmd);
        json.key("DropDensity");
        json.value(c.Stats.DropDensity);
        json.key("VolumeDensity");
        json.value(c.Stats.VolumeDensity);
        json.key("TotalVolume");
        json.value(c.TotalVolume);
        json.key("MinDiameter");
        json.valueSingle(c.MinDiameter);
        json.key("MaxDiameter");
        json.valueSingle(c.MaxDiameter);
        json.key("Deposit");
        json.value(c.Stats.VolumeDensity * ws.DepositFactor[u]);
        json.key("DepositUnit");
        json.value(ws.DepositUnit[u]);
        if (withLine) {
            json.key("Position");
            json.valueSingle(c.Position);
            json.key("LineStats");
            writeStats(json, static_cast<size_t>(i) < ws.LineStats.size() ? ws.LineStats[i] : CardStats{});
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
        json.key("FileName");
        json.value(r.FileName);
        json.key("Message");
        json.value(r.Message);
        json.endObject();
    }
    json.endArray();
}

} // namespace velmara::cli
