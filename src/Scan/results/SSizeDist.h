#pragma once

#include <array>
#include <cstdint>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"
#include "Scan/results/SizeRanges.h"

namespace agent {

/// Entries and their sizes by size.
class SSizeDist : public EntityToObjectMapper {
 public:
  SSizeDist() : EntityToObjectMapper("SSizeDist") {}

  static const RecordTable<SSizeDist>& table();

  /// Reads the record back. Of each histogram only the first number arrives, in element 0: the format's own
  /// reader has always been that way, and nothing of this job depends on it.
  void inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) override;

  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int32_t szdFilesystemID = 0;
  int32_t szdStatisticID = 0;
  std::array<int64_t, SizeRanges::BUCKETS> szdSizes = {};  ///< units of 512 bytes
  std::array<int64_t, SizeRanges::BUCKETS> szdCounts = {};
};

}  // namespace agent
