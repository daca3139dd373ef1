#include "templates/templatestore.h"

#include "testdir.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace velmara;
using velmara::test::ReadBytes;
using velmara::test::TestDir;
using velmara::test::WriteBytes;

namespace {

std::vector<CardTemplate> WithDefault(std::initializer_list<CardTemplate> stored)
{
    std::vector<CardTemplate> list{DefaultTemplate()};
    list.insert(list.end(), stored);
    return list;
}

} // namespace

// Seventeen characters and signs outside the code page: the storable-template table below.
TEST(TemplateName, LengthQuoteAndCodePage)
{
    EXPECT_TRUE(ValidTemplateName("1234567890123456"));
    EXPECT_FALSE(ValidTemplateName(""));
    EXPECT_FALSE(ValidTemplateName("say \"hi\""));
    // Characters, not bytes: 16 accented letters are two bytes each in UTF-8.
    EXPECT_TRUE(ValidTemplateName("éééééééééééééééé"));
    EXPECT_FALSE(ValidTemplateName("ééééééééééééééééé"));
    EXPECT_FALSE(ValidTemplateName("bad \xC3"));             // cut UTF-8
}

// Numbers in general form, names in the code page, and a read gives back the same list.
TEST(TemplateStoreFile, BytesOfTheLinesAndRoundTrip)
{
    TestDir dir;
    const auto list = WithDefault({CardTemplate("Field A", 3, 1.75f, 0.25f, 3, 2.75f, 0.375f),
                                   CardTemplate("Größe, 2", 5, 0.05f, 8.5f, 1, 1.001f, 2.0f),
                                   CardTemplate(kDefaultTemplateName, 1, 1.0f, 0.1f, 2, 0.333f, 0.125f)});
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

    EXPECT_EQ(message.find(".bak"), std::string::npos) << "only a writer speaks of the copy";

    // The first rewrite keeps the file as it was, under a name no earlier copy holds; a later
    // rewrite leaves that copy alone.
    WriteBytes(dir.file("templates.dat.bak"), "earlier copy");
    ASSERT_TRUE(store.load());
    EXPECT_EQ(store.backupNotice(), "The file as it stands is kept as 'templates.dat.bak2' when the list is next saved.");
    std::vector<CardTemplate> list{DefaultTemplate()};
    list.insert(list.end(), store.stored().begin(), store.stored().end());
    ASSERT_TRUE(store.write(list));
    EXPECT_EQ(ReadBytes(dir.file("templates.dat.bak2")), original);
    list.pop_back();
    ASSERT_TRUE(store.write(list));
    EXPECT_EQ(ReadBytes(dir.file("templates.dat.bak2")), original);
    EXPECT_EQ(ReadBytes(dir.file("templates.dat.bak")), "earlier copy");
    EXPECT_EQ(ReadBytes(dir.file("templates.dat")), "\"Good\",3,1.75,0.25,3,2.75,0.375\r\n");
}

// A list holding a template the reader would skip is not written at all: the file and its
// copies stay as they are.
TEST(TemplateStoreFile, WritesOnlyWhatItReadsBack)
{
    TestDir dir;
    const std::string original = "\"Good\",3,1.75,0.25,3,2.75,0.375\r\nbroken\r\n";
    WriteBytes(dir.file("templates.dat"), original);
    const std::pair<CardTemplate, const char *> cases[] = {
        {CardTemplate("Gap 0", 3, 1.75f, 0.0f, 3, 2.75f, 0.375f), "its numbers of cards"},
        {CardTemplate("Six", 6, 1.75f, 0.25f, 3, 2.75f, 0.375f), "its numbers of cards"},
        {CardTemplate("Line\nbreak", 3, 1.75f, 0.25f, 3, 2.75f, 0.375f), "a name has"},
        {CardTemplate("Root \xE2\x88\x9A", 3, 1.75f, 0.25f, 3, 2.75f, 0.375f), "a name has"},
        {CardTemplate("Seventeen chars!!", 3, 1.75f, 0.25f, 3, 2.75f, 0.375f), "a name has"},
    };
    for (const auto &[t, why] : cases) {
        TemplateStore store(dir.file("templates.dat"));
        ASSERT_TRUE(store.load());
        EXPECT_NE(TemplateStore::whyNotStorable(t).find(why), std::string::npos) << t.Name;
        EXPECT_FALSE(store.write(WithDefault({CardTemplate("Good", 3, 1.75f, 0.25f, 3, 2.75f, 0.375f), t}))) << t.Name;
        EXPECT_NE(store.errorString().find("'" + t.Name + "' cannot be stored"), std::string::npos);
        EXPECT_EQ(ReadBytes(dir.file("templates.dat")), original);
        EXPECT_FALSE(std::filesystem::exists(dir.file("templates.dat.bak")));
    }
    EXPECT_EQ(TemplateStore::whyNotStorable(CardTemplate("Größe", 5, 0.05f, 8.5f, 1, 1, 1)), "");
}

TEST(TemplateStoreFile, UnwritableFolderFailsWithTheFileName)
{
    TemplateStore store("/nonexistent-velmara-dir/templates.dat");
    EXPECT_FALSE(store.write(WithDefault({CardTemplate("A", 1, 1, 1, 1, 1, 1)})));
    EXPECT_NE(store.errorString().find("/nonexistent-velmara-dir/templates.dat"), std::string::npos);
}

TEST(TemplateLookup, DefaultFirstThenFileOrderCaseSensitive)
{
    TestDir dir;
    WriteBytes(dir.file("t.dat"), "\"<Default>\",1,1,1,1,1,1\r\n\"Field\",2,2,2,2,2,2\r\n"
                                  "\"Field\",4,4,4,4,4,4\r\nbroken\r\n");
    std::vector<std::string> told;
    EXPECT_EQ(FindTemplate("<Default>", dir.file("t.dat"), &told)->NumH, 3);
    EXPECT_TRUE(told.empty());
    EXPECT_EQ(FindTemplate("Field", dir.file("t.dat"), &told)->NumH, 2);
    EXPECT_EQ(told, (std::vector<std::string>{"Line 4 of '" + dir.file("t.dat") + "' could not be read and was skipped."}));
}

// When nothing is found the user learns which file was read and why it gave nothing.
TEST(TemplateLookup, NotFoundSaysWhichFileAndWhy)
{
    TestDir dir;
    std::filesystem::create_directory(dir.file("folder.dat"));
    WriteBytes(dir.file("empty.dat"), "\r\n");
    WriteBytes(dir.file("bad.dat"), "broken\r\n");
    WriteBytes(dir.file("two.dat"), "\"Pair\",2,1,1,1,1,1\r\n\"Row\",3,1,1,1,1,1\r\n");
    const std::pair<const char *, std::string> cases[] = {
        {"missing.dat", ": there is no templates file '" + dir.file("missing.dat") + "'."},
        {"folder.dat", ". '" + dir.file("folder.dat") + "' is a folder, not a templates file."},
        {"empty.dat", ": '" + dir.file("empty.dat") + "' holds no template."},
        {"bad.dat", ": '" + dir.file("bad.dat") + "' holds no template that could be read."},
        {"two.dat", " in '" + dir.file("two.dat") + "', which holds 'Pair' and 'Row'."},
    };
    for (const auto &[file, why] : cases) {
        std::vector<std::string> told;
        EXPECT_FALSE(FindTemplate("pair", dir.file(file), &told).has_value());
        ASSERT_FALSE(told.empty()) << file;
        EXPECT_EQ(told.back(), "Template 'pair' was not found" + why);
    }
}
