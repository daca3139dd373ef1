#include "settings/settingsstore.h"
#include "shell/commondialogs.h"
#include "shell/compositeview.h"
#include "shell/mainwindow.h"
#include "shell/previewform.h"
#include "shell/writecompositecommand.h"

#include "reports/sampleline.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QTabBar>
#include <QTemporaryDir>
#include <QToolButton>

#include <gtest/gtest.h>

#include <deque>

using namespace velmara;
using namespace velmara::testing;

namespace {

void ensureApplication()
{
    if (QApplication::instance() == nullptr) {
        static int argc = 1;
        static char name[] = "test_shell";
        static char *argv[] = {name, nullptr};
        new QApplication(argc, argv);
    }
}

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Answers the save dialog from a queue; an empty queue is Cancel.
class ScriptedChooser : public FileChooser
{
public:
    std::deque<Choice> answers;
    std::vector<Request> requests;
    std::vector<QString> replaceAsked;
    bool replace = true;

    std::optional<Choice> chooseSaveName(QWidget *, const Request &request) override
    {
        requests.push_back(request);
        if (answers.empty())
            return std::nullopt;
        Choice c = answers.front();
        answers.pop_front();
        return c;
    }
    bool confirmReplace(QWidget *, const QString &, const QString &path) override
    {
        replaceAsked.push_back(path);
        return replace;
    }
};

// A main window with three sample cards, 1 and 3 scanned, in the composite view.
class WriteCompositeTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ensureApplication();
        ASSERT_TRUE(dir.isValid());
        QStringList paths;
        for (int i = 1; i <= 3; ++i) {
            const QString name = QStringLiteral("card%1.bmp").arg(i, 2, 10, QLatin1Char('0'));
            ASSERT_TRUE(QFile::copy(QStringLiteral(VELMARA_SOURCE_DIR "/samples/") + name, dir.filePath(name)));
            paths << dir.filePath(name);
        }
        store = std::make_unique<SettingsStore>(dir.filePath(QStringLiteral("settings.ini")));
        store->SaveSetting("Prefs", "DefaultRes", "600");
        store->SaveSetting("Prefs", "LogAnalysis", "False");
        ws.TempDir = dir.path().toStdString() + "/";
        window = std::make_unique<MainWindow>(ws, *store, 768);
        window->setMessageHook([this](const QString &text) { messages << text; });
        window->setQuestionHook([this](int, int card, Byte, Byte) {
            questionCards.push_back(card);
            return Answer::Yes;
        });
        ResultsCommandHooks hooks;
        hooks.Files = &chooser;
        hooks.SprayDialog = [this] { return ++sprayShown, sprayAnswer; };
        hooks.AskYesNo = [this](const QString &text) { return asked << text, yes; };
        hooks.CardPositions = [this] { return ++positionsShown, false; };
        window->setResultsCommandHooks(hooks);
        window->resize(1024, 768);
        window->show();
        window->loadChosenFiles(paths);
        for (int card : {1, 3}) {
            window->selectCard(card);
            window->btnScanColour_Click();
            window->btnScan_Click();
        }
        ws.Spray.Sample_Position1 = "-50";
        ws.Spray.Sample_Interval = "10";
        window->CompositeCheck->click();
        ASSERT_TRUE(window->compositeView()->isOn());
        questionCards.clear();
    }

    QString out(const QString &name) const { return dir.filePath(name); }
    void choose(const QString &name, int filter) { chooser.answers.push_back({out(name), filter}); }

    QTemporaryDir dir;
    Workspace ws;
    std::unique_ptr<SettingsStore> store;
    std::unique_ptr<MainWindow> window;
    ScriptedChooser chooser;
    QStringList messages, asked;
    std::vector<int> questionCards;
    int sprayShown = 0, positionsShown = 0;
    bool sprayAnswer = true, yes = true;
};

} // namespace

TEST_F(WriteCompositeTest, YesScansTheCardInPlaceAndTheFileCountsIt)
{
    const QImage before = window->compositeView()->picture().copy();
    choose(QStringLiteral("line.txt"), 1);
    window->btnWriteComposite->click();

    EXPECT_EQ(asked, QStringList{"The following file has not been scanned:\r\rcard02.bmp\r\r"
                                 "Would you like to scan this file?"});
    for (int card : questionCards)
        EXPECT_EQ(card, 2); // the colour questions concern the card being decoded
    ASSERT_TRUE(ws.Card(2).Scanned);
    // The view stayed, and now tells the same line as the file.
    EXPECT_TRUE(window->compositeView()->isOn());
    EXPECT_EQ(window->ImageStrip->count(), 2);
    EXPECT_EQ(window->ImageStrip->currentIndex(), 0);
    EXPECT_GT(ws.LineStats[2].Vmd, 0);
    EXPECT_NE(window->compositeView()->picture(), before);
    const QByteArray text = readAll(out(QStringLiteral("line.txt")));
    EXPECT_TRUE(text.contains("card02.bmp"));
    EXPECT_TRUE(text.contains("Card   Position"));
    EXPECT_TRUE(messages.isEmpty()) << messages.join('|').toStdString();
}

TEST_F(WriteCompositeTest, NoLeavesTheCardOutWithItsNumberSkipped)
{
    yes = false;
    choose(QStringLiteral("line.csv"), 2);
    window->btnWriteComposite->click();
    EXPECT_EQ(asked.size(), 1);
    EXPECT_TRUE(questionCards.empty());
    EXPECT_FALSE(ws.Card(2).Scanned);
    const QByteArray csv = readAll(out(QStringLiteral("line.csv")));
    EXPECT_FALSE(csv.contains("card02.bmp"));
    EXPECT_TRUE(csv.contains("\r\n1,-50,"));
    EXPECT_TRUE(csv.contains("\r\n3,-30,"));
}

TEST_F(WriteCompositeTest, CancelledDialogsWriteNothing)
{
    window->btnWriteComposite->click(); // the save dialog cancelled
    EXPECT_EQ(sprayShown, 0);
    sprayAnswer = false;
    choose(QStringLiteral("line.txt"), 1);
    window->btnWriteComposite->click(); // the spray dialog cancelled
    EXPECT_EQ(sprayShown, 1);
    EXPECT_TRUE(asked.isEmpty());
    EXPECT_FALSE(QFile::exists(out(QStringLiteral("line.txt"))));
    ASSERT_EQ(chooser.requests.size(), 2u);
    const FileChooser::Request &r = chooser.requests.front();
    EXPECT_EQ(r.Title, "Save Analysis Results");
    EXPECT_EQ(r.NameFilters, QStringList({"Text File (*.txt)", "Comma-Separated Values File (*.csv)"}));
    EXPECT_EQ(r.FilterIndex, 1);
    EXPECT_EQ(r.StartFolder, QDir::currentPath());
    EXPECT_TRUE(r.ProposedName.isEmpty());
}

TEST_F(WriteCompositeTest, TheFilterChoosesTheFormAndTxtIsAddedWhateverTheFilter)
{
    yes = false;
    choose(QStringLiteral("named.txt"), 2);
    choose(QStringLiteral("plain"), 2);
    choose(QStringLiteral("columns"), 1);
    for (int i = 0; i < 3; ++i)
        window->btnWriteComposite->click();
    EXPECT_TRUE(readAll(out(QStringLiteral("named.txt"))).contains("Card,Position,VMD"));
    EXPECT_TRUE(readAll(out(QStringLiteral("plain.txt"))).contains("Card,Position,VMD"));
    EXPECT_FALSE(QFile::exists(out(QStringLiteral("plain"))));
    const QByteArray text = readAll(out(QStringLiteral("columns.txt")));
    EXPECT_TRUE(text.contains("Card   Position"));
    EXPECT_FALSE(text.contains("Card,Position"));
}

TEST_F(WriteCompositeTest, ReplacingIsAskedAndNoReturnsToTheDialog)
{
    yes = false;
    QFile old(out(QStringLiteral("kept.txt")));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("old");
    old.close();
    chooser.replace = false;
    choose(QStringLiteral("kept"), 2); // the extension is added before the question
    window->btnWriteComposite->click();
    EXPECT_EQ(chooser.replaceAsked, std::vector<QString>{out(QStringLiteral("kept.txt"))});
    ASSERT_EQ(chooser.requests.size(), 2u);
    EXPECT_EQ(chooser.requests[1].ProposedName, out(QStringLiteral("kept.txt")));
    EXPECT_EQ(chooser.requests[1].FilterIndex, 2);
    EXPECT_EQ(readAll(out(QStringLiteral("kept.txt"))), "old");
    EXPECT_EQ(sprayShown, 0);
}

TEST_F(WriteCompositeTest, FailuresShowTheWarningBox)
{
    yes = false;
    ws.Spray.Sample_Interval = "0";
    choose(QStringLiteral("zero.txt"), 1);
    window->btnWriteComposite->click();
    EXPECT_EQ(messages, QStringList{"There was an error writing the data file.\r\rError: Division by zero"});

    // A missing sampling line brings the position dialog; its Cancel ends the command quietly.
    messages.clear();
    ws.Spray.Sample_Interval.clear();
    choose(QStringLiteral("none.txt"), 1);
    window->btnWriteComposite->click();
    EXPECT_EQ(positionsShown, 1);
    EXPECT_TRUE(messages.isEmpty());
    EXPECT_FALSE(QFile::exists(out(QStringLiteral("none.txt"))));
}

TEST_F(WriteCompositeTest, PrintShowsThePreviewOnlyAfterTheSprayDialog)
{
    int previews = 0;
    ResultsCommandHooks hooks;
    hooks.SprayDialog = [this] { return sprayAnswer; };
    hooks.ShowPreview = [&](frmPreview2 &form) {
        ++previews;
        EXPECT_EQ(form.pagesDrawn().size(), form.cmbPrinters->count() > 0 ? 1u : 0u);
    };
    window->setResultsCommandHooks(hooks);
    sprayAnswer = false;
    window->btnPrint->click();
    EXPECT_EQ(previews, 0);
    sprayAnswer = true;
    window->btnPrint->click();
    EXPECT_EQ(previews, 1);
}

// The command without a window: the plural question and what Yes does to the statistics.
TEST(WriteCompositeRun, PluralQuestionAndTheLineBroughtUpToDate)
{
    ensureApplication();
    QTemporaryDir dir;
    Workspace ws;
    MakeLine(ws, LineSpec{5, 30, "-20", "10"});
    ws.Card(2).Scanned = false;
    ws.Card(4).Scanned = false;
    CalcCompositeAll(ws);
    FillLineStats(ws);
    ws.LineStats[2] = CardStats{};
    ws.LineStats[4] = CardStats{};
    ws.SwathSets[1].Width = 2;

    struct Host : WriteCompositeHost
    {
        ScriptedChooser chooser;
        Workspace *ws = nullptr;
        QStringList asked;
        int refreshed = 0;
        QWidget *owner() override { return nullptr; }
        FileChooser &files() override { return chooser; }
        bool sprayDialog() override { return true; }
        bool askYesNo(const QString &text) override { return asked << text, true; }
        void scanCards(const std::vector<int> &cards) override
        {
            for (int i : cards)
                ws->Card(i).Scanned = true; // the tables stand already
        }
        void refreshView() override { ++refreshed; }
        bool cardPositions() override { return false; }
        void showWarning(const QString &) override {}
    } host;
    host.ws = &ws;
    host.chooser.answers.push_back({dir.filePath(QStringLiteral("r.csv")), 2});

    const WriteCompositeOutcome result = RunWriteComposite(ws, host);
    EXPECT_EQ(host.asked, QStringList{"The following files have not been scanned:\r\rcard2.bmp\rcard4.bmp\r\r"
                                      "Would you like to scan these files?"});
    EXPECT_EQ(result.status, WriteCompositeOutcome::Status::Written);
    EXPECT_EQ(result.format, ResultsFormat::Csv);
    EXPECT_EQ(result.scanned, (std::vector<int>{2, 4}));
    EXPECT_EQ(host.refreshed, 1);
    EXPECT_GT(ws.LineStats[4].Vmd, 0);
    EXPECT_EQ(ws.SwathSets[1].Width, 2); // the width chosen in the view stays
    EXPECT_TRUE(readAll(dir.filePath(QStringLiteral("r.csv"))).contains("\r\n4,10,"));
}
