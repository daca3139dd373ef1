#include "intake/picture.h"

#include "intake/inputfile.h"
#include "intake/picturereaders.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace velmara {

using namespace intake_detail;

namespace {

constexpr int kFileHeaderBytes = 14;
constexpr int kInfoHeaderBytes = 40;
constexpr int kTableOffset = kFileHeaderBytes + kInfoHeaderBytes; // 54

void PutLong(Byte *p, std::uint32_t v)
{
    p[0] = static_cast<Byte>(v);
    p[1] = static_cast<Byte>(v >> 8);
    p[2] = static_cast<Byte>(v >> 16);
    p[3] = static_cast<Byte>(v >> 24);
}

size_t PaddedRow(int width) { return (static_cast<size_t>(width) + 3) & ~size_t{3}; }

std::array<Byte, kTableOffset> MakeBitmapHeader(int width, int height, int colours)
{
    std::array<Byte, kTableOffset> h{};
    const std::uint32_t tableBytes = 4u * static_cast<std::uint32_t>(colours);
    const std::uint64_t imageBytes = PaddedRow(width) * static_cast<std::uint64_t>(height);
    h[0] = 'B';
    h[1] = 'M';
    PutLong(&h[2], static_cast<std::uint32_t>(kTableOffset + tableBytes + imageBytes));
    PutLong(&h[10], kTableOffset + tableBytes);
    PutLong(&h[14], kInfoHeaderBytes);
    PutLong(&h[18], static_cast<std::uint32_t>(width));
    PutLong(&h[22], static_cast<std::uint32_t>(height));
    h[26] = 1; // planes
    h[28] = 8; // bits per pixel
    PutLong(&h[34], static_cast<std::uint32_t>(imageBytes));
    PutLong(&h[46], static_cast<std::uint32_t>(colours));
    PutLong(&h[50], static_cast<std::uint32_t>(colours));
    return h;
}

int TableSize(const Picture &picture)
{
    return std::clamp(static_cast<int>(picture.Palette.size()), 0, 256);
}

// RGB to at most 256 colours: exact when the picture has no more, else by median cut.
class Quantiser
{
public:
    explicit Quantiser(const Picture &rgb)
    {
        if (!collectExact(rgb))
            buildFromHistogram(rgb);
    }

    const std::vector<PaletteEntry> &palette() const { return mPalette; }

    Byte map(const Byte *px) const
    {
        const std::uint32_t key = Key(px);
        if (mExact)
            return mSlots[findSlot(key)].index;
        return mCellIndex[Cell(px)];
    }

private:
    struct Slot
    {
        std::uint32_t key = kEmpty;
        Byte index = 0;
    };
    static constexpr std::uint32_t kEmpty = 0xFFFFFFFFu;
    static constexpr size_t kSlots = 1024; // power of two, well above 256 entries

    static std::uint32_t Key(const Byte *px) { return std::uint32_t(px[0]) << 16 | px[1] << 8 | px[2]; }
    static int Cell(const Byte *px) { return (px[0] >> 3) << 10 | (px[1] >> 3) << 5 | (px[2] >> 3); }

    size_t findSlot(std::uint32_t key) const
    {
        size_t i = (key * 2654435761u) & (kSlots - 1);
        while (mSlots[i].key != kEmpty && mSlots[i].key != key)
            i = (i + 1) & (kSlots - 1);
        return i;
    }

    bool collectExact(const Picture &rgb)
    {
        mSlots.assign(kSlots, Slot{});
        const size_t n = static_cast<size_t>(rgb.Width) * rgb.Height;
        const Byte *p = rgb.Data.data();
        for (size_t i = 0; i < n; ++i, p += 3) {
            const std::uint32_t key = Key(p);
            const size_t s = findSlot(key);
            if (mSlots[s].key == key)
                continue;
            if (mPalette.size() == 256)
                return false;
            mSlots[s].key = key;
            mSlots[s].index = static_cast<Byte>(mPalette.size());
            mPalette.push_back({p[0], p[1], p[2]});
        }
        mExact = true;
        return true;
    }

    // Median cut over a 5-5-5 grid: the box holding the most pixels is halved by pixel count along
    // its longest side until there are 256 boxes or none can be split; each box's colour is the
    // mean of its pixels.
    void buildFromHistogram(const Picture &rgb)
    {
        mPalette.clear();
        struct Bin
        {
            std::uint64_t n = 0, r = 0, g = 0, b = 0;
        };
        std::vector<Bin> bins(32768);
        const size_t n = static_cast<size_t>(rgb.Width) * rgb.Height;
        const Byte *p = rgb.Data.data();
        for (size_t i = 0; i < n; ++i, p += 3) {
            Bin &bin = bins[Cell(p)];
            ++bin.n;
            bin.r += p[0];
            bin.g += p[1];
            bin.b += p[2];
        }
        struct Box
        {
            int lo[3], hi[3];
            std::uint64_t count;
        };
        const auto cellOf = [](const int c[3]) { return c[0] << 10 | c[1] << 5 | c[2]; };
        const auto forEachCell = [&](const Box &box, auto &&visit) {
            int c[3];
            for (c[0] = box.lo[0]; c[0] <= box.hi[0]; ++c[0])
                for (c[1] = box.lo[1]; c[1] <= box.hi[1]; ++c[1])
                    for (c[2] = box.lo[2]; c[2] <= box.hi[2]; ++c[2])
                        visit(c, bins[cellOf(c)]);
        };
        const auto shrink = [&](Box &box) {
            Box tight{{31, 31, 31}, {0, 0, 0}, 0};
            forEachCell(box, [&](const int c[3], const Bin &bin) {
                if (!bin.n)
                    return;
                tight.count += bin.n;
                for (int a = 0; a < 3; ++a) {
                    tight.lo[a] = std::min(tight.lo[a], c[a]);
                    tight.hi[a] = std::max(tight.hi[a], c[a]);
                }
            });
            box = tight;
        };
        std::vector<Box> boxes{Box{{0, 0, 0}, {31, 31, 31}, 0}};
        shrink(boxes[0]);
        while (boxes.size() < 256) {
            int pick = -1;
            for (size_t k = 0; k < boxes.size(); ++k) {
                const Box &b = boxes[k];
                const bool splittable = b.lo[0] < b.hi[0] || b.lo[1] < b.hi[1] || b.lo[2] < b.hi[2];
                if (splittable && (pick < 0 || b.count > boxes[pick].count))
                    pick = static_cast<int>(k);
            }
            if (pick < 0)
                break;
            Box box = boxes[pick];
            int axis = 0;
            for (int a = 1; a < 3; ++a)
                if (box.hi[a] - box.lo[a] > box.hi[axis] - box.lo[axis])
                    axis = a;
            std::vector<std::uint64_t> slice(32, 0);
            forEachCell(box, [&](const int c[3], const Bin &bin) { slice[c[axis]] += bin.n; });
            int cut = box.lo[axis];
            std::uint64_t below = slice[cut];
            while (cut + 1 < box.hi[axis] && below * 2 < box.count)
                below += slice[++cut];
            Box low = box, high = box;
            low.hi[axis] = cut;
            high.lo[axis] = cut + 1;
            shrink(low);
            shrink(high);
            boxes[pick] = low;
            boxes.push_back(high);
        }
        mCellIndex.assign(bins.size(), 0);
        for (const Box &box : boxes) {
            Bin sum;
            forEachCell(box, [&](const int c[3], const Bin &bin) {
                sum.n += bin.n, sum.r += bin.r, sum.g += bin.g, sum.b += bin.b;
                mCellIndex[cellOf(c)] = static_cast<Byte>(mPalette.size());
            });
            mPalette.push_back({static_cast<Byte>(sum.r / sum.n), static_cast<Byte>(sum.g / sum.n),
                                static_cast<Byte>(sum.b / sum.n)});
        }
    }

    bool mExact = false;
    std::vector<Slot> mSlots;
    std::vector<PaletteEntry> mPalette;
    std::vector<Byte> mCellIndex;
};

struct FileCloser
{
    void operator()(std::FILE *f) const { std::fclose(f); }
};

} // namespace

std::string BitDepthMessage(int depth)
{
    return "This file is encoded at " + std::to_string(depth) + " bits per\rpixel and cannot be analysed.";
}

bool ReadPicture(const std::string &path, PictureDepth mode, Picture &picture, std::string &error)
{
    picture = Picture{};
    Byte magic[4] = {};
    {
        InputFile file;
        if (!file.open(path, error))
            return false;
        if (file.readAt(0, magic, 4) < 4) {
            error = "Invalid picture";
            return false;
        }
    }
    if (magic[0] == 'B' && magic[1] == 'M')
        return ReadBmp(path, mode, picture, error);
    if (std::memcmp(magic, "GIF8", 4) == 0)
        return ReadGif(path, mode, picture, error);
    if ((magic[0] == 'I' && magic[1] == 'I' && (magic[2] == 42 || magic[2] == 43) && magic[3] == 0) ||
        (magic[0] == 'M' && magic[1] == 'M' && magic[2] == 0 && (magic[3] == 42 || magic[3] == 43)))
        return ReadTiff(path, mode, picture, error);
    error = "Invalid picture";
    return false;
}

namespace intake_detail {

bool ReadBmp(const std::string &path, PictureDepth mode, Picture &picture, std::string &error)
{
    InputFile file;
    if (!file.open(path, error))
        return false;
    Byte h[54] = {};
    if (file.readAt(0, h, sizeof h) < sizeof h) {
        error = "The bitmap file is too short to hold its header.";
        return false;
    }
    const std::int64_t pixelOffset = static_cast<std::uint32_t>(ReadLong(h + 10));
    const std::int64_t headerSize = static_cast<std::uint32_t>(ReadLong(h + 14));
    const Long width = ReadLong(h + 18);
    const Long rawHeight = ReadLong(h + 22);
    const int bits = ReadWord(h + 28);
    const std::uint32_t compression = static_cast<std::uint32_t>(ReadLong(h + 30));
    const std::uint32_t coloursUsed = static_cast<std::uint32_t>(ReadLong(h + 46));

    if (headerSize < kInfoHeaderBytes) {
        error = "The bitmap's header is of a kind that can't be read.";
        return false;
    }
    picture.BitsPerPixel = bits;
    const bool supported = bits == 1 || bits == 4 || bits == 8 || bits == 24 || bits == 32;
    if ((mode == PictureDepth::EightBitOnly && bits != 8) || !supported) {
        picture.Width = width;
        picture.Height = rawHeight;
        error = BitDepthMessage(bits);
        return false;
    }
    if (!(compression == 0 || (compression == 3 && bits == 32))) {
        error = "Compressed bitmaps can't be read.";
        return false;
    }
    const bool topDown = rawHeight < 0;
    const std::int64_t height = topDown ? -static_cast<std::int64_t>(rawHeight) : rawHeight;
    if (width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide) {
        error = "The picture is " + std::to_string(width) + " by " + std::to_string(rawHeight) +
                " pixels; a picture must have 1 to 32767 lines and columns.";
        return false;
    }
    picture.Width = width;
    picture.Height = static_cast<int>(height);

    if (bits <= 8) {
        const std::uint32_t maxColours = 1u << bits;
        const std::uint32_t colours = coloursUsed == 0 ? maxColours : coloursUsed;
        const std::uint64_t tableOffset = kFileHeaderBytes + static_cast<std::uint64_t>(headerSize);
        if (colours > maxColours || tableOffset + 4ull * colours > file.size()) {
            error = "The bitmap's colour table is damaged.";
            return false;
        }
        std::vector<Byte> table(4 * colours);
        file.readAt(tableOffset, table.data(), table.size());
        picture.Palette.resize(colours);
        for (std::uint32_t i = 0; i < colours; ++i)
            picture.Palette[i] = {table[4 * i + 2], table[4 * i + 1], table[4 * i]};
        picture.Channels = 1;
    } else {
        picture.Channels = 3;
    }

    const std::uint64_t stride = ((static_cast<std::uint64_t>(width) * bits + 31) / 32) * 4;
    if (static_cast<std::uint64_t>(pixelOffset) + stride * height > file.size()) {
        error = "The file is shorter than its header says; it may be truncated.";
        return false;
    }
    picture.Data.resize(static_cast<size_t>(picture.RowBytes()) * picture.Height);
    std::vector<Byte> row(stride);
    for (int fileRow = 0; fileRow < picture.Height; ++fileRow) {
        file.readAt(pixelOffset + stride * fileRow, row.data(), stride);
        Byte *out = picture.Row(topDown ? fileRow : picture.Height - 1 - fileRow);
        switch (bits) {
        case 1:
            for (int x = 0; x < width; ++x)
                out[x] = (row[x >> 3] >> (7 - (x & 7))) & 1;
            break;
        case 4:
            for (int x = 0; x < width; ++x)
                out[x] = (x & 1) ? (row[x >> 1] & 15) : (row[x >> 1] >> 4);
            break;
        case 8:
            std::memcpy(out, row.data(), static_cast<size_t>(width));
            break;
        default: {
            const int step = bits / 8;
            for (int x = 0; x < width; ++x) {
                out[3 * x] = row[step * x + 2];
                out[3 * x + 1] = row[step * x + 1];
                out[3 * x + 2] = row[step * x];
            }
        }
        }
    }
    return true;
}

} // namespace intake_detail

bool ClipPicture(const Picture &source, int x, int y, int width, int height, Picture &clip, std::string &error)
{
    if (width < 1 || height < 1 || x < 0 || y < 0 || static_cast<std::int64_t>(x) + width > source.Width ||
        static_cast<std::int64_t>(y) + height > source.Height) {
        error = "Invalid property value";
        return false;
    }
    clip = Picture{};
    clip.Width = width;
    clip.Height = height;
    clip.BitsPerPixel = source.BitsPerPixel;
    clip.Channels = source.Channels;
    clip.Palette = source.Palette;
    clip.Data.resize(static_cast<size_t>(clip.RowBytes()) * height);
    for (int r = 0; r < height; ++r)
        std::memcpy(clip.Row(r), source.Row(y + r) + static_cast<size_t>(x) * source.Channels,
                    static_cast<size_t>(clip.RowBytes()));
    return true;
}

bool SaveBitmap8(const Picture &picture, const std::string &path, std::string &error)
{
    if (picture.Width < 1 || picture.Height < 1 || picture.Data.size() < static_cast<size_t>(picture.RowBytes()) * picture.Height ||
        (picture.Channels != 1 && picture.Channels != 3)) {
        error = "Invalid picture";
        return false;
    }
    std::unique_ptr<Quantiser> quantiser;
    std::vector<PaletteEntry> palette;
    if (picture.Indexed()) {
        palette.assign(picture.Palette.begin(), picture.Palette.begin() + TableSize(picture));
    } else {
        quantiser = std::make_unique<Quantiser>(picture);
        palette = quantiser->palette();
    }
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        error = InputFile::openErrorText(errno);
        return false;
    }
    const auto header = MakeBitmapHeader(picture.Width, picture.Height, static_cast<int>(palette.size()));
    bool ok = std::fwrite(header.data(), 1, header.size(), file.get()) == header.size();
    for (const PaletteEntry &e : palette) {
        const Byte q[4] = {e.Blue, e.Green, e.Red, 0};
        ok = ok && std::fwrite(q, 1, 4, file.get()) == 4;
    }
    std::vector<Byte> row(PaddedRow(picture.Width), 0);
    for (int r = picture.Height - 1; ok && r >= 0; --r) {
        const Byte *in = picture.Row(r);
        if (quantiser) {
            for (int x = 0; x < picture.Width; ++x)
                row[x] = quantiser->map(in + 3 * x);
        } else {
            std::memcpy(row.data(), in, static_cast<size_t>(picture.Width));
        }
        ok = std::fwrite(row.data(), 1, row.size(), file.get()) == row.size();
    }
    if (std::fclose(file.release()) != 0)
        ok = false;
    if (!ok) {
        // Half a bitmap must not stay behind to be taken for a picture (a device is no bitmap).
        struct stat st = {};
        if (::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode))
            std::remove(path.c_str());
        error = "Disk full";
    }
    return ok;
}

std::uint64_t BitmapFileSize(const Picture &picture)
{
    return kTableOffset + 4ull * TableSize(picture) + PaddedRow(picture.Width) * static_cast<std::uint64_t>(picture.Height);
}

size_t ReadBitmapBytes(const Picture &picture, std::uint64_t offset, Byte *out, size_t count)
{
    const std::uint64_t total = BitmapFileSize(picture);
    if (!picture.Indexed() || offset >= total)
        return 0;
    count = static_cast<size_t>(std::min<std::uint64_t>(count, total - offset));
    const int colours = TableSize(picture);
    const std::uint64_t pixelStart = kTableOffset + 4ull * colours;
    const size_t stride = PaddedRow(picture.Width);
    size_t done = 0;
    while (done < count) {
        const std::uint64_t at = offset + done;
        if (at < kTableOffset) {
            const auto header = MakeBitmapHeader(picture.Width, picture.Height, colours);
            const size_t n = std::min<size_t>(count - done, kTableOffset - at);
            std::memcpy(out + done, header.data() + at, n);
            done += n;
        } else if (at < pixelStart) {
            const std::uint64_t k = at - kTableOffset;
            const PaletteEntry &e = picture.Palette[k / 4];
            const Byte q[4] = {e.Blue, e.Green, e.Red, 0};
            out[done++] = q[k % 4];
        } else {
            const std::uint64_t k = at - pixelStart;
            const size_t fileRow = static_cast<size_t>(k / stride);
            const size_t column = static_cast<size_t>(k % stride);
            const size_t n = std::min<size_t>(count - done, stride - column);
            const Byte *src = picture.Row(picture.Height - 1 - static_cast<int>(fileRow));
            const size_t fromPicture = column < static_cast<size_t>(picture.Width)
                                           ? std::min<size_t>(n, picture.Width - column)
                                           : 0;
            std::memcpy(out + done, src + column, fromPicture);
            std::memset(out + done + fromPicture, 0, n - fromPicture);
            done += n;
        }
    }
    return count;
}

} // namespace velmara
