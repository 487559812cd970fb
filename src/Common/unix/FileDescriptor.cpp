#include "Common/unix/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace agent {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = other.release();
  }
  return *this;
}

FileDescriptor FileDescriptor::open(const std::string& path, int flags, mode_t mode) {
  int descriptor;
  do {
    descriptor = ::open(path.c_str(), flags | O_CLOEXEC, mode);
  } while (descriptor < 0 && errno == EINTR);
  return FileDescriptor(descriptor);
}

bool FileDescriptor::writeAll(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

ssize_t FileDescriptor::read(void* buffer, size_t size) const {
  ssize_t count;
  do {
    count = ::read(descriptor_, buffer, size);
  } while (count < 0 && errno == EINTR);
  return count;
}

bool FileDescriptor::readAll(std::string& text) const {
  char buffer[16384];
  for (;;) {
    const ssize_t count = read(buffer, sizeof buffer);
    if (count == 0) return true;
    if (count < 0) return false;
    text.append(buffer, static_cast<size_t>(count));
  }
}

bool FileDescriptor::close() {
  if (descriptor_ < 0) return true;
  return ::close(release()) == 0;
}

}  // namespace agent
