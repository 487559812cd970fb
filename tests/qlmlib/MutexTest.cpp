#include "QLMlib/common/thrd/Mutex.h"

#include <thread>

#include <gtest/gtest.h>

#include "QLMlib/common/thrd/Thread.h"
#include "support/RefusedCalls.h"

namespace agent::test {
namespace {

using namespace std::chrono_literals;

/// Does `work` on another thread and gives its result.
template <typename Work>
int elsewhere(Work work) {
  int result = 0;
  std::thread([&] { result = work(); }).join();
  return result;
}

class MutexTest : public ::testing::Test {
 protected:
  MutexTest() { setThreadMode(true); }
  ~MutexTest() override { setThreadMode(false); }

  const MutexHandle mutex_ = pkCreateMutex();
  MutexDesc* const desc_ = mutex_.get();
};

TEST_F(MutexTest, OnlyTheOwnerReleasesAndTheNestedFormCounts) {
  EXPECT_EQ(pkAcquireMutex(desc_), 0);
  EXPECT_TRUE(pkIsMutexOwner(desc_));
  EXPECT_EQ(elsewhere([&] { return pkReleaseMutex(desc_); }), 0);  // ignored
  EXPECT_EQ(elsewhere([&] { return pkTryMutex(desc_); }), MUTEX_BUSY);
  EXPECT_EQ(pkReleaseMutex(desc_), 0);
  EXPECT_FALSE(pkIsMutexOwner(desc_));
  {
    const MutexLock outer(mutex_, MutexForm::NESTED);
    {
      MutexLock inner(mutex_, MutexForm::NESTED);
      EXPECT_EQ(pkTryMutexNested(desc_), 0);
      EXPECT_EQ(pkReleaseMutexNested(desc_), 0);
      EXPECT_EQ(inner.release(), 0);  // and not again at its end
    }
    EXPECT_EQ(elsewhere([&] { return pkTryMutexNested(desc_); }), MUTEX_BUSY);
  }
  EXPECT_EQ(pkReleaseMutexNested(desc_), 0);  // one too many does nothing
  EXPECT_EQ(elsewhere([&] { return pkTryMutexNested(desc_) + pkReleaseMutexNested(desc_); }), 0);
  EXPECT_EQ(elsewhere([&] { return pkTryMutex(desc_) + pkReleaseMutex(desc_); }), 0);
}

TEST_F(MutexTest, FailuresOfThePlatformHaveTheirCodes) {
  for (const auto& [error, lock, tried] : {std::tuple(EDEADLK, MUTEX_DEADLOCK, -1),
                                           {EINVAL, MUTEX_FAILED, -1},
                                           {EBUSY, MUTEX_FAILED, MUTEX_BUSY}}) {
    RefusedCalls calls;
    calls.refuse<&Calls::pthread_mutex_init>(error);
    calls.refuse<&Calls::pthread_mutex_lock>(error);
    calls.refuse<&Calls::pthread_mutex_trylock>(error);
    calls.refuse<&Calls::pthread_mutex_destroy>(error);
    EXPECT_FALSE(MutexLock(mutex_).held());
    EXPECT_FALSE(MutexLock(mutex_, MutexForm::NESTED).held());
    EXPECT_EQ(pkAcquireMutex(desc_), lock);
    EXPECT_EQ(pkAcquireMutexNested(desc_), lock);
    EXPECT_EQ(pkTryMutex(desc_), tried);
    EXPECT_EQ(pkTryMutexNested(desc_), tried);
    EXPECT_FALSE(pkIsMutexOwner(desc_));
    EXPECT_EQ(pkCreateMutex(), nullptr);
    EXPECT_EQ(pkCreateCondition(), nullptr);
    EXPECT_EQ(pkDestroyMutex(new MutexDesc), error);  // and frees it, as LeakSanitizer would tell

    // A process of one thread, and one that ends from a signal, don't ask the platform.
    for (std::atomic<bool>* mode : {&bIsSingleThread, &bInSignalExit}) {
      *mode = true;
      EXPECT_TRUE(MutexLock(mutex_).held());
      *mode = false;
    }
  }
}

TEST_F(MutexTest, AWaitEndsWithTheSignalAndLaterOnesDoNotWait) {
  const ConditionHandle condition = pkCreateCondition();
  EXPECT_EQ(pkWaitCondition(*condition), -1);  // the mutex isn't held
  EXPECT_EQ(pkTimedWaitCondition(*condition, 10ms), -1);

  const MutexLock lock(condition->mutex);
  EXPECT_EQ(pkTimedWaitCondition(*condition, 10ms), ETIMEDOUT);
  std::thread other([&] { pkSignalCondition(*condition); });
  EXPECT_EQ(pkWaitCondition(*condition), 0);
  EXPECT_TRUE(pkIsMutexOwner(condition->mutex.get()));
  EXPECT_EQ(pkWaitCondition(*condition), 0);
  other.join();
}

TEST_F(MutexTest, AThreadThatCanNotStartIsTold) {
  EXPECT_EQ(pkStartThread(nullptr), 109);
  ThreadDescriptor descriptor{.name = "test", .function = [](void*) {}, .argument = nullptr};
  descriptor.stackSize = 1;  // too small for the system
  EXPECT_EQ(pkStartThread(&descriptor), EINVAL);
}

}  // namespace
}  // namespace agent::test
