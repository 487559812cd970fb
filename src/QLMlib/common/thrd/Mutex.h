#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

#include <pthread.h>

namespace agent {

/// A mutex that knows its owner. Created by pkCreateMutex, used through MutexLock and the functions below
/// only: all locking of the runtime goes this way, and costs a test while the process has one thread
/// (Thread.h). What two kinds of threads share with conditions to wait for again and again, the order of
/// reading ahead alone (Scan/ahead), has a std::mutex and std::condition_variables of its own.
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

/// The form of acquire and release that a mutex is used with.
enum class MutexForm { PLAIN, NESTED };

/// Holds a mutex from here to the end of its scope.
class MutexLock {
 public:
  explicit MutexLock(const MutexHandle& mutex, MutexForm form = MutexForm::PLAIN)
      : mutex_(mutex.get()),
        form_(form),
        failure_(form == MutexForm::PLAIN ? pkAcquireMutex(mutex_) : pkAcquireMutexNested(mutex_)) {}
  ~MutexLock() { release(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  /// False where the mutex could not be had; nothing is released then.
  bool held() const { return failure_ == 0; }

  /// Releases before the end of the scope, for whoever wants to know.
  /// @return 0, also where it is not held, or the failure
  int release();

 private:
  MutexDesc* mutex_;
  MutexForm form_;
  int failure_;
};

/// A flag that threads wait for; for a thread that waits for an event that comes once, of which the job has
/// none today: its time-limited figures talk through pipes, whose ends a thread that hangs may keep. A wait
/// never clears it: once signalled, later waits return at once.
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

}  // namespace agent
