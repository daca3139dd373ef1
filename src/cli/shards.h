#pragma once
// Cards read back from the JSON of 'velmara-cli scan --json', so that a line can be built from
// scans made elsewhere: each card as its scan left it, size table and all, without the image.

#include "cli/session.h"
#include "core/workspace.h"

#include <string>
#include <vector>

namespace velmara::cli {

// Reads one shard, appending its cards to ws and its refusals to refused. False with error naming
// the file when it cannot be read, is not JSON of this program, or is of another format version;
// the list is then as it was.
bool ReadShard(const std::string &path, Workspace &ws, std::vector<Refusal> &refused, std::string &error);

} // namespace velmara::cli
