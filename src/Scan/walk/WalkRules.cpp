#include "Scan/walk/WalkRules.h"

#include "Probe/Filesystem.h"

namespace agent {

namespace {

std::string rootPathOf(const Filesystem& filesystem) {
  // A cluster's file set has its root at "/" whatever it is mounted on.
  if (Filesystem::isCLFSFileset(filesystem.fsType)) return "/";
  const std::string& mountPoint = filesystem.fsMountPoint;
  return mountPoint.ends_with('/') ? mountPoint : mountPoint + '/';
}

/// The longest logical path whose local one takes at most `limit` bytes.
size_t longestOf(const LocalPathInfo& local, size_t limit) {
  const size_t longest = limit + local.trueLength();
  return longest > local.localPath().size() ? longest - local.localPath().size() : 0;
}

}  // namespace

WalkRules::WalkRules(const Filesystem& filesystem, const std::string& localPath)
    : rootPath_(rootPathOf(filesystem)),
      hidesQuickCopies_(Filesystem::isCLFSFileset(filesystem.fsType)),
      asksForSnapshots_(filesystem.fsType == Filesystem::MXFS) {
  if (localPath.empty()) return;
  localPath_.emplace(rootPath_, localPath);
  longestOpen_ = longestOf(*localPath_, MAX_OPEN_PATH);
  longestStat_ = longestOf(*localPath_, NAME_BUFFER - localPath_->reservedLength());
}

std::string WalkRules::localName(std::string_view path) const {
  return localPath_ ? localPath_->localName(path) : std::string(path);
}

}  // namespace agent
