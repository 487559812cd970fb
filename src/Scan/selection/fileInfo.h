#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>

namespace agent {

/// Where the walk stands, as far as path tests need it. The walker implements it.
class WalkPosition {
 public:
  virtual ~WalkPosition() = default;

  /// Index of the directory being read; 0 is the root of the file system.
  virtual int32_t currentLevel() const = 0;

  /// Length in bytes of the path of the directory being read at `level`, from 0 to currentLevel(). The root's
  /// path carries a trailing slash, deeper ones don't.
  virtual size_t pathLengthAt(int32_t level) const = 0;
};

/// One directory entry as selections see it. Filled by the directory reader, read by the evaluators; lives as
/// long as the entry is the current one.
struct fileInfo {
  const WalkPosition* scanner = nullptr;
  int32_t type = 0;       ///< 1 file, 2 link, 3 directory, 4 FIFO, 5 socket, 6 device, 0 other
  int32_t now = 0;        ///< start of the scan, seconds since the epoch
  const char* path = "";  ///< full logical path, NUL-terminated, bytes of any value
  size_t pathLength = 0;
  struct stat stat = {};   ///< as lstat gave it, but st_mode is the portable attribute word (below),
                           ///< st_nlink is 1 for a directory, st_atime is never before st_mtime and
                           ///< st_blocks is 0 for types above 3
  const char* user = "";   ///< owner's name, NUL-terminated, at most 32 bytes
  const char* group = "";  ///< group's name, NUL-terminated, at most 16 bytes
};

// The portable attribute word. Its bits stand in result files and in compiled selections: never renumber.
inline constexpr uint32_t ATTRIBUTE_ARCHIVE = 0x20;    ///< wants a backup; never set on this platform
inline constexpr uint32_t ATTRIBUTE_ORPHAN = 0x20000;  ///< the owner is no user of the system
inline constexpr uint32_t ATTRIBUTE_BLOCK_DEVICE = 0x40000;
inline constexpr uint32_t ATTRIBUTE_EXECUTABLE = 0x80000;  ///< regular file with any execute bit
inline constexpr uint32_t ATTRIBUTE_STICKY = 0x100000;
inline constexpr uint32_t ATTRIBUTE_SET_GROUP_ID = 0x200000;
inline constexpr uint32_t ATTRIBUTE_SET_USER_ID = 0x400000;

}  // namespace agent
