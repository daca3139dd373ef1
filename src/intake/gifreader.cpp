// GIF through giflib: the first image of the file, placed on its logical screen, as an 8-bit
// picture that keeps the colour map order and the pixel indexes.

#include "intake/inputfile.h"
#include "intake/picturereaders.h"

#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace velmara::intake_detail {

namespace {

struct GifCloser
{
    void operator()(GifFileType *gif) const
    {
        int ignored = 0;
        DGifCloseFile(gif, &ignored);
    }
};

std::string GifError(int code)
{
    const char *text = GifErrorString(code);
    return std::string("The GIF file can't be read: ") + (text ? text : "unknown error") + ".";
}

// A failure of giflib on a file that opened as a GIF. giflib has no text for some ways a cut file
// ends.
std::string GifReadError(int code)
{
    if (code == D_GIF_ERR_OPEN_FAILED || code == D_GIF_ERR_NOT_ENOUGH_MEM)
        return GifError(code);
    const char *text = GifErrorString(code);
    return std::string("The GIF file is truncated or damaged") + (text ? std::string(": ") + text : "") + ".";
}

// The bytes of compressed data of the first image that the file really holds. A picture is bounded
// by these, not by the file's size: an extension (a comment, say) can pad a tiny picture to any
// size. Walks the block structure only; 0 when there is no image before the end.
std::uint64_t ImageDataBytes(InputFile &file)
{
    Byte screen[13];
    if (file.readAt(0, screen, sizeof screen) < sizeof screen)
        return 0;
    std::uint64_t at = sizeof screen;
    if (screen[10] & 0x80)
        at += 3ull << ((screen[10] & 7) + 1);
    // Returns the bytes of the sub-blocks from at, as far as the file holds them.
    const auto skipSubBlocks = [&] {
        const std::uint64_t start = at;
        std::uint64_t bytes = 0;
        Byte n = 0;
        while (file.readAt(at++, &n, 1) == 1 && n != 0) {
            at += n;
            bytes += n;
        }
        return std::min(bytes, file.size() - std::min(file.size(), start));
    };
    for (;;) {
        Byte kind = 0;
        if (file.readAt(at++, &kind, 1) < 1)
            return 0;
        if (kind == 0x21) {
            ++at; // the extension's label
            skipSubBlocks();
            continue;
        }
        if (kind != 0x2C)
            return 0;
        Byte desc[9];
        if (file.readAt(at, desc, sizeof desc) < sizeof desc)
            return 0;
        at += sizeof desc;
        if (desc[8] & 0x80)
            at += 3ull << ((desc[8] & 7) + 1);
        ++at; // the minimum code size
        return skipSubBlocks();
    }
}

} // namespace

bool ReadGif(const std::string &path, PictureDepth mode, Picture &picture, std::string &error)
{
    std::uint64_t dataBytes = 0;
    {
        InputFile probe;
        if (!probe.open(path, error))
            return false;
        dataBytes = ImageDataBytes(probe);
    }
    int code = 0;
    std::unique_ptr<GifFileType, GifCloser> gif(DGifOpenFileName(path.c_str(), &code));
    if (!gif) {
        error = GifReadError(code);
        return false;
    }
    const int width = gif->SWidth;
    const int height = gif->SHeight;
    // The depth is the colour resolution of the screen descriptor, as registration reads it.
    picture.BitsPerPixel = gif->SColorResolution;
    picture.Width = width;
    picture.Height = height;
    if (mode == PictureDepth::EightBitOnly && picture.BitsPerPixel != 8) {
        error = BitDepthMessage(picture.BitsPerPixel);
        return false;
    }
    picture.BitsPerPixel = 8;
    if (width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide) {
        error = "The GIF's screen of " + std::to_string(width) + " by " + std::to_string(height) +
                " pixels can't be read.";
        return false;
    }
    if (!PixelBudgetOk(static_cast<std::uint64_t>(width) * height, dataBytes)) {
        error = "The GIF's screen of " + std::to_string(width) + " by " + std::to_string(height) +
                " pixels is far more than its picture data can fill; the file is damaged.";
        return false;
    }

    for (;;) {
        GifRecordType record = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif.get(), &record) == GIF_ERROR) {
            error = GifReadError(gif->Error);
            return false;
        }
        if (record == TERMINATE_RECORD_TYPE) {
            error = "The GIF file holds no image.";
            return false;
        }
        if (record == EXTENSION_RECORD_TYPE) {
            int extCode = 0;
            GifByteType *ext = nullptr;
            if (DGifGetExtension(gif.get(), &extCode, &ext) == GIF_ERROR) {
                error = GifReadError(gif->Error);
                return false;
            }
            while (ext) {
                if (DGifGetExtensionNext(gif.get(), &ext) == GIF_ERROR) {
                    error = GifReadError(gif->Error);
                    return false;
                }
            }
            continue;
        }
        if (record != IMAGE_DESC_RECORD_TYPE) {
            error = "The GIF file is truncated or damaged.";
            return false;
        }
        if (DGifGetImageDesc(gif.get()) == GIF_ERROR) {
            error = GifReadError(gif->Error);
            return false;
        }
        break;
    }

    const GifImageDesc &desc = gif->Image;
    const ColorMapObject *map = desc.ColorMap ? desc.ColorMap : gif->SColorMap;
    if (!map || map->ColorCount < 1 || map->ColorCount > 256 || !map->Colors) {
        error = "The GIF file has no colour table.";
        return false;
    }
    if (desc.Width < 1 || desc.Height < 1 ||
        !PixelBudgetOk(static_cast<std::uint64_t>(desc.Width) * desc.Height, dataBytes)) {
        error = "The GIF file is damaged.";
        return false;
    }
    picture.Channels = 1;
    picture.Palette.resize(map->ColorCount);
    for (int i = 0; i < map->ColorCount; ++i)
        picture.Palette[i] = {map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue};

    // What the image doesn't cover shows the screen's background colour.
    picture.Data.assign(static_cast<size_t>(width) * height, static_cast<Byte>(gif->SBackGroundColor));

    std::vector<GifPixelType> line(static_cast<size_t>(desc.Width));
    const auto place = [&](int frameRow) {
        const long y = static_cast<long>(desc.Top) + frameRow;
        if (y < 0 || y >= height || desc.Left >= width)
            return;
        const int n = std::min(desc.Width, width - desc.Left);
        std::memcpy(picture.Row(static_cast<int>(y)) + desc.Left, line.data(), static_cast<size_t>(n));
    };
    const auto readLine = [&](int frameRow) {
        if (DGifGetLine(gif.get(), line.data(), desc.Width) == GIF_ERROR) {
            error = GifReadError(gif->Error);
            return false;
        }
        place(frameRow);
        return true;
    };
    if (desc.Interlace) {
        static constexpr int kStart[4] = {0, 4, 2, 1};
        static constexpr int kStep[4] = {8, 8, 4, 2};
        for (int pass = 0; pass < 4; ++pass)
            for (int r = kStart[pass]; r < desc.Height; r += kStep[pass])
                if (!readLine(r))
                    return false;
    } else {
        for (int r = 0; r < desc.Height; ++r)
            if (!readLine(r))
                return false;
    }
    return true;
}

} // namespace velmara::intake_detail
