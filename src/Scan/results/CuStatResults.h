#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Common/Object.h"
#include "Common/RecordTable.h"
#include "Scan/results/FileTypeSummary.h"
#include "Scan/results/SDirectory.h"
#include "Scan/results/SFile.h"
#include "Scan/results/SSizeDist.h"
#include "Scan/results/SSummary.h"
#include "Scan/results/STimeDist.h"
#include "Scan/results/SUserOrGroup.h"

namespace agent {

/// What one statistic found on one source: the root of its records, which it owns. The single records exist
/// from the start of the walk, the lists move in when it ends.
class CuStatResults : public Object {
 public:
  CuStatResults() : Object("CuStatResults") {}

  static const RecordTable<CuStatResults>& table();
  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int32_t srID = 0;  ///< the statistic's id
  // Each list stands in the order in which it prints: the largest or oldest first.
  std::vector<SDirectory> srLargestDirectories;
  std::vector<SFile> srLargestFiles;
  std::vector<SFile> srLeastAccessed;
  std::vector<SFile> srOldestNotBackedUp;
  std::vector<SFile> srLargestOrphans;
  std::vector<SFile> srOldestOrphans;
  std::vector<FileTypeSummary> srFileTypes;
  std::unique_ptr<SSummary> srSummary;
  std::unique_ptr<SSizeDist> srSizeDist;
  std::vector<SUserOrGroup> srOwners;  ///< by descending id
  std::vector<SUserOrGroup> srGroups;  ///< by descending id
  std::unique_ptr<STimeDist> srAccessed;
  std::unique_ptr<STimeDist> srModified;
};

}  // namespace agent
