#include "intake/decode.h"

#include "intake/colourdecode.h"
#include "intake/inputfile.h"
#include "intake/picture.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <new>
#include <sys/stat.h>

namespace velmara {

using namespace intake_detail;

namespace {

constexpr const char *kTruncated = "The file is shorter than its header says; it may be truncated.";
constexpr const char *kChanged = "The picture has changed since it was loaded.";
constexpr int kSampleRows = 5;
constexpr std::uint64_t kTableOffset = 54;
constexpr size_t kChunkBytes = size_t{1} << 20; // rows are read about a megabyte at a time

// The bytes of the bitmap that is decoded: the card's own BMP file, or the in-memory bitmap of a
// converted GIF or TIF laid out as its file would be.
class ByteSource
{
public:
    virtual ~ByteSource() = default;
    virtual std::uint64_t size() const = 0;
    virtual size_t readAt(std::uint64_t offset, Byte *out, size_t count) = 0;
};

class FileSource final : public ByteSource
{
public:
    bool open(const std::string &path, std::string &error) { return mFile.open(path, error); }
    std::uint64_t size() const override { return mFile.size(); }
    size_t readAt(std::uint64_t offset, Byte *out, size_t count) override { return mFile.readAt(offset, out, count); }

private:
    InputFile mFile;
};

class PictureSource final : public ByteSource
{
public:
    explicit PictureSource(Picture picture) : mPicture(std::move(picture)) {}
    std::uint64_t size() const override { return BitmapFileSize(mPicture); }
    size_t readAt(std::uint64_t offset, Byte *out, size_t count) override
    {
        return ReadBitmapBytes(mPicture, offset, out, count);
    }
    const Picture &picture() const { return mPicture; }

private:
    Picture mPicture;
};

bool EndsInBmp(const std::string &path)
{
    if (path.size() < 3)
        return false;
    std::string tail = path.substr(path.size() - 3);
    std::transform(tail.begin(), tail.end(), tail.begin(), [](unsigned char c) { return std::tolower(c); });
    return tail == "bmp";
}

// High bit of each byte of v set where that byte is zero; exact, no borrow between bytes.
inline std::uint64_t ZeroBytes(std::uint64_t v)
{
    constexpr std::uint64_t low7 = 0x7F7F7F7F7F7F7F7FULL;
    return ~(((v & low7) + low7) | v | low7);
}

// Foreground bytes of a line are found eight at a time: a word that holds only the two background
// indexes, the common case on a card, costs a few instructions. The high bit of each byte of the
// mask marks a foreground pixel.
class LineScanner
{
public:
    LineScanner(Byte background, Byte dither)
        : mBackground(background), mDither(dither), mBg(kOnes * background), mDi(kOnes * dither) {}

    std::uint64_t mask(const Byte *word8) const
    {
        std::uint64_t word;
        std::memcpy(&word, word8, 8);
        return ~(ZeroBytes(word ^ mBg) | ZeroBytes(word ^ mDi)) & kHigh;
    }
    bool foreground(Byte b) const { return b != mBackground && b != mDither; }

    size_t count(const Byte *line, int width) const
    {
        size_t n = 0;
        int c = 0;
        for (; c + 8 <= width; c += 8)
            n += static_cast<size_t>(((mask(line + c) >> 7) * kOnes) >> 56); // bytes of 0 or 1, summed
        for (; c < width; ++c)
            n += foreground(line[c]);
        return n;
    }

private:
    static constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
    static constexpr std::uint64_t kHigh = 0x8080808080808080ULL;
    Byte mBackground, mDither;
    std::uint64_t mBg, mDi;
};

// Appends the n foreground pixels of one line, counted beforehand, in place.
void AppendLine(const LineScanner &scan, const Byte *line, int width, size_t n, Integer row, const Byte *hueOf,
                std::vector<CardPixel> &pixels, std::uint64_t (*indexCount)[256])
{
    if (n == 0)
        return;
    const size_t start = pixels.size();
    pixels.resize(start + n);
    CardPixel *out = pixels.data() + start;
    size_t k = 0;
    const auto emit = [&](int c) __attribute__((always_inline)) {
        const Byte b = line[c];
        out[k] = CardPixel{hueOf[b], b, row, static_cast<Integer>(c + 1)};
        // Four counters per index keep runs of one colour from waiting on each other.
        ++indexCount[k & 3][b];
        ++k;
    };
    int c = 0;
    for (; c + 8 <= width; c += 8) {
        for (std::uint64_t m = scan.mask(line + c); m; m &= m - 1)
            emit(c + (__builtin_ctzll(m) >> 3));
    }
    for (; c < width; ++c)
        if (scan.foreground(line[c]))
            emit(c);
}

std::uint64_t FileSizeOf(const std::string &path)
{
    struct stat st = {};
    return ::stat(path.c_str(), &st) == 0 ? static_cast<std::uint64_t>(st.st_size) : 0;
}

// A BMP replaced since registration would be read with the old card's geometry: its header must
// still give the width, height, depth and pixel offset that registration read.
bool BmpHeaderChanged(const CardImage &card, const Byte *header)
{
    return ReadLong(header + 18) != card.WidthPx || ReadLong(header + 22) != card.HeightPx ||
           ReadWord(header + 28) != 8 ||
           (!card.Source.CanonicalPath.empty() && ReadLong(header + 10) != card.Source.PixelOffset);
}

DecodeResult Failed(std::string message)
{
    DecodeResult r;
    r.Message = std::move(message);
    return r;
}

// The card's own BMP file is read as it stands; a GIF or TIF is converted in memory, not through
// a temporary file, so that the bytes read are those its bitmap file would hold. A file gone or
// changed since registration gives null and the reason.
std::unique_ptr<ByteSource> OpenSource(const CardImage &card, std::string &error)
{
    if (EndsInBmp(card.FullPath)) {
        auto file = std::make_unique<FileSource>();
        if (!file->open(card.FullPath, error))
            return nullptr;
        return file;
    }
    Picture picture;
    if (!ReadPicture(card.FullPath, PictureDepth::EightBitOnly, picture, error))
        return nullptr;
    if (picture.Width != card.WidthPx || picture.Height != card.HeightPx) {
        error = kChanged;
        return nullptr;
    }
    return std::make_unique<PictureSource>(std::move(picture));
}

struct BitmapLayout
{
    std::uint64_t pixelOffset = 0;
    int colours = 0;
    size_t stride = 0; // bytes of one file line, padding included
};

// The header fields that are read, checked against the size of the bytes before anything is
// allocated for them, and against what registration saw: a file replaced since then is refused.
bool ReadLayout(ByteSource &source, const CardImage &card, BitmapLayout &layout, std::string &error)
{
    const Long width = card.WidthPx, height = card.HeightPx;
    const bool isBmp = EndsInBmp(card.FullPath);
    Byte header[54] = {};
    if (source.readAt(0, header, sizeof header) < sizeof header) {
        error = kTruncated;
        return false;
    }
    if (isBmp && BmpHeaderChanged(card, header)) {
        error = kChanged;
        return false;
    }
    layout.pixelOffset = static_cast<std::uint32_t>(ReadLong(header + 10));
    const std::uint32_t coloursField = static_cast<std::uint32_t>(ReadLong(header + 46));
    if (coloursField > 256) {
        error = "The colour table of the bitmap is damaged.";
        return false;
    }
    layout.colours = coloursField == 0 ? 256 : static_cast<int>(coloursField);
    layout.stride = (static_cast<size_t>(width) + 3) & ~size_t{3};
    if (kTableOffset + 4ull * layout.colours > source.size() ||
        layout.pixelOffset + layout.stride * height > source.size()) {
        error = kTruncated;
        return false;
    }
    // A file of another size than registration saw is another file, whatever its header says.
    const std::uint64_t registeredBytes = card.Source.FileBytes;
    if (registeredBytes != 0 && (isBmp ? source.size() : FileSizeOf(card.FullPath)) != registeredBytes) {
        error = kChanged;
        return false;
    }
    return true;
}

// The colour table is taken from offset 54 whatever the header size says.
void ReadColourTable(ByteSource &source, int colours, CardImage &card)
{
    card.ColourTable.assign(static_cast<size_t>(colours), std::array<Byte, 4>{});
    std::vector<Byte> table(4 * static_cast<size_t>(colours));
    source.readAt(kTableOffset, table.data(), table.size());
    for (int i = 0; i < colours; ++i) {
        const Byte blue = table[4 * i], green = table[4 * i + 1], red = table[4 * i + 2];
        card.ColourTable[i] = {0, red, green, blue};
        card.HueOfIndex[i] = RgbToHue(red, green, blue);
    }
}

// The two commonest indexes of the sample other than 0; of equal counts the lower index stands.
struct SampleRanking
{
    Long zeroCount = 0;
    int topIndex = 0, secondIndex = 0;
    Long topCount = 0, secondCount = 0;
};

// The sample: the 5 * width bytes after the table, padding and any gap included; for a normal
// bitmap the bottom rows of the picture. Bytes past the end of the file count for nothing.
SampleRanking RankSample(ByteSource &source, int colours, Long width)
{
    std::vector<Byte> sample(static_cast<size_t>(kSampleRows) * width);
    const size_t sampled = source.readAt(kTableOffset + 4ull * colours, sample.data(), sample.size());
    std::array<Long, 256> count{};
    for (size_t i = 0; i < sampled; ++i)
        ++count[sample[i]];

    SampleRanking r;
    r.zeroCount = count[0];
    for (int i = 1; i <= 255; ++i) {
        if (count[i] > r.topCount) {
            r.secondIndex = r.topIndex;
            r.secondCount = r.topCount;
            r.topIndex = i;
            r.topCount = count[i];
        } else if (count[i] > r.secondCount) {
            r.secondIndex = i;
            r.secondCount = count[i];
        }
    }
    return r;
}

// Background and dither indexes of the card, asking where the sample disagrees with index 0 or
// shows a second colour above a tenth of it.
void ChooseBackground(Workspace &ws, int cardIndex, const SampleRanking &sample, DecodeQuestions &questions)
{
    CardImage &card = ws.Card(cardIndex);
    card.BackgroundIndex = 0;
    if (sample.topCount > sample.zeroCount) {
        if (ws.DisableBackgroundWarning) {
            card.BackgroundIndex = static_cast<Byte>(sample.topIndex);
        } else {
            const Answer answer = questions.AskBackground(ws, cardIndex, static_cast<Byte>(sample.topIndex));
            card.BackgroundIndex = answer == Answer::No ? 0 : static_cast<Byte>(sample.topIndex);
            if (answer == Answer::YesToAll)
                ws.DisableBackgroundWarning = true;
        }
    }
    // With no dither colour confirmed, the dither index is the background's, so that a pixel is
    // foreground exactly when its index differs from the background (as after the No answer).
    card.DitherIndex = card.BackgroundIndex;
    const double ditherRatio = sample.secondCount / (5.0 * card.WidthPx);
    if (ditherRatio > 0.1 && !ws.DisableDitherWarning) {
        const Answer answer =
            questions.AskDither(ws, cardIndex, card.BackgroundIndex, static_cast<Byte>(sample.secondIndex));
        if (answer != Answer::No)
            card.DitherIndex = static_cast<Byte>(sample.secondIndex);
        if (answer == Answer::YesToAll)
            ws.DisableDitherWarning = true;
    }
}

// Lists of at least this many bytes are mapped fresh from the system by the C library's allocator
// (its largest dynamic threshold is 32 MiB), so pages that are never written never become
// resident. Below it a reservation may come from reused heap memory that is resident already.
constexpr size_t kMappedBytes = size_t{64} << 20;

// Room for more pixels and the closing element. A big sheet has reserved one element per pixel up
// front, address space only, and never moves; a card read in one chunk, the usual card, is
// counted first and gets exactly what its foreground needs; a card in between grows by half.
void MakeRoom(std::vector<CardPixel> &pixels, size_t more)
{
    const size_t need = pixels.size() + more + 1;
    if (need > pixels.capacity())
        pixels.reserve(std::max(need, pixels.capacity() + pixels.capacity() / 2));
}

void ReserveForSheet(std::vector<CardPixel> &pixels, Long width, Long height)
{
    const size_t bound = static_cast<size_t>(width) * height + 2;
    if (bound * sizeof(CardPixel) < kMappedBytes)
        return;
    try {
        pixels.reserve(bound);
    } catch (const std::bad_alloc &) {
        // Without the address space the list grows as a smaller card's does.
    }
}

enum class PassEnd
{
    Done,
    Cancelled,
    Truncated,
};

// Reads the pixel lines about a megabyte at a time, appending the foreground of each to the
// card's list and counting it per colour table index into the card's hue histogram.
PassEnd ReadPixels(ByteSource &source, const BitmapLayout &layout, CardImage &card, const bool &cancel,
                   ProgressSink &progress)
{
    const Long width = card.WidthPx, height = card.HeightPx;
    const size_t stride = layout.stride;
    // Hue of every index as a byte; indexes beyond a short table keep hue 0.
    Byte hueOf[256];
    for (int i = 0; i < 256; ++i)
        hueOf[i] = static_cast<Byte>(card.HueOfIndex[i]);

    ReserveForSheet(card.Pixels, width, height);
    card.Pixels.emplace_back(); // element 0 stays zero

    const size_t rowsPerChunk = std::clamp<size_t>(kChunkBytes / stride, 1, static_cast<size_t>(height));
    const bool oneChunk = rowsPerChunk == static_cast<size_t>(height);
    std::vector<Byte> chunk(rowsPerChunk * stride);
    std::vector<std::uint32_t> lineCount(oneChunk ? rowsPerChunk : 0); // at most 32767 a line
    std::uint64_t indexCount[4][256] = {};
    const LineScanner scanner(card.BackgroundIndex, card.DitherIndex);
    PassEnd end = PassEnd::Done;
    for (Long n = 0; n < height && end == PassEnd::Done;) {
        const size_t rows = std::min<size_t>(rowsPerChunk, static_cast<size_t>(height - n));
        if (source.readAt(layout.pixelOffset + static_cast<std::uint64_t>(n) * stride, chunk.data(), rows * stride) <
            rows * stride) {
            end = PassEnd::Truncated; // the file shrank under us
            break;
        }
        if (oneChunk) {
            size_t total = 0;
            for (size_t r = 0; r < rows; ++r)
                total += lineCount[r] = static_cast<std::uint32_t>(scanner.count(chunk.data() + r * stride, width));
            MakeRoom(card.Pixels, total);
        }
        for (size_t r = 0; r < rows; ++r, ++n) {
            if (cancel) {
                end = PassEnd::Cancelled;
                break;
            }
            const Byte *line = chunk.data() + r * stride;
            const size_t count = oneChunk ? lineCount[r] : scanner.count(line, width);
            MakeRoom(card.Pixels, count);
            AppendLine(scanner, line, width, count, static_cast<Integer>(height - n), hueOf, card.Pixels,
                       indexCount);
            if (n % 10 == 0) {
                progress.SetValue(n);
                progress.Yield();
            }
        }
    }
    for (int i = 0; i < 256; ++i)
        card.HueCount[hueOf[i]] +=
            static_cast<Long>(indexCount[0][i] + indexCount[1][i] + indexCount[2][i] + indexCount[3][i]);
    return end;
}

// The closing element carries the width and the last line with pixels, which ends the stain walk.
void CloseList(CardImage &card)
{
    CardPixel closing;
    closing.Column = static_cast<Integer>(card.WidthPx);
    closing.Row = card.Pixels.size() > 1 ? card.Pixels.back().Row : Integer{0};
    closing.PaletteIndex = 0;
    closing.Hue = static_cast<Byte>(card.HueOfIndex[0]);
    card.Pixels.push_back(closing);
    card.PixelsReady = true;
}

} // namespace

Byte RgbToHue(int red, int green, int blue)
{
    // Every step is rounded to Single, as the hue table has always been computed.
    const int max = std::max({red, green, blue});
    const int min = std::min({red, green, blue});
    const double d = max - min;
    Single h;
    if (d == 0)
        h = -2;
    else if (red == max)
        h = ToSingle((green - blue) / d);
    else if (green == max)
        h = ToSingle(2 + (blue - red) / d);
    else
        h = ToSingle(4 + (red - green) / d);
    h = ToSingle(h / 6.0);
    if (h < 0)
        h = ToSingle(h + 1.0);
    else if (h > 1)
        h = ToSingle(h - 1.0);
    return static_cast<Byte>(static_cast<int>(static_cast<double>(h) * 255.0));
}

DecodeResult DecodeCard(Workspace &ws, int cardIndex, DecodeQuestions &questions, ProgressSink &progress)
{
    if (cardIndex < 1 || cardIndex > ws.CardCount())
        return Failed("Subscript out of range");
    if (ws.Card(cardIndex).PixelsReady) {
        DecodeResult done;
        done.Ok = true;
        return done;
    }
    if (ws.Card(cardIndex).ColourScan.Colour)
        return DecodeColourCard(ws, cardIndex, questions, progress);
    const Long width = ws.Card(cardIndex).WidthPx;
    const Long height = ws.Card(cardIndex).HeightPx;
    if (width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide)
        return Failed("The card's size of " + std::to_string(width) + " by " + std::to_string(height) +
                      " pixels can't be decoded.");

    std::string error;
    const std::unique_ptr<ByteSource> source = OpenSource(ws.Card(cardIndex), error);
    BitmapLayout layout;
    if (!source || !ReadLayout(*source, ws.Card(cardIndex), layout, error))
        return Failed(error);

    CardImage &card = ws.Card(cardIndex);
    card.Pixels.clear();
    card.HueCount.fill(0);
    ReadColourTable(*source, layout.colours, card);
    ChooseBackground(ws, cardIndex, RankSample(*source, layout.colours, width), questions);

    progress.Start(height);
    const PassEnd end = ReadPixels(*source, layout, card, ws.CancelRequested, progress);
    DecodeResult result;
    if (end == PassEnd::Cancelled) {
        result.Cancelled = true;
    } else if (end == PassEnd::Truncated) {
        result.Message = kTruncated;
    } else {
        progress.SetValue(height);
        CloseList(card);
        result.Ok = true;
    }
    progress.Finish();
    return result;
}

} // namespace velmara
