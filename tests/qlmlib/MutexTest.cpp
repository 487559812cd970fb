#include "QLMlib/common/thrd/Mutex.h"

#include <cerrno>
#include <thread>

#include <gtest/gtest.h>

#include "QLMlib/common/thrd/Thread.h"

namespace agent::test {
namespace {

using namespace std::chrono_literals;

class MutexTest : public ::testing::Test {
 protected:
  MutexTest() { setThreadMode(true); }
  ~MutexTest() override {
    setMutexPlatform(nullptr);
    bInSignalExit = false;
    setThreadMode(false);
  }

  /// Does `work` on another thread and gives its result.
  template <typename Work>
  static int elsewhere(Work work) {
    int result = 0;
    std::thread([&] { result = work(); }).join();
    return result;
  }
};

TEST_F(MutexTest, OnlyTheOwnerReleases) {
  const MutexHandle mutex = pkCreateMutex();
  EXPECT_FALSE(pkIsMutexOwner(mutex.get()));
  EXPECT_EQ(pkAcquireMutex(mutex.get()), 0);
  EXPECT_TRUE(pkIsMutexOwner(mutex.get()));
  EXPECT_EQ(elsewhere([&] { return pkReleaseMutex(mutex.get()); }), 0);  // ignored
  EXPECT_EQ(elsewhere([&] { return pkTryMutex(mutex.get()); }), MUTEX_BUSY);
  EXPECT_EQ(pkReleaseMutex(mutex.get()), 0);
  EXPECT_EQ(elsewhere([&] { return pkTryMutex(mutex.get()) + pkReleaseMutex(mutex.get()); }), 0);
}

TEST_F(MutexTest, TheRecursiveFormCountsForTryAndForTheOwner) {
  const MutexHandle mutex = pkCreateMutex();
  EXPECT_EQ(pkAcquireMutexNested(mutex.get()), 0);
  EXPECT_EQ(pkTryMutexNested(mutex.get()), 0);
  EXPECT_EQ(pkAcquireMutexNested(mutex.get()), 0);
  EXPECT_EQ(elsewhere([&] { return pkTryMutexNested(mutex.get()); }), MUTEX_BUSY);
  EXPECT_EQ(pkReleaseMutexNested(mutex.get()), 0);
  EXPECT_EQ(pkReleaseMutexNested(mutex.get()), 0);
  EXPECT_TRUE(pkIsMutexOwner(mutex.get()));
  EXPECT_EQ(pkReleaseMutexNested(mutex.get()), 0);
  EXPECT_FALSE(pkIsMutexOwner(mutex.get()));
  EXPECT_EQ(pkReleaseMutexNested(mutex.get()), 0);  // one too many does nothing
  EXPECT_EQ(elsewhere([&] { return pkTryMutexNested(mutex.get()) + pkReleaseMutexNested(mutex.get()); }), 0);
}

int platformResult = 0;
int answer(pthread_mutex_t*) {
  return platformResult;
}

TEST_F(MutexTest, FailuresOfThePlatformHaveTheirCodes) {
  MutexHandle mutex = pkCreateMutex();
  const MutexPlatform answering{answer, answer, answer, answer, answer};
  setMutexPlatform(&answering);
  struct Case {
    int platform, lock, tried;
  };
  for (const Case& c : {Case{EDEADLK, MUTEX_DEADLOCK, -1}, Case{EINVAL, MUTEX_FAILED, -1},
                        Case{EBUSY, MUTEX_FAILED, MUTEX_BUSY}}) {
    platformResult = c.platform;
    EXPECT_EQ(pkAcquireMutex(mutex.get()), c.lock);
    EXPECT_EQ(pkAcquireMutexNested(mutex.get()), c.lock);
    EXPECT_EQ(pkTryMutex(mutex.get()), c.tried);
    EXPECT_EQ(pkTryMutexNested(mutex.get()), c.tried);
    EXPECT_FALSE(pkIsMutexOwner(mutex.get()));
    EXPECT_EQ(pkCreateMutex(), nullptr);
    EXPECT_EQ(pkCreateCondition(), nullptr);
  }
  EXPECT_EQ(pkDestroyMutex(mutex.release()), EBUSY);  // and frees it, as LeakSanitizer would tell
}

TEST_F(MutexTest, InSingleThreadModeOwnershipWorksWithoutThePlatform) {
  const MutexPlatform answering{answer, answer, answer, answer, answer};
  setThreadMode(false);
  setMutexPlatform(&answering);
  platformResult = EINVAL;
  const MutexHandle mutex = pkCreateMutex();
  EXPECT_EQ(pkAcquireMutex(mutex.get()), 0);
  EXPECT_TRUE(pkIsMutexOwner(mutex.get()));
  EXPECT_EQ(pkReleaseMutex(mutex.get()), 0);
  EXPECT_FALSE(pkIsMutexOwner(mutex.get()));
}

TEST_F(MutexTest, AProcessThatEndsFromASignalWaitsForNothing) {
  const MutexHandle mutex = pkCreateMutex();
  ASSERT_EQ(pkAcquireMutex(mutex.get()), 0);
  bInSignalExit = true;
  EXPECT_EQ(elsewhere([&] { return pkAcquireMutex(mutex.get()); }), 0);
  bInSignalExit = false;
  pthread_mutex_unlock(&mutex->platform);
}

TEST_F(MutexTest, AWaitEndsWithTheSignalAndLaterOnesDoNotWait) {
  const ConditionHandle condition = pkCreateCondition();
  EXPECT_EQ(pkWaitCondition(*condition), -1);  // the mutex isn't held
  EXPECT_EQ(pkTimedWaitCondition(*condition, 10ms), -1);

  ASSERT_EQ(pkAcquireMutex(condition->mutex.get()), 0);
  EXPECT_EQ(pkTimedWaitCondition(*condition, 10ms), ETIMEDOUT);
  std::thread other([&] { pkSignalCondition(*condition); });
  EXPECT_EQ(pkWaitCondition(*condition), 0);
  EXPECT_TRUE(pkIsMutexOwner(condition->mutex.get()));
  EXPECT_EQ(pkWaitCondition(*condition), 0);
  EXPECT_EQ(pkReleaseMutex(condition->mutex.get()), 0);
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
