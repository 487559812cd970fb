#include "Scan/walk/FileAttributes.h"

#include "Scan/identity/UserOrGroup.h"

namespace agent {

const RecordTable<FileAttributes>& FileAttributes::table() {
  static constexpr Column<FileAttributes> COLUMNS[] = {
      column<&FileAttributes::faType>(
          ScanVOXTags::FA_TYPE, "1 file, 2 symbolic link, 3 directory, 4 fifo, 5 socket, 6 device, 0 other"),
      column<&FileAttributes::faName>(ScanVOXTags::FA_NAME, "its full path, bytes"),
      column<&FileAttributes::faCreated>(ScanVOXTags::FA_CREATED, "never known here; 0"),
      column<&FileAttributes::faModified>(ScanVOXTags::FA_MODIFIED, "when its contents last changed"),
      column<&FileAttributes::faAccessed>(ScanVOXTags::FA_ACCESSED,
                                          "when it was last used; never before the last change"),
      column<&FileAttributes::faBlocks>(ScanVOXTags::FA_BLOCKS,
                                        "allocated units of 512 bytes; 0 for types above 3"),
      column<&FileAttributes::faLength>(ScanVOXTags::FA_LENGTH, "bytes"),
      column<&FileAttributes::faAttributes>(ScanVOXTags::FA_ATTRIBUTES,
                                            "the attribute word of `Scan/selection/fileInfo.h`, unsigned"),
      column<&FileAttributes::faLinkCount>(ScanVOXTags::FA_LINK_COUNT,
                                           "names that it has; 1 for a directory"),
      column<&FileAttributes::faInodeNumber>(ScanVOXTags::FA_INODE_NUM, "its number on its file system")};
  static constexpr RecordTable<FileAttributes> TABLE(ScanVOXTags::FA,
                                                     "An entry of a file system. No node of its own: what "
                                                     "`SFile`, `SFileCandidate`, `SDirectory` and `SMonDir` "
                                                     "begin with. Owner and group stand behind their rows, "
                                                     "in nodes `UserOrGroupUser` and `UserOrGroupGroup`.",
                                                     COLUMNS);
  return TABLE;
}

void FileAttributes::printOwnerAndGroup(GenericPrint& print) const {
  if (faOwner != nullptr) faOwner->printData(print, ScanVOXTags::UG_USER);
  if (faGroup != nullptr) faGroup->printData(print, ScanVOXTags::UG_GROUP);
}

}  // namespace agent
