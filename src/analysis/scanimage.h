#pragma once
// Scanning one decoded card: the stain walk, then the size table and the card's results.

#include "core/numeric.h"
#include "core/progress.h"
#include "core/workspace.h"

#include <string>

namespace velmara {

enum class ScanStatus
{
    Done,       // valid stains found: SizeTable and the results are new
    NoStains,   // no valid stain: SizeTable is empty, the other results are the earlier ones
    Cancelled,  // CancelRequested was seen: the card is exactly as before
    NotDecoded, // no such card, or its pixel list does not stand: nothing was done
};

// What a scan leaves for the caller: the box to show and the values the scan log prints.
struct ScanOutcome
{
    ScanStatus Status = ScanStatus::NotDecoded;
    Byte HueLow = 0;  // Slider1 at the start of the scan
    Byte HueHigh = 0; // Slider2 at the start of the scan
    bool HueInvert = false;
    Long StainCount = 0; // valid stains
    Long Rejected = 0;
    // The spread factor gave no drop volume for any stain: fractions, Vmd and the deposit are 0.
    bool ZeroVolume = false;
    // With NoStains: the text of the box to show before the log is written; empty otherwise.
    std::string Message;
};

// Lines separated by a carriage return, as the box shows them.
inline const char *const kNoValidSpotsMessage = "Velmara did not find any\rvalid spots on this card.";
// Told once when a scan found stains but the spread factor gives them no volume.
inline const char *const kZeroVolumeNotice =
    "The spread factor gives a drop diameter of 0 for every stain, so the drops have no volume:"
    " volume fractions, VMD and deposit are shown as 0.";

// Scans card index (1-based) of ws, which must be decoded (PixelsReady). Reads Slider1, Slider2,
// HueInvertCheck, ShapeThreshold, HueThreshold, SpreadFactor and the card's scale; polls
// ws.CancelRequested once per line (it is left set for the command to clear). On Done and
// NoStains the card becomes Scanned and ws.MaxDiameterAll is recomputed; the caller writes the
// scan log afterwards. Returns NotDecoded, touching nothing, for a bad index or undecoded card.
ScanOutcome ScanImage(Workspace &ws, int index, ProgressSink &progress);

} // namespace velmara
