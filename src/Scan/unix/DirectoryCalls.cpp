#include "Scan/unix/DirectoryCalls.h"

#include <dirent.h>
#include <unistd.h>

namespace agent {

int DirectoryCalls::openDirectory(int parent, const char* name) {
  int descriptor = -1;
  const int error = openKeepingAccessTime([&](int flags) {
    descriptor = openat(parent, name, flags);
    return descriptor >= 0 ? 0 : errno;
  });
  errno = error;
  return descriptor;
}

ssize_t DirectoryCalls::readEntries(int directory, void* buffer, size_t size) {
  while (true) {
    const ssize_t count = getdents64(directory, buffer, size);
    if (count >= 0 || errno != EINTR) return count;
  }
}

int DirectoryCalls::statEntry(int directory, const char* name, struct stat& status) {
  return fstatat(directory, name, &status, statFlags(name));
}

void DirectoryCalls::closeDirectory(int directory) {
  ::close(directory);  // not repeated after EINTR: the descriptor is gone (close(2))
}

}  // namespace agent
