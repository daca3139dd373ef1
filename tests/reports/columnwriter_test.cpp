#include "reports/columnwriter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

using namespace velmara;
namespace fs = std::filesystem;

namespace {
// Runs `body` on a writer over a scratch file and returns the bytes written.
std::string Written(const std::function<void(ColumnWriter &)> &body)
{
    const fs::path path = fs::temp_directory_path() / "velmara_columnwriter_test.txt";
    {
        TextOut out;
        EXPECT_TRUE(out.open(path.string(), TextOut::Mode::Overwrite));
        ColumnWriter w(out);
        body(w);
        EXPECT_TRUE(out.close());
    }
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}
} // namespace

TEST(ColumnWriter, ItemsColumnsAndLineBreaks)
{
    struct Case
    {
        const char *name;
        std::function<void(ColumnWriter &)> write;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"numbers are items with blanks",
         [](ColumnWriter &w) {
             w.number(300);
             EXPECT_EQ(w.column(), 6);
             w.number(-5);
             w.number(0);
         },
         " 300 -5  0 "},
        {"tab pads, or breaks the line when past its target",
         [](ColumnWriter &w) {
             w.tab(5);
             w.text("ab");
             w.tab(7); // already there: nothing
             w.text("c");
             w.tab(3);
             w.text("d");
             w.tab(0); // below 1 counts as 1, and we are past it
             w.text("e");
         },
         "    abc\r\n  d\r\ne"},
        {"code page characters count once",
         [](ColumnWriter &w) {
             w.text("(µm)");
             EXPECT_EQ(w.column(), 5);
             w.tab(8);
             w.text("x");
         },
         "(\xB5m)   x"},
        {"values ending at a column",
         [](ColumnWriter &w) {
             w.textEndingAt(10, "84.123");
             w.endLine();
             w.numberEndingAt(5, 42); // blank in 3, digits in 4 and 5, blank in 6
             EXPECT_EQ(w.column(), 7);
             w.numberEndingAt(9, -7);
         },
         "    84.123\r\n   42  -7 "},
        {"a wide value moves the rest of the row to the next line",
         [](ColumnWriter &w) {
             w.tab(3);
             w.number(123456789012LL); // ends in column 16, behind column 15's tab target
             w.numberEndingAt(15, 3);
         },
         "   123456789012 \r\n" + std::string(13, ' ') + " 3 "},
        {"dashes and empty lines",
         [](ColumnWriter &w) {
             w.dashes(8);
             w.endLine();
             w.line("Results:");
             w.dashes(0);
         },
         "--------\r\n\r\nResults:\r\n\r\n"},
    };
    for (const Case &k : cases) {
        SCOPED_TRACE(k.name);
        EXPECT_EQ(Written(k.write), k.expected);
    }
}

TEST(ColumnWriter, FailedFileStopsEveryCall)
{
    TextOut out;
    EXPECT_FALSE(out.open((fs::temp_directory_path() / "velmara_missing_dir" / "a.txt").string(),
                          TextOut::Mode::Overwrite));
    ColumnWriter w(out);
    EXPECT_FALSE(w.text("x"));
    EXPECT_FALSE(w.tab(10));
    EXPECT_FALSE(w.dashes(3));
    EXPECT_EQ(w.column(), 1);
}
