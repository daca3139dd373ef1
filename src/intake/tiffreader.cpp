// TIF through libtiff. Palette and grey pictures of 1 to 8 bits keep their indexes (a grey picture
// gets a grey ramp as its colour table); everything else is read as RGB through libtiff's RGBA
// interface. libtiff's messages are caught per file and never reach stderr; a warning that would
// change what is decoded refuses the file.

#include "intake/inputfile.h"
#include "intake/picturereaders.h"
#include "intake/rowreaders.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>

namespace velmara::intake_detail {

namespace {

// libtiff refuses any single allocation above this; our own pictures stay far below it.
constexpr tmsize_t kMaxLibtiffAllocation = tmsize_t{1} << 28;

struct TiffMessages
{
    std::string lastError;
    std::string damage; // the first warning that changes what is decoded
};

int CatchError(TIFF *, void *user, const char *, const char *fmt, va_list ap)
{
    char text[512];
    std::vsnprintf(text, sizeof text, fmt, ap);
    static_cast<TiffMessages *>(user)->lastError = text;
    return 1; // handled: the library's default handler must not print
}

// libtiff reads on without a tag it can't read ("...; tag ignored"). Without one of these tags the
// pixels would be taken for something else (a palette picture without its colour map comes out
// grey), so such a warning refuses the file. Losing any other tag changes nothing we read, and
// libtiff's own repairs (strip sizes worked out from the picture's size) read true.
bool ChangesDecoding(const char *text)
{
    if (!std::strstr(text, "tag ignored"))
        return false;
    static constexpr const char *kTags[] = {
        "ImageWidth",    "ImageLength",  "BitsPerSample", "Compression", "PhotometricInterpretation",
        "FillOrder",     "StripOffsets", "Orientation",   "SamplesPerPixel", "RowsPerStrip",
        "StripByteCounts", "PlanarConfiguration", "ColorMap", "TileWidth", "TileLength",
        "TileOffsets",   "TileByteCounts", "Predictor",   "ExtraSamples", "SampleFormat"};
    for (const char *tag : kTags) {
        const std::string quoted = std::string("\"") + tag + "\"";
        if (std::strstr(text, quoted.c_str()))
            return true;
    }
    return false;
}

int CatchWarning(TIFF *, void *user, const char *, const char *fmt, va_list ap)
{
    char text[512];
    std::vsnprintf(text, sizeof text, fmt, ap);
    std::string &damage = static_cast<TiffMessages *>(user)->damage;
    if (damage.empty() && ChangesDecoding(text)) {
        damage = text;
        const size_t ignored = damage.find("; tag ignored");
        if (ignored != std::string::npos)
            damage.erase(ignored);
    }
    return 1;
}

struct TiffCloser
{
    void operator()(TIFF *tif) const { TIFFClose(tif); }
};

class TiffFile
{
public:
    bool open(const std::string &path, std::string &error)
    {
        // Messages raised without a file handle go to the process-wide handlers: silence those too.
        static std::once_flag silenced;
        std::call_once(silenced, [] {
            TIFFSetErrorHandler(nullptr);
            TIFFSetWarningHandler(nullptr);
        });
        InputFile probe;
        if (!probe.open(path, error))
            return false;
        mFileSize = probe.size();
        probe.close();

        std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions *)> options(TIFFOpenOptionsAlloc(),
                                                                               TIFFOpenOptionsFree);
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), CatchError, &mMessages);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), CatchWarning, &mMessages);
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxLibtiffAllocation);
        mTif.reset(TIFFOpenExt(path.c_str(), "r", options.get()));
        if (!mTif) {
            error = failure();
            return false;
        }
        if (!mMessages.damage.empty()) {
            error = "The TIF file '" + std::filesystem::path(path).filename().string() +
                    "' is damaged: " + mMessages.damage + ".";
            mTif.reset();
            return false;
        }
        return true;
    }

    TIFF *get() const { return mTif.get(); }
    std::uint64_t fileSize() const { return mFileSize; }

    std::string failure() const
    {
        return mMessages.lastError.empty() ? std::string("The TIF file can't be read.")
                                           : "The TIF file can't be read: " + mMessages.lastError + ".";
    }

private:
    TiffMessages mMessages; // must outlive mTif: libtiff reports into it until TIFFClose
    std::unique_ptr<TIFF, TiffCloser> mTif;
    std::uint64_t mFileSize = 0;
};

struct TiffLayout
{
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 1, samples = 1, photometric = PHOTOMETRIC_MINISBLACK;
    bool indexed = false;
    int depth = 0;
};

bool ReadLayout(const TiffFile &file, TiffLayout &l, Picture &picture, std::string &error)
{
    TIFF *tif = file.get();
    if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &l.width) || !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &l.height)) {
        error = file.failure();
        return false;
    }
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &l.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &l.samples);
    if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &l.photometric))
        l.photometric = l.samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    l.indexed = l.samples == 1 && (l.bits == 1 || l.bits == 2 || l.bits == 4 || l.bits == 8) &&
                (l.photometric == PHOTOMETRIC_PALETTE || l.photometric == PHOTOMETRIC_MINISBLACK ||
                 l.photometric == PHOTOMETRIC_MINISWHITE);
    l.depth = l.indexed ? l.bits : static_cast<int>(std::min<long>(long{l.bits} * l.samples, 1L << 20));
    picture.BitsPerPixel = l.depth;
    picture.Width = static_cast<int>(std::min<std::uint32_t>(l.width, 0x7FFFFFFF));
    picture.Height = static_cast<int>(std::min<std::uint32_t>(l.height, 0x7FFFFFFF));
    return true;
}

// Bytes of pixel data the file really holds: its strips or tiles where the directory places
// them, cut at the end of the file. Padding anywhere else in the file buys no larger picture.
std::uint64_t PixelDataBytes(TIFF *tif, std::uint64_t fileSize)
{
    const std::uint32_t count = TIFFIsTiled(tif) ? TIFFNumberOfTiles(tif) : TIFFNumberOfStrips(tif);
    std::uint64_t total = 0;
    for (std::uint32_t i = 0; i < count && total < fileSize; ++i) {
        int err = 0;
        const std::uint64_t offset = TIFFGetStrileOffsetWithErr(tif, i, &err);
        const std::uint64_t bytes = TIFFGetStrileByteCountWithErr(tif, i, &err);
        if (!err && offset < fileSize)
            total += std::min(bytes, fileSize - offset);
    }
    return std::min(total, fileSize);
}

bool CheckSize(const TiffFile &file, const TiffLayout &l, std::string &error)
{
    if (l.width < 1 || l.height < 1 || l.width > kMaxPictureSide || l.height > kMaxPictureSide ||
        !PixelBudgetOk(std::uint64_t{l.width} * l.height, PixelDataBytes(file.get(), file.fileSize()))) {
        error = "The TIF picture of " + std::to_string(l.width) + " by " + std::to_string(l.height) +
                " pixels can't be read.";
        return false;
    }
    return true;
}

Byte Sample(const Byte *packed, std::uint32_t x, int bits)
{
    switch (bits) {
    case 8:
        return packed[x];
    case 4:
        return (x & 1) ? (packed[x >> 1] & 15) : (packed[x >> 1] >> 4);
    case 2:
        return (packed[x >> 2] >> (6 - 2 * (x & 3))) & 3;
    default:
        return (packed[x >> 3] >> (7 - (x & 7))) & 1;
    }
}

bool ReadIndexed(const TiffFile &file, const TiffLayout &l, Picture &picture, std::string &error)
{
    TIFF *tif = file.get();
    const int colours = 1 << l.bits;
    picture.Channels = 1;
    picture.Palette.resize(colours);
    if (l.photometric == PHOTOMETRIC_PALETTE) {
        std::uint16_t *r = nullptr, *g = nullptr, *b = nullptr;
        if (!TIFFGetField(tif, TIFFTAG_COLORMAP, &r, &g, &b) || !r || !g || !b) {
            error = "The TIF file has no colour map.";
            return false;
        }
        // Old writers stored 8-bit values in the 16-bit map.
        bool eightBit = true;
        for (int i = 0; i < colours; ++i)
            eightBit = eightBit && r[i] < 256 && g[i] < 256 && b[i] < 256;
        const int shift = eightBit ? 0 : 8;
        for (int i = 0; i < colours; ++i)
            picture.Palette[i] = {static_cast<Byte>(r[i] >> shift), static_cast<Byte>(g[i] >> shift),
                                  static_cast<Byte>(b[i] >> shift)};
    } else {
        for (int i = 0; i < colours; ++i) {
            int v = i * 255 / (colours - 1);
            if (l.photometric == PHOTOMETRIC_MINISWHITE)
                v = 255 - v;
            picture.Palette[i] = {static_cast<Byte>(v), static_cast<Byte>(v), static_cast<Byte>(v)};
        }
    }
    picture.Data.assign(static_cast<size_t>(l.width) * l.height, 0);

    if (TIFFIsTiled(tif)) {
        std::uint32_t tw = 0, th = 0;
        TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tw);
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &th);
        const tmsize_t tileSize = TIFFTileSize(tif);
        const tmsize_t tileRow = TIFFTileRowSize(tif);
        if (tw < 1 || th < 1 || tileSize <= 0 || tileRow <= 0 || tileSize > kMaxLibtiffAllocation ||
            static_cast<std::uint64_t>(tileRow) * th > static_cast<std::uint64_t>(tileSize)) {
            error = file.failure();
            return false;
        }
        std::vector<Byte> tile(static_cast<size_t>(tileSize));
        for (std::uint32_t ty = 0; ty < l.height; ty += th) {
            for (std::uint32_t tx = 0; tx < l.width; tx += tw) {
                if (TIFFReadTile(tif, tile.data(), tx, ty, 0, 0) < 0) {
                    error = file.failure();
                    return false;
                }
                const std::uint32_t rows = std::min(th, l.height - ty);
                const std::uint32_t cols = std::min(tw, l.width - tx);
                for (std::uint32_t r = 0; r < rows; ++r) {
                    const Byte *src = tile.data() + static_cast<size_t>(tileRow) * r;
                    Byte *dst = picture.Row(static_cast<int>(ty + r)) + tx;
                    for (std::uint32_t c = 0; c < cols; ++c)
                        dst[c] = Sample(src, c, l.bits);
                }
            }
        }
        return true;
    }

    const tmsize_t lineSize = TIFFScanlineSize(tif);
    if (lineSize <= 0 || static_cast<std::uint64_t>(lineSize) * 8 < std::uint64_t{l.width} * l.bits) {
        error = file.failure();
        return false;
    }
    std::vector<Byte> line(static_cast<size_t>(lineSize));
    for (std::uint32_t y = 0; y < l.height; ++y) {
        if (TIFFReadScanline(tif, line.data(), y, 0) < 0) {
            error = file.failure();
            return false;
        }
        Byte *dst = picture.Row(static_cast<int>(y));
        if (l.bits == 8)
            std::copy_n(line.data(), l.width, dst);
        else
            for (std::uint32_t x = 0; x < l.width; ++x)
                dst[x] = Sample(line.data(), x, l.bits);
    }
    return true;
}

bool ReadRgb(const TiffFile &file, const TiffLayout &l, Picture &picture, std::string &error)
{
    TIFF *tif = file.get();
    char why[1024] = {};
    if (!TIFFRGBAImageOK(tif, why)) {
        error = std::string("The TIF file's colour layout can't be read: ") + why + ".";
        return false;
    }
    TIFFRGBAImage image{};
    if (!TIFFRGBAImageBegin(&image, tif, 0, why)) {
        error = std::string("The TIF file can't be read: ") + why + ".";
        return false;
    }
    std::unique_ptr<TIFFRGBAImage, void (*)(TIFFRGBAImage *)> guard(&image, TIFFRGBAImageEnd);
    image.req_orientation = ORIENTATION_TOPLEFT;
    picture.Channels = 3;
    picture.Data.assign(static_cast<size_t>(l.width) * l.height * 3, 0);
    const std::uint32_t chunk = std::max<std::uint32_t>(1, (1u << 20) / l.width);
    std::vector<std::uint32_t> raster(static_cast<size_t>(l.width) * chunk);
    for (std::uint32_t y = 0; y < l.height; y += chunk) {
        const std::uint32_t rows = std::min(chunk, l.height - y);
        image.row_offset = static_cast<int>(y);
        image.col_offset = 0;
        if (!TIFFRGBAImageGet(&image, raster.data(), l.width, rows)) {
            error = file.failure();
            return false;
        }
        for (std::uint32_t r = 0; r < rows; ++r) {
            Byte *dst = picture.Row(static_cast<int>(y + r));
            const std::uint32_t *src = raster.data() + static_cast<size_t>(r) * l.width;
            for (std::uint32_t x = 0; x < l.width; ++x) {
                dst[3 * x] = static_cast<Byte>(TIFFGetR(src[x]));
                dst[3 * x + 1] = static_cast<Byte>(TIFFGetG(src[x]));
                dst[3 * x + 2] = static_cast<Byte>(TIFFGetB(src[x]));
            }
        }
    }
    return true;
}

} // namespace

bool ReadTiff(const std::string &path, PictureDepth mode, Picture &picture, std::string &error)
{
    TiffFile file;
    TiffLayout layout;
    if (!file.open(path, error) || !ReadLayout(file, layout, picture, error))
        return false;
    if (mode == PictureDepth::EightBitOnly && layout.depth != 8) {
        error = BitDepthMessage(layout.depth);
        return false;
    }
    if (mode == PictureDepth::EightBitOnly && !layout.indexed) {
        error = "The TIF file's colour layout can't be analysed.";
        return false;
    }
    if (!CheckSize(file, layout, error))
        return false;
    return layout.indexed ? ReadIndexed(file, layout, picture, error) : ReadRgb(file, layout, picture, error);
}


namespace {

// Colour table, grey and RGB pictures in one plane of 1 to 16 bits are converted here from the
// decoded lines or tiles; anything else libtiff can turn into colours (YCbCr, Lab, separate
// planes) goes through its RGBA interface, a band of lines at a time.
class TiffRows : public PictureRows
{
public:
    ~TiffRows() override
    {
        if (mImageBegun)
            TIFFRGBAImageEnd(&mImage);
    }
    bool open(const std::string &path, std::string &error);
    const RowPictureInfo &Info() const override { return mInfo; }
    bool ReadRows(int count, Byte *out, std::string &error) override;

private:
    enum class Way
    {
        Lines,
        Tiles,
        Rgba,
    };
    bool chooseWay(const TiffLayout &l, std::string &error);
    void convert(const Byte *src, int n, Byte *out) const
    {
        if (mIndexed)
            ConvertIndexes(src, n, mBits, mLut, out);
        else
            ConvertSamples(src, n, mSamples, out);
    }
    bool readBand(std::uint32_t top);
    bool readRgba(int count, Byte *out);

    TiffFile mFile;
    RowPictureInfo mInfo;
    Way mWay = Way::Lines;
    bool mIndexed = false;
    int mBits = 8;
    ColourLut mLut{};
    SampleLayout mSamples;
    std::vector<Byte> mLine;
    std::uint32_t mTileWidth = 0, mTileHeight = 0;
    size_t mTileRowBytes = 0;
    std::vector<Byte> mTile;
    std::vector<Byte> mBand; // RGB of one row of tiles
    std::int64_t mBandTop = -1;
    TIFFRGBAImage mImage{};
    bool mImageBegun = false;
    std::vector<std::uint32_t> mRaster;
    int mNext = 0;
    bool mFailed = false;
};

bool TiffRows::open(const std::string &path, std::string &error)
{
    TiffLayout l;
    Picture ignored;
    if (!mFile.open(path, error) || !ReadLayout(mFile, l, ignored, error))
        return false;
    if (l.photometric == PHOTOMETRIC_SEPARATED) {
        error = kCmykRefusal;
        return false;
    }
    // No picture we read has more than a few samples a pixel; a damaged count would make one line
    // gigabytes long before a byte of it is read.
    if (l.samples < 1 || l.samples > 8) {
        error = "The TIF file's colour layout can't be read.";
        return false;
    }
    if (!CheckSize(mFile, l, error))
        return false;
    TIFF *tif = mFile.get();
    mInfo.Format = PictureFormat::Tif;
    mInfo.Width = static_cast<int>(l.width);
    mInfo.Height = static_cast<int>(l.height);
    mInfo.SourceDepth = l.depth;
    mInfo.ColourTable = l.photometric == PHOTOMETRIC_PALETTE;
    float resX = 0, resY = 0;
    std::uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
    if (unit == RESUNIT_INCH || unit == RESUNIT_CENTIMETER) {
        const double perInch = unit == RESUNIT_INCH ? 1.0 : 2.54;
        if (TIFFGetField(tif, TIFFTAG_XRESOLUTION, &resX) && resX > 0 && resX < 1e6)
            mInfo.DpiX = resX * perInch;
        if (TIFFGetField(tif, TIFFTAG_YRESOLUTION, &resY) && resY > 0 && resY < 1e6)
            mInfo.DpiY = resY * perInch;
    }
    return chooseWay(l, error);
}

bool TiffRows::chooseWay(const TiffLayout &l, std::string &error)
{
    TIFF *tif = mFile.get();
    std::uint16_t planar = PLANARCONFIG_CONTIG, format = SAMPLEFORMAT_UINT, compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
    std::uint16_t photometric = l.photometric;
    // libjpeg turns its own YCbCr into RGB as it decodes.
    if (compression == COMPRESSION_JPEG && photometric == PHOTOMETRIC_YCBCR && l.samples == 3 &&
        TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB))
        photometric = PHOTOMETRIC_RGB;
    std::uint16_t extraCount = 0;
    std::uint16_t *extra = nullptr;
    TIFFGetFieldDefaulted(tif, TIFFTAG_EXTRASAMPLES, &extraCount, &extra);
    const bool grey = photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
    const bool plain = planar == PLANARCONFIG_CONTIG && (format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID);
    const int colours = photometric == PHOTOMETRIC_RGB ? 3 : 1;
    if (plain && l.indexed) {
        mIndexed = true;
        mBits = l.bits;
        const int entries = 1 << l.bits;
        if (photometric == PHOTOMETRIC_PALETTE) {
            std::uint16_t *r = nullptr, *g = nullptr, *b = nullptr;
            if (!TIFFGetField(tif, TIFFTAG_COLORMAP, &r, &g, &b) || !r || !g || !b) {
                error = "The TIF file has no colour map.";
                return false;
            }
            // Old writers stored 8-bit values in the 16-bit map.
            bool eightBit = true;
            for (int i = 0; i < entries; ++i)
                eightBit = eightBit && r[i] < 256 && g[i] < 256 && b[i] < 256;
            const int shift = eightBit ? 0 : 8;
            for (int i = 0; i < entries; ++i) {
                mLut[3 * i] = static_cast<Byte>(r[i] >> shift);
                mLut[3 * i + 1] = static_cast<Byte>(g[i] >> shift);
                mLut[3 * i + 2] = static_cast<Byte>(b[i] >> shift);
            }
        } else {
            for (int i = 0; i < entries; ++i) {
                int v = i * 255 / (entries - 1);
                if (photometric == PHOTOMETRIC_MINISWHITE)
                    v = 255 - v;
                mLut[3 * i] = mLut[3 * i + 1] = mLut[3 * i + 2] = static_cast<Byte>(v);
            }
        }
    } else if (plain && (grey || photometric == PHOTOMETRIC_RGB) && (l.bits == 8 || l.bits == 16) &&
               l.samples >= colours) {
        mSamples.Stride = l.samples;
        mSamples.Colours = colours;
        mSamples.Sixteen = l.bits == 16;
        mSamples.BigEndian = std::endian::native == std::endian::big; // libtiff gives samples in our order
        mSamples.Inverted = photometric == PHOTOMETRIC_MINISWHITE;
        if (l.samples > colours && extraCount > 0 && extra &&
            (extra[0] == EXTRASAMPLE_ASSOCALPHA || extra[0] == EXTRASAMPLE_UNASSALPHA)) {
            mSamples.AlphaAt = colours;
            mSamples.Premultiplied = extra[0] == EXTRASAMPLE_ASSOCALPHA;
            mInfo.Alpha = true;
        }
    } else {
        char why[1024] = {};
        if (!TIFFRGBAImageOK(tif, why) || !TIFFRGBAImageBegin(&mImage, tif, 0, why)) {
            error = std::string("The TIF file's colour layout can't be read: ") + why + ".";
            return false;
        }
        mImageBegun = true;
        mImage.req_orientation = ORIENTATION_TOPLEFT;
        mInfo.Alpha = mImage.alpha != 0;
        mWay = Way::Rgba;
        // A band of about a million pixels, no more lines than the picture has.
        mRaster.resize(static_cast<size_t>(l.width) *
                       std::min(l.height, std::max<std::uint32_t>(1, (1u << 20) / l.width)));
        return true;
    }

    if (TIFFIsTiled(tif)) {
        TIFFGetField(tif, TIFFTAG_TILEWIDTH, &mTileWidth);
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &mTileHeight);
        const tmsize_t tileSize = TIFFTileSize(tif);
        const tmsize_t tileRow = TIFFTileRowSize(tif);
        if (mTileWidth < 1 || mTileHeight < 1 || std::uint64_t{mTileWidth} * mTileHeight > (1u << 24) ||
            tileSize <= 0 || tileSize > kMaxLibtiffAllocation || tileRow <= 0 || static_cast<std::uint64_t>(tileRow) * mTileHeight > static_cast<std::uint64_t>(tileSize)) {
            error = "The TIF file's tiles can't be read.";
            return false;
        }
        mWay = Way::Tiles;
        mTileRowBytes = static_cast<size_t>(tileRow);
        mTile.resize(static_cast<size_t>(tileSize));
        mBand.resize(static_cast<size_t>(l.width) * 3 * std::min(mTileHeight, l.height));
        return true;
    }
    const tmsize_t lineSize = TIFFScanlineSize(tif);
    if (lineSize <= 0 || lineSize > kMaxLibtiffAllocation ||
        static_cast<std::uint64_t>(lineSize) * 8 < std::uint64_t{l.width} * l.bits * l.samples) {
        error = mFile.failure();
        return false;
    }
    mLine.resize(static_cast<size_t>(lineSize));
    return true;
}

bool TiffRows::readBand(std::uint32_t top)
{
    TIFF *tif = mFile.get();
    const std::uint32_t width = static_cast<std::uint32_t>(mInfo.Width);
    const std::uint32_t rows = std::min<std::uint32_t>(mTileHeight, static_cast<std::uint32_t>(mInfo.Height) - top);
    for (std::uint32_t tx = 0; tx < width; tx += mTileWidth) {
        if (TIFFReadTile(tif, mTile.data(), tx, top, 0, 0) < 0)
            return false;
        const int cols = static_cast<int>(std::min(mTileWidth, width - tx));
        for (std::uint32_t r = 0; r < rows; ++r)
            convert(mTile.data() + mTileRowBytes * r, cols, mBand.data() + (static_cast<size_t>(r) * width + tx) * 3);
    }
    mBandTop = top;
    return true;
}

bool TiffRows::readRgba(int count, Byte *out)
{
    const std::uint32_t width = static_cast<std::uint32_t>(mInfo.Width);
    const int chunk = static_cast<int>(mRaster.size() / width);
    for (int done = 0; done < count;) {
        const int rows = std::min(chunk, count - done);
        mImage.row_offset = mNext + done;
        mImage.col_offset = 0;
        if (!TIFFRGBAImageGet(&mImage, mRaster.data(), width, static_cast<std::uint32_t>(rows)))
            return false;
        // The interface gives colours premultiplied by alpha: over white, what alpha leaves out is white.
        const std::uint32_t *src = mRaster.data();
        for (size_t i = 0, n = static_cast<size_t>(rows) * width; i < n; ++i, out += 3) {
            const std::uint32_t clear = 255 - TIFFGetA(src[i]);
            out[0] = static_cast<Byte>(std::min<std::uint32_t>(255, TIFFGetR(src[i]) + clear));
            out[1] = static_cast<Byte>(std::min<std::uint32_t>(255, TIFFGetG(src[i]) + clear));
            out[2] = static_cast<Byte>(std::min<std::uint32_t>(255, TIFFGetB(src[i]) + clear));
        }
        done += rows;
    }
    return true;
}

bool TiffRows::ReadRows(int count, Byte *out, std::string &error)
{
    if (mFailed) {
        error = mFile.failure();
        return false;
    }
    if (!RowsLeft(mInfo, mNext, count, error))
        return false;
    const size_t outRow = static_cast<size_t>(mInfo.Width) * 3;
    bool ok = true;
    if (mWay == Way::Rgba) {
        ok = readRgba(count, out);
    } else {
        for (int i = 0; ok && i < count; ++i, out += outRow) {
            const std::uint32_t y = static_cast<std::uint32_t>(mNext + i);
            if (mWay == Way::Lines) {
                ok = TIFFReadScanline(mFile.get(), mLine.data(), y, 0) >= 0;
                if (ok)
                    convert(mLine.data(), mInfo.Width, out);
            } else {
                const std::uint32_t top = y - y % mTileHeight;
                ok = (top == mBandTop || readBand(top));
                if (ok)
                    std::memcpy(out, mBand.data() + (y - top) * outRow, outRow);
            }
        }
    }
    if (!ok) {
        mFailed = true;
        error = mFile.failure();
        return false;
    }
    mNext += count;
    return true;
}

} // namespace

std::unique_ptr<PictureRows> OpenTiffRows(const std::string &path, std::string &error)
{
    return OpenRows<TiffRows>(path, error);
}

} // namespace velmara::intake_detail

namespace velmara {

bool ProbeTiff(const std::string &path, Picture &info, std::string &error)
{
    intake_detail::TiffFile file;
    intake_detail::TiffLayout layout;
    info = Picture{};
    if (!file.open(path, error) || !intake_detail::ReadLayout(file, layout, info, error))
        return false;
    if (layout.depth == 8 && !layout.indexed) {
        error = "The TIF file's colour layout can't be analysed.";
        return false;
    }
    return layout.depth != 8 || intake_detail::CheckSize(file, layout, error);
}

} // namespace velmara
