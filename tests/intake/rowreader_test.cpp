#include "intake/rowreader.h"

#include "testimages.h"

#include <png.h>
#include <tiffio.h>

#include <zlib.h>

#include <bit>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <functional>
// jpeglib.h needs size_t and FILE declared before it.
#include <jpeglib.h>

#include <gtest/gtest.h>

using namespace velmara;
using namespace velmara::test;

namespace {

constexpr int kW = 37, kH = 19; // odd sizes: padded bitmap rows, part-filled bytes and tiles

// A picture described by its samples: channels 1 grey, 2 grey + alpha, 3 RGB, 4 RGBA, or 0 for
// colour table indexes of `bits` bits.
struct Pic
{
    int channels = 3;
    int bits = 8;

    std::uint32_t max() const { return (1u << bits) - 1; }
    std::uint32_t sample(int x, int y, int c) const
    {
        static constexpr std::uint16_t k16[] = {0x0000, 0x00FF, 0xFF00, 0xFFFF, 0x8080, 0x1234};
        if ((channels == 2 || channels == 4) && c == channels - 1) // alpha: clear, solid, half
            return x % 3 == 0 ? 0 : x % 3 == 1 ? max() : (max() + 1) / 2;
        if (channels == 0 || bits < 8)
            return static_cast<std::uint32_t>(x + 2 * y + c) % (max() + 1);
        if (bits == 16)
            return k16[(x + 2 * y + c) % 6];
        return static_cast<std::uint32_t>(x * 2 + y * 3 + c * 50) & max();
    }
    static std::array<Byte, 3> Palette(std::uint32_t i)
    {
        return {static_cast<Byte>(i * 37 + 5), static_cast<Byte>(i * 91 + 11), static_cast<Byte>(255 - i * 13)};
    }
    // The colour a reader must give, as a real number, alpha laid over white.
    std::array<double, 3> expected(int x, int y) const
    {
        std::array<double, 3> rgb;
        for (int k = 0; k < 3; ++k)
            rgb[k] = channels == 0 ? Palette(sample(x, y, 0))[k]
                                   : sample(x, y, channels >= 3 ? k : 0) * 255.0 / max();
        if (channels == 2 || channels == 4) {
            const double a = sample(x, y, channels - 1) / double(max());
            for (double &v : rgb)
                v = v * a + 255 * (1 - a);
        }
        return rgb;
    }
    int stored() const { return channels == 0 ? 1 : channels; }
    // One row packed as files store it: first pixel in the high bits, 16-bit samples in the given order.
    Bytes row(int y, bool bigEndian) const
    {
        Bytes out((static_cast<size_t>(kW) * stored() * bits + 7) / 8, 0);
        for (int x = 0, i = 0; x < kW; ++x)
            for (int c = 0; c < stored(); ++c, ++i) {
                const std::uint32_t v = sample(x, y, c);
                if (bits == 16) {
                    out[2 * i + (bigEndian ? 0 : 1)] = static_cast<Byte>(v >> 8);
                    out[2 * i + (bigEndian ? 1 : 0)] = static_cast<Byte>(v);
                } else if (bits == 8) {
                    out[i] = static_cast<Byte>(v);
                } else {
                    out[i * bits / 8] |= static_cast<Byte>(v << (8 - bits - i * bits % 8));
                }
            }
        return out;
    }
};

// --- writers -----------------------------------------------------------------------------------

// A bitmap: indexes, 24 bits, or 16/32 bits through masks (none given: plain 32-bit BGRx).
Bytes BmpOf(const Pic &p, int fileBits, bool topDown, std::array<std::uint32_t, 3> masks = {})
{
    const bool indexed = p.channels == 0, masked = masks[0] != 0;
    const size_t table = indexed ? 4u << p.bits : masked ? 12 : 0;
    const size_t stride = (static_cast<size_t>(kW) * fileBits + 31) / 32 * 4;
    Bytes f(54 + table, 0);
    f[0] = 'B', f[1] = 'M', f[26] = 1, f[28] = static_cast<Byte>(fileBits), f[30] = masked ? 3 : 0;
    Put32(f, 10, static_cast<long>(f.size())), Put32(f, 14, 40), Put32(f, 18, kW);
    Put32(f, 22, topDown ? -kH : kH), Put32(f, 38, 23622), Put32(f, 42, 23622);
    for (int k = 0; masked && k < 3; ++k)
        Put32(f, 54 + 4 * k, static_cast<long>(masks[k]));
    for (std::uint32_t i = 0; indexed && i < (1u << p.bits); ++i)
        for (int k = 0; k < 3; ++k)
            f[54 + 4 * i + 2 - k] = Pic::Palette(i)[k];
    for (int r = 0; r < kH; ++r) {
        const int y = topDown ? r : kH - 1 - r;
        Bytes row = indexed ? p.row(y, false) : Bytes(stride, 0);
        for (int x = 0; !indexed && x < kW; ++x) {
            std::uint32_t px = 0;
            for (int k = 0; k < 3; ++k)
                px |= masked ? p.sample(x, y, k) << std::countr_zero(masks[k]) : p.sample(x, y, k) << (16 - 8 * k);
            for (int b = 0; b < fileBits / 8; ++b)
                row[x * fileBits / 8 + b] = static_cast<Byte>(px >> (8 * b));
        }
        row.resize(stride, 0);
        f.insert(f.end(), row.begin(), row.end());
    }
    return f;
}

void WritePng(const std::string &path, const Pic &p, bool interlaced)
{
    std::FILE *f = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)))
        FAIL() << "libpng could not write " << path;
    png_init_io(png, f);
    static constexpr int kTypes[] = {PNG_COLOR_TYPE_PALETTE, PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA,
                                     PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGB_ALPHA};
    png_set_IHDR(png, info, kW, kH, p.bits, kTypes[p.channels],
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, 0, 0);
    if (p.channels == 0) {
        std::vector<png_color> table;
        for (std::uint32_t i = 0; i <= p.max(); ++i)
            table.push_back({Pic::Palette(i)[0], Pic::Palette(i)[1], Pic::Palette(i)[2]});
        png_set_PLTE(png, info, table.data(), static_cast<int>(table.size()));
    }
    png_set_pHYs(png, info, 23622, 23622, PNG_RESOLUTION_METER);
    png_write_info(png, info);
    std::vector<Bytes> rows;
    std::vector<png_bytep> pointers;
    for (int y = 0; y < kH; ++y)
        rows.push_back(p.row(y, true));
    for (Bytes &r : rows)
        pointers.push_back(r.data());
    png_write_image(png, pointers.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(f);
}

// Grey, RGB or (components 4) CMYK at quality 95, JFIF density in dots per centimetre.
void WriteJpeg(const std::string &path, int components, bool progressive)
{
    jpeg_compress_struct c{};
    jpeg_error_mgr err{};
    c.err = jpeg_std_error(&err);
    jpeg_create_compress(&c);
    std::FILE *f = std::fopen(path.c_str(), "wb");
    jpeg_stdio_dest(&c, f);
    c.image_width = kW, c.image_height = kH, c.input_components = components;
    c.in_color_space = components == 1 ? JCS_GRAYSCALE : components == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, 95, TRUE);
    c.density_unit = 2, c.X_density = 100, c.Y_density = 100;
    if (progressive)
        jpeg_simple_progression(&c);
    jpeg_start_compress(&c, TRUE);
    const Pic p{std::min(components, 3), 8};
    for (int y = 0; y < kH; ++y) {
        Bytes row = p.row(y, true);
        if (components == 4)
            for (int x = kW - 1; x >= 0; --x)
                row.insert(row.begin() + 3 * x + 3, 0);
        JSAMPROW r = row.data();
        jpeg_write_scanlines(&c, &r, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    std::fclose(f);
}

void WriteTif(const std::string &path, const Pic &p, std::uint16_t photometric, std::uint16_t compression = 1,
              bool tiled = false)
{
    TIFF *t = TIFFOpen(path.c_str(), "w");
    const int samples = p.stored() + (photometric == PHOTOMETRIC_SEPARATED);
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, kW), TIFFSetField(t, TIFFTAG_IMAGELENGTH, kH);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, p.bits), TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, photometric), TIFFSetField(t, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_XRESOLUTION, 300.0), TIFFSetField(t, TIFFTAG_YRESOLUTION, 300.0);
    TIFFSetField(t, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
    if (p.channels == 2 || p.channels == 4) {
        const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(t, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    std::vector<std::uint16_t> map[3];
    for (std::uint32_t i = 0; p.channels == 0 && i <= p.max(); ++i)
        for (int k = 0; k < 3; ++k)
            map[k].push_back(static_cast<std::uint16_t>(Pic::Palette(i)[k] * 257));
    if (p.channels == 0)
        TIFFSetField(t, TIFFTAG_COLORMAP, map[0].data(), map[1].data(), map[2].data());
    std::vector<Bytes> rows;
    for (int y = 0; y < kH; ++y) {
        rows.push_back(p.row(y, std::endian::native == std::endian::big));
        if (photometric == PHOTOMETRIC_SEPARATED)
            rows.back().resize(rows.back().size() * 4 / 3, 0);
    }
    if (!tiled) {
        TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, 4);
        for (int y = 0; y < kH; ++y)
            TIFFWriteScanline(t, rows[y].data(), static_cast<std::uint32_t>(y), 0);
    } else {
        TIFFSetField(t, TIFFTAG_TILEWIDTH, 16), TIFFSetField(t, TIFFTAG_TILELENGTH, 16);
        const size_t px = rows[0].size() / kW;
        Bytes tile(static_cast<size_t>(TIFFTileSize(t)));
        for (int ty = 0; ty < kH; ty += 16)
            for (int tx = 0; tx < kW; tx += 16) {
                std::fill(tile.begin(), tile.end(), 0);
                for (int r = 0; r < 16 && ty + r < kH; ++r)
                    std::copy_n(rows[ty + r].begin() + tx * px, std::min(16, kW - tx) * px, tile.begin() + 16 * px * r);
                TIFFWriteTile(t, tile.data(), tx, ty, 0, 0);
            }
    }
    TIFFClose(t);
}

// Colour table indexes by the card generator, whose GIF layout is checked in tests/core.
void WriteGif(const std::string &path, const Pic &p)
{
    IndexedImage im(kW, kH, {});
    for (std::uint32_t i = 0; i <= p.max(); ++i)
        im.palette.push_back({Pic::Palette(i)[0], Pic::Palette(i)[1], Pic::Palette(i)[2]});
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            im.row(y)[x] = static_cast<Byte>(p.sample(x, y, 0));
    ASSERT_TRUE(cardgen::WriteGif(im, path, p.bits));
}

// --- reading -----------------------------------------------------------------------------------

// Opens and reads every row, two at a time; the refusal's text, or "" with info and rgb set.
std::string ReadAll(const std::string &path, RowPictureInfo *info = nullptr, Bytes *rgb = nullptr)
{
    std::string error;
    const auto rows = OpenPictureRows(path, error);
    if (!rows)
        return error.empty() ? "(no reason given)" : error;
    const RowPictureInfo &i = rows->Info();
    Bytes all(static_cast<size_t>(i.Width) * i.Height * 3, 0xAB);
    for (int y = 0; y < i.Height; y += 2)
        if (!rows->ReadRows(std::min(2, i.Height - y), all.data() + static_cast<size_t>(y) * i.Width * 3, error))
            return error.empty() ? "(no reason given)" : error;
    if (info)
        *info = i;
    if (rgb)
        *rgb = std::move(all);
    return "";
}

struct Case
{
    const char *name;
    Pic pic;
    PictureFormat format;
    double dpi;
    int tolerance; // 0: every sample exact after rounding; alpha and JPEG come out near
    std::function<void(const std::string &, const Pic &)> write;
};

auto Bmp(int fileBits, bool topDown, std::array<std::uint32_t, 3> masks = {})
{
    return [=](const std::string &path, const Pic &p) { WriteBytes(path, BmpOf(p, fileBits, topDown, masks)); };
}
auto Png(bool interlaced = false)
{
    return [=](const std::string &path, const Pic &p) { WritePng(path, p, interlaced); };
}
auto Tif(std::uint16_t photometric, std::uint16_t compression = COMPRESSION_NONE, bool tiled = false)
{
    return [=](const std::string &path, const Pic &p) { WriteTif(path, p, photometric, compression, tiled); };
}
auto Jpeg(bool progressive)
{
    return [=](const std::string &path, const Pic &p) { WriteJpeg(path, p.channels, progressive); };
}

// The mean difference per sample between two pictures of the same size.
double MeanError(const Bytes &got, const Bytes &want)
{
    if (got.size() != want.size() || got.empty())
        return 1e9;
    double sum = 0;
    for (size_t i = 0; i < got.size(); ++i)
        sum += std::abs(got[i] - want[i]);
    return sum / static_cast<double>(got.size());
}

} // namespace

TEST(PictureRows, EveryFormatAndDepthReadsAsEightBitRgb)
{
    const Case cases[] = {
        {"bmp 1-bit table", {0, 1}, PictureFormat::Bmp, 600, 0, Bmp(1, false)},
        {"bmp 4-bit table", {0, 4}, PictureFormat::Bmp, 600, 0, Bmp(4, false)},
        {"bmp 8-bit table top-down", {0, 8}, PictureFormat::Bmp, 600, 0, Bmp(8, true)},
        {"bmp 24 bottom-up", {3, 8}, PictureFormat::Bmp, 600, 0, Bmp(24, false)},
        {"bmp 32", {3, 8}, PictureFormat::Bmp, 600, 0, Bmp(32, false)},
        {"bmp 32 masks reversed", {3, 8}, PictureFormat::Bmp, 600, 0, Bmp(32, true, {0xFF, 0xFF00, 0xFF0000})},
        {"bmp 32 10-bit masks", {3, 10}, PictureFormat::Bmp, 600, 0, Bmp(32, false, {0x3FF00000, 0xFFC00, 0x3FF})},
        {"bmp 16 5-5-5 masks", {3, 5}, PictureFormat::Bmp, 600, 0, Bmp(16, false, {0x7C00, 0x3E0, 0x1F})},
        {"png table 1", {0, 1}, PictureFormat::Png, 600, 0, Png()},
        {"png table 8", {0, 8}, PictureFormat::Png, 600, 0, Png()},
        {"png grey 1", {1, 1}, PictureFormat::Png, 600, 0, Png()},
        {"png grey 4", {1, 4}, PictureFormat::Png, 600, 0, Png()},
        {"png grey 16", {1, 16}, PictureFormat::Png, 600, 0, Png()},
        {"png grey alpha 8", {2, 8}, PictureFormat::Png, 600, 1, Png()},
        {"png grey alpha 16", {2, 16}, PictureFormat::Png, 600, 1, Png()},
        {"png rgb 8", {3, 8}, PictureFormat::Png, 600, 0, Png()},
        {"png rgb 16", {3, 16}, PictureFormat::Png, 600, 0, Png()},
        {"png rgba 8", {4, 8}, PictureFormat::Png, 600, 1, Png()},
        {"png rgba 16 interlaced", {4, 16}, PictureFormat::Png, 600, 1, Png(true)},
        {"tif table 2", {0, 2}, PictureFormat::Tif, 762, 0, Tif(PHOTOMETRIC_PALETTE)},
        {"tif table 8 lzw", {0, 8}, PictureFormat::Tif, 762, 0, Tif(PHOTOMETRIC_PALETTE, COMPRESSION_LZW)},
        {"tif grey 8", {1, 8}, PictureFormat::Tif, 762, 0, Tif(PHOTOMETRIC_MINISBLACK)},
        {"tif grey 16", {1, 16}, PictureFormat::Tif, 762, 0, Tif(PHOTOMETRIC_MINISBLACK, COMPRESSION_ADOBE_DEFLATE)},
        {"tif rgb 8", {3, 8}, PictureFormat::Tif, 762, 0, Tif(PHOTOMETRIC_RGB)},
        {"tif rgb 8 tiles", {3, 8}, PictureFormat::Tif, 762, 0, Tif(PHOTOMETRIC_RGB, COMPRESSION_LZW, true)},
        {"tif rgb 16", {3, 16}, PictureFormat::Tif, 762, 0, Tif(PHOTOMETRIC_RGB)},
        {"tif rgba 8", {4, 8}, PictureFormat::Tif, 762, 1, Tif(PHOTOMETRIC_RGB)},
        {"tif rgba 16 tiles", {4, 16}, PictureFormat::Tif, 762, 1, Tif(PHOTOMETRIC_RGB, COMPRESSION_NONE, true)},
        {"gif 2 colours", {0, 1}, PictureFormat::Gif, 0, 0, WriteGif},
        {"gif 256 colours", {0, 8}, PictureFormat::Gif, 0, 0, WriteGif},
        {"jpeg grey", {1, 8}, PictureFormat::Jpeg, 254, 8, Jpeg(false)},
        {"jpeg colour", {3, 8}, PictureFormat::Jpeg, 254, 8, Jpeg(false)},
        {"jpeg progressive", {3, 8}, PictureFormat::Jpeg, 254, 8, Jpeg(true)},
    };
    TempFolder dir;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir.file("picture");
        c.write(path, c.pic);
        RowPictureInfo info;
        Bytes rgb;
        ASSERT_EQ(ReadAll(path, &info, &rgb), "");
        EXPECT_EQ(info.Format, c.format);
        EXPECT_EQ(info.Width, kW);
        EXPECT_EQ(info.Height, kH);
        EXPECT_DOUBLE_EQ(info.DpiX, c.dpi);
        EXPECT_DOUBLE_EQ(info.DpiY, c.dpi);
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x)
                for (int k = 0; k < 3; ++k) {
                    const double want = c.pic.expected(x, y)[k];
                    const int got = rgb[(static_cast<size_t>(y) * kW + x) * 3 + k];
                    const double off = std::abs(got - (c.tolerance ? want : std::round(want)));
                    ASSERT_LE(off, c.tolerance) << "pixel " << x << "," << y << " channel " << k;
                }
    }
}

TEST(PictureRows, DamagedAndRefusedFilesSayWhy)
{
    TempFolder dir;
    const std::string png = dir.file("p.png"), jpg = dir.file("p.jpg"), tif = dir.file("p.tif");
    WritePng(png, {3, 8}, false);
    WriteJpeg(jpg, 3, false);
    WriteTif(tif, {3, 8}, PHOTOMETRIC_RGB);
    const Bytes pngBytes = ReadBytes(png), jpgBytes = ReadBytes(jpg), tifBytes = ReadBytes(tif);
    const Bytes bmpBytes = BmpOf({3, 8}, 24, false);
    const auto cut = [](Bytes b, size_t keep) { return b.resize(keep), b; };
    const auto poke = [](Bytes b, size_t at, Byte v) { return b[at] ^= v, b; };
    const auto header = [](Bytes b, size_t at, long v) { return Put32(b, at, v), b; };
    const auto pngHeight = [](Bytes b, std::uint32_t h) {
        for (int i = 0; i < 4; ++i)
            b[20 + i] = static_cast<Byte>(h >> (24 - 8 * i));
        const uLong crc = crc32(0, b.data() + 12, 17); // the header chunk's type and data
        for (int i = 0; i < 4; ++i)
            b[29 + i] = static_cast<Byte>(crc >> (24 - 8 * i));
        return b;
    };

    struct Refusal
    {
        const char *name;
        std::function<void(const std::string &)> write;
        std::string reason;
    };
    const auto bytes = [](Bytes b) { return [b](const std::string &path) { WriteBytes(path, b); }; };
    const Refusal refusals[] = {
        {"bmp cut", bytes(cut(bmpBytes, bmpBytes.size() - 10)), "The file is shorter than its header says; it may be truncated."},
        {"bmp wider than the file", bytes(header(bmpBytes, 18, 30000)), "The file is shorter than its header says; it may be truncated."},
        {"bmp absurd width", bytes(header(bmpBytes, 18, 40000)), "The picture is 40000 by 19 pixels; a picture must have 1 to 32767 lines and columns."},
        {"bmp scattered masks", bytes(BmpOf({3, 8}, 32, false, {0xF0F0, 0xFF0000, 0xFF000000})), "The bitmap's colour masks can't be read."},
        {"bmp run-length", bytes(header(bmpBytes, 30, 1)), "Compressed bitmaps can't be read."},
        {"png cut in its data", bytes(cut(pngBytes, pngBytes.size() - 40)), "The PNG file is truncated."},
        {"png data altered", bytes(poke(pngBytes, pngBytes.size() - 30, 0x55)), "The PNG file is damaged: IDAT"},
        {"png absurd height", bytes(pngHeight(pngBytes, 40000)), "The picture is 37 by 40000 pixels; a picture must have 1 to 32767 lines and columns."},
        {"jpeg cut", bytes(cut(jpgBytes, jpgBytes.size() - 100)), "The JPEG file is truncated."},
        {"jpeg cmyk", [](const std::string &p) { WriteJpeg(p, 4, false); }, "The picture is stored in CMYK colours, which can't be analysed; save it as RGB."},
        {"tif cut", bytes(cut(tifBytes, 200)), "The TIF file can't be read"},
        {"tif wider than its data", bytes(PatchTifTag(tifBytes, 256, 60)), "The TIF file can't be read"},
        {"tif absurd width", bytes(PatchTifTag(tifBytes, 256, 40000)), "The TIF picture of 40000 by 19 pixels can't be read."},
        {"tif cmyk", [](const std::string &p) { WriteTif(p, {3, 8}, PHOTOMETRIC_SEPARATED); }, "The picture is stored in CMYK colours, which can't be analysed; save it as RGB."},
    };
    for (const Refusal &r : refusals) {
        SCOPED_TRACE(r.name);
        const std::string path = dir.file("bad");
        r.write(path);
        EXPECT_EQ(ReadAll(path).substr(0, r.reason.size()), r.reason);
    }
}

// The committed colour line is what the card generator paints (the command in samples/README.md),
// read by the reader checked above; PNG and JPEG bytes depend on the codec libraries' versions, so
// the files are compared by their pixels. A writer that broke would show here once the samples
// were made again.
TEST(PictureRows, CommittedColourSamplesAreWhatTheGeneratorPaints)
{
    cardgen::ColourCardSpec base;
    base.width = 240;
    base.height = 480;
    base.noise = 0;
    const std::vector<cardgen::ColourCardSpec> line = cardgen::ColourLine(base, 6, 0.12);
    ASSERT_EQ(line.size(), 6u);
    for (size_t i = 0; i < line.size(); ++i) {
        const cardgen::ColourCard card(line[i]);
        const std::string stem = std::string(VELMARA_SOURCE_DIR) + "/samples/colour/card0" + std::to_string(i + 1);
        Bytes rgb;
        ASSERT_EQ(ReadAll(stem + (i % 2 ? ".jpg" : ".png"), nullptr, &rgb), "") << stem;
        EXPECT_LE(MeanError(rgb, card.image().data), i % 2 ? 3 : 0) << stem;
        const Bytes list = ReadBytes(stem + ".stains.csv");
        EXPECT_EQ(std::string(list.begin(), list.end()), card.stainList()) << stem;
    }
}
