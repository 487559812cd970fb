#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace agent::scandef {

/// What it takes to walk the entries that lie directly in a directory, by the directory's path (no slash
/// behind): their number, or seconds. Only how they compare with each other counts.
using Weights = std::map<std::string, double>;

struct SliceChoice {
  std::vector<std::string> directories;  ///< to be slices, those with the most work in front
  double heaviest = 0;  ///< share of the whole that the heaviest piece has, the rest among them
};

/// When there are enough slices.
struct SliceNumber {
  size_t wanted = 1;
  /// Pieces with more than a tenth of the whole are cut again, into as many as a job array usually takes.
  bool untilTenth = false;
};

/// Chooses directories that cut trees into pieces of about the same weight: what lies in a chosen one, less
/// what lies in others below it, is one piece, and so is what none of them holds.
/// @param roots the trees, by their directories
/// @param mayBeSlice asked of each directory before it is chosen
/// @return fewer where there are no more
SliceChoice chooseSlices(const std::vector<std::string>& roots, const Weights& weights,
                         const SliceNumber& number,
                         const std::function<bool(const std::string& directory)>& mayBeSlice);

}  // namespace agent::scandef
