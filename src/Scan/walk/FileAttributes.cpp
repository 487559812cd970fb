#include "Scan/walk/FileAttributes.h"

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Scan/identity/UserOrGroup.h"

namespace agent {

Row FileAttributes::headerRow() {
  return {ScanVOXTags::FA_TYPE,     ScanVOXTags::FA_NAME,       ScanVOXTags::FA_CREATED,
          ScanVOXTags::FA_MODIFIED, ScanVOXTags::FA_ACCESSED,   ScanVOXTags::FA_BLOCKS,
          ScanVOXTags::FA_LENGTH,   ScanVOXTags::FA_ATTRIBUTES, ScanVOXTags::FA_LINK_COUNT,
          ScanVOXTags::FA_INODE_NUM};
}

Row FileAttributes::dataRow() const {
  return {std::to_string(faType),      faName.empty() ? ScanVOXTags::VOX_NULL : faName,
          std::to_string(faCreated),   std::to_string(faModified),
          std::to_string(faAccessed),  std::to_string(faBlocks),
          std::to_string(faLength),    std::to_string(faAttributes),
          std::to_string(faLinkCount), std::to_string(faInodeNumber)};
}

void FileAttributes::printOwnerAndGroup(GenericPrint& print) const {
  if (faOwner != nullptr) faOwner->printData(print, ScanVOXTags::UG_USER);
  if (faGroup != nullptr) faGroup->printData(print, ScanVOXTags::UG_GROUP);
}

}  // namespace agent
