#include "intake/rowreader.h"

#include "intake/inputfile.h"
#include "intake/picture.h"
#include "intake/picturereaders.h"
#include "intake/rowreaders.h"

#include <cstring>

namespace velmara {

using namespace intake_detail;

PictureFormat PictureFormatOf(const Byte *head, size_t size)
{
    if (size < 8)
        return PictureFormat::Unknown;
    if (head[0] == 'B' && head[1] == 'M')
        return PictureFormat::Bmp;
    if (std::memcmp(head, "GIF8", 4) == 0)
        return PictureFormat::Gif;
    if ((head[0] == 'I' && head[1] == 'I' && (head[2] == 42 || head[2] == 43) && head[3] == 0) ||
        (head[0] == 'M' && head[1] == 'M' && head[2] == 0 && (head[3] == 42 || head[3] == 43)))
        return PictureFormat::Tif;
    if (std::memcmp(head, "\x89PNG\r\n\x1a\n", 8) == 0)
        return PictureFormat::Png;
    if (head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF)
        return PictureFormat::Jpeg;
    return PictureFormat::Unknown;
}

namespace intake_detail {
namespace {

// A GIF is read whole as one index a pixel (its interlaced rows and its image placed on a larger
// screen need that) and served through its colour table.
class GifRows : public PictureRows
{
public:
    explicit GifRows(Picture picture) : mPicture(std::move(picture))
    {
        mInfo.Format = PictureFormat::Gif;
        mInfo.Width = mPicture.Width;
        mInfo.Height = mPicture.Height;
        mInfo.ColourTable = true;
        mInfo.SourceDepth = 1;
        while ((size_t{1} << mInfo.SourceDepth) < mPicture.Palette.size())
            ++mInfo.SourceDepth;
        mLut.fill(0);
        for (size_t i = 0; i < mPicture.Palette.size() && i < 256; ++i) {
            mLut[3 * i] = mPicture.Palette[i].Red;
            mLut[3 * i + 1] = mPicture.Palette[i].Green;
            mLut[3 * i + 2] = mPicture.Palette[i].Blue;
        }
    }
    const RowPictureInfo &Info() const override { return mInfo; }
    bool ReadRows(int count, Byte *out, std::string &error) override
    {
        if (!RowsLeft(mInfo, mNext, count, error))
            return false;
        for (int i = 0; i < count; ++i, ++mNext)
            ConvertIndexes(mPicture.Row(mNext), mPicture.Width, 8, mLut,
                           out + static_cast<size_t>(i) * mPicture.Width * 3);
        return true;
    }

private:
    Picture mPicture;
    RowPictureInfo mInfo;
    ColourLut mLut;
    int mNext = 0;
};

} // namespace

std::unique_ptr<PictureRows> OpenGifRows(const std::string &path, std::string &error)
{
    Picture picture;
    if (!ReadGif(path, PictureDepth::AnyDepth, picture, error))
        return nullptr;
    return std::make_unique<GifRows>(std::move(picture));
}

} // namespace intake_detail

std::unique_ptr<PictureRows> OpenPictureRows(const std::string &path, std::string &error)
{
    Byte head[8] = {};
    {
        InputFile file;
        if (!file.open(path, error))
            return nullptr;
        if (file.readAt(0, head, sizeof head) < sizeof head) {
            error = "Invalid picture";
            return nullptr;
        }
    }
    switch (PictureFormatOf(head, sizeof head)) {
    case PictureFormat::Bmp:
        return OpenBmpRows(path, error);
    case PictureFormat::Gif:
        return OpenGifRows(path, error);
    case PictureFormat::Tif:
        return OpenTiffRows(path, error);
    case PictureFormat::Png:
        return OpenPngRows(path, error);
    case PictureFormat::Jpeg:
        return OpenJpegRows(path, error);
    case PictureFormat::Unknown:
        break;
    }
    error = "Invalid picture";
    return nullptr;
}

} // namespace velmara
