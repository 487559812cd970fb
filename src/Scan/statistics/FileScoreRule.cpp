#include "Scan/statistics/FileScoreRule.h"

namespace agent {

FileScoreRule::FileScoreRule() : EntityToObjectMapper("FileScoreRule"), rule_(ScanVOXTags::VOX_NULL) {}

const RecordTable<FileScoreRule>& FileScoreRule::table() {
  static constexpr Column<FileScoreRule> COLUMNS[] = {
      column<&FileScoreRule::type_>(ScanVOXTags::FSR_CTYPE, "reserved"),
      column<&FileScoreRule::operator_>(ScanVOXTags::FSR_COPERATOR, "reserved"),
      column<&FileScoreRule::rule_>(ScanVOXTags::FSR_CRULE, "reserved"),
      column<&FileScoreRule::score_>(ScanVOXTags::FSR_CSCORE, "reserved")};
  static constexpr RecordTable<FileScoreRule> TABLE(
      ScanVOXTags::FSR, "A rule of a scoring policy. Reserved: only its columns are named.", COLUMNS);
  return TABLE;
}

void FileScoreRule::inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  table().read(*this, refHeaderArray,
               theRow(refHeaderArray, refDataArray,
                      "ERROR: innerArray.size() != refHeaderArray.size(). VoxObjectCreationException "
                      "exception will be thrown."));
}

void FileScoreRule::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void FileScoreRule::printData(GenericPrint& print) const {
  table().printNode(print, *this);
}

}  // namespace agent
