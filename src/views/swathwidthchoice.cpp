#include "views/swathwidthchoice.h"

#include <utility>

namespace velmara {

SwathWidthChoice::SwathWidthChoice(std::function<void(int)> showChecked, std::function<void(int)> chosen)
    : mShowChecked(std::move(showChecked)), mChosen(std::move(chosen))
{
}

void SwathWidthChoice::setCount(int count)
{
    mCount = count < 0 ? 0 : count;
    mSelected = 0;
    if (mShowChecked)
        mShowChecked(0);
}

bool SwathWidthChoice::select(int index)
{
    if (index < 0 || index > mCount)
        return false;
    mSelected = index;
    if (mShowChecked)
        mShowChecked(index);
    if (index > 0 && mChosen)
        mChosen(index);
    return true;
}

bool SwathWidthChoice::redrawAt(int width)
{
    select(0);
    return select(width);
}

} // namespace velmara
