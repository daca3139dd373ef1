#include "intake/colourdecode.h"

#include "intake/rowreader.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <condition_variable>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace velmara {

namespace {

// The table: 64 distance levels times 4 directions. Levels are fine near the card, where noise
// and faint stains lie, and coarser further out, where a step moves the boundary by a small share
// of the card-to-stain distance.
constexpr int kLevels = 64;
constexpr int kSectors = 4;
constexpr int kMaxD4 = 1020;           // distances are held in quarter steps, 0 to 255
constexpr int kMaxDq = 3 * 255 * 255;  // largest sum of squared channel differences

// Lower edge of each level in colour steps; the last edge closes the scale.
constexpr std::array<int, kLevels + 1> LevelEdges()
{
    std::array<int, kLevels + 1> e{};
    for (int k = 0; k < 16; ++k) {
        e[k] = k;
        e[16 + k] = 16 + 2 * k;
        e[32 + k] = 48 + 4 * k;
        e[48 + k] = 112 + 9 * k;
    }
    e[kLevels] = 256;
    return e;
}
constexpr std::array<int, kLevels + 1> kEdges = LevelEdges();

// Band of rows read at once and the width of the blocks that each keep a card colour: small
// enough to follow an illumination gradient, large enough for a stable median.
constexpr int kBandRows = 32;
constexpr int kBlockColumns = 64;
// A block's sample must lie this close to the colour above it to count as card (in steps, squared
// and summed over three channels), and an eighth of it must do so for the colour to move.
constexpr int kTrackSteps = 24;
constexpr int kTrackDq = 3 * kTrackSteps * kTrackSteps;

struct Tables
{
    std::vector<std::uint16_t> d4;   // sum of squares -> distance in quarter steps
    std::array<Byte, kMaxD4 + 1> level{};
};

const Tables &DistanceTables()
{
    static const Tables t = [] {
        Tables t;
        t.d4.resize(kMaxDq + 1);
        for (int q = 0; q <= kMaxDq; ++q)
            t.d4[q] = static_cast<std::uint16_t>(std::min<long>(kMaxD4, std::lround(4.0 * std::sqrt(q / 3.0))));
        int l = 0;
        for (int d4 = 0; d4 <= kMaxD4; ++d4) {
            while (l + 1 < kLevels && 4 * kEdges[l + 1] <= d4)
                ++l;
            t.level[d4] = static_cast<Byte>(l);
        }
        return t;
    }();
    return t;
}

struct Rgb
{
    int r = 0, g = 0, b = 0;
};

// The commonest colour of a band, coarsely binned, then the mean of its bin: a start for the
// block colours that does not assume where the card is brighter or darker than its stains.
Rgb ModeColour(const Byte *rgb, size_t pixels)
{
    std::vector<std::uint32_t> count(4096);
    for (size_t i = 0; i < pixels; ++i)
        ++count[(rgb[3 * i] >> 4) << 8 | (rgb[3 * i + 1] >> 4) << 4 | rgb[3 * i + 2] >> 4];
    const size_t bin = static_cast<size_t>(std::max_element(count.begin(), count.end()) - count.begin());
    std::uint64_t sum[3] = {}, n = 0;
    for (size_t i = 0; i < pixels; ++i) {
        const Byte *p = rgb + 3 * i;
        if (static_cast<size_t>((p[0] >> 4) << 8 | (p[1] >> 4) << 4 | p[2] >> 4) == bin) {
            sum[0] += p[0], sum[1] += p[1], sum[2] += p[2];
            ++n;
        }
    }
    n = std::max<std::uint64_t>(n, 1);
    return {static_cast<int>(sum[0] / n), static_cast<int>(sum[1] / n), static_cast<int>(sum[2] / n)};
}

int MedianOf(const std::array<std::uint16_t, 256> &hist, int n)
{
    int seen = 0;
    for (int v = 0; v < 256; ++v) {
        seen += hist[v];
        if (2 * seen > n)
            return v;
    }
    return 255;
}

// Moves the card colour of one block to the median of those of its sampled pixels that lie near
// the colour it had: stain pixels fall outside and leave it alone, a gentle gradient is followed.
void TrackBlock(const Byte *band, size_t stride, int rows, int x0, int x1, Rgb &card)
{
    std::array<std::uint16_t, 256> hr{}, hg{}, hb{};
    int n = 0, sampled = 0;
    for (int y = 0; y < rows; y += 2) {
        const Byte *p = band + y * stride + 3 * static_cast<size_t>(x0);
        for (int x = x0; x < x1; x += 2, p += 6) {
            const int dr = p[0] - card.r, dg = p[1] - card.g, db = p[2] - card.b;
            ++sampled;
            if (dr * dr + dg * dg + db * db < kTrackDq) {
                ++hr[p[0]], ++hg[p[1]], ++hb[p[2]];
                ++n;
            }
        }
    }
    if (n > 0 && 8 * n >= sampled)
        card = {MedianOf(hr, n), MedianOf(hg, n), MedianOf(hb, n)};
}

// What the first pass gathers besides the index bytes.
struct Gathered
{
    std::array<std::uint64_t, 256> count{};
    std::array<std::array<std::uint64_t, 3>, 256> sum{};
    std::array<std::uint64_t, kMaxD4 + 1> distance{}; // pixels per quarter step
};

// The same, per band and in two lanes by column parity: the card's pixels mostly fall in one entry,
// and two lanes halve the chain of increments of one counter that would otherwise bound the pass.
// A band of 32 rows of at most 32767 pixels keeps every sum within 32 bits.
struct BandTally
{
    struct Lane
    {
        std::array<std::array<std::uint32_t, 4>, 256> entry; // count, red, green, blue
        std::array<std::uint32_t, kMaxD4 + 1> distance;
    };
    std::array<Lane, 2> lane;

    void clear() { std::memset(lane.data(), 0, sizeof lane); }
    void addTo(Gathered &g) const
    {
        for (const Lane &l : lane) {
            for (size_t i = 0; i < 256; ++i) {
                g.count[i] += l.entry[i][0];
                for (size_t c = 0; c < 3; ++c)
                    g.sum[i][c] += l.entry[i][c + 1];
            }
            for (size_t k = 0; k <= kMaxD4; ++k)
                g.distance[k] += l.distance[k];
        }
    }
};

// Index of one pixel against the card colour of its block.
// Inlined by force: called twice in the hot loop, the compiler would otherwise call it.
[[gnu::always_inline]] inline Byte Classify(const Tables &t, const Byte *p, const Rgb &card, BandTally::Lane &tally)
{
    const int dr = p[0] - card.r, dg = p[1] - card.g, db = p[2] - card.b;
    const int dq = dr * dr + dg * dg + db * db;
    const int d4 = t.d4[static_cast<size_t>(dq)];
    const int mn = std::min({dr, dg, db});
    const int chroma = std::max({dr, dg, db}) - mn;
    // Direction of the step away from the card: no colour of its own (greys, black dye), or the
    // channel that lost most (blue and red dyes darken red and green on white and yellow).
    const int sector = 4 * chroma * chroma <= dq ? 0 : mn == dr ? 1 : mn == dg ? 2 : 3;
    const Byte index = static_cast<Byte>(t.level[static_cast<size_t>(d4)] * kSectors + sector);
    std::array<std::uint32_t, 4> &e = tally.entry[index];
    ++e[0];
    e[1] += p[0], e[2] += p[1], e[3] += p[2];
    ++tally.distance[static_cast<size_t>(d4)];
    return index;
}

// Half the distance of the stains' own colour from the card: the commonest distance well beyond
// the card's noise. The noise is the median distance, since the card covers most of itself.
int AutomaticBoundary(const Gathered &g, std::uint64_t pixels)
{
    std::uint64_t seen = 0;
    int median4 = 0;
    for (; median4 < kMaxD4; ++median4) {
        seen += g.distance[static_cast<size_t>(median4)];
        if (2 * seen >= pixels)
            break;
    }
    const int floor4 = std::max(4 * median4, 24);
    const int floorSteps = (floor4 + 3) / 4;
    std::uint64_t beyond = 0;
    for (int k = floor4 + 1; k <= kMaxD4; ++k)
        beyond += g.distance[static_cast<size_t>(k)];
    // Too few to be stains: the card is clean, and the boundary stays well clear of its noise.
    if (beyond < std::max<std::uint64_t>(16, pixels / 20000))
        return std::clamp(std::max(floorSteps, 16), 1, 255);

    const auto window = [&](int centre, int half) {
        std::uint64_t s = 0;
        for (int k = std::max(floor4 + 1, centre - half); k <= std::min(kMaxD4, centre + half); ++k)
            s += g.distance[static_cast<size_t>(k)];
        return s;
    };
    // JPEG artefacts and sensor noise leave a tail falling away from the floor that can outweigh
    // a few small stains: the stains' own colour is the mode beyond where that tail bottoms out.
    // The walk starts where its window no longer reaches below the floor.
    int start = floor4 + 9;
    while (start < kMaxD4 && window(start + 1, 8) <= window(start, 8))
        ++start;
    if (start >= kMaxD4)
        start = floor4 + 1;
    int peak = start;
    std::uint64_t best = 0;
    for (int k = start; k <= kMaxD4; ++k) {
        const std::uint64_t s = window(k, 4);
        if (s > best) {
            best = s;
            peak = k;
        }
    }
    double weighted = 0, n = 0;
    for (int k = std::max(floor4 + 1, peak - 8); k <= std::min(kMaxD4, peak + 8); ++k) {
        weighted += static_cast<double>(k) * g.distance[static_cast<size_t>(k)];
        n += g.distance[static_cast<size_t>(k)];
    }
    const double stain4 = n > 0 ? weighted / n : peak;
    return std::clamp(std::max(static_cast<int>(std::lround(stain4 / 8.0)), floorSteps), 1, 255);
}

// Hands out the picture's rows a band at a time. On a large picture a second thread reads the next
// bands while the caller classifies this one: decompressing a PNG or JPEG takes about as long as
// classifying it. The rows object is used by one thread only, and the bands come in order.
class BandReader
{
public:
    BandReader(PictureRows &rows, int height, size_t bandBytes, bool ahead)
        : mRows(rows), mHeight(height), mSlots(ahead ? kSlots : 1)
    {
        for (Slot &slot : mSlots)
            slot.bytes.resize(bandBytes);
        if (!ahead)
            return;
        try {
            mThread = std::thread([this] { readAhead(); });
        } catch (const std::system_error &) {
            mSlots.resize(1); // read in turn
        }
    }
    ~BandReader()
    {
        if (!mThread.joinable())
            return;
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mStop = true;
        }
        mChanged.notify_all();
        mThread.join();
    }
    BandReader(const BandReader &) = delete;
    BandReader &operator=(const BandReader &) = delete;

    // The next band of rows (kBandRows, fewer at the foot): null with error set when the file
    // fails. The band stays valid until the next call.
    const Byte *next(int &rows, std::string &error)
    {
        const int band = mTaken++;
        rows = std::min(kBandRows, mHeight - band * kBandRows);
        if (!mThread.joinable()) {
            Slot &slot = mSlots[0];
            return mRows.ReadRows(rows, slot.bytes.data(), error) ? slot.bytes.data() : nullptr;
        }
        std::unique_lock<std::mutex> lock(mMutex);
        mReleased = band; // the band before this one is done with
        mChanged.notify_all();
        mChanged.wait(lock, [&] { return mProduced > band; });
        Slot &slot = mSlots[static_cast<size_t>(band) % mSlots.size()];
        if (!slot.ok) {
            error = slot.error;
            return nullptr;
        }
        return slot.bytes.data();
    }

private:
    static constexpr int kSlots = 3;
    struct Slot
    {
        std::vector<Byte> bytes;
        bool ok = true;
        std::string error;
    };

    void readAhead()
    {
        const int bands = (mHeight + kBandRows - 1) / kBandRows;
        for (int band = 0; band < bands; ++band) {
            {
                std::unique_lock<std::mutex> lock(mMutex);
                mChanged.wait(lock, [&] { return mStop || band < mReleased + static_cast<int>(mSlots.size()); });
                if (mStop)
                    return;
            }
            Slot &slot = mSlots[static_cast<size_t>(band) % mSlots.size()];
            const int rows = std::min(kBandRows, mHeight - band * kBandRows);
            try {
                slot.ok = mRows.ReadRows(rows, slot.bytes.data(), slot.error);
            } catch (const std::exception &) {
                slot.ok = false;
                slot.error = "there is not enough memory to read it.";
            }
            {
                const std::lock_guard<std::mutex> lock(mMutex);
                mProduced = band + 1;
            }
            mChanged.notify_all();
            if (!slot.ok)
                return;
        }
    }

    PictureRows &mRows;
    const int mHeight;
    std::vector<Slot> mSlots;
    std::thread mThread;
    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mStop = false;
    int mProduced = 0; // bands read
    int mReleased = 0; // bands the caller is done with
    int mTaken = 0;    // the caller's side only
};

// Pictures from this many pixels on are read ahead; for a small card a thread costs more than it saves.
constexpr std::int64_t kReadAheadPixels = std::int64_t{4} << 20;

// Large buffers written once from end to end: backed by huge pages where the system lends them on
// request, so that filling them takes hundreds of times fewer page faults.
void AdviseHugePages(void *data, size_t bytes)
{
    constexpr std::uintptr_t kHuge = std::uintptr_t{2} << 20;
    const std::uintptr_t start = (reinterpret_cast<std::uintptr_t>(data) + kHuge - 1) & ~(kHuge - 1);
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(data) + bytes) & ~(kHuge - 1);
    if (end > start)
        ::madvise(reinterpret_cast<void *>(start), end - start, MADV_HUGEPAGE); // advice only: failure is harmless
}

DecodeResult Failed(const CardImage &card, const std::string &reason)
{
    DecodeResult r;
    r.Message = "'" + card.FileName + "' could not be read: " + reason;
    return r;
}

} // namespace

bool IsBackgroundEntry(const CardImage &card, int index)
{
    if (card.ColourScan.Colour)
        return index >= 0 && index < 256 && card.ColourScan.BackgroundClass[static_cast<size_t>(index)];
    return index == card.BackgroundIndex || index == card.DitherIndex;
}

DecodeResult DecodeColourCard(Workspace &ws, int cardIndex, DecodeQuestions &questions, ProgressSink &progress,
                              Picture *indexPicture)
{
    DecodeResult result;
    if (cardIndex < 1 || cardIndex > ws.CardCount()) {
        result.Message = "Subscript out of range";
        return result;
    }
    if (ws.Card(cardIndex).PixelsReady) {
        result.Ok = true;
        return result;
    }
    std::string error;
    std::unique_ptr<PictureRows> rows = OpenPictureRows(ws.Card(cardIndex).FullPath, error);
    if (!rows)
        return Failed(ws.Card(cardIndex), error);
    const RowPictureInfo info = rows->Info();
    const CardImage &registered = ws.Card(cardIndex);
    if (info.Width != registered.WidthPx || info.Height != registered.HeightPx)
        return Failed(registered, "the picture has changed since it was loaded.");
    const int width = info.Width, height = info.Height;
    const size_t stride = static_cast<size_t>(width) * 3;

    // One index byte per pixel, and one band of rows in colour: the whole picture is never held.
    // The index bytes are allocated, not written, so that a header that lies about the size costs
    // address space only until its rows fail to come.
    std::unique_ptr<Byte[]> indexes;
    std::optional<BandReader> bands;
    try {
        indexes.reset(new Byte[static_cast<size_t>(width) * height]);
        AdviseHugePages(indexes.get(), static_cast<size_t>(width) * height);
        bands.emplace(*rows, height, stride * kBandRows,
                      static_cast<std::int64_t>(width) * height >= kReadAheadPixels);
    } catch (const std::bad_alloc &) {
        return Failed(registered, "there is not enough memory for a picture of " + std::to_string(width) + " by " +
                                      std::to_string(height) + " pixels.");
    }

    const Tables &tables = DistanceTables();
    auto gathered = std::make_unique<Gathered>();
    auto tally = std::make_unique<BandTally>();
    const int blocks = (width + kBlockColumns - 1) / kBlockColumns;
    std::vector<Rgb> cardColour(static_cast<size_t>(blocks));
    progress.Start(height);
    for (int y = 0; y < height;) {
        int n = 0;
        const Byte *band = bands->next(n, error);
        if (!band) {
            progress.Finish();
            return Failed(ws.Card(cardIndex), error);
        }
        tally->clear();
        if (y == 0)
            std::fill(cardColour.begin(), cardColour.end(), ModeColour(band, static_cast<size_t>(n) * width));
        for (int b = 0; b < blocks; ++b)
            TrackBlock(band, stride, n, b * kBlockColumns, std::min(width, (b + 1) * kBlockColumns),
                       cardColour[static_cast<size_t>(b)]);
        for (int r = 0; r < n; ++r, ++y) {
            if (ws.CancelRequested) {
                progress.Finish();
                result.Cancelled = true;
                return result;
            }
            const Byte *line = band + r * stride;
            Byte *out = indexes.get() + static_cast<size_t>(y) * width;
            for (int b = 0; b < blocks; ++b) {
                const Rgb card = cardColour[static_cast<size_t>(b)];
                const int x1 = std::min(width, (b + 1) * kBlockColumns);
                int x = b * kBlockColumns; // even: the blocks are of even width
                for (; x + 1 < x1; x += 2) {
                    out[x] = Classify(tables, line + 3 * x, card, tally->lane[0]);
                    out[x + 1] = Classify(tables, line + 3 * x + 3, card, tally->lane[1]);
                }
                if (x < x1)
                    out[x] = Classify(tables, line + 3 * x, card, tally->lane[0]);
            }
            if (y % 10 == 0) {
                progress.SetValue(y);
                progress.Yield();
            }
        }
        tally->addTo(*gathered);
    }

    CardImage &card = ws.Card(cardIndex);
    ColourScanInfo &colour = card.ColourScan;
    colour.SourceDepth = info.SourceDepth;
    const std::uint64_t pixels = static_cast<std::uint64_t>(width) * height;
    colour.AutoBoundary = AutomaticBoundary(*gathered, pixels);
    colour.StainBoundary = colour.BoundaryOverride >= 0 ? colour.BoundaryOverride
                           : ws.StainBoundary >= 0     ? std::min(ws.StainBoundary, 255)
                                                       : colour.AutoBoundary;

    // Entries in use keep their order, so the class, the levels below the boundary, stays a
    // prefix of the table and the test of a pixel is one comparison.
    std::array<Byte, 256> compact{};
    card.ColourTable.clear();
    card.HueOfIndex.fill(0);
    card.HueCount.fill(0);
    colour.BackgroundClass.fill(false);
    int firstStain = 256; // raw index of the first entry outside the class
    std::uint64_t classPixels = 0;
    for (int i = 0; i < 256; ++i) {
        const int level = i / kSectors;
        const bool inClass = kEdges[static_cast<size_t>(level)] + kEdges[static_cast<size_t>(level) + 1] <
                             2 * colour.StainBoundary;
        if (!inClass && firstStain == 256)
            firstStain = i;
        const std::uint64_t n = gathered->count[static_cast<size_t>(i)];
        if (n == 0)
            continue;
        const auto &s = gathered->sum[static_cast<size_t>(i)];
        const int entry = static_cast<int>(card.ColourTable.size());
        const Byte red = static_cast<Byte>(s[0] / n), green = static_cast<Byte>(s[1] / n), blue = static_cast<Byte>(s[2] / n);
        compact[static_cast<size_t>(i)] = static_cast<Byte>(entry);
        card.ColourTable.push_back({0, red, green, blue});
        card.HueOfIndex[static_cast<size_t>(entry)] = RgbToHue(red, green, blue);
        colour.BackgroundClass[static_cast<size_t>(entry)] = inClass;
        if (inClass)
            classPixels += n;
    }
    colour.TableEntries = static_cast<int>(card.ColourTable.size());
    colour.BackgroundClassEntries =
        static_cast<int>(std::count(colour.BackgroundClass.begin(), colour.BackgroundClass.end(), true));
    // The background and dither indexes keep their meaning for the code that reads them: the card
    // entry nearest to the card's own colour.
    card.BackgroundIndex = 0;
    card.DitherIndex = 0;

    if (2 * classPixels < pixels && !ws.DisableBackgroundWarning) {
        if (questions.AskBackground(ws, cardIndex, 0) == Answer::YesToAll)
            ws.DisableBackgroundWarning = true;
    }

    // Second pass, over the index bytes: lines bottom-up, as the stain walk reads them.
    Byte hueOf[256] = {};
    for (int i = 0; i < 256; ++i)
        hueOf[i] = static_cast<Byte>(card.HueOfIndex[static_cast<size_t>(compact[static_cast<size_t>(i)])]);
    // The first pass counted the foreground: the list is made once, at its size.
    std::uint64_t foreground = 0;
    for (int i = firstStain; i < 256; ++i)
        foreground += gathered->count[static_cast<size_t>(i)];
    card.Pixels.clear();
    try {
        card.Pixels.reserve(static_cast<size_t>(foreground) + 2);
        AdviseHugePages(card.Pixels.data(), card.Pixels.capacity() * sizeof(CardPixel));
    } catch (const std::bad_alloc &) {
        card.Pixels.shrink_to_fit();
        return Failed(card, "there is not enough memory for its " + std::to_string(foreground) + " stain pixels.");
    }
    card.Pixels.emplace_back();
    std::array<std::uint64_t, 256> hueCount{};
    for (int y = height - 1; y >= 0; --y) {
        Byte *line = indexes.get() + static_cast<size_t>(y) * width;
        const Integer row = static_cast<Integer>(y + 1);
        for (int x = 0; x < width; ++x) {
            const Byte raw = line[x];
            if (raw >= firstStain) {
                card.Pixels.push_back(CardPixel{hueOf[raw], compact[raw], row, static_cast<Integer>(x + 1)});
                ++hueCount[hueOf[raw]];
            }
            if (indexPicture)
                line[x] = compact[raw];
        }
    }
    for (int h = 0; h < 256; ++h)
        card.HueCount[static_cast<size_t>(h)] = static_cast<Long>(hueCount[static_cast<size_t>(h)]);
    CardPixel closing;
    closing.Column = static_cast<Integer>(card.WidthPx);
    closing.Row = card.Pixels.size() > 1 ? card.Pixels.back().Row : Integer{0};
    closing.Hue = static_cast<Byte>(card.HueOfIndex[0]);
    card.Pixels.push_back(closing);
    card.PixelsReady = true;
    progress.SetValue(height);
    progress.Finish();

    if (indexPicture) {
        Picture &picture = *indexPicture;
        picture = Picture{};
        picture.Width = width;
        picture.Height = height;
        picture.BitsPerPixel = 8;
        picture.Channels = 1;
        for (const auto &c : card.ColourTable)
            picture.Palette.push_back({c[1], c[2], c[3]});
        try {
            picture.Data.assign(indexes.get(), indexes.get() + static_cast<size_t>(width) * height);
        } catch (const std::bad_alloc &) {
            // The card is decoded; only its picture for the window is missing.
            picture = Picture{};
        }
    }
    result.Ok = true;
    return result;
}

Picture BackgroundClassPreview(const CardImage &card, const Picture &indexPicture)
{
    Picture preview = indexPicture;
    for (size_t i = 0; i < preview.Palette.size(); ++i)
        if (!IsBackgroundEntry(card, static_cast<int>(i)))
            preview.Palette[i] = PaletteEntry{};
    return preview;
}

bool ReadColourPicture(const std::string &path, Picture &picture, std::string &error)
{
    const std::unique_ptr<PictureRows> rows = OpenPictureRows(path, error);
    if (!rows)
        return false;
    picture = Picture{};
    picture.Width = rows->Info().Width;
    picture.Height = rows->Info().Height;
    picture.BitsPerPixel = rows->Info().SourceDepth;
    picture.Channels = 3;
    try {
        picture.Data.resize(static_cast<size_t>(picture.Width) * picture.Height * 3);
    } catch (const std::bad_alloc &) {
        error = "There is not enough memory for the picture.";
        return false;
    }
    return rows->ReadRows(picture.Height, picture.Data.data(), error);
}

} // namespace velmara
