#pragma once

#include "Probe/Filesystem.h"
#include "Scan/identity/UberTable.h"
#include "Scan/unix/DirectoryReaderUnix.h"
#include "Scan/unix/ScannerUnix.h"
#include "Scan/unix/UnixUserTable.h"
#include "Scan/walk/FileAction.h"
#include "Scan/walk/FileAttributes.h"

namespace agent::test {

/// Stands in the place of a walk: the test makes up the entries and says when directories are entered and
/// left. The scanner is a real one that never starts; its scan time is therefore 0, so an entry's age in
/// seconds is minus its time.
class WalkStandIn {
 public:
  WalkStandIn() {
    filesystem.fsID = 11;
    filesystem.fsType = Filesystem::EXT4;
    filesystem.fsMountPoint = "/m/";
    filesystem.fsScanTime = 5000;
  }

  /// A regular file with one name.
  static FileAttributes file(const std::string& name, int64_t blocks) {
    FileAttributes entry;
    entry.faType = FileAttributes::REGULAR_FILE;
    entry.faName = name;
    entry.faBlocks = blocks;
    entry.faLinkCount = 1;
    return entry;
  }
  static FileAttributes ofType(int32_t type, const std::string& name, int64_t blocks) {
    FileAttributes entry = file(name, blocks);
    entry.faType = type;
    return entry;
  }
  static FileAttributes directory(const std::string& name, int64_t blocks = 0) {
    return ofType(FileAttributes::DIRECTORY, name, blocks);
  }

  Filesystem filesystem;
  DirectoryCalls calls;
  DirectoryReaderFactoryUnix factory{calls};
  UberTable owners;
  UnixUserTable users{owners};
  ScannerUnix scanner{{.filesystem = filesystem,
                       .actions = {},
                       .selections = {},
                       .userTable = users,
                       .factory = factory,
                       .rules = WalkRules(filesystem)},
                      calls};
};

}  // namespace agent::test
