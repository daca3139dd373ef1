#include "statistics/spectrum.h"

#include "cardmaker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <vector>

using namespace velmara;

namespace {

struct HandRow
{
    Single diameter;
    Long count;
    Long areaPx;
    Single cumVolume;
    Single cumNumber;
};

std::vector<SizeClass> Table(std::initializer_list<HandRow> rows, bool withRowZero = true)
{
    std::vector<SizeClass> t(withRowZero ? 1 : 0);
    for (const HandRow &r : rows) {
        SizeClass s;
        s.Diameter = r.diameter;
        s.Count = r.count;
        s.AreaPx = r.areaPx;
        s.CumVolumeFraction = r.cumVolume;
        s.CumNumberFraction = r.cumNumber;
        t.push_back(s);
    }
    return t;
}

} // namespace

// Tables whose figures can be worked out by hand; the quantiles start from diameter 0 at share 0.
TEST(Spectrum, HandMadeTables)
{
    const struct
    {
        const char *what;
        std::vector<SizeClass> rows;
        double pixels;
        std::optional<double> vmd;
        SpectrumFigures want;
    } cases[] = {
        {"no rows at all", {}, 100, {}, {}},
        {"row 0 only", Table({}), 100, {}, {}},
        // 4 stains of 1 pixel on 100 pixels; everything lies below 100 um.
        {"single row", Table({{50, 4, 1, 1, 1}}), 100, {}, {5, 25, 45, 1.6, 25, 4, 1, 1, 1}},
        // Row 1 reaches one half exactly: the median is its diameter, 100 um has half the volume.
        {"two rows of equal volume", Table({{100, 1, 1, 0.5f, 0.5f}, {200, 1, 2, 1, 1}}), 300, {},
         {20, 100, 180, 1.6, 100, 1, 0.5, 0.75, 1}},
        {"bounds on class diameters",
         Table({{50, 1, 1, 0.1f, 0.25f}, {100, 1, 1, 0.5f, 0.5f}, {150, 1, 1, 0.9f, 0.75f}, {200, 1, 1, 1, 1}}), 0, {},
         {50, 100, 150, 1, 100, 0, 0.5, 0.9, 1}},
        // The median the program shows for the table (a range's first-row rule) sets the span.
        {"median given", Table({{100, 1, 1, 0.5f, 0.5f}, {200, 1, 2, 1, 1}}), 300, 160.0,
         {20, 160, 180, 1.0, 100, 1, 0.5, 0.75, 1}},
        // Fractions that never reach the shares (no volume): zeros, as a median never crossed.
        {"shares never reached", Table({{100, 1, 1, 0, 0.2f}, {200, 1, 1, 0, 0.4f}}), 200, {},
         {0, 0, 0, 0, 0, 1, 0, 0, 0}},
    };
    for (const auto &c : cases) {
        const SpectrumFigures f =
            c.vmd ? ComputeSpectrum(c.rows, c.pixels, *c.vmd) : ComputeSpectrum(c.rows, c.pixels);
        const double got[] = {f.Dv10, f.Dv50, f.Dv90, f.RelativeSpan, f.Nmd, f.CoveragePercent,
                              f.VolumeBelow100, f.VolumeBelow150, f.VolumeBelow200};
        const double want[] = {c.want.Dv10, c.want.Dv50, c.want.Dv90, c.want.RelativeSpan, c.want.Nmd,
                               c.want.CoveragePercent, c.want.VolumeBelow100, c.want.VolumeBelow150,
                               c.want.VolumeBelow200};
        for (size_t k = 0; k < std::size(got); ++k) {
            EXPECT_TRUE(std::isfinite(got[k])) << c.what << " figure " << k;
            EXPECT_NEAR(got[k], want[k], 1e-5 * std::max(1.0, std::fabs(want[k]))) << c.what << " figure " << k;
        }
    }
}

// Reading the share at Dv10 and Dv90 gives the shares back: the two readings are one polyline.
TEST(Spectrum, ShareAtQuantileIsTheShare)
{
    const auto rows = Table({{37.5f, 3, 2, 0.15f, 0.6f}, {88, 2, 5, 0.55f, 0.9f}, {140, 1, 9, 1, 1}});
    for (const double share : {0.1, 0.3, 0.5, 0.9})
        EXPECT_NEAR(VolumeShareBelow(rows, VolumeQuantile(rows, share)), share, 1e-6) << share;
    EXPECT_EQ(VolumeShareBelow(rows, -5), 0);
    EXPECT_FLOAT_EQ(VolumeShareBelow(rows, 1000), 1);
}

// Cards of two resolutions: the composite's coverage weights each card by its area, and a range
// keeps only the stains of the classes it keeps.
TEST(Spectrum, CardAndCompositeCoverage)
{
    Workspace ws;
    using velmara::testing::AddCard;
    // Card 1: 100 x 100 pixels on 1 cm2; card 2: 100 x 100 pixels on 4 cm2. AreaPx runs 1, 2.
    AddCard(ws, 1.0, {{10, 10, 100}, {20, 10, 800}});
    AddCard(ws, 4.0, {{20, 5, 800}});
    for (int i = 1; i <= 2; ++i)
        ws.Card(i).WidthPx = ws.Card(i).HeightPx = 100;
    ws.CompositeAll.AreaCm2 = 5;
    ws.CompositeAll.Classes = Table({{10, 10, 0, 0.1f, 0.4f}, {20, 15, 0, 1, 1}});
    ws.CompositeAll.Stats.Vmd = 17;
    ws.CompositeRange = ws.CompositeAll;
    ws.CompositeRange.Classes = Table({{20, 15, 0, 1, 1}});

    // Card 1: 10 x 1 + 10 x 2 pixels of 10000. Card 2: 5 pixels of 10000, each 4e-4 cm2.
    EXPECT_NEAR(CardSpectrum(ws, 1, false).CoveragePercent, 0.3, 1e-12);
    EXPECT_NEAR(CompositeSpectrum(ws, false).CoveragePercent, 0.1, 1e-12);
    EXPECT_NEAR(CompositeSpectrum(ws, true).CoveragePercent, 0.08, 1e-12);
    EXPECT_EQ(CompositeSpectrum(ws, false).Dv50, 17);

    // Card 1 cut to its second row: the first-row median is that row's diameter.
    ws.RangeLow = 15;
    const SpectrumFigures cut = CardSpectrum(ws, 1, true);
    EXPECT_NEAR(cut.CoveragePercent, 0.2, 1e-12);
    EXPECT_EQ(cut.Dv50, 20);
    EXPECT_NEAR(cut.Dv10, 2, 1e-6);
}
