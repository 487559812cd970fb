#include "common/RefusedCalls.h"

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace agent::test {

namespace {
RefusedCalls* refused = nullptr;
}

RefusedCalls::RefusedCalls() {
  refused = this;
}
RefusedCalls::~RefusedCalls() {
  refused = nullptr;
}

}  // namespace agent::test

extern "C" {
int __real_close(int descriptor);
int __real_lockf64(int descriptor, int command, off_t length);
ssize_t __real_pread64(int descriptor, void* bytes, size_t size, off_t position);
int __real_rename(const char* from, const char* to);
ssize_t __real_write(int descriptor, const void* bytes, size_t size);

int __wrap_close(int descriptor);
int __wrap_close(int descriptor) {
  const int result = __real_close(descriptor);
  if (agent::test::refused == nullptr || agent::test::refused->closeError == 0) return result;
  errno = agent::test::refused->closeError;
  return -1;
}

// What lockf is called where file sizes have 64 bits.
int __wrap_lockf64(int descriptor, int command, off_t length);
int __wrap_lockf64(int descriptor, int command, off_t length) {
  if (agent::test::refused != nullptr && agent::test::refused->beforeLock) {
    std::exchange(agent::test::refused->beforeLock, nullptr)();
  }
  return __real_lockf64(descriptor, command, length);
}

int __real_pidfd_open(pid_t pid, unsigned int flags);
int __wrap_pidfd_open(pid_t pid, unsigned int flags);
int __wrap_pidfd_open(pid_t pid, unsigned int flags) {
  if (agent::test::refused == nullptr || agent::test::refused->processDescriptors) {
    return __real_pidfd_open(pid, flags);
  }
  errno = ENOSYS;
  return -1;
}

ssize_t __wrap_pread64(int descriptor, void* bytes, size_t size, off_t position);
ssize_t __wrap_pread64(int descriptor, void* bytes, size_t size, off_t position) {
  const int64_t limit = agent::test::refused == nullptr ? -1 : agent::test::refused->unreadableFrom;
  if (limit < 0 || position < limit) return __real_pread64(descriptor, bytes, size, position);
  errno = EIO;
  return -1;
}

int __wrap_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
  if (agent::test::refused == nullptr || agent::test::refused->renameError == 0)
    return __real_rename(from, to);
  errno = agent::test::refused->renameError;
  return -1;
}

ssize_t __wrap_write(int descriptor, const void* bytes, size_t size);
ssize_t __wrap_write(int descriptor, const void* bytes, size_t size) {
  agent::test::RefusedCalls* calls = agent::test::refused;
  if (calls == nullptr) return __real_write(descriptor, bytes, size);
  ++calls->writes;
  if (calls->interruptions > 0) {
    --calls->interruptions;
    errno = EINTR;
    return -1;
  }
  if (calls->writeErrorAfter == 0) {
    errno = calls->writeError;
    return -1;
  }
  if (calls->writeErrorAfter > 0) --calls->writeErrorAfter;
  if (calls->longestWrite > 0) size = std::min(size, static_cast<size_t>(calls->longestWrite));
  return __real_write(descriptor, bytes, size);
}
}
