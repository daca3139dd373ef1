#pragma once
// Cards read back from the JSON of 'velmara-cli scan --json', so that a line can be built from
// scans made elsewhere: each card as its scan left it, size table and all, without the image.

#include "cli/session.h"
#include "core/workspace.h"

#include <string>
#include <vector>

namespace velmara::cli {

struct ShardCards
{
    std::vector<CardImage> Cards;
    std::vector<Refusal> Refused; // the refusals the scans told
};

// Reads one shard. False with error naming the file when it cannot be read, is not JSON of this
// program, or is of another format version.
bool ReadShard(const std::string &path, ShardCards &out, std::string &error);

} // namespace velmara::cli
