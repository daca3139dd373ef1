#pragma once
// The program's shared state: the card list, the globals and the fields of the main window that
// the subsystems share. One object, passed by reference; nothing of it is a global variable.

#include "core/records.h"

#include <array>
#include <string>
#include <vector>

namespace velmara {

struct Workspace
{
    Workspace();

    // --- The card list: Cards[1..CardCount()], element 0 stays empty.
    std::vector<CardImage> Cards;
    int CurrentCard = 1;

    int CardCount() const { return static_cast<int>(Cards.size()) - 1; }
    CardImage &Card(int index) { return Cards.at(static_cast<size_t>(index)); }
    const CardImage &Card(int index) const { return Cards.at(static_cast<size_t>(index)); }

    // Appends a zero-filled card and returns its index.
    int AppendCard();
    // Takes back the card being appended (the last one).
    void WithdrawCard();
    // Ascending by FileName, code unit by code unit, by exchange: for i < j a greater name at i
    // swaps whole records. Equal names may change their relative order, as the exchange does.
    // Returns the pairs (i, j) swapped, in order, so that a tab strip can follow.
    std::vector<std::pair<int, int>> SortByName();
    // First card from 1 up with this name; 0 when none.
    int FindByName(const std::string &fileName) const;
    // Removes card i: later cards move down, CurrentCard becomes i (or the new last), ShownCard 0,
    // MaxDiameterAll is recomputed. The caller refreshes the composite and the tabs.
    void RemoveCard(int index);
    // Empties the list and resets the per-run state of the list (not the files in TempDir).
    void ClearAll();
    // Number of scanned cards.
    int ScannedCount() const;
    // Largest Diameter of the last SizeTable row among the scanned cards; 0 when none.
    Single ComputeMaxDiameterAll() const;

    // --- Globals.
    std::string TempDir; // always ends in a separator
    double Pi;
    std::array<double, 3> SpreadFactor{0.0, 0.56, 0.0};
    bool Metric = true;
    int TwipsPerPixelX = 15; // our layout works in device-independent pixels
    int TwipsPerPixelY = 15;
    std::string UiFontName = "MS Sans Serif";
    Single UiFontSize = 8;
    std::array<Single, 2> DepositFactor{1.368f, 0.1f};
    std::array<std::string, 2> DepositUnit{"oz/ac", "L/ha"};
    SprayInfo Spray;

    int UnitIndex() const { return Metric ? 1 : 0; }

    // --- Shared fields of the main window.
    bool DisableBackgroundWarning = false;
    bool DisableDitherWarning = false;
    double CurrentVMD = 0;
    int LastClipIndex = 0;
    int DefaultRes = 1200;
    bool LogAnalysis = true;
    bool Append = false;
    bool MouseCoords = true;
    bool LogSprayInfo = false;
    Byte ShapeThreshold = 100;
    Byte HueThreshold = 0;

    // Beyond the classic analysis; every one of these is off by default, and with it off every
    // log, results file and report page keeps its bytes.
    bool ColourScans = false;       // read 24-bit, greyscale, PNG and JPEG cards
    bool UseFileResolution = false; // a card takes the resolution its file records, if any
    int StainBoundary = -1;         // card/stain boundary of colour scans; -1: found per card
    bool SplitOverlaps = false;     // split touching stains into their drops
    bool ExtendedResults = false;   // spectrum block in the results file, fifth report page
    double CovLimit = 25;           // percent; the effective swath keeps its COV at or below it

    Single RangeLow = 0;
    Single RangeHigh = 32755;
    Single MaxDiameterAll = 0;
    int ShownCard = 0;
    std::string InitialDir = "C:";
    int GraphMode = 1;
    bool CancelRequested = false;
    bool SliderSettled = false;
    std::array<Long, 257> HueColour{};

    // Controls whose values the logic reads: the two hue sliders, HueInvertCheck, CompositeCheck.
    int Slider1 = 0;
    int Slider2 = 255;
    bool HueInvertCheck = false;
    bool CompositeCheck = false;

    // --- Statistics owned by the main window.
    SizeStats CardRange;
    SizeStats CompositeAll;
    SizeStats CompositeRange;
    Single MaxVmdOfCards = 0;
    std::vector<CardStats> LineStats; // index 1..CardCount
    Single LineMaxVmd = 0;
    Single LineMaxDensity = 0;
    Single LineMaxDeposit = 0;
    Single LineLeft = 0;
    Single LineRight = 0;
    std::array<SwathSet, 3> SwathSets; // elements 1 (deposit) and 2 (drop density)
    int CurrentSwathSet = 1;
};

} // namespace velmara
