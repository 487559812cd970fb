#include "Scan/results/STimeDist.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Scan/results/Counters.h"

namespace agent {

void STimeDist::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::TD_FS_ID, ScanVOXTags::TD_STAT_ID, ScanVOXTags::TD_TYPE,
                     ScanVOXTags::TD_SCAN_TIME, ScanVOXTags::TD_AVG_AGE, ScanVOXTags::TD_ACCUM_CNT,
                     ScanVOXTags::TD_HIST_TYPE, ScanVOXTags::TD_SIZES, ScanVOXTags::TD_CNTS});
}

void STimeDist::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::TD);
  print.printData({std::to_string(tdFilesystemID), std::to_string(tdStatisticID), std::to_string(tdType),
                   std::to_string(tdScanTime), std::to_string(tdAverageAge), std::to_string(tdAccumCount),
                   std::to_string(tdHistType), joinNumbers(tdSizes), joinNumbers(tdCounts)});
  print.endNode(ScanVOXTags::TD);
}

}  // namespace agent
