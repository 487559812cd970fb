#include "Scan/results/SFile.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

Row SFile::headerRow() {
  Row row = FileAttributes::headerRow();
  row.insert(row.end(), {ScanVOXTags::SFILE_FS_ID, ScanVOXTags::SFILE_STAT_ID, ScanVOXTags::SFILE_STAT_TYPE});
  return row;
}

Row SFile::dataRow() const {
  Row row = FileAttributes::dataRow();
  row.insert(row.end(),
             {std::to_string(sfFilesystemID), std::to_string(sfStatisticID), std::to_string(sfStatType)});
  return row;
}

void SFile::printHeader(GenericPrint& print) {
  print.printHeader(headerRow());
}

void SFile::printData(GenericPrint& print, bool nested) const {
  if (nested) print.beginNode(ScanVOXTags::SFILE);
  print.printData(dataRow());
  printOwnerAndGroup(print);
  if (nested) print.endNode(ScanVOXTags::SFILE);
}

void SFileCandidate::printHeader(GenericPrint& print) {
  Row row = SFile::headerRow();
  row.push_back(ScanVOXTags::SFILE_HSM_SCORE);
  print.printHeader(row);
}

void SFileCandidate::printData(GenericPrint& print) const {
  Row row = SFile::dataRow();
  row.push_back(std::to_string(sfHSMScore));
  print.beginNode(ScanVOXTags::SFILE_CAND);
  print.printData(row);
  printOwnerAndGroup(print);
  print.endNode(ScanVOXTags::SFILE_CAND);
}

}  // namespace agent
