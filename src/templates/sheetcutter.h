#pragma once
// Cutting a multi-card scan into clip files that load as cards: each selected cell of the grid is
// cut out of the sheet, written as an 8-bit bitmap "clipNN.bmp" and registered through
// LoadImage, in cell order. An 8-bit sheet keeps its colour table and indexes, a 1- or 4-bit one
// is widened to the same table, a 24- or 32-bit one is brought to a 256-entry table without
// dithering (a dithered clip would fake a dithered background). With ColourScans on, the clips
// of a colour sheet are 24-bit bitmaps instead, each to find its own background class, and a
// sheet only the colour path reads (PNG, JPEG) can be cut.

#include "core/workspace.h"
#include "intake/picture.h"
#include "templates/templategrid.h"

#include <string>
#include <vector>

namespace velmara {

// Told before and after each selected cell, so that the dialog can mark the cell in work and
// repaint the main window after each new card.
class CutObserver
{
public:
    virtual ~CutObserver() = default;
    virtual void cellStarted(int cell) { (void)cell; }
    // card: the index of the new card, 0 when the clip was refused or not made.
    virtual void cellFinished(int cell, int card) { (void)cell, (void)card; }
};

struct CutResult
{
    bool Cut = false;                  // the sheet was cut (LastClipIndex raised)
    std::vector<std::string> Clips;    // clip files written, in cell order (file names)
    std::vector<int> Cards;            // cards added, in cell order
    std::vector<std::string> Messages; // each a whole message for the user, in order
    bool Stopped = false;              // a clip could not be written: the cut ended there
};

// Cuts the selected cells of grid out of sheet into folder (ending in a separator) and registers
// each clip with LoadImage(name, folder). A cell of a quarter inch or less across or down gives
// no clip and a message naming it; a clip that LoadImage refuses adds no card and its message,
// and the cut goes on; a clip that cannot be written gives a message naming the file and stops
// the cut, the clips made before staying. LastClipIndex then rises by the number of cells, not of
// clips. The caller makes sure the grid lies on the sheet (okEnabled()); a cell that does not is
// refused like a small one.
CutResult CutSheet(Workspace &ws, const Picture &sheet, const TemplateGrid &grid,
                   const std::string &folder, CutObserver *observer = nullptr);

// The batch form of the cut, for one sheet file.
struct SheetCutRequest
{
    std::string SheetPath;
    std::string TemplateName;
    std::string TemplatesFile; // empty: "templates.dat" in the Workspace's TempDir
    int Res = 0;               // dots per inch of the sheet; 0 or below: DefaultRes
    double OffsetX = 0;        // shift of the grid in inches of the sheet, right and down positive
    double OffsetY = 0;
    std::vector<int> Cells;    // 1-based cells to cut; empty: all
    std::string ClipDir;       // where the clips go, ending in a separator
};

// Finds the first template of the name ("<Default>", then the templates file), reads the sheet
// at any depth, lays the grid, checks it lies on the sheet and cuts. Nothing is cut, with one
// message, when the template is unknown (saying which templates file was read and why it gave
// nothing), the sheet cannot be read ("Error: " and the reason), a
// cell number is not in the template, or a cell lies off the sheet (the message names the sheet,
// the template, the first such cell and the sheet's size in inches at Res). The templates file is
// never written.
CutResult CutSheetFile(Workspace &ws, const SheetCutRequest &request, CutObserver *observer = nullptr);

} // namespace velmara
