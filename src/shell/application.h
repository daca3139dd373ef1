#pragma once
// The desktop program: start-up, the main window's life, and the tidy-up at exit.

#include "core/workspace.h"

#include <QString>

namespace velmara {

// Runs the program; returns its exit status (0 also when the user ends it at the screen check).
int RunDesktop(int argc, char **argv);

// The rainbow of display colours per hue entry 0..256, each a red + 256 green + 65536 blue value.
// Six segments of 42 entries ramp by 6 (reaching 246, not 255), a component of 256 is held at 255,
// and entries 252 to 256 are plain red.
void FillHueColour(std::array<Long, 257> &hueColour);

// The text of the box shown when the screen is under 600 pixels high; empty when it is not.
QString ScreenHeightMessage(int widthPx, int heightPx);

// Deletes the temporary bitmaps of tempDir: "masktemp.bmp", "background_temp.bmp",
// "dither_temp.bmp" where they exist, then every "clip*.bmp".
void RemoveTemporaryBitmaps(const std::string &tempDir);

// Deletes every "clip*.bmp" of tempDir (also done when all cards are cleared).
void RemoveClipFiles(const std::string &tempDir);

} // namespace velmara
