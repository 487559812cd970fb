#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "definition/ScandefDefinition.h"

namespace agent::scandef {

/// A directory that is to be a slice.
struct SliceDirectory {
  const MountPoint* filesystem = nullptr;  ///< that it lies on
  std::string path;                        ///< by the definition's names, without a slash behind
};

/// What one node walks.
struct Slice {
  int64_t number = 0;
  std::string directory;           ///< by the definition's names; of the rest the first mount point
  Definition definition;           ///< of a job for it
  std::vector<std::string> binds;  ///< directories of this host that become file systems of their own
  std::vector<std::string>
      covers;  ///< directories of this host that an empty mount hides, since others walk them
};

/// Cuts a definition: slice 0 is the rest, slice K the K-th directory less those of others in it. What the
/// slices find together is what the whole would have: selections by path mean the same entries, and
/// statistics are added that tell what lists of N and the records of directories above a slice would lack
/// (merge/SliceMarks.h).
/// @param directories none twice
/// @param cut tells this cut from every other
/// @throws std::invalid_argument where the definition can't be written
std::vector<Slice> slicesOf(const Definition& whole, const std::vector<SliceDirectory>& directories,
                            const std::string& cut);

}  // namespace agent::scandef
