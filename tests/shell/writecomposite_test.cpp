#include "reports/sampleline.h"
#include "shell/commondialogs.h"
#include "shell/compositeview.h"
#include "shell/previewform.h"
#include "shell/writecompositecommand.h"
#include "shelltest.h"
#include "support/scriptedchooser.h"

#include <QCheckBox>
#include <QDir>
#include <QToolButton>

using namespace velmara;
using namespace velmara::testing;
using namespace velmara::shelltest;

namespace {

// A main window with three sample cards, 1 and 3 scanned, in the composite view.
class WriteCompositeTest : public WindowFixture
{
protected:
    void SetUp() override
    {
        openWindow(3);
        ResultsCommandHooks hooks;
        hooks.Files = &chooser;
        hooks.SprayDialog = [this] { return ++sprayShown, sprayAnswer; };
        hooks.AskYesNo = [this](const QString &text) { return asked << text, yes; };
        hooks.CardPositions = [this] { return ++positionsShown, false; };
        window->setResultsCommandHooks(hooks);
        loadCards(3);
        decodeAndScan({1, 3});
        ws.Spray.Sample_Position1 = "-50";
        ws.Spray.Sample_Interval = "10";
        ctl<QCheckBox>("CompositeCheck")->click();
        ASSERT_TRUE(window->compositeView()->isOn());
    }

    QString out(const QString &name) const { return dir.filePath(name); }
    void choose(const QString &name, int filter) { chooser.answers.push_back({out(name), filter}); }

    ScriptedChooser chooser;
    QStringList asked;
    int sprayShown = 0, positionsShown = 0;
    bool sprayAnswer = true, yes = true;
};

} // namespace

TEST_F(WriteCompositeTest, NoLeavesTheCardOutAndYesScansItInPlace)
{
    yes = false;
    choose(QStringLiteral("line.csv"), 2);
    ctl<QToolButton>("btnWriteComposite")->click();
    EXPECT_FALSE(ws.Card(2).Scanned);
    const QByteArray csv = ReadAll(out(QStringLiteral("line.csv")));
    EXPECT_FALSE(csv.contains("card02.bmp"));
    EXPECT_TRUE(csv.contains("\r\n1,-50,") && csv.contains("\r\n3,-30,")); // numbers keep the gap

    yes = true;
    ws.SwathSets[1].Width = 1; // a width chosen in the view
    const QImage before = window->compositeView()->picture().copy();
    choose(QStringLiteral("line.txt"), 1);
    ctl<QToolButton>("btnWriteComposite")->click();
    const QString question = "The following file has not been scanned:\r\rcard02.bmp\r\rWould you like to scan this file?";
    EXPECT_EQ(asked, QStringList({question, question}));
    ASSERT_TRUE(ws.Card(2).Scanned);
    // The view stayed, and now tells the same line as the file.
    EXPECT_TRUE(window->compositeView()->isOn());
    EXPECT_GT(ws.LineStats[2].Vmd, 0);
    EXPECT_EQ(ws.SwathSets[1].Width, 1);
    EXPECT_NE(window->compositeView()->picture(), before);
    const QByteArray text = ReadAll(out(QStringLiteral("line.txt")));
    EXPECT_TRUE(text.contains("card02.bmp") && text.contains("Card   Position"));
    EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
}

TEST_F(WriteCompositeTest, CancelsWriteNothingAndTheFilterChoosesTheForm)
{
    ctl<QToolButton>("btnWriteComposite")->click(); // the save dialog cancelled
    EXPECT_EQ(sprayShown, 0);
    ASSERT_EQ(chooser.requests.size(), 1u);
    EXPECT_EQ(chooser.requests.front().NameFilters, QStringList({"Text File (*.txt)", "Comma-Separated Values File (*.csv)"}));
    sprayAnswer = false;
    choose(QStringLiteral("line.txt"), 1);
    ctl<QToolButton>("btnWriteComposite")->click(); // the spray dialog cancelled
    EXPECT_TRUE(asked.isEmpty());
    EXPECT_FALSE(QFile::exists(out(QStringLiteral("line.txt"))));

    sprayAnswer = true;
    yes = false;
    choose(QStringLiteral("plain"), 2);
    choose(QStringLiteral("columns"), 1);
    for (int i = 0; i < 2; ++i)
        ctl<QToolButton>("btnWriteComposite")->click();
    EXPECT_TRUE(ReadAll(out(QStringLiteral("plain.txt"))).contains("Card,Position,VMD"));
    const QByteArray text = ReadAll(out(QStringLiteral("columns.txt")));
    EXPECT_TRUE(text.contains("Card   Position") && !text.contains("Card,Position"));

    // Replacing is asked for the name with its extension; No goes back to the dialog.
    chooser.replace = false;
    choose(QStringLiteral("plain"), 2);
    ctl<QToolButton>("btnWriteComposite")->click();
    EXPECT_EQ(chooser.replaceAsked, std::vector<QString>{out(QStringLiteral("plain.txt"))});
    EXPECT_EQ(chooser.requests.back().ProposedName, out(QStringLiteral("plain.txt")));
    EXPECT_EQ(chooser.requests.back().FilterIndex, 2);
}

TEST_F(WriteCompositeTest, FailureBoxAndAMissingLine)
{
    yes = false;
    ws.Spray.Sample_Interval = "0";
    choose(QStringLiteral("zero.txt"), 1);
    ctl<QToolButton>("btnWriteComposite")->click();
    EXPECT_EQ(messages, QStringList{"There was an error writing the data file.\r\rError: Division by zero"});

    // The position dialog comes up; its Cancel ends the command quietly.
    messages.clear();
    ws.Spray.Sample_Interval.clear();
    choose(QStringLiteral("none.txt"), 1);
    ctl<QToolButton>("btnWriteComposite")->click();
    EXPECT_EQ(positionsShown, 1);
    EXPECT_TRUE(messages.isEmpty());
    EXPECT_FALSE(QFile::exists(out(QStringLiteral("none.txt"))));
}

TEST(WriteCompositeQuestion, SeveralCardsAreListed)
{
    Workspace ws;
    MakeLine(ws, LineSpec{5, 3, "-20", "10"});
    EXPECT_EQ(UnscannedCardsQuestion(ws, {2, 4}), "The following files have not been scanned:\r\rcard2.bmp\r"
                                                  "card4.bmp\r\rWould you like to scan these files?");
}
