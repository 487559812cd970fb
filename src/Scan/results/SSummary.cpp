#include "Scan/results/SSummary.h"

namespace agent {

const RecordTable<SSummaryHist>& SSummaryHist::table() {
  static constexpr Column<SSummaryHist> COLUMNS[] = {
      column<&SSummaryHist::sumFilesystemID>(ScanVOXTags::SUM_FS_ID, "the file system"),
      column<&SSummaryHist::sumStatisticID>(ScanVOXTags::SUM_STAT_ID, "the statistic"),
      column<&SSummaryHist::sumCapacity>(ScanVOXTags::SUM_CAP,
                                         "the file system's space, in units of 512 bytes"),
      column<&SSummaryHist::sumFreeSpace>(ScanVOXTags::SUM_FREE_SPACE, "of that, what is free"),
      column<&SSummaryHist::sumUsedSpace>(ScanVOXTags::SUM_USED_SPACE, "of that, what isn't"),
      column<&SSummaryHist::sumTotalSize>(ScanVOXTags::SUM_TOTAL_SIZE,
                                          "space of all entries, in units of 512 bytes"),
      column<&SSummaryHist::sumFileCount>(ScanVOXTags::SUM_FILE_CNT, "regular files and symbolic links"),
      column<&SSummaryHist::sumScanTime>(ScanVOXTags::SUM_SCAN_TIME, "when counting began"),
      column<&SSummaryHist::sumAccumCount>(ScanVOXTags::SUM_ACCUM_CNT, "the server's; 0"),
      column<&SSummaryHist::sumType>(ScanVOXTags::SUM_TYPE, "the server's; 0")};
  static constexpr RecordTable<SSummaryHist> TABLE(ScanVOXTags::SUM_HIST, "What `SSummary` begins with.",
                                                   COLUMNS);
  return TABLE;
}

const RecordTable<SSummary, SSummaryHist>& SSummary::table() {
  static constexpr Column<SSummary> COLUMNS[] = {
      column<&SSummary::sumDirectoryCount>(ScanVOXTags::SUM_DIR_CNT, "directories")};
  static constexpr RecordTable<SSummary, SSummaryHist> TABLE(ScanVOXTags::SUM, "Totals.", COLUMNS);
  return TABLE;
}

void SSummary::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void SSummary::printData(GenericPrint& print) const {
  table().printNode(print, *this);
}

}  // namespace agent
