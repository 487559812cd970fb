#include "QLMlib/common/unx/StatRequest.h"

#include <cerrno>

#include <pthread.h>

#include "QLMlib/common/unx/SystemCalls.h"

namespace agent {
namespace {

/// The bare arguments of one call, taken out of the request before it may be cancelled.
struct CallArguments {
  const char* path;
  void* result;
};
using Call = int (*)(const CallArguments&);

/// Makes the call so that the thread can be cancelled inside it, asynchronously, for the kernel knows no
/// cancellation point there. Nothing in this function or in a Call may need unwinding, and no call that makes
/// a descriptor comes through here: it would be lost between the kernel and the request. AddressSanitizer
/// must not mark the stack here either, since nobody takes its marks away.
[[gnu::noinline, gnu::no_sanitize_address]] int callCancellably(Call call, const CallArguments& arguments) {
  int before;
  pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &before);
  const int rc = call(arguments);
  const int error = errno;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  errno = error;
  return rc;
}

int callStatfs(const CallArguments& a) {
  return sys.statfs(a.path, static_cast<struct statfs*>(a.result));
}
int callStat(const CallArguments& a) {
  return sys.stat(a.path, static_cast<struct stat*>(a.result));
}
int callLstat(const CallArguments& a) {
  return sys.lstat(a.path, static_cast<struct stat*>(a.result));
}

}  // namespace

const char* operationName(int flag) {
  switch (flag) {
    case NFS_STATFS:
      return "statfs";
    case NFS_STATVFS:
      return "statvfs";
    case NFS_STAT:
      return "stat";
    case NFS_LSTAT:
      return "lstat";
    default:
      return "unknown";
  }
}

[[gnu::no_sanitize_address]] void performRequest(StatRequest& request, Cancellation cancellation) {
  CallArguments arguments{.path = request.path.c_str(), .result = &request.status};
  Call call = nullptr;
  switch (request.flag) {
    case NFS_STATFS:
      call = callStatfs;
      arguments.result = &request.fileSystemStatus;
      break;
    case NFS_STAT:
      call = callStat;
      break;
    case NFS_LSTAT:
      call = callLstat;
      break;
    default:
      break;
  }

  errno = 0;
  int rc = -1;
  if (call == nullptr) {
    errno = EINVAL;
  } else {
    rc = cancellation == Cancellation::DURING_CALL ? callCancellably(call, arguments) : call(arguments);
  }
  request.errCode = rc < 0 ? errno : 0;
  request.rc = rc < 0 ? -1 : 0;
}

}  // namespace agent
