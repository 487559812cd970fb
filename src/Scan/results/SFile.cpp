#include "Scan/results/SFile.h"

namespace agent {

const RecordTable<SFile, FileAttributes>& SFile::table() {
  static constexpr Column<SFile> COLUMNS[] = {
      column<&SFile::sfFilesystemID>(ScanVOXTags::SFILE_FS_ID, "the file system"),
      column<&SFile::sfStatisticID>(ScanVOXTags::SFILE_STAT_ID, "the statistic"),
      column<&SFile::sfStatType>(
          ScanVOXTags::SFILE_STAT_TYPE,
          "which list: 0 largest, 1 least recently used, 2 wanting a backup, 3 largest and "
          "4 oldest whose owner is gone")};
  static constexpr RecordTable<SFile, FileAttributes> TABLE(ScanVOXTags::SFILE,
                                                            "A file of one of a statistic's lists.", COLUMNS);
  return TABLE;
}

const RecordTable<SFileCandidate, SFile>& SFileCandidate::table() {
  static constexpr Column<SFileCandidate> COLUMNS[] = {
      column<&SFileCandidate::sfHSMScore>(ScanVOXTags::SFILE_HSM_SCORE, "reserved")};
  static constexpr RecordTable<SFileCandidate, SFile> TABLE(
      ScanVOXTags::SFILE_CAND, "A file with a score. Reserved: only its columns are named.", COLUMNS);
  return TABLE;
}

void SFile::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void SFile::printData(GenericPrint& print, bool nested) const {
  if (nested) print.beginNode(ScanVOXTags::SFILE);
  table().printData(print, *this);
  printOwnerAndGroup(print);
  if (nested) print.endNode(ScanVOXTags::SFILE);
}

void SFileCandidate::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void SFileCandidate::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::SFILE_CAND);
  table().printData(print, *this);
  printOwnerAndGroup(print);
  print.endNode(ScanVOXTags::SFILE_CAND);
}

}  // namespace agent
