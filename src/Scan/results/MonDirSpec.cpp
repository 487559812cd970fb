#include "Scan/results/MonDirSpec.h"

namespace agent {

const RecordTable<MonDirSpec>& MonDirSpec::table() {
  static constexpr Column<MonDirSpec> COLUMNS[] = {
      column<&MonDirSpec::mdsID_>(ScanVOXTags::MDS_ID, "its id"),
      column<&MonDirSpec::mdsGroupID_>(ScanVOXTags::MDS_GROUP_ID, "carried through"),
      column<&MonDirSpec::mdsComputerID_>(ScanVOXTags::MDS_COMP_ID,
                                          "the computer or filer that it is for; below 1: any"),
      column<&MonDirSpec::mdsPath_>(ScanVOXTags::MDS_PATH, "the directory, or a pattern of directories"),
      column<&MonDirSpec::mdsMaskedPath_>(ScanVOXTags::MDS_MASKED_PATH, "carried through")};
  static constexpr RecordTable<MonDirSpec> TABLE(
      ScanVOXTags::MDS, "A directory to be monitored. In a result, with each that it has found.", COLUMNS);
  return TABLE;
}

void MonDirSpec::inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  for (const Row& row : refDataArray) {
    requireSameLength(refHeaderArray, row,
                      "ERROR: innerArray.size() != refHeaderArray.size(). VoxObjectCreationException will be "
                      "thrown.");
    table().read(*this, refHeaderArray, row);
  }
}

void MonDirSpec::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void MonDirSpec::printData(GenericPrint& print, bool nested) const {
  if (nested) print.beginNode(ScanVOXTags::MDS);
  table().printData(print, *this);
  if (nested) print.endNode(ScanVOXTags::MDS);
}

}  // namespace agent
