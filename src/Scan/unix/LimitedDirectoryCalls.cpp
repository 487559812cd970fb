#include "Scan/unix/LimitedDirectoryCalls.h"

#include <fcntl.h>

#include <cerrno>

namespace agent {

namespace {

int resultOf(int error) {
  if (error == 0) return 0;
  errno = error;
  return -1;
}

}  // namespace

SharedDirectory LimitedDirectoryCalls::shared(int directory) const {
  const auto found = open_.find(directory);
  return found == open_.end() ? nullptr : found->second;  // AT_FDCWD: the name is a path of its own
}

int LimitedDirectoryCalls::openDirectory(int parent, const char* name) {
  SharedDirectory opened;
  const int error = openKeepingAccessTime(
      [&](int flags) { return limitedOpenDirectory(shared(parent), name, flags, seconds_, opened); });
  if (error != 0) return resultOf(error);
  const int descriptor = opened->get();
  open_[descriptor] = std::move(opened);
  return descriptor;
}

ssize_t LimitedDirectoryCalls::readEntries(int directory, void* buffer, size_t size) {
  size_t bytes = 0;
  const int error =
      limitedReadDirectory(shared(directory), static_cast<char*>(buffer), size, seconds_, bytes);
  return error == 0 ? static_cast<ssize_t>(bytes) : resultOf(error);
}

int LimitedDirectoryCalls::statEntry(int directory, const char* name, struct stat& status) {
  return resultOf(limitedStatAt(shared(directory), name, statFlags(name), seconds_, status));
}

void LimitedDirectoryCalls::closeDirectory(int directory) {
  open_.erase(directory);
}

}  // namespace agent
