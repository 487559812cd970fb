#pragma once

#include <string>
#include <vector>

#include "figures/ResultFile.h"

namespace agent::tools {

/// The result of one slice.
struct SliceResult {
  std::string name;  ///< of its file, for messages
  ResultFile file;   ///< whole
};

struct MergedResult {
  std::vector<ResultNode> nodes;   ///< as ResultFile has them
  std::vector<std::string> notes;  ///< sentences about what may differ from a single walk's
};

/// Joins the results of slices: of directories, each a file system of its own, and of what is left of the
/// file system when these are taken out. What is counted adds up; of N-most lists the N with the greatest
/// keys stay, those with equal keys in the order in which the results are given; what was found in a
/// monitored directory comes as it is.
///
/// Not as a single walk has them, since no result tells it: a file with names in several slices, which each
/// of them counts once less than it has names there; ages, which count from the beginning of each slice's
/// walk.
///
/// @throws ResultFileError where a slice is missing, or there twice, or wasn't walked, or where the results
///   aren't of one definition
MergedResult mergeResults(std::vector<SliceResult> slices);

}  // namespace agent::tools
