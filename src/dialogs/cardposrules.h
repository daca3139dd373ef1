#pragma once
// The rules of the card position dialog: the first position and the spacing of the sampling line,
// the live grid of the positions that Accept would give, the leave rules of the two boxes, and
// the Accept that places every card and stores both texts.

#include "core/workspace.h"
#include "dialogs/settingsaccess.h"

#include <string>
#include <vector>

namespace velmara {

// How the dialog may be left.
enum class CardPosMode {
    Ordinary,   // Accept, Cancel, Esc, or closing by the frame (as Cancel)
    NoCancel,   // Cancel disabled; closing by the frame still counts as Cancel
    AcceptOnly, // Accept is the only way out: no close command, Esc and close events ignored
};

// "0" when both texts end in the digit 0, else "0.0": decimals of the grid's positions.
std::string PositionFormatOf(const std::string &first, const std::string &spacing);
// A position in the given format ("0" or "0.0").
std::string FormatPosition(Single value, const std::string &format);
// Position of card index (from 1) on the line: the product and the sum each a Single.
Single LinePosition(Single first, Single spacing, int index);

class CardPosRules
{
public:
    struct Row
    {
        std::string Name;     // column 0
        std::string Position; // column 1
    };

    CardPosRules(Workspace &ws, SettingsAccess &settings);

    // Fills the grid, the boxes and the private values.
    void Open();

    // Private state of the dialog.
    Single FirstPosition = 0;
    Single Spacing = 0;
    std::string PositionFormat = "0.0";
    int SelectedRow = 0;

    // Controls.
    std::vector<Row> Rows;    // row r stands for card r + 1
    std::string txtInput[3];  // boxes 1 and 2; element 0 unused
    std::string UnitsLabel;   // "m" or "ft"

    // Writes column 1 from FirstPosition and Spacing.
    void RefreshPositions();
    // Leaving box n (1 or 2): a good text takes effect, anything else falls back without a word.
    void ValidatePositionInput(int n);
    // Applies both boxes, places every card, stores the two texts in memory and in the store.
    void AcceptClicked();

private:
    Workspace &mWs;
    SettingsAccess &mSettings;
};

} // namespace velmara
