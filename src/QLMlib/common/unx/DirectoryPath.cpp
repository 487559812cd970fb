#include "QLMlib/common/unx/DirectoryPath.h"

#include <cerrno>

#include <sys/stat.h>

#include "QLMlib/common/unx/SystemCalls.h"

namespace agent {

int makeDirectoryPath(const std::string& directory) {
  if (directory.empty()) return ENOENT;

  for (size_t end = 0; end != std::string::npos;) {
    end = directory.find('/', end + 1);
    const std::string part = directory.substr(0, end);
    if (sys.mkdir(part.c_str(), 0755) == -1 && errno != EEXIST) {
      // A parent that is there may refuse the attempt itself (a read-only file system): only one that is
      // really missing is a failure.
      const int reason = errno;
      struct stat status;
      if (sys.stat(part.c_str(), &status) == -1 || !S_ISDIR(status.st_mode)) return reason;
    }
  }

  struct stat status;
  if (sys.stat(directory.c_str(), &status) == -1) return errno;
  return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

}  // namespace agent
