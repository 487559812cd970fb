#include "Scan/results/FileTypeSummary.h"

#include <string>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

void FileTypeSummary::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::FTP_SUMM_PROFILEID, ScanVOXTags::FTP_SUMM_FSID,
                     ScanVOXTags::FTP_SUMM_FILE_CNT, ScanVOXTags::FTP_SUMM_SPACE_USED});
}

void FileTypeSummary::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::FTP_SUMM);
  print.printData({std::to_string(profileID), std::to_string(filesystemID), std::to_string(fileCount),
                   std::to_string(spaceUsed)});
  fileType.printData(print);
  print.endNode(ScanVOXTags::FTP_SUMM);
}

}  // namespace agent
