#include "Common/unix/psnautil.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "QLMlib/common/unx/DirectoryPath.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

std::string withoutQuotes(const std::string& path) {
  const bool quoted = path.size() > 2 && path.front() == '"' && path.back() == '"';
  return quoted ? path.substr(1, path.size() - 2) : path;
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
  const int error = makeDirectoryPath(withoutQuotes(path));
  if (error == 0) return 0;
  errno = error;
  return -1;
}

}  // namespace agent
