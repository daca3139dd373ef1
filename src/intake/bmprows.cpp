// BMP rows: colour tables of 1, 4 and 8 bits, 16, 24 and 32 bits plain or with colour masks,
// bottom-up or top-down. Rows are read straight from the file in chunks of a few megabytes; a
// bottom-up file is read from its end, chunk by chunk.

#include "intake/inputfile.h"
#include "intake/rowreaders.h"

#include <algorithm>
#include <vector>

namespace velmara::intake_detail {

namespace {

constexpr size_t kChunkBytes = size_t{4} << 20;

// One colour of a masked pixel: its bits, moved down and scaled to 0..255 through a table.
struct MaskChannel
{
    std::uint32_t mask = 0;
    int shift = 0;
    int drop = 0; // low bits dropped so that the table stays at 65536 entries
    std::vector<Byte> scale;

    // False for a mask whose bits don't lie together.
    bool set(std::uint32_t m)
    {
        mask = m;
        if (m == 0) {
            scale.assign(1, 0);
            return true;
        }
        shift = std::countr_zero(m);
        const int bits = std::popcount(m);
        if ((m >> shift) != (bits == 32 ? 0xFFFFFFFFu : (1u << bits) - 1))
            return false;
        drop = std::max(0, bits - 16);
        const std::uint32_t top = (bits == 32 ? 0xFFFFFFFFu : (1u << bits) - 1) >> drop;
        scale.resize(top + 1);
        for (std::uint32_t v = 0; v <= top; ++v)
            scale[v] = static_cast<Byte>((std::uint64_t{v} * 255 + top / 2) / top);
        return true;
    }
    Byte operator()(std::uint32_t px) const { return scale[((px & mask) >> shift) >> drop]; }
};

class BmpRows : public PictureRows
{
public:
    bool open(const std::string &path, std::string &error);
    const RowPictureInfo &Info() const override { return mInfo; }
    bool ReadRows(int count, Byte *out, std::string &error) override;

private:
    void convert(const Byte *src, Byte *out) const;

    InputFile mFile;
    RowPictureInfo mInfo;
    std::uint64_t mPixelOffset = 0;
    size_t mStride = 0;
    int mBits = 0;
    bool mTopDown = false;
    bool mMasked = false;
    ColourLut mLut{};
    MaskChannel mRed, mGreen, mBlue;
    std::vector<Byte> mChunk;
    int mNext = 0;
    bool mFailed = false;
};

bool BmpRows::open(const std::string &path, std::string &error)
{
    if (!mFile.open(path, error))
        return false;
    Byte h[66] = {};
    if (mFile.readAt(0, h, 54) < 54) {
        error = "The bitmap file is too short to hold its header.";
        return false;
    }
    const std::uint64_t headerSize = static_cast<std::uint32_t>(ReadLong(h + 14));
    const Long width = ReadLong(h + 18);
    const Long rawHeight = ReadLong(h + 22);
    const std::uint32_t compression = static_cast<std::uint32_t>(ReadLong(h + 30));
    const std::uint32_t coloursUsed = static_cast<std::uint32_t>(ReadLong(h + 46));
    mPixelOffset = static_cast<std::uint32_t>(ReadLong(h + 10));
    mBits = ReadWord(h + 28);
    if (headerSize < 40) {
        error = "The bitmap's header is of a kind that can't be read.";
        return false;
    }
    if (mBits != 1 && mBits != 4 && mBits != 8 && mBits != 16 && mBits != 24 && mBits != 32) {
        error = BitDepthMessage(mBits);
        return false;
    }
    // 3: colour masks; 6: colour masks and an alpha mask, whose alpha a bitmap never really uses.
    const bool bitfields = compression == 3 || compression == 6;
    if (!(compression == 0 || (bitfields && (mBits == 16 || mBits == 32)))) {
        error = "Compressed bitmaps can't be read.";
        return false;
    }
    const std::int64_t height = rawHeight < 0 ? -std::int64_t{rawHeight} : rawHeight;
    if (!SizeOk(width, rawHeight == INT32_MIN ? 0 : height, error))
        return false;
    mTopDown = rawHeight < 0;
    mInfo.Format = PictureFormat::Bmp;
    mInfo.Width = width;
    mInfo.Height = static_cast<int>(height);
    mInfo.SourceDepth = mBits;
    mInfo.DpiX = DpiFromPerMetre(ReadLong(h + 38));
    mInfo.DpiY = DpiFromPerMetre(ReadLong(h + 42));

    if (mBits <= 8) {
        const std::uint32_t maxColours = 1u << mBits;
        const std::uint32_t colours = coloursUsed == 0 ? maxColours : coloursUsed;
        const std::uint64_t tableOffset = 14 + headerSize;
        Byte table[4 * 256];
        if (colours > maxColours || mFile.readAt(tableOffset, table, 4 * colours) < 4 * colours) {
            error = "The bitmap's colour table is damaged.";
            return false;
        }
        for (std::uint32_t i = 0; i < colours; ++i) {
            mLut[3 * i] = table[4 * i + 2];
            mLut[3 * i + 1] = table[4 * i + 1];
            mLut[3 * i + 2] = table[4 * i];
        }
        mInfo.ColourTable = true;
    } else if (mBits != 24) {
        // The masks follow a 40-byte header and lie inside a longer one: at offset 54 either way.
        std::uint32_t masks[3] = {0x7C00, 0x03E0, 0x001F};
        if (mBits == 32)
            masks[0] = 0xFF0000, masks[1] = 0xFF00, masks[2] = 0xFF;
        if (bitfields) {
            if (mFile.readAt(54, h + 54, 12) < 12) {
                error = "The bitmap file is too short to hold its header.";
                return false;
            }
            for (int k = 0; k < 3; ++k)
                masks[k] = static_cast<std::uint32_t>(ReadLong(h + 54 + 4 * k));
        }
        if (mBits == 16)
            for (std::uint32_t &m : masks)
                m &= 0xFFFF;
        if (!mRed.set(masks[0]) || !mGreen.set(masks[1]) || !mBlue.set(masks[2])) {
            error = "The bitmap's colour masks can't be read.";
            return false;
        }
        mMasked = !(mBits == 32 && masks[0] == 0xFF0000 && masks[1] == 0xFF00 && masks[2] == 0xFF);
    }

    mStride = ((static_cast<size_t>(width) * mBits + 31) / 32) * 4;
    if (mPixelOffset + static_cast<std::uint64_t>(mStride) * mInfo.Height > mFile.size()) {
        error = "The file is shorter than its header says; it may be truncated.";
        return false;
    }
    return true;
}

void BmpRows::convert(const Byte *src, Byte *out) const
{
    const int n = mInfo.Width;
    if (mBits <= 8) {
        ConvertIndexes(src, n, mBits, mLut, out);
    } else if (mBits == 24) {
        for (int x = 0; x < n; ++x, src += 3, out += 3)
            out[0] = src[2], out[1] = src[1], out[2] = src[0];
    } else if (!mMasked) {
        for (int x = 0; x < n; ++x, src += 4, out += 3)
            out[0] = src[2], out[1] = src[1], out[2] = src[0];
    } else {
        const int step = mBits / 8;
        for (int x = 0; x < n; ++x, src += step, out += 3) {
            const std::uint32_t px = step == 2 ? std::uint32_t{src[0]} | std::uint32_t{src[1]} << 8
                                               : static_cast<std::uint32_t>(ReadLong(src));
            out[0] = mRed(px), out[1] = mGreen(px), out[2] = mBlue(px);
        }
    }
}

bool BmpRows::ReadRows(int count, Byte *out, std::string &error)
{
    if (mFailed) {
        error = "The bitmap could not be read.";
        return false;
    }
    if (!RowsLeft(mInfo, mNext, count, error))
        return false;
    const int chunkRows = static_cast<int>(std::max<size_t>(1, kChunkBytes / mStride));
    const size_t outRow = static_cast<size_t>(mInfo.Width) * 3;
    while (count > 0) {
        const int rows = std::min(count, chunkRows);
        // File rows run bottom-up unless the height was negative; either way the rows wanted lie
        // together in the file.
        const int firstFileRow = mTopDown ? mNext : mInfo.Height - mNext - rows;
        const size_t bytes = mStride * static_cast<size_t>(rows);
        mChunk.resize(std::max(mChunk.size(), bytes));
        if (mFile.readAt(mPixelOffset + mStride * static_cast<std::uint64_t>(firstFileRow), mChunk.data(), bytes) <
            bytes) {
            mFailed = true;
            error = "The file is shorter than its header says; it may be truncated.";
            return false;
        }
        for (int i = 0; i < rows; ++i) {
            const int chunkRow = mTopDown ? i : rows - 1 - i;
            convert(mChunk.data() + mStride * static_cast<size_t>(chunkRow), out);
            out += outRow;
        }
        mNext += rows;
        count -= rows;
    }
    return true;
}

} // namespace

std::unique_ptr<PictureRows> OpenBmpRows(const std::string &path, std::string &error)
{
    return OpenRows<BmpRows>(path, error);
}

} // namespace velmara::intake_detail
