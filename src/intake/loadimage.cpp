#include "intake/loadimage.h"

#include "intake/inputfile.h"
#include "intake/picture.h"
#include "intake/rowreader.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <memory>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace velmara {

using namespace intake_detail;

namespace {

constexpr const char *kTooShort = "The file is too short to be a picture.";
constexpr const char *kTruncated = "The file is shorter than its header says; it may be truncated.";
constexpr const char *kBadTable = "The colour table of the bitmap is damaged.";

std::string LowerLastThree(const std::string &text)
{
    std::string tail = text.size() > 3 ? text.substr(text.size() - 3) : text;
    std::transform(tail.begin(), tail.end(), tail.begin(), [](unsigned char c) { return std::tolower(c); });
    return tail;
}

std::string SizeRefusal(std::int64_t width, std::int64_t height)
{
    return "The picture is " + std::to_string(width) + " by " + std::to_string(height) +
           " pixels; a card must have 1 to 32767 lines and columns.";
}

// The extension after the last dot, in lower case; empty when there is none.
std::string LowerExtension(const std::string &name)
{
    const size_t dot = name.find_last_of('.');
    const size_t slash = name.find_last_of("/\\");
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return {};
    std::string ext = name.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext;
}

// Pictures that only the colour path reads.
bool ColourOnlyExtension(const std::string &ext) { return ext == "png" || ext == "jpg" || ext == "jpeg"; }

bool SideOk(std::int64_t side) { return side >= 1 && side <= kMaxPictureSide; }

// Why a probe failed: a wrong depth (the refusal names it) or an error with a description.
struct Probe
{
    int depth = 8;
    std::string error; // empty when the probe succeeded
    Long width = 0;
    Long height = 0;
    Long pixelOffset = 0; // of a BMP
};

// The path with "." and "..", symbolic links and the working folder resolved, so that one file
// has one name; a path that can't be resolved stands for itself.
std::string CanonicalPath(const std::string &path)
{
    std::error_code ec;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, ec);
    return ec ? path : resolved.string();
}

// Only a regular file is read: a FIFO would block the run, a folder is no picture. Empty when the
// path may be probed (a path that doesn't exist is left to the probe's own message).
std::string KindRefusal(const std::string &path, const std::string &fileName)
{
    struct stat st = {};
    if (::stat(path.c_str(), &st) != 0 || S_ISREG(st.st_mode))
        return {};
    if (S_ISDIR(st.st_mode))
        return "'" + fileName + "' is a folder, not a picture file.";
    return "'" + fileName + "' is not a regular file.";
}

// The header of an 8-bit bitmap, checked against the file's size so that decoding later can
// neither run off the end nor allocate for rows that aren't there.
Probe ProbeBmp(const std::string &path)
{
    Probe p;
    InputFile file;
    if (!file.open(path, p.error))
        return p;
    Byte h[54] = {};
    const size_t got = file.readAt(0, h, sizeof h);
    if (got < 30) {
        p.error = kTooShort;
        return p;
    }
    p.depth = ReadWord(h + 28);
    if (p.depth != 8)
        return p;
    p.width = ReadLong(h + 18);
    p.height = ReadLong(h + 22);
    if (!SideOk(p.width) || !SideOk(p.height)) {
        p.error = SizeRefusal(p.width, p.height);
        return p;
    }
    if (got < sizeof h) {
        p.error = kTruncated;
        return p;
    }
    const std::uint32_t coloursField = static_cast<std::uint32_t>(ReadLong(h + 46));
    const std::uint64_t colours = coloursField == 0 ? 256 : coloursField;
    if (colours > 256) {
        p.error = kBadTable;
        return p;
    }
    const std::uint64_t pixelOffset = static_cast<std::uint32_t>(ReadLong(h + 10));
    p.pixelOffset = ReadLong(h + 10);
    const std::uint64_t stride = (static_cast<std::uint64_t>(p.width) + 3) & ~std::uint64_t{3};
    if (54 + 4 * colours > file.size() || pixelOffset + stride * static_cast<std::uint64_t>(p.height) > file.size())
        p.error = kTruncated;
    return p;
}

// Registration reads the signature, the packed screen byte and the screen size; the rest of a GIF
// is read by the decoding.
Probe ProbeGif(const std::string &path, const std::string &fileName, bool &badSignature)
{
    Probe p;
    InputFile file;
    if (!file.open(path, p.error))
        return p;
    Byte h[11] = {};
    const size_t got = file.readAt(0, h, sizeof h);
    std::string signature(reinterpret_cast<const char *>(h), std::min<size_t>(got, 6));
    std::transform(signature.begin(), signature.end(), signature.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    if (signature != "gif87a" && signature != "gif89a") {
        badSignature = true;
        p.error = "'" + fileName + "' does not seem to be a valid GIF image.";
        return p;
    }
    if (got < sizeof h) {
        p.error = kTooShort;
        return p;
    }
    const Byte packed = h[10];
    p.depth = 4 * ((packed >> 6) & 1) + 2 * ((packed >> 5) & 1) + ((packed >> 4) & 1) + 1;
    if (p.depth != 8)
        return p;
    p.width = ReadWord(h + 6);
    p.height = ReadWord(h + 8);
    if (!SideOk(p.width) || !SideOk(p.height))
        p.error = SizeRefusal(p.width, p.height);
    return p;
}

// A TIF goes through the picture services; its depth is the one of the bitmap it converts to.
Probe ProbeTif(const std::string &path)
{
    Probe p;
    Picture info;
    if (!ProbeTiff(path, info, p.error))
        return p;
    p.depth = info.BitsPerPixel;
    p.width = info.Width;
    p.height = info.Height;
    return p;
}

} // namespace

double MicronsPerPixelAt(double dpi) { return ((1.0 / dpi) / 12.0 / 3.2808) * 1000000.0; }

namespace {

// What registration learns of one file without touching the card list, so that many files can be
// looked at side by side and then entered in order.
struct Examined
{
    std::string path, fileName, canonical;
    bool wrongType = false; // refused by name, before the duplicate check
    LoadResult refusal;     // otherwise refused when its Message is set
    Probe probe;
    bool colour = false;
    RowPictureInfo info;
    std::uint64_t fileBytes = 0;
};

Examined Examine(const Workspace &ws, const std::string &fileName, const std::string &folder)
{
    Examined e;
    e.fileName = fileName;
    LoadResult &result = e.refusal;
    const std::string ext = LowerLastThree(fileName);
    const std::string extension = LowerExtension(fileName);
    const bool colourOnly = ws.ColourScans && ColourOnlyExtension(extension);
    const bool tiff = ws.ColourScans && extension == "tiff";
    if (ext != "bmp" && ext != "gif" && ext != "tif" && !colourOnly && !tiff) {
        e.wrongType = true;
        result.Message = "'" + fileName + "' is an unsupported file type.";
        result.Exclamation = true;
        return e;
    }
    e.path = folder + fileName;
    const std::string &path = e.path;
    e.canonical = CanonicalPath(path);
    result.Message = KindRefusal(path, fileName);
    if (!result.Message.empty())
        return e;

    const std::string kind = LowerLastThree(path);
    bool badSignature = false;
    Probe &probe = e.probe;
    if (!colourOnly)
        probe = kind == "bmp" ? ProbeBmp(path) : kind == "gif" ? ProbeGif(path, fileName, badSignature) : ProbeTif(path);
    const auto refuse = [&](std::string message) {
        result.Message = std::move(message);
        return e;
    };
    // With colour scans on, an 8-bit colour-table picture still goes the 8-bit way; every other
    // picture, and one whose 8-bit probe fails for its depth, goes the colour way.
    e.colour = colourOnly || (ws.ColourScans && !badSignature && probe.depth != 8);
    RowPictureInfo &info = e.info;
    if (e.colour) {
        std::string error;
        const std::unique_ptr<PictureRows> rows = OpenPictureRows(path, error);
        if (!rows)
            return refuse("'" + fileName + "' could not be read: " + error);
        info = rows->Info();
        if (!SideOk(info.Width) || !SideOk(info.Height))
            return refuse(SizeRefusal(info.Width, info.Height));
        probe = Probe{};
        probe.depth = info.SourceDepth;
        probe.width = info.Width;
        probe.height = info.Height;
    } else {
        if (badSignature)
            return refuse(probe.error);
        if (probe.error.empty() && probe.depth != 8)
            return refuse(BitDepthMessage(probe.depth));
        if (!probe.error.empty())
            return refuse("Error: " + probe.error);
        if (ws.UseFileResolution) {
            std::string ignored;
            if (const std::unique_ptr<PictureRows> rows = OpenPictureRows(path, ignored))
                info = rows->Info();
        }
    }
    // A resolution of 0 or below would divide by zero below; the user must set another one.
    if (ws.DefaultRes <= 0)
        return refuse("Error: The default image resolution (DefaultRes) is " + std::to_string(ws.DefaultRes) +
                      " dpi; set a resolution above 0 under Preferences (--dpi for the command line).");
    struct stat st = {};
    e.fileBytes = ::stat(path.c_str(), &st) == 0 ? static_cast<std::uint64_t>(st.st_size) : 0;
    return e;
}

LoadResult AlreadyOpened(const CardImage &other)
{
    LoadResult result;
    result.Message = "'" + other.FileName + "' has\ralready been opened.";
    return result;
}

// Enters an examined file that passed every check as the new last card.
LoadResult Enter(Workspace &ws, const Examined &e)
{
    if (!e.refusal.Message.empty())
        return e.refusal;
    const int index = ws.AppendCard();
    CardImage &card = ws.Card(index);
    card.FullPath = e.path;
    card.FileName = e.fileName;
    card.Position = 0;
    card.Source.CanonicalPath = e.canonical;
    card.Source.FileBytes = e.fileBytes;
    card.Source.PixelOffset = e.probe.pixelOffset;
    card.WidthPx = e.probe.width;
    card.HeightPx = e.probe.height;
    card.ColourScan.Colour = e.colour;
    card.ColourScan.SourceDepth = e.colour ? e.info.SourceDepth : 8;
    card.Dpi = ws.DefaultRes;
    card.MicronsPerPixelX = MicronsPerPixelAt(ws.DefaultRes);
    card.MicronsPerPixelY = card.MicronsPerPixelX;
    if (ws.UseFileResolution && e.info.DpiX > 0 && e.info.DpiY > 0) {
        card.Dpi = std::max<Long>(1, static_cast<Long>(std::lround(e.info.DpiX)));
        card.MicronsPerPixelX = MicronsPerPixelAt(e.info.DpiX);
        card.MicronsPerPixelY = MicronsPerPixelAt(e.info.DpiY);
    }
    card.AreaCm2 = (card.WidthPx * card.MicronsPerPixelX / 10000) * (card.HeightPx * card.MicronsPerPixelY / 10000);
    LoadResult result;
    result.Ok = true;
    result.CardIndex = index;
    return result;
}

std::pair<std::string, std::string> SplitPath(const std::string &fullPath)
{
    const size_t slash = fullPath.find_last_of("/\\");
    if (slash == std::string::npos)
        return {fullPath, std::string()};
    return {fullPath.substr(slash + 1), fullPath.substr(0, slash + 1)};
}

} // namespace

LoadResult LoadImage(Workspace &ws, const std::string &fileName, const std::string &folder)
{
    ws.CompositeCheck = false; // loading always leaves the composite view
    const Examined e = Examine(ws, fileName, folder);
    if (e.wrongType)
        return e.refusal;
    for (int i = 1; i <= ws.CardCount(); ++i) {
        const CardImage &other = ws.Card(i);
        if (other.FullPath == e.path || other.Source.CanonicalPath == e.canonical)
            return AlreadyOpened(other);
    }
    return Enter(ws, e);
}

std::vector<LoadResult> LoadImages(Workspace &ws, const std::vector<std::string> &fullPaths, int jobs)
{
    ws.CompositeCheck = false;
    std::vector<Examined> examined(fullPaths.size());
    std::atomic<size_t> next{0};
    const auto work = [&] {
        for (size_t i; (i = next.fetch_add(1)) < fullPaths.size();) {
            const auto [name, folder] = SplitPath(fullPaths[i]);
            examined[i] = Examine(ws, name, folder);
        }
    };
    std::vector<std::thread> helpers;
    const size_t extra = std::min<size_t>(static_cast<size_t>(std::max(jobs, 1)) - 1, fullPaths.size() / 64);
    try {
        for (size_t t = 0; t < extra; ++t)
            helpers.emplace_back(work);
    } catch (const std::system_error &) {
        // Fewer helpers than asked for; this thread does the rest.
    }
    work();
    for (std::thread &t : helpers)
        t.join();

    // The duplicate check of LoadImage, by lookup: a card list of thousands would make it
    // quadratic.
    std::unordered_map<std::string, int> opened;
    opened.reserve(2 * (static_cast<size_t>(ws.CardCount()) + fullPaths.size()));
    const auto remember = [&](int index) {
        const CardImage &card = ws.Card(index);
        opened.emplace(card.FullPath, index);
        opened.emplace(card.Source.CanonicalPath, index);
    };
    for (int i = 1; i <= ws.CardCount(); ++i)
        remember(i);
    std::vector<LoadResult> results;
    results.reserve(fullPaths.size());
    ws.Cards.reserve(ws.Cards.size() + fullPaths.size());
    for (const Examined &e : examined) {
        if (e.wrongType) {
            results.push_back(e.refusal);
            continue;
        }
        auto seen = opened.find(e.path);
        if (seen == opened.end())
            seen = opened.find(e.canonical);
        if (seen != opened.end()) {
            results.push_back(AlreadyOpened(ws.Card(seen->second)));
            continue;
        }
        results.push_back(Enter(ws, e));
        if (results.back().Ok)
            remember(results.back().CardIndex);
    }
    return results;
}

LoadResult LoadImage(Workspace &ws, const std::string &fullPath)
{
    const auto [name, folder] = SplitPath(fullPath);
    return LoadImage(ws, name, folder);
}

} // namespace velmara
