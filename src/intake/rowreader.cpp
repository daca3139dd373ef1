#include "intake/rowreader.h"

#include "intake/picture.h"

#include <algorithm>
#include <cstring>

namespace velmara {
namespace {

// Serves the rows of a picture read whole by the picture services.
class WholePictureRows : public PictureRows
{
public:
    explicit WholePictureRows(Picture picture) : mPicture(std::move(picture))
    {
        mInfo.Width = mPicture.Width;
        mInfo.Height = mPicture.Height;
        mInfo.SourceDepth = mPicture.BitsPerPixel;
        mInfo.ColourTable = mPicture.Indexed();
    }
    const RowPictureInfo &Info() const override { return mInfo; }
    bool ReadRows(int count, Byte *out, std::string &error) override
    {
        if (count < 0 || mNext + count > mPicture.Height) {
            error = "The picture has fewer lines than asked for.";
            return false;
        }
        for (int i = 0; i < count; ++i, ++mNext) {
            const Byte *row = mPicture.Row(mNext);
            Byte *dst = out + static_cast<size_t>(i) * mPicture.Width * 3;
            if (mPicture.Indexed()) {
                for (int x = 0; x < mPicture.Width; ++x) {
                    const size_t k = row[x];
                    const PaletteEntry c = k < mPicture.Palette.size() ? mPicture.Palette[k] : PaletteEntry{};
                    dst[3 * x] = c.Red;
                    dst[3 * x + 1] = c.Green;
                    dst[3 * x + 2] = c.Blue;
                }
            } else {
                std::memcpy(dst, row, static_cast<size_t>(mPicture.Width) * 3);
            }
        }
        return true;
    }

private:
    Picture mPicture;
    RowPictureInfo mInfo;
    int mNext = 0;
};

} // namespace

std::unique_ptr<PictureRows> OpenPictureRows(const std::string &path, std::string &error)
{
    Picture picture;
    if (!ReadPicture(path, PictureDepth::AnyDepth, picture, error))
        return nullptr;
    return std::make_unique<WholePictureRows>(std::move(picture));
}

} // namespace velmara
