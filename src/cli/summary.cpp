#include "cli/summary.h"

#include "core/numberform.h"
#include "statistics/spectrum.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace velmara::cli {

namespace {

// A CSV field: quoted when it holds a separator, a quote or a line break.
std::string field(const std::string &text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string out = "\"";
    for (const char c : text)
        out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

std::string folderOf(const std::string &path)
{
    return std::filesystem::path(path).parent_path().string();
}

} // namespace

SummaryFile::~SummaryFile()
{
    if (mFile)
        std::fclose(mFile);
}

bool SummaryFile::open(const std::string &path, std::string &error)
{
    mPath = path;
    mFile = std::fopen(path.c_str(), "wb");
    if (!mFile) {
        error = "cannot write the summary " + path + ": " + std::strerror(errno);
        return false;
    }
    row("File,Folder,Dpi,Stains,Rejected,VMD,Dv0.1,Dv0.9,DropDensity,Coverage,Deposit,Unit,Status,Message");
    if (!ok()) {
        error = mError;
        return false;
    }
    return true;
}

void SummaryFile::row(const std::string &text)
{
    if (!mFile || !ok())
        return;
    const std::string line = text + "\n";
    if (std::fwrite(line.data(), 1, line.size(), mFile) != line.size() || std::fflush(mFile) != 0)
        mError = "the summary " + mPath + " could not be written: " + std::strerror(errno);
}

void SummaryFile::refused(const std::string &path, const std::string &message)
{
    const std::filesystem::path p(path);
    row(field(p.filename().string()) + "," + field(folderOf(path)) + ",,,,,,,,,,,refused," + field(message));
}

void SummaryFile::card(const Workspace &ws, int index, const std::string &message)
{
    const CardImage &c = ws.Card(index);
    std::string text = field(c.FileName) + "," + field(folderOf(c.FullPath)) + "," + std::to_string(c.Dpi) + ",";
    if (!c.Scanned) {
        row(text + ",,,,,,,,,not analysed," + field(message));
        return;
    }
    long long stains = 0;
    for (int r = 1; r <= c.SizeRows(); ++r)
        stains += c.SizeTable[r].Count;
    text += std::to_string(stains) + "," + std::to_string(c.RejectedCount) + ",";
    if (c.SizeRows() == 0) {
        row(text + ",,,,,,,no stains," + field(message));
        return;
    }
    const int u = ws.UnitIndex();
    const SpectrumFigures s =
        ComputeSpectrum(c.SizeTable, static_cast<double>(c.WidthPx) * static_cast<double>(c.HeightPx));
    // The forms of the printed summary, with a point whatever the locale.
    row(text + FormatNumber(c.Stats.Vmd, "0.0") + "," + FormatNumber(s.Dv10, "0.0") + "," + FormatNumber(s.Dv90, "0.0")
        + "," + FormatNumber(c.Stats.DropDensity, "0.0") + "," + FormatNumber(s.CoveragePercent, "0.00") + ","
        + FormatNumber(c.Stats.VolumeDensity * ws.DepositFactor[u], "0.000") + "," + field(ws.DepositUnit[u])
        + ",analysed," + field(message));
}

} // namespace velmara::cli
