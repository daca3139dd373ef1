#pragma once
// Where the resolution and card position dialogs stand: over the card picture, a little below its
// centre, and never off the screen.

namespace velmara {

struct PixelRect
{
    int Left = 0;
    int Top = 0;
    int Width = 0;
    int Height = 0;
};

// The dialog (only its size is read) centred across on the picture with its centre 20 pixels below
// the picture's centre, then pushed back onto a screen of the given size: past the bottom it moves
// up to end there, else a negative top becomes 0; the same across.
PixelRect PlaceOverPicture(const PixelRect &dialog, const PixelRect &picture, int screenWidth,
                           int screenHeight);

// Grid sizes shared by both dialogs: at most 20 rows show; above that a scroll bar takes 17 pixels.
inline constexpr int kGridMaxRows = 20;
inline constexpr int kGridScrollBarWidth = 17;
inline int GridVisibleRows(int rowCount) { return rowCount < kGridMaxRows ? rowCount : kGridMaxRows; }
inline bool GridNeedsScrollBar(int rowCount) { return rowCount > kGridMaxRows; }

} // namespace velmara
