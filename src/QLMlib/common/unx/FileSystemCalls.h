#pragma once

#include <cstddef>

#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/types.h>

namespace agent {

/// The system calls that a dead mount can hang. Each behaves as its manual page says. Tests replace them to
/// hang, refuse or answer late.
struct FileSystemCalls {
  int (*statfs)(const char* path, struct statfs* result);
  int (*stat)(const char* path, struct stat* result);
  int (*lstat)(const char* path, struct stat* result);
  int (*openat)(int directory, const char* name, int flags);
  ssize_t (*getdents64)(int directory, void* buffer, size_t size);
  int (*fstatat)(int directory, const char* name, struct stat* result, int flags);
};

/// The calls in use.
const FileSystemCalls& fileSystemCalls();

/// The system's own calls.
const FileSystemCalls& systemFileSystemCalls();

/// Replaces the calls for the whole process; null brings the system's own back. `calls` must outlive every
/// thread that may still hang in one of them.
void setFileSystemCalls(const FileSystemCalls* calls);

}  // namespace agent
