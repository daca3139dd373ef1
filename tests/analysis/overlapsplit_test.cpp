#include "analysis/stainwalk.h"

#include "pixelcard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

using namespace velmara;
using velmara::test::PixelsOf;

namespace {

struct Shape
{
    double cx, cy, rx, ry;   // an ellipse; rx == ry for a disc
    double hole = 0;         // radius of a round hole in its middle, 0 for none
    char hue = 'A';
};

// The shapes drawn on a card of the given size, foreground where any shape covers the pixel.
std::vector<std::string> Draw(int width, int height, const std::vector<Shape> &shapes)
{
    std::vector<std::string> lines(static_cast<size_t>(height), std::string(static_cast<size_t>(width), '.'));
    for (const Shape &s : shapes)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const double dx = x - s.cx, dy = y - s.cy;
                const bool inside = (dx * dx) / (s.rx * s.rx) + (dy * dy) / (s.ry * s.ry) <= 1;
                if (inside && dx * dx + dy * dy >= s.hole * s.hole)
                    lines[static_cast<size_t>(y)][static_cast<size_t>(x)] = s.hue;
            }
    return lines;
}

struct Walked
{
    std::vector<Long> valid;
    Long rejected = 0, splitStains = 0, splitParts = 0;
};

Walked Walk(const std::vector<CardPixel> &px, bool split)
{
    StainFilter filter;
    filter.SplitOverlaps = split;
    StainWalk walk(filter);
    Walked r;
    const bool cancel = false;
    walk.run(px, cancel, NoProgress(), [&r](Long a) { r.valid.push_back(a); });
    r.rejected = walk.rejected();
    r.splitStains = walk.splitStains();
    r.splitParts = walk.splitParts();
    return r;
}

long long Foreground(const std::vector<std::string> &lines)
{
    long long n = 0;
    for (const auto &l : lines)
        n += static_cast<long long>(l.size()) - std::count(l.begin(), l.end(), '.');
    return n;
}

} // namespace

// Each row: the stains drawn, and the stains that must come out. Splitting never loses or adds a
// pixel, and a stain that is one drop must come out exactly as the walk without splitting gives it.
TEST(OverlapSplit, StainsComeOutAsTheirDrops)
{
    struct Row
    {
        const char *name;
        std::vector<Shape> shapes;
        size_t stains;
    };
    const Row rows[] = {
        {"equal pair", {{20, 20, 10, 10}, {37, 20, 10, 10}}, 2},
        {"equal pair, deep overlap", {{20, 20, 12, 12}, {34, 22, 12, 12}}, 2},
        {"unequal pair", {{20, 20, 12, 12}, {38, 26, 7, 7}}, 2},
        {"small pair", {{8, 8, 4, 4}, {15, 8, 4, 4}}, 2},
        {"chain of three", {{12, 20, 8, 8}, {26, 22, 8, 8}, {40, 18, 8, 8}}, 3},
        {"disc inside a larger one", {{25, 25, 15, 15}, {30, 22, 5, 5}}, 1},
        {"ellipse", {{30, 15, 24, 9}}, 1},
        {"ring", {{25, 25, 18, 18, 11}}, 1},
        {"single disc", {{20, 20, 14, 14}}, 1},
        {"specks", {{3, 3, 1, 1}, {9, 4, 1.5, 1.5}, {15, 3, 2, 1}, {5, 10, 0.5, 0.5}}, 4},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto lines = Draw(64, 48, row.shapes);
        const auto px = PixelsOf(lines);
        const Walked split = Walk(px, true);
        const Walked whole = Walk(px, false);
        EXPECT_EQ(split.valid.size(), row.stains);
        EXPECT_EQ(split.rejected, 0);
        EXPECT_EQ(std::accumulate(split.valid.begin(), split.valid.end(), 0LL), Foreground(lines));
        if (row.stains == whole.valid.size()) {
            EXPECT_EQ(split.valid, whole.valid);
            EXPECT_EQ(split.splitStains, 0);
        } else {
            EXPECT_EQ(split.splitStains, 1);
            EXPECT_EQ(split.splitParts, static_cast<Long>(row.stains));
        }
    }
}

// A crowded card: the same parts in the same order on every run, and every part judged as a
// stain of its own, so that a long thin part is dropped by the roundness filter.
TEST(OverlapSplit, DeterministicAndEveryPartJudged)
{
    std::vector<Shape> shapes;
    for (int i = 0; i < 40; ++i)
        shapes.push_back({5.0 + (i * 37) % 190, 5.0 + (i * 53) % 90, 3.0 + i % 9, 3.0 + i % 9});
    const auto px = PixelsOf(Draw(200, 100, shapes));
    const Walked first = Walk(px, true);
    const Walked again = Walk(px, true);
    EXPECT_EQ(first.valid, again.valid);
    EXPECT_GT(first.splitStains, 0);
    EXPECT_GT(first.valid.size(), Walk(px, false).valid.size());

    // A drop of the dye touching a drop of something else: the hue share judges each part, so
    // the dye's drop stands and the other falls, where the union would have fallen whole.
    const auto mixed = PixelsOf(Draw(64, 48, {{20, 20, 11, 11}, {38, 22, 10, 10, 0, 'z'}}));
    StainFilter dye;
    dye.SplitOverlaps = true;
    dye.HueLow = dye.HueHigh = 'A';
    dye.HueLimit = 0.9f;
    StainWalk walk(dye);
    std::vector<Long> valid;
    const bool cancel = false;
    walk.run(mixed, cancel, NoProgress(), [&valid](Long a) { valid.push_back(a); });
    EXPECT_EQ(walk.splitParts(), 2);
    ASSERT_EQ(valid.size(), 1u);
    EXPECT_GT(valid[0], 300);
    EXPECT_EQ(walk.rejected(), 1);
}
