#include "reports/scanlog.h"

#include "core/numberform.h"
#include "core/textout.h"
#include "reports/columnwriter.h"

#include <cctype>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

namespace velmara {

namespace {

constexpr int kValueColumn = 29;
const char *const kTitle = "Velmara -- Orvinek Droplet Analysis Program";

bool labelled(ColumnWriter &w, std::string_view label, std::string_view value)
{
    return w.text(label) && w.tab(kValueColumn) && w.text(value) && w.endLine();
}

bool writeSprayBlock(ColumnWriter &w, const Workspace &ws, char sep)
{
    const SprayInfo &s = ws.Spray;
    const UnitTexts unit = UnitTextsFor(ws.Metric);
    // Joined with plus signs whatever the sign of a coefficient: "+ -0.2d".
    const std::string spread = GeneralDouble(ws.SpreadFactor[0], sep) + " + "
        + GeneralDouble(ws.SpreadFactor[1], sep) + "d + " + GeneralDouble(ws.SpreadFactor[2], sep)
        + "d²";
    return w.dashes(50) && w.line() && w.line("Spray Information:") && w.dashes(18)
        && labelled(w, "Aircraft Type:", s.AC_Type)
        && labelled(w, "Aircraft Registration:", s.AC_Registration)
        && labelled(w, "Aircraft Owner:", s.AC_Owner)
        && labelled(w, "Aircraft Swath:", s.AC_Swath + " " + unit.Length)
        && labelled(w, "Aircraft Speed:", s.AC_Speed + " " + unit.Speed)
        && labelled(w, "Aircraft Height:", s.AC_Height + " " + unit.Length)
        && labelled(w, "Product Sprayed:", s.Spray_Product)
        && labelled(w, "Active Rate:", s.Spray_ActiveRate + " " + unit.Rate)
        && labelled(w, "Spray Rate:", s.Spray_SprayRate + " " + unit.Rate)
        && labelled(w, "Nozzles:", s.Nozzle_Number + "× " + s.Nozzle_Type)
        && labelled(w, "Analysis Device:", s.Sampler_Type)
        && labelled(w, "Spread Factor:", spread)
        && labelled(w, "Sampler1 Position:", s.Sample_Position1 + " " + unit.Length)
        && labelled(w, "Sampler Separation:", s.Sample_Interval + " " + unit.Length);
}

std::string hueRangeText(const ScanHues &h)
{
    if (!h.Inverted)
        return std::to_string(h.HueLow) + " to " + std::to_string(h.HueHigh);
    // The valid hues are the two outer bands; a limit at 0 or 255 shows as -1 or 256.
    return "0 to " + std::to_string(h.HueLow - 1) + " and " + std::to_string(h.HueHigh + 1)
        + " to 255";
}

// Only a scan that split overlapping stains has this line, so other logs keep their bytes.
bool writeSplitLine(ColumnWriter &w, const CardImage &card)
{
    return labelled(w, "Overlaps Split:", std::to_string(card.SplitStains) + " stains into "
                                              + std::to_string(card.SplitParts) + " parts");
}

// Only a card read the colour way has this line; an 8-bit card's block keeps its bytes.
bool colourScanLine(ColumnWriter &w, const CardImage &card)
{
    const ColourScanInfo &c = card.ColourScan;
    if (!c.Colour)
        return true;
    return labelled(w, "Colour Scan:", std::to_string(c.SourceDepth) + " bits per pixel, "
                                           + std::to_string(c.TableEntries) + " table entries, "
                                           + std::to_string(c.BackgroundClassEntries) + " of them card");
}

bool writeScanBlock(ColumnWriter &w, const Workspace &ws, const CardImage &card,
                    const ScanHues &hues, char sep)
{
    const double widthCm = card.WidthPx * card.MicronsPerPixelX / 10000;
    const double heightCm = card.HeightPx * card.MicronsPerPixelY / 10000;
    const std::string vmd =
        card.SizeRows() > 0 ? FormatNumber(card.Stats.Vmd, "0.0", sep) + " µm" : "--- µm";
    // The Double factors here, not the Single entries of DepositFactor.
    const double deposit = card.Stats.VolumeDensity * (ws.Metric ? 0.1 : 1.368);
    const std::string volume = FormatNumber(card.Stats.VolumeDensity, "0.00", sep) + " nL/cm²"
        + " = " + FormatNumber(deposit, "0.000", sep) + " " + UnitTextsFor(ws.Metric).Rate;
    return w.dashes(50) && w.line() && w.line("Scan Information:") && w.dashes(17)
        && w.text("Optical Resolution:") && w.tab(28) && w.number(card.Dpi) && w.text("d.p.i.")
        && w.endLine()
        && labelled(w, "Image Size:",
                    FormatNumber(widthCm, "0.00", sep) + "×" + FormatNumber(heightCm, "0.00", sep)
                        + " cm")
        && colourScanLine(w, card)
        && labelled(w, "Hue Range:", hueRangeText(hues))
        && labelled(w, "VMD:", vmd)
        && labelled(w, "Drop Density:", FormatNumber(card.Stats.DropDensity, "0.00", sep)
                                            + " drops/cm²")
        && labelled(w, "Volume:", volume) && (!card.SplitScan || writeSplitLine(w, card));
}

bool writeRow(ColumnWriter &w, const SizeClass &row, double areaCm2, char sep)
{
    // The products by 100 are Singles; the density is a Double quotient.
    return w.tab(3) && w.number(row.AreaPx) && w.numberEndingAt(15, row.Count)
        && w.textEndingAt(28, FormatNumber(row.Diameter, "0.000", sep))
        && w.textEndingAt(40, FormatNumber(row.VolumeFraction * 100.0f, "0.00", sep))
        && w.textEndingAt(55, FormatNumber(row.CumVolumeFraction * 100.0f, "0.00", sep))
        && w.textEndingAt(69, FormatNumber(row.Count / areaCm2, "0.000", sep))
        && w.textEndingAt(84, FormatNumber(row.NumberFraction * 100.0f, "0.00", sep))
        && w.textEndingAt(98, FormatNumber(row.CumNumberFraction * 100.0f, "0.00", sep))
        && w.endLine();
}

// The rows come from `rows` (element 0 skipped); whether any drop was found is the card's own
// size table's say, also when the rows are those of a size range.
bool writeResultsBlock(ColumnWriter &w, const CardImage &card, const std::vector<SizeClass> &rows,
                       double areaCm2, char sep)
{
    bool ok = w.line() && w.line("Results:") && w.dashes(8)
        && w.textAt(3, "Area") && w.textAt(12, "Count") && w.textAt(22, "Diameter")
        && w.textAt(35, "Volume") && w.textAt(48, "Cumulative") && w.textAt(62, "Drop Density")
        && w.textAt(79, "Number") && w.textAt(91, "Cumulative") && w.endLine()
        && w.textAt(1, "(pixels)") && w.textAt(24, "(µm)") && w.textAt(34, "Fraction%")
        && w.textAt(49, "V.F. (%)") && w.textAt(64, "(#/cm²)") && w.textAt(78, "Fraction%")
        && w.textAt(92, "N.F. (%)") && w.endLine();
    if (!ok)
        return false;
    if (card.SizeRows() <= 0) {
        const std::string bar(30, '-');
        return w.line() && w.line(bar + " NO DROPS FOUND " + bar);
    }
    for (size_t i = 1; i < rows.size(); ++i) {
        if (!writeRow(w, rows[i], areaCm2, sep))
            return false;
    }
    return true;
}

// The size of the log before a record is written, so that a record that can't be finished is
// taken back: a file this record created goes, an appended file keeps what it had, and a replaced
// file (its old text was gone once it was opened) goes rather than pass for a whole record.
struct LogBefore
{
    bool existed = false;
    std::uintmax_t size = 0;
};

LogBefore logBefore(const std::string &path)
{
    std::error_code ec;
    LogBefore before;
    before.size = std::filesystem::file_size(path, ec);
    before.existed = !ec;
    if (ec)
        before.size = 0;
    return before;
}

ScanLogResult finish(TextOut &out, ScanLogResult result, bool written, const LogBefore &before, bool appended)
{
    const bool opened = out.isOpen();
    const bool closed = out.close();
    result.Written = true;
    result.Ok = written && closed;
    if (!result.Ok) {
        result.Error = out.errorString();
        std::error_code ec;
        if (!opened || !std::filesystem::is_regular_file(result.Path, ec))
            return result;
        if (appended && before.existed)
            std::filesystem::resize_file(result.Path, before.size, ec);
        else
            std::filesystem::remove(result.Path, ec);
    }
    return result;
}

} // namespace

std::string ScanLog::PathFor(const std::string &fullPath)
{
    // The four-letter endings of colour scans are replaced whole, so that card.jpeg logs to
    // card.scn as card.bmp does.
    if (fullPath.size() > 5) {
        std::string tail = fullPath.substr(fullPath.size() - 5);
        for (char &c : tail)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (tail == ".jpeg" || tail == ".tiff")
            return fullPath.substr(0, fullPath.size() - 4) + "scn";
    }
    // Three characters, not bytes: step back over UTF-8 continuation bytes.
    size_t end = fullPath.size();
    for (int chars = 0; chars < 3 && end > 0; ++chars) {
        --end;
        while (end > 0 && (static_cast<unsigned char>(fullPath[end]) & 0xC0) == 0x80)
            --end;
    }
    return fullPath.substr(0, end) + "scn";
}

ScanLogResult ScanLog::writeScanRecord(int cardIndex, const ScanHues &hues) const
{
    ScanLogResult result;
    if (!mWs.LogAnalysis)
        return result;
    const CardImage &card = mWs.Card(cardIndex);
    result.Path = PathFor(card.FullPath);
    const LogBefore before = logBefore(result.Path);
    const bool isNew = !before.existed;

    TextOut out;
    if (!out.open(result.Path, mWs.Append ? TextOut::Mode::Append : TextOut::Mode::Overwrite))
        return finish(out, result, false, before, mWs.Append);
    ColumnWriter w(out);
    bool ok = true;
    if (isNew || !mWs.Append)
        ok = w.line(kTitle) && w.line() && w.line("File: " + card.FileName);
    if (ok && mWs.LogSprayInfo)
        ok = writeSprayBlock(w, mWs, mSeparator);
    ok = ok && writeScanBlock(w, mWs, card, hues, mSeparator)
        && writeResultsBlock(w, card, card.SizeTable, card.AreaCm2, mSeparator) && w.line();
    return finish(out, result, ok, before, mWs.Append);
}

ScanLogResult ScanLog::writeSizeRangeRecord(int cardIndex) const
{
    ScanLogResult result;
    const CardImage &card = mWs.Card(cardIndex);
    const SizeStats &range = mWs.CardRange;
    result.Path = PathFor(card.FullPath);
    const LogBefore before = logBefore(result.Path);

    TextOut out;
    if (!out.open(result.Path, TextOut::Mode::Append))
        return finish(out, result, false, before, true);
    ColumnWriter w(out);
    const char sep = mSeparator;
    const int unit = mWs.UnitIndex();
    // Here the deposit goes through the Single entry of DepositFactor.
    const double deposit = range.Stats.VolumeDensity * mWs.DepositFactor[static_cast<size_t>(unit)];
    const bool ok =
        labelled(w, "Droplet Size Range:",
                 FormatNumber(mWs.RangeLow, "0.00", sep) + " -- "
                     + FormatNumber(mWs.RangeHigh, "0.00", sep) + " µm")
        && labelled(w, "VMD:", FormatNumber(range.Stats.Vmd, "0.00", sep) + " µm")
        && labelled(w, "Drop Density:",
                    FormatNumber(range.Stats.DropDensity, "0.00", sep) + " drops/cm²")
        && labelled(w, "Volume Density:",
                    FormatNumber(range.Stats.VolumeDensity, "0.00", sep) + " nL/cm²" + " = "
                        + FormatNumber(deposit, "0.000", sep) + " "
                        + mWs.DepositUnit[static_cast<size_t>(unit)])
        && writeResultsBlock(w, card, range.Classes, range.AreaCm2, sep) && w.line();
    return finish(out, result, ok, before, true);
}

} // namespace velmara
