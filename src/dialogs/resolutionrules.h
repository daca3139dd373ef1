#pragma once
// The rules of the resolution dialog: a grid of card names and resolutions, edited in place by
// click-click or by typing, "Apply To All", the red marks of scanned cards whose resolution
// changed, and the Accept that rewrites every card and lists the cards to scan again.

#include "core/workspace.h"

#include <string>
#include <vector>

namespace velmara {

// The question asked on Accept when a scanned card changed, with its carriage returns.
extern const char *const kRescanQuestion;

// Rewrites a card's resolution and what follows from it: both pixel sizes and the area.
void SetCardResolution(CardImage &card, Long dpi);

class ResolutionRules
{
public:
    struct Row
    {
        std::string Name; // column 0
        std::string Cell; // column 1, the resolution as text
        bool Red = false; // the card needs a new scan
    };

    explicit ResolutionRules(const Workspace &ws);

    // Grid rows; row r stands for card r + 1.
    std::vector<Row> Rows;
    int SelectedRow = 0;
    bool RowHighlight = true;
    int LastClickedRow = -1;
    bool AnalysedChanged = false;
    std::vector<bool> NeedsRescan; // index 1..CardCount, element 0 unused

    // The edit box laid over the selected cell.
    bool Editing = false;
    std::string EditText;
    bool EditSelectAll = false;     // whole text selected, else the caret stands behind it
    bool CancelIsCancelButton = true; // false while editing, so that Esc reaches the edit box

    // Events of the grid.
    void GridClick(int row);
    void GridEnter() { BeginCellEdit(-2); }
    void GridDigit(int digit) { BeginCellEdit(digit); }
    void GridFocusIn() { RowHighlight = true; }
    void GridFocusOut() { LastClickedRow = -1; }
    // key -2 edits the cell's text, all selected; 0 to 9 starts the edit with that digit.
    void BeginCellEdit(int key);

    // Events of the edit box. Enter commits a number above 0 that fits a Long; other text leaves
    // the cell as it was. Esc and a lost focus end the edit without applying it.
    void EditEnter();
    void EditEscape() { EndCellEdit(); }
    void EditFocusLost() { EndCellEdit(); }

    // "Apply To All": the selected cell's text into every row, marking scanned cards that change.
    void ApplyToAll();

    // Rewrites every card (changed or not) from the grid. Returns true when the rescan question is
    // to be asked.
    bool Accept(Workspace &ws) const;
    // Cards to scan again on Yes, ascending. No limit on their number.
    std::vector<int> RescanList() const;

private:
    void EndCellEdit();
    // Puts a valid number into row r and sets or clears its mark.
    void markRow(int row, double value, bool clearWhenSame);

    std::vector<Long> mDpi;
    std::vector<bool> mScanned;
};

} // namespace velmara
