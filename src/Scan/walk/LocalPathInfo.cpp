#include "Scan/walk/LocalPathInfo.h"

#include <utility>

namespace agent {

LocalPathInfo::LocalPathInfo(std::string_view logicalRoot, std::string localPath)
    : trueLength_(logicalRoot.ends_with('/') ? logicalRoot.size() - 1 : logicalRoot.size()),
      localPath_(std::move(localPath)) {}

std::string LocalPathInfo::localName(std::string_view path) const {
  std::string_view tail = path.substr(trueLength_);
  // "/" as mount point in front of a tail that begins with a slash.
  if (localPath_.ends_with('/') && tail.starts_with('/')) tail.remove_prefix(1);
  // The root keeps its slash in logical names; a mount point is named without.
  if (tail == "/" && !localPath_.empty()) tail = {};
  std::string name = localPath_;
  name += tail;
  return name;
}

size_t LocalPathInfo::reservedLength() const {
  return trueLength_ > localPath_.size() ? trueLength_ - localPath_.size() : 0;
}

}  // namespace agent
