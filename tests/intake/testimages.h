#pragma once
// Small pictures written by the tests themselves: an 8-bit bitmap builder whose header can be made
// to lie, and GIF and TIF writers for the same picture.

#include "core/numeric.h"
#include "intake/picture.h"

#include <gif_lib.h>
#include <tiffio.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace velmara::test {

// A picture given as rows of palette indexes, top row first.
struct IndexedImage
{
    int width = 0;
    int height = 0;
    std::vector<PaletteEntry> palette;
    std::vector<Byte> pixels; // top-down, width per row

    Byte at(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }
    Picture toPicture() const
    {
        Picture p;
        p.Width = width;
        p.Height = height;
        p.BitsPerPixel = 8;
        p.Palette = palette;
        p.Data = pixels;
        return p;
    }
};

inline IndexedImage MakeImage(int width, int height, int colours, Byte fill = 0)
{
    IndexedImage im;
    im.width = width;
    im.height = height;
    for (int i = 0; i < colours; ++i)
        im.palette.push_back({static_cast<Byte>(i * 7), static_cast<Byte>(255 - i), static_cast<Byte>(i * 3)});
    im.pixels.assign(static_cast<size_t>(width) * height, fill);
    return im;
}

// Header fields a test may falsify, and a gap between colour table and pixels.
struct BmpOptions
{
    int bitsField = 8;
    long widthField = -1;  // -1: the picture's
    long heightField = -1;
    long coloursField = -1; // -1: the table size
    long pixelOffsetField = -1;
    int gap = 0;            // bytes between table and pixels, filled with gapByte
    Byte gapByte = 0;
    size_t truncateTo = 0;  // cut the file to this many bytes (0: don't)
};

inline void Put32(std::vector<Byte> &f, size_t at, long v)
{
    for (int i = 0; i < 4; ++i)
        f[at + i] = static_cast<Byte>(static_cast<unsigned long>(v) >> (8 * i));
}

inline std::vector<Byte> BmpBytes(const IndexedImage &im, const BmpOptions &o = {})
{
    const size_t stride = (static_cast<size_t>(im.width) + 3) & ~size_t{3};
    const size_t tableEnd = 54 + 4 * im.palette.size();
    const size_t pixelStart = tableEnd + o.gap;
    std::vector<Byte> f(pixelStart + stride * im.height, 0);
    f[0] = 'B';
    f[1] = 'M';
    Put32(f, 2, static_cast<long>(f.size()));
    Put32(f, 10, o.pixelOffsetField >= 0 ? o.pixelOffsetField : static_cast<long>(pixelStart));
    Put32(f, 14, 40);
    Put32(f, 18, o.widthField >= 0 ? o.widthField : im.width);
    Put32(f, 22, o.heightField != -1 ? o.heightField : im.height);
    f[26] = 1;
    f[28] = static_cast<Byte>(o.bitsField);
    f[29] = static_cast<Byte>(o.bitsField >> 8);
    Put32(f, 34, static_cast<long>(stride * im.height));
    Put32(f, 46, o.coloursField >= 0 ? o.coloursField : static_cast<long>(im.palette.size()));
    Put32(f, 50, static_cast<long>(im.palette.size()));
    for (size_t i = 0; i < im.palette.size(); ++i) {
        f[54 + 4 * i] = im.palette[i].Blue;
        f[54 + 4 * i + 1] = im.palette[i].Green;
        f[54 + 4 * i + 2] = im.palette[i].Red;
    }
    std::fill(f.begin() + tableEnd, f.begin() + pixelStart, o.gapByte);
    for (int y = 0; y < im.height; ++y) // bottom line first
        for (int x = 0; x < im.width; ++x)
            f[pixelStart + stride * (im.height - 1 - y) + x] = im.at(x, y);
    if (o.truncateTo)
        f.resize(o.truncateTo);
    return f;
}

inline void WriteBytes(const std::string &path, const std::vector<Byte> &bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<Byte> ReadBytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<Byte>(std::istreambuf_iterator<char>(in), {});
}

// colourResolution goes into bits 6..4 of the packed screen byte.
inline void WriteGif(const std::string &path, const IndexedImage &im, int colourResolution = 8, bool interlace = false)
{
    int err = 0;
    GifFileType *gif = EGifOpenFileName(path.c_str(), false, &err);
    ASSERT_NE(gif, nullptr);
    int bits = 1;
    while ((1 << bits) < static_cast<int>(im.palette.size()))
        ++bits;
    std::vector<GifColorType> colours(1u << bits, GifColorType{0, 0, 0});
    for (size_t i = 0; i < im.palette.size(); ++i)
        colours[i] = {im.palette[i].Red, im.palette[i].Green, im.palette[i].Blue};
    ColorMapObject *map = GifMakeMapObject(1 << bits, colours.data());
    EGifSetGifVersion(gif, true);
    ASSERT_EQ(EGifPutScreenDesc(gif, im.width, im.height, colourResolution, 0, map), GIF_OK);
    ASSERT_EQ(EGifPutImageDesc(gif, 0, 0, im.width, im.height, interlace, nullptr), GIF_OK);
    std::vector<GifPixelType> line(static_cast<size_t>(im.width));
    std::vector<int> order;
    if (interlace) {
        const int start[4] = {0, 4, 2, 1}, step[4] = {8, 8, 4, 2};
        for (int p = 0; p < 4; ++p)
            for (int y = start[p]; y < im.height; y += step[p])
                order.push_back(y);
    } else {
        for (int y = 0; y < im.height; ++y)
            order.push_back(y);
    }
    for (int y : order) {
        for (int x = 0; x < im.width; ++x)
            line[x] = im.at(x, y);
        ASSERT_EQ(EGifPutLine(gif, line.data(), im.width), GIF_OK);
    }
    GifFreeMapObject(map);
    ASSERT_EQ(EGifCloseFile(gif, &err), GIF_OK);
}

// An 8-bit palette TIF (LZW), optionally tiled.
inline void WriteTiff(const std::string &path, const IndexedImage &im, bool tiled = false)
{
    TIFF *tif = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(tif, nullptr);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, im.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, im.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    std::vector<std::uint16_t> r(256, 0), g(256, 0), b(256, 0);
    for (size_t i = 0; i < im.palette.size(); ++i) {
        r[i] = static_cast<std::uint16_t>(im.palette[i].Red * 257);
        g[i] = static_cast<std::uint16_t>(im.palette[i].Green * 257);
        b[i] = static_cast<std::uint16_t>(im.palette[i].Blue * 257);
    }
    TIFFSetField(tif, TIFFTAG_COLORMAP, r.data(), g.data(), b.data());
    if (tiled) {
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, 16);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, 16);
        std::vector<Byte> tile(256);
        for (int ty = 0; ty < im.height; ty += 16)
            for (int tx = 0; tx < im.width; tx += 16) {
                std::fill(tile.begin(), tile.end(), 0);
                for (int y = 0; y < 16 && ty + y < im.height; ++y)
                    for (int x = 0; x < 16 && tx + x < im.width; ++x)
                        tile[y * 16 + x] = im.at(tx + x, ty + y);
                ASSERT_GE(TIFFWriteTile(tif, tile.data(), tx, ty, 0, 0), 0);
            }
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 3);
        std::vector<Byte> line(static_cast<size_t>(im.width));
        for (int y = 0; y < im.height; ++y) {
            for (int x = 0; x < im.width; ++x)
                line[x] = im.at(x, y);
            ASSERT_EQ(TIFFWriteScanline(tif, line.data(), y, 0), 1);
        }
    }
    TIFFClose(tif);
}

// An RGB TIF of 8 bits per sample.
inline void WriteRgbTiff(const std::string &path, int width, int height, const std::vector<Byte> &rgb)
{
    TIFF *tif = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(tif, nullptr);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 2);
    for (int y = 0; y < height; ++y)
        TIFFWriteScanline(tif, const_cast<Byte *>(rgb.data()) + static_cast<size_t>(y) * width * 3, y, 0);
    TIFFClose(tif);
}

// A fresh folder per test, removed afterwards.
class TempFolder
{
public:
    TempFolder()
    {
        static std::atomic<int> counter{0};
        mPath = std::filesystem::temp_directory_path() /
                ("velmara-intake-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        std::filesystem::create_directories(mPath);
    }
    ~TempFolder() { if (!std::getenv("VELMARA_KEEP_TEMP")) std::filesystem::remove_all(mPath); }
    std::string folder() const { return mPath.string() + "/"; }
    std::string file(const std::string &name) const { return (mPath / name).string(); }

private:
    std::filesystem::path mPath;
};

} // namespace velmara::test
