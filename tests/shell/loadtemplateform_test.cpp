// The template load dialog over the sample sheet (nine cards of the default template at 300 dpi,
// from the top left corner, so the default grid fits it exactly), the cut it makes, and the main
// window's command around it.

#include "shell/loadtemplateform.h"
#include "shell/templatemanagerform.h"
#include "shelltest.h"

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>

using namespace velmara;
using namespace velmara::shelltest;

namespace {

const char *const kSheet = VELMARA_SOURCE_DIR "/samples/sheet/sheet3x3.gif";

class LoadForm : public ::testing::Test
{
protected:
    void SetUp() override
    {
        EnsureApp();
        ASSERT_TRUE(dir.isValid());
        ws.TempDir = dir.path().toStdString() + "/";
    }
    std::unique_ptr<LoadTemplateForm> open(int res = 300, const char *sheet = kSheet, int screen = 768)
    {
        auto form = std::make_unique<LoadTemplateForm>(ws, settings, screen);
        form->TemplateFile = sheet;
        form->Res = res;
        form->setMessageHook([this](const QString &t) { messages << t; });
        form->show();
        WaitFor([&] { return form->pictureLoaded() || !form->loadError().empty(); });
        return form;
    }
    // A press in the middle of cell n.
    static void clickCell(LoadTemplateForm &form, int n)
    {
        const GridCell c = form.grid().cell(n);
        const QPoint p(static_cast<int>(form.grid().inchesToViewX(c.Left + c.Width / 2)),
                       static_cast<int>(form.grid().inchesToViewY(c.Top + c.Height / 2)));
        QTest::mouseClick(form.Picture1, Qt::LeftButton, {}, p);
    }
    static void typeRes(LoadTemplateForm &form, const char *text)
    {
        form.ResCombo->setFocus();
        form.ResCombo->lineEdit()->selectAll();
        QTest::keyClicks(form.ResCombo->lineEdit(), text);
        QTest::keyClick(form.ResCombo->lineEdit(), Qt::Key_Return);
    }

    QTemporaryDir dir;
    Workspace ws;
    MemorySettings settings;
    QStringList messages;
};

} // namespace

// The sheet fills the box at its ratio under the grid's red borders; a click on a cell draws it
// dotted (some border pixels show the scan), a second one solid again.
TEST_F(LoadForm, ActivationShowsTheSheetAndAClickTogglesTheCellUnderIt)
{
    auto form = open();
    ASSERT_TRUE(form->pictureLoaded()) << form->loadError();
    EXPECT_FALSE(form->LoadingLabel->isVisible());
    // 1725 x 2700 pixels: the box keeps its height and takes the sheet's ratio.
    EXPECT_EQ(form->Picture1->size(), QSize(332, 520));
    EXPECT_EQ(form->shownPicture().size(), form->Picture1->size());
    EXPECT_TRUE(form->btnOK->isEnabled());
    const GridCell c5 = form->grid().cell(5);
    const int x = static_cast<int>(std::lround(form->grid().inchesToViewX(c5.Left)));
    const int y0 = static_cast<int>(std::lround(form->grid().inchesToViewY(c5.Top)));
    const auto redOnTheLeftEdge = [&] {
        const QImage shot = form->Picture1->grab().toImage();
        int red = 0;
        for (int y = y0 + 2; y < y0 + 42; ++y)
            red += shot.pixelColor(x, y) == QColor(255, 0, 0);
        return red;
    };
    EXPECT_EQ(redOnTheLeftEdge(), 40);
    clickCell(*form, 5);
    EXPECT_FALSE(form->grid().selected(5));
    EXPECT_TRUE(form->grid().selected(4));
    EXPECT_GT(redOnTheLeftEdge(), 5);
    EXPECT_LT(redOnTheLeftEdge(), 35);
    clickCell(*form, 5);
    EXPECT_TRUE(form->grid().selected(5));
}

TEST_F(LoadForm, ShiftsMoveTheGridByScreenPixelsAndNeverRescaleThePicture)
{
    auto form = open();
    const qint64 cached = form->shownPicture().cacheKey();
    // The grid spans the sheet exactly: any step right or up puts a cell off it.
    QTest::keyClick(form.get(), Qt::Key_Right);
    EXPECT_EQ(form->grid().offsetX(), 1);
    EXPECT_FALSE(form->btnOK->isEnabled());
    form->ShiftButton[4]->click();
    EXPECT_TRUE(form->btnOK->isEnabled());
    QTest::keyClick(form->ResCombo->lineEdit(), Qt::Key_Up); // whatever has the focus
    EXPECT_EQ(form->grid().offsetY(), -1);
    EXPECT_FALSE(form->btnOK->isEnabled());
    form->ShiftButton[3]->click();
    form->ShiftButton[3]->click();
    EXPECT_EQ(form->grid().offsetY(), 1);
    EXPECT_FALSE(form->btnOK->isEnabled()) << "the bottom row now passes the lower edge";
    EXPECT_EQ(form->shownPicture().cacheKey(), cached);
}

// Enter in the resolution box applies the resolution and presses no OK while the box has the
// focus; bad text brings the last value back; a choice from the list applies at once.
TEST_F(LoadForm, EnterInResComboAppliesTheResolutionAndBadTextBringsTheLastBack)
{
    auto form = open();
    form->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    typeRes(*form, "600");
    EXPECT_FALSE(form->btnOK->isDefault());
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->Res, 600);
    EXPECT_FALSE(form->btnOK->isEnabled()) << "at twice the resolution the grid passes the sheet";
    typeRes(*form, "abc");
    EXPECT_EQ(form->ResCombo->currentText(), "600");
    EXPECT_TRUE(messages.isEmpty());
    form->ResCombo->setCurrentIndex(0);
    emit form->ResCombo->activated(0);
    EXPECT_EQ(form->Res, 150);
    EXPECT_TRUE(form->btnOK->isEnabled());
    form->Picture1->setFocus();
    QApplication::processEvents();
    EXPECT_TRUE(form->btnOK->isDefault());
}

TEST_F(LoadForm, TemplatesButtonTakesTheManagersValuesAndSelectsEveryCellAgain)
{
    auto form = open();
    clickCell(*form, 2);
    form->setManagerRunner([](TemplateManagerForm &manager) {
        EXPECT_EQ(manager.comboTemplates->currentText(), "<Default>");
        manager.spinDown(TemplateBox::HNum)->click();
        manager.btnAccept->click();
    });
    form->btnTemplates->click();
    EXPECT_EQ(std::tuple(form->TemplateNumH, form->TemplateName, form->grid().cellCount()), std::tuple(2, "<No Name>", 6));
    EXPECT_TRUE(form->grid().selected(2));

    clickCell(*form, 1);
    form->setManagerRunner([](TemplateManagerForm &manager) {
        // The load dialog's "<No Name>" is not in the list: it stands there in memory.
        EXPECT_EQ(manager.comboTemplates->currentText(), "<No Name>");
        manager.spinDown(TemplateBox::VNum)->click();
        manager.btnCancel->click();
    });
    form->btnTemplates->click();
    EXPECT_EQ(form->TemplateNumV, 3);
    EXPECT_TRUE(form->grid().selected(1)) << "also after Cancel";
}

TEST_F(LoadForm, OkCutsEachSelectedCellWithTheBlueMarkAndStoresTheTemplate)
{
    ws.LastClipIndex = 4;
    auto form = open();
    clickCell(*form, 3);
    std::vector<std::pair<int, int>> marked; // card added, cell marked at that moment
    form->setCardAddedHook([&](int card) { marked.emplace_back(card, form->cellInWork()); });
    form->btnOK->click();
    EXPECT_EQ(form->result(), QDialog::Accepted);
    ASSERT_EQ(ws.CardCount(), 8);
    EXPECT_EQ(marked, (std::vector<std::pair<int, int>>{{1, 1}, {2, 2}, {3, 4}, {4, 5}, {5, 6}, {6, 7}, {7, 8}, {8, 9}}));
    EXPECT_EQ(ws.Card(3).FileName, "clip08.bmp") << "the skipped cell keeps its number";
    // A quarter inch less than the cell, at 300 dpi.
    EXPECT_EQ(std::pair(ws.Card(1).WidthPx, ws.Card(1).HeightPx), std::pair(450, 750));
    EXPECT_TRUE(messages.isEmpty()) << messages.join("|").toStdString();
    EXPECT_EQ(settings.GetSetting("Settings", "TemplateSpaceV", ""), "0.375");
}

TEST_F(LoadForm, StoredSettingsOutsideTheirRangesFallBack)
{
    for (const auto &[key, value] : {std::pair{"TemplateName", "Field B"}, {"TemplateNumH", "7"}, {"TemplateNumV", "2"},
                                     {"TemplateSizeH", "abc"}, {"TemplateSizeV", "0"}, {"TemplateSpaceH", "-1"},
                                     {"TemplateSpaceV", "0.5"}})
        settings.SaveSetting("Settings", key, value);
    LoadTemplateForm form(ws, settings, 600);
    EXPECT_EQ(form.TemplateName, "Field B");
    EXPECT_EQ(std::tuple(form.TemplateNumH, form.TemplateNumV, form.TemplateSizeH, form.TemplateSizeV,
                         form.TemplateSpaceH, form.TemplateSpaceV),
              std::tuple(3, 2, 1.75f, 2.75f, 0.25f, 0.5f));
}

TEST_F(LoadForm, SmallScreenCancelAndUnreadableSheet)
{
    auto small = open(300, kSheet, 600);
    EXPECT_EQ(small->Picture1->height(), 450);
    QTest::keyClick(small.get(), Qt::Key_Escape);
    EXPECT_EQ(small->result(), QDialog::Rejected);
    EXPECT_EQ(ws.CardCount() + ws.LastClipIndex, 0) << "Cancel cuts nothing";
    EXPECT_TRUE(settings.Writes().empty());

    const QByteArray notAPicture = dir.filePath("sheet.bmp").toLocal8Bit();
    ASSERT_TRUE(WriteFile(QString::fromLocal8Bit(notAPicture), "not a picture"));
    auto form = open(300, notAPicture.constData());
    EXPECT_FALSE(form->loadError().empty());
    EXPECT_TRUE(WaitFor([&] { return !form->isVisible(); }));
    EXPECT_EQ(form->result(), QDialog::Rejected);
}

// The main window's command: the dialog is driven while it runs modally.
TEST_F(LoadForm, MainWindowAddsTheClipsUnsortedAndShowsTheLast)
{
    auto store = std::make_unique<SettingsStore>(dir.filePath(QStringLiteral("settings.ini")));
    store->SaveSetting("Prefs", "DefaultRes", "300");
    MainWindow window(ws, *store, 768);
    QStringList windowMessages;
    window.setMessageHook([&](const QString &t) { windowMessages << t; });
    window.show();
    QDir sheets(dir.filePath(QStringLiteral("sheets")));
    ASSERT_TRUE(sheets.mkpath(QStringLiteral(".")));
    ASSERT_TRUE(QFile::copy(QString::fromLatin1(kSheet), sheets.filePath(QStringLiteral("sheet3x3.gif"))));

    bool driven = false;
    QTimer::singleShot(0, [&] {
        auto *form = qobject_cast<LoadTemplateForm *>(QApplication::activeModalWidget());
        if (!form || !WaitFor([&] { return form->pictureLoaded(); })) {
            ADD_FAILURE() << "no load dialog with its sheet";
            if (QWidget *modal = QApplication::activeModalWidget())
                modal->close();
            return;
        }
        EXPECT_EQ(form->Res, 300);
        clickCell(*form, 1);
        driven = true;
        form->btnOK->click();
    });
    window.loadTemplateSheet(sheets.filePath(QStringLiteral("sheet3x3.gif")));
    EXPECT_TRUE(driven);
    ASSERT_EQ(ws.CardCount(), 8);
    EXPECT_EQ(Control<QTabBar>(window, "ImageStrip")->tabText(0), "clip02.bmp");
    EXPECT_EQ(Control<QTabBar>(window, "ImageStrip")->currentIndex(), 7);
    EXPECT_EQ(ws.InitialDir, sheets.absolutePath().toStdString() + "/");
    EXPECT_EQ(store->GetSetting("Settings", "TemplateNumH", ""), "3");
    EXPECT_TRUE(windowMessages.isEmpty()) << windowMessages.join("|").toStdString();

    // A sheet that cannot be read: "Error: " and the reason, then as after Cancel.
    const QString bad = sheets.filePath(QStringLiteral("bad.gif"));
    ASSERT_TRUE(WriteFile(bad, "GIF89a"));
    window.loadTemplateSheet(bad);
    ASSERT_EQ(windowMessages.size(), 1);
    EXPECT_TRUE(windowMessages[0].startsWith("Error: ")) << windowMessages[0].toStdString();
    EXPECT_EQ(std::pair(ws.CardCount(), ws.CurrentCard), std::pair(8, 8));
}
