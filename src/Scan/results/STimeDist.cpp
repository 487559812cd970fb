#include "Scan/results/STimeDist.h"

namespace agent {

const RecordTable<STimeDist>& STimeDist::table() {
  static constexpr Column<STimeDist> COLUMNS[] = {
      column<&STimeDist::tdFilesystemID>(ScanVOXTags::TD_FS_ID, "the file system"),
      column<&STimeDist::tdStatisticID>(ScanVOXTags::TD_STAT_ID, "the statistic"),
      column<&STimeDist::tdType>(ScanVOXTags::TD_TYPE,
                                 "which time: 0 last use, 3 last change; other platforms have 6 and 9"),
      column<&STimeDist::tdScanTime>(ScanVOXTags::TD_SCAN_TIME, "when counting began: age 0"),
      column<&STimeDist::tdAverageAge>(ScanVOXTags::TD_AVG_AGE, "seconds"),
      column<&STimeDist::tdAccumCount>(ScanVOXTags::TD_ACCUM_CNT, "the server's; 0"),
      column<&STimeDist::tdHistType>(ScanVOXTags::TD_HIST_TYPE, "the server's; 0"),
      column<&STimeDist::tdSizes>(ScanVOXTags::TD_SIZES,
                                  "space in units of 512 bytes of entries up to 1, 7, 30, 60, 90, 180, 270, "
                                  "365.25 days old, older, and more than a day in the future"),
      column<&STimeDist::tdCounts>(ScanVOXTags::TD_CNTS, "how many those are")};
  static constexpr RecordTable<STimeDist> TABLE(ScanVOXTags::TD, "Entries by age.", COLUMNS);
  return TABLE;
}

void STimeDist::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void STimeDist::printData(GenericPrint& print) const {
  table().printNode(print, *this);
}

}  // namespace agent
