#include "analysis/scanallcards.h"

namespace velmara {

ScanAllSummary ScanAllCards(Workspace &ws, DecodeQuestions &questions, ScanAllHooks &hooks,
                            ProgressSink &progress)
{
    ScanAllSummary summary;
    const int remembered = ws.CurrentCard;
    bool zeroVolumeTold = false;

    for (int i = 1; i <= ws.CardCount(); ++i) {
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
        return summary;
    }
    ws.CurrentCard = remembered;
    return summary;
}

} // namespace velmara
