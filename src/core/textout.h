#pragma once
// Text files as the reports write them: Windows-1252, one byte per character, lines ending in
// CR LF, whatever the encoding of the source literals (they are UTF-8 here).

#include "core/numeric.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace velmara {

// The Windows-1252 bytes of a UTF-8 text: "µ" gives byte 181, "²" 178, "×" 215. A character the
// code page lacks becomes '?'. Bytes that are not valid UTF-8 pass through unchanged, as text that
// is 8-bit already (a file name read from an old disk, for example).
std::string ToWindows1252(std::string_view utf8);

// One text file opened for overwrite or append. Nothing throws: each call returns false once any
// step has failed, and errorString() then names the file and the reason. The file is closed by
// close() or by the destructor.
class TextOut
{
public:
    enum class Mode { Overwrite, Append };

    TextOut() = default;
    ~TextOut();
    TextOut(const TextOut &) = delete;
    TextOut &operator=(const TextOut &) = delete;

    // Overwrite empties or creates the file; Append creates it when absent. False when the file
    // cannot be opened.
    bool open(const std::string &path, Mode mode);
    bool isOpen() const { return mFile != nullptr; }

    // Writes UTF-8 text in Windows-1252.
    bool write(std::string_view utf8);
    // Writes bytes that are Windows-1252 already.
    bool writeBytes(std::string_view bytes);
    // Ends the line with CR LF.
    bool endLine();
    bool writeLine(std::string_view utf8 = {}) { return write(utf8) && endLine(); }

    // Flushes and closes. False when anything written since open() was lost (a full disk shows up
    // here at the latest). Closing a file that is not open returns the state of the last one.
    bool close();

    bool failed() const { return mFailed; }
    const std::string &errorString() const { return mError; }
    const std::string &path() const { return mPath; }

private:
    bool fail(const char *what, int errorNumber);

    std::FILE *mFile = nullptr;
    std::string mPath;
    std::string mError;
    bool mFailed = false;
};

// Shortest text that reads back to the same Double or Single (for JSON): "0.56", "1e-05", whole
// numbers without a point ("300"). NaN and infinities have no JSON number and give "null".
std::string ShortestDouble(double value);
std::string ShortestSingle(Single value);

} // namespace velmara
