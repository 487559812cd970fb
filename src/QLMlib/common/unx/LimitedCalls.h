#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <sys/stat.h>
#include <sys/statvfs.h>

#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent {

// File-system calls with a time limit. A call into a hard-mounted NFS file system whose server is gone hangs
// in the kernel and can't be interrupted. With a limit in seconds above 0 a thread of its own does the call;
// when the limit passes, the caller gets ESTALE and goes on, and the thread is given up: it keeps its
// request, the path and the place for the answer, and ends when the kernel lets it go. The next call starts a
// new thread. With a limit of 0 or below the caller makes the call itself, at no cost.
//
// What hangs in the kernel is one thread and two descriptors for each call that was given up. All functions
// may be called from any thread; callers queue. The calls of a walk have their own way (Scan/ahead).

/// statvfs(3). The figures with a limit are those without.
int limitedStatvfs(const char* path, int seconds, struct statvfs& result);

// Operations of zemNFSsyscalls, with the type of their result.
inline constexpr int NFS_STATFS = 0;   // struct statfs
inline constexpr int NFS_STATVFS = 1;  // none: always fails with EINVAL
inline constexpr int NFS_STAT = 2;     // struct stat
inline constexpr int NFS_LSTAT = 3;    // struct stat

/// The same by the operation's number.
/// @param arg not used
/// @param result filled on success only
/// @return the operation's result, 0 for success; -1 when the limit passed or the thread failed
/// @param errCode 0, or errno as above
int zemNFSsyscalls(const char* path, int arg, void* result, int flag, int seconds, int* errCode);

/// Ends the thread and frees what the calls share; to be called when no call is under way. A later call
/// starts afresh.
void virtStatCleanUp();

}  // namespace agent
