#pragma once
// Entry rules shared by the dialogs: the numeric key filter on a line edit, whole-text selection
// on focus, the leave event of a box, the program's message box, and the placement of a dialog
// over the card picture.

#include "dialogs/numerickeyfilter.h"

#include <QObject>
#include <QRect>
#include <QString>

#include <functional>
#include <string>

class QLineEdit;
class QWidget;

namespace velmara {

// The decimal separator of the user's locale, as the dialogs show it in numbers.
QChar LocalePoint();
// A number text of the rules (always with '.') as a box shows it with the given separator, and
// the box's text back in the rules' form. Other text passes unchanged apart from the separator.
QString ShownNumber(const std::string &text, QChar point);
std::string ReadNumber(const QString &text, QChar point);

// Keys typed into a box. In a filtered box they go through NumericKeyFilter, and Backspace, cut,
// paste, undo and redo are dropped (they would change the text past the filter); the decimal
// point key and the separator key both bring in `point`. Delete, the arrows and Enter/Esc/Tab
// pass in every box. maxTyped limits the characters that typing or pasting may bring the text to
// (0: none); it is kept here rather than by the line edit, so that neither a text set by the
// program (a stored comment) nor toggling the sign is ever cut. Text pasted with the mouse still
// reaches the box: the leave rules deal with it.
class NumericBoxFilter : public QObject
{
public:
    NumericBoxFilter(QLineEdit *box, EntryKind kind, int maxTyped = 0, QChar point = QLatin1Char('.'));

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool typedPastLimit(int added) const;

    QLineEdit *mBox;
    EntryKind mKind;
    int mMaxTyped;
    QChar mPoint;
};

// Installs the key filter above and the whole-text selection on focus. point is the separator
// that the box shows (see ShownNumber).
void SetUpEntryBox(QLineEdit *box, EntryKind kind, int maxTyped = 0, QChar point = QLatin1Char('.'));

// Selects the whole text of box whenever focusTarget gets the focus. focusTarget is the box itself
// or the editable combo box that owns it: a combo box takes the focus events of its line edit, so
// nothing installed on the line edit ever sees them.
void SelectTextOnFocus(QWidget *focusTarget, QLineEdit *box);

// Calls onLeave when the control (a box, or an editable combo box) loses the focus to another
// control of its window; not when another window takes the focus (a message box), so that a
// leave rule runs once per real leave.
void OnLeave(QWidget *control, std::function<void()> onLeave);

// A modal box titled "Velmara" with an OK button. Carriage returns in the text break lines.
void ShowDialogMessage(QWidget *parent, const QString &text);
// Text of the dialogs' own strings, carriage returns turned into line breaks.
QString DialogText(const char *utf8);

// Moves the dialog over the picture (a rectangle in global coordinates): centred across, its
// centre 20 pixels below the picture's centre, then pushed back onto the picture's screen.
void PlaceOverPicture(QWidget *dialog, const QRect &pictureGlobal);

} // namespace velmara
