// Registration and decoding of any input as a card. The first byte picks the file's ending (BMP,
// GIF or TIF); the rest is the file. A card either registers and decodes to a well-formed pixel
// list, or gives a message and leaves the list sound.

#include "fuzzfile.h"
#include "intake/decode.h"
#include "intake/loadimage.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, size_t size)
{
    using namespace velmara;
    if (size < 1)
        return 0;
    static const char *const kNames[3] = {"card.bmp", "card.gif", "card.tif"};
    const std::string name = kNames[data[0] % 3];
    fuzz::WriteInput(name, data + 1, size - 1);

    Workspace ws;
    const LoadResult loaded = LoadImage(ws, name, fuzz::FuzzFolder());
    if (!loaded.Ok) {
        if (loaded.Message.empty() || ws.CardCount() != 0)
            std::abort();
        return 0;
    }
    FixedAnswers answers(data[0] & 4 ? Answer::No : Answer::Yes, data[0] & 8 ? Answer::No : Answer::Yes);
    const DecodeResult decoded = DecodeCard(ws, loaded.CardIndex, answers);
    const CardImage &card = ws.Card(loaded.CardIndex);
    if (!decoded.Ok) {
        if (decoded.Message.empty() || card.PixelsReady)
            std::abort();
        return 0;
    }
    // The list: element 0, pixels bottom line first and left to right, then the closing element.
    const auto &px = card.Pixels;
    if (px.size() < 2 || px.back().Column != card.WidthPx || px.back().PaletteIndex != 0)
        std::abort();
    for (size_t i = 1; i + 1 < px.size(); ++i) {
        const CardPixel &p = px[i];
        if (p.Row < 1 || p.Row > card.HeightPx || p.Column < 1 || p.Column > card.WidthPx ||
            p.PaletteIndex == card.BackgroundIndex || p.PaletteIndex == card.DitherIndex)
            std::abort();
        if (i > 1 && (p.Row > px[i - 1].Row || (p.Row == px[i - 1].Row && p.Column <= px[i - 1].Column)))
            std::abort();
    }
    long total = 0;
    for (Long n : card.HueCount)
        total += n;
    if (total != static_cast<long>(px.size()) - 2)
        std::abort();
    return 0;
}
