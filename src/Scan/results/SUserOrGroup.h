#pragma once

#include <array>
#include <cstdint>

#include "Common/Object.h"
#include "Common/RecordTable.h"
#include "Scan/results/SizeRanges.h"

namespace agent {

class UserOrGroup;

/// Totals of one owner or group, as the history keeps them. Sizes are in units of 512 bytes, times in
/// milliseconds since the epoch.
class SUGHist : public Object {
 public:
  SUGHist() : Object("SUGHist") {}

  static const RecordTable<SUGHist>& table();
  static void printHeader(GenericPrint& print);

  int32_t sugFilesystemID = 0;
  int32_t sugStatisticID = 0;
  const UserOrGroup* sugIdentity = nullptr;  ///< borrowed from the scan's user table
  int32_t sugFileCount = 0;                  ///< regular files and symbolic links; wraps at 2^31
  int64_t sugTotalSize = 0;                  ///< all entries
  int64_t sugTimestamp = 0;                  ///< when the file system's walk began
  int16_t sugAccumCount = 0;                 ///< the server's; stays 0 here
  uint8_t sugType = 0;                       ///< the server's; stays 0 here

 protected:
  explicit SUGHist(const char* className) : Object(className) {}
};

class SUserOrGroup : public SUGHist {
 public:
  SUserOrGroup() : SUGHist("SUserOrGroup") {}

  static const RecordTable<SUserOrGroup, SUGHist>& table();
  static void printHeader(GenericPrint& print);
  /// Writes the row and the owner's node behind it.
  /// @param nested put both into a node of the class
  void printData(GenericPrint& print, bool nested) const;

  int32_t sugDirectoryCount = 0;
  int32_t sugOtherCount = 0;   ///< stays 0
  int64_t sugUnusedSpace = 0;  ///< stays 0
  int64_t sugLargestSize = 0;  ///< among regular files and links
  int64_t sug2ndLargestSize = 0;
  std::array<int64_t, SizeRanges::BUCKETS> sugSizes = {};
  std::array<int64_t, SizeRanges::BUCKETS> sugCounts = {};
};

}  // namespace agent
