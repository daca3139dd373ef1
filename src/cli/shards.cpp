#include "cli/shards.h"

#include "cli/jsonread.h"
#include "cli/output.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>

namespace velmara::cli {

namespace {

using Reader = bool (*)(JsonReader &, CardImage &);

template <typename T>
bool into(JsonReader &in, T &field)
{
    return in.readNumber(field);
}

bool readRow(JsonReader &in, SizeClass &row)
{
    struct Field
    {
        std::string_view name;
        bool (*read)(JsonReader &, SizeClass &);
    };
    static const Field fields[] = {
        {"AreaPx", [](JsonReader &j, SizeClass &r) { return into(j, r.AreaPx); }},
        {"Count", [](JsonReader &j, SizeClass &r) { return into(j, r.Count); }},
        {"Volume", [](JsonReader &j, SizeClass &r) { return into(j, r.Volume); }},
        {"Diameter", [](JsonReader &j, SizeClass &r) { return into(j, r.Diameter); }},
        {"VolumeFraction", [](JsonReader &j, SizeClass &r) { return into(j, r.VolumeFraction); }},
        {"CumVolumeFraction", [](JsonReader &j, SizeClass &r) { return into(j, r.CumVolumeFraction); }},
        {"NumberFraction", [](JsonReader &j, SizeClass &r) { return into(j, r.NumberFraction); }},
        {"CumNumberFraction", [](JsonReader &j, SizeClass &r) { return into(j, r.CumNumberFraction); }},
    };
    if (!in.beginObject())
        return false;
    std::string key;
    while (in.nextMember(key)) {
        const Field *f = std::find_if(std::begin(fields), std::end(fields), [&](const Field &x) { return x.name == key; });
        if (!(f != std::end(fields) ? f->read(in, row) : in.skip()))
            return false;
    }
    return !in.failed();
}

bool readSizeTable(JsonReader &in, CardImage &card)
{
    card.SizeTable.assign(1, SizeClass{});
    if (!in.beginArray())
        return false;
    while (in.nextItem())
        if (!readRow(in, card.SizeTable.emplace_back()))
            return false;
    return !in.failed();
}

// The members of a card that its scan left; the others (index, deposit in the shown unit, line
// figures) are computed anew.
struct CardField
{
    std::string_view name;
    Reader read;
};

const CardField kCardFields[] = {
    {"FileName", [](JsonReader &j, CardImage &c) { return j.readString(c.FileName); }},
    {"FullPath", [](JsonReader &j, CardImage &c) { return j.readString(c.FullPath); }},
    {"Dpi", [](JsonReader &j, CardImage &c) { return into(j, c.Dpi); }},
    {"WidthPx", [](JsonReader &j, CardImage &c) { return into(j, c.WidthPx); }},
    {"HeightPx", [](JsonReader &j, CardImage &c) { return into(j, c.HeightPx); }},
    {"MicronsPerPixelX", [](JsonReader &j, CardImage &c) { return into(j, c.MicronsPerPixelX); }},
    {"MicronsPerPixelY", [](JsonReader &j, CardImage &c) { return into(j, c.MicronsPerPixelY); }},
    {"AreaCm2", [](JsonReader &j, CardImage &c) { return into(j, c.AreaCm2); }},
    {"BackgroundIndex", [](JsonReader &j, CardImage &c) { return into(j, c.BackgroundIndex); }},
    {"DitherIndex", [](JsonReader &j, CardImage &c) { return into(j, c.DitherIndex); }},
    {"ForegroundPixels", [](JsonReader &j, CardImage &c) { return into(j, c.ReleasedForeground); }},
    {"PixelsReady", [](JsonReader &j, CardImage &c) { return j.readBool(c.PixelsReady); }},
    {"Scanned", [](JsonReader &j, CardImage &c) { return j.readBool(c.Scanned); }},
    {"RejectedCount", [](JsonReader &j, CardImage &c) { return into(j, c.RejectedCount); }},
    {"Vmd", [](JsonReader &j, CardImage &c) { return into(j, c.Stats.Vmd); }},
    {"DropDensity", [](JsonReader &j, CardImage &c) { return into(j, c.Stats.DropDensity); }},
    {"VolumeDensity", [](JsonReader &j, CardImage &c) { return into(j, c.Stats.VolumeDensity); }},
    {"TotalVolume", [](JsonReader &j, CardImage &c) { return into(j, c.TotalVolume); }},
    {"MinDiameter", [](JsonReader &j, CardImage &c) { return into(j, c.MinDiameter); }},
    {"MaxDiameter", [](JsonReader &j, CardImage &c) { return into(j, c.MaxDiameter); }},
    {"MaxVolumeFraction", [](JsonReader &j, CardImage &c) { return into(j, c.MaxVolumeFraction); }},
    {"MaxClassCount", [](JsonReader &j, CardImage &c) { return into(j, c.MaxClassCount); }},
    {"SizeTable", readSizeTable},
};

bool readCard(JsonReader &in, CardImage &card, std::string &fault)
{
    if (!in.beginObject())
        return false;
    std::string key;
    while (in.nextMember(key)) {
        const CardField *f =
            std::find_if(std::begin(kCardFields), std::end(kCardFields), [&](const CardField &x) { return x.name == key; });
        if (!(f != std::end(kCardFields) ? f->read(in, card) : in.skip())) {
            fault = "bad " + key;
            return false;
        }
    }
    if (!in.failed() && card.FileName.empty()) {
        fault = "a card without a FileName";
        return false;
    }
    return !in.failed();
}

bool readRefusal(JsonReader &in, Refusal &r)
{
    if (!in.beginObject())
        return false;
    std::string key;
    while (in.nextMember(key))
        if (!(key == "FileName" ? in.readString(r.FileName) : key == "Message" ? in.readString(r.Message) : in.skip()))
            return false;
    return !in.failed();
}

} // namespace

bool ReadShard(const std::string &path, Workspace &ws, std::vector<Refusal> &refused, std::string &error)
{
    const size_t cardsBefore = ws.Cards.size();
    const size_t refusedBefore = refused.size();
    const auto takeBack = [&] {
        ws.Cards.resize(cardsBefore);
        refused.resize(refusedBefore);
        return false;
    };
    std::error_code ec;
    std::ifstream file(path, std::ios::binary);
    if (!file || std::filesystem::is_directory(path, ec)) {
        error = "cannot read " + path + (std::filesystem::exists(path, ec) ? "" : ": there is no such file");
        return false;
    }
    file.seekg(0, std::ios::end);
    const size_t size = static_cast<size_t>(std::max<std::streamoff>(file.tellg(), 0));
    file.seekg(0);
    // Not a std::string: it would first fill the tens of megabytes of a large shard with zeros.
    const std::unique_ptr<char[]> bytes(new char[size]);
    if (!file.read(bytes.get(), static_cast<std::streamsize>(size))) {
        error = "cannot read " + path;
        return false;
    }
    const std::string_view text(bytes.get(), size);
    const std::string notOne = path + " is not a JSON file written by 'velmara-cli scan --json'";

    // A card record is large: room for all of them at once rather than moving them as the list
    // grows (only cards have a FullPath).
    size_t expected = 0;
    for (size_t at = text.find("\"FullPath\":"); at != std::string_view::npos; at = text.find("\"FullPath\":", at + 1))
        ++expected;
    if (ws.Cards.size() + expected > ws.Cards.capacity())
        ws.Cards.reserve(std::max(ws.Cards.size() + expected, 2 * ws.Cards.capacity()));

    JsonReader in(text);
    if (in.peek() != JsonReader::Kind::Object) {
        error = notOne;
        return false;
    }
    in.beginObject();
    std::string key;
    int format = 0;
    bool cardsSeen = false;
    std::string cardFault;
    while (in.nextMember(key)) {
        if (key == "Format") {
            if (!in.readNumber(format))
                break;
        } else if (key == "Cards" || key == "Refused") {
            // The version comes first: a file of another version is not read any further.
            if (format != kJsonFormat) {
                error = path + (format == 0 ? " comes from an older velmara-cli without a format version"
                                            : " is of format " + std::to_string(format))
                    + "; this velmara-cli reads format " + std::to_string(kJsonFormat)
                    + ": scan its cards again with this version";
                return takeBack();
            }
            if (!in.beginArray())
                break;
            while (in.nextItem()) {
                if (key == "Cards" ? !readCard(in, ws.Cards[static_cast<size_t>(ws.AppendCard())], cardFault)
                                   : !readRefusal(in, refused.emplace_back()))
                    break;
            }
            if (!cardFault.empty() && !in.failed()) {
                error = notOne + ": " + cardFault;
                return takeBack();
            }
            cardsSeen = cardsSeen || key == "Cards";
        } else if (!in.skip()) {
            break;
        }
    }
    if (in.failed() || !in.atEnd() || !cardsSeen) {
        error = notOne + (in.failed() ? ": " + (cardFault.empty() ? "" : cardFault + ", ") + in.error()
                          : !cardsSeen ? ": it lists no cards" : ": something follows its end");
        return takeBack();
    }
    return true;
}

} // namespace velmara::cli
