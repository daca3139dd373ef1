#include "views/huehistogram.h"

#include <algorithm>
#include <cmath>

namespace velmara {

namespace {

int toPixel(double v)
{
    return static_cast<int>(std::nearbyint(std::clamp(v, -1.0e6, 1.0e6)));
}

} // namespace

UserScale InitialHistogramScale()
{
    return {-1.0, 256.0, 0.0, -101.0};
}

QRgb HueRgb(Long colour)
{
    return qRgb(colour & 0xff, (colour >> 8) & 0xff, (colour >> 16) & 0xff);
}

void DrawHueHistogram(Canvas &canvas, const CardImage &card, const Workspace &ws, QRgb background)
{
    Long top = 0;
    for (int h = 0; h <= 255; ++h)
        top = std::max(top, card.HueCount[static_cast<size_t>(h)]);
    UserScale s = InitialHistogramScale();
    s.Top = static_cast<double>(top) + 5.0;
    s.Height = -s.Top;
    canvas.setScale(s);
    canvas.clear(background);

    const int yTop = toPixel(canvas.toPixelY(s.Top));
    const int yBottom = toPixel(canvas.toPixelY(0.0));
    auto box = [&](double from, double to) {
        canvas.fillBox(toPixel(canvas.toPixelX(from)), yTop, toPixel(canvas.toPixelX(to)), yBottom,
                       0xffffffff);
    };
    if (!ws.HueInvertCheck) {
        box(ws.Slider1, ws.Slider2);
    } else {
        box(0, ws.Slider1);
        box(ws.Slider2, 255);
    }
    // Bars stand at h - 1, one unit left of the box edges, as the scale from -1 has it.
    for (int h = 0; h <= 255; ++h) {
        const Long count = card.HueCount[static_cast<size_t>(h)];
        if (count == 0)
            continue;
        const int x = toPixel(canvas.toPixelX(h - 1));
        canvas.line(x, yBottom, x, toPixel(canvas.toPixelY(count)),
                    HueRgb(ws.HueColour[static_cast<size_t>(h)]));
    }
}

int HistogramSliderValue(const Canvas &canvas, double px)
{
    const double x = std::nearbyint(canvas.toUserX(px));
    return static_cast<int>(std::clamp(x, 0.0, 255.0));
}

} // namespace velmara
