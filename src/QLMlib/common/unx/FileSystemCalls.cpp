#include "QLMlib/common/unx/FileSystemCalls.h"

#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace agent {
namespace {

/// Makes a call again that a signal broke off.
template <typename Call>
auto again(Call call) {
  decltype(call()) rc;
  do {
    rc = call();
  } while (rc == -1 && errno == EINTR);
  return rc;
}

constexpr FileSystemCalls SYSTEM_CALLS{
    .statfs = [](const char* path,
                 struct statfs* result) { return again([=] { return ::statfs(path, result); }); },
    .stat = [](const char* path, struct stat* result) { return again([=] { return ::stat(path, result); }); },
    .lstat = [](const char* path,
                struct stat* result) { return again([=] { return ::lstat(path, result); }); },
    .openat = [](int directory, const char* name,
                 int flags) { return again([=] { return ::openat(directory, name, flags); }); },
    .getdents64 =
        [](int directory, void* buffer, size_t size) {
          // The C library has had a wrapper only since version 2.30.
          return again(
              [=] { return static_cast<ssize_t>(::syscall(SYS_getdents64, directory, buffer, size)); });
        },
    .fstatat = [](int directory, const char* name, struct stat* result,
                  int flags) { return again([=] { return ::fstatat(directory, name, result, flags); }); },
};

std::atomic<const FileSystemCalls*> calls{&SYSTEM_CALLS};

}  // namespace

const FileSystemCalls& fileSystemCalls() {
  return *calls.load(std::memory_order_relaxed);
}

const FileSystemCalls& systemFileSystemCalls() {
  return SYSTEM_CALLS;
}

void setFileSystemCalls(const FileSystemCalls* replacement) {
  calls = replacement == nullptr ? &SYSTEM_CALLS : replacement;
}

}  // namespace agent
