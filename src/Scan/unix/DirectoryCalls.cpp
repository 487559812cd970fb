#include "Scan/unix/DirectoryCalls.h"

#include "QLMlib/common/unx/SystemCalls.h"

namespace agent {

int DirectoryCalls::openDirectory(int parent, const char* name) {
  int descriptor = -1;
  const int error = openKeepingAccessTime([&](int flags) {
    descriptor = sys.openat(parent, name, flags);
    return descriptor >= 0 ? 0 : errno;
  });
  errno = error;
  return descriptor;
}

ssize_t DirectoryCalls::readEntries(int directory, void* buffer, size_t size) {
  return sys.getdents64(directory, buffer, size);
}

int DirectoryCalls::statEntry(int directory, const char* name, struct stat& status) {
  return sys.fstatat(directory, name, &status, statFlags(name));
}

void DirectoryCalls::closeDirectory(int directory) {
  sys.close(directory);
}

}  // namespace agent
