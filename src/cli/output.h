#pragma once
// What velmara-cli prints on stdout: a summary a person reads, or one JSON object.

#include "cli/json.h"
#include "cli/session.h"

#include <string>

namespace velmara::cli {

// Per-card summary lines of a scan.
std::string CardSummary(const Workspace &ws);

// The "Cards" and "Refused" members of the JSON object (the caller opens and closes the object).
// withLine adds each card's Position and LineStats.
void WriteCardsJson(JsonWriter &json, const Workspace &ws, const std::vector<Refusal> &refusals,
                    bool withLine);

void WriteSizeStatsJson(JsonWriter &json, const SizeStats &stats);

} // namespace velmara::cli
