#include "Scan/statistics/FileScoreRule.h"

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

FileScoreRule::FileScoreRule() : EntityToObjectMapper("FileScoreRule"), rule_(ScanVOXTags::VOX_NULL) {}

void FileScoreRule::inititializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  const Row& row = theRow(refHeaderArray, refDataArray,
                          "ERROR: innerArray.size() != refHeaderArray.size(). VoxObjectCreationException "
                          "exception will be thrown.");
  for (size_t column = 0; column < row.size(); ++column) {
    const std::string& attribute = refHeaderArray[column];
    if (attribute == ScanVOXTags::FSR_CTYPE) {
      type_ = toInt16(row[column]);
    } else if (attribute == ScanVOXTags::FSR_COPERATOR) {
      operator_ = toInt16(row[column]);
    } else if (attribute == ScanVOXTags::FSR_CRULE) {
      rule_ = row[column];
    } else if (attribute == ScanVOXTags::FSR_CSCORE) {
      score_ = toInt16(row[column]);
    }
  }
}

void FileScoreRule::printHeader(GenericPrint& print) {
  print.printHeader(
      {ScanVOXTags::FSR_CTYPE, ScanVOXTags::FSR_COPERATOR, ScanVOXTags::FSR_CRULE, ScanVOXTags::FSR_CSCORE});
}

void FileScoreRule::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::FSR);
  print.printData({std::to_string(type_), std::to_string(operator_),
                   rule_.empty() ? ScanVOXTags::VOX_NULL : rule_, std::to_string(score_)});
  print.endNode(ScanVOXTags::FSR);
}

}  // namespace agent
