#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "Probe/Mounts.h"

namespace agent {

class Filesystem;

/// The host's mounts by what a file system is looked up by: the mount point of a local one, "host:/path" (the
/// host in lower case) of an NFS source, the cluster's name of a file set.
using MountsMap = std::unordered_map<std::string, Mounts>;

/// Reads a mount table that has not been opened yet. The first entry of a key stays.
/// @param aliases enter NFS sources under the numeric address of their host as well
/// @return 0, or 4 when the table or an NFS source in it (NAA0039W) couldn't be read; what could be is in the
///     map
int makeMountsMap(MountsMap& map, bool aliases, Mounts& mounts);

/// The keys under which a file system may be mounted, in the order in which to try them.
std::vector<std::string> candidateKeys(const Filesystem& filesystem);

}  // namespace agent
