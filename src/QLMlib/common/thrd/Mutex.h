#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

#include <pthread.h>

namespace agent {

/// A mutex that knows its owner. Created by pkCreateMutex, used through the functions below only.
struct MutexDesc {
  pthread_mutex_t platform =
      PTHREAD_MUTEX_INITIALIZER;  // usable also where single-thread mode skipped its init
  // Written under the lock, read without it: a thread compares it only with its own identity, and only its
  // own writes can make that comparison true.
  std::atomic<pthread_t> owner{0};  // 0 when free
  int32_t count = 0;                // depth of recursive acquires
};

struct MutexDestroyer {
  void operator()(MutexDesc* mutex) const;
};
using MutexHandle = std::unique_ptr<MutexDesc, MutexDestroyer>;

// Results of lock calls.
inline constexpr int MUTEX_DEADLOCK = 936;  // the caller holds it already
inline constexpr int MUTEX_BUSY = 932;      // another thread holds it
inline constexpr int MUTEX_FAILED = 102;

/// @return a free mutex, or null
MutexHandle pkCreateMutex();

/// Plain form. A null record gives -1; all give 0 for success. A release by a thread that is not the owner
/// does nothing and gives 0.
int pkAcquireMutex(MutexDesc* mutex);
int pkTryMutex(MutexDesc* mutex);
int pkReleaseMutex(MutexDesc* mutex);

/// Recursive form: the owner may acquire again, and the last release frees. Not to be mixed with the plain
/// form on one mutex.
int pkAcquireMutexNested(MutexDesc* mutex);
int pkTryMutexNested(MutexDesc* mutex);
int pkReleaseMutexNested(MutexDesc* mutex);

/// True if the calling thread is the owner.
bool pkIsMutexOwner(const MutexDesc* mutex);

/// Frees the record, whatever the platform says. A null record gives 0.
int pkDestroyMutex(MutexDesc* mutex);

/// A flag that threads wait for. A wait never clears it: once signalled, later waits return at once.
struct ConditionDesc {
  std::atomic<int32_t> signalled{0};
  MutexHandle mutex;  // the waiting thread must own it, by pkAcquireMutex
  pthread_cond_t platform = PTHREAD_COND_INITIALIZER;
};

struct ConditionDestroyer {
  void operator()(ConditionDesc* condition) const;
};
using ConditionHandle = std::unique_ptr<ConditionDesc, ConditionDestroyer>;

/// @return null on failure
ConditionHandle pkCreateCondition();

/// Takes the condition's mutex, sets the flag and wakes one waiter.
int pkSignalCondition(ConditionDesc& condition);

/// Waits until the flag is set. @return 0; -1 if the caller doesn't own the mutex; the platform's failure
int pkWaitCondition(ConditionDesc& condition);

/// Waits once, for a wake-up or the limit on the monotonic clock, and doesn't look at the flag.
/// @return 0, ETIMEDOUT, or as pkWaitCondition
int pkTimedWaitCondition(ConditionDesc& condition, std::chrono::milliseconds limit);

/// The platform's mutex calls, each returning 0 or an error number. Tests replace them to refuse one.
struct MutexPlatform {
  int (*init)(pthread_mutex_t*);
  int (*lock)(pthread_mutex_t*);
  int (*tryLock)(pthread_mutex_t*);
  int (*unlock)(pthread_mutex_t*);
  int (*destroy)(pthread_mutex_t*);
};

/// Replaces the calls for the whole process; null brings the system's own back.
void setMutexPlatform(const MutexPlatform* platform);

}  // namespace agent
