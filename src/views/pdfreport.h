#pragma once
// The printed report as a PDF file, for the command-line program: the four pages drawn as one
// printer job on a letter sheet without margins at 1200 dpi. Needs a QGuiApplication (the
// offscreen platform will do); no widget is involved.

#include "core/workspace.h"

#include <string>

namespace velmara {

// Writes the report of the composite view held in ws (composites, LineStats and swath tables
// built) to path. The file is written under a temporary name in the same folder and takes its
// name only when the job ended well, replacing an older file. Returns false when the job failed:
// nothing is left at path (an older report there is removed too, since it would pass for this
// line's) and error holds the message,
// lines broken by "\n" ("There was an error:", a blank line, five blanks and the failure's text;
// or the reason the file could not be created, or the missing QGuiApplication).
bool WritePdfReport(Workspace &ws, const std::string &path, std::string &error);

} // namespace velmara
