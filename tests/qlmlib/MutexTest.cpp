#include "QLMlib/common/thrd/Mutex.h"

#include <cerrno>
#include <thread>

#include <unistd.h>

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
  EXPECT_EQ(elsewhere([&] { return pkTryMutex(mutex.get()); }), mutexBusy);
  EXPECT_EQ(pkReleaseMutex(mutex.get()), 0);
  EXPECT_EQ(elsewhere([&] { return pkTryMutex(mutex.get()) + pkReleaseMutex(mutex.get()); }), 0);
}

TEST_F(MutexTest, TheRecursiveFormCountsForTryAndForTheOwner) {
  const MutexHandle mutex = pkCreateMutex();
  EXPECT_EQ(pkAcquireMutexNested(mutex.get()), 0);
  EXPECT_EQ(pkTryMutexNested(mutex.get()), 0);
  EXPECT_EQ(pkAcquireMutexNested(mutex.get()), 0);
  EXPECT_EQ(elsewhere([&] { return pkTryMutexNested(mutex.get()); }), mutexBusy);
  EXPECT_EQ(pkReleaseMutexNested(mutex.get()), 0);
  EXPECT_EQ(pkReleaseMutexNested(mutex.get()), 0);
  EXPECT_TRUE(pkIsMutexOwner(mutex.get()));
  EXPECT_EQ(pkReleaseMutexNested(mutex.get()), 0);
  EXPECT_FALSE(pkIsMutexOwner(mutex.get()));
  EXPECT_EQ(pkReleaseMutexNested(mutex.get()), 0);  // one too many does nothing
  EXPECT_EQ(elsewhere([&] { return pkTryMutexNested(mutex.get()) + pkReleaseMutexNested(mutex.get()); }), 0);
}

TEST_F(MutexTest, AMutexKeepsThreadsApart) {
  const MutexHandle mutex = pkCreateMutex();
  int counter = 0;
  const auto work = [&] {
    for (int i = 0; i < 5000; ++i) {
      pkAcquireMutex(mutex.get());
      ++counter;
      pkReleaseMutex(mutex.get());
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(counter, 10000);
}

TEST_F(MutexTest, NullRecordsAreFailuresOrNothing) {
  EXPECT_EQ(pkAcquireMutex(nullptr), -1);
  EXPECT_EQ(pkDestroyMutex(nullptr), 0);
  EXPECT_FALSE(pkIsMutexOwner(nullptr));
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
  for (const Case& c : {Case{EDEADLK, mutexDeadlock, -1}, Case{EINVAL, mutexFailed, -1},
                        Case{EBUSY, mutexFailed, mutexBusy}}) {
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

  // The record is a good one when thread mode comes.
  setMutexPlatform(nullptr);
  setThreadMode(true);
  EXPECT_EQ(pkAcquireMutex(mutex.get()), 0);
  EXPECT_EQ(pkReleaseMutex(mutex.get()), 0);
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

TEST_F(MutexTest, AThreadRunsItsFunction) {
  int value = 0;
  ThreadDescriptor descriptor{.name = "test",
                              .function = [](void* argument) { *static_cast<int*>(argument) = 7; },
                              .argument = &value};
  ASSERT_EQ(pkStartThread(&descriptor), 0);
  pthread_join(descriptor.thread, nullptr);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(pkStartThread(nullptr), 109);
  descriptor.stackSize = 1;  // too small for the system
  EXPECT_EQ(pkStartThread(&descriptor), EINVAL);
}

TEST_F(MutexTest, ThreadModeNotesThreadAndProcess) {
  EXPECT_EQ(processNumber(), ::getpid());
  EXPECT_TRUE(pthread_equal(mainThread(), pthread_self()));
}

}  // namespace
}  // namespace agent::test
