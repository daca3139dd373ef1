// JPEG rows through libjpeg: baseline and progressive, colour and grey. The library goes on over
// a cut or corrupt file with made-up grey data and a warning; those warnings refuse the file here.
// Errors come back by longjmp: every library call stands in a function whose frame holds no
// object with a destructor after its setjmp.

#include "intake/inputfile.h"
#include "intake/rowreaders.h"

#include <csetjmp>
#include <cstdio>
// jpeglib.h needs size_t and FILE declared before it.
#include <jpeglib.h>
#include <jerror.h>
#include <sys/stat.h>
#include <vector>

namespace velmara::intake_detail {

namespace {

// A progressive picture keeps all its coefficients until the last scan: a letter sheet at 1200
// dpi needs about 800 MB. Past this the library refuses instead of allocating.
constexpr long kMaxLibjpegMemory = 1L << 31;

// More scans than any encoder writes; each one costs a pass over the whole picture.
constexpr int kMaxScans = 500;

struct ErrorManager
{
    jpeg_error_mgr pub;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
    bool truncated;
};

[[noreturn]] void OnError(j_common_ptr cinfo)
{
    auto *err = reinterpret_cast<ErrorManager *>(cinfo->err);
    (*cinfo->err->format_message)(cinfo, err->message);
    std::longjmp(err->jump, 1);
}

// Warnings about damaged data mean the library is about to make up pixels: they are errors here.
void OnMessage(j_common_ptr cinfo, int level)
{
    if (level >= 0)
        return; // trace messages
    switch (cinfo->err->msg_code) {
    case JWRN_JPEG_EOF:
        reinterpret_cast<ErrorManager *>(cinfo->err)->truncated = true;
        OnError(cinfo);
    case JWRN_HIT_MARKER:
    case JWRN_MUST_RESYNC:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
    case JWRN_NOT_SEQUENTIAL:
    case JWRN_BOGUS_PROGRESSION:
        OnError(cinfo);
    default:
        break;
    }
}

void OnProgress(j_common_ptr cinfo)
{
    auto *d = reinterpret_cast<j_decompress_ptr>(cinfo);
    if (d->input_scan_number > kMaxScans) {
        std::snprintf(reinterpret_cast<ErrorManager *>(cinfo->err)->message, JMSG_LENGTH_MAX,
                      "more than %d scans", kMaxScans);
        std::longjmp(reinterpret_cast<ErrorManager *>(cinfo->err)->jump, 1);
    }
}

class JpegRows : public PictureRows
{
public:
    ~JpegRows() override
    {
        if (mCreated)
            jpeg_destroy_decompress(&mJpeg);
        if (mFile)
            std::fclose(mFile);
    }
    bool open(const std::string &path, std::string &error);
    const RowPictureInfo &Info() const override { return mInfo; }
    bool ReadRows(int count, Byte *out, std::string &error) override;

private:
    bool readHeader();
    bool start();
    bool readRows(int count, Byte *out);
    [[gnu::noinline]] void decodeRows(int count, Byte *out);
    std::string failure() const;

    std::FILE *mFile = nullptr;
    jpeg_decompress_struct mJpeg{};
    ErrorManager mError{};
    jpeg_progress_mgr mProgress{};
    bool mCreated = false;
    bool mFailed = false;
    RowPictureInfo mInfo;
    std::vector<Byte> mGrey;
    int mNext = 0;
};

std::string JpegRows::failure() const
{
    if (mError.truncated)
        return "The JPEG file is truncated.";
    return std::string("The JPEG file is damaged: ") + mError.message + ".";
}

bool JpegRows::readHeader()
{
    if (setjmp(mError.jump))
        return false;
    jpeg_create_decompress(&mJpeg);
    mCreated = true;
    mJpeg.mem->max_memory_to_use = kMaxLibjpegMemory;
    mProgress.progress_monitor = OnProgress;
    mJpeg.progress = &mProgress;
    jpeg_stdio_src(&mJpeg, mFile);
    jpeg_read_header(&mJpeg, TRUE);
    return true;
}

bool JpegRows::start()
{
    if (setjmp(mError.jump))
        return false;
    jpeg_start_decompress(&mJpeg);
    return true;
}

bool JpegRows::open(const std::string &path, std::string &error)
{
    mFile = std::fopen(path.c_str(), "rb");
    struct stat st = {};
    if (!mFile || ::fstat(fileno(mFile), &st) != 0) {
        error = InputFile::openErrorText(errno);
        return false;
    }
    mJpeg.err = jpeg_std_error(&mError.pub);
    mError.pub.error_exit = OnError;
    mError.pub.emit_message = OnMessage;
    if (!readHeader()) {
        error = failure();
        return false;
    }
    if (mJpeg.jpeg_color_space == JCS_CMYK || mJpeg.jpeg_color_space == JCS_YCCK) {
        error = kCmykRefusal;
        return false;
    }
    if (!SizeOk(mJpeg.image_width, mJpeg.image_height, error))
        return false;
    const std::uint64_t pixels = std::uint64_t{mJpeg.image_width} * mJpeg.image_height;
    if (jpeg_has_multiple_scans(&mJpeg) && !PixelBudgetOk(pixels, static_cast<std::uint64_t>(st.st_size))) {
        error = "The JPEG picture of " + std::to_string(mJpeg.image_width) + " by " +
                std::to_string(mJpeg.image_height) + " pixels is far more than its data can fill; the file is damaged.";
        return false;
    }
    const bool grey = mJpeg.num_components == 1;
    mJpeg.out_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
    mInfo.Format = PictureFormat::Jpeg;
    mInfo.Width = static_cast<int>(mJpeg.image_width);
    mInfo.Height = static_cast<int>(mJpeg.image_height);
    mInfo.SourceDepth = 8 * mJpeg.num_components;
    if (mJpeg.saw_JFIF_marker && (mJpeg.density_unit == 1 || mJpeg.density_unit == 2)) {
        const double perInch = mJpeg.density_unit == 1 ? 1.0 : 2.54;
        mInfo.DpiX = mJpeg.X_density * perInch;
        mInfo.DpiY = mJpeg.Y_density * perInch;
    }
    if (!start()) {
        error = failure();
        return false;
    }
    if (mJpeg.output_components != (grey ? 1 : 3)) {
        error = "The JPEG file's colour layout can't be read.";
        return false;
    }
    if (grey)
        mGrey.resize(mJpeg.output_width);
    return true;
}

bool JpegRows::readRows(int count, Byte *out)
{
    if (setjmp(mError.jump))
        return false;
    decodeRows(count, out);
    return true;
}

void JpegRows::decodeRows(int count, Byte *out)
{
    const size_t outRow = static_cast<size_t>(mInfo.Width) * 3;
    for (int i = 0; i < count; ++i, out += outRow) {
        JSAMPROW row = mGrey.empty() ? out : mGrey.data();
        if (jpeg_read_scanlines(&mJpeg, &row, 1) != 1) {
            std::snprintf(mError.message, sizeof mError.message, "a line could not be decoded");
            std::longjmp(mError.jump, 1);
        }
        if (!mGrey.empty()) {
            for (int x = 0; x < mInfo.Width; ++x)
                out[3 * x] = out[3 * x + 1] = out[3 * x + 2] = mGrey[x];
        }
    }
}

bool JpegRows::ReadRows(int count, Byte *out, std::string &error)
{
    if (mFailed) {
        error = failure();
        return false;
    }
    if (!RowsLeft(mInfo, mNext, count, error))
        return false;
    if (!readRows(count, out)) {
        mFailed = true;
        error = failure();
        return false;
    }
    mNext += count;
    return true;
}

} // namespace

std::unique_ptr<PictureRows> OpenJpegRows(const std::string &path, std::string &error)
{
    return OpenRows<JpegRows>(path, error);
}

} // namespace velmara::intake_detail
