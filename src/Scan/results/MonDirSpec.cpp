#include "Scan/results/MonDirSpec.h"

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

void MonDirSpec::inititializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  for (const Row& row : refDataArray) {
    requireSameLength(refHeaderArray, row,
                      "ERROR: innerArray.size() != refHeaderArray.size(). VoxObjectCreationException will be "
                      "thrown.");
    for (size_t column = 0; column < row.size(); ++column) {
      const std::string& attribute = refHeaderArray[column];
      const std::string& cell = row[column];
      if (attribute == ScanVOXTags::MDS_ID) {
        mdsID_ = toInt32(cell);
      } else if (attribute == ScanVOXTags::MDS_GROUP_ID) {
        mdsGroupID_ = toInt32(cell);
      } else if (attribute == ScanVOXTags::MDS_COMP_ID) {
        mdsComputerID_ = toInt32(cell);
      } else if (attribute == ScanVOXTags::MDS_PATH) {
        mdsPath_ = cell;
      } else if (attribute == ScanVOXTags::MDS_MASKED_PATH) {
        if (cell == "Y" || cell == "y") mdsMaskedPath_ = true;
        if (cell == "N" || cell == "n") mdsMaskedPath_ = false;
      }
    }
  }
}

void MonDirSpec::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::MDS_ID, ScanVOXTags::MDS_GROUP_ID, ScanVOXTags::MDS_COMP_ID,
                     ScanVOXTags::MDS_PATH, ScanVOXTags::MDS_MASKED_PATH});
}

void MonDirSpec::printData(GenericPrint& print, bool nested) const {
  if (nested) print.beginNode(ScanVOXTags::MDS);
  print.printData({std::to_string(mdsID_), std::to_string(mdsGroupID_), std::to_string(mdsComputerID_),
                   mdsPath_.empty() ? ScanVOXTags::VOX_NULL : mdsPath_,
                   mdsMaskedPath_ ? ScanVOXTags::VOX_TRUE : ScanVOXTags::VOX_FALSE});
  if (nested) print.endNode(ScanVOXTags::MDS);
}

}  // namespace agent
