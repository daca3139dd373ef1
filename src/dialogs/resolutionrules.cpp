#include "dialogs/resolutionrules.h"

#include "dialogs/numbertext.h"
#include "dialogs/prefsrules.h"

namespace velmara {

const char *const kRescanQuestion =
    "You have changed the resolution for one\r"
    "or more analysed images. (shown in red)\r"
    "\r"
    "You will have to re-analyse these images\r"
    "for the drop size statistics to be correct.\r"
    "\r"
    "Would you like to re-analyse these now?\r";

void SetCardResolution(CardImage &card, Long dpi)
{
    card.Dpi = dpi;
    card.MicronsPerPixelX = MicronsPerPixel(static_cast<double>(dpi));
    card.MicronsPerPixelY = card.MicronsPerPixelX;
    card.AreaCm2 = (card.HeightPx * card.MicronsPerPixelY / 10000.0)
        * (card.WidthPx * card.MicronsPerPixelX / 10000.0);
}

ResolutionRules::ResolutionRules(const Workspace &ws)
{
    const int n = ws.CardCount();
    NeedsRescan.assign(static_cast<size_t>(n) + 1, false);
    mDpi.assign(static_cast<size_t>(n) + 1, 0);
    mScanned.assign(static_cast<size_t>(n) + 1, false);
    for (int i = 1; i <= n; ++i) {
        const CardImage &card = ws.Card(i);
        Rows.push_back(Row{card.FileName, std::to_string(card.Dpi), false});
        mDpi[static_cast<size_t>(i)] = card.Dpi;
        mScanned[static_cast<size_t>(i)] = card.Scanned;
    }
    SelectedRow = ws.CurrentCard - 1;
    if (SelectedRow < 0 || SelectedRow >= n)
        SelectedRow = 0;
    LastClickedRow = ws.CurrentCard - 1;
}

void ResolutionRules::GridClick(int row)
{
    if (row < 0 || row >= static_cast<int>(Rows.size()))
        return;
    EndCellEdit();
    SelectedRow = row;
    if (row == LastClickedRow)
        BeginCellEdit(-2);
    LastClickedRow = row;
}

void ResolutionRules::BeginCellEdit(int key)
{
    if (Rows.empty())
        return;
    RowHighlight = false;
    if (key == -2) {
        EditText = Rows[static_cast<size_t>(SelectedRow)].Cell;
        EditSelectAll = true;
    } else {
        EditText = std::string(1, static_cast<char>('0' + key));
        EditSelectAll = false;
    }
    CancelIsCancelButton = false;
    Editing = true;
}

void ResolutionRules::EndCellEdit()
{
    Editing = false;
    EditText.clear();
    EditSelectAll = false;
    CancelIsCancelButton = true;
}

void ResolutionRules::markRow(int row, double value, bool clearWhenSame)
{
    const size_t card = static_cast<size_t>(row) + 1;
    if (value != static_cast<double>(mDpi[card]) && mScanned[card]) {
        NeedsRescan[card] = true;
        AnalysedChanged = true;
        Rows[static_cast<size_t>(row)].Red = true;
    } else if (clearWhenSame) {
        NeedsRescan[card] = false;
        Rows[static_cast<size_t>(row)].Red = false;
    }
}

void ResolutionRules::EditEnter()
{
    if (!Editing)
        return;
    // A number beyond the Long range could never become a Dpi: refused like any bad text.
    const auto value = TextAsDouble(EditText);
    if (value && *value > 0 && TextAsLong(EditText)) {
        Rows[static_cast<size_t>(SelectedRow)].Cell = EditText;
        markRow(SelectedRow, *value, true);
    }
    EndCellEdit();
}

void ResolutionRules::ApplyToAll()
{
    if (Rows.empty())
        return;
    const std::string text = Rows[static_cast<size_t>(SelectedRow)].Cell;
    const double value = TextAsDouble(text).value_or(0);
    RowHighlight = false;
    for (int r = 0; r < static_cast<int>(Rows.size()); ++r) {
        Rows[static_cast<size_t>(r)].Cell = text;
        markRow(r, value, false); // a mark set earlier stays
    }
    RowHighlight = true;
}

bool ResolutionRules::Accept(Workspace &ws) const
{
    for (int i = 1; i <= ws.CardCount() && i <= static_cast<int>(Rows.size()); ++i) {
        const auto dpi = TextAsLong(Rows[static_cast<size_t>(i) - 1].Cell);
        SetCardResolution(ws.Card(i), dpi.value_or(ws.Card(i).Dpi));
    }
    return AnalysedChanged;
}

std::vector<int> ResolutionRules::RescanList() const
{
    std::vector<int> list;
    for (size_t i = 1; i < NeedsRescan.size(); ++i)
        if (NeedsRescan[i])
            list.push_back(static_cast<int>(i));
    return list;
}

} // namespace velmara
