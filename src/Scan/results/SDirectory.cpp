#include "Scan/results/SDirectory.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Scan/results/Counters.h"

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

void SDirectory::printHeader(GenericPrint& print) {
  Row row = headerRow();
  row.insert(row.end(), {ScanVOXTags::DIR_FS_ID, ScanVOXTags::DIR_STAT_ID, ScanVOXTags::DIR_FILE_CNT,
                         ScanVOXTags::DIR_DIR_CNT, ScanVOXTags::DIR_TOTAL_SIZE, ScanVOXTags::DIR_LARGEST_SIZE,
                         ScanVOXTags::DIR_2ND_LARGEST_SIZE, ScanVOXTags::DIR_SIZES, ScanVOXTags::DIR_CNTS});
  print.printHeader(row);
}

void SDirectory::printData(GenericPrint& print, bool nested) const {
  Row row = dataRow();
  row.insert(row.end(),
             {std::to_string(dirFilesystemID), std::to_string(dirStatisticID), std::to_string(dirFileCount),
              std::to_string(dirDirectoryCount), std::to_string(dirTotalSize), std::to_string(dirLargestSize),
              std::to_string(dir2ndLargestSize), joinNumbers(dirSizes), joinNumbers(dirCounts)});
  if (nested) print.beginNode(ScanVOXTags::DIR);
  print.printData(row);
  printOwnerAndGroup(print);
  if (nested) print.endNode(ScanVOXTags::DIR);
}

}  // namespace agent
