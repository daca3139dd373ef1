#pragma once
// Entry rules shared by the dialogs: the numeric key filter on a line edit, whole-text selection
// on focus, the leave event of a box, the program's message box, and the placement of a dialog
// over the card picture.

#include "dialogs/numerickeyfilter.h"

#include <QObject>
#include <QRect>
#include <QString>

#include <functional>

class QLineEdit;
class QWidget;

namespace velmara {

// Keys typed into a filtered box go through NumericKeyFilter; Backspace, cut, paste, undo and
// redo are dropped as well (they would change the text past the filter). Delete, the arrows and
// Enter/Esc/Tab pass. maxTyped limits the characters that typing may bring the text to (0: none);
// it is kept here rather than by the line edit, so that toggling the sign never truncates a
// number. Text pasted with the mouse still reaches the box: the leave rules deal with it.
class NumericBoxFilter : public QObject
{
public:
    NumericBoxFilter(QLineEdit *box, EntryKind kind, int maxTyped = 0);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QLineEdit *mBox;
    EntryKind mKind;
    int mMaxTyped;
};

// Installs the filter that the kind calls for (none for free text) and, for every box, the
// whole-text selection on focus. maxTyped as above; for free text it becomes the box's own limit.
void SetUpEntryBox(QLineEdit *box, EntryKind kind, int maxTyped = 0);

// Calls onLeave when the box loses the focus to another control of its window; not when another
// window takes the focus (a message box), so that a leave rule runs once per real leave.
void OnLeave(QLineEdit *box, std::function<void()> onLeave);

// A modal box titled "Velmara" with an OK button. Carriage returns in the text break lines.
void ShowDialogMessage(QWidget *parent, const QString &text);
// Text of the dialogs' own strings, carriage returns turned into line breaks.
QString DialogText(const char *utf8);

// Moves the dialog over the picture (a rectangle in global coordinates): centred across, its
// centre 20 pixels below the picture's centre, then pushed back onto the picture's screen.
void PlaceOverPicture(QWidget *dialog, const QRect &pictureGlobal);

} // namespace velmara
