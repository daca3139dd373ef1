#include "analysis/scanallcards.h"

#include <numeric>

namespace velmara {

namespace {

ScanAllSummary scanList(Workspace &ws, const std::vector<int> &cards, bool followCurrent,
                        DecodeQuestions &questions, ScanAllHooks &hooks, ProgressSink &progress)
{
    ScanAllSummary summary;
    bool zeroVolumeTold = false;

    for (int i : cards) {
        if (i < 1 || i > ws.CardCount())
            continue;
        if (followCurrent)
            ws.CurrentCard = i;
        hooks.cardStarted(i);
        if (!ws.Card(i).PixelsReady) {
            hooks.decodeStarting(i);
            const DecodeResult decoded = DecodeCard(ws, i, questions, progress);
            if (!decoded.Ok && !decoded.Cancelled && !decoded.Message.empty())
                hooks.notify(i, decoded.Message);
        }
        if (!ws.CancelRequested && ws.Card(i).PixelsReady) {
            hooks.scanStarting(i);
            const ScanOutcome outcome = ScanImage(ws, i, progress);
            if (outcome.Status == ScanStatus::Done || outcome.Status == ScanStatus::NoStains) {
                if (!outcome.Message.empty())
                    hooks.notify(i, outcome.Message);
                // One notice per run: every card of it has the same spread factor.
                if (outcome.ZeroVolume && !zeroVolumeTold) {
                    hooks.notify(i, kZeroVolumeNotice);
                    zeroVolumeTold = true;
                }
                hooks.scanned(i, outcome);
                ++summary.Scanned;
            }
        }
        if (ws.CancelRequested)
            break;
    }

    if (ws.CancelRequested) {
        ws.CancelRequested = false;
        summary.Cancelled = true;
    }
    return summary;
}

} // namespace

ScanAllSummary ScanCards(Workspace &ws, const std::vector<int> &cards, DecodeQuestions &questions,
                         ScanAllHooks &hooks, ProgressSink &progress)
{
    return scanList(ws, cards, false, questions, hooks, progress);
}

ScanAllSummary ScanAllCards(Workspace &ws, DecodeQuestions &questions, ScanAllHooks &hooks,
                            ProgressSink &progress)
{
    const int remembered = ws.CurrentCard;
    std::vector<int> all(static_cast<size_t>(ws.CardCount()));
    std::iota(all.begin(), all.end(), 1);
    const ScanAllSummary summary = scanList(ws, all, true, questions, hooks, progress);
    if (!summary.Cancelled)
        ws.CurrentCard = remembered;
    return summary;
}

} // namespace velmara
