#pragma once
// Pictures for the intake tests, written by the card generator (whose layouts are checked against
// giflib and libtiff); a bitmap's header fields can be patched afterwards to make it lie.

#include "cardgen/cardgen.h"
#include "core/numeric.h"
#include "intake/picture.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velmara::test {

using cardgen::IndexedImage;
using Bytes = std::vector<Byte>;

// A picture of one index with a table of distinct colours.
inline IndexedImage MakeImage(int width, int height, int colours, Byte fill = 0)
{
    std::vector<cardgen::Rgb> table;
    for (int i = 0; i < colours; ++i)
        table.push_back({static_cast<Byte>(i * 7), static_cast<Byte>(255 - i), static_cast<Byte>(i * 3)});
    return IndexedImage(width, height, table, fill);
}

inline std::vector<PaletteEntry> PaletteOf(const IndexedImage &im, size_t size = 0)
{
    std::vector<PaletteEntry> out(std::max(size, im.palette.size()));
    for (size_t i = 0; i < im.palette.size(); ++i)
        out[i] = {im.palette[i].r, im.palette[i].g, im.palette[i].b};
    return out;
}

inline Picture ToPicture(const IndexedImage &im)
{
    Picture p;
    p.Width = im.width;
    p.Height = im.height;
    p.BitsPerPixel = 8;
    p.Palette = PaletteOf(im);
    p.Data = im.pixels;
    return p;
}

inline void Put32(Bytes &f, size_t at, long v)
{
    for (int i = 0; i < 4; ++i)
        f.at(at + i) = static_cast<Byte>(static_cast<unsigned long>(v) >> (8 * i));
}

// The bitmap of im with header fields (offset, value) overwritten, cut to cutTo bytes if given.
inline Bytes Bmp(const IndexedImage &im, std::initializer_list<std::pair<size_t, long>> fields = {},
                 size_t cutTo = 0)
{
    Bytes f = cardgen::EncodeBmp(im);
    for (const auto &[at, value] : fields)
        Put32(f, at, value);
    if (cutTo)
        f.resize(cutTo);
    return f;
}

// A little-endian TIF with the value (or value offset) of tag in its first directory replaced.
inline Bytes PatchTifTag(Bytes f, int tag, long value)
{
    const size_t ifd = f[4] | f[5] << 8 | f[6] << 16 | static_cast<size_t>(f[7]) << 24;
    const int entries = f[ifd] | f[ifd + 1] << 8;
    for (int i = 0; i < entries; ++i) {
        const size_t at = ifd + 2 + 12 * static_cast<size_t>(i);
        if ((f[at] | f[at + 1] << 8) == tag)
            Put32(f, at + 8, value);
    }
    return f;
}

inline void WriteBytes(const std::string &path, const Bytes &bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline Bytes ReadBytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

// A fresh folder per test, removed afterwards unless VELMARA_KEEP_TEMP is set.
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
