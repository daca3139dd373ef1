#pragma once
// Streaming access to the pixels of a colour scan: rows arrive top-down as 8-bit red, green, blue
// in chunks, so that a letter sheet at 1200 dpi is never held whole in RGB.

#include "core/numeric.h"

#include <cstddef>
#include <memory>
#include <string>

namespace velmara {

enum class PictureFormat
{
    Unknown,
    Bmp,
    Gif,
    Tif,
    Png,
    Jpeg,
};

// The format of a picture told from its first bytes (at least 8 of them; fewer give Unknown).
PictureFormat PictureFormatOf(const Byte *head, size_t size);

struct RowPictureInfo
{
    PictureFormat Format = PictureFormat::Unknown;
    int Width = 0;
    int Height = 0;
    int SourceDepth = 0;     // bits per pixel as the file stores them (16-bit RGB: 48)
    bool ColourTable = false; // the file holds colour table indexes (1 to 8 bits)
    double DpiX = 0;          // 0: the file records no resolution
    double DpiY = 0;
    bool Alpha = false;       // an alpha channel was laid over white
};

class PictureRows
{
public:
    virtual ~PictureRows() = default;
    virtual const RowPictureInfo &Info() const = 0;
    // Reads the next count rows (top-down) into out, Width * 3 bytes a row, red, green, blue; an
    // alpha channel is laid over white and deeper samples are reduced only after they are read
    // whole. Returns false and sets error (a sentence for the user) when the file is damaged;
    // a damaged file never yields made-up rows.
    virtual bool ReadRows(int count, Byte *out, std::string &error) = 0;
};

// Opens a picture of any format the colour path reads (BMP, GIF, TIF, PNG, JPEG), recognised by
// its content. Returns null and sets error when the file can't be read or is refused (CMYK, an
// unsupported layout); the error says why.
std::unique_ptr<PictureRows> OpenPictureRows(const std::string &path, std::string &error);

} // namespace velmara
