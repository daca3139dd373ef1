#pragma once
// The file "templates.dat" in TempDir: one line per stored template, in list order, each line
// `"Name",NumH,SizeH,SpaceH,NumV,SizeV,SpaceV` ended by CR LF, Windows-1252, numbers in general
// form with a decimal point whatever the locale. No header, no count; no file at all when no
// template is stored.

#include "templates/cardtemplate.h"

#include <optional>
#include <string>
#include <vector>

namespace velmara {

class TemplateStore
{
public:
    // filePath: the full path of the file, usually PathIn(TempDir).
    explicit TemplateStore(std::string filePath);

    // TempDir (ending in a separator) followed by "templates.dat".
    static std::string PathIn(const std::string &tempDir);

    // Reads the file. A missing file gives an empty list and no message (fileExists() is false).
    // Lines that cannot be read (wrong field count, a bad or long name, no number, a value outside
    // the manager's ranges) are skipped and named by badLines()/badLinesMessage(); a blank line is
    // no template and no fault. LF endings and a last line without its end are accepted. Returns
    // false when the file exists but is a folder or cannot be read (errorString() says why; the
    // list is empty).
    bool load();

    // Whether the last load() found a file at filePath().
    bool fileExists() const { return mFileExists; }
    // The templates read, element 1 of the manager's list first.
    const std::vector<CardTemplate> &stored() const { return mStored; }
    // 1-based numbers of the lines skipped by the last load().
    const std::vector<int> &badLines() const { return mBadLines; }
    // One sentence naming the file and the skipped lines; empty when none was skipped.
    std::string badLinesMessage() const;
    // For a program that writes the list: where the next write() keeps the file as it stands, as
    // one sentence; empty when none was skipped.
    std::string backupNotice() const;

    // Why the store could not give t back unchanged (a bad name, or a value outside the manager's
    // ranges); empty when it can store t.
    static std::string whyNotStorable(const CardTemplate &t);

    // Writes the manager's list from element 1 on; element 0, the built-in, is never stored. When
    // the list holds element 0 alone the file is deleted. Before the first rewrite of a file that
    // had unreadable lines, a copy is kept beside it ("templates.dat.bak", or the first of
    // "templates.dat.bak2", "templates.dat.bak3", ... not taken: an earlier copy is never
    // replaced). Returns false with errorString() naming the file, and changes nothing, when an
    // element cannot be stored (whyNotStorable), or when the file cannot be written or deleted.
    bool write(const std::vector<CardTemplate> &list);

    const std::string &filePath() const { return mPath; }
    const std::string &errorString() const { return mError; }

    // The line of one template, UTF-8, without its end: "Field A",3,1.75,0.25,3,2.75,0.375
    static std::string formatLine(const CardTemplate &t);
    // A line of the file (Windows-1252 bytes, without its end) as a template; nullopt when the
    // line is not one the store would have written for an editable template.
    static std::optional<CardTemplate> parseLine(const std::string &bytes);

private:
    std::string mPath;
    std::vector<CardTemplate> mStored;
    std::vector<int> mBadLines;
    std::string mError;
    std::string mBackupPath; // where the next write keeps the file; empty when no copy is due
    bool mFileExists = false;
};

// The first template of that name, case-sensitive: "<Default>" first, then the file at
// templatesFile in file order. nullopt when none has it. Messages for the user go to *messages,
// in order: the lines of the file that could not be read, if any; and when nothing was found, why
// (naming the file, and saying whether it is missing, a folder, unreadable, or holds no template
// of that name).
std::optional<CardTemplate> FindTemplate(const std::string &name, const std::string &templatesFile,
                                         std::vector<std::string> *messages = nullptr);

} // namespace velmara
