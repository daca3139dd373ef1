#pragma once
// The printed report as a PDF file, for the command-line program and the preview's "Save as
// PDF...": the four pages drawn as one printer job on a letter sheet without margins at 1200 dpi.
// Needs a QGuiApplication (the offscreen platform will do); no widget is involved.

#include "core/workspace.h"
#include "reports/reportpages.h"

#include <string>
#include <string_view>
#include <vector>

namespace velmara {

// Writes the report of the composite view held in ws (composites, LineStats and swath tables
// built; the report's own refresh is done here) to path. The file is made in memory, written
// under a temporary name in the same folder and takes its name only when every write and the
// close succeeded, replacing an older file. Returns false when anything failed: an older report at
// path is left as it was, no temporary file stays, and error holds the message, lines broken by
// "\n" (the reason the file could not be written, naming it; or "There was an error:", a blank
// line, five blanks and the failure's text; or the missing QGuiApplication). notDrawn, when
// given, receives the pages drawn as a note in place of their graphs.
bool WritePdfReport(Workspace &ws, const std::string &path, std::string &error,
                    std::vector<PageNote> *notDrawn = nullptr, char decimalSeparator = '.');

// Writes bytes to path, created or emptied first, with the given mode for a new file: every
// write, the flush to the disk and the close are checked. On failure error says why, naming
// the file, and the file may hold part of the bytes.
bool WriteWholeFile(const std::string &path, std::string_view bytes, std::string &error, unsigned mode = 0600);

} // namespace velmara
