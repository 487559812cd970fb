#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Common/Object.h"
#include "Common/RecordTable.h"

namespace agent {

/// Entries and their sizes by the age of one of their times.
class STimeDist : public Object {
 public:
  // Which time, as `tdType` tells the server; the last two come from other platforms' agents alone.
  static constexpr int16_t ACCESSED = 0;
  static constexpr int16_t MODIFIED = 3;
  static constexpr int16_t CREATED = 6;
  static constexpr int16_t BACKUP = 9;

  static constexpr size_t BUCKETS = 10;

  STimeDist() : Object("STimeDist") {}

  static const RecordTable<STimeDist>& table();
  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int32_t tdFilesystemID = 0;
  int32_t tdStatisticID = 0;
  int16_t tdType = 0;
  int64_t tdScanTime = 0;                     ///< milliseconds since the epoch
  int64_t tdAverageAge = 0;                   ///< seconds
  int64_t tdAccumCount = 0;                   ///< the server's; stays 0 here
  int16_t tdHistType = 0;                     ///< the server's; stays 0 here
  std::array<int64_t, BUCKETS> tdSizes = {};  ///< units of 512 bytes
  std::array<int64_t, BUCKETS> tdCounts = {};
};

}  // namespace agent
