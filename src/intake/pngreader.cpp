// PNG rows through libpng: every colour type and depth. libpng widens palettes, low-bit grey and
// transparency to 8 or 16 bits a sample; we lay alpha over white and reduce 16 bits ourselves, at
// full depth. An interlaced picture can't be served row by row before its last pass, so it alone
// is read whole, in its stored form, once its size has been checked against the file's.
//
// libpng reports errors by longjmp: every libpng call stands in a function whose frame holds no
// object with a destructor after its setjmp.

#include "intake/inputfile.h"
#include "intake/rowreaders.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <sys/stat.h>
#include <vector>

namespace velmara::intake_detail {

namespace {

// Deflate can't pack more than 1032 bytes into one.
constexpr std::uint64_t kMaxInflation = 1100;

class PngRows : public PictureRows
{
public:
    ~PngRows() override
    {
        if (mPng)
            png_destroy_read_struct(&mPng, &mPngInfo, nullptr);
        if (mFile)
            std::fclose(mFile);
    }
    bool open(const std::string &path, std::string &error);
    const RowPictureInfo &Info() const override { return mInfo; }
    bool ReadRows(int count, Byte *out, std::string &error) override;

private:
    static void onError(png_structp png, png_const_charp text);
    static void onWarning(png_structp, png_const_charp) {}
    static void onRead(png_structp png, png_bytep data, size_t size);
    bool readHeader();
    bool readRows(int count, Byte *out);
    [[gnu::noinline]] void decodeRows(int count, Byte *out);
    bool readWhole();
    std::string failure() const;

    std::FILE *mFile = nullptr;
    std::uint64_t mFileSize = 0;
    png_structp mPng = nullptr;
    png_infop mPngInfo = nullptr;
    char mMessage[256] = {};
    bool mTruncated = false;
    bool mFailed = false;
    bool mInterlaced = false;
    int mPasses = 1;
    RowPictureInfo mInfo;
    SampleLayout mLayout;
    size_t mRowBytes = 0;
    std::vector<Byte> mRow;   // one row as libpng gives it, when it isn't RGB already
    std::vector<Byte> mWhole; // the interlaced picture
    int mNext = 0;
};

void PngRows::onError(png_structp png, png_const_charp text)
{
    auto *self = static_cast<PngRows *>(png_get_error_ptr(png));
    std::snprintf(self->mMessage, sizeof self->mMessage, "%s", text ? text : "");
    png_longjmp(png, 1);
}

void PngRows::onRead(png_structp png, png_bytep data, size_t size)
{
    auto *self = static_cast<PngRows *>(png_get_io_ptr(png));
    if (std::fread(data, 1, size, self->mFile) != size) {
        self->mTruncated = true;
        png_error(png, "truncated");
    }
}

std::string PngRows::failure() const
{
    if (mTruncated)
        return "The PNG file is truncated.";
    return std::string("The PNG file is damaged: ") + mMessage + ".";
}

bool PngRows::readHeader()
{
    if (setjmp(png_jmpbuf(mPng)))
        return false;
    png_set_read_fn(mPng, this, onRead);
    // Our own size check follows with its own message; libpng's only guards its arithmetic.
    png_set_user_limits(mPng, 0x7FFFFFFF, 0x7FFFFFFF);
#ifdef PNG_IGNORE_ADLER32
    // The chunk checksums already cover every compressed byte; the inflater's own sum over the
    // far larger inflated data costs a tenth of the decoding time and finds nothing more.
    png_set_option(mPng, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
#endif
    png_read_info(mPng, mPngInfo);
    return true;
}

bool PngRows::open(const std::string &path, std::string &error)
{
    mFile = std::fopen(path.c_str(), "rb");
    struct stat st = {};
    if (!mFile || ::fstat(fileno(mFile), &st) != 0) {
        error = InputFile::openErrorText(errno);
        return false;
    }
    mFileSize = static_cast<std::uint64_t>(st.st_size);
    std::setvbuf(mFile, nullptr, _IOFBF, size_t{1} << 16);
    mPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
    mPngInfo = mPng ? png_create_info_struct(mPng) : nullptr;
    if (!mPngInfo) {
        error = "Out of memory";
        return false;
    }
    if (!readHeader()) {
        error = failure();
        return false;
    }
    const png_uint_32 width = png_get_image_width(mPng, mPngInfo);
    const png_uint_32 height = png_get_image_height(mPng, mPngInfo);
    if (!SizeOk(width, height, error))
        return false;
    const int type = png_get_color_type(mPng, mPngInfo);
    const int depth = png_get_bit_depth(mPng, mPngInfo);
    const int channels = png_get_channels(mPng, mPngInfo);
    const bool transparency = png_get_valid(mPng, mPngInfo, PNG_INFO_tRNS) != 0;
    mInfo.Format = PictureFormat::Png;
    mInfo.Width = static_cast<int>(width);
    mInfo.Height = static_cast<int>(height);
    mInfo.SourceDepth = depth * channels;
    mInfo.ColourTable = type == PNG_COLOR_TYPE_PALETTE;
    mInfo.Alpha = (type & PNG_COLOR_MASK_ALPHA) != 0 || transparency;
    png_uint_32 perX = 0, perY = 0;
    int unit = 0;
    if (png_get_pHYs(mPng, mPngInfo, &perX, &perY, &unit) && unit == PNG_RESOLUTION_METER) {
        mInfo.DpiX = DpiFromPerMetre(perX);
        mInfo.DpiY = DpiFromPerMetre(perY);
    }

    if (type == PNG_COLOR_TYPE_PALETTE || depth < 8 || transparency)
        png_set_expand(mPng);
    mInterlaced = png_get_interlace_type(mPng, mPngInfo) != PNG_INTERLACE_NONE;
    if (mInterlaced)
        mPasses = png_set_interlace_handling(mPng);
    png_read_update_info(mPng, mPngInfo);

    const int outChannels = png_get_channels(mPng, mPngInfo);
    mLayout.Sixteen = png_get_bit_depth(mPng, mPngInfo) == 16;
    mLayout.BigEndian = true;
    mLayout.Stride = outChannels;
    mLayout.Colours = outChannels >= 3 ? 3 : 1;
    mLayout.AlphaAt = (outChannels == 2 || outChannels == 4) ? outChannels - 1 : -1;
    mRowBytes = png_get_rowbytes(mPng, mPngInfo);
    if (mRowBytes != static_cast<size_t>(width) * outChannels * (mLayout.Sixteen ? 2 : 1)) {
        error = "The PNG file's colour layout can't be read.";
        return false;
    }
    if (mInterlaced) {
        if (static_cast<std::uint64_t>(mRowBytes) * height > kMaxInflation * mFileSize + (std::uint64_t{1} << 22)) {
            error = "The PNG picture of " + std::to_string(width) + " by " + std::to_string(height) +
                    " pixels is far more than its data can fill; the file is damaged.";
            return false;
        }
        mWhole.resize(mRowBytes * height);
        if (!readWhole()) {
            error = failure();
            return false;
        }
    } else if (mLayout.Sixteen || mLayout.Stride != 3) {
        mRow.resize(mRowBytes);
    }
    return true;
}

bool PngRows::readWhole()
{
    if (setjmp(png_jmpbuf(mPng)))
        return false;
    for (int pass = 0; pass < mPasses; ++pass)
        for (int y = 0; y < mInfo.Height; ++y)
            png_read_row(mPng, mWhole.data() + mRowBytes * static_cast<size_t>(y), nullptr);
    return true;
}

bool PngRows::readRows(int count, Byte *out)
{
    if (setjmp(png_jmpbuf(mPng)))
        return false;
    decodeRows(count, out);
    return true;
}

void PngRows::decodeRows(int count, Byte *out)
{
    const size_t outRow = static_cast<size_t>(mInfo.Width) * 3;
    for (int i = 0; i < count; ++i, out += outRow) {
        // An 8-bit RGB row is read straight into its place.
        if (mRow.empty()) {
            png_read_row(mPng, out, nullptr);
        } else {
            png_read_row(mPng, mRow.data(), nullptr);
            ConvertSamples(mRow.data(), mInfo.Width, mLayout, out);
        }
    }
}

bool PngRows::ReadRows(int count, Byte *out, std::string &error)
{
    if (mFailed) {
        error = failure();
        return false;
    }
    if (!RowsLeft(mInfo, mNext, count, error))
        return false;
    if (mInterlaced) {
        for (int i = 0; i < count; ++i)
            ConvertSamples(mWhole.data() + mRowBytes * static_cast<size_t>(mNext + i), mInfo.Width, mLayout,
                           out + static_cast<size_t>(i) * mInfo.Width * 3);
    } else if (!readRows(count, out)) {
        mFailed = true;
        error = failure();
        return false;
    }
    mNext += count;
    return true;
}

} // namespace

std::unique_ptr<PictureRows> OpenPngRows(const std::string &path, std::string &error)
{
    return OpenRows<PngRows>(path, error);
}

} // namespace velmara::intake_detail
