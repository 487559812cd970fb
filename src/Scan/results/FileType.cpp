#include "Scan/results/FileType.h"

#include <utility>

namespace agent {

FileType::FileType(std::string extension) : Object("FileType"), ftpFileExtension(std::move(extension)) {}

const RecordTable<FileType>& FileType::table() {
  static constexpr Column<FileType> COLUMNS[] = {
      column<&FileType::fptID>(ScanVOXTags::FTP_ID, "0; the letters of its name stand in this order"),
      column<&FileType::ftpFileExtension>(ScanVOXTags::FTP_FILE_EXT, "with its leading dot, in lower case"),
      column<&FileType::ftpDescription>(ScanVOXTags::FTP_DESC, "none: one blank").emptyAs(" ")};
  static constexpr RecordTable<FileType> TABLE(ScanVOXTags::FTP, "An extension, inside `FileTypeSummary`.",
                                               COLUMNS);
  return TABLE;
}

void FileType::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void FileType::printData(GenericPrint& print) const {
  table().printNode(print, *this);
}

}  // namespace agent
