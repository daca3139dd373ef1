#pragma once
// The card value callouts of the line chart: when the pointer comes onto the marker of a scanned
// card, each band gets a small circle on the card's value, a line from it and a label with the
// value. This file only places them; the window owns the nine controls and the shown state.

#include "core/workspace.h"
#include "views/canvas.h"

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>

#include <array>
#include <functional>
#include <optional>

namespace velmara {

inline constexpr QRgb kCalloutCircle = 0xff90ee90; // light green

struct Callout
{
    QString Text;  // starts and ends with a blank
    QRect Label;   // pixels on the picture
    QPoint LineFrom; // on the value
    QPoint LineTo;   // just inside the label
    QRect Circle;    // 8 pixels across, centred on the value
    bool Above = false;
};

struct CalloutLayout
{
    bool OnRight = false;
    QString Caption;                // the main window's caption, naming the card
    std::array<Callout, 4> Bands{}; // 1 VMD, 2 drop density, 3 deposit; element 0 unused
};

// The place of each band's value: Vmd / LineMaxVmd, DropDensity / LineMaxDensity and the deposit
// in the user's unit / LineMaxDeposit, each 0 in a band without a top.
std::array<double, 4> CalloutFractions(const Workspace &ws, int cardIndex);

// Lays out the callouts of card cardIndex on a chart drawn with scale on a picture of pixels.
// labelSize gives the size a label takes for its text (it sizes itself to its caption).
// Returns nothing for a card that is not scanned or outside the list.
std::optional<CalloutLayout> PlaceCallouts(const Workspace &ws, int cardIndex, const UserScale &scale,
                                           QSize pixels,
                                           const std::function<QSize(const QString &)> &labelSize);

} // namespace velmara
