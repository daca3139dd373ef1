#include "cardgen/cardgen.h"

#include <fcntl.h>
#include <gif_lib.h>
#include <unistd.h>
#include <tiffio.h>
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <functional>
#include <memory>

namespace velmara::cardgen {

namespace {

void put16(std::vector<std::uint8_t> &out, unsigned v)
{
    out.push_back(static_cast<std::uint8_t>(v));
    out.push_back(static_cast<std::uint8_t>(v >> 8));
}

void put32(std::vector<std::uint8_t> &out, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

std::uint32_t pixelsPerMetre(int dpi) { return static_cast<std::uint32_t>(std::lround(dpi / 0.0254)); }

// File header and information header of a bottom-up, uncompressed bitmap.
std::vector<std::uint8_t> bmpHeaders(int width, int height, int bits, std::uint32_t colours,
                                     std::uint32_t tableBytes, std::uint32_t rowBytes, int dpi)
{
    const std::uint32_t offset = 54 + tableBytes;
    const std::uint32_t imageBytes = rowBytes * static_cast<std::uint32_t>(height);
    std::vector<std::uint8_t> h;
    h.reserve(offset);
    h.push_back('B');
    h.push_back('M');
    put32(h, offset + imageBytes);
    put32(h, 0);
    put32(h, offset);
    put32(h, 40);
    put32(h, static_cast<std::uint32_t>(width));
    put32(h, static_cast<std::uint32_t>(height));
    put16(h, 1);
    put16(h, static_cast<unsigned>(bits));
    put32(h, 0); // no compression
    put32(h, imageBytes);
    put32(h, pixelsPerMetre(dpi));
    put32(h, pixelsPerMetre(dpi));
    put32(h, colours);
    put32(h, 0);
    return h;
}

std::vector<std::uint8_t> bmpPrefix(const IndexedImage &image, const BmpOptions &options)
{
    const auto n = static_cast<std::uint32_t>(image.palette.size());
    const std::uint32_t rowBytes = (static_cast<std::uint32_t>(image.width) + 3u) & ~3u;
    const std::uint32_t colours = (n == 256 && options.zeroColoursFor256) ? 0 : n;
    const auto gap = static_cast<std::uint32_t>(std::max(0, options.gapBytes));
    std::vector<std::uint8_t> out = bmpHeaders(image.width, image.height, 8, colours, 4 * n + gap, rowBytes, options.dpi);
    for (const Rgb &c : image.palette) {
        out.push_back(c.b);
        out.push_back(c.g);
        out.push_back(c.r);
        out.push_back(0);
    }
    out.insert(out.end(), gap, 0);
    return out;
}

bool report(std::string *error, const std::string &text)
{
    if (error)
        *error = text;
    return false;
}

struct FileCloser
{
    void operator()(std::FILE *f) const { std::fclose(f); }
};

// Streams the rows bottom-up, each padded to four bytes, after the given prefix.
template <typename RowFn>
bool writeBottomUp(const std::string &path, const std::vector<std::uint8_t> &prefix, int height,
                   size_t rowBytes, RowFn fillRow, std::string *error)
{
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file)
        return report(error, "cannot create '" + path + "'");
    std::vector<std::uint8_t> row(rowBytes, 0);
    bool ok = std::fwrite(prefix.data(), 1, prefix.size(), file.get()) == prefix.size();
    for (int y = height - 1; ok && y >= 0; --y) {
        fillRow(y, row.data());
        ok = std::fwrite(row.data(), 1, row.size(), file.get()) == row.size();
    }
    std::FILE *raw = file.release();
    ok = (std::fclose(raw) == 0) && ok;
    return ok ? true : report(error, "cannot write '" + path + "'");
}

bool validIndexed(const IndexedImage &image)
{
    return image.width > 0 && image.height > 0 && !image.palette.empty() && image.palette.size() <= 256
           && image.pixels.size() == static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
}

bool validRgb(const RgbImage &image)
{
    return image.width > 0 && image.height > 0
           && image.data.size() == 3 * static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
}

} // namespace

std::vector<std::uint8_t> EncodeBmp(const IndexedImage &image, const BmpOptions &options)
{
    if (!validIndexed(image))
        return {};
    std::vector<std::uint8_t> out = bmpPrefix(image, options);
    const size_t rowBytes = (static_cast<size_t>(image.width) + 3) & ~size_t(3);
    out.reserve(out.size() + rowBytes * static_cast<size_t>(image.height));
    for (int y = image.height - 1; y >= 0; --y) {
        out.insert(out.end(), image.row(y), image.row(y) + image.width);
        out.insert(out.end(), rowBytes - static_cast<size_t>(image.width), 0);
    }
    return out;
}

std::vector<std::uint8_t> EncodeBmp24(const RgbImage &image, int dpi)
{
    if (!validRgb(image))
        return {};
    const size_t rowBytes = (3 * static_cast<size_t>(image.width) + 3) & ~size_t(3);
    std::vector<std::uint8_t> out =
        bmpHeaders(image.width, image.height, 24, 0, 0, static_cast<std::uint32_t>(rowBytes), dpi);
    for (int y = image.height - 1; y >= 0; --y) {
        const std::uint8_t *p = image.data.data() + 3 * static_cast<size_t>(y) * static_cast<size_t>(image.width);
        for (int x = 0; x < image.width; ++x, p += 3) {
            out.push_back(p[2]);
            out.push_back(p[1]);
            out.push_back(p[0]);
        }
        out.insert(out.end(), rowBytes - 3 * static_cast<size_t>(image.width), 0);
    }
    return out;
}

bool WriteBmp(const IndexedImage &image, const std::string &path, const BmpOptions &options, std::string *error)
{
    if (!validIndexed(image))
        return report(error, "not a valid picture");
    const size_t rowBytes = (static_cast<size_t>(image.width) + 3) & ~size_t(3);
    return writeBottomUp(path, bmpPrefix(image, options), image.height, rowBytes,
                         [&](int y, std::uint8_t *row) { std::copy_n(image.row(y), image.width, row); }, error);
}

bool WriteBmp24(const RgbImage &image, const std::string &path, int dpi, std::string *error)
{
    if (!validRgb(image))
        return report(error, "not a valid picture");
    const size_t rowBytes = (3 * static_cast<size_t>(image.width) + 3) & ~size_t(3);
    const auto prefix = bmpHeaders(image.width, image.height, 24, 0, 0, static_cast<std::uint32_t>(rowBytes), dpi);
    return writeBottomUp(path, prefix, image.height, rowBytes, [&](int y, std::uint8_t *row) {
        const std::uint8_t *p = image.data.data() + 3 * static_cast<size_t>(y) * static_cast<size_t>(image.width);
        for (int x = 0; x < image.width; ++x, p += 3, row += 3) {
            row[0] = p[2];
            row[1] = p[1];
            row[2] = p[0];
        }
    }, error);
}

bool WriteGif(const IndexedImage &image, const std::string &path, int colourResolution, std::string *error,
              bool interlaced)
{
    if (!validIndexed(image) || image.width > 65535 || image.height > 65535)
        return report(error, "not a valid picture for GIF");
    int tableSize = 2;
    while (tableSize < static_cast<int>(image.palette.size()))
        tableSize *= 2;
    std::vector<GifColorType> colours(static_cast<size_t>(tableSize), GifColorType{0, 0, 0});
    for (size_t i = 0; i < image.palette.size(); ++i)
        colours[i] = GifColorType{image.palette[i].r, image.palette[i].g, image.palette[i].b};

    // Opened here rather than by giflib, which would make the file readable by its owner only.
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd < 0)
        return report(error, "cannot create '" + path + "'");
    int code = 0;
    GifFileType *gif = EGifOpenFileHandle(fd, &code);
    if (!gif) {
        ::close(fd);
        return report(error, "cannot create '" + path + "': " + GifErrorString(code));
    }
    ColorMapObject *map = GifMakeMapObject(tableSize, colours.data());
    bool ok = map && EGifPutScreenDesc(gif, image.width, image.height, std::clamp(colourResolution, 1, 8), 0, map) == GIF_OK
              && EGifPutImageDesc(gif, 0, 0, image.width, image.height, interlaced, nullptr) == GIF_OK;
    std::vector<int> order;
    for (int pass = 0; pass < (interlaced ? 4 : 1); ++pass) {
        static constexpr int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
        for (int y = interlaced ? kStart[pass] : 0; y < image.height; y += interlaced ? kStep[pass] : 1)
            order.push_back(y);
    }
    std::vector<GifPixelType> line(static_cast<size_t>(image.width));
    for (size_t k = 0; ok && k < order.size(); ++k) {
        std::copy_n(image.row(order[k]), image.width, line.data());
        ok = EGifPutLine(gif, line.data(), image.width) == GIF_OK;
    }
    if (!ok)
        code = gif->Error;
    GifFreeMapObject(map);
    int closeCode = 0;
    if (EGifCloseFile(gif, &closeCode) != GIF_OK && ok) {
        ok = false;
        code = closeCode;
    }
    return ok ? true : report(error, "cannot write '" + path + "': " + GifErrorString(code));
}

namespace {

// source(y) gives row y, samples bytes a pixel; indexed, when given, supplies the colour map.
bool writeTiff(const std::string &path, int width, int height, int samples, const IndexedImage *indexed,
               const std::function<const std::uint8_t *(int)> &source, int dpi, bool lzw, int tileSize,
               std::string *error)
{
    TIFF *tif = TIFFOpen(path.c_str(), "w");
    if (!tif)
        return report(error, "cannot create '" + path + "'");
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, lzw ? COMPRESSION_LZW : COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, static_cast<float>(dpi));
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, static_cast<float>(dpi));
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    if (tileSize > 0) {
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, static_cast<std::uint32_t>(tileSize));
        TIFFSetField(tif, TIFFTAG_TILELENGTH, static_cast<std::uint32_t>(tileSize));
    } else {
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));
    }
    if (indexed) {
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
        // An 8-bit colour map always has 256 entries, 16 bits per component.
        std::vector<std::uint16_t> red(256, 0), green(256, 0), blue(256, 0);
        for (size_t i = 0; i < indexed->palette.size(); ++i) {
            red[i] = static_cast<std::uint16_t>(indexed->palette[i].r * 257);
            green[i] = static_cast<std::uint16_t>(indexed->palette[i].g * 257);
            blue[i] = static_cast<std::uint16_t>(indexed->palette[i].b * 257);
        }
        TIFFSetField(tif, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
    } else {
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    }
    const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(samples);
    bool ok = true;
    if (tileSize > 0) {
        const size_t tileRow = static_cast<size_t>(tileSize) * static_cast<size_t>(samples);
        std::vector<std::uint8_t> tile(tileRow * static_cast<size_t>(tileSize));
        for (int ty = 0; ok && ty < height; ty += tileSize)
            for (int tx = 0; ok && tx < width; tx += tileSize) {
                std::fill(tile.begin(), tile.end(), 0);
                const size_t across = static_cast<size_t>(std::min(tileSize, width - tx)) * static_cast<size_t>(samples);
                for (int y = 0; y < tileSize && ty + y < height; ++y)
                    std::copy_n(source(ty + y) + static_cast<size_t>(tx) * static_cast<size_t>(samples), across,
                                tile.data() + tileRow * static_cast<size_t>(y));
                ok = TIFFWriteTile(tif, tile.data(), static_cast<std::uint32_t>(tx), static_cast<std::uint32_t>(ty), 0, 0) >= 0;
            }
        ok = TIFFFlush(tif) == 1 && ok;
        TIFFClose(tif);
        return ok ? true : report(error, "cannot write '" + path + "'");
    }
    std::vector<std::uint8_t> line(rowBytes);
    for (int y = 0; ok && y < height; ++y) {
        std::copy_n(source(y), rowBytes, line.data());
        ok = TIFFWriteScanline(tif, line.data(), static_cast<std::uint32_t>(y), 0) == 1;
    }
    ok = TIFFFlush(tif) == 1 && ok;
    TIFFClose(tif);
    return ok ? true : report(error, "cannot write '" + path + "'");
}

} // namespace

bool WriteTif(const IndexedImage &image, const std::string &path, int dpi, bool lzw, std::string *error,
              int tileSize)
{
    if (!validIndexed(image) || tileSize % 16 != 0)
        return report(error, "not a valid picture");
    return writeTiff(path, image.width, image.height, 1, &image, [&image](int y) { return image.row(y); }, dpi, lzw,
                     tileSize, error);
}

bool WriteTif24(const RgbImage &image, const std::string &path, int dpi, bool lzw, std::string *error,
                int tileSize)
{
    if (!validRgb(image) || tileSize % 16 != 0)
        return report(error, "not a valid picture");
    const size_t rowBytes = 3 * static_cast<size_t>(image.width);
    return writeTiff(path, image.width, image.height, 3, nullptr,
                     [&](int y) { return image.data.data() + rowBytes * static_cast<size_t>(y); }, dpi, lzw,
                     tileSize, error);
}

bool WriteCard(const IndexedImage &image, const std::string &path, int dpi, std::string *error)
{
    std::string ending = path.size() >= 4 ? path.substr(path.size() - 4) : std::string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    BmpOptions options;
    options.dpi = dpi;
    if (ending == ".bmp")
        return WriteBmp(image, path, options, error);
    if (ending == ".gif")
        return WriteGif(image, path, 8, error);
    if (ending == ".tif")
        return WriteTif(image, path, dpi, false, error);
    return report(error, "'" + path + "' does not end in .bmp, .gif or .tif");
}

namespace {

// The rows as the file stores them: red, green, blue, or one grey sample.
class RowFeed
{
public:
    explicit RowFeed(const RgbRows &rows)
        : mRows(rows), mRgb(3 * static_cast<size_t>(rows.width)), mOut((rows.grey ? 1 : 3) * static_cast<size_t>(rows.width))
    {
    }
    int samples() const { return mRows.grey ? 1 : 3; }
    std::uint8_t *row(int y)
    {
        mRows.row(y, mRgb.data());
        if (!mRows.grey)
            return mRgb.data();
        for (size_t x = 0; x < mOut.size(); ++x)
            mOut[x] = mRgb[3 * x];
        return mOut.data();
    }

private:
    const RgbRows &mRows;
    std::vector<std::uint8_t> mRgb, mOut;
};

bool validRows(const RgbRows &rows) { return rows.width > 0 && rows.height > 0 && rows.row; }

// Both libraries report a failure through a callback that must not return: it jumps back here.
struct PngFailure
{
    std::jmp_buf jump;
    std::string message;
};

[[noreturn]] void pngError(png_structp png, png_const_charp message)
{
    auto *failure = static_cast<PngFailure *>(png_get_error_ptr(png));
    failure->message = message;
    std::longjmp(failure->jump, 1);
}

void pngWarning(png_structp, png_const_charp) {}

struct JpegFailure
{
    jpeg_error_mgr manager;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

[[noreturn]] void jpegError(j_common_ptr info)
{
    auto *failure = reinterpret_cast<JpegFailure *>(info->err);
    (*info->err->format_message)(info, failure->message);
    std::longjmp(failure->jump, 1);
}

// The writing itself, apart from its callers so that no local of theirs lives across the jump.
bool pngRows(png_structp png, png_infop info, std::FILE *file, const RgbRows &rows, RowFeed &feed, int dpi,
             PngFailure &failure)
{
    if (setjmp(failure.jump) != 0)
        return false;
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(rows.width), static_cast<png_uint_32>(rows.height), 8,
                 rows.grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_pHYs(png, info, pixelsPerMetre(dpi), pixelsPerMetre(dpi), PNG_RESOLUTION_METER);
    png_write_info(png, info);
    for (int y = 0; y < rows.height; ++y)
        png_write_row(png, feed.row(y));
    png_write_end(png, nullptr);
    return true;
}

bool jpegRows(jpeg_compress_struct &jpeg, std::FILE *file, const RgbRows &rows, RowFeed &feed, int dpi, int quality,
              JpegFailure &failure)
{
    if (setjmp(failure.jump) != 0)
        return false;
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, file);
    jpeg.image_width = static_cast<JDIMENSION>(rows.width);
    jpeg.image_height = static_cast<JDIMENSION>(rows.height);
    jpeg.input_components = feed.samples();
    jpeg.in_color_space = rows.grey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, std::clamp(quality, 1, 100), TRUE);
    jpeg.density_unit = 1; // dots per inch
    jpeg.X_density = jpeg.Y_density = static_cast<UINT16>(std::clamp(dpi, 1, 65535));
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW line = feed.row(static_cast<int>(jpeg.next_scanline));
        jpeg_write_scanlines(&jpeg, &line, 1);
    }
    jpeg_finish_compress(&jpeg);
    return true;
}

bool closeFile(std::unique_ptr<std::FILE, FileCloser> &file, bool ok)
{
    std::FILE *raw = file.release();
    return (std::fclose(raw) == 0) && ok;
}

} // namespace

bool WritePng(const RgbRows &rows, const std::string &path, int dpi, std::string *error)
{
    if (!validRows(rows))
        return report(error, "not a valid picture");
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file)
        return report(error, "cannot create '" + path + "'");
    RowFeed feed(rows);
    PngFailure failure;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure, pngError, pngWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    bool ok = png && info && pngRows(png, info, file.get(), rows, feed, dpi, failure);
    png_destroy_write_struct(png ? &png : nullptr, info ? &info : nullptr);
    ok = closeFile(file, ok);
    return ok ? true : report(error, "cannot write '" + path + "'" + (failure.message.empty() ? "" : ": " + failure.message));
}

bool WriteJpeg(const RgbRows &rows, const std::string &path, int dpi, int quality, std::string *error)
{
    if (!validRows(rows) || rows.width > 65500 || rows.height > 65500)
        return report(error, "not a valid picture for JPEG");
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file)
        return report(error, "cannot create '" + path + "'");
    RowFeed feed(rows);
    jpeg_compress_struct jpeg{};
    JpegFailure failure{};
    jpeg.err = jpeg_std_error(&failure.manager);
    failure.manager.error_exit = jpegError;
    const bool ok = jpegRows(jpeg, file.get(), rows, feed, dpi, quality, failure);
    jpeg_destroy_compress(&jpeg);
    return closeFile(file, ok) ? true : report(error, "cannot write '" + path + "'" + (failure.message[0] ? std::string(": ") + failure.message : ""));
}

bool WriteColour(const RgbRows &rows, const std::string &path, const ColourFileOptions &options, std::string *error)
{
    const size_t dot = path.find_last_of('.');
    std::string ending = dot == std::string::npos ? std::string() : path.substr(dot);
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (ending == ".png")
        return WritePng(rows, path, options.dpi, error);
    if (ending == ".jpg" || ending == ".jpeg")
        return WriteJpeg(rows, path, options.dpi, options.quality, error);
    if (!validRows(rows))
        return report(error, "not a valid picture");
    if (ending == ".bmp") {
        const size_t rowBytes = (3 * static_cast<size_t>(rows.width) + 3) & ~size_t(3);
        const auto prefix = bmpHeaders(rows.width, rows.height, 24, 0, 0, static_cast<std::uint32_t>(rowBytes), options.dpi);
        std::vector<std::uint8_t> rgb(3 * static_cast<size_t>(rows.width));
        return writeBottomUp(path, prefix, rows.height, rowBytes, [&](int y, std::uint8_t *row) {
            rows.row(y, rgb.data());
            for (size_t x = 0; x < rgb.size(); x += 3) {
                row[x] = rgb[x + 2];
                row[x + 1] = rgb[x + 1];
                row[x + 2] = rgb[x];
            }
        }, error);
    }
    if (ending == ".tif" || ending == ".tiff") {
        RowFeed feed(rows);
        return writeTiff(path, rows.width, rows.height, feed.samples(), nullptr, [&feed](int y) { return feed.row(y); },
                         options.dpi, false, 0, error);
    }
    return report(error, "'" + path + "' does not end in .png, .jpg, .jpeg, .bmp, .tif or .tiff");
}

} // namespace velmara::cardgen
