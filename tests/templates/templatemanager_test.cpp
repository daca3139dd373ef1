#include "templates/templatemanager.h"

#include "support/scriptedtemplatehost.h"
#include "testdir.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace velmara;
using velmara::test::ReadBytes;
using velmara::test::TestDir;
using velmara::test::WriteBytes;

namespace {

struct Manager : ::testing::Test
{
    TestDir dir;
    ScriptedTemplateHost host;
    std::string file() const { return dir.file("templates.dat"); }
    TemplateManager open(const std::string &name, const std::string &fileBytes = {})
    {
        if (!fileBytes.empty())
            WriteBytes(file(), fileBytes);
        TemplateManager m(dir.dir(), host);
        CardTemplate current = DefaultTemplate();
        current.Name = name;
        m.open(current);
        return m;
    }
};

std::vector<std::string> Names(const TemplateManager &m)
{
    std::vector<std::string> names;
    for (const auto &t : m.templates())
        names.push_back(t.Name);
    return names;
}

} // namespace

TEST_F(Manager, NoFileShowsTheBuiltInAndAcceptGivesNoName)
{
    TemplateManager m = open("<Default>");
    EXPECT_EQ(Names(m), (std::vector<std::string>{"<Default>"}));
    EXPECT_EQ(m.selectedIndex(), 0);
    const CardTemplate out = m.accept();
    EXPECT_EQ(out.Name, "<No Name>");
    EXPECT_TRUE(out.SameDimensions(DefaultTemplate()));

    // The next opening does not find "<No Name>": it stands in memory, selected, unwritten.
    TemplateManager again = open(out.Name);
    EXPECT_EQ(Names(again), (std::vector<std::string>{"<Default>", "<No Name>"}));
    EXPECT_EQ(again.selectedIndex(), 1);
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(Manager, FirstExactNameFromTheBuiltInUp)
{
    const std::string stored = "\"Field A\",2,1,0.5,2,1,0.5\r\n\"<Default>\",1,1,1,1,1,1\r\n"
                             "\"Field A\",4,1,0.5,4,1,0.5\r\n";
    EXPECT_EQ(open("Field A", stored).selectedIndex(), 1);
    EXPECT_EQ(open("<Default>").selectedIndex(), 0);
    TemplateManager lower = open("field a");
    EXPECT_EQ(lower.templates().size(), 5u); // not found: appended in memory
    EXPECT_EQ(lower.selectedIndex(), 4);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Manager, CorruptFileTellsTheLinesOnceAndASingleCardDisablesItsGap)
{
    TemplateManager m = open("One", "\"One\",1,2,0.5,1,2,0.5\r\nrubbish\r\n\"B\",0,1,1,1,1,1\r\n");
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_NE(host.messages[0].find("Lines 2 and 3 of"), std::string::npos);
    EXPECT_NE(host.messages[0].find("\rThe file as it stands is kept as 'templates.dat.bak' when"), std::string::npos);
    EXPECT_EQ(Names(m), (std::vector<std::string>{"<Default>", "One"}));
    EXPECT_FALSE(m.box(TemplateBox::HSpace).Enabled || m.box(TemplateBox::VSpace).Enabled);
    // The gap plays no part in the width of one card across.
    m.select(0);
    m.setSpinner(TemplateBox::HNum, 1);
    EXPECT_EQ(m.layout().TotalWidth, 1.75f);
}

// The load dialog's fields (hand-edited settings, say) can lie outside the boxes' ranges: the
// element made from them is held to what the boxes show, so that a save writes only lines the
// store reads back and never makes it keep a copy of a sound file.
TEST_F(Manager, FieldsFromTheLoadDialogAreKeptAsTheBoxesShowThem)
{
    WriteBytes(file(), "\"A\",3,1.75,0.25,3,2.75,0.375\r\n");
    CardTemplate current{"Wide", 2, 1.75f, 0.0f, 1, 9.0f, 0.375f};
    TemplateManager m(dir.dir(), host);
    m.open(current);
    EXPECT_EQ(m.templates().back(), (CardTemplate{"Wide", 2, 1.75f, 0.05f, 1, 8.5f, 0.375f}));
    m.setSpinner(TemplateBox::HNum, 4);
    host.texts = {"New"};
    m.save();
    TemplateStore reader(file());
    ASSERT_TRUE(reader.load());
    EXPECT_TRUE(reader.badLines().empty());
    EXPECT_EQ(reader.stored().size(), 3u);
    TemplateManager again = open("Wide");
    EXPECT_TRUE(host.messages.empty()) << host.messages.front();
    EXPECT_FALSE(std::filesystem::exists(file() + ".bak"));

    // A name the file cannot hold stands as the dialog's "no name".
    current.Name = "say \"hi\"";
    TemplateManager quoted(dir.dir(), host);
    quoted.open(current);
    EXPECT_EQ(quoted.templates().back().Name, "<No Name>");
}

TEST_F(Manager, BoxArrowsStepAndStopAtTheEnds)
{
    TemplateManager m = open("<Default>");
    struct Step { TemplateBox box; int start; bool up; int value; const char *text; };
    for (const Step &c : {Step{TemplateBox::HSize, 8300, true, 8500, "8.5"},
                          Step{TemplateBox::HSize, 8500, false, 8250, "8.25"},
                          Step{TemplateBox::HSpace, 300, false, 50, "0.05"}, // 300 - 250 reaches the minimum
                          Step{TemplateBox::HSpace, 50, true, 300, "0.3"},
                          Step{TemplateBox::VNum, 5, true, 5, "5"},
                          Step{TemplateBox::VNum, 5, false, 4, "4"}}) {
        SCOPED_TRACE(std::to_string(c.start) + (c.up ? " up" : " down"));
        m.setSpinner(c.box, c.start);
        c.up ? m.stepUp(c.box) : m.stepDown(c.box);
        EXPECT_EQ(m.box(c.box).Value, c.value);
        EXPECT_EQ(m.box(c.box).Text, c.text);
    }
    EXPECT_TRUE(m.saveVisible());
}

TEST_F(Manager, BoxLeaveRulesReplaceOrTake)
{
    TemplateManager m = open("<Default>");
    // Bad or out-of-range text goes back to the spinner; a text that leaves the spinner where it
    // was stays as typed.
    struct Leave { TemplateBox box; const char *typed; const char *text; };
    for (const Leave &c : {Leave{TemplateBox::HSize, "abc", "1.75"},
                           Leave{TemplateBox::HSize, "8.5004", "1.75"}, // 8500.4: above the maximum
                           Leave{TemplateBox::HSize, "0.0499", "1.75"},
                           Leave{TemplateBox::HSize, "1.2345", "1.234"}, // 1234.5 to 1234, half to even
                           Leave{TemplateBox::HSize, "1.2341", "1.2341"},
                           Leave{TemplateBox::HNum, "6", "3"},
                           Leave{TemplateBox::HNum, " 2 ", "2"}}) {
        SCOPED_TRACE(c.typed);
        m.editText(c.box, c.typed);
        m.leaveBox(c.box);
        EXPECT_EQ(m.box(c.box).Text, c.text);
        EXPECT_TRUE(m.saveVisible());
    }
    EXPECT_EQ(m.box(TemplateBox::HSize).Value, 1234);
    EXPECT_EQ(m.box(TemplateBox::HNum).Value, 2);
    EXPECT_EQ(m.accept().SizeH, 1.2341f); // Accept takes the typed text
}

TEST_F(Manager, SaveTakesSixteenCharactersAndAsksAgainForSeventeen)
{
    TemplateManager m = open("<Default>");
    m.setSpinner(TemplateBox::HNum, 2);
    // Blanks alone are refused and an empty answer stops, writing nothing.
    host.texts = {"   ", ""};
    m.save();
    EXPECT_EQ(host.prompts, std::vector<std::string>(2, "Please enter a name for this template:"));
    EXPECT_FALSE(std::filesystem::exists(file()));
    EXPECT_TRUE(m.saveVisible());
    host.defaults.clear();
    host.texts = {"12345678901234567", "1234567890123456"};
    m.save();
    EXPECT_TRUE(host.messages.empty() && host.questions.empty());
    EXPECT_EQ(host.defaults, (std::vector<std::string>{"", "12345678901234567"}));
    EXPECT_EQ(Names(m).back(), "1234567890123456");
    EXPECT_EQ(m.selectedIndex(), 1);
    EXPECT_FALSE(m.saveVisible());
    EXPECT_EQ(ReadBytes(file()), "\"1234567890123456\",2,1.75,0.25,3,2.75,0.375\r\n");
}

TEST_F(Manager, SaveMatchesNamesIgnoringCaseAndBlanks)
{
    TemplateManager m = open("Field A", "\"Field A\",2,1,0.5,2,1,0.5\r\n\"Other\",1,1,1,1,1,1\r\n");
    m.setSpinner(TemplateBox::VNum, 5);
    host.texts = {"  field a ", " FIELD A"};
    host.answers = {false, true};
    m.save();
    EXPECT_EQ(host.questions, (std::vector<std::string>{"Overwrite template 'Field A'?",
                                                          "Overwrite template 'Field A'?"}));
    EXPECT_EQ(host.defaults, (std::vector<std::string>{"", "  field a "}));
    EXPECT_EQ(Names(m), (std::vector<std::string>{"<Default>", "FIELD A", "Other"}));
    EXPECT_EQ(m.selectedIndex(), 1);
    EXPECT_EQ(ReadBytes(file()), "\"FIELD A\",2,1,0.5,5,1,0.5\r\n\"Other\",1,1,1,1,1,1\r\n");
}

TEST_F(Manager, SaveOfSameDimensionsSelectsTheMatchAndWritesNothing)
{
    const std::string stored = "\"A\",3,1.75,0.25,3,2.75,0.375\r\n\"B\",2,1,0.5,2,1,0.5\r\n";
    TemplateManager m = open("B", stored);
    m.editText(TemplateBox::HNum, "3");
    m.leaveBox(TemplateBox::HNum);
    for (auto [box, value] : {std::pair{TemplateBox::HSize, 1750}, {TemplateBox::HSpace, 250},
                              {TemplateBox::VNum, 3}, {TemplateBox::VSize, 2750}, {TemplateBox::VSpace, 375}})
        m.setSpinner(box, value);
    ASSERT_TRUE(m.saveVisible());
    m.save();
    EXPECT_EQ(host.messages,
              (std::vector<std::string>{
                  "Template 'A' has the same dimensions as the one you're saving."}));
    EXPECT_TRUE(host.defaults.empty() && host.questions.empty()); // no input box, no question
    EXPECT_EQ(m.selectedIndex(), 1);
    EXPECT_FALSE(m.saveVisible());
    EXPECT_EQ(ReadBytes(file()), stored);
}

TEST_F(Manager, SaveLeavesTheBuiltInOutsideBothSearches)
{
    TemplateManager m = open("<Default>");
    host.texts = {"<Default>"};
    m.save(); // the built-in's own dimensions, under its own name
    EXPECT_TRUE(host.messages.empty());
    EXPECT_TRUE(host.questions.empty());
    EXPECT_EQ(ReadBytes(file()), "\"<Default>\",3,1.75,0.25,3,2.75,0.375\r\n");
    // The built-in is still the one found first.
    EXPECT_EQ(open("<Default>").selectedIndex(), 0);
}

TEST_F(Manager, DeleteMovesTheSelectionAndRewritesTheFile)
{
    TemplateManager m = open("C", "\"A\",1,1,1,1,1,1\r\n\"B\",2,2,2,2,2,2\r\n\"C\",3,3,3,3,3,3\r\n");
    m.deleteSelected(); // C was last: the selection goes to the new last line
    EXPECT_EQ(Names(m), (std::vector<std::string>{"<Default>", "A", "B"}));
    EXPECT_EQ(m.box(TemplateBox::HNum).Text, "2"); // B's boxes
    m.select(1);
    m.deleteSelected(); // stays at index 1, now B
    EXPECT_EQ(m.selectedIndex(), 1);
    EXPECT_EQ(ReadBytes(file()), "\"B\",2,2,2,2,2,2\r\n");
    m.deleteSelected();
    EXPECT_FALSE(std::filesystem::exists(file()));
    EXPECT_EQ(open("<Default>").templates().size(), 1u);
}

TEST_F(Manager, SheetIsToScaleAndTheRatioPicksTheLongSide)
{
    TemplateManager m = open("<Default>");
    const TemplateLayout &L = m.layout();
    ASSERT_TRUE(L.Drawn);
    EXPECT_EQ(L.Sheet.Height, 440);
    EXPECT_EQ(L.Sheet.Width, 282); // 5.75 / 9 x 438 + 2 = 281.83
    EXPECT_EQ(L.CardWidthPx, 85);  // 1.75 / 5.75 x 280
    EXPECT_EQ(L.CardHeightPx, 134);
    EXPECT_EQ(L.GapVPx, 18);
    ASSERT_EQ(L.Cards.size(), 9u);
    EXPECT_EQ(L.Cards[1].Left - L.Sheet.Left, 97); // 280 x 2 / 5.75 = 97.39
    EXPECT_EQ(L.Cards[3].Top - L.Sheet.Top, 152);  // 438 x 3.125 / 9 = 152.08
    EXPECT_EQ(L.HSize.Y, L.Sheet.Bottom() + 7);
    EXPECT_EQ(L.VSize.X, L.Sheet.Right() + 5);

    // 8.5 across by 5 + 1 + 5 = 11 down, exactly 11 to 8.5, still takes the height branch.
    TemplateManager w = open("Letter", "\"Letter\",1,8.5,1,2,5,1\r\n\"Wider\",1,8.5,1,2,4.999,1\r\n");
    EXPECT_EQ(w.layout().Sheet.Height, 440);
    EXPECT_EQ(w.layout().Sheet.Width, 340); // 8.5 / 11 x 438 + 2 = 340.45
    w.select(2);
    EXPECT_EQ(w.layout().Sheet.Width, 340);
    EXPECT_EQ(w.layout().Sheet.Height, 439); // 10.998 / 8.5 x 338 + 2 = 439.3
    EXPECT_EQ(w.layout().VSize.Text, "10.998\"");
}

TEST_F(Manager, DimensionMarksFollowTheField)
{
    TemplateManager m = open("<Default>");
    m.setLeaderAnchors({{{10, 500}, {60, 500}, {400, 100}, {400, 150}}});
    const PixelRect sheet = m.layout().Sheet;
    const PixelRect card = m.layout().Cards[0];
    ASSERT_EQ(m.marks().Brackets.size(), 6u); // the two sheet brackets with their ticks
    const PixelLine right = m.marks().Brackets[0];
    EXPECT_EQ(right.X1, sheet.Right() + 10);
    EXPECT_EQ(right.Y2 - right.Y1, sheet.Height);

    m.focusBox(TemplateBox::HSize);
    ASSERT_EQ(m.marks().Brackets.size(), 9u);
    const PixelLine above = m.marks().Brackets[6];
    EXPECT_EQ(above.Y1, card.Top - 10);
    EXPECT_EQ(above.X2, card.Right());
    EXPECT_EQ(m.marks().Leader.X2, (card.Left + card.Right()) / 2);

    m.focusBox(TemplateBox::VSpace);
    const PixelLine gap = m.marks().Brackets[6];
    EXPECT_EQ(gap.X1, card.Left - 10);
    EXPECT_EQ(gap.Y1, card.Bottom());
    EXPECT_EQ(gap.Y2 - gap.Y1, m.layout().GapVPx);

    m.stepUp(TemplateBox::HSpace);
    EXPECT_EQ(m.marks().Field, DimensionField::HSpace);
}
