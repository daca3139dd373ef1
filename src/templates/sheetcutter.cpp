#include "templates/sheetcutter.h"

#include "core/numberform.h"
#include "intake/loadimage.h"
#include "intake/colourdecode.h"
#include "templates/templatestore.h"

#include <cstdio>
#include <memory>

namespace velmara {

namespace {

std::string CellText(int n) { return "Cell " + std::to_string(n); }

void PutLittle(std::vector<Byte> &out, size_t at, std::uint32_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out[at + i] = static_cast<Byte>(v >> (8 * i));
}

// A clip of a colour sheet keeps its colours: a 24-bit bitmap, rows bottom-up, padded to four
// bytes. Returns false and sets error when the file can't be written; a half-written file goes.
bool SaveBitmap24(const Picture &picture, const std::string &path, std::string &error)
{
    const size_t stride = (static_cast<size_t>(picture.Width) * 3 + 3) & ~size_t{3};
    const size_t pixelBytes = stride * picture.Height;
    std::vector<Byte> head(54);
    head[0] = 'B';
    head[1] = 'M';
    PutLittle(head, 2, static_cast<std::uint32_t>(54 + pixelBytes), 4);
    PutLittle(head, 10, 54, 4);
    PutLittle(head, 14, 40, 4);
    PutLittle(head, 18, static_cast<std::uint32_t>(picture.Width), 4);
    PutLittle(head, 22, static_cast<std::uint32_t>(picture.Height), 4);
    PutLittle(head, 26, 1, 2);
    PutLittle(head, 28, 24, 2);
    PutLittle(head, 34, static_cast<std::uint32_t>(pixelBytes), 4);
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (!file) {
        error = "the file could not be created";
        return false;
    }
    bool ok = std::fwrite(head.data(), 1, head.size(), file) == head.size();
    std::vector<Byte> row(stride);
    for (int y = picture.Height - 1; ok && y >= 0; --y) {
        const Byte *src = picture.Row(y);
        for (int x = 0; x < picture.Width; ++x) {
            row[3 * x] = src[3 * x + 2];
            row[3 * x + 1] = src[3 * x + 1];
            row[3 * x + 2] = src[3 * x];
        }
        ok = std::fwrite(row.data(), 1, stride, file) == stride;
    }
    ok = std::fclose(file) == 0 && ok;
    if (!ok) {
        error = "the disk refused the write";
        std::remove(path.c_str());
    }
    return ok;
}

} // namespace

CutResult CutSheet(Workspace &ws, const Picture &sheet, const TemplateGrid &grid,
                   const std::string &folder, CutObserver *observer)
{
    CutResult result;
    result.Cut = true;
    const int cells = grid.cellCount();
    const int firstNumber = ws.LastClipIndex;
    for (int n = 1; n <= cells; ++n) {
        if (!grid.selected(n))
            continue;
        if (observer)
            observer->cellStarted(n);
        int card = 0;
        ClipRect r;
        bool sized = true;
        try {
            r = grid.clipRect(n);
        } catch (const Failure &) {
            sized = false;
        }
        Picture clip;
        std::string error;
        if (!sized || r.Width < 1 || r.Height < 1) {
            result.Messages.push_back(CellText(n) + " is a quarter of an inch or less across or down"
                                      " and gives no clip.");
        } else if (grid.cell(n).OutOfBounds || !ClipPicture(sheet, r.X, r.Y, r.Width, r.Height, clip, error)) {
            result.Messages.push_back(CellText(n) + " does not lie on the sheet and is not cut.");
        } else {
            const std::string name = TemplateGrid::clipName(firstNumber, n);
            // With colour scans on, a colour sheet's clips keep their colours and each finds its
            // own background class; brought to 256 colours, every clip would share the sheet's.
            const bool colour = ws.ColourScans && !clip.Indexed();
            if (!(colour ? SaveBitmap24(clip, folder + name, error) : SaveBitmap8(clip, folder + name, error))) {
                result.Messages.push_back("The clip '" + folder + name + "' could not be written: "
                                          + error + ".\rThe cut stops here.");
                result.Stopped = true;
                if (observer)
                    observer->cellFinished(n, 0);
                break;
            }
            result.Clips.push_back(name);
            const LoadResult loaded = LoadImage(ws, name, folder);
            if (loaded.Ok) {
                card = loaded.CardIndex;
                result.Cards.push_back(card);
            } else {
                result.Messages.push_back(loaded.Message);
            }
        }
        if (observer)
            observer->cellFinished(n, card);
    }
    // Every cell consumes its number, cut or not, so numbers never repeat within a run.
    ws.LastClipIndex = firstNumber + cells;
    return result;
}

CutResult CutSheetFile(Workspace &ws, const SheetCutRequest &request, CutObserver *observer)
{
    CutResult refused;
    const std::string templatesFile = request.TemplatesFile.empty()
                                          ? TemplateStore::PathIn(ws.TempDir)
                                          : request.TemplatesFile;
    const auto found = FindTemplate(request.TemplateName, templatesFile, &refused.Messages);
    if (!found)
        return refused;

    TemplateGrid grid;
    grid.setTemplate(*found);
    const int res = request.Res > 0 ? request.Res : ws.DefaultRes;
    if (res <= 0 || res > 32767) {
        refused.Messages.push_back("The sheet resolution " + std::to_string(res)
                                   + " dpi is not usable.");
        return refused;
    }
    for (int n = 1; n <= TemplateGrid::kMaxCells; ++n)
        grid.setSelected(n, request.Cells.empty());
    for (int n : request.Cells) {
        if (n < 1 || n > grid.cellCount()) {
            refused.Messages.push_back(CellText(n) + " is not in template '" + found->Name + "', which has "
                                       + std::to_string(grid.cellCount()) + " cells.");
            return refused;
        }
        grid.setSelected(n, true);
    }

    Picture sheet;
    std::string error;
    if (!ReadPicture(request.SheetPath, PictureDepth::AnyDepth, sheet, error)) {
        std::string colourError;
        if (!ws.ColourScans || !ReadColourPicture(request.SheetPath, sheet, colourError)) {
            refused.Messages.push_back("Error: " + error);
            return refused;
        }
    }
    grid.setPictureSize(sheet.Width, sheet.Height);
    grid.setRes(res);
    grid.activate();
    grid.setOffsetInches(request.OffsetX, request.OffsetY);

    if (const int off = grid.firstCellOutOfBounds()) {
        refused.Messages.push_back(
            "Template '" + found->Name + "' does not fit on '" + request.SheetPath + "': cell "
            + std::to_string(off) + " lies off the sheet, which is "
            + FormatNumber(static_cast<double>(sheet.Width) / res, "0.00") + " by "
            + FormatNumber(static_cast<double>(sheet.Height) / res, "0.00") + " inches at "
            + std::to_string(res) + " dpi.");
        return refused;
    }
    CutResult result = CutSheet(ws, sheet, grid, request.ClipDir, observer);
    result.Messages.insert(result.Messages.begin(), refused.Messages.begin(), refused.Messages.end());
    return result;
}

} // namespace velmara
