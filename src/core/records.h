#pragma once
// The records of a card and of the statistics built on cards. Field names are the ones the whole
// program speaks of; every dynamic list keeps an element 0 that stays zero, so rows, cards and
// stains are addressed from 1.

#include "core/numeric.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace velmara {

// One foreground pixel. Hue and PaletteIndex come first so that the record packs into six bytes:
// the pixel list of a large sheet holds tens of millions of them.
struct CardPixel
{
    Byte Hue = 0;          // HueOfIndex of the pixel's colour table index
    Byte PaletteIndex = 0; // the pixel's colour table index
    Integer Row = 0;       // 1 at the top of the picture
    Integer Column = 0;    // 1 at the left
};
static_assert(sizeof(CardPixel) == 6);

// One row of a size table: all stains of one area. AreaPx and Count are held in 32 bits so that a
// smear of more than 32767 pixels, or more than 32767 stains of one area, still counts right.
struct SizeClass
{
    Long AreaPx = 0;
    Long Count = 0;
    Single Volume = 0;            // cubic micrometres of one drop
    Single Diameter = 0;          // micrometres, after the spread factor
    Single VolumeFraction = 0;
    Single CumVolumeFraction = 0;
    Single NumberFraction = 0;
    Single CumNumberFraction = 0;
};

// Working record of the stain walk: a run of the current line, or a growing stain.
struct StainRun
{
    Integer StartColumn = 0;
    Integer EndColumn = 0;
    bool Joined = false;
    bool HueValid = false;
    Long HueHits = 0;
    Long Area = 0;
    Integer FirstRow = 0;
    Integer LastRow = 0;
    Integer MinColumn = 0;
    Integer MaxColumn = 0;
};

// Vmd, DropDensity, VolumeDensity: copied as one block into the line statistics.
struct CardStats
{
    double Vmd = 0;
    double DropDensity = 0;   // stains per square centimetre
    double VolumeDensity = 0; // nanolitres per square centimetre
};

// What registration saw of a card's file. Decoding refuses a file that no longer matches, and a
// second registration of the same file under another spelling of its path is recognised.
struct CardSource
{
    std::string CanonicalPath; // empty: the card was not registered from a file
    std::uint64_t FileBytes = 0;
    Long PixelOffset = 0; // of a BMP; 0 for the other formats
};

// What the colour path read of a card that is not an 8-bit colour-table picture. Such a card has a
// background class, any number of colour table entries, where an 8-bit card has one background
// index and at most one dither index.
struct ColourScanInfo
{
    bool Colour = false;   // the card goes the colour way (set at registration)
    int SourceDepth = 0;   // bits per pixel as the file stores them
    int TableEntries = 0;  // entries of ColourTable in use
    int BackgroundClassEntries = 0;
    int StainBoundary = 0; // the boundary the class was made with, in colour steps (0 to 255)
    int AutoBoundary = 0;  // the boundary found from the picture
    int BoundaryOverride = -1; // this card's own boundary; -1: the workspace's, else automatic
    std::array<bool, 256> BackgroundClass{};
};

struct CardImage
{
    std::string FullPath;
    std::string FileName;
    CardSource Source;
    Long WidthPx = 0;
    Long HeightPx = 0;
    double MicronsPerPixelX = 0;
    double MicronsPerPixelY = 0;
    Long Dpi = 0;
    double AreaCm2 = 0;
    bool PixelsReady = false;
    bool Scanned = false;
    Single Position = 0;
    Byte BackgroundIndex = 0;
    Byte DitherIndex = 0;
    std::array<Long, 257> HueOfIndex{};
    std::array<Long, 257> HueCount{};
    // Per colour table entry: [0] stays 0, [1] red, [2] green, [3] blue.
    std::vector<std::array<Byte, 4>> ColourTable;
    std::vector<CardPixel> Pixels; // element 0, the foreground pixels, then one closing element
    std::vector<SizeClass> SizeTable{1}; // element 0 stays zero; size 1 means no valid stain
    Single MinDiameter = 0;
    Single MaxDiameter = 0;
    Long RejectedCount = 0;
    double MaxVolumeFraction = 0;
    Long MaxClassCount = 0;
    CardStats Stats; // Vmd, DropDensity, VolumeDensity
    double TotalVolume = 0; // nanolitres
    // Whether the last scan split overlapping stains, how many it split, and into how many parts.
    bool SplitScan = false;
    Long SplitStains = 0;
    Long SplitParts = 0;
    ColourScanInfo ColourScan;
    // Foreground pixels of a list dropped after its scan (a batch keeps only the size table).
    std::int64_t ReleasedForeground = 0;

    // Rows of the size table, element 0 excluded.
    int SizeRows() const { return static_cast<int>(SizeTable.size()) - 1; }
};

// Statistics of a size table: CardRange, CompositeAll, CompositeRange.
struct SizeStats
{
    double MaxClassVolume = 0;
    double MinDiameter = 0;
    Single MaxDiameter = 0;
    Long MaxClassCount = 0;
    double TotalVolume = 0;
    double AreaCm2 = 0;
    double DropCount = 0;
    std::vector<SizeClass> Classes{1}; // row 0 stays zero
    CardStats Stats;
};

struct SwathStat
{
    Single Cov = 0;
    Single Mean = 0;
    Single Max = 0;
    Single Min = 0;
};

// An array whose lower bound may be any Long, negative included (the swath arrays start at First).
template <typename T>
struct BoundedArray
{
    Long Lower = 0;
    std::vector<T> Items;

    Long Upper() const { return Lower + static_cast<Long>(Items.size()) - 1; }
    bool Empty() const { return Items.empty(); }
    T &operator[](Long i) { return Items.at(static_cast<size_t>(i - Lower)); }
    const T &operator[](Long i) const { return Items.at(static_cast<size_t>(i - Lower)); }
    void Redim(Long lower, Long upper)
    {
        Lower = lower;
        Items.assign(upper >= lower ? static_cast<size_t>(upper - lower + 1) : 0, T{});
    }
};

struct SwathSet
{
    BoundedArray<Single> Deposit;   // First .. First + n - 1
    Long Width = 0;                 // 0: to be chosen
    std::vector<SwathStat> Stats;   // index 1 .. n - 1, element 0 unused
    Single MaxCov = 0;
    BoundedArray<Single> Profile;   // lower bound First
    Single ProfileMax = 0;
    Long Passes = 0;

    // Back and forth: every other pass flown the opposite way, so that its deposit lies mirrored
    // about its flight line. The same shapes as Stats, MaxCov, Profile and ProfileMax; the block
    // has the same Passes.
    std::vector<SwathStat> BackForthStats;  // index 1 .. n - 1, element 0 unused
    Single BackForthMaxCov = 0;
    BoundedArray<Single> BackForthProfile;  // may start below First: mirrored passes reach left
    Single BackForthProfileMax = 0;
    Single GridOffset = 0;                  // card i lies at GridOffset + index intervals from 0

    // What the search over widths between whole intervals reads, filled with the tables.
    std::vector<double> Lags;  // [t]: sum of Deposit(i) * Deposit(i + t), t from 0 to n - 1
    std::vector<double> Pairs; // [u]: sum of Deposit(i) * Deposit(j) over i + j = u + 2 First
    double DepositSum = 0;

    Long First() const { return Deposit.Lower; }
};

// The fifteen texts of the spray record, in their order.
struct SprayInfo
{
    std::string AC_Type, AC_Registration, AC_Owner, AC_Swath, AC_Speed, AC_Height;
    std::string Spray_Product, Spray_ActiveRate, Spray_SprayRate;
    std::string Nozzle_Type, Nozzle_Number, Sampler_Type;
    std::string Sample_Position1, Sample_Interval, Comment;
};

} // namespace velmara
