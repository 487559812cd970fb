#pragma once

#include <cstdint>
#include <string>

#include <sys/stat.h>
#include <sys/statfs.h>

#include "QLMlib/common/unx/LimitedCalls.h"

namespace agent {

/// The operation's name for the trace, "unknown" for one that is none.
const char* operationName(int flag);

/// One request and its answer. It belongs to the thread that does it: nothing in it points to the caller.
struct StatRequest {
  int32_t flag = 0;     // the operation of zemNFSsyscalls
  int32_t arg = 0;      // not used
  int32_t errCode = 0;  // 0 or errno
  int32_t rc = 0;       // 0 or -1
  std::string path;
  struct statfs fileSystemStatus {};
  struct stat status {};
};

enum class Cancellation { DISABLED, DURING_CALL };

/// Does a request and notes its result and error. An operation that is none fails with EINVAL.
/// @param cancellation duringCall only on a thread of its own, with cancellation disabled and its type
///     asynchronous: it is enabled around the system call alone
void performRequest(StatRequest& request, Cancellation cancellation);

}  // namespace agent
