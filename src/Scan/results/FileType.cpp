#include "Scan/results/FileType.h"

#include <utility>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

FileType::FileType(std::string extension) : Object("FileType"), ftpFileExtension(std::move(extension)) {}

void FileType::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::FTP_ID, ScanVOXTags::FTP_FILE_EXT, ScanVOXTags::FTP_DESC});
}

void FileType::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::FTP);
  print.printData({std::to_string(fptID), ftpFileExtension.empty() ? ScanVOXTags::VOX_NULL : ftpFileExtension,
                   ftpDescription.empty() ? " " : ftpDescription});
  print.endNode(ScanVOXTags::FTP);
}

}  // namespace agent
