#pragma once

#include <cstdint>
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

/// One entry with all that a selection can look at. Keeps the texts that fileInfo points at.
class Entry {
 public:
  Entry(const std::string& root, const std::vector<std::string>& directories, const std::string& name)
      : walk_(root, directories),
        path_((walk_.directory().ends_with('/') ? walk_.directory() : walk_.directory() + "/") + name) {}

  Entry& type(int32_t value) {
    info_.type = value;
    return *this;
  }
  Entry& size(int64_t bytes) {
    info_.stat.st_size = bytes;
    return *this;
  }
  Entry& blocks(int64_t units) {
    info_.stat.st_blocks = units;
    return *this;
  }
  Entry& modified(int64_t seconds) {
    info_.stat.st_mtime = seconds;
    return *this;
  }
  Entry& accessed(int64_t seconds) {
    info_.stat.st_atime = seconds;
    return *this;
  }
  Entry& attributes(uint32_t word) {
    info_.stat.st_mode = word;
    return *this;
  }
  Entry& user(const std::string& name) {
    user_ = name;
    return *this;
  }
  Entry& group(const std::string& name) {
    group_ = name;
    return *this;
  }
  Entry& now(int32_t seconds) {
    info_.now = seconds;
    return *this;
  }
  Entry& path(const std::string& path) {
    path_ = path;
    return *this;
  }

  const std::string& fullPath() const { return path_; }

  const fileInfo& info() {
    info_.scanner = &walk_;
    info_.path = path_.c_str();
    info_.pathLength = path_.size();
    info_.user = user_.c_str();
    info_.group = group_.c_str();
    return info_;
  }

 private:
  FakeWalk walk_;
  std::string path_;
  std::string user_ = "root";
  std::string group_ = "root";
  fileInfo info_;
};

}  // namespace agent
