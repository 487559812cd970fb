#include "QLMlib/common/unx/LimitedCalls.h"

#include <csignal>
#include <cstring>

#include <sys/syscall.h>
#include <unistd.h>

#include "QLMlib/common/thrd/Thread.h"
#include "qlmlib/TestFiles.h"
#include "support/RefusedCalls.h"
#include "support/Waiting.h"

namespace agent::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// ---- a kernel that hangs: calls on names that begin with "hang" wait until they are let go ----

std::atomic<bool> letGo{false};
std::atomic<int> hanging{0};

void hang() {
  // As in a dead mount, nothing but the answer ends the wait: no cancellation either.
  int before;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  ++hanging;
  while (!letGo) ::usleep(1000);
  --hanging;
  pthread_setcancelstate(before, &before);
}

/// Without a C++ object on the stack, which cancellation would have to unwind.
void hangIfToldTo(const char* name) {
  const char* base = std::strrchr(name, '/');
  if (std::strncmp(base == nullptr ? name : base + 1, "hang", 4) == 0) hang();
}

/// An interruptible hang, as of a soft mount: cancellation ends it. A bare system call, for what the
/// sanitizers put in front of the C library's own functions isn't made to be cancelled. Called by a pointer
/// that doesn't promise not to throw: a caller that relied on that promise could not be unwound.
void sleepForEver() {
  ++hanging;
  --hanging;  // tells the fixture, which looks at the counter, that nothing of it is needed any more
  long (*volatile call)(long number, ...) = ::syscall;
  call(SYS_ppoll, nullptr, 0, nullptr, nullptr, 0);
}

class LimitedCallsTest : public FilesTest {
 protected:
  LimitedCallsTest() {
    letGo = false;
    calls_.replace<&Calls::lstat>([](const char* path, struct stat* result) {
      hangIfToldTo(path);
      if (std::strstr(path, "sleep") != nullptr) sleepForEver();
      return ::lstat(path, result);
    });
    std::thread([] {}).join();  // ThreadSanitizer adds a thread of its own to the first one
    writeFile(path("a"), "12345");
    threads_ = countOf("task");
    descriptors_ = countOf("fd");
  }
  ~LimitedCallsTest() override {
    letGo = true;
    virtStatCleanUp();
    EXPECT_TRUE(eventually([this] { return hanging == 0 && isLeft(0, 0); }))
        << countOf("task") << " threads, " << countOf("fd");
    setThreadMode(false);
  }

  /// Whether there are so many threads and descriptors more than before.
  bool isLeft(ptrdiff_t threads, ptrdiff_t descriptors) const {
    return countOf("task") == threads_ + threads && countOf("fd") == descriptors_ + descriptors;
  }

  /// @return 0 or the error
  int lstat(const std::string& name, int seconds, int operation = NFS_LSTAT) {
    int error = -1;
    const int rc = zemNFSsyscalls(path(name).c_str(), 0, &status_, operation, seconds, &error);
    EXPECT_EQ(rc, error == 0 ? 0 : -1);
    return error;
  }

  RefusedCalls calls_;
  struct stat status_ {};  // what lstat gave
  ptrdiff_t threads_, descriptors_;
};

TEST_F(LimitedCallsTest, AThreadGivesTheAnswersThatTheCallerGets) {
  struct stat plain {};
  ASSERT_EQ(::lstat(path("a").c_str(), &plain), 0);
  for (const int seconds : {0, -5, 5, 5}) {
    EXPECT_EQ(lstat("a", seconds), 0);
    EXPECT_EQ(std::memcmp(&plain, &status_, sizeof plain), 0);
    EXPECT_EQ(lstat("missing", seconds), ENOENT);
    EXPECT_EQ(lstat("a", seconds, 7), EINVAL);                     // no such operation
    EXPECT_EQ(countOf("task"), threads_ + (seconds > 0 ? 1 : 0));  // one for all
  }
  virtStatCleanUp();
  EXPECT_TRUE(eventually([this] { return isLeft(0, 0); }));  // the kernel takes a moment for a thread
  EXPECT_EQ(lstat("a", 5), 0);                               // starts afresh
}

TEST_F(LimitedCallsTest, SpaceFiguresAreThoseOfTheSystem) {
  struct statvfs plain {};
  struct statvfs figures {};
  ASSERT_EQ(::statvfs("/proc", &plain), 0);
  ASSERT_EQ(limitedStatvfs("/proc", 5, figures), 0);
  EXPECT_EQ(figures.f_fsid, plain.f_fsid);
  EXPECT_EQ(figures.f_flag, plain.f_flag);
  EXPECT_EQ(figures.f_namemax, plain.f_namemax);
  calls_.replace<&Calls::statfs>([](const char*, struct statfs* result) {
    *result = {};
    result->f_bsize = 65536;
    result->f_frsize = 4096;
    result->f_blocks = 1000;
    result->f_bfree = 100;
    result->f_bavail = 50;
    result->f_files = 70;
    result->f_ffree = 60;
    return 0;
  });
  ASSERT_EQ(limitedStatvfs("/", 5, figures), 0);
  EXPECT_EQ((std::vector{figures.f_bsize, figures.f_frsize, figures.f_blocks, figures.f_bfree,
                         figures.f_bavail, figures.f_files, figures.f_ffree, figures.f_favail}),
            (std::vector<unsigned long>{65536, 4096, 1000, 100, 50, 70, 60, 60}));
}

TEST_F(LimitedCallsTest, ACallThatHangsIsStale) {
  const auto start = Clock::now();
  EXPECT_EQ(lstat("hang", 1), ESTALE);
  EXPECT_GE(Clock::now() - start, 1s);
  EXPECT_LT(Clock::now() - start, 3s);

  EXPECT_EQ(lstat("missing", 1), ENOENT);
  EXPECT_EQ(hanging, 1);
  // The new thread and the one that the kernel holds; two pipes, and the thread's ends of the old ones.
  EXPECT_TRUE(isLeft(2, 4 + 2));

  letGo = true;  // a late answer reaches nobody
  EXPECT_TRUE(eventually([this] { return isLeft(1, 4); }));
  EXPECT_EQ(status_.st_ino, 0u);
}

TEST_F(LimitedCallsTest, AnInterruptibleHangIsCancelled) {
  EXPECT_EQ(lstat("sleep", 1), ESTALE);
  EXPECT_TRUE(eventually([this] { return isLeft(0, 0); }));
}

TEST_F(LimitedCallsTest, SignalsOfTheJobAreLeftToItsOwnThread) {
  ASSERT_EQ(lstat("a", 5), 0);
  sigset_t user;
  sigset_t before;
  sigemptyset(&user);
  sigaddset(&user, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &user, &before);

  ::kill(::getpid(), SIGUSR1);
  ASSERT_EQ(lstat("a", 5), 0);  // the thread has been awake meanwhile
  const timespec now{};
  EXPECT_EQ(::sigtimedwait(&user, nullptr, &now), SIGUSR1);  // and has not taken it, which would end us

  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(LimitedCallsTest, WithoutDescriptorsForThePipesTheCallFailsAndLaterWorks) {
  calls_.refuse<&Calls::pipe2>(EMFILE);
  EXPECT_EQ(lstat("a", 1), EMFILE);
  calls_.allow<&Calls::pipe2>();
  EXPECT_EQ(lstat("a", 1), 0);
}

}  // namespace
}  // namespace agent::test
