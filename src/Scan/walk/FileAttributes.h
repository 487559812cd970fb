#pragma once

#include <cstdint>
#include <string>

#include "Common/Object.h"
#include "Common/RecordTable.h"

namespace agent {

class UserOrGroup;

/// One directory entry as actions see it. The walk refills one record for each entry; whoever keeps an entry
/// copies it.
class FileAttributes : public Object {
 public:
  // Types of entries, as `faType` holds them. They stand in result files.
  static constexpr int32_t OTHER = 0;
  static constexpr int32_t REGULAR_FILE = 1;
  static constexpr int32_t SYMBOLIC_LINK = 2;
  static constexpr int32_t DIRECTORY = 3;
  static constexpr int32_t FIFO = 4;
  static constexpr int32_t SOCKET = 5;
  static constexpr int32_t DEVICE = 6;
  static constexpr int32_t ENTRY_OTHER_DEVICE = 7;  ///< the walker passes the entry over; never in a file

  FileAttributes() : Object("FileAttributes") {}

  /// True for what a file count counts: regular files and symbolic links.
  bool isFileOrLink() const { return faType == REGULAR_FILE || faType == SYMBOLIC_LINK; }

  /// The columns that records that extend this one begin with.
  static const RecordTable<FileAttributes>& table();
  /// Writes the nodes of owner and group, as far as they are known.
  void printOwnerAndGroup(GenericPrint& print) const;

  int64_t faCreated = 0;      ///< never known on this platform; the inode's change time is no creation time
  int64_t faModified = 0;     ///< milliseconds since the epoch
  int64_t faAccessed = 0;     ///< milliseconds since the epoch, never before faModified
  int64_t faBlocks = 0;       ///< allocated size in units of 512 bytes; 0 for types above 3
  int64_t faLength = 0;       ///< bytes
  uint32_t faAttributes = 0;  ///< the portable attribute word (Scan/selection/fileInfo.h)
  int32_t faType = 0;
  std::string faName;                    ///< logical full path, no trailing slash but for the root
  const UserOrGroup* faOwner = nullptr;  ///< borrowed from the scan's user table
  const UserOrGroup* faGroup = nullptr;  ///< borrowed from the scan's user table
  int32_t faLinkCount = 0;               ///< 1 for a directory
  int64_t faInodeNumber = 0;

 protected:
  FileAttributes(const FileAttributes& entry, const char* className) : FileAttributes(entry) {
    static_cast<Object&>(*this) = Object(className);
  }
};

}  // namespace agent
