#include "Scan/results/SMonDir.h"

#include "Scan/results/MonDirSpec.h"

namespace agent {

void SMonDir::enterWith(const FileAttributes& entry, int32_t filesystemID) {
  static_cast<FileAttributes&>(*this) = entry;
  smFilesystemID = filesystemID;
}

const RecordTable<SMonDir, FileAttributes>& SMonDir::table() {
  static constexpr Column<SMonDir> COLUMNS[] = {
      column<&SMonDir::smFilesystemID>(ScanVOXTags::SM_FS_ID, "the file system"),
      column<&SMonDir::smDirectoryID>(ScanVOXTags::SM_DIR_ID, "for the server; 0"),
      column<&SMonDir::smNewDirectory>(ScanVOXTags::SM_NEW_DIR, "for the server; Y"),
      column<&SMonDir::smScanTime>(ScanVOXTags::SM_SCAN_TIME, "for the server; 0"),
      column<&SMonDir::smRemovedTime>(ScanVOXTags::SM_REMOVED_TIME, "for the server; 0")};
  static constexpr RecordTable<SMonDir, FileAttributes> TABLE(
      ScanVOXTags::SM,
      "A monitored directory that was met. Behind its row one `MonDirSpec` node holds the rows of all that "
      "name it.",
      COLUMNS);
  return TABLE;
}

void SMonDir::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void SMonDir::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::SM);
  table().printData(print, *this);
  print.beginNode(ScanVOXTags::MDS);
  for (const MonDirSpec* spec : smDirSpecs) spec->printData(print, false);
  print.endNode(ScanVOXTags::MDS);
  printOwnerAndGroup(print);
  print.endNode(ScanVOXTags::SM);
}

}  // namespace agent
