#pragma once
// Picture services: reading BMP, GIF and TIF files into memory, cutting a rectangle out of a
// picture, and writing the 8-bit Windows bitmap layout that card intake reads and the background
// previews patch (file header, information header, colour table at offset 54, rows bottom-up,
// each row padded to a multiple of 4 bytes).

#include "core/numeric.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velmara {

// Largest number of lines or columns of any picture we read: the row and column of a card pixel
// are 16-bit.
inline constexpr int kMaxPictureSide = 32767;

struct PaletteEntry
{
    Byte Red = 0;
    Byte Green = 0;
    Byte Blue = 0;
    bool operator==(const PaletteEntry &) const = default;
};

// A decoded picture. An indexed picture keeps the colour table in file order and one table index
// per pixel; an RGB picture holds three bytes per pixel (red, green, blue).
struct Picture
{
    int Width = 0;
    int Height = 0;
    // The depth the file holds (1, 4, 8, 24, 32, or whatever it is when the picture is refused).
    // A 1- or 4-bit picture is widened to one index per byte; a 32-bit one is held as RGB.
    int BitsPerPixel = 0;
    int Channels = 1; // 1: colour table indexes, 3: red, green, blue
    std::vector<PaletteEntry> Palette;
    std::vector<Byte> Data; // rows top-down, Width * Channels bytes each, no padding

    bool Indexed() const { return Channels == 1; }
    int RowBytes() const { return Width * Channels; }
    const Byte *Row(int y) const { return Data.data() + static_cast<size_t>(y) * RowBytes(); }
    Byte *Row(int y) { return Data.data() + static_cast<size_t>(y) * RowBytes(); }
};

enum class PictureDepth
{
    EightBitOnly, // the card path: any other depth is refused, naming the depth
    AnyDepth,     // the sheet path of the template cutter: 1, 4, 8, 24 and 32 bits
};

// The refusal of a picture that is not 8 bits per pixel, as the user reads it.
std::string BitDepthMessage(int depth);

// Reads a BMP, GIF or TIF file, recognised by its content. Returns false and sets error (a
// sentence for the user) when the file can't be read. With EightBitOnly, a readable picture of
// another depth returns false with picture.BitsPerPixel, Width and Height set, no Data, and
// error = BitDepthMessage(depth). A GIF's depth is the colour resolution of its screen
// descriptor; a TIF's is its bits per sample times samples per pixel.
bool ReadPicture(const std::string &path, PictureDepth mode, Picture &picture, std::string &error);

// Size and depth of a TIF file from its first directory, without decoding the pixels. Returns
// false and sets error when libtiff refuses the file; info.BitsPerPixel is the depth as above.
bool ProbeTiff(const std::string &path, Picture &info, std::string &error);

// The rectangle (x, y, width, height) in pixels of source as a new picture with the same colour
// table. Returns false and sets error when the rectangle is empty or leaves the picture.
bool ClipPicture(const Picture &source, int x, int y, int width, int height, Picture &clip,
                 std::string &error);

// Writes picture as an 8-bit Windows bitmap (colour table at offset 54, colours-used field set to
// the table size). An indexed picture keeps its table order and indexes; an RGB picture is brought
// to at most 256 colours (exactly, when it has no more than 256). Replaces an existing file.
// Returns false and sets error when the file can't be written; a half-written file is removed.
bool SaveBitmap8(const Picture &picture, const std::string &path, std::string &error);

// The bytes of the 8-bit bitmap file SaveBitmap8 would write for an indexed picture, from
// offset onward, into out (count bytes; bytes past the end are not touched). Returns the number of
// bytes copied. Lets a converted GIF or TIF be read exactly as its bitmap would be, without
// writing it.
size_t ReadBitmapBytes(const Picture &picture, std::uint64_t offset, Byte *out, size_t count);

// Size of that file in bytes.
std::uint64_t BitmapFileSize(const Picture &picture);

} // namespace velmara
