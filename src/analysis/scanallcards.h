#pragma once
// Scanning every card of the list without a window: decode where needed, then scan, card by card
// in list order, as the "All" command does.

#include "analysis/scanimage.h"
#include "intake/decode.h"

#include <string>

namespace velmara {

// What the caller does around each card. Every hook has an empty default.
class ScanAllHooks
{
public:
    virtual ~ScanAllHooks() = default;
    // Card index became the current card; a decode or a scan of it follows.
    virtual void cardStarted(int index) { (void)index; }
    virtual void decodeStarting(int index) { (void)index; }
    virtual void scanStarting(int index) { (void)index; }
    // A message for the user, in the order the boxes would appear: a decode's error, the "did not
    // find any" box of a scan, the zero-volume notice (once per run).
    virtual void notify(int index, const std::string &text) { (void)index; (void)text; }
    // The scan of card index ended with Done or NoStains and its message (if any) was given: the
    // moment to write the card's scan log.
    virtual void scanned(int index, const ScanOutcome &outcome) { (void)index; (void)outcome; }
};

struct ScanAllSummary
{
    int Scanned = 0;        // scans that ended Done or NoStains
    bool Cancelled = false; // CancelRequested ended the run (it has been cleared again)
};

// Cards 1 to CardCount in list order: a card whose PixelsReady is false is decoded first (questions
// answer the background and dither questions), then scanned unless CancelRequested is set; the run
// stops after the card in which a cancel was seen, leaving that card current. A card whose decode
// fails stays Loaded and is skipped. After a full run CurrentCard is what it was before. The
// composite statistics are the caller's to recompute, also after a cancel.
ScanAllSummary ScanAllCards(Workspace &ws, DecodeQuestions &questions, ScanAllHooks &hooks,
                            ProgressSink &progress = NoProgress());

} // namespace velmara
