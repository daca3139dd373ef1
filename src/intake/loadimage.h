#pragma once
// Registration of an image file as a card: the name and header checks, the card's resolution and
// area. The pixels are read later, by DecodeCard.

#include "core/workspace.h"

#include <string>
#include <vector>

namespace velmara {

struct LoadResult
{
    bool Ok = false;
    int CardIndex = 0;        // the new card (the last of the list) when Ok
    std::string Message;      // the text to show when refused, lines separated by "\r"
    bool Exclamation = false; // the unsupported-type refusal carries an exclamation icon
};

// Registers folder + fileName as a new card in the state Loaded, with DefaultRes as its resolution.
// folder ends in a path separator. Leaves CompositeCheck unchecked. On refusal no card is added and
// Message holds the text for the user; the other cards are untouched. The window's own steps (tabs,
// caption, labels, Cancel button) are the caller's.
LoadResult LoadImage(Workspace &ws, const std::string &fileName, const std::string &folder);

// The same for a full path: the file name is what follows the last '/' or '\'.
LoadResult LoadImage(Workspace &ws, const std::string &fullPath);

// LoadImage for many full paths at once, with the same results in the same order: the files are
// looked at by up to jobs threads, then entered in order by the caller's thread, the duplicate
// check by lookup. For the thousands of cards of a batch.
std::vector<LoadResult> LoadImages(Workspace &ws, const std::vector<std::string> &fullPaths, int jobs);

// Micrometres per pixel at dpi dots per inch (12 inches a foot, 3.2808 feet a metre); dpi > 0.
double MicronsPerPixelAt(double dpi);

} // namespace velmara
