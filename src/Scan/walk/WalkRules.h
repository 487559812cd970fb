#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "Scan/walk/LocalPathInfo.h"

namespace agent {

class Filesystem;

/// What of a tree the walk stats, opens and goes down into, as far as names, lengths and levels decide it.
/// The walk asks these rules, and whoever reads ahead of it asks the same ones: so that nothing is touched
/// that the walk would not touch.
class WalkRules {
 public:
  /// Deepest stack of directories; entries below it are counted, their content isn't.
  static constexpr int32_t MAX_COMPONENTS = 200;
  /// Longest path that a directory is opened by, in bytes.
  static constexpr size_t MAX_OPEN_PATH = 4098;
  /// Space of a name that is stat'ed, in bytes.
  static constexpr size_t NAME_BUFFER = 4096;
  /// A directory directly below the root whose path contains this is a file system's own copy: not walked.
  static constexpr std::string_view snapshotDir = ".snapshot";

  /// @param localPath where the file system is mounted on this host; "" where that needs no telling
  explicit WalkRules(const Filesystem& filesystem, const std::string& localPath = "");

  const LocalPathInfo* localPath() const { return localPath_ ? &*localPath_ : nullptr; }

  /// The name under which this host has what a logical path names.
  std::string localName(std::string_view path) const;

  /// Logical path of the root, with its trailing slash.
  const std::string& rootPath() const { return rootPath_; }

  /// True for a name in a directory that is no entry of the tree.
  bool isNoEntry(std::string_view name) const {
    return name == "." || name == ".." || (hidesQuickCopies_ && name == ".quickcopy");
  }
  /// Whether an entry's logical path, by its length in bytes, leaves its names the space that stat has.
  bool fitsStat(size_t pathLength) const { return pathLength <= longestStat_; }
  /// Whether a directory may be opened by its path's length.
  bool fitsOpen(size_t pathLength) const { return pathLength <= longestOpen_; }
  /// Whether there is room for a directory below one at this level; the root's level is 0.
  static bool hasRoomBelow(int32_t level) { return level < MAX_COMPONENTS - 1; }

  /// A directory of this path, directly below the root, is a copy that the file system itself keeps.
  static bool isSnapshot(std::string_view path) { return path.find(snapshotDir) != std::string::npos; }
  /// The file system has a tool that tells where its copies are: until it was asked, any directory directly
  /// below the root may be one.
  bool asksForSnapshots() const { return asksForSnapshots_; }

 private:
  std::string rootPath_;
  bool hidesQuickCopies_;
  bool asksForSnapshots_;
  std::optional<LocalPathInfo> localPath_;
  size_t longestOpen_ = MAX_OPEN_PATH;
  size_t longestStat_ = std::numeric_limits<size_t>::max();  // only a local name is built in a buffer
};

}  // namespace agent
