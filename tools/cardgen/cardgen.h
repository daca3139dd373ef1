#pragma once
// Synthetic stain cards with known contents, for tests, benchmarks and the bundled samples.
//
// Everything is deterministic: the same parameters and seed give the same bytes on every
// machine (no floating-point result depends on the library's math functions beyond sqrt, which is
// exact to the last bit). The file writers are this tool's own and independent of the program's
// readers, so that a test can use a generated file as an oracle.

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace velmara::cardgen {

struct Rgb
{
    std::uint8_t r = 0, g = 0, b = 0;
    friend bool operator==(const Rgb &, const Rgb &) = default;
};

inline constexpr Rgb kWhite{255, 255, 255};

// An 8-bit colour-table picture: one table index per pixel, rows top to bottom without padding.
struct IndexedImage
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels; // width * height
    std::vector<Rgb> palette;         // 1 to 256 entries

    IndexedImage() = default;
    IndexedImage(int w, int h, std::vector<Rgb> colours, std::uint8_t fill = 0);

    std::uint8_t *row(int y) { return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
    const std::uint8_t *row(int y) const { return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
    std::uint8_t at(int x, int y) const { return row(y)[x]; }
    // Pixels equal to index.
    long long count(std::uint8_t index) const;
};

// A 24-bit picture: red, green, blue per pixel, rows top to bottom.
struct RgbImage
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> data; // 3 * width * height
};

RgbImage ToRgb(const IndexedImage &image);

// --- Colours

// The hue of a colour on the program's 0..255 scale (red 0, yellow 42, green 85, cyan 127, blue 170,
// magenta 212; greys 169), worked out independently of the program as a cross-check.
int HueOf(Rgb c);
// A fully saturated colour whose HueOf is hue (0 to 254; 255 cannot occur and gives 254's colour).
Rgb ColourOfHue(int hue);
// The colour moved towards white by amount (0 to 1), as a stain edge fades into the card.
Rgb Tint(Rgb c, double amount);

// --- Drawing

// A disc of pixels: pixel (x, y), 0-based from the top left, belongs to it when
// (x - cx)^2 + (y - cy)^2 <= radius^2.
struct Disc
{
    double cx = 0;
    double cy = 0;
    double radius = 0;
    std::uint8_t index = 1;
};

// Paints the part of the disc that lies in the picture; returns the pixels painted.
long long PaintDisc(IndexedImage &image, const Disc &disc);
// The pixels of a whole disc of this radius centred on a pixel.
long long DiscArea(double radius);
// Background of two indexes in an ordered 4 x 4 dither pattern, as a scanner's colour reduction
// leaves it: share is the part of the second index, rounded to sixteenths; 1/2 is a checkerboard.
void FillDithered(IndexedImage &image, std::uint8_t first, std::uint8_t second, double share = 0.5);

// --- Single cards

struct CardSpec
{
    int width = 600;
    int height = 1800;
    int paletteSize = 256;                    // colour table entries, 1 to 256
    int backgroundIndex = 0;
    Rgb background = kWhite;
    int ditherIndex = -1;                     // 0..255: checkerboard with the background
    Rgb ditherColour{232, 232, 232};
    double ditherShare = 0.5;
    std::vector<std::pair<int, Rgb>> colours; // further table entries; others stay black
    std::vector<Disc> discs;                  // painted in order over the background
};

// Returns an empty picture (width 0) when the parameters clash: sizes below 1, a palette size
// outside 1..256, or an index beyond the palette.
IndexedImage MakeCard(const CardSpec &spec);

// --- Random stains

// xoshiro256** seeded through splitmix64: small, fast, and the same sequence everywhere.
class Rng
{
public:
    explicit Rng(std::uint64_t seed);
    std::uint64_t next();
    double uniform();                    // [0, 1)
    int between(int low, int high);      // low..high inclusive
    double normal();                     // standard normal (Box-Muller)

private:
    std::uint64_t mState[4];
};

struct ScatterSpec
{
    double coverage = 0.05;   // disc area to place, as a share of the picture's area
    double minRadius = 1;
    double maxRadius = 40;    // radius drawn uniformly in [min, max]
    double speckShare = 0.2;  // share of the marks that are random specks instead of discs
    int maxSpeckPixels = 12;  // a speck is a random walk of 1..max pixels
    bool separate = false;    // discs keep at least two clear pixels between them
    std::vector<std::uint8_t> discIndexes{1};
    std::vector<std::uint8_t> speckIndexes{1};
};

struct ScatterResult
{
    std::vector<Disc> discs; // as placed, in painting order
    long long specks = 0;
    long long discPixels = 0; // sum of the DiscArea of the discs, overlaps counted twice
};

// Paints random discs and specks until the disc area reaches coverage. With separate set, a disc
// that cannot be placed clear of the others after many tries is left out, so a crowded picture
// may stop short of the coverage asked.
ScatterResult Scatter(IndexedImage &image, const ScatterSpec &spec, Rng &rng);

// --- A sampling line

struct LineSpec
{
    int cards = 6;
    int dpi = 600;
    double widthInches = 0.5;
    double heightInches = 1.0;
    std::uint64_t seed = 1;
    double peakDensity = 80;      // stains per square centimetre on the middle card
    double edgeShare = 0.15;      // density at the ends of the line, as a share of the peak
    double medianDropMicrons = 230; // drops are log-normal around this diameter
    double dropSpread = 0.45;     // standard deviation of the log of the diameter
    double spreadFactor = 0.56;   // drop diameter over stain diameter
    double dustPerCm2 = 3;        // grey specks that the hue filter should remove
};

// Cards of a line across a swath: stains of a red dye with lighter rims on white, more of them in
// the middle of the line; widths and heights vary by a few pixels as hand-cut scans do.
std::vector<IndexedImage> MakeSprayLine(const LineSpec &spec);

// --- Sheets of several cards

struct SheetSpec
{
    int columns = 3;
    int rows = 3;
    int left = 0;     // top left corner of the first card, pixels
    int top = 0;
    int pitchX = 0;   // from one card's left edge to the next one's
    int pitchY = 0;
    int width = 0;    // picture size; 0 makes it hold the grid with the left and top margins
                      // repeated on the right and at the bottom
    int height = 0;
    std::uint8_t backgroundIndex = 0;
};

// A grid in inches as a card template describes it (cell size and gaps), at a resolution.
SheetSpec SheetFromInches(int dpi, int columns, int rows, double cellWidth, double cellHeight,
                          double spaceH, double spaceV, double marginH, double marginV);

// Places cards row by row (card n at row (n / columns), column (n % columns)) on a sheet with the
// colour table of the first card. A card larger than its pitch is cut at the sheet's edge only.
// Returns an empty picture when there are no cards.
IndexedImage MakeSheet(const SheetSpec &spec, const std::vector<IndexedImage> &cards);

// --- Colour scans

// What the card is and what stains it: yellow water-sensitive paper with blue stains, a white
// card with a red, blue or black dye, or a grey card scanned in greyscale.
enum class Paper { WaterSensitive, WhiteRed, WhiteBlue, WhiteBlack, Grey };

// The paper's name on the command line ("wsp", "white-red", "white-blue", "white-black", "grey");
// false for another name.
bool PaperOf(const std::string &name, Paper &paper);

// One stain as drawn: an ellipse whose edge pixels take the card's and the stain's colour in the
// share of their area that it covers. Areas are in pixels, measured on the 8 x 8 sub-pixel grid
// the painter uses, within the picture.
struct ColourStain
{
    double cx = 0, cy = 0;        // centre; pixel (x, y) spans [x, x + 1) x [y, y + 1)
    double semiMajor = 1, semiMinor = 1;
    double axisX = 1, axisY = 0;  // unit vector along the major axis
    double area = 0;              // painted area
    double diameter = 0;          // of the circle of the painted area
    bool resolvable = false;      // at least half of its area is covered by no other stain
};

struct ColourCardSpec
{
    Paper paper = Paper::WaterSensitive;
    int width = 480;
    int height = 960;
    int dpi = 600;
    double coverage = 0.10;     // stain area to place, overlaps counted twice, as a share of the card
    double minMicrons = 120;    // stain diameter range; small stains are the more common
    double maxMicrons = 1100;
    double gradient = 0.05;     // the illumination falls by this share from top left to bottom right
    double noise = 2.0;         // standard deviation of the sensor noise, in levels of 255
    double minAxisRatio = 0.85; // minor over major semi-axis, drawn uniformly up to 1
    std::uint64_t seed = 1;
    std::vector<ColourStain> stains;    // placed by hand instead of at random when not empty
};

// A colour card, painted a row at a time so that a large sheet is never held whole.
class ColourCard
{
public:
    // Places the stains (or takes the ones given) and measures their areas. Sizes below 1 give a
    // card of width 0.
    explicit ColourCard(ColourCardSpec spec);

    int width() const { return mSpec.width; }
    int height() const { return mSpec.height; }
    bool grey() const { return mSpec.paper == Paper::Grey; }
    const ColourCardSpec &spec() const { return mSpec; }
    const std::vector<ColourStain> &stains() const { return mSpec.stains; }
    // Union of the stains within the picture, as a share of its area.
    double coveredShare() const { return mCoveredShare; }
    // Row y as red, green, blue (3 * width bytes); rows may be asked in any order.
    void paintRow(int y, std::uint8_t *rgb) const;
    RgbImage image() const;
    // The stain list as text: a heading line, then one comma-separated line per stain.
    std::string stainList() const;

private:
    ColourCardSpec mSpec;
    std::vector<int> mByRow;    // stain indexes by centre row
    double mReach = 0;          // largest semi-major axis: no stain reaches further from its centre
    double mCoveredShare = 0;
};

// A line of colour cards, more stains in its middle, as MakeSprayLine; the coverage peaks at
// peakCoverage and falls to edgeShare of it at the ends.
std::vector<ColourCardSpec> ColourLine(const ColourCardSpec &base, int cards, double peakCoverage,
                                       double edgeShare = 0.2);

// Rows of a picture for the streaming writers; row(y, rgb) fills 3 * width bytes.
struct RgbRows
{
    int width = 0;
    int height = 0;
    bool grey = false; // red = green = blue: PNG, JPEG and TIFF store one sample
    std::function<void(int, std::uint8_t *)> row;
};
RgbRows RowsOf(const ColourCard &card);
RgbRows RowsOf(const RgbImage &image);

struct ColourFileOptions
{
    int dpi = 600;
    int quality = 90; // JPEG
};

// By the name's ending: .png, .jpg/.jpeg, .bmp (24-bit), .tif/.tiff (RGB or grey, uncompressed);
// false with *error set for another ending or a failed write.
bool WriteColour(const RgbRows &rows, const std::string &path, const ColourFileOptions &options = {},
                 std::string *error = nullptr);
bool WritePng(const RgbRows &rows, const std::string &path, int dpi, std::string *error = nullptr);
bool WriteJpeg(const RgbRows &rows, const std::string &path, int dpi, int quality, std::string *error = nullptr);

// The picture reduced to a colour table of at most 256 entries, as a user's paint program does it:
// the most frequent colours on a 5-bit-per-channel grid, every pixel mapped to the nearest one.
IndexedImage ReduceToTable(const RgbRows &rows);

// --- Files. Each writer returns false and sets *error when the file cannot be written.

struct BmpOptions
{
    bool zeroColoursFor256 = false; // write 0 as "colours used" for a full table
    int gapBytes = 0;               // zero bytes between the colour table and the pixels
    int dpi = 600;                  // pixels per metre in the header
};

std::vector<std::uint8_t> EncodeBmp(const IndexedImage &image, const BmpOptions &options = {});
std::vector<std::uint8_t> EncodeBmp24(const RgbImage &image, int dpi = 600);
bool WriteBmp(const IndexedImage &image, const std::string &path, const BmpOptions &options = {},
              std::string *error = nullptr);
bool WriteBmp24(const RgbImage &image, const std::string &path, int dpi = 600, std::string *error = nullptr);

// colourResolution goes into the screen descriptor (the program accepts only 8); the colour table
// is padded with black to a power of two. interlaced stores the rows in the four passes of an
// interlaced GIF (every 8th from 0, every 8th from 4, every 4th from 2, every 2nd from 1).
bool WriteGif(const IndexedImage &image, const std::string &path, int colourResolution = 8,
              std::string *error = nullptr, bool interlaced = false);

// An 8-bit palette TIFF (the colour map always has 256 entries) or a 24-bit RGB one; uncompressed
// unless lzw is set. A tileSize above 0 (a multiple of 16) stores square tiles of that many pixels
// instead of strips; tiles reaching past the picture are padded with zeros.
bool WriteTif(const IndexedImage &image, const std::string &path, int dpi = 600, bool lzw = false,
              std::string *error = nullptr, int tileSize = 0);
bool WriteTif24(const RgbImage &image, const std::string &path, int dpi = 600, bool lzw = false,
                std::string *error = nullptr, int tileSize = 0);

// By the name's ending (".bmp", ".gif", ".tif", in any case); false for another ending.
bool WriteCard(const IndexedImage &image, const std::string &path, int dpi = 600, std::string *error = nullptr);

} // namespace velmara::cardgen
