#include "shell/numerickeyfilter.h"

#include "dialogs/dialogplacement.h"

#include <QClipboard>
#include <QEvent>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QPointer>
#include <QScreen>
#include <QTimer>

#include <algorithm>

namespace velmara {

namespace {

class SelectAllOnFocus : public QObject
{
public:
    SelectAllOnFocus(QObject *owner, QLineEdit *box) : QObject(owner), mBox(box) {}

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::FocusIn) {
            // Deferred: a mouse click that brought the focus would place the caret afterwards.
            QPointer<QLineEdit> box = mBox;
            QPointer<QWidget> target = qobject_cast<QWidget *>(watched);
            QTimer::singleShot(0, mBox, [box, target] {
                if (box && target && target->hasFocus())
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
    LeaveWatcher(QWidget *control, std::function<void()> onLeave)
        : QObject(control), mOnLeave(std::move(onLeave))
    {
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::FocusOut) {
            // A leave rule answers the user moving on inside a dialog on screen; the focus that
            // goes while a closed dialog is torn down must not reach a half-destroyed form.
            const auto *control = qobject_cast<QWidget *>(parent());
            if (control && !control->window()->isVisible())
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

// Delete erases in every box. Under X11 its event carries the text DEL (127), which would
// otherwise count as a typed character and be dropped.
bool isDelete(const QKeyEvent *key)
{
    return key->key() == Qt::Key_Delete || key->text() == QString(QChar(127));
}

} // namespace

QChar LocalePoint()
{
    const QString point = QLocale().decimalPoint();
    return point.size() == 1 ? point.at(0) : QLatin1Char('.');
}

QString ShownNumber(const std::string &text, QChar point)
{
    QString shown = QString::fromStdString(text);
    if (point != QLatin1Char('.'))
        shown.replace(QLatin1Char('.'), point);
    return shown;
}

std::string ReadNumber(const QString &text, QChar point)
{
    QString plain = text;
    if (point != QLatin1Char('.'))
        plain.replace(point, QLatin1Char('.'));
    return plain.toStdString();
}

NumericBoxFilter::NumericBoxFilter(QLineEdit *box, EntryKind kind, int maxTyped, QChar point)
    : QObject(box), mBox(box), mKind(kind), mMaxTyped(maxTyped), mPoint(point)
{
}

bool NumericBoxFilter::typedPastLimit(int added) const
{
    const int selected = mBox->hasSelectedText() ? static_cast<int>(mBox->selectedText().size()) : 0;
    return mMaxTyped > 0 && static_cast<int>(mBox->text().size()) - selected + added > mMaxTyped;
}

bool NumericBoxFilter::eventFilter(QObject *, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    auto *key = static_cast<QKeyEvent *>(event);
    if (isDelete(key))
        return false;
    const bool filtered = IsFiltered(mKind);
    if (!filtered && mMaxTyped > 0 && key->matches(QKeySequence::Paste)) {
        QString clip = QGuiApplication::clipboard()->text();
        while (!clip.isEmpty() && typedPastLimit(static_cast<int>(clip.size())))
            clip.chop(1);
        mBox->insert(clip);
        return true;
    }
    if (filtered && changesTextPastTheFilter(key))
        return true;
    const QString typed = key->text();
    if (typed.isEmpty() || typed.at(0).unicode() < 32 || (key->modifiers() & Qt::ControlModifier))
        return false; // navigation, Enter, Esc, Tab and shortcuts
    if (!filtered)
        return typedPastLimit(static_cast<int>(typed.size()));
    const QChar c = typed.at(0);
    const bool pointKey = c == QLatin1Char('.') || c == mPoint;
    int code = pointKey ? kKeyPoint : c.unicode() < 128 ? c.unicode() : 0;

    // The filter works on a one-byte copy with '.' for the separator, so that its offsets are
    // those of the line edit.
    const QString old = mBox->text();
    TextBoxState state;
    QString plain = old;
    plain.replace(mPoint, QLatin1Char('.'));
    state.Text = plain.toLatin1().toStdString();
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
    if (code == 0 || typedPastLimit(1))
        return true;
    if (pointKey && c != mPoint) {
        mBox->insert(QString(mPoint)); // the point key brings the separator the box shows
        return true;
    }
    return false;
}

void SetUpEntryBox(QLineEdit *box, EntryKind kind, int maxTyped, QChar point)
{
    if (IsFiltered(kind) || maxTyped > 0)
        box->installEventFilter(new NumericBoxFilter(box, kind, maxTyped, point));
    SelectTextOnFocus(box, box);
}

void SelectTextOnFocus(QWidget *focusTarget, QLineEdit *box)
{
    focusTarget->installEventFilter(new SelectAllOnFocus(focusTarget, box));
}

void OnLeave(QWidget *control, std::function<void()> onLeave)
{
    control->installEventFilter(new LeaveWatcher(control, std::move(onLeave)));
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
