#include "core/textout.h"

#include "support/testdir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

using namespace velmara;
namespace fs = std::filesystem;

using velmara::test::ReadBytes;
using velmara::test::TestDir;

TEST(Windows1252, ConvertsWhatItCanAndPassesBrokenInputThrough)
{
    const std::pair<const char *, const char *> cases[] = {
        {"µm", "\xB5m"}, {"drops/cm²", "drops/cm\xB2"}, {"2×", "2\xD7"}, {"€…Ÿ", "\x80\x85\x9F"},
        {"a\xE6\xBC\xA2z", "a?z"},          // a CJK character
        {"\xF0\x9F\x98\x80", "?"},          // outside the BMP
        {"\xC2\x81", "?"},                  // a byte Windows-1252 leaves unused
        {"card\xB5.bmp", "card\xB5.bmp"},   // 8-bit already
        {"end\xC2", "end\xC2"},             // cut sequence
        {"\xC0\xAF", "\xC0\xAF"},           // overlong form is not taken
        {"\xED\xA0\x80", "\xED\xA0\x80"},   // surrogate
    };
    for (const auto &[in, out] : cases)
        EXPECT_EQ(ToWindows1252(in), out) << in;
}

TEST(TextOut, OverwriteThenAppendWithCrLf)
{
    TestDir dir;
    const std::string path = dir.file("lines.txt");
    {
        TextOut out;
        ASSERT_TRUE(out.open(path, TextOut::Mode::Overwrite));
        EXPECT_TRUE(out.writeLine("VMD: 12.3 µm"));
        EXPECT_TRUE(out.writeLine());
        EXPECT_TRUE(out.close());
    }
    EXPECT_EQ(ReadBytes(path), "VMD: 12.3 \xB5m\r\n\r\n");
    {
        TextOut out;
        ASSERT_TRUE(out.open(path, TextOut::Mode::Append));
        EXPECT_TRUE(out.write("x"));
        EXPECT_TRUE(out.writeBytes("\xD7"));
        // closed by the destructor
    }
    EXPECT_EQ(ReadBytes(path), "VMD: 12.3 \xB5m\r\n\r\nx\xD7");
}

TEST(TextOut, FailuresAreReportedNotThrown)
{
    const fs::path missing = fs::temp_directory_path() / "velmara_no_such_dir" / "x.scn";
    TextOut out;
    EXPECT_FALSE(out.open(missing.string(), TextOut::Mode::Overwrite));
    EXPECT_TRUE(out.failed());
    EXPECT_NE(out.errorString().find(missing.string()), std::string::npos);
    EXPECT_FALSE(out.writeLine("lost"));
    EXPECT_FALSE(out.close());

    if (fs::exists("/dev/full")) {
        TextOut full;
        ASSERT_TRUE(full.open("/dev/full", TextOut::Mode::Overwrite));
        full.writeLine("no room");
        EXPECT_FALSE(full.close());
        EXPECT_NE(full.errorString().find("/dev/full"), std::string::npos);
    }

    // A failed file does not spoil the next one opened on the same object.
    TestDir dir;
    const std::string good = dir.file("reused.txt");
    EXPECT_TRUE(out.open(good, TextOut::Mode::Overwrite));
    EXPECT_TRUE(out.writeLine("ok"));
    EXPECT_TRUE(out.close());
    EXPECT_EQ(ReadBytes(good), "ok\r\n");
}

TEST(ShortestText, ReadsBackToTheSameValue)
{
    EXPECT_EQ(ShortestDouble(300.0), "300");
    EXPECT_EQ(ShortestDouble(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(ShortestSingle(84.1225f), "84.1225");
    EXPECT_EQ(ShortestDouble(std::numeric_limits<double>::quiet_NaN()), "null");
    EXPECT_EQ(ShortestSingle(std::numeric_limits<float>::infinity()), "null");
}
