#pragma once
// What velmara-cli prints on stdout: a summary a person reads, or one JSON object.

#include "cli/json.h"
#include "cli/session.h"
#include "statistics/spectrum.h"

#include <string>

namespace velmara::cli {

// The version of the JSON written: a reader of shards takes only its own.
constexpr int kJsonFormat = 2;

// Per-card summary lines of a scan.
std::string CardSummary(const Workspace &ws);

// The "Format", "Cards" and "Refused" members of the JSON object (the caller opens and closes the object).
// withLine adds each card's Position and LineStats.
void WriteCardsJson(JsonWriter &json, const Workspace &ws, const std::vector<Refusal> &refusals,
                    bool withLine);

// spectrum, when given, adds its figures to the object.
void WriteSizeStatsJson(JsonWriter &json, const SizeStats &stats, const SpectrumFigures *spectrum = nullptr);

// The spectrum figures as members of the open object (Dv0.5 is the Vmd written beside them).
void WriteSpectrumFields(JsonWriter &json, const SpectrumFigures &f);

// The spectrum table of the summary: one line per scanned card (inside the range when ranged, as
// the line statistics take the cards) and, withComposite, one for the composite.
std::string SpectrumSummary(const Workspace &ws, bool ranged, bool withComposite);

// The rate factor of swath set setIndex (1 deposit, 2 drop density). An aircraft swath that is
// not a number counts as none given: factor 1, as for an empty one.
Single ShownRateFactor(const Workspace &ws, int setIndex);

// The summary's line (ending in a newline) when the aircraft swath is not a number; else empty.
std::string SwathNote(const Workspace &ws);

} // namespace velmara::cli
