#include "analysis/stainwalk.h"

#include "pixelcard.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

using namespace velmara;
using velmara::test::PixelsOf;

namespace {

struct WalkResult
{
    std::vector<Long> valid;
    Long rejected = 0;
    bool operator==(const WalkResult &o) const { return valid == o.valid && rejected == o.rejected; }
    friend std::ostream &operator<<(std::ostream &out, const WalkResult &r)
    {
        out << "valid {";
        for (Long a : r.valid)
            out << ' ' << a;
        return out << " } rejected " << r.rejected;
    }
};

WalkResult Walk(const std::vector<CardPixel> &px, const StainFilter &f = {}, int scanLimit = 32)
{
    WalkResult r;
    StainWalk walk(f, scanLimit);
    const bool cancel = false;
    walk.run(px, cancel, NoProgress(), [&r](Long a) { r.valid.push_back(a); });
    r.rejected = walk.rejected();
    return r;
}

// Random cards of specks, discs, U shapes, rings and bars, with a few hues.
// Wide cards give lines crowded with runs and stains spanning many of them.
std::vector<std::string> RandomCard(std::mt19937 &rng, bool wide)
{
    auto pick = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    const int w = wide ? pick(100, 300) : pick(1, 40), h = pick(1, 40);
    std::vector<std::string> lines(h, std::string(w, '.'));
    const char hues[] = {'#', 'x', 'A', 'z'};
    auto put = [&](int r, int c) {
        if (r >= 0 && r < h && c >= 0 && c < w)
            lines[r][c] = hues[pick(0, 3)];
    };
    const int shapes = pick(0, 12);
    for (int s = 0; s < shapes; ++s) {
        const int r0 = pick(0, h - 1), c0 = pick(0, w - 1), size = pick(1, 9);
        switch (pick(0, 4)) {
        case 0: // disc
            for (int r = -size; r <= size; ++r)
                for (int c = -size; c <= size; ++c)
                    if (r * r + c * c <= size * size)
                        put(r0 + r, c0 + c);
            break;
        case 1: // ring
            for (int r = -size; r <= size; ++r)
                for (int c = -size; c <= size; ++c)
                    if (std::abs(r * r + c * c - size * size) <= size)
                        put(r0 + r, c0 + c);
            break;
        case 2: // U or inverted U
            for (int k = 0; k <= size; ++k) {
                put(r0 + k, c0);
                put(r0 + k, c0 + size);
                put(pick(0, 1) ? r0 : r0 + size, c0 + k);
            }
            break;
        case 3: // bar
            for (int k = 0; k < (wide ? 30 : 3) * size; ++k)
                pick(0, 1) ? put(r0, c0 + k) : put(r0 + k, c0);
            break;
        default: // comb teeth
            for (int k = 0; k < 2 * size; k += 2)
                for (int r = 0; r < size; ++r)
                    put(r0 + r, c0 + k);
        }
    }
    const double speck = std::uniform_real_distribution<double>(0, 0.6)(rng);
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c)
            if (std::uniform_real_distribution<double>(0, 1)(rng) < speck)
                put(r, c);
    return lines;
}

} // namespace

// Random crowded cards: the merge lookup by tree alone, by scanning alone and mixed as in use find
// the same stains. The numbered steps themselves, taken literally, are the second model in
// tests/reference, which velmara-cli's logs of noise, crowd and shape cards must match.
TEST(StainWalk, LookupsAgreeOnRandomCards)
{
    std::mt19937 rng(20240611);
    long stains = 0, rejected = 0;
    for (int i = 0; i < 4000; ++i) {
        const auto lines = RandomCard(rng, i % 8 == 0);
        StainFilter f;
        // Ranges that take all, one or two of the four hues, so that stains without a valid pixel
        // meet valid ones in the merges.
        const int ranges[][2] = {{0, 255}, {'#', '#'}, {'x', 'z'}, {'A', 'x'}};
        f.HueLow = static_cast<Byte>(ranges[i % 4][0]);
        f.HueHigh = static_cast<Byte>(ranges[i % 4][1]);
        f.HueInvert = i % 5 == 0;
        f.ShapeLimit = StainFilter::limitOf(static_cast<Byte>(std::uniform_int_distribution<int>(0, 100)(rng)));
        f.HueLimit = StainFilter::limitOf(static_cast<Byte>(std::uniform_int_distribution<int>(0, 100)(rng)));
        const auto px = PixelsOf(lines);
        const WalkResult mixed = Walk(px, f, 32);
        for (int scanLimit : {0, 1 << 20})
            ASSERT_EQ(Walk(px, f, scanLimit), mixed) << "card " << i << " limit " << scanLimit;
        stains += static_cast<long>(mixed.valid.size());
        rejected += mixed.rejected;
    }
    // The cards must exercise both outcomes, or the comparison proves little.
    EXPECT_GT(stains, 20000);
    EXPECT_GT(rejected, 5000);
}

TEST(StainWalk, SmallCardsWithKnownStains)
{
    // Filters: all hues; roundness 0.90; hue 'x' only at half share or any share; hues outside 10..20.
    StainFilter all, round, half, any, outside;
    round.ShapeLimit = StainFilter::limitOf(90);
    half.HueLow = half.HueHigh = any.HueLow = any.HueHigh = 'x';
    half.HueLimit = StainFilter::limitOf(50);
    outside.HueLow = 10;
    outside.HueHigh = 20;
    outside.HueInvert = true;
    const struct
    {
        const char *what;
        std::vector<std::string> lines;
        const StainFilter &filter;
        WalkResult result;
    } cases[] = {
        {"empty", {"....", "...."}, all, {{}, 0}},
        {"one pixel", {"....", "..#."}, all, {{1}, 0}},
        {"corners touching stay apart", {"#..", ".#.", "..#"}, all, {{1, 1, 1}, 0}},
        // Walked from the bottom line up: two arms, then the bar joins them; the other way up one
        // stain takes both arms at once.
        {"arms meeting in one run", {"#####", "#...#", "#...#"}, all, {{9}, 0}},
        {"arms leaving one run", {"#...#", "#...#", "#####"}, all, {{9}, 0}},
        {"a ring counts only its pixels", {".....", "#####", "#...#", "#...#", "#...#", "#####", "....."}, all,
         {{16}, 0}},
        // A bar of 20 (roundness 0.936) is rejected; one of 15 (0.915) is too small to be judged.
        {"bars", {std::string(20, '#'), ".", std::string(15, '#')}, round, {{15}, 1}},
        {"bar without the shape filter", {std::string(20, '#')}, all, {{20}, 0}},
        // Half of the pixels in range stands, a quarter does not, none is rejected at any limit.
        {"hue share", {"xx##.x###.####"}, half, {{4}, 2}},
        {"any hue share", {"xx##.x###.####"}, any, {{4, 4}, 1}},
        {"inverted range", {"\x09.\x0A.\x14.\x15"}, outside, {{1, 1}, 2}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Walk(PixelsOf(c.lines), c.filter), c.result) << c.what;
}

TEST(StainWalk, ProgressAndCancelFollowTheLines)
{
    struct Counter : ProgressSink
    {
        int yields = 0;
        long last = -1;
        bool *cancel = nullptr;
        int cancelAfter = 1000;
        void SetValue(long v) override { EXPECT_EQ(v % 25, 0); last = v; }
        void Yield() override { if (++yields == cancelAfter) *cancel = true; }
    };
    std::vector<std::string> lines(30, std::string(12, '#'));
    lines[10] = "............"; // a line without pixels still comes up
    const auto px = PixelsOf(lines);
    bool cancel = false;
    Counter counter;
    counter.cancel = &cancel;
    StainWalk walk({});
    EXPECT_TRUE(walk.run(px, cancel, counter, [](Long) {}));
    EXPECT_EQ(counter.yields, 30);
    EXPECT_EQ(counter.last, 325); // 348 pixels: the last multiple of 25 walked

    Counter stopper;
    stopper.cancel = &cancel;
    stopper.cancelAfter = 3;
    int reported = 0;
    EXPECT_FALSE(walk.run(px, cancel, stopper, [&reported](Long) { ++reported; }));
    EXPECT_EQ(stopper.yields, 3);
}
