#include "Scan/results/SUserOrGroup.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Scan/identity/UserOrGroup.h"
#include "Scan/results/Counters.h"

namespace agent {

void SUGHist::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::SUG_FS_ID, ScanVOXTags::SUG_STAT_ID, ScanVOXTags::SUG_FILE_CNT,
                     ScanVOXTags::SUG_TOTAL_SIZE, ScanVOXTags::SUG_TS, ScanVOXTags::SUG_ACCUM_CNT,
                     ScanVOXTags::SUG_TYPE});
}

// Time, accumulation count and type stand twice in the record: the format is set that way.
void SUserOrGroup::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::SUG_FS_ID, ScanVOXTags::SUG_STAT_ID, ScanVOXTags::SUG_FILE_CNT,
                     ScanVOXTags::SUG_TOTAL_SIZE, ScanVOXTags::SUG_TS, ScanVOXTags::SUG_ACCUM_CNT,
                     ScanVOXTags::SUG_TYPE, ScanVOXTags::SUG_DIR_CNT, ScanVOXTags::SUG_OTHER_CNT,
                     ScanVOXTags::SUG_UNUSED_SPACE, ScanVOXTags::SUG_LARGEST_SIZE,
                     ScanVOXTags::SUG_2ND_LARGEST_SIZE, ScanVOXTags::SUG_TS, ScanVOXTags::SUG_ACCUM_CNT,
                     ScanVOXTags::SUG_TYPE, ScanVOXTags::SUG_SIZES, ScanVOXTags::SUG_COUNTS});
}

void SUserOrGroup::printData(GenericPrint& print, bool nested) const {
  const std::string timestamp = std::to_string(sugTimestamp);
  const std::string accumCount = std::to_string(sugAccumCount);
  const std::string type = std::to_string(sugType);
  if (nested) print.beginNode(ScanVOXTags::SUG);
  print.printData({std::to_string(sugFilesystemID), std::to_string(sugStatisticID),
                   std::to_string(sugFileCount), std::to_string(sugTotalSize), timestamp, accumCount, type,
                   std::to_string(sugDirectoryCount), std::to_string(sugOtherCount),
                   std::to_string(sugUnusedSpace), std::to_string(sugLargestSize),
                   std::to_string(sug2ndLargestSize), timestamp, accumCount, type, joinNumbers(sugSizes),
                   joinNumbers(sugCounts)});
  if (sugIdentity != nullptr) sugIdentity->printData(print, ScanVOXTags::UG_USER_GROUP);
  if (nested) print.endNode(ScanVOXTags::SUG);
}

}  // namespace agent
