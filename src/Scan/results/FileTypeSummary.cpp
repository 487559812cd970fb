#include "Scan/results/FileTypeSummary.h"

namespace agent {

const RecordTable<FileTypeSummary>& FileTypeSummary::table() {
  static constexpr Column<FileTypeSummary> COLUMNS[] = {
      column<&FileTypeSummary::profileID>(ScanVOXTags::FTP_SUMM_PROFILEID, "the statistic"),
      column<&FileTypeSummary::filesystemID>(ScanVOXTags::FTP_SUMM_FSID, "the file system"),
      column<&FileTypeSummary::fileCount>(ScanVOXTags::FTP_SUMM_FILE_CNT, "files of the type"),
      column<&FileTypeSummary::spaceUsed>(ScanVOXTags::FTP_SUMM_SPACE_USED,
                                          "their space, in units of 512 bytes")};
  static constexpr RecordTable<FileTypeSummary> TABLE(
      ScanVOXTags::FTP_SUMM, "Totals of files with one extension, which stands behind in a `FileType` node.",
      COLUMNS);
  return TABLE;
}

void FileTypeSummary::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void FileTypeSummary::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::FTP_SUMM);
  table().printData(print, *this);
  fileType.printData(print);
  print.endNode(ScanVOXTags::FTP_SUMM);
}

}  // namespace agent
