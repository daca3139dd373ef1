// velmara-cardgen: writes synthetic stain cards, sampling lines and multi-card sheets.

#include "cardgen/cardgen.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

using namespace velmara::cardgen;

namespace {

const char *const kUsage =
    "usage:\n"
    "  velmara-cardgen line DIR [--cards N] [--dpi D] [--width-in W] [--height-in H] [--seed S]\n"
    "                           [--density PER_CM2] [--format bmp|gif|tif]\n"
    "      a sampling line: DIR/card01.bmp ... with more stains in the middle of the line\n"
    "  velmara-cardgen card FILE [--width PX] [--height PX] [--seed S] [--coverage SHARE]\n"
    "                           [--min-radius PX] [--max-radius PX] [--specks SHARE] [--hue H]\n"
    "                           [--palette N] [--background-index I] [--dither I] [--separate] [--dpi D]\n"
    "      one card with random discs; FILE ends in .bmp, .gif or .tif\n"
    "  velmara-cardgen sheet FILE [--dpi D] [--columns N] [--rows N] [--cell-width IN] [--cell-height IN]\n"
    "                           [--space-h IN] [--space-v IN] [--margin IN] [--seed S] [--rgb]\n"
    "      a scanned sheet of cards laid out as a card template describes it\n"
    "  velmara-cardgen colour FILE [--paper wsp|white-red|white-blue|white-black|grey] [--dpi D]\n"
    "                           [--width-in W] [--height-in H] [--coverage SHARE] [--seed S]\n"
    "                           [--quality Q] [--noise LEVELS] [--gradient SHARE] [--table]\n"
    "      a colour scan (.png, .jpg, .bmp, .tif) and FILE's stem + .stains.csv, the stains drawn;\n"
    "      --table writes the card reduced to a 256-entry colour table instead (.bmp, .gif, .tif)\n"
    "  velmara-cardgen colour-line DIR [--cards N] [--format png,jpg,...] [--coverage PEAK]\n"
    "                           and the options of colour\n"
    "      a sampling line of colour scans, DIR/card01.png ..., formats taken in turn card by card\n";

int usageError(const std::string &text)
{
    std::fprintf(stderr, "velmara-cardgen: %s\n%s", text.c_str(), kUsage);
    return 2;
}

// Options are "--name value" pairs, or "--name" alone for the flags listed.
bool parseOptions(int argc, char **argv, int first, const std::vector<std::string> &flags,
                  std::map<std::string, std::string> &out, std::string &problem)
{
    for (int i = first; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.rfind("--", 0) != 0) {
            problem = "unexpected argument '" + arg + "'";
            return false;
        }
        const std::string name = arg.substr(2);
        bool isFlag = false;
        for (const std::string &f : flags)
            isFlag = isFlag || f == name;
        if (isFlag) {
            out[name] = "1";
        } else if (i + 1 < argc) {
            out[name] = argv[++i];
        } else {
            problem = "option '" + arg + "' needs a value";
            return false;
        }
    }
    return true;
}

class Options
{
public:
    explicit Options(std::map<std::string, std::string> values) : mValues(std::move(values)) {}

    double number(const std::string &name, double fallback)
    {
        auto it = mValues.find(name);
        if (it == mValues.end())
            return fallback;
        char *end = nullptr;
        const double v = std::strtod(it->second.c_str(), &end);
        if (end == it->second.c_str() || *end != '\0') {
            mProblem = "option '--" + name + "' wants a number, not '" + it->second + "'";
            return fallback;
        }
        return v;
    }
    int integer(const std::string &name, int fallback) { return static_cast<int>(number(name, fallback)); }
    bool flag(const std::string &name) const { return mValues.count(name) > 0; }
    std::string text(const std::string &name, const std::string &fallback) const
    {
        auto it = mValues.find(name);
        return it == mValues.end() ? fallback : it->second;
    }
    const std::string &problem() const { return mProblem; }

private:
    std::map<std::string, std::string> mValues;
    std::string mProblem;
};

bool save(const IndexedImage &image, const std::string &path, int dpi)
{
    std::string error;
    if (!WriteCard(image, path, dpi, &error)) {
        std::fprintf(stderr, "velmara-cardgen: %s\n", error.c_str());
        return false;
    }
    std::printf("%s  %d x %d\n", path.c_str(), image.width, image.height);
    return true;
}

int runLine(const std::string &dir, Options &o)
{
    LineSpec spec;
    spec.cards = o.integer("cards", spec.cards);
    spec.dpi = o.integer("dpi", spec.dpi);
    spec.widthInches = o.number("width-in", spec.widthInches);
    spec.heightInches = o.number("height-in", spec.heightInches);
    spec.seed = static_cast<std::uint64_t>(o.number("seed", static_cast<double>(spec.seed)));
    spec.peakDensity = o.number("density", spec.peakDensity);
    const std::string format = o.text("format", "bmp");
    if (!o.problem().empty())
        return usageError(o.problem());
    if (format != "bmp" && format != "gif" && format != "tif")
        return usageError("format must be bmp, gif or tif");
    if (spec.cards < 1 || spec.cards > 99)
        return usageError("a line has 1 to 99 cards");

    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    const std::vector<IndexedImage> cards = MakeSprayLine(spec);
    for (size_t i = 0; i < cards.size(); ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "card%02zu.%s", i + 1, format.c_str());
        if (!save(cards[i], (std::filesystem::path(dir) / name).string(), spec.dpi))
            return 1;
    }
    return 0;
}

int runCard(const std::string &file, Options &o)
{
    const int width = o.integer("width", 600);
    const int height = o.integer("height", 1800);
    const int paletteSize = o.integer("palette", 256);
    const int background = o.integer("background-index", 0);
    const int dither = o.integer("dither", -1);
    const int hue = o.integer("hue", 0);
    const int dpi = o.integer("dpi", 600);
    ScatterSpec scatter;
    scatter.coverage = o.number("coverage", scatter.coverage);
    scatter.minRadius = o.number("min-radius", scatter.minRadius);
    scatter.maxRadius = o.number("max-radius", scatter.maxRadius);
    scatter.speckShare = o.number("specks", scatter.speckShare);
    scatter.separate = o.flag("separate");
    const auto seed = static_cast<std::uint64_t>(o.number("seed", 1));
    if (!o.problem().empty())
        return usageError(o.problem());

    // Stains and specks take the first indexes that are neither background nor dither.
    std::vector<int> free;
    for (int i = 0; i < paletteSize && free.size() < 2; ++i)
        if (i != background && i != dither)
            free.push_back(i);
    if (free.size() < 2)
        return usageError("the colour table is too small for a background and two stain colours");

    CardSpec spec;
    spec.width = width;
    spec.height = height;
    spec.paletteSize = paletteSize;
    spec.backgroundIndex = background;
    spec.ditherIndex = dither;
    spec.colours = {{free[0], ColourOfHue(hue)}, {free[1], Rgb{110, 110, 110}}};
    IndexedImage card = MakeCard(spec);
    if (card.width == 0)
        return usageError("the card's sizes or colour indexes do not fit");
    scatter.discIndexes = {static_cast<std::uint8_t>(free[0])};
    scatter.speckIndexes = {static_cast<std::uint8_t>(free[1])};
    Rng rng(seed);
    const ScatterResult placed = Scatter(card, scatter, rng);
    if (!save(card, file, dpi))
        return 1;
    std::printf("%zu discs, %lld specks, %lld disc pixels\n", placed.discs.size(), placed.specks, placed.discPixels);
    return 0;
}

int runSheet(const std::string &file, Options &o)
{
    const int dpi = o.integer("dpi", 300);
    const int columns = o.integer("columns", 3);
    const int rows = o.integer("rows", 3);
    const double cellW = o.number("cell-width", 1.75), cellH = o.number("cell-height", 2.75);
    const double spaceH = o.number("space-h", 0.25), spaceV = o.number("space-v", 0.375);
    const double margin = o.number("margin", 0.25);
    LineSpec line;
    line.cards = columns * rows;
    line.dpi = dpi;
    line.widthInches = cellW;
    line.heightInches = cellH;
    line.seed = static_cast<std::uint64_t>(o.number("seed", 1));
    if (!o.problem().empty())
        return usageError(o.problem());
    if (columns < 1 || rows < 1 || columns * rows > 25)
        return usageError("a sheet has 1 to 25 cards");

    constexpr std::uint8_t kBed = 6; // the scanner lid around the cards; unused by the cards
    SheetSpec layout = SheetFromInches(dpi, columns, rows, cellW, cellH, spaceH, spaceV, margin, margin);
    layout.backgroundIndex = kBed;
    // The sheet holds the whole grid even where a hand-cut card falls a pixel short.
    layout.width = static_cast<int>(std::lround((2 * margin + columns * cellW + (columns - 1) * spaceH) * dpi));
    layout.height = static_cast<int>(std::lround((2 * margin + rows * cellH + (rows - 1) * spaceV) * dpi));
    IndexedImage sheet = MakeSheet(layout, MakeSprayLine(line));
    sheet.palette[kBed] = Rgb{205, 205, 200};

    if (o.flag("rgb")) {
        const RgbImage rgb = ToRgb(sheet);
        std::string error;
        const bool tif = file.size() >= 4 && (file.substr(file.size() - 4) == ".tif" || file.substr(file.size() - 4) == ".TIF");
        const bool ok = tif ? WriteTif24(rgb, file, dpi, true, &error) : WriteBmp24(rgb, file, dpi, &error);
        if (!ok) {
            std::fprintf(stderr, "velmara-cardgen: %s\n", error.c_str());
            return 1;
        }
        std::printf("%s  %d x %d, 24-bit\n", file.c_str(), rgb.width, rgb.height);
        return 0;
    }
    return save(sheet, file, dpi) ? 0 : 1;
}

std::string stemOf(const std::string &path)
{
    const std::filesystem::path p(path);
    return (p.parent_path() / p.stem()).string();
}

bool writeColourCard(const ColourCard &card, const std::string &file, int quality, bool table)
{
    std::string error;
    const RgbRows rows = RowsOf(card);
    const bool ok = table ? WriteCard(ReduceToTable(rows), file, card.spec().dpi, &error)
                          : WriteColour(rows, file, {card.spec().dpi, quality}, &error);
    if (!ok) {
        std::fprintf(stderr, "velmara-cardgen: %s\n", error.c_str());
        return false;
    }
    const std::string list = stemOf(file) + ".stains.csv";
    std::FILE *out = std::fopen(list.c_str(), "wb");
    const std::string text = card.stainList();
    const bool written = out && std::fwrite(text.data(), 1, text.size(), out) == text.size();
    if (!out || std::fclose(out) != 0 || !written) {
        std::fprintf(stderr, "velmara-cardgen: cannot write '%s'\n", list.c_str());
        return false;
    }
    std::printf("%s  %d x %d, %zu stains, %.4f covered\n", file.c_str(), card.width(), card.height(),
                card.stains().size(), card.coveredShare());
    return true;
}

// The options shared by the colour commands; false with problem set when one is out of range.
bool colourSpec(Options &o, ColourCardSpec &spec, int &quality, std::string &problem)
{
    if (!PaperOf(o.text("paper", "wsp"), spec.paper)) {
        problem = "paper must be wsp, white-red, white-blue, white-black or grey";
        return false;
    }
    spec.dpi = o.integer("dpi", spec.dpi);
    const double widthIn = o.number("width-in", 0.8), heightIn = o.number("height-in", 1.6);
    spec.coverage = o.number("coverage", spec.coverage);
    spec.seed = static_cast<std::uint64_t>(o.number("seed", static_cast<double>(spec.seed)));
    spec.noise = o.number("noise", spec.noise);
    spec.gradient = o.number("gradient", spec.gradient);
    quality = o.integer("quality", 90);
    problem = o.problem();
    if (!problem.empty())
        return false;
    if (spec.dpi < 50 || spec.dpi > 4800 || widthIn <= 0 || heightIn <= 0 || widthIn * heightIn * spec.dpi * spec.dpi > 4e8)
        problem = "the card's size or resolution is out of range";
    else if (spec.coverage < 0 || spec.coverage > 1 || spec.noise < 0 || spec.gradient < 0 || spec.gradient >= 1)
        problem = "coverage and gradient are shares from 0 to 1, noise a level of 0 or more";
    else if (quality < 1 || quality > 100)
        problem = "quality runs from 1 to 100";
    spec.width = static_cast<int>(std::lround(widthIn * spec.dpi));
    spec.height = static_cast<int>(std::lround(heightIn * spec.dpi));
    return problem.empty();
}

int runColour(const std::string &file, Options &o)
{
    ColourCardSpec spec;
    int quality = 0;
    std::string problem;
    if (!colourSpec(o, spec, quality, problem))
        return usageError(problem);
    return writeColourCard(ColourCard(spec), file, quality, o.flag("table")) ? 0 : 1;
}

int runColourLine(const std::string &dir, Options &o)
{
    ColourCardSpec base;
    int quality = 0;
    std::string problem;
    const int cards = o.integer("cards", 6);
    const std::string formats = o.text("format", "png");
    if (!colourSpec(o, base, quality, problem))
        return usageError(problem);
    if (cards < 1 || cards > 99)
        return usageError("a line has 1 to 99 cards");
    std::vector<std::string> endings;
    for (size_t at = 0; at <= formats.size();) {
        const size_t comma = std::min(formats.find(',', at), formats.size());
        endings.push_back(formats.substr(at, comma - at));
        at = comma + 1;
    }
    for (const std::string &e : endings)
        if (e != "png" && e != "jpg" && e != "bmp" && e != "tif")
            return usageError("formats are png, jpg, bmp and tif, separated by commas");

    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    const std::vector<ColourCardSpec> line = ColourLine(base, cards, base.coverage);
    for (size_t i = 0; i < line.size(); ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "card%02zu.%s", i + 1, endings[i % endings.size()].c_str());
        if (!writeColourCard(ColourCard(line[i]), (std::filesystem::path(dir) / name).string(), quality, o.flag("table")))
            return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return usageError(argc < 2 ? "no command" : "no output named");
    const std::string command = argv[1];
    std::map<std::string, std::string> values;
    std::string problem;
    if (!parseOptions(argc, argv, 3, {"separate", "rgb", "table"}, values, problem))
        return usageError(problem);
    Options options(std::move(values));
    if (command == "line")
        return runLine(argv[2], options);
    if (command == "card")
        return runCard(argv[2], options);
    if (command == "sheet")
        return runSheet(argv[2], options);
    if (command == "colour")
        return runColour(argv[2], options);
    if (command == "colour-line")
        return runColourLine(argv[2], options);
    return usageError("unknown command '" + command + "'");
}
