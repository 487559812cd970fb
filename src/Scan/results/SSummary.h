#pragma once

#include <cstdint>

#include "Common/Object.h"
#include "Common/RecordTable.h"

namespace agent {

/// Totals of one statistic on one source, as the history keeps them. Sizes are in units of 512 bytes, times
/// in milliseconds since the epoch.
class SSummaryHist : public Object {
 public:
  SSummaryHist() : Object("SSummaryHist") {}

  static const RecordTable<SSummaryHist>& table();

  int32_t sumFilesystemID = 0;
  int32_t sumStatisticID = 0;
  int64_t sumCapacity = 0;
  int64_t sumFreeSpace = 0;
  int64_t sumUsedSpace = 0;
  int64_t sumTotalSize = 0;  ///< all entries, directories' own blocks among them
  int64_t sumFileCount = 0;  ///< regular files and symbolic links
  int64_t sumScanTime = 0;
  int16_t sumAccumCount = 0;  ///< the server's; stays 0 here
  int16_t sumType = 0;        ///< the server's; stays 0 here

 protected:
  explicit SSummaryHist(const char* className) : Object(className) {}
};

class SSummary : public SSummaryHist {
 public:
  SSummary() : SSummaryHist("SSummary") {}

  static const RecordTable<SSummary, SSummaryHist>& table();
  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int64_t sumDirectoryCount = 0;
};

}  // namespace agent
