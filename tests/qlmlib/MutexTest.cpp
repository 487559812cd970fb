#include "QLMlib/common/thrd/Mutex.h"

#include <cerrno>
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
  struct Case {
    int platform, lock, tried;
  };
  for (const Case& c : {Case{EDEADLK, MUTEX_DEADLOCK, -1}, Case{EINVAL, MUTEX_FAILED, -1},
                        Case{EBUSY, MUTEX_FAILED, MUTEX_BUSY}}) {
    RefusedCalls calls;
    calls.refuse<&Calls::pthread_mutex_init>(c.platform);
    calls.refuse<&Calls::pthread_mutex_lock>(c.platform);
    calls.refuse<&Calls::pthread_mutex_trylock>(c.platform);
    calls.refuse<&Calls::pthread_mutex_destroy>(c.platform);
    for (const MutexForm form : {MutexForm::PLAIN, MutexForm::NESTED}) {
      EXPECT_FALSE(MutexLock(mutex_, form).held());
    }
    EXPECT_EQ(pkAcquireMutex(desc_), c.lock);
    EXPECT_EQ(pkAcquireMutexNested(desc_), c.lock);
    EXPECT_EQ(pkTryMutex(desc_), c.tried);
    EXPECT_EQ(pkTryMutexNested(desc_), c.tried);
    EXPECT_FALSE(pkIsMutexOwner(desc_));
    EXPECT_EQ(pkCreateMutex(), nullptr);
    EXPECT_EQ(pkCreateCondition(), nullptr);
    EXPECT_EQ(pkDestroyMutex(new MutexDesc), c.platform);  // and frees it, as LeakSanitizer would tell

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
