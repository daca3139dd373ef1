#include "dialogs/numerickeyfilter.h"

#include <algorithm>

namespace velmara {

namespace {

// The selection clipped to the text, so that a stale selection can never index past its end.
void clampSelection(TextBoxState &box)
{
    const int size = static_cast<int>(box.Text.size());
    box.SelStart = std::clamp(box.SelStart, 0, size);
    box.SelLength = std::clamp(box.SelLength, 0, size - box.SelStart);
}

void toggleSign(TextBoxState &box)
{
    const size_t start = static_cast<size_t>(box.SelStart);
    const size_t length = static_cast<size_t>(box.SelLength);
    if (box.Text.find('-') == std::string::npos) {
        box.Text.insert(box.Text.begin(), '-');
        ++box.SelStart;
    } else if (box.Text.substr(start, length).find('-') == std::string::npos) {
        // The sign stands in front, outside the selection: take it away.
        box.Text.erase(box.Text.begin());
        if (box.SelStart > 0)
            --box.SelStart;
    } else {
        // The selection holds the sign: typing over it leaves the bare sign to type after.
        box.Text.replace(start, length, "-");
        box.SelStart = 1;
        box.SelLength = 0;
    }
}

} // namespace

void NumericKeyFilter(TextBoxState &box, int &keyCode, bool allowDecimal, bool allowNegative)
{
    clampSelection(box);
    if (keyCode >= '0' && keyCode <= '9')
        return;
    if (keyCode == kKeyPoint) {
        if (!allowDecimal) {
            keyCode = 0;
            return;
        }
        const std::string outside = box.Text.substr(0, static_cast<size_t>(box.SelStart))
            + box.Text.substr(static_cast<size_t>(box.SelStart + box.SelLength));
        if (outside.find('.') != std::string::npos)
            keyCode = 0;
        return;
    }
    if (keyCode == kKeyMinus && allowNegative)
        toggleSign(box);
    keyCode = 0;
}

} // namespace velmara
