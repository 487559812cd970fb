#include "Scan/results/SSizeDist.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Scan/results/Counters.h"

namespace agent {

void SSizeDist::inititializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  const Row& row = theRow(refHeaderArray, refDataArray,
                          "ERROR: innerArray.size() != refHeaderArray.size(). VoxObjectCreationException "
                          "exception will be thrown.");
  szdSizes.fill(0);
  szdCounts.fill(0);
  for (size_t column = 0; column < row.size(); ++column) {
    const std::string& attribute = refHeaderArray[column];
    if (attribute == ScanVOXTags::SZD_FS_ID) {
      szdFilesystemID = toInt32(row[column]);
    } else if (attribute == ScanVOXTags::SZD_STAT_ID) {
      szdStatisticID = toInt32(row[column]);
    } else if (attribute == ScanVOXTags::SZD_SIZES) {
      szdSizes[0] = toInt64(row[column]);
    } else if (attribute == ScanVOXTags::SZD_COUNTS) {
      szdCounts[0] = toInt64(row[column]);
    }
  }
}

void SSizeDist::printHeader(GenericPrint& print) {
  print.printHeader(
      {ScanVOXTags::SZD_FS_ID, ScanVOXTags::SZD_STAT_ID, ScanVOXTags::SZD_SIZES, ScanVOXTags::SZD_COUNTS});
}

void SSizeDist::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::SZD);
  print.printData({std::to_string(szdFilesystemID), std::to_string(szdStatisticID), joinNumbers(szdSizes),
                   joinNumbers(szdCounts)});
  print.endNode(ScanVOXTags::SZD);
}

}  // namespace agent
