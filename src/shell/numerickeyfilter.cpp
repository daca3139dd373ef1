#include "shell/numerickeyfilter.h"

#include "dialogs/dialogplacement.h"

#include <QEvent>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QScreen>
#include <QTimer>

namespace velmara {

namespace {

class SelectAllOnFocus : public QObject
{
public:
    explicit SelectAllOnFocus(QLineEdit *box) : QObject(box), mBox(box) {}

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::FocusIn) {
            // Deferred: a mouse click that brought the focus would place the caret afterwards.
            QPointer<QLineEdit> box = mBox;
            QTimer::singleShot(0, mBox, [box] {
                if (box && box->hasFocus())
                    box->selectAll();
            });
        }
        return false;
    }

private:
    QLineEdit *mBox;
};

class LeaveWatcher : public QObject
{
public:
    LeaveWatcher(QLineEdit *box, std::function<void()> onLeave)
        : QObject(box), mOnLeave(std::move(onLeave))
    {
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::FocusOut) {
            // A leave rule answers the user moving on inside a dialog on screen; the focus that
            // goes while a closed dialog is torn down must not reach a half-destroyed form.
            const auto *box = qobject_cast<QWidget *>(parent());
            if (box && !box->window()->isVisible())
                return false;
            const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
            if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
                mOnLeave();
        }
        return false;
    }

private:
    std::function<void()> mOnLeave;
};

bool changesTextPastTheFilter(const QKeyEvent *key)
{
    return key->key() == Qt::Key_Backspace || key->matches(QKeySequence::Paste)
        || key->matches(QKeySequence::Cut) || key->matches(QKeySequence::Undo)
        || key->matches(QKeySequence::Redo) || key->matches(QKeySequence::DeleteStartOfWord);
}

} // namespace

NumericBoxFilter::NumericBoxFilter(QLineEdit *box, EntryKind kind, int maxTyped)
    : QObject(box), mBox(box), mKind(kind), mMaxTyped(maxTyped)
{
}

bool NumericBoxFilter::eventFilter(QObject *, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    auto *key = static_cast<QKeyEvent *>(event);
    if (changesTextPastTheFilter(key))
        return true;
    const QString typed = key->text();
    if (typed.isEmpty() || typed.at(0).unicode() < 32 || (key->modifiers() & Qt::ControlModifier))
        return false; // navigation, Enter, Esc, Tab, Delete and shortcuts
    const QChar c = typed.at(0);
    int code = c.unicode() < 128 ? c.unicode() : 0;

    // The filter works on a one-byte copy, so that its offsets are those of the line edit.
    const QString old = mBox->text();
    TextBoxState state;
    state.Text = old.toLatin1().toStdString();
    state.SelStart = mBox->hasSelectedText() ? mBox->selectionStart() : mBox->cursorPosition();
    state.SelLength = mBox->hasSelectedText() ? static_cast<int>(mBox->selectedText().size()) : 0;
    const TextBoxState before = state;
    NumericKeyFilter(state, code, AllowsDecimal(mKind), AllowsNegative(mKind));

    if (state.Text != before.Text) {
        QString text = old;
        if (state.Text == "-" + before.Text)
            text.prepend(QLatin1Char('-'));
        else if (state.Text == before.Text.substr(1))
            text.remove(0, 1);
        else
            text.replace(before.SelStart, before.SelLength, QStringLiteral("-"));
        mBox->setText(text);
    }
    if (state.Text != before.Text || state.SelStart != before.SelStart) {
        if (state.SelLength > 0)
            mBox->setSelection(state.SelStart, state.SelLength);
        else
            mBox->setCursorPosition(state.SelStart);
    }
    if (code == 0)
        return true;
    if (mMaxTyped > 0 && static_cast<int>(old.size()) - before.SelLength >= mMaxTyped)
        return true;
    return false;
}

void SetUpEntryBox(QLineEdit *box, EntryKind kind, int maxTyped)
{
    if (IsFiltered(kind))
        box->installEventFilter(new NumericBoxFilter(box, kind, maxTyped));
    else if (maxTyped > 0)
        box->setMaxLength(maxTyped);
    box->installEventFilter(new SelectAllOnFocus(box));
}

void OnLeave(QLineEdit *box, std::function<void()> onLeave)
{
    box->installEventFilter(new LeaveWatcher(box, std::move(onLeave)));
}

QString DialogText(const char *utf8)
{
    QString text = QString::fromUtf8(utf8);
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    while (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    return text;
}

void ShowDialogMessage(QWidget *parent, const QString &text)
{
    QMessageBox box(QMessageBox::NoIcon, QStringLiteral("Velmara"), text, QMessageBox::Ok, parent);
    box.exec();
}

void PlaceOverPicture(QWidget *dialog, const QRect &pictureGlobal)
{
    dialog->adjustSize();
    QScreen *screen = QGuiApplication::screenAt(pictureGlobal.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->geometry() : QRect(0, 0, 1920, 1080);
    const QSize size = dialog->frameGeometry().size().expandedTo(dialog->size());
    const PixelRect placed =
        velmara::PlaceOverPicture(PixelRect{0, 0, size.width(), size.height()},
                                  PixelRect{pictureGlobal.left() - area.left(), pictureGlobal.top() - area.top(),
                                            pictureGlobal.width(), pictureGlobal.height()},
                                  area.width(), area.height());
    dialog->move(placed.Left + area.left(), placed.Top + area.top());
}

} // namespace velmara
