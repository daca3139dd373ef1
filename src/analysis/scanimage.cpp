#include "analysis/scanimage.h"

#include "analysis/sizetablebuilder.h"
#include "analysis/stainwalk.h"

#include <algorithm>

namespace velmara {

namespace {

Byte SliderValue(int v) { return static_cast<Byte>(std::clamp(v, 0, 255)); }

// Largest MaxDiameter among the scanned cards, from 0.
Single MaxDiameterOfScanned(const Workspace &ws)
{
    Single m = 0;
    for (int i = 1; i <= ws.CardCount(); ++i)
        if (ws.Card(i).Scanned && ws.Card(i).MaxDiameter > m)
            m = ws.Card(i).MaxDiameter;
    return m;
}

} // namespace

ScanOutcome ScanImage(Workspace &ws, int index, ProgressSink &progress)
{
    ScanOutcome out;
    if (index < 1 || index > ws.CardCount())
        return out;
    CardImage &card = ws.Card(index);
    if (!card.PixelsReady || card.Pixels.size() < 2)
        return out;

    StainFilter filter;
    filter.HueLow = SliderValue(ws.Slider1);
    filter.HueHigh = SliderValue(ws.Slider2);
    filter.HueInvert = ws.HueInvertCheck;
    filter.ShapeLimit = StainFilter::limitOf(ws.ShapeThreshold);
    filter.HueLimit = StainFilter::limitOf(ws.HueThreshold);
    filter.Pi = ws.Pi;
    filter.SplitOverlaps = ws.SplitOverlaps;
    out.HueLow = filter.HueLow;
    out.HueHigh = filter.HueHigh;
    out.HueInvert = filter.HueInvert;

    // Nothing of the card changes until the walk has run to its end, so a cancel leaves it whole.
    SizeTableBuilder sizes(card.MicronsPerPixelX, ws.SpreadFactor, ws.Pi);
    StainWalk walk(filter);
    progress.Start(static_cast<long>(card.Pixels.size() - 1));
    const bool finished =
        walk.run(card.Pixels, ws.CancelRequested, progress, [&sizes](Long area) { sizes.add(area); });
    progress.Finish();
    if (!finished) {
        out.Status = ScanStatus::Cancelled;
        return out;
    }

    sizes.apply(card, walk.rejected());
    out.StainCount = sizes.stainCount();
    out.Rejected = walk.rejected();
    if (sizes.stainCount() == 0) {
        out.Status = ScanStatus::NoStains;
        out.Message = kNoValidSpotsMessage;
    } else {
        out.Status = ScanStatus::Done;
        out.ZeroVolume = sizes.zeroVolume();
    }
    card.SplitScan = ws.SplitOverlaps;
    card.SplitStains = walk.splitStains();
    card.SplitParts = walk.splitParts();
    card.Scanned = true;
    ws.MaxDiameterAll = MaxDiameterOfScanned(ws);
    return out;
}

} // namespace velmara
