#include "Common/unix/psnautil.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

std::string withoutQuotes(const std::string& path) {
  const bool quoted = path.size() > 2 && path.front() == '"' && path.back() == '"';
  return quoted ? path.substr(1, path.size() - 2) : path;
}

/// mkdir(2) that is content with a directory of that name, however it came there: another job may be first.
bool makeDirectory(const std::string& path) {
  if (::mkdir(path.c_str(), 0777) == 0) return true;
  const int reason = errno;
  struct stat status;
  if (::stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return true;
    errno = ENOTDIR;
    return false;
  }
  errno = reason;
  return false;
}

}  // namespace

int psRemoveFile(const std::string& path) {
  return ::unlink(withoutQuotes(path).c_str());
}

bool psFileExist(const std::string& path) {
  const std::string cleanPath = withoutQuotes(path);
  struct stat status;
  const bool exists = ::stat(cleanPath.c_str(), &status) == 0;
  if (exists) {
    TRACE(TR_MAX, "File %s exists\n", cleanPath.c_str());
  } else {
    TRACE(TR_MAX, "Files %s does not exists\n", cleanPath.c_str());
  }
  return exists;
}

int psMkdir(const std::string& path) {
  const std::string cleanPath = withoutQuotes(path);
  // From the top down; a "/" that ends the path or follows another makes the same directory once more.
  for (size_t slash = cleanPath.find('/', 1); slash != std::string::npos;
       slash = cleanPath.find('/', slash + 1)) {
    if (!makeDirectory(cleanPath.substr(0, slash))) return -1;
  }
  return makeDirectory(cleanPath) ? 0 : -1;
}

}  // namespace agent
