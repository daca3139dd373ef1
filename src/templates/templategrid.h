#pragma once
// The grid of card cells laid over a multi-card scan, without widgets: where each cell lies in
// inches of the scan, which cells are selected, whether the grid stays on the scan, and the
// rectangle and file name each selected cell is cut to.
//
// The load dialog drives it like this: setTemplate() with the seven template settings,
// setPictureSize() with the scan's pixels, setViewSize() with the size of the picture box on the
// screen, activate() (once the picture box has its size); then shift(), setResolution() or
// applyResolutionText(), clickAt() and selectAll() as the user acts, and after each the cells are
// read back with cell() and okEnabled(). The command-line cut uses setOffsetInches() instead of
// a view.

#include "templates/cardtemplate.h"

#include <array>
#include <string>

namespace velmara {

// The arrow buttons of the dialog, numbered as they stand: 1 up, 2 right, 3 down, 4 left.
enum class ShiftDirection { Up = 1, Right = 2, Down = 3, Left = 4 };

// One cell, in inches of the scan.
struct GridCell
{
    int Number = 0; // 1-based, row by row
    Single Left = 0;
    Single Top = 0;
    Single Width = 0;
    Single Height = 0;
    bool Selected = true;    // solid border when set, dotted when not
    bool OutOfBounds = false; // some part lies off the scan
};

// The part of the scan a cell is cut to, in pixels of the scan.
struct ClipRect
{
    int X = 0;
    int Y = 0;
    int Width = 0;
    int Height = 0;
};

class TemplateGrid
{
public:
    static constexpr int kMaxCells = 25;

    TemplateGrid();

    // The seven template fields (the name is kept for messages). Counts outside 1 to 5 are held
    // to that range, as the settings never hand out more cells than the grid has.
    void setTemplate(const CardTemplate &t);
    int cellCount() const { return mTemplate.NumH * mTemplate.NumV; }

    // The scan's size in pixels. The picture object holds it in hundredths of a millimetre.
    void setPictureSize(int widthPx, int heightPx);
    // Pixels to hundredths of a millimetre at 96 pixels per inch: px x 2540 / 96 as a whole
    // number, halves rounded up as the platform's conversion does.
    static Long PixelsToHiMetric(int px);

    // The size of the picture box on the screen, in screen pixels; the grid shifts by these.
    void setViewSize(int widthPx, int heightPx);
    // The width that gives a picture box of this height the scan's aspect ratio.
    int viewWidthForHeight(int heightPx) const;

    // Dots per inch of the scan; set before activate().
    void setRes(int res) { mRes = res; }
    int res() const { return mRes; }

    // Activation: the picture box's scale in inches from the picture's size at Res.
    void activate();
    // A change of resolution: the scale is taken anew from the picture's size / 26.46.
    void setResolution(int res);
    // The text of the resolution box applied: false, and nothing changes, for text that is not a
    // number, rounds to 0 or less, or lies above 32767; the box then shows res() again.
    bool applyResolutionText(const std::string &text);
    double scaleWidth() const { return mScaleWidth; }
    double scaleHeight() const { return mScaleHeight; }

    // The grid's shift in screen pixels of the picture box, right and down positive.
    int offsetX() const { return mOffsetX; }
    int offsetY() const { return mOffsetY; }
    void shift(ShiftDirection d);
    void setOffsetPixels(int x, int y);
    // The shift in inches of the scan, for use without a picture box.
    void setOffsetInches(double x, double y);

    // Cell n, 1 to cellCount().
    GridCell cell(int n) const;
    // The first cell that lies off the scan, selected or not; 0 when the grid fits.
    int firstCellOutOfBounds() const;
    // OK is possible only while every cell lies on the scan.
    bool okEnabled() const { return firstCellOutOfBounds() == 0; }

    bool selected(int n) const { return mSelected.at(static_cast<size_t>(n - 1)); }
    void setSelected(int n, bool on) { mSelected.at(static_cast<size_t>(n - 1)) = on; }
    void selectAll();
    // The first cell, in number order, that holds (x, y) strictly inside; 0 when none. x and y
    // in inches of the scan.
    int hitTest(double x, double y) const;
    // A mouse press at (x, y) in inches: toggles the cell there. False when no cell was hit.
    bool clickAt(double x, double y);
    // Screen pixels of the picture box to inches of the scan and back (needs a view size).
    double viewToInchesX(double px) const;
    double viewToInchesY(double px) const;
    double inchesToViewX(double inches) const;
    double inchesToViewY(double inches) const;

    // The rectangle cell n is cut to: from the cell's corner, a quarter of an inch smaller across
    // and down, each value rounded half to even. Throws Failure("Overflow") for a value beyond an
    // Integer. A width or height below 1 means the cell is too small to give a clip.
    ClipRect clipRect(int n) const;
    // "clip" + (lastClipIndex + n) in the form "00" + ".bmp": clip03.bmp, clip100.bmp.
    static std::string clipName(int lastClipIndex, int n);

private:
    double offsetInchesX() const;
    double offsetInchesY() const;
    void updateScale(bool exact);

    CardTemplate mTemplate;
    int mWidthPx = 0;
    int mHeightPx = 0;
    Long mWidthHiMetric = 0;
    Long mHeightHiMetric = 0;
    int mViewWidth = 0;
    int mViewHeight = 0;
    int mRes = 1200;
    double mScaleWidth = 0;
    double mScaleHeight = 0;
    int mOffsetX = 0;
    int mOffsetY = 0;
    bool mInchOffset = false;
    double mOffsetInchX = 0;
    double mOffsetInchY = 0;
    std::array<bool, kMaxCells> mSelected;
};

} // namespace velmara
