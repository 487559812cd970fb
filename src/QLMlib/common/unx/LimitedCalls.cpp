#include "QLMlib/common/unx/LimitedCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <pthread.h>

#include "QLMlib/common/thrd/Mutex.h"
#include "QLMlib/common/thrd/Thread.h"
#include "QLMlib/common/unx/StatRequest.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/unx/Tap.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

// The calls need little; a thousand hanging threads are not to reserve gigabytes.
constexpr size_t THREAD_STACK_SIZE = size_t{512} * 1024;

// ---- The thread ----

/// What caller and thread share. The caller closes its ends when it gives the thread up; the thread sees that
/// and ends, and with it goes whatever its late answer brought.
///
///     caller                              thread
///       request filled in                   (waits for a tap)
///       tap on pipe 0            ------->   does the request
///       (waits, with the limit)  <-------   tap on pipe 1
///       answer read                         (waits for a tap)
struct StatExchange {
  OwnedDescriptor requestWrite;  // the caller's ends
  OwnedDescriptor answerRead;
  OwnedDescriptor requestRead;  // the thread's ends
  OwnedDescriptor answerWrite;
  StatRequest request;  // the thread's between the two taps, the caller's otherwise
};

/// The state of the facility; under the mutex but for the mutex itself.
struct StatFacility {
  MutexHandle mutex;       // held from before the request until the answer has been read
  int32_t mutexState = 0;  // 1 once the mutex is there
  pthread_once_t once = PTHREAD_ONCE_INIT;
  bool threadExists = false;
  bool answerAwaited = false;  // a request is with the thread
  pthread_t thread{};
  std::shared_ptr<StatExchange> exchange;
};

StatFacility facility;

void StatFsThread(void* argument) {
  // Before anything else: a thread starts cancellable, and a trace must not be cut off with its lock held.
  int before = 0;
  int rc = pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  TRACE(TR_MAX, "StatFsThread: pthread_setcancelstate() returned %d (%d).\n", rc, before);
  rc = pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, &before);
  TRACE(TR_MAX, "StatFsThread: pthread_setcanceltype() returned %d (%d).\n", rc, before);

  const std::unique_ptr<std::shared_ptr<StatExchange>> owned(
      static_cast<std::shared_ptr<StatExchange>*>(argument));
  StatExchange& exchange = **owned;
  StatRequest& request = exchange.request;
  for (;;) {
    if (tryOnTap(exchange.requestRead.get(), TapDirection::RECEIVE, 0) != TAP_DONE) {
      TRACE(TR_MAX, "StatFsThread: tryOnTap() for RECEIVE failed.\n");  // the caller has closed its end
      return;
    }
    TRACE(TR_MAX, "StatFsThread: just got a tap for (%s)\n", request.path.c_str());
    performRequest(request, Cancellation::DURING_CALL);
    TRACE(TR_MAX, "StatFsThread: ready to send a tap back for (%s), rc(%d), errno(%d)\n",
          request.path.c_str(), request.rc, request.errCode);
    if (tryOnTap(exchange.answerWrite.get(), TapDirection::SEND, 0) != TAP_DONE) {
      TRACE(TR_MIN, "StatFsThread: tryOnTap() for SEND failed.\n");  // too late
      return;
    }
  }
}

bool openTapPipe(OwnedDescriptor& readEnd, OwnedDescriptor& writeEnd) {
  if (const int failure = openPipe(readEnd, writeEnd, O_NONBLOCK); failure != 0) {
    TRACE(TR_MIN, "CreateStatFsThread: unable to open communication, errno(%d)\n", failure);
    errno = failure;
    return false;
  }
  for (const int end : {readEnd.get(), writeEnd.get()}) {
    TRACE(TR_MAX, "CreateStatFsThread: opened fd = %d\n", end);
  }
  return true;
}

/// Starts the thread without signals: a late answer to a closed pipe must not raise SIGPIPE.
int startThread(std::shared_ptr<StatExchange>* argument) {
  ThreadDescriptor descriptor{
      .name = "StatFsThread", .function = StatFsThread, .argument = argument, .stackSize = THREAD_STACK_SIZE};
  const int rc = startThreadWithoutSignals(descriptor);
  facility.thread = descriptor.thread;
  return rc;
}

/// @return 0, or a failure with the reason in errno
int CreateStatFsThread() {
  auto exchange = std::make_shared<StatExchange>();
  if (!openTapPipe(exchange->requestRead, exchange->requestWrite) ||
      !openTapPipe(exchange->answerRead, exchange->answerWrite)) {
    return -1;
  }
  auto argument = std::make_unique<std::shared_ptr<StatExchange>>(exchange);
  const int rc = startThread(argument.get());
  if (rc != 0) {
    errno = rc > 0 ? rc : ENOMEM;
    TRACE(TR_MIN,
          "CreateStatFsThread: unable to start a stat-thread, rc(%d) errno(%d). Please, try not to use "
          "NFSTIMEOUT option.\n",
          rc, errno);
    return rc;
  }
  (void)argument.release();  // the thread's now
  facility.exchange = std::move(exchange);
  facility.threadExists = true;
  TRACE(TR_MAX, "CreateStatFsThread: a new stat-thread (%d) has been created successfully!\n",
        static_cast<int>(facility.thread));
  return 0;
}

/// Cancels the thread and leaves it: one that is idle sees its pipe closed and ends, one that hangs is
/// cancelled where the kernel allows it and otherwise ends when its call returns.
void cancelThread() {
  const auto number = static_cast<int>(facility.thread);
  TRACE(TR_MAX, "cleanUp: is canceling (%d) stat-thread...\n", number);
  const int rc = pthread_cancel(facility.thread);
  if (rc == 0) {
    TRACE(TR_MAX, "cleanUp: stat-thread(%d) has been cancelled by thread(%d) successfully.\n", number,
          static_cast<int>(pthread_self()));
  } else {
    TRACE(TR_MIN, "cleanUp: failed to cancel (%d) stat-thread, rc(%d).\n", number, rc);
  }
}

void closeEnd(OwnedDescriptor& end) {
  const int number = end.get();
  const int failure = end.close();
  if (failure == 0) {
    TRACE(TR_MAX, "cleanUp: close(%d) succeeded.\n", number);
  } else {
    TRACE(TR_MIN, "cleanUp: close(%d) failed, errno(%d)\n", number, failure);
  }
}

void cleanUp() {
  if (!facility.threadExists) return;
  facility.threadExists = false;
  cancelThread();
  closeEnd(facility.exchange->requestWrite);
  closeEnd(facility.exchange->answerRead);
  facility.exchange.reset();
  if (facility.answerAwaited) {
    pthread_detach(facility.thread);
  } else {
    pthread_join(facility.thread, nullptr);
  }
  facility.answerAwaited = false;
}

// ---- The caller's side ----

void init_pStatMutex() {
  setThreadMode(true);
  facility.mutex = pkCreateMutex();
  if (facility.mutex) {
    facility.mutexState = 1;
  } else {
    TRACE(TR_MIN, "init_pStatMutex: pkCreateMutex() failed!\n");
  }
}

void globals_cleanup_routine() {
  facility.mutex.reset();
  facility.mutexState = 0;
  facility.once = PTHREAD_ONCE_INIT;
}

bool initialized() {
  pthread_once(&facility.once, init_pStatMutex);
  if (facility.mutexState == 1) return true;
  TRACE(TR_MIN, "zemNFSsyscalls: internal data structures were not initialized properly.\n");
  TRACE(TR_MIN,
        "Please, restart QLM client process. If it doesn't help, try not to use NFSTIMEOUT option.\n");
  return false;
}

int orInvalid(int error) {
  return error == 0 ? EINVAL : error;
}

/// One tap with the caller's limit. @return 0 or errno; the thread is given up then
int tapWithLimit(int descriptor, TapDirection direction, unsigned seconds) {
  errno = 0;
  const int rc = tryOnTap(descriptor, direction, seconds);
  if (rc == TAP_DONE) return 0;
  const int error = orInvalid(errno);
  // The path goes with the exchange once the thread is given up.
  if (rc == TAP_TIMED_OUT) {
    TRACE(TR_MIN, "zemNFSsyscalls: stale mount point for (%s)\n", facility.exchange->request.path.c_str());
  } else {
    TRACE(TR_MIN, "zemNFSsyscalls: tryOnTap() failed, rc(%d), errno(%d)\n", rc, error);
  }
  cleanUp();
  return rc == TAP_TIMED_OUT ? ESTALE : error;
}

struct LimitedResult {
  int rc = 0;       // the operation's, or that of the failure
  int errCode = 0;  // 0 or errno
};

/// Sends one request and waits for its answer. The caller holds the mutex.
/// @param fill writes the request
/// @param take reads the answer of a successful one
template <typename Fill, typename Take>
LimitedResult exchangeRequest(unsigned seconds, Fill fill, Take take) {
  if (!facility.threadExists) {
    if (const int rc = CreateStatFsThread(); rc != 0) {
      const int error = errno;
      TRACE(TR_MIN, "zemNFSsyscalls: CreateStatFsThread() failed: rc(%d), errno(%d)\n", rc, error);
      cleanUp();
      return {rc, orInvalid(error)};
    }
  }
  StatRequest& request = facility.exchange->request;
  request.errCode = request.rc = 0;
  fill(request);

  facility.answerAwaited = true;
  int failure = tapWithLimit(facility.exchange->requestWrite.get(), TapDirection::SEND, seconds);
  if (failure != 0) return {-1, failure};
  failure = tapWithLimit(facility.exchange->answerRead.get(), TapDirection::RECEIVE, seconds);
  if (failure != 0) return {-1, failure};
  facility.answerAwaited = false;

  if (request.rc == 0) take(request);
  return {request.rc, request.errCode};
}

/// Has a request done by the thread.
template <typename Fill, typename Take>
LimitedResult callWithLimit(int seconds, Fill fill, Take take) {
  if (!initialized()) return {-1, EINVAL};
  MutexLock lock(facility.mutex);
  if (!lock.held()) return {-1, EINVAL};
  LimitedResult result = exchangeRequest(static_cast<unsigned>(seconds), fill, take);
  errno = 0;
  if (const int rc = lock.release(); rc != 0) {
    TRACE(TR_MIN, "zemNFSsyscalls: pkReleaseMutex() failed! rc(%d), errno(%d)\n", rc, errno);
    result = {-1, orInvalid(result.errCode)};
  }
  return result;
}

/// Copies the answer of an operation of zemNFSsyscalls.
LimitedResult takeStatus(const StatRequest& request, void* result) {
  switch (request.flag) {
    case NFS_STATFS:
      std::memcpy(result, &request.fileSystemStatus, sizeof request.fileSystemStatus);
      return {};
    case NFS_STAT:
    case NFS_LSTAT:
      std::memcpy(result, &request.status, sizeof request.status);
      return {};
    default:
      TRACE(TR_MIN, "zemNFSsyscalls: invalid flag(%d).\n", request.flag);
      return {-1, EINVAL};
  }
}

void convertStatus(const struct statfs& from, struct statvfs& to) {
  constexpr unsigned long FLAGS_ARE_VALID = 0x20;  // the kernel's own mark in f_flags
  to = {};
  to.f_bsize = static_cast<unsigned long>(from.f_bsize);
  to.f_frsize = static_cast<unsigned long>(from.f_frsize != 0 ? from.f_frsize : from.f_bsize);
  to.f_blocks = from.f_blocks;
  to.f_bfree = from.f_bfree;
  to.f_bavail = from.f_bavail;
  to.f_files = from.f_files;
  to.f_ffree = from.f_ffree;
  to.f_favail = from.f_ffree;
  to.f_flag = static_cast<unsigned long>(from.f_flags) & ~FLAGS_ARE_VALID;
  to.f_namemax = static_cast<unsigned long>(from.f_namelen);
  static_assert(sizeof to.f_fsid == sizeof from.f_fsid);
  std::memcpy(&to.f_fsid, &from.f_fsid, sizeof to.f_fsid);
}

}  // namespace

int zemNFSsyscalls(const char* path, int arg, void* result, int flag, int seconds, int* errCode) {
  if (TR_GENERAL || TR_FILEOPS || TR_FS || TR_FSPS) {
    traceWrite(__FILE__, __LINE__, "zemNFSsyscall %s for path %s\n", operationName(flag), path);
  }
  const auto fill = [=](StatRequest& request) {
    request.flag = flag;
    request.arg = arg;
    request.path = path;
  };
  LimitedResult outcome;
  if (seconds <= 0) {
    StatRequest request;
    fill(request);
    performRequest(request, Cancellation::DISABLED);
    outcome = request.rc == 0 ? takeStatus(request, result) : LimitedResult{request.rc, request.errCode};
  } else {
    outcome = callWithLimit(seconds, fill, [result](const StatRequest& r) { takeStatus(r, result); });
  }
  *errCode = outcome.errCode;
  TRACE(TR_MAX, "zemNFSsyscalls: returns(%d), errCode(%d).\n", outcome.rc, outcome.errCode);
  return outcome.rc;
}

int limitedStatvfs(const char* path, int seconds, struct statvfs& result) {
  struct statfs status {};
  int errCode = 0;
  if (zemNFSsyscalls(path, 0, &status, NFS_STATFS, seconds, &errCode) != 0) return errCode;
  convertStatus(status, result);
  return 0;
}

void virtStatCleanUp() {
  cleanUp();
  if (facility.mutexState == 1) globals_cleanup_routine();
}

}  // namespace agent
