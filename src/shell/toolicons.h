#pragma once
// The pictures of the picture buttons, drawn in code so that the program carries no image files.

#include <QIcon>

namespace velmara {

enum class ToolIcon
{
    LoadTemplate, // a sheet cut into cards
    Preferences,  // sliders
    Resolution,   // a ruler
    WriteResults, // a page with lines and an arrow
    Print,        // a printer
    Application,  // the program's own picture: a card with stains
};

QIcon MakeToolIcon(ToolIcon which);
// The icon drawn at one size, for the window and the screenshots.
QPixmap ToolIconPixmap(ToolIcon which, int size);

} // namespace velmara
