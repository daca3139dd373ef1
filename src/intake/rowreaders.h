#pragma once
// Internal to intake: the streaming readers behind OpenPictureRows and the row conversions they
// share. Every reader converts whole rows, never pixel by pixel through a virtual call.

#include "intake/picture.h"
#include "intake/rowreader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace velmara::intake_detail {

std::unique_ptr<PictureRows> OpenBmpRows(const std::string &path, std::string &error);
std::unique_ptr<PictureRows> OpenGifRows(const std::string &path, std::string &error);
std::unique_ptr<PictureRows> OpenTiffRows(const std::string &path, std::string &error);
std::unique_ptr<PictureRows> OpenPngRows(const std::string &path, std::string &error);
std::unique_ptr<PictureRows> OpenJpegRows(const std::string &path, std::string &error);

// The reader of type Rows opened on path, or null with error set: every reader's open() says why.
template <class Rows>
std::unique_ptr<PictureRows> OpenRows(const std::string &path, std::string &error)
{
    auto rows = std::make_unique<Rows>();
    if (!rows->open(path, error))
        return nullptr;
    return rows;
}

// Keeps the row count of every reader honest: count rows from the next one, no more than are left.
inline bool RowsLeft(const RowPictureInfo &info, int next, int count, std::string &error)
{
    if (count < 0 || count > info.Height - next) {
        error = "The picture has fewer lines than asked for.";
        return false;
    }
    return true;
}

// The outside size every reader accepts, with the sentence that refuses the rest.
inline bool SizeOk(std::int64_t width, std::int64_t height, std::string &error)
{
    if (width >= 1 && height >= 1 && width <= kMaxPictureSide && height <= kMaxPictureSide)
        return true;
    error = "The picture is " + std::to_string(width) + " by " + std::to_string(height) +
            " pixels; a picture must have 1 to 32767 lines and columns.";
    return false;
}

inline constexpr const char *kCmykRefusal =
    "The picture is stored in CMYK colours, which can't be analysed; save it as RGB.";

// Resolution from pixels per metre. Writers store a whole number of pixels per metre, so 600 dpi
// comes back as 599.9988; a value within half a step of a whole dpi is taken as that dpi.
inline double DpiFromPerMetre(double perMetre)
{
    if (perMetre <= 0)
        return 0;
    const double dpi = perMetre * 0.0254;
    const double whole = static_cast<double>(static_cast<std::int64_t>(dpi + 0.5));
    return (dpi - whole <= 0.0127 && whole - dpi <= 0.0127) ? whole : dpi;
}

// A 16-bit sample brought to 8 bits with rounding (65535 -> 255, 0xFF00 -> 254, 0x00FF -> 1).
inline unsigned Reduce16(std::uint32_t v) { return (v * 255u + 32767u) / 65535u; }

// colour over white by alpha, both out of max.
inline std::uint32_t OverWhite(std::uint32_t colour, std::uint32_t alpha, std::uint32_t max, bool premultiplied)
{
    if (alpha > max)
        alpha = max;
    const std::uint64_t white = static_cast<std::uint64_t>(max) * (max - alpha);
    const std::uint64_t ink = premultiplied ? static_cast<std::uint64_t>(std::min(colour, alpha)) * max
                                            : static_cast<std::uint64_t>(colour) * alpha;
    return static_cast<std::uint32_t>((ink + white + max / 2) / max);
}

// How the samples of one pixel lie in a decoded row of 8 or 16 bits a sample.
struct SampleLayout
{
    int Stride = 3;        // samples per pixel as stored
    int Colours = 3;       // 1: grey, 3: red, green, blue (the first samples of the pixel)
    int AlphaAt = -1;      // the sample holding alpha, -1 without
    bool Premultiplied = false;
    bool Sixteen = false;  // 16-bit samples
    bool BigEndian = false; // byte order of 16-bit samples
    bool Inverted = false;  // 0 is white (a grey picture stored "min is white")
};

// Converts n pixels of such a row to 8-bit red, green, blue.
inline void ConvertSamples(const Byte *src, int n, const SampleLayout &l, Byte *out)
{
    if (!l.Sixteen && l.AlphaAt < 0 && !l.Inverted) {
        if (l.Colours == 3 && l.Stride == 3) {
            std::memcpy(out, src, static_cast<size_t>(n) * 3);
            return;
        }
        if (l.Colours == 1) {
            for (int x = 0; x < n; ++x, src += l.Stride, out += 3)
                out[0] = out[1] = out[2] = src[0];
            return;
        }
        for (int x = 0; x < n; ++x, src += l.Stride, out += 3)
            out[0] = src[0], out[1] = src[1], out[2] = src[2];
        return;
    }
    const std::uint32_t max = l.Sixteen ? 65535u : 255u;
    const bool swap = l.Sixteen && (l.BigEndian != (std::endian::native == std::endian::big));
    const auto sample = [&](const Byte *p, int i) -> std::uint32_t {
        if (!l.Sixteen)
            return p[i];
        std::uint16_t v;
        std::memcpy(&v, p + 2 * i, 2);
        return swap ? static_cast<std::uint16_t>(v << 8 | v >> 8) : v;
    };
    const int pixelBytes = l.Stride * (l.Sixteen ? 2 : 1);
    for (int x = 0; x < n; ++x, src += pixelBytes, out += 3) {
        std::uint32_t c[3];
        for (int k = 0; k < 3; ++k) {
            c[k] = sample(src, l.Colours == 1 ? 0 : k);
            if (l.Inverted)
                c[k] = max - c[k];
        }
        if (l.AlphaAt >= 0) {
            const std::uint32_t a = sample(src, l.AlphaAt);
            for (std::uint32_t &v : c)
                v = OverWhite(v, a, max, l.Premultiplied);
        }
        for (int k = 0; k < 3; ++k)
            out[k] = static_cast<Byte>(l.Sixteen ? Reduce16(c[k]) : c[k]);
    }
}

// Indexes of 1, 2, 4 or 8 bits (first pixel in the high bits) through a table of 256 colours;
// an index beyond the colours the file gave reads as black.
using ColourLut = std::array<Byte, 256 * 3>;

inline void ConvertIndexes(const Byte *src, int n, int bits, const ColourLut &lut, Byte *out)
{
    if (bits == 8) {
        for (int x = 0; x < n; ++x, out += 3)
            std::memcpy(out, &lut[3 * src[x]], 3);
        return;
    }
    const int perByte = 8 / bits;
    const unsigned mask = (1u << bits) - 1;
    for (int x = 0; x < n; ++x, out += 3) {
        const int shift = 8 - bits * (x % perByte + 1);
        std::memcpy(out, &lut[3 * ((src[x / perByte] >> shift) & mask)], 3);
    }
}

} // namespace velmara::intake_detail
