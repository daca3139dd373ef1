// The dialogs as a person uses them: shown, opened from the main window where it opens them, keys
// typed one by one on the focused control with the event loop running in between, and what the
// boxes, the grid, the message boxes and the store show afterwards.

#include "shell/cardposform.h"
#include "shell/colourquestionform.h"
#include "shell/loadtemplateform.h"
#include "shell/prefsform.h"
#include "shell/resolutionform.h"
#include "shell/sprayinfoform.h"
#include "shell/templatemanagerform.h"
#include "shelltest.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>

#include <functional>
#include <tuple>

using namespace velmara;
using namespace velmara::shelltest;

namespace {

void Settle() { QTest::qWait(10); }

QWidget *Focused() { return QApplication::focusWidget(); }
// Where a key goes: the focused control, or the active window when none has the focus.
QWidget *Target() { return Focused() ? Focused() : QApplication::activeWindow(); }

// Keys as typed: 'E' Enter, 'X' Esc, 'T' Tab, 'U' Up, 'B' Backspace, 'D' Delete as X11 sends it
// (the key with the text DEL); anything else is the character itself.
void Type(const char *keys)
{
    for (const char *k = keys; *k; ++k) {
        if (!Target()) {
            ADD_FAILURE() << "no window takes the keys from " << k;
            return;
        }
        switch (*k) {
        case 'E': QTest::keyClick(Target(), Qt::Key_Return); break;
        case 'X': QTest::keyClick(Target(), Qt::Key_Escape); break;
        case 'T': QTest::keyClick(Target(), Qt::Key_Tab); break;
        case 'U': QTest::keyClick(Target(), Qt::Key_Up); break;
        case 'B': QTest::keyClick(Target(), Qt::Key_Backspace); break;
        case 'D':
            QTest::sendKeyEvent(QTest::Press, Target(), Qt::Key_Delete, QString(QChar(127)), {});
            QTest::sendKeyEvent(QTest::Release, Target(), Qt::Key_Delete, QString(QChar(127)), {});
            break;
        default: QTest::keyClick(Target(), *k); break;
        }
        Settle();
    }
}

// Runs act on the next modal window of type T once it has the focus, from inside its own event
// loop. A window that never comes is a failure, and a modal window left open after three seconds
// is closed so that the test ends.
template <typename T>
void WhenModal(std::function<void(T &)> act)
{
    auto *timer = new QTimer;
    auto ticks = std::make_shared<int>(0);
    QObject::connect(timer, &QTimer::timeout, [timer, act, ticks] {
        auto *modal = qobject_cast<T *>(QApplication::activeModalWidget());
        if (modal && QApplication::activeWindow() == modal) {
            timer->stop();
            timer->deleteLater();
            act(*modal);
        } else if (++*ticks > 300) {
            timer->stop();
            timer->deleteLater();
            ADD_FAILURE() << "no " << T::staticMetaObject.className() << " came";
            if (auto *other = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
                other->reject();
        }
    });
    timer->start(10);
}

// Answers the next message box with OK and keeps its text. The dialog under it becomes active
// again, as a window manager would make it (the offscreen platform leaves no window active).
void AnswerMessage(QString &text)
{
    WhenModal<QMessageBox>([&text](QMessageBox &box) {
        text = box.text();
        QPointer<QWidget> under = box.parentWidget() ? box.parentWidget()->window() : nullptr;
        box.accept();
        QTimer::singleShot(0, [under] {
            if (under)
                under->activateWindow();
        });
    });
}

Workspace ThreeCards()
{
    Workspace ws;
    for (const char *n : {"north_01.bmp", "north_02.bmp", "north_03_long_name.bmp"}) {
        CardImage &card = ws.Card(ws.AppendCard());
        card.FileName = n;
        card.WidthPx = card.HeightPx = 1000;
        card.Dpi = 1200;
    }
    ws.Card(2).Scanned = true;
    ws.CurrentCard = 2;
    return ws;
}

struct DialogForms : ::testing::Test
{
    void SetUp() override { EnsureApp(); }
    // Shows the dialog and waits until it is the active window.
    template <typename T>
    T &shown(std::unique_ptr<T> form)
    {
        T &f = *form;
        owned.reset(form.release());
        f.show();
        f.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&f));
        Settle();
        return f;
    }
    Workspace ws = ThreeCards();
    MemorySettings store;
    std::unique_ptr<QWidget> owned;
};

struct DialogWindow : WindowFixture
{
    void SetUp() override
    {
        openWindow(3);
        loadCards(3);
    }
    // Ctrl and the key, typed into the main window once it is active again.
    void command(Qt::Key key)
    {
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
        QTest::keyClick(Target(), key, Qt::ControlModifier);
    }
};

} // namespace

// Typing into the resolution grid: the digit that starts an edit stays, and after Enter or Esc
// the highlighted row is the row that the next Enter, the arrows and Apply To All work on.
TEST_F(DialogWindow, ResolutionGridTypingThroughCtrlR)
{
    const struct { const char *keys; bool applyToAll; const char *cells[3]; int row; } cases[] = {
        {"1200E", false, {"600", "600", "1200"}, 2},
        {"150EEX", false, {"600", "600", "150"}, 2},  // Enter edits the same row again, Esc ends it
        {"7EU5E", false, {"600", "5", "7"}, 1},       // Up from the last row, not from a wrapped one
        {"2400E", true, {"2400", "2400", "2400"}, 2}, // Apply To All copies the row shown
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.keys);
        bool seen = false;
        WhenModal<frmResolution>([&](frmResolution &form) {
            seen = true;
            Type(c.keys);
            EXPECT_FALSE(form.cellEdit()->isVisible());
            EXPECT_EQ(form.grid()->currentRow(), c.row);
            EXPECT_EQ(form.rules().SelectedRow, c.row);
            if (c.applyToAll)
                QTest::mouseClick(form.applyToAllButton(), Qt::LeftButton);
            for (int r = 0; r < 3; ++r)
                EXPECT_EQ(form.grid()->item(r, 1)->text(), c.cells[r]) << r;
            QTest::mouseClick(form.acceptButton(), Qt::LeftButton);
        });
        command(Qt::Key_R);
        ASSERT_TRUE(seen);
        for (int i = 1; i <= 3; ++i)
            EXPECT_EQ(std::to_string(ws.Card(i).Dpi), c.cells[i - 1]) << i;
        EXPECT_TRUE(window->windowTitle().endsWith(QStringLiteral(" -- %1 dpi").arg(c.cells[2])));
    }
}

// The preferences as a person sets them: leaving the resolution box with text that is no number
// brings the message and the focus back with the text selected; boxes clicked, the COV limit
// typed and a value out of range refused; reopened, the dialog shows them and Cancel drops a
// change; the load command lists the colour formats, and closing the window stores the options.
TEST_F(DialogWindow, PrefsThroughCtrlP)
{
    const auto click = [](QWidget *w) {
        QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(6, w->height() / 2));
        Settle();
    };
    const auto box = [](frmPrefs &form, const char *name) { return Control<QCheckBox>(form, name); };
    QString message, resMessage;
    WhenModal<frmPrefs>([&](frmPrefs &form) {
        EXPECT_LE(form.width(), 800);
        EXPECT_LE(form.height(), 560) << "fits a 600-pixel screen with its title bar";
        EXPECT_EQ(Focused(), form.resCombo());
        EXPECT_EQ(form.resCombo()->lineEdit()->selectedText(), "600");
        AnswerMessage(resMessage);
        Type("abcT");
        WaitFor([&] { return !resMessage.isEmpty() && Focused() == form.resCombo(); });
        EXPECT_EQ(resMessage, "Default Resolution must be a numeric value.");
        Settle();
        EXPECT_EQ(form.resCombo()->lineEdit()->selectedText(), "abc");
        Type("1200");
        EXPECT_EQ(form.conversionLabel()->text(), QString::fromUtf8("= 21.17 \u00b5m/pixel"));
        click(box(form, "ColourScansCheck"));
        click(box(form, "SplitOverlapsCheck"));
        click(form.covLimitBox());
        Settle();
        EXPECT_EQ(form.covLimitBox()->selectedText(), "25");
        AnswerMessage(message);
        Type("150E");
        WaitFor([&] { return !message.isEmpty() && Focused() == form.covLimitBox(); });
        EXPECT_EQ(message, "One of the values is invalid");
        Settle();
        Type("12.5E");
    });
    command(Qt::Key_P);
    EXPECT_EQ(std::tuple(ws.DefaultRes, ws.ColourScans, ws.UseFileResolution, ws.SplitOverlaps, ws.ExtendedResults, ws.CovLimit),
              std::tuple(1200, true, false, true, false, 12.5));
    EXPECT_FALSE(ReadAll(path("settings.ini")).contains("ColourScans")) << "stored when the window closes";

    WhenModal<frmPrefs>([&](frmPrefs &form) {
        EXPECT_TRUE(box(form, "ColourScansCheck")->isChecked() && box(form, "SplitOverlapsCheck")->isChecked());
        EXPECT_EQ(form.covLimitBox()->text(), "12.5");
        click(box(form, "ExtendedResultsCheck"));
        click(form.covLimitBox());
        Type("40X");
    });
    command(Qt::Key_P);
    EXPECT_FALSE(ws.ExtendedResults);
    EXPECT_EQ(ws.CovLimit, 12.5);

    QStringList filters;
    WhenModal<QFileDialog>([&](QFileDialog &dialog) {
        filters = dialog.nameFilters();
        dialog.reject();
    });
    command(Qt::Key_L);
    ASSERT_FALSE(filters.isEmpty());
    EXPECT_TRUE(filters.front().contains(QStringLiteral("*.png")) && filters.front().contains(QStringLiteral("*.JPEG")))
        << filters.front().toStdString();

    window->close();
    const QByteArray ini = ReadAll(path("settings.ini"));
    for (const char *line : {"ColourScans=True\n", "UseFileResolution=False\n", "SplitOverlaps=True\n",
                             "ExtendedResults=False\n", "CovLimit=12.5\n"})
        EXPECT_TRUE(ini.contains(line)) << line;
}

// Keys typed into a numeric box of every dialog: Delete erases after the caret or the selection,
// Backspace and letters are dropped, the sign toggles even at the length limit.
TEST_F(DialogForms, TypedKeysInEveryNumericBox)
{
    QTemporaryDir dir;
    ws.TempDir = dir.path().toStdString() + "/";
    using Open = std::function<QLineEdit *(DialogForms &)>;
    const struct { const char *dialog; Open open; const char *text; int selStart, selLength; const char *keys, *after; } cases[] = {
        {"prefs spread", [](DialogForms &t) { return t.shown(std::make_unique<frmPrefs>(t.ws, t.store)).spreadBox(0); },
         "123456", 6, 0, "7-", "-123456"},
        {"spray position", [](DialogForms &t) {
             return t.shown(std::make_unique<SprayInfoForm>(t.ws, t.store)).box(SprayField::Sample_Position1); },
         "12.5", 4, 0, "B-x", "-12.5"},
        {"resolution", [](DialogForms &t) {
             QLineEdit *edit = t.shown(std::make_unique<frmResolution>(t.ws, nullptr)).cellEdit();
             Type("9"); // in the grid: starts the edit
             return edit; },
         "1234", 0, 2, "D", "34"},
        {"card positions", [](DialogForms &t) {
             return t.shown(std::make_unique<frmCardPos>(t.ws, t.store, CardPosMode::Ordinary)).input(2); },
         "1234", 1, 2, "D", "14"},
        {"template manager", [](DialogForms &t) {
             return t.shown(std::make_unique<TemplateManagerForm>(t.ws.TempDir, DefaultTemplate()))
                 .box(TemplateBox::HSize); },
         "1.25", 1, 0, "D", "125"},
        {"load template", [](DialogForms &t) {
             auto form = std::make_unique<LoadTemplateForm>(t.ws, t.store, 768);
             form->TemplateFile = VELMARA_SOURCE_DIR "/samples/sheet/sheet3x3.gif";
             form->Res = 300;
             LoadTemplateForm &f = t.shown(std::move(form));
             WaitFor([&] { return f.pictureLoaded(); });
             return f.ResCombo->lineEdit(); },
         "1234", 1, 0, "D", "134"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.dialog);
        QLineEdit *box = c.open(*this);
        if (!box->hasFocus())
            box->setFocus();
        Settle();
        box->setText(QString::fromLatin1(c.text));
        box->setSelection(c.selStart, c.selLength);
        Type(c.keys);
        EXPECT_EQ(box->text(), c.after);
        owned.reset();
    }
}

// The spray dialog keeps a long stored comment whole and limits only what is typed; a sampling
// position that the analysis could not read is refused at Accept.
TEST_F(DialogForms, SprayCommentLimitAndPositionRefusedAtAccept)
{
    store.SaveSetting("SprayInfo", "Sample_Interval", "10");
    const std::string stored(150, 'c');
    ws.Spray.Comment = stored;
    auto &form = shown(std::make_unique<SprayInfoForm>(ws, store));
    QLineEdit *comment = form.box(SprayField::Comment);
    EXPECT_EQ(comment->text().size(), 150);
    comment->setFocus();
    Settle();
    comment->setCursorPosition(150);
    Type("x");
    EXPECT_EQ(comment->text().size(), 150) << "no typing past the limit";

    QLineEdit *position = form.box(SprayField::Sample_Position1);
    position->setFocus();
    Settle();
    QString message;
    AnswerMessage(message);
    Type("1234567890123456789012345678901234567890E");
    WaitFor([&] { return !message.isEmpty(); });
    EXPECT_EQ(message, "Invalid Sampler1 position.");
    EXPECT_TRUE(form.isVisible());
    EXPECT_EQ(Focused(), position);
    EXPECT_TRUE(ws.Spray.Sample_Position1.empty());

    Settle(); // the box selects its text once the focus is back, as a person would see it
    Type("-5E");
    EXPECT_EQ(form.result(), QDialog::Accepted);
    EXPECT_EQ(ws.Spray.Sample_Position1, "-5");
    EXPECT_EQ(ws.Spray.Comment, stored);
    EXPECT_EQ(store.GetSetting("SprayInfo", "Comment", ""), stored);
}

// Numbers in the dialogs take the locale's decimal separator, typed with either key; the record
// and the store keep the point.
TEST_F(DialogForms, NumbersShowTheLocaleSeparator)
{
    struct LocaleGuard {
        LocaleGuard() { QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); }
        ~LocaleGuard() { QLocale::setDefault(QLocale::c()); }
    } german;
    {
        auto &prefs = shown(std::make_unique<frmPrefs>(ws, store));
        EXPECT_EQ(prefs.conversionLabel()->text(), QString::fromUtf8("= 21,17 \u00b5m/pixel"));
        EXPECT_EQ(prefs.spreadBox(0)->text(), "0,00");
    }
    {
        auto &manager = shown(std::make_unique<TemplateManagerForm>(ws.TempDir, DefaultTemplate()));
        EXPECT_EQ(manager.box(TemplateBox::HSize)->text(), "1,75");
    }
    auto &form = shown(std::make_unique<frmCardPos>(ws, store, CardPosMode::Ordinary));
    EXPECT_EQ(form.input(1)->text(), "-50,0");
    Type("T2.5");
    EXPECT_EQ(form.input(2)->text(), "2,5");
    Type("T");
    EXPECT_EQ(form.grid()->item(1, 1)->text(), "-47,5");
    Type("E");
    EXPECT_EQ(form.result(), QDialog::Accepted);
    EXPECT_EQ(ws.Spray.Sample_Interval, "2.5");
    EXPECT_EQ(store.GetSetting("SprayInfo", "Sample_Interval", ""), "2.5");
}

// The colour questions answer only by their letters (either case) or a click: no button has the
// focus and Enter answers nothing. A Dither No keeps no second background: the dither index
// becomes the background. The preview blacks out all but the colour asked about, in a copy.
TEST_F(DialogForms, ColourQuestionKeysAndPreview)
{
    CardImage card;
    card.ColourTable = {{0, 255, 255, 255}, {0, 10, 200, 30}, {0, 200, 0, 0}};
    QImage picture(8, 4, QImage::Format_Indexed8);
    picture.setColorTable({qRgb(255, 255, 255), qRgb(10, 200, 30), qRgb(200, 0, 0)});
    picture.fill(1);
    const QImage preview = PreviewWithOnlyIndex(picture, 1);
    EXPECT_EQ(preview.colorTable(), (QList<QRgb>{qRgb(0, 0, 0), qRgb(10, 200, 30), qRgb(0, 0, 0)}));
    EXPECT_EQ(picture.color(0), qRgb(255, 255, 255)) << "the card's picture is untouched";

    using Kind = ColourQuestionForm::Kind;
    const struct { Kind kind; int asked, background; const char *keys; int answer; Answer choice; } cases[] = {
        {Kind::Background, 1, 0, "E N", 0, Answer::No},
        {Kind::Background, 1, 0, "A", 1, Answer::YesToAll},
        {Kind::Dither, 2, 1, "E n", 1, Answer::No},
        {Kind::Dither, 2, 1, "Y", 2, Answer::Yes}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.keys);
        auto &form = shown(std::make_unique<ColourQuestionForm>(c.kind, card, picture, Byte(c.asked), Byte(c.background)));
        EXPECT_EQ(qobject_cast<QPushButton *>(Focused()), nullptr) << "no focus frame on a button";
        Type(c.keys);
        EXPECT_FALSE(form.isVisible());
        EXPECT_EQ(form.answer(), c.answer);
        EXPECT_EQ(form.choice(), c.choice);
    }
}

TEST_F(DialogForms, ResolutionAcceptScansTheMarkedCardsOnYes)
{
    std::vector<int> rescanned{-1};
    auto &form = shown(std::make_unique<frmResolution>(ws, [&](const std::vector<int> &cards) { rescanned = cards; }));
    form.setRescanAnswer([] { return true; });
    Type("3E");
    EXPECT_EQ(form.grid()->item(1, 0)->foreground().color(), QColor(255, 0, 0));
    QTest::mouseClick(form.acceptButton(), Qt::LeftButton);
    EXPECT_EQ(rescanned, std::vector<int>{2});
    EXPECT_EQ(ws.Card(2).Dpi, 3);
    EXPECT_EQ(ws.Card(1).Dpi, 1200);
}

TEST_F(DialogForms, CardPosWithoutCancel)
{
    for (CardPosMode mode : {CardPosMode::AcceptOnly, CardPosMode::NoCancel}) {
        auto &form = shown(std::make_unique<frmCardPos>(ws, store, mode));
        EXPECT_FALSE(form.cancelButton()->isEnabled());
        Type("X");
        EXPECT_TRUE(form.isVisible()) << "Esc is no way out";
        form.close();
        // Without a close command only Accept ends it; otherwise the frame's close is the Cancel.
        EXPECT_EQ(form.isVisible(), mode == CardPosMode::AcceptOnly);
    }
    EXPECT_TRUE(ws.Spray.Sample_Position1.empty());
    EXPECT_TRUE(store.Writes().empty());
}
