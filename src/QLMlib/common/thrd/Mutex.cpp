#include "QLMlib/common/thrd/Mutex.h"

#include <cerrno>
#include <new>

#include <sched.h>
#include <time.h>

#include "QLMlib/common/thrd/Thread.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

bool skipsPlatform() {
  return bIsSingleThread || bInSignalExit;
}

int platformInit(MutexDesc* mutex) {
  return bIsSingleThread ? 0 : sys.pthread_mutex_init(&mutex->platform, nullptr);
}

int platformLock(MutexDesc* mutex) {
  if (skipsPlatform()) return 0;
  const int rc = sys.pthread_mutex_lock(&mutex->platform);
  if (rc == EDEADLK) return MUTEX_DEADLOCK;
  return rc == 0 ? 0 : MUTEX_FAILED;
}

int platformTry(MutexDesc* mutex) {
  if (skipsPlatform()) return 0;
  const int rc = sys.pthread_mutex_trylock(&mutex->platform);
  if (rc == EBUSY) return MUTEX_BUSY;
  return rc == 0 ? 0 : -1;
}

int platformUnlock(MutexDesc* mutex) {
  return skipsPlatform() ? 0 : sys.pthread_mutex_unlock(&mutex->platform);
}

int platformDestroy(MutexDesc* mutex) {
  return skipsPlatform() ? 0 : sys.pthread_mutex_destroy(&mutex->platform);
}

bool callerOwns(const MutexDesc* mutex) {
  return mutex->owner.load(std::memory_order_relaxed) == pthread_self();
}

void setOwner(MutexDesc* mutex, pthread_t owner) {
  mutex->owner.store(owner, std::memory_order_relaxed);
}

bool mayWait(const ConditionDesc& condition) {
  if (pkIsMutexOwner(condition.mutex.get())) return true;
  TRACE(TR_MIN, "Mutex not held on condition wait.\n");
  return false;
}

timespec monotonicDeadline(std::chrono::milliseconds limit) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto nanoseconds = std::chrono::nanoseconds(limit).count() + now.tv_nsec;
  now.tv_sec += static_cast<time_t>(nanoseconds / 1'000'000'000);
  now.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);
  return now;
}

}  // namespace

void MutexDestroyer::operator()(MutexDesc* mutex) const {
  pkDestroyMutex(mutex);
}

MutexHandle pkCreateMutex() {
  auto* mutex = new (std::nothrow) MutexDesc;
  const int rc = mutex == nullptr ? ENOMEM : platformInit(mutex);
  if (rc == 0) return MutexHandle(mutex);
  TRACE(TR_MIN, "Create Mutex failed: %d.\n", rc);
  delete mutex;
  return nullptr;
}

int pkAcquireMutex(MutexDesc* mutex) {
  const int rc = mutex == nullptr ? -1 : platformLock(mutex);
  if (rc != 0) {
    TRACE(TR_GENERAL, "Acquire Mutex failed: invalid mutex.\n");
    return rc;
  }
  setOwner(mutex, pthread_self());
  return 0;
}

int pkTryMutex(MutexDesc* mutex) {
  if (mutex == nullptr) return -1;
  const int rc = platformTry(mutex);
  if (rc == 0) setOwner(mutex, pthread_self());
  return rc;
}

int pkReleaseMutex(MutexDesc* mutex) {
  if (mutex == nullptr) return -1;
  if (!callerOwns(mutex)) return 0;
  setOwner(mutex, 0);
  const int rc = platformUnlock(mutex);
  if (rc != 0) TRACE(TR_MIN, "Release Mutex failed: %d.\n", rc);
  return rc;
}

int pkAcquireMutexNested(MutexDesc* mutex) {
  if (mutex == nullptr) return -1;
  if (callerOwns(mutex)) {
    ++mutex->count;
    return 0;
  }
  const int rc = platformLock(mutex);
  if (rc != 0) {
    TRACE(TR_MIN, "Acquire Mutex failed.\n");
    return rc;
  }
  mutex->count = 1;
  setOwner(mutex, pthread_self());
  return 0;
}

int pkTryMutexNested(MutexDesc* mutex) {
  if (mutex == nullptr) return -1;
  if (callerOwns(mutex)) {
    ++mutex->count;
    return 0;
  }
  const int rc = platformTry(mutex);
  if (rc == -1) TRACE(TR_MIN, "Try Mutex failed: .\n");
  if (rc != 0) return rc;
  mutex->count = 1;
  setOwner(mutex, pthread_self());
  return 0;
}

int pkReleaseMutexNested(MutexDesc* mutex) {
  if (mutex == nullptr) return -1;
  if (!callerOwns(mutex)) return 0;
  if (--mutex->count > 0) return 0;
  setOwner(mutex, 0);
  return platformUnlock(mutex);
}

bool pkIsMutexOwner(const MutexDesc* mutex) {
  if (mutex == nullptr) return false;
  if (callerOwns(mutex)) return true;
  const auto owner = static_cast<unsigned long>(mutex->owner.load(std::memory_order_relaxed));
  if (owner == 0) {
    TRACE(TR_THREAD, "Mutex held by no thread.\n");
  } else {
    TRACE(TR_THREAD, "Mutex held by thread %d (%x)\n", static_cast<int>(owner), static_cast<unsigned>(owner));
  }
  return false;
}

int pkDestroyMutex(MutexDesc* mutex) {
  if (mutex == nullptr) return 0;
  const int rc = platformDestroy(mutex);
  if (rc != 0) TRACE(TR_MIN, "Destroy Mutex failed: %d.\n", rc);
  delete mutex;
  return rc;
}

int MutexLock::release() {
  if (!held()) return 0;
  failure_ = MUTEX_FAILED;  // no longer held
  return form_ == MutexForm::PLAIN ? pkReleaseMutex(mutex_) : pkReleaseMutexNested(mutex_);
}

ConditionHandle pkCreateCondition() {
  ConditionHandle condition(new (std::nothrow) ConditionDesc);
  if (!condition) return nullptr;
  condition->mutex = pkCreateMutex();
  return condition->mutex ? std::move(condition) : nullptr;
}

int pkSignalCondition(ConditionDesc& condition) {
  if (const int rc = pkAcquireMutex(condition.mutex.get()); rc != 0) return rc;
  condition.signalled = 1;
  const int rc = skipsPlatform() ? 0 : pthread_cond_signal(&condition.platform);
  const int released = pkReleaseMutex(condition.mutex.get());
  return rc != 0 ? rc : released;
}

int pkWaitCondition(ConditionDesc& condition) {
  if (!mayWait(condition)) return -1;
  if (condition.signalled != 0 || skipsPlatform()) return 0;
  int rc = 0;
  while (rc == 0 && condition.signalled == 0) {
    rc = pthread_cond_wait(&condition.platform, &condition.mutex->platform);
  }
  setOwner(condition.mutex.get(), pthread_self());  // the wait gave the lock up
  return rc;
}

int pkTimedWaitCondition(ConditionDesc& condition, std::chrono::milliseconds limit) {
  if (!mayWait(condition)) return -1;
  if (skipsPlatform()) return 0;
  const timespec deadline = monotonicDeadline(limit);
  const int rc =
      pthread_cond_clockwait(&condition.platform, &condition.mutex->platform, CLOCK_MONOTONIC, &deadline);
  setOwner(condition.mutex.get(), pthread_self());  // the wait gave the lock up
  return rc;
}

void ConditionDestroyer::operator()(ConditionDesc* condition) const {
  if (condition == nullptr || bInSignalExit) return;
  condition->mutex.reset();
  while (pthread_cond_destroy(&condition->platform) == EBUSY) {
    pthread_cond_broadcast(&condition->platform);
    sched_yield();
  }
  delete condition;
}

}  // namespace agent
