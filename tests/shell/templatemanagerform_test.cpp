// The template manager dialog drives its rules: typed keys, arrows, focus, Save, the Delete key
// and Accept, and the sheet it paints.

#include "shell/templatemanagerform.h"
#include "shelltest.h"
#include "support/scriptedtemplatehost.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

using namespace velmara;
using namespace velmara::shelltest;

namespace {

class ManagerForm : public ::testing::Test
{
protected:
    void SetUp() override
    {
        EnsureApp();
        ASSERT_TRUE(dir.isValid());
    }
    std::string tempDir() const { return dir.path().toStdString() + "/"; }
    QString file() const { return dir.filePath(QStringLiteral("templates.dat")); }
    std::unique_ptr<TemplateManagerForm> open(const CardTemplate &current = DefaultTemplate())
    {
        auto form = std::make_unique<TemplateManagerForm>(tempDir(), current, &host);
        form->show();
        QApplication::processEvents();
        return form;
    }
    static QString text(TemplateManagerForm &f, TemplateBox b) { return f.box(b)->text(); }
    // Replaces the text of a box as the user would, then leaves it with Tab.
    static void retype(TemplateManagerForm &f, TemplateBox b, const char *typed)
    {
        QLineEdit *box = f.box(b);
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, typed);
        QTest::keyClick(box, Qt::Key_Tab);
    }

    QTemporaryDir dir;
    ScriptedTemplateHost host;
};

} // namespace

TEST_F(ManagerForm, OpensOnTheDefaultAndDrawsTheSheetToScale)
{
    auto form = open();
    EXPECT_FALSE(form->btnSave->isVisible());
    EXPECT_EQ(form->lblHSize->text(), " 5.75\" ");
    EXPECT_EQ(form->lblVSize->text(), "9.0\"");

    // The sheet's grey shows in the gaps and its cards are white.
    const TemplateLayout &L = form->rules().layout();
    const QImage shot = form->grab().toImage();
    const PixelRect &c1 = L.Cards[0];
    EXPECT_EQ(shot.pixelColor(c1.Right() + L.GapHPx / 2, c1.Top + 20), QColor(224, 224, 224));
    EXPECT_EQ(shot.pixelColor(c1.Left + c1.Width / 2, c1.Top + c1.Height / 2), QColor(Qt::white));
    // The label breaks the bracket under the sheet: its middle is not drawn over.
    EXPECT_TRUE(form->lblHSize->geometry().contains(L.HSize.X, L.Sheet.Bottom() + 10));
}

// Keys reach the rules: letters and a second point are filtered, the arrows and spinners step,
// and one card across disables its gap.
TEST_F(ManagerForm, TypedKeysArrowsAndSpinnersReachTheRules)
{
    auto form = open();
    retype(*form, TemplateBox::HNum, "x2.");
    EXPECT_EQ(text(*form, TemplateBox::HNum), "2") << "no letters and no point in a count";
    EXPECT_TRUE(form->btnSave->isVisible());
    QTest::keyClick(form->box(TemplateBox::HSize), Qt::Key_Up);
    EXPECT_EQ(text(*form, TemplateBox::HSize), "2");
    form->spinDown(TemplateBox::HNum)->click();
    QTest::keyClick(form->box(TemplateBox::HNum), Qt::Key_Down);
    EXPECT_EQ(text(*form, TemplateBox::HNum), "1");
    EXPECT_FALSE(form->box(TemplateBox::HSpace)->isEnabled());
    EXPECT_FALSE(form->spinUp(TemplateBox::HSpace)->isEnabled());
}

TEST_F(ManagerForm, FocusDrawsTheMarksOfItsBoxWithALeaderFromIt)
{
    auto form = open();
    form->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    const struct {
        TemplateBox box;
        DimensionField field;
        bool below; // the leader starts below the box, else right of its spinner
    } cases[] = {{TemplateBox::HSpace, DimensionField::HSpace, true}, {TemplateBox::VSize, DimensionField::VSize, false}};
    for (const auto &c : cases) {
        form->box(c.box)->setFocus();
        QApplication::processEvents();
        const DimensionMarks &marks = form->rules().marks();
        EXPECT_EQ(marks.Field, c.field);
        ASSERT_TRUE(marks.HasLeader);
        const QRect g = form->box(c.box)->geometry();
        if (c.below) {
            EXPECT_EQ(marks.Leader.Y1, g.bottom() + 1);
            EXPECT_EQ(marks.Leader.X1, g.center().x() + 1);
        } else {
            EXPECT_EQ(marks.Leader.X1, form->spinUp(c.box)->geometry().right() + 1);
            EXPECT_NEAR(marks.Leader.Y1, g.center().y(), 1);
        }
        // Painted: the leader ends on the middle of a bracket drawn along the first card.
        const QImage shot = form->grab().toImage();
        const int along = c.below ? 0 : 1;
        EXPECT_EQ(shot.pixelColor(marks.Leader.X2 + 2 * (1 - along), marks.Leader.Y2 + 2 * along),
                  QColor(Qt::black));
    }
    // The list shows the sheet's brackets alone.
    form->comboTemplates->setFocus();
    QApplication::processEvents();
    EXPECT_FALSE(form->rules().marks().HasLeader);
    EXPECT_EQ(form->rules().marks().Brackets.size(), 6u);
}

TEST_F(ManagerForm, SaveNamesAndWritesThenDeleteKeyRemovesTheFile)
{
    auto form = open();
    retype(*form, TemplateBox::HNum, "2");
    ASSERT_TRUE(form->btnSave->isVisible());
    host.texts = {"this name is far too long", "  Field A "};
    form->btnSave->click();
    EXPECT_EQ(host.prompts.size(), 2u) << "a refused name asks again without a message";
    EXPECT_TRUE(host.messages.empty());
    EXPECT_EQ(ReadAll(file()), QByteArray("\"Field A\",2,1.75,0.25,3,2.75,0.375\r\n"));
    ASSERT_EQ(form->comboTemplates->count(), 2);
    EXPECT_EQ(form->comboTemplates->currentText(), "Field A");
    EXPECT_FALSE(form->btnSave->isVisible());

    // The Delete key on the default does nothing; on a stored template it asks first.
    form->comboTemplates->setCurrentIndex(0);
    QTest::keyClick(form->comboTemplates, Qt::Key_Delete);
    EXPECT_TRUE(host.questions.empty());
    form->comboTemplates->setCurrentIndex(1);
    host.yes = false;
    QTest::keyClick(form->comboTemplates, Qt::Key_Delete);
    EXPECT_EQ(form->comboTemplates->count(), 2);
    host.yes = true;
    QTest::keyClick(form->comboTemplates, Qt::Key_Delete);
    EXPECT_EQ(host.questions.back(), "Are you sure you want to delete this template?");
    EXPECT_EQ(form->comboTemplates->count(), 1);
    EXPECT_FALSE(QFile::exists(file()));
}

TEST_F(ManagerForm, AcceptHandsOverTheBoxesAndCancelNothing)
{
    {
        auto form = open();
        retype(*form, TemplateBox::VSpace, "0.5");
        form->btnAccept->click();
        ASSERT_TRUE(form->accepted().has_value());
        EXPECT_EQ(form->accepted()->SpaceV, 0.5f);
    }
    ASSERT_TRUE(WriteFile(file(), "\"Field A\",2,1.75,0.25,3,2.75,0.375\r\n"));
    {
        auto form = open(CardTemplate{"Field A", 1, 1, 1, 1, 1, 1});
        EXPECT_EQ(form->comboTemplates->currentText(), "Field A");
        EXPECT_EQ(text(*form, TemplateBox::HNum), "2") << "the stored values, not the load dialog's";
        form->btnAccept->click();
        EXPECT_EQ(form->accepted()->Name, "Field A");
    }
    {
        auto form = open();
        retype(*form, TemplateBox::HNum, "5");
        QTest::keyClick(form.get(), Qt::Key_Escape);
        EXPECT_EQ(form->result(), QDialog::Rejected);
        EXPECT_FALSE(form->accepted().has_value());
    }
}
