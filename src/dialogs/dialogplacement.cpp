#include "dialogs/dialogplacement.h"

namespace velmara {

namespace {
int pushBack(int start, int size, int limit)
{
    if (start + size > limit)
        return limit - size;
    return start < 0 ? 0 : start;
}
} // namespace

PixelRect PlaceOverPicture(const PixelRect &dialog, const PixelRect &picture, int screenWidth,
                           int screenHeight)
{
    PixelRect r = dialog;
    r.Left = picture.Left + (picture.Width - dialog.Width) / 2;
    r.Top = picture.Top + picture.Height / 2 + 20 - dialog.Height / 2;
    r.Top = pushBack(r.Top, r.Height, screenHeight);
    r.Left = pushBack(r.Left, r.Width, screenWidth);
    return r;
}

} // namespace velmara
