#include "QLMlib/common/unx/OwnedDescriptor.h"

#include <cerrno>

#include <fcntl.h>

#include "QLMlib/common/unx/SystemCalls.h"

namespace agent {

OwnedDescriptor& OwnedDescriptor::operator=(OwnedDescriptor&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
  }
  return *this;
}

int OwnedDescriptor::close() {
  if (descriptor_ == -1) return 0;
  return sys.close(std::exchange(descriptor_, -1)) == 0 ? 0 : errno;
}

OwnedDescriptor openFile(const char* path, int flags, mode_t mode) {
  return OwnedDescriptor(sys.open(path, flags | O_CLOEXEC, mode));
}

int openPipe(OwnedDescriptor& readEnd, OwnedDescriptor& writeEnd, int flags) {
  int ends[2];
  if (sys.pipe2(ends, O_CLOEXEC | flags) == -1) return errno;
  readEnd = OwnedDescriptor(ends[0]);
  writeEnd = OwnedDescriptor(ends[1]);
  return 0;
}

int writeAll(int descriptor, std::string_view bytes, off_t position) {
  while (!bytes.empty()) {
    const ssize_t written = position == -1 ? sys.write(descriptor, bytes.data(), bytes.size())
                                           : sys.pwrite(descriptor, bytes.data(), bytes.size(), position);
    if (written == -1) return errno;
    if (written == 0) return ENOSPC;  // no progress and no reason: end it rather than spin
    bytes.remove_prefix(static_cast<size_t>(written));
    if (position != -1) position += written;
  }
  return 0;
}

std::string workingCopyOf(const std::string& path) {
  return path + ".tmp";
}

ssize_t readAt(int descriptor, char* buffer, size_t size, off_t position) {
  size_t done = 0;
  while (done < size) {
    const ssize_t got =
        sys.pread(descriptor, buffer + done, size - done, position + static_cast<off_t>(done));
    if (got == -1) return -1;
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

std::string beginningOf(const std::string& path) {
  const OwnedDescriptor file = openFile(path.c_str(), O_RDONLY);
  if (!file) return {};
  std::string content(4096, '\0');
  const ssize_t got = readAt(file.get(), content.data(), content.size(), 0);
  content.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return content;
}

std::string_view firstWord(std::string_view text) {
  return text.substr(0, text.find_first_of(" \n"));
}

}  // namespace agent
