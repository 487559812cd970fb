#include "Scan/results/SUserOrGroup.h"

#include "Scan/identity/UserOrGroup.h"

namespace agent {

namespace {

/// A column of the record's front that stands in the record once more.
template <auto FIELD>
constexpr Column<SUserOrGroup> again(const char* tag) {
  return column<FIELD, UsualFormat<decltype(record_table::valueOf(FIELD))>, SUserOrGroup>(tag,
                                                                                          "the same again");
}

}  // namespace

const RecordTable<SUGHist>& SUGHist::table() {
  static constexpr Column<SUGHist> COLUMNS[] = {
      column<&SUGHist::sugFilesystemID>(ScanVOXTags::SUG_FS_ID, "the file system"),
      column<&SUGHist::sugStatisticID>(ScanVOXTags::SUG_STAT_ID, "the statistic"),
      column<&SUGHist::sugFileCount>(ScanVOXTags::SUG_FILE_CNT, "regular files and symbolic links; wraps"),
      column<&SUGHist::sugTotalSize>(ScanVOXTags::SUG_TOTAL_SIZE,
                                     "space of all entries, in units of 512 bytes"),
      column<&SUGHist::sugTimestamp>(ScanVOXTags::SUG_TS, "when the file system's walk began"),
      column<&SUGHist::sugAccumCount>(ScanVOXTags::SUG_ACCUM_CNT, "the server's; 0"),
      column<&SUGHist::sugType>(ScanVOXTags::SUG_TYPE, "the server's; 0")};
  static constexpr RecordTable<SUGHist> TABLE(
      ScanVOXTags::SUG_HIST, "What `SUserOrGroup` begins with. Its columns are named, no row is written.",
      COLUMNS);
  return TABLE;
}

const RecordTable<SUserOrGroup, SUGHist>& SUserOrGroup::table() {
  // Time, accumulation count and type stand twice in the record: the format is set that way.
  static constexpr Column<SUserOrGroup> COLUMNS[] = {
      column<&SUserOrGroup::sugDirectoryCount>(ScanVOXTags::SUG_DIR_CNT, "directories"),
      column<&SUserOrGroup::sugOtherCount>(ScanVOXTags::SUG_OTHER_CNT, "0"),
      column<&SUserOrGroup::sugUnusedSpace>(ScanVOXTags::SUG_UNUSED_SPACE, "0"),
      column<&SUserOrGroup::sugLargestSize>(ScanVOXTags::SUG_LARGEST_SIZE,
                                            "space of the largest file or link"),
      column<&SUserOrGroup::sug2ndLargestSize>(ScanVOXTags::SUG_2ND_LARGEST_SIZE,
                                               "space of the second largest"),
      again<&SUGHist::sugTimestamp>(ScanVOXTags::SUG_TS),
      again<&SUGHist::sugAccumCount>(ScanVOXTags::SUG_ACCUM_CNT),
      again<&SUGHist::sugType>(ScanVOXTags::SUG_TYPE),
      column<&SUserOrGroup::sugSizes>(ScanVOXTags::SUG_SIZES, "space by size, as in `SSizeDist`"),
      column<&SUserOrGroup::sugCounts>(ScanVOXTags::SUG_COUNTS, "files and links by size")};
  static constexpr RecordTable<SUserOrGroup, SUGHist> TABLE(
      ScanVOXTags::SUG, "Totals of one user or group, which stands behind in a `UserOrGroup` node.", COLUMNS);
  return TABLE;
}

void SUGHist::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void SUserOrGroup::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void SUserOrGroup::printData(GenericPrint& print, bool nested) const {
  if (nested) print.beginNode(ScanVOXTags::SUG);
  table().printData(print, *this);
  if (sugIdentity != nullptr) sugIdentity->printData(print, ScanVOXTags::UG_USER_GROUP);
  if (nested) print.endNode(ScanVOXTags::SUG);
}

}  // namespace agent
