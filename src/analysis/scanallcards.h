#pragma once
// Scanning a list of cards without a window: decode where needed, then scan, card by card, as the
// "All" command does. The desktop program and velmara-cli both drive their passes through here.

#include "analysis/scanimage.h"
#include "intake/decode.h"

#include <string>
#include <vector>

namespace velmara {

// What the caller does around each card. Every hook has an empty default. The hooks are called
// on the caller's thread, in list order, whatever the number of jobs.
class ScanAllHooks
{
public:
    virtual ~ScanAllHooks() = default;
    // Card index is next; a decode or a scan of it follows.
    virtual void cardStarted(int index) { (void)index; }
    virtual void decodeStarting(int index) { (void)index; }
    virtual void scanStarting(int index) { (void)index; }
    // A message for the user, in the order the boxes would appear: a decode's error, the "did not
    // find any" box of a scan, the zero-volume notice (once per run).
    virtual void notify(int index, const std::string &text) { (void)index; (void)text; }
    // The scan of card index ended with Done or NoStains and its message (if any) was given: the
    // moment to write the card's scan log.
    virtual void scanned(int index, const ScanOutcome &outcome) { (void)index; (void)outcome; }
    // Card index is through, whatever became of it; done cards of total.
    virtual void cardFinished(int index, int done, int total) { (void)index; (void)done; (void)total; }
};

struct ScanAllSummary
{
    int Scanned = 0;        // scans that ended Done or NoStains
    bool Cancelled = false; // CancelRequested ended the run (it has been cleared again)
};

struct ScanAllOptions
{
    // Cards decoded and scanned at the same time. With more than one, each card is worked on a
    // copy of its record and comes back into the list in list order, so that the hooks, the
    // questions and the cards end exactly as with one; the progress sink is not fed and a cancel
    // is seen between cards only.
    int Jobs = 1;
    // Drop each card's pixel list once its scan is done (ReleasedForeground keeps its size): a batch
    // that never looks at a card again need not hold all of them.
    bool ReleasePixels = false;
};

// The cards of the list in its order: a card whose PixelsReady is false is decoded first
// (questions answer the background and dither questions), then scanned unless CancelRequested is
// set; the run stops after the card in which a cancel was seen. A card whose decode fails stays
// Loaded and is skipped. CurrentCard is not touched. The composite statistics are the caller's to
// recompute, also after a cancel.
ScanAllSummary ScanCards(Workspace &ws, const std::vector<int> &cards, DecodeQuestions &questions,
                         ScanAllHooks &hooks, ProgressSink &progress = NoProgress(),
                         const ScanAllOptions &options = {});

// ScanCards over cards 1 to CardCount, each becoming the current card before cardStarted; a
// cancel leaves the card reached current, a full run the card that was current before.
ScanAllSummary ScanAllCards(Workspace &ws, DecodeQuestions &questions, ScanAllHooks &hooks,
                            ProgressSink &progress = NoProgress(), const ScanAllOptions &options = {});

} // namespace velmara
