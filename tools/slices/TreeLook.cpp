#include "slices/TreeLook.h"

#include <sys/stat.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "Common/unix/psmsgutil.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "Scan/walk/WalkRules.h"
#include "definition/ScandefOptions.h"
#include "definition/ScandefPatterns.h"

namespace agent::scandef {

namespace {

namespace files = std::filesystem;

constexpr size_t MOST_DIRECTORIES = 4000;  // that are read

/// What definitions and lines of text can't hold, and what patterns take for a slash.
bool isUnspeakable(std::string_view name) {
  return name.find_first_of(std::string_view("\n\r\\", 3)) != std::string_view::npos;
}

/// Reads one directory.
/// @param path without a slash behind
/// @return its entries
double readDirectory(const MountPoint& filesystem, const std::string& path,
                     std::deque<std::string>& subdirectories) {
  double entries = 0;
  std::error_code error;
  for (files::directory_iterator entry(localPathOf(filesystem, path), error), end; !error && entry != end;
       entry.increment(error)) {
    ++entries;
    std::error_code none;
    const std::string name = entry->path().filename().string();
    if (entry->symlink_status(none).type() != files::file_type::directory || isUnspeakable(name)) continue;
    subdirectories.push_back(path);
    subdirectories.back().append("/").append(name);
  }
  return entries;
}

/// Every directory from the file system's own to this one, without links between: a mount by the name would
/// go elsewhere.
std::string whyNotMounted(const MountPoint& filesystem, const std::string& path) {
  struct stat root = {};
  const std::string own = withoutSlash(filesystem.path);
  if (sys.lstat((localPathOf(filesystem, own) + "/").c_str(), &root) != 0)
    return "its file system can't be looked at: " + getSystemErrorMessage();
  for (size_t slash = own.size(); slash != std::string::npos;) {
    slash = path.find('/', slash + 1);
    struct stat status = {};
    const std::string local = localPathOf(filesystem, path.substr(0, slash));
    if (sys.lstat(local.c_str(), &status) != 0)
      return shown(local) + " can't be looked at: " + getSystemErrorMessage();
    if (!S_ISDIR(status.st_mode)) return shown(local) + " is no directory";
    if (status.st_dev != root.st_dev) return shown(local) + " is another file system";
  }
  return {};
}

/// A walk passes over a directory directly below its root whose path has the name of a file system's copies.
std::string whySnapshot(const MountPoint& filesystem, const std::string& path) {
  if (WalkRules::isSnapshot(path)) return "its name is that of a file system's own copies";
  std::deque<std::string> below;
  readDirectory(filesystem, path, below);
  const auto copy = std::find_if(below.begin(), below.end(), WalkRules::isSnapshot);
  return copy == below.end() ? std::string() : shown(*copy) + " has the name of a file system's own copies";
}

/// A monitored directory has to come whole out of one walk, which the job finds by the beginning of its path.
std::string whyMonitored(const Definition& definition, const std::string& path) {
  for (const MonitoredDirectory& monitored : definition.directories) {
    const std::string directory = withoutSlash(monitored.path);
    const bool liesInside = directory == path || directory.starts_with(path + "/");
    if (liesInside && monitoringOf(directory, path) == Monitoring::FOUND) continue;
    if (liesInside || reachOf(directory, path) != Reach::ELSEWHERE)
      return "it may hold only a part of what " + shown(monitored.path) + " monitors";
    // One of the directories above it.
    for (std::string above = parentOf(path); above.size() > 1; above = parentOf(above)) {
      if (reachOf(directory, above) == Reach::ITSELF)
        return "it is a part of what " + shown(monitored.path) + " monitors";
    }
  }
  return {};
}

}  // namespace

std::string withoutSlash(const std::string& path) {
  return path.substr(0, path.find_last_not_of('/') + 1);
}

std::string directoryPath(const std::string& path) {
  const std::string directory = withoutSlash(path);
  return directory.empty() ? "/" : directory;
}

std::string parentOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

std::string localPathOf(const MountPoint& filesystem, const std::string& path) {
  return withoutSlash(filesystem.localPath()) + path.substr(withoutSlash(filesystem.path).size());
}

void addLook(const MountPoint& filesystem, Weights& weights) {
  std::deque<std::string> waiting = {withoutSlash(filesystem.path)};
  double entries = 0, read = 0;
  struct stat root = {}, status = {};
  if (sys.lstat((localPathOf(filesystem, waiting.front()) + "/").c_str(), &root) != 0) return;
  while (!waiting.empty() && read < MOST_DIRECTORIES) {
    const std::string path = waiting.front();
    waiting.pop_front();
    // Other file systems are no part of the walk.
    const bool isThere = sys.lstat((localPathOf(filesystem, path) + "/").c_str(), &status) == 0;
    if (!isThere || status.st_dev != root.st_dev) continue;
    ++read;
    const double own = readDirectory(filesystem, path, waiting);
    double& known = weights[directoryPath(path)];
    known = std::max(known, own);
    entries += own;
  }
  for (const std::string& path : waiting) {
    double& known = weights[path];
    known = std::max(known, entries / read);
  }
}

std::string whyNoSlice(const Definition& definition, const MountPoint& filesystem, const std::string& path) {
  if (isUnspeakable(path)) return "there is a line end or a backslash in its name";
  if (files::path(path).lexically_normal() != path) return "no path goes by \".\", \"..\" or two slashes";
  std::string reason = whyMonitored(definition, path);
  if (reason.empty()) reason = whyNotMounted(filesystem, path);
  if (reason.empty()) reason = whySnapshot(filesystem, path);
  return reason;
}

}  // namespace agent::scandef
