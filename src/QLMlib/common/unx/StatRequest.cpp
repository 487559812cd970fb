#include "QLMlib/common/unx/StatRequest.h"

#include <cerrno>

#include <pthread.h>

#include "QLMlib/common/unx/SystemCalls.h"

namespace agent {
namespace {

/// The bare arguments of one call, taken out of the request before it may be cancelled.
struct CallArguments {
  int descriptor;
  const char* path;
  void* result;
  size_t size;
  int arg;
};
using Call = ssize_t (*)(const CallArguments&);

/// Makes the call so that the thread can be cancelled inside it, asynchronously, for the kernel knows no
/// cancellation point there. Nothing in this function or in a Call may need unwinding, and no call that makes
/// a descriptor comes through here: it would be lost between the kernel and the request.
[[gnu::noinline]] ssize_t callCancellably(Call call, const CallArguments& arguments) {
  int before;
  pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &before);
  const ssize_t rc = call(arguments);
  const int error = errno;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  errno = error;
  return rc;
}

ssize_t callStatfs(const CallArguments& a) {
  return sys.statfs(a.path, static_cast<struct statfs*>(a.result));
}
ssize_t callStat(const CallArguments& a) {
  return sys.stat(a.path, static_cast<struct stat*>(a.result));
}
ssize_t callLstat(const CallArguments& a) {
  return sys.lstat(a.path, static_cast<struct stat*>(a.result));
}
ssize_t callReadDirectory(const CallArguments& a) {
  return sys.getdents64(a.descriptor, a.result, a.size);
}
ssize_t callStatAt(const CallArguments& a) {
  return sys.fstatat(a.descriptor, a.path, static_cast<struct stat*>(a.result), a.arg);
}

ssize_t openDirectory(StatRequest& request) {
  request.opened =
      OwnedDescriptor(sys.openat(request.directoryDescriptor(), request.path.c_str(), request.arg));
  return request.opened ? 0 : -1;
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
    case OP_OPEN_DIRECTORY:
      return "openat";
    case OP_READ_DIRECTORY:
      return "getdents64";
    case OP_STAT_AT:
      return "fstatat";
    default:
      return "unknown";
  }
}

void performRequest(StatRequest& request, Cancellation cancellation) {
  CallArguments arguments{.descriptor = request.directoryDescriptor(),
                          .path = request.path.c_str(),
                          .result = &request.status,
                          .size = 0,
                          .arg = request.arg};
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
    case OP_READ_DIRECTORY:
      call = callReadDirectory;
      arguments.result = request.entries.data();
      arguments.size = request.entries.size();
      break;
    case OP_STAT_AT:
      call = callStatAt;
      break;
    default:
      break;
  }

  errno = 0;
  ssize_t rc = -1;
  if (request.flag == OP_OPEN_DIRECTORY) {
    rc = openDirectory(request);
  } else if (call == nullptr) {
    errno = EINVAL;
  } else {
    rc = cancellation == Cancellation::DURING_CALL ? callCancellably(call, arguments) : call(arguments);
  }
  request.errCode = rc < 0 ? errno : 0;
  request.rc = rc < 0 ? -1 : 0;
  request.entryBytes = request.flag == OP_READ_DIRECTORY && rc > 0 ? static_cast<size_t>(rc) : 0;
}

}  // namespace agent
