#include "templates/templatestore.h"

#include "testdir.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace velmara;
using velmara::test::ReadBytes;
using velmara::test::TestDir;
using velmara::test::WriteBytes;

namespace {

CardTemplate Make(const std::string &name, Integer nh, Single sh, Single gh, Integer nv, Single sv,
                  Single gv)
{
    return CardTemplate{name, nh, sh, gh, nv, sv, gv};
}

std::vector<CardTemplate> WithDefault(std::initializer_list<CardTemplate> stored)
{
    std::vector<CardTemplate> list{DefaultTemplate()};
    list.insert(list.end(), stored);
    return list;
}

} // namespace

TEST(TemplateName, LengthQuoteAndCodePage)
{
    EXPECT_TRUE(ValidTemplateName("1234567890123456"));
    EXPECT_FALSE(ValidTemplateName("12345678901234567"));
    EXPECT_FALSE(ValidTemplateName(""));
    EXPECT_FALSE(ValidTemplateName("say \"hi\""));
    // Characters, not bytes: 16 accented letters are two bytes each in UTF-8.
    EXPECT_TRUE(ValidTemplateName("éééééééééééééééé"));
    EXPECT_FALSE(ValidTemplateName("ééééééééééééééééé"));
    EXPECT_FALSE(ValidTemplateName("Feld \xE2\x88\x9A"));  // a root sign: not in the code page
    EXPECT_FALSE(ValidTemplateName("bad \xC3"));             // cut UTF-8
}

// Numbers in general form, names in the code page, and a read gives back the same list.
TEST(TemplateStoreFile, BytesOfTheLinesAndRoundTrip)
{
    TestDir dir;
    const auto list = WithDefault({Make("Field A", 3, 1.75f, 0.25f, 3, 2.75f, 0.375f),
                                   Make("Größe, 2", 5, 0.05f, 8.5f, 1, 1.001f, 2.0f),
                                   Make(kDefaultTemplateName, 1, 1.0f, 0.1f, 2, 0.333f, 0.125f)});
    TemplateStore writer(TemplateStore::PathIn(dir.dir()));
    ASSERT_TRUE(writer.write(list));
    EXPECT_EQ(ReadBytes(dir.file("templates.dat")),
              "\"Field A\",3,1.75,0.25,3,2.75,0.375\r\n\"Gr\xF6\xDF" "e, 2\",5,0.05,8.5,1,1.001,2\r\n"
              "\"<Default>\",1,1,0.1,2,0.333,0.125\r\n");
    TemplateStore reader(TemplateStore::PathIn(dir.dir()));
    ASSERT_TRUE(reader.load());
    EXPECT_TRUE(reader.badLines().empty());
    ASSERT_EQ(reader.stored().size(), 3u);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(reader.stored()[i], list[i + 1]) << i;
}

TEST(TemplateStoreFile, OnlyTheBuiltInLeftDeletesTheFileAndACleanFileMakesNoBackup)
{
    TestDir dir;
    WriteBytes(dir.file("templates.dat"), "\"A\",1,1,1,1,1,1\r\n");
    TemplateStore store(dir.file("templates.dat"));
    ASSERT_TRUE(store.load());
    EXPECT_EQ(store.badLinesMessage(), "");
    ASSERT_TRUE(store.write(WithDefault({})));
    EXPECT_FALSE(std::filesystem::exists(dir.file("templates.dat.bak")));
    EXPECT_FALSE(std::filesystem::exists(dir.file("templates.dat")));
    // Deleting a file that is not there is no failure.
    EXPECT_TRUE(store.write(WithDefault({})));
    TemplateStore reader(TemplateStore::PathIn(dir.dir()));
    EXPECT_TRUE(reader.load());
    EXPECT_TRUE(reader.stored().empty());
}

TEST(TemplateStoreFile, CorruptLinesAreSkippedAndNamedOnceWhateverTheLineEnds)
{
    TestDir dir;
    const std::string original = "\"Good\",3,1.75,0.25,3,2.75,0.375\r\n" // 1
                                 "\"Short\",3,1.75,0.25,3,2.75\r\n"       // 2 six fields
                                 "NoQuotes,3,1.75,0.25,3,2.75,0.375\r\n"  // 3
                                 "\"Seventeen chars!!\",1,1,1,1,1,1\r\n"  // 4 long name
                                 "\"X\",3,abc,0.25,3,2.75,0.375\r\n"      // 5 no number
                                 "\"X\",6,1,1,1,1,1\r\n"                  // 6 count above 5
                                 "\"X\",2.5,1,1,1,1,1\r\n"                // 7 count not whole
                                 "\"X\",1,0.049,1,1,1,1\r\n"              // 8 below 0.05
                                 "\"X\",1,1,8.501,1,1,1\r\n"              // 9 above 8.5
                                 "\r\n"                                   // 10 blank: no fault
                                 "\"\",1,1,1,1,1,1\n"                     // 11 empty name, LF alone
                                 "\"Also good\", 1 ,0.05,8.5,5,1,1";      // 12 blanks fine, no end
    WriteBytes(dir.file("templates.dat"), original);
    TemplateStore store(dir.file("templates.dat"));
    ASSERT_TRUE(store.load());
    ASSERT_EQ(store.stored().size(), 2u);
    EXPECT_EQ(store.stored()[0].Name, "Good");
    EXPECT_EQ(store.stored()[1], (CardTemplate{"Also good", 1, 0.05f, 8.5f, 5, 1, 1}));
    EXPECT_EQ(store.badLines(), (std::vector<int>{2, 3, 4, 5, 6, 7, 8, 9, 11}));
    const std::string message = store.badLinesMessage();
    EXPECT_NE(message.find("Lines 2, 3, 4, 5, 6, 7, 8, 9 and 11 of '"), std::string::npos) << message;

    // The first rewrite keeps the file as it was; a later one leaves that copy alone.
    std::vector<CardTemplate> list{DefaultTemplate()};
    list.insert(list.end(), store.stored().begin(), store.stored().end());
    ASSERT_TRUE(store.write(list));
    EXPECT_EQ(ReadBytes(dir.file("templates.dat.bak")), original);
    list.pop_back();
    ASSERT_TRUE(store.write(list));
    EXPECT_EQ(ReadBytes(dir.file("templates.dat.bak")), original);
    EXPECT_EQ(ReadBytes(dir.file("templates.dat")), "\"Good\",3,1.75,0.25,3,2.75,0.375\r\n");
}

TEST(TemplateStoreFile, UnwritableFolderFailsWithTheFileName)
{
    TemplateStore store("/nonexistent-velmara-dir/templates.dat");
    EXPECT_FALSE(store.write(WithDefault({Make("A", 1, 1, 1, 1, 1, 1)})));
    EXPECT_NE(store.errorString().find("/nonexistent-velmara-dir/templates.dat"), std::string::npos);
}

TEST(TemplateLookup, DefaultFirstThenFileOrderCaseSensitive)
{
    TestDir dir;
    WriteBytes(dir.file("t.dat"), "\"<Default>\",1,1,1,1,1,1\r\n\"Field\",2,2,2,2,2,2\r\n"
                                  "\"Field\",4,4,4,4,4,4\r\nbroken\r\n");
    std::string warning;
    EXPECT_EQ(FindTemplate("<Default>", dir.file("t.dat"), &warning)->NumH, 3);
    EXPECT_EQ(FindTemplate("Field", dir.file("t.dat"), &warning)->NumH, 2);
    EXPECT_NE(warning.find("Line 4 "), std::string::npos);
    EXPECT_FALSE(FindTemplate("field", dir.file("t.dat")).has_value());
    EXPECT_FALSE(FindTemplate("Field", dir.file("missing.dat")).has_value());
}
