#include "Scan/results/SDirectory.h"

namespace agent {

void SDirectory::startWith(const FileAttributes& entry, int32_t filesystemID) {
  static_cast<FileAttributes&>(*this) = entry;
  dirFilesystemID = filesystemID;
  dirStatisticID = 0;
  dirFileCount = 0;
  dirDirectoryCount = 0;
  dirTotalSize = 0;
  dirLargestSize = 0;
  dir2ndLargestSize = 0;
  dirSizes.fill(0);
  dirCounts.fill(0);
}

const RecordTable<SDirectory, FileAttributes>& SDirectory::table() {
  static constexpr Column<SDirectory> COLUMNS[] = {
      column<&SDirectory::dirFilesystemID>(ScanVOXTags::DIR_FS_ID, "the file system"),
      column<&SDirectory::dirStatisticID>(ScanVOXTags::DIR_STAT_ID, "the statistic"),
      column<&SDirectory::dirFileCount>(ScanVOXTags::DIR_FILE_CNT, "regular files and symbolic links"),
      column<&SDirectory::dirDirectoryCount>(ScanVOXTags::DIR_DIR_CNT, "directories"),
      column<&SDirectory::dirTotalSize>(ScanVOXTags::DIR_TOTAL_SIZE,
                                        "space of all entries, in units of 512 bytes"),
      column<&SDirectory::dirLargestSize>(ScanVOXTags::DIR_LARGEST_SIZE, "space of the largest file or link"),
      column<&SDirectory::dir2ndLargestSize>(ScanVOXTags::DIR_2ND_LARGEST_SIZE,
                                             "space of the second largest"),
      column<&SDirectory::dirSizes>(ScanVOXTags::DIR_SIZES, "space by size, as in `SSizeDist`"),
      column<&SDirectory::dirCounts>(ScanVOXTags::DIR_CNTS, "entries by size")};
  static constexpr RecordTable<SDirectory, FileAttributes> TABLE(
      ScanVOXTags::DIR, "A directory with much space: what lies directly in it, nothing from below.",
      COLUMNS);
  return TABLE;
}

void SDirectory::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void SDirectory::printData(GenericPrint& print, bool nested) const {
  if (nested) print.beginNode(ScanVOXTags::DIR);
  table().printData(print, *this);
  printOwnerAndGroup(print);
  if (nested) print.endNode(ScanVOXTags::DIR);
}

}  // namespace agent
