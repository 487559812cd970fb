#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>

#include "QLMlib/common/unx/LimitedCalls.h"
#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent {

// The operations that a request may ask for: those of zemNFSsyscalls and three on directories.
inline constexpr int OP_OPEN_DIRECTORY = 4;
inline constexpr int OP_READ_DIRECTORY = 5;
inline constexpr int OP_STAT_AT = 6;

/// The operation's name for the trace, "unknown" for one that is none.
const char* operationName(int flag);

/// One request and its answer. It belongs to the thread that does it: nothing in it points to the caller.
struct StatRequest {
  int32_t flag = 0;     // the operation
  int32_t arg = 0;      // flags of openat and fstatat
  int32_t errCode = 0;  // 0 or errno
  int32_t rc = 0;       // 0 or -1
  std::string path;
  SharedDirectory directory;  // what `path` is relative to; null: a path of its own
  struct statfs fileSystemStatus {};
  struct stat status {};
  OwnedDescriptor opened;
  std::vector<char> entries;  // as large as the caller's buffer
  size_t entryBytes = 0;      // how much of it was filled

  int directoryDescriptor() const { return directory ? directory->get() : AT_FDCWD; }
};

enum class Cancellation { DISABLED, DURING_CALL };

/// Does a request and notes its result and error. An operation that is none fails with EINVAL.
/// @param cancellation duringCall only on a thread of its own, with cancellation disabled and its type
///     asynchronous: it is enabled around the system call alone
void performRequest(StatRequest& request, Cancellation cancellation);

}  // namespace agent
