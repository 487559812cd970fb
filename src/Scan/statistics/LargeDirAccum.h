#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Scan/results/SDirectory.h"
#include "Scan/statistics/Accumulator.h"
#include "Scan/statistics/NMost.h"

namespace agent {

/// The N directories with the most space directly in them. Sees every directory of the walk, and in each only
/// the entries that the statistic's selection let through.
class LargeDirAccum : public Accumulator {
 public:
  /// @param nMaxToRetain N, from the definition
  LargeDirAccum(int32_t nMaxToRetain, int32_t filesystemID);

  void newDirectory(const FileAttributes& attributes);
  void accumulate(Scanner& scanner, FileAttributes& attributes) override;
  void closeDirectory();
  void finish(CuStatResults& results) override;

 private:
  NMost<SDirectory> most_;
  int32_t filesystemID_;
  // The directories being read, outermost first; `depth_` of them are open. Records above stay for reuse, so
  // that entering a directory allocates nothing.
  std::vector<SDirectory> open_;
  size_t depth_ = 0;
};

}  // namespace agent
