#include "Scan/results/SMonDir.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Scan/results/MonDirSpec.h"

namespace agent {

void SMonDir::enterWith(const FileAttributes& entry, int32_t filesystemID) {
  static_cast<FileAttributes&>(*this) = entry;
  smFilesystemID = filesystemID;
}

void SMonDir::printHeader(GenericPrint& print) {
  Row row = headerRow();
  row.insert(row.end(), {ScanVOXTags::SM_FS_ID, ScanVOXTags::SM_DIR_ID, ScanVOXTags::SM_NEW_DIR,
                         ScanVOXTags::SM_SCAN_TIME, ScanVOXTags::SM_REMOVED_TIME});
  print.printHeader(row);
}

void SMonDir::printData(GenericPrint& print) const {
  Row row = dataRow();
  row.insert(row.end(), {std::to_string(smFilesystemID), std::to_string(smDirectoryID),
                         smNewDirectory ? ScanVOXTags::VOX_TRUE : ScanVOXTags::VOX_FALSE,
                         std::to_string(smScanTime), std::to_string(smRemovedTime)});
  print.beginNode(ScanVOXTags::SM);
  print.printData(row);
  print.beginNode(ScanVOXTags::MDS);
  for (const MonDirSpec* spec : smDirSpecs) spec->printData(print, false);
  print.endNode(ScanVOXTags::MDS);
  printOwnerAndGroup(print);
  print.endNode(ScanVOXTags::SM);
}

}  // namespace agent
