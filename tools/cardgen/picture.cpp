#include "cardgen/cardgen.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace velmara::cardgen {

namespace {

// The columns [x0, x1] of line dy of a disc of squared radius r2 centred at column cx, or false
// when the line misses the disc. The square root only gives a first guess; the exact membership
// test settles the ends, so that the painted disc is the one the header defines.
bool discSpan(double cx, double dy, double r2, long long &x0, long long &x1)
{
    const double rem = r2 - dy * dy;
    if (rem < 0)
        return false;
    const double s = std::sqrt(rem);
    const auto inside = [&](long long x) {
        const double dx = static_cast<double>(x) - cx;
        return dx * dx + dy * dy <= r2;
    };
    x0 = static_cast<long long>(std::ceil(cx - s));
    x1 = static_cast<long long>(std::floor(cx + s));
    while (inside(x0 - 1))
        --x0;
    while (x0 <= x1 && !inside(x0))
        ++x0;
    while (inside(x1 + 1))
        ++x1;
    while (x1 >= x0 && !inside(x1))
        --x1;
    return x0 <= x1;
}

// Ordered dither thresholds: a share of 1/2 gives a checkerboard.
constexpr int kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

} // namespace

IndexedImage::IndexedImage(int w, int h, std::vector<Rgb> colours, std::uint8_t fill)
    : width(w), height(h), pixels(static_cast<size_t>(w) * static_cast<size_t>(h), fill), palette(std::move(colours))
{
}

long long IndexedImage::count(std::uint8_t index) const
{
    return std::count(pixels.begin(), pixels.end(), index);
}

RgbImage ToRgb(const IndexedImage &image)
{
    RgbImage out;
    out.width = image.width;
    out.height = image.height;
    out.data.resize(image.pixels.size() * 3);
    std::array<Rgb, 256> table{};
    std::copy(image.palette.begin(), image.palette.begin() + std::min<size_t>(image.palette.size(), 256), table.begin());
    std::uint8_t *d = out.data.data();
    for (std::uint8_t p : image.pixels) {
        const Rgb c = table[p];
        *d++ = c.r;
        *d++ = c.g;
        *d++ = c.b;
    }
    return out;
}

int HueOf(Rgb c)
{
    const int mx = std::max({c.r, c.g, c.b});
    const int mn = std::min({c.r, c.g, c.b});
    const int d = mx - mn;
    float h;
    if (d == 0)
        h = -2.0f;
    else if (c.r == mx)
        h = static_cast<float>(static_cast<double>(c.g - c.b) / d);
    else if (c.g == mx)
        h = static_cast<float>(2.0 + static_cast<double>(c.b - c.r) / d);
    else
        h = static_cast<float>(4.0 + static_cast<double>(c.r - c.g) / d);
    h = static_cast<float>(static_cast<double>(h) / 6.0);
    if (h < 0)
        h = static_cast<float>(static_cast<double>(h) + 1.0);
    else if (h > 1)
        h = static_cast<float>(static_cast<double>(h) - 1.0);
    return static_cast<int>(static_cast<double>(h) * 255.0);
}

Rgb ColourOfHue(int hue)
{
    static const std::array<Rgb, 255> table = [] {
        std::array<Rgb, 255> t{};
        std::array<bool, 256> found{};
        const auto offer = [&](Rgb c) {
            const int h = HueOf(c);
            if (h >= 0 && h < 255 && !found[h]) {
                found[h] = true;
                t[h] = c;
            }
        };
        for (int k = 0; k <= 255; ++k) {
            const auto u = static_cast<std::uint8_t>(k);
            const auto v = static_cast<std::uint8_t>(255 - k);
            offer({255, u, 0});
            offer({v, 255, 0});
            offer({0, 255, u});
            offer({0, v, 255});
            offer({u, 0, 255});
            offer({255, 0, v});
        }
        return t;
    }();
    return table[static_cast<size_t>(std::clamp(hue, 0, 254))];
}

Rgb Tint(Rgb c, double amount)
{
    const auto mix = [amount](std::uint8_t v) {
        return static_cast<std::uint8_t>(std::lround(v + (255.0 - v) * std::clamp(amount, 0.0, 1.0)));
    };
    return {mix(c.r), mix(c.g), mix(c.b)};
}

long long PaintDisc(IndexedImage &image, const Disc &disc)
{
    const double r2 = disc.radius * disc.radius;
    const long long yTop = std::max<long long>(0, static_cast<long long>(std::floor(disc.cy - disc.radius)) - 1);
    const long long yBottom =
        std::min<long long>(image.height - 1, static_cast<long long>(std::ceil(disc.cy + disc.radius)) + 1);
    long long painted = 0;
    for (long long y = yTop; y <= yBottom; ++y) {
        long long x0 = 0, x1 = 0;
        if (!discSpan(disc.cx, static_cast<double>(y) - disc.cy, r2, x0, x1))
            continue;
        x0 = std::max<long long>(x0, 0);
        x1 = std::min<long long>(x1, image.width - 1);
        if (x0 > x1)
            continue;
        std::memset(image.row(static_cast<int>(y)) + x0, disc.index, static_cast<size_t>(x1 - x0 + 1));
        painted += x1 - x0 + 1;
    }
    return painted;
}

long long DiscArea(double radius)
{
    const double r2 = radius * radius;
    const auto reach = static_cast<long long>(std::ceil(radius)) + 1;
    long long area = 0;
    for (long long y = -reach; y <= reach; ++y) {
        long long x0 = 0, x1 = 0;
        if (discSpan(0.0, static_cast<double>(y), r2, x0, x1))
            area += x1 - x0 + 1;
    }
    return area;
}

void FillDithered(IndexedImage &image, std::uint8_t first, std::uint8_t second, double share)
{
    const int threshold = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * 16));
    for (int y = 0; y < image.height; ++y) {
        std::uint8_t *row = image.row(y);
        const int *bayer = kBayer[y % 4];
        for (int x = 0; x < image.width; ++x)
            row[x] = bayer[x % 4] >= 16 - threshold ? second : first;
    }
}

IndexedImage MakeCard(const CardSpec &spec)
{
    const int n = spec.paletteSize;
    const auto fits = [n](int index) { return index >= 0 && index < n; };
    if (spec.width < 1 || spec.height < 1 || n < 1 || n > 256 || !fits(spec.backgroundIndex)
        || (spec.ditherIndex >= 0 && !fits(spec.ditherIndex)))
        return {};
    for (const auto &[index, colour] : spec.colours)
        if (!fits(index))
            return {};
    for (const Disc &d : spec.discs)
        if (!fits(d.index))
            return {};

    std::vector<Rgb> palette(static_cast<size_t>(n));
    for (const auto &[index, colour] : spec.colours)
        palette[static_cast<size_t>(index)] = colour;
    palette[static_cast<size_t>(spec.backgroundIndex)] = spec.background;
    if (spec.ditherIndex >= 0)
        palette[static_cast<size_t>(spec.ditherIndex)] = spec.ditherColour;

    IndexedImage image(spec.width, spec.height, std::move(palette), static_cast<std::uint8_t>(spec.backgroundIndex));
    if (spec.ditherIndex >= 0)
        FillDithered(image, static_cast<std::uint8_t>(spec.backgroundIndex),
                     static_cast<std::uint8_t>(spec.ditherIndex), spec.ditherShare);
    for (const Disc &d : spec.discs)
        PaintDisc(image, d);
    return image;
}

SheetSpec SheetFromInches(int dpi, int columns, int rows, double cellWidth, double cellHeight, double spaceH,
                          double spaceV, double marginH, double marginV)
{
    SheetSpec s;
    s.columns = columns;
    s.rows = rows;
    s.left = static_cast<int>(std::lround(marginH * dpi));
    s.top = static_cast<int>(std::lround(marginV * dpi));
    s.pitchX = static_cast<int>(std::lround((cellWidth + spaceH) * dpi));
    s.pitchY = static_cast<int>(std::lround((cellHeight + spaceV) * dpi));
    return s;
}

IndexedImage MakeSheet(const SheetSpec &spec, const std::vector<IndexedImage> &cards)
{
    if (cards.empty() || spec.columns < 1 || spec.rows < 1)
        return {};
    int widest = 0, tallest = 0;
    for (const IndexedImage &c : cards) {
        widest = std::max(widest, c.width);
        tallest = std::max(tallest, c.height);
    }
    const int pitchX = spec.pitchX > 0 ? spec.pitchX : widest;
    const int pitchY = spec.pitchY > 0 ? spec.pitchY : tallest;
    const int width = spec.width > 0 ? spec.width : 2 * spec.left + (spec.columns - 1) * pitchX + widest;
    const int height = spec.height > 0 ? spec.height : 2 * spec.top + (spec.rows - 1) * pitchY + tallest;

    IndexedImage sheet(width, height, cards.front().palette, spec.backgroundIndex);
    const size_t placed = std::min(cards.size(), static_cast<size_t>(spec.columns) * static_cast<size_t>(spec.rows));
    for (size_t n = 0; n < placed; ++n) {
        const IndexedImage &card = cards[n];
        const int x0 = spec.left + static_cast<int>(n % static_cast<size_t>(spec.columns)) * pitchX;
        const int y0 = spec.top + static_cast<int>(n / static_cast<size_t>(spec.columns)) * pitchY;
        const int w = std::min(card.width, width - x0);
        for (int y = 0; y < card.height && y0 + y < height; ++y)
            if (w > 0 && x0 >= 0 && y0 + y >= 0)
                std::memcpy(sheet.row(y0 + y) + x0, card.row(y), static_cast<size_t>(w));
    }
    return sheet;
}

} // namespace velmara::cardgen
