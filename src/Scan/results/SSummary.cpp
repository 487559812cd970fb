#include "Scan/results/SSummary.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

void SSummary::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::SUM_FS_ID, ScanVOXTags::SUM_STAT_ID, ScanVOXTags::SUM_CAP,
                     ScanVOXTags::SUM_FREE_SPACE, ScanVOXTags::SUM_USED_SPACE, ScanVOXTags::SUM_TOTAL_SIZE,
                     ScanVOXTags::SUM_FILE_CNT, ScanVOXTags::SUM_SCAN_TIME, ScanVOXTags::SUM_ACCUM_CNT,
                     ScanVOXTags::SUM_TYPE, ScanVOXTags::SUM_DIR_CNT});
}

void SSummary::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::SUM);
  print.printData({std::to_string(sumFilesystemID), std::to_string(sumStatisticID),
                   std::to_string(sumCapacity), std::to_string(sumFreeSpace), std::to_string(sumUsedSpace),
                   std::to_string(sumTotalSize), std::to_string(sumFileCount), std::to_string(sumScanTime),
                   std::to_string(sumAccumCount), std::to_string(sumType),
                   std::to_string(sumDirectoryCount)});
  print.endNode(ScanVOXTags::SUM);
}

}  // namespace agent
