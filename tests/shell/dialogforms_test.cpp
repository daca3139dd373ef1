// The Qt dialogs drive their rules: keys typed into the boxes, Enter, and the holders afterwards.

#include "shell/cardposform.h"
#include "shell/prefsform.h"
#include "shell/resolutionform.h"
#include "shell/sprayinfoform.h"
#include "shelltest.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>

using namespace velmara;
using namespace velmara::shelltest;

namespace {

Workspace ThreeCards()
{
    Workspace ws;
    const char *names[] = {"north_01.bmp", "north_02.bmp", "north_03_long_name.bmp"};
    for (const char *n : names) {
        CardImage &card = ws.Card(ws.AppendCard());
        card.FileName = n;
        card.WidthPx = 1000;
        card.HeightPx = 1000;
        card.Dpi = 1200;
    }
    ws.Card(2).Scanned = true;
    return ws;
}

struct DialogForms : ::testing::Test
{
    void SetUp() override { EnsureApp(); }
    Workspace ws = ThreeCards();
    MemorySettings store;
};

} // namespace

TEST_F(DialogForms, SprayFormFiltersTypedKeysAndEnterStoresTheLine)
{
    SprayInfoForm form(ws, store);
    form.show();
    QLineEdit *position = form.box(SprayField::Sample_Position1);
    QTest::keyClicks(position, "12.5");
    QTest::keyClick(position, Qt::Key_Minus);
    QTest::keyClick(position, Qt::Key_Backspace); // dropped by the filter
    EXPECT_EQ(position->text(), "-12.5");
    QLineEdit *interval = form.box(SprayField::Sample_Interval);
    QTest::keyClicks(interval, "-1x0");
    EXPECT_EQ(interval->text(), "10") << "no sign, no letters in the separation";
    QTest::keyClicks(form.box(SprayField::AC_Type), "Biplane");
    // A spread box keeps its typed limit, but the sign still toggles.
    QLineEdit *spread = form.spreadBox(0);
    spread->clear();
    QTest::keyClicks(spread, "1234567");
    QTest::keyClick(spread, Qt::Key_Minus);
    EXPECT_EQ(spread->text(), "-123456");
    QTest::keyClick(interval, Qt::Key_Return);
    EXPECT_EQ(form.result(), QDialog::Accepted);
    EXPECT_TRUE(form.Accept());
    EXPECT_EQ(ws.Spray.Sample_Position1, "-12.5");
    EXPECT_EQ(ws.Spray.Sample_Interval, "10");
    EXPECT_EQ(ws.Spray.AC_Type, "Biplane");
    EXPECT_EQ(store.GetSetting("SprayInfo", "Sample_Interval", ""), "10");
}

TEST_F(DialogForms, PrefsFormFollowsTheResolutionAndAcceptsByEnter)
{
    frmPrefs form(ws, store);
    form.show();
    EXPECT_EQ(form.conversionLabel()->text(), QString::fromUtf8("= 21.17 \u00b5m/pixel"));
    QLineEdit *res = form.resCombo()->lineEdit();
    res->selectAll();
    QTest::keyClicks(res, "600");
    EXPECT_EQ(form.conversionLabel()->text(), QString::fromUtf8("= 42.33 \u00b5m/pixel"));
    form.logCheck()->setChecked(false);
    EXPECT_FALSE(form.viewSprayButton()->isEnabled());
    QLineEdit *hues = form.huesBox();
    hues->selectAll();
    QTest::keyClicks(hues, "2500");
    EXPECT_EQ(hues->text(), "250");
    QTest::keyClick(hues, Qt::Key_Return);
    EXPECT_EQ(form.result(), QDialog::Accepted);
    EXPECT_EQ(ws.DefaultRes, 600);
    EXPECT_FALSE(ws.LogAnalysis);
    EXPECT_EQ(ws.HueThreshold, 250) << "Enter skips the leave rule that would make it 100";
}

TEST_F(DialogForms, ResolutionFormTypedDigitEditsTheCell)
{
    ws.CurrentCard = 2;
    frmResolution form(ws, nullptr);
    form.show();
    QTest::keyClick(form.grid(), Qt::Key_7);
    ASSERT_TRUE(form.cellEdit()->isVisible());
    EXPECT_EQ(form.cellEdit()->text(), "7");
    QTest::keyClicks(form.cellEdit(), "50");
    QTest::keyClick(form.cellEdit(), Qt::Key_Return);
    EXPECT_FALSE(form.cellEdit()->isVisible());
    EXPECT_EQ(form.grid()->item(1, 1)->text(), "750");
    EXPECT_EQ(form.grid()->item(1, 0)->foreground().color(), QColor(255, 0, 0));

    QTest::keyClick(form.grid(), Qt::Key_Return);
    ASSERT_TRUE(form.cellEdit()->isVisible());
    QTest::keyClick(form.cellEdit(), Qt::Key_Escape);
    EXPECT_TRUE(form.isVisible()) << "Esc ends the edit, not the dialog";
    EXPECT_FALSE(form.cellEdit()->isVisible());
    EXPECT_EQ(form.grid()->item(1, 1)->text(), "750");
}

TEST_F(DialogForms, ResolutionFormAcceptScansTheMarkedCardsOnYes)
{
    std::vector<int> rescanned{-1};
    bool asked = false;
    ws.CurrentCard = 2;
    frmResolution second(ws, [&](const std::vector<int> &cards) { rescanned = cards; });
    second.setRescanAnswer([&] {
        asked = true;
        return true;
    });
    second.show();
    QTest::keyClick(second.grid(), Qt::Key_3);
    QTest::keyClick(second.cellEdit(), Qt::Key_Return);
    QTest::mouseClick(second.acceptButton(), Qt::LeftButton);
    EXPECT_TRUE(asked);
    EXPECT_EQ(rescanned, std::vector<int>{2});
    EXPECT_EQ(ws.Card(2).Dpi, 3);
    EXPECT_EQ(ws.Card(1).Dpi, 1200);
}

TEST_F(DialogForms, CardPosAcceptOnlyIgnoresEscAndClose)
{
    frmCardPos form(ws, store, CardPosMode::AcceptOnly);
    form.show();
    EXPECT_EQ(form.grid()->item(2, 1)->text(), "-30");
    QTest::keyClick(&form, Qt::Key_Escape);
    form.close();
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(form.cancelButton()->isEnabled());
    QLineEdit *spacing = form.input(2);
    spacing->selectAll();
    QTest::keyClicks(spacing, "2.5");
    QTest::keyClick(spacing, Qt::Key_Return);
    EXPECT_EQ(form.result(), QDialog::Accepted);
    EXPECT_EQ(ws.Spray.Sample_Interval, "2.5");
    EXPECT_FLOAT_EQ(ws.Card(3).Position, -45.0f);
}

TEST_F(DialogForms, CardPosNoCancelStillClosesByTheFrameAsCancel)
{
    frmCardPos form(ws, store, CardPosMode::NoCancel);
    form.show();
    QTest::keyClick(&form, Qt::Key_Escape);
    EXPECT_TRUE(form.isVisible());
    form.close();
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(form.result(), QDialog::Rejected);
    EXPECT_TRUE(ws.Spray.Sample_Position1.empty());
    EXPECT_TRUE(store.Writes().empty());
}
