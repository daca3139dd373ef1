#pragma once
// The width buttons of the swath view as one choice: element 0 is hidden and only clears the
// choice, elements 1 to count stand for the widths. Choosing an element n acts every time, also
// when n was already chosen, so that "element 0, then element n" is the way to redraw the view.
// Button toolkits send no click for a button checked in code, nor for one already checked; the
// rule is kept here, and this class runs the action itself.

#include <functional>

namespace velmara {

class SwathWidthChoice
{
public:
    // showChecked(index) puts the check on element index without running anything; chosen(index)
    // is the action of elements 1 and up (set the width, draw the view).
    SwathWidthChoice(std::function<void(int)> showChecked, std::function<void(int)> chosen);

    // Elements 1..count exist (count 0: only the hidden element). The choice goes back to 0.
    void setCount(int count);
    int count() const { return mCount; }
    int selected() const { return mSelected; }

    // optSwathWidth_Click: the check moves to index; for index 1..count chosen(index) runs.
    // Returns false and changes nothing for an index outside 0..count.
    bool select(int index);
    // Element 0, then element width: redraws the view at that width.
    bool redrawAt(int width);

private:
    std::function<void(int)> mShowChecked;
    std::function<void(int)> mChosen;
    int mCount = 0;
    int mSelected = 0;
};

} // namespace velmara
