#pragma once

#include <string>
#include <vector>

#include "Scan/selection/fileInfo.h"

namespace agent {

/// Bytes of a literal, NULs among them: BYTES("=Fa\0").
#define BYTES(literal) std::string(literal, sizeof(literal) - 1)

/// A four-byte value, the highest first.
inline std::string be32(uint32_t value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
          static_cast<char>(value)};
}

/// A walk that stands in one directory.
class FakeWalk : public WalkPosition {
 public:
  /// @param root with its trailing slash
  /// @param directories names of the directories below the root, down to the one being read
  FakeWalk(const std::string& root, const std::vector<std::string>& directories) {
    paths_.push_back(root);
    for (const std::string& directory : directories) {
      paths_.push_back((paths_.back().ends_with('/') ? paths_.back() : paths_.back() + "/") + directory);
    }
  }

  int32_t currentLevel() const override { return static_cast<int32_t>(paths_.size()) - 1; }
  size_t pathLengthAt(int32_t level) const override { return paths_.at(static_cast<size_t>(level)).size(); }

  const std::string& directory() const { return paths_.back(); }

 private:
  std::vector<std::string> paths_;
};

/// What a selection can look at besides the path.
struct EntryValues {
  int32_t type = 0;
  int64_t size = 0;    // bytes
  int64_t blocks = 0;  // of 512 bytes
  int64_t modified = 0, accessed = 0;
  std::string user = "root", group = "root";
  uint32_t attributes = 0;
  int32_t now = 0;
};

/// One entry. Keeps the texts that fileInfo points at.
class Entry {
 public:
  Entry(const std::string& root, const std::vector<std::string>& directories, const std::string& name,
        EntryValues given = {})
      : values(std::move(given)), walk_(root, directories) {
    path = walk_.directory();
    if (!path.ends_with('/')) path += '/';
    path += name;
  }

  const fileInfo& info() {
    info_ = {.scanner = &walk_,
             .type = values.type,
             .now = values.now,
             .path = path.c_str(),
             .pathLength = path.size(),
             .user = values.user.c_str(),
             .group = values.group.c_str()};
    info_.stat.st_mode = values.attributes;
    info_.stat.st_size = values.size;
    info_.stat.st_blocks = values.blocks;
    info_.stat.st_mtime = values.modified;
    info_.stat.st_atime = values.accessed;
    return info_;
  }

  EntryValues values;
  std::string path;

 private:
  FakeWalk walk_;
  fileInfo info_;
};

}  // namespace agent
