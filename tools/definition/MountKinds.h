#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace agent::scandef {

/// Which kinds of file systems are mounted where, as the mount table tells it.
class MountKinds {
 public:
  struct Mount {
    std::string name;    ///< of the kind, as the table has it
    int16_t type = -1;   ///< what definitions have for it; -1 where they know no such kind
    std::string source;  ///< what is mounted, as "host:/export"
  };

  MountKinds() = default;

  /// What is mounted on this host now; nothing where its table can't be read.
  static MountKinds ofThisHost();

  /// @param type the kind's name in a mount table
  /// @param source what is mounted
  void add(const std::string& mountPoint, const std::string& type, const std::string& source = "");

  /// What is mounted there last; none where nothing is.
  /// @param path with or without slashes behind
  std::optional<Mount> at(const std::string& path) const;

  /// The mount point that a path lies on, by name; empty where none is known.
  std::string mountPointOf(const std::string& path) const;

 private:
  std::map<std::string, Mount> mounts_;  // by mount point, without a slash behind
};

}  // namespace agent::scandef
