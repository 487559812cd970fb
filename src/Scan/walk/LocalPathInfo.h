#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace agent {

/// Ties the name that the server gave a file system to the place where this host has mounted it. Selections
/// and results see logical names, the system and messages see local ones.
class LocalPathInfo {
 public:
  /// @param logicalRoot path of the walk's root as the server spells it
  /// @param localPath mount point on this host
  LocalPathInfo(std::string_view logicalRoot, std::string localPath);

  /// The local name of a logical path.
  std::string localName(std::string_view path) const;

  /// Bytes that the local name takes, as limits count them: the two parts, with a doubled slash between them.
  size_t localLength(std::string_view path) const { return path.size() - trueLength_ + localPath_.size(); }

  /// Space that stat's name buffer loses where the logical prefix is the longer one, since both must fit.
  size_t reservedLength() const;

  const std::string& localPath() const { return localPath_; }
  size_t trueLength() const { return trueLength_; }

 private:
  size_t trueLength_;  // length of the logical prefix, without its trailing slash
  std::string localPath_;
};

}  // namespace agent
