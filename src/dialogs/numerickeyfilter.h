#pragma once
// The key filter of every numeric text box, and the kinds of entry the boxes allow.

#include <string>

namespace velmara {

// What the filter sees of a box: its text and its selection. SelStart is a character offset from
// 0, SelLength the number of characters selected (0 for a bare caret).
struct TextBoxState
{
    std::string Text;
    int SelStart = 0;
    int SelLength = 0;
};

// Key codes the filter knows by name.
inline constexpr int kKeyBackspace = 8;
inline constexpr int kKeyEnter = 13;
inline constexpr int kKeyMinus = '-';
inline constexpr int kKeyPoint = '.';

// Filters one typed character before it reaches the box. keyCode is the character code; it is set
// to 0 when the key is dropped. Digits pass. A point passes only with allowDecimal and when the text
// outside the selection holds none. A minus sign never passes: with allowNegative it toggles the
// sign of the text in place (and moves the selection); without, it does nothing. Every other key,
// Backspace and Enter among them, is dropped: a dialog's default button sees Enter before the box.
void NumericKeyFilter(TextBoxState &box, int &keyCode, bool allowDecimal, bool allowNegative);

// How a box takes typed keys.
enum class EntryKind {
    Free,            // anything
    Digits,          // digits only
    Decimal,         // digits and one point
    SignedDecimal,   // digits, one point and the sign toggle
};

inline bool IsFiltered(EntryKind kind) { return kind != EntryKind::Free; }
inline bool AllowsDecimal(EntryKind kind)
{
    return kind == EntryKind::Decimal || kind == EntryKind::SignedDecimal;
}
inline bool AllowsNegative(EntryKind kind) { return kind == EntryKind::SignedDecimal; }

} // namespace velmara
