#include "QLMlib/common/unx/LimitedCalls.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <set>
#include <thread>

#include <dirent.h>
#include <fcntl.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include "QLMlib/common/thrd/Thread.h"
#include "QLMlib/common/unx/FileSystemCalls.h"
#include "qlmlib/TestFiles.h"

namespace agent::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// ---- a kernel that hangs: calls on names that begin with "hang" wait until they are let go ----

std::atomic<bool> letGo{false};
std::atomic<int> hanging{0};
FileSystemCalls hangingCalls;  // outlives the threads that are given up

void hang() {
  // As in a dead mount, nothing but the answer ends the wait: no cancellation either.
  int before;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  ++hanging;
  while (!letGo) ::usleep(1000);
  --hanging;
  pthread_setcancelstate(before, &before);
}

bool hangs(const char* name) {
  const char* base = std::strrchr(name, '/');
  return std::strncmp(base == nullptr ? name : base + 1, "hang", 4) == 0;
}

bool sleeps(const char* name) {
  return std::strstr(name, "sleep") != nullptr;
}

/// An interruptible hang, as of a soft mount: cancellation ends it. A bare system call, for what the
/// sanitizers put in front of the C library's own functions isn't made to be cancelled.
void sleepForEver() {
  ++hanging;
  --hanging;  // tells the fixture, which looks at the counter, that the calls' table has been read
  ::syscall(SYS_ppoll, nullptr, 0, nullptr, nullptr, 0);
}

int hangingStat(const char* path, struct stat* result) {
  if (hangs(path)) hang();
  if (sleeps(path)) sleepForEver();
  return systemFileSystemCalls().lstat(path, result);
}
int hangingOpenat(int directory, const char* name, int flags) {
  if (hangs(name)) hang();
  return systemFileSystemCalls().openat(directory, name, flags);
}
ssize_t hangingGetdents(int directory, void* buffer, std::size_t size) {
  hang();
  return systemFileSystemCalls().getdents64(directory, buffer, size);
}
int hangingFstatat(int directory, const char* name, struct stat* result, int flags) {
  if (hangs(name)) hang();
  return systemFileSystemCalls().fstatat(directory, name, result, flags);
}

std::size_t countOf(const char* directory) {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) ++count;
  return count;
}

/// Waits until `condition` holds; false after ten seconds.
template <typename Condition>
bool eventually(Condition condition) {
  const auto end = Clock::now() + 10s;
  while (!condition()) {
    if (Clock::now() > end) return false;
    ::usleep(2000);
  }
  return true;
}

class LimitedCallsTest : public FilesTest {
 protected:
  LimitedCallsTest() {
    letGo = false;
    hangingCalls = systemFileSystemCalls();
    hangingCalls.lstat = hangingStat;
    hangingCalls.openat = hangingOpenat;
    hangingCalls.fstatat = hangingFstatat;
    setFileSystemCalls(&hangingCalls);
    std::thread([] {}).join();  // ThreadSanitizer adds a thread of its own to the first one
    writeFile(path("a"), "12345");
    std::filesystem::create_directory(path("hangdir"));
    threads_ = threads();
    descriptors_ = descriptors();
  }
  ~LimitedCallsTest() override {
    letGo = true;
    virtStatCleanUp();
    EXPECT_TRUE(eventually([this] { return hanging == 0 && nothingIsLeft(); }))
        << threads() << " threads, " << descriptors();
    setFileSystemCalls(nullptr);
    setThreadMode(false);
  }

  static std::size_t threads() { return countOf("/proc/self/task"); }
  static std::size_t descriptors() { return countOf("/proc/self/fd"); }
  bool nothingIsLeft() const { return threads() == threads_ && descriptors() == descriptors_; }

  int lstat(const std::string& name, int seconds, struct stat& result, int& errCode) {
    return zemNFSsyscalls(path(name).c_str(), 0, &result, nfsLstat, seconds, &errCode);
  }

  std::size_t threads_ = 0;
  std::size_t descriptors_ = 0;
};

TEST_F(LimitedCallsTest, WithoutALimitTheCallerMakesTheCall) {
  struct stat result {};
  int errCode = -1;
  for (const int seconds : {0, -5}) {
    EXPECT_EQ(lstat("a", seconds, result, errCode), 0);
    EXPECT_EQ(errCode, 0);
    EXPECT_EQ(result.st_size, 5);
    EXPECT_EQ(lstat("missing", seconds, result, errCode), -1);
    EXPECT_EQ(errCode, ENOENT);
  }
  EXPECT_TRUE(nothingIsLeft());
}

TEST_F(LimitedCallsTest, AThreadGivesTheSameAnswers) {
  struct stat plain {};
  struct stat limited {};
  int errCode = -1;
  ASSERT_EQ(::lstat(path("a").c_str(), &plain), 0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(lstat("a", 5, limited, errCode), 0);
    EXPECT_EQ(errCode, 0);
    EXPECT_EQ(std::memcmp(&plain, &limited, sizeof plain), 0);
    EXPECT_EQ(lstat("missing", 5, limited, errCode), -1);
    EXPECT_EQ(errCode, ENOENT);
  }
  EXPECT_EQ(threads(), threads_ + 1);  // one for all
}

TEST_F(LimitedCallsTest, SpaceFiguresAreThoseOfStatvfs) {
  struct statvfs plain {};
  ASSERT_EQ(::statvfs("/proc", &plain), 0);
  for (const int seconds : {0, 5}) {
    struct statvfs limited {};
    ASSERT_EQ(limitedStatvfs("/proc", seconds, limited), 0);
    EXPECT_EQ(limited.f_bsize, plain.f_bsize);
    EXPECT_EQ(limited.f_frsize, plain.f_frsize);
    EXPECT_EQ(limited.f_fsid, plain.f_fsid);
    EXPECT_EQ(limited.f_flag, plain.f_flag);
    EXPECT_EQ(limited.f_namemax, plain.f_namemax);
    EXPECT_EQ(limitedStatvfs(path("missing").c_str(), seconds, limited), ENOENT);
  }
  hangingCalls.statfs = [](const char*, struct statfs* result) {
    *result = {};
    result->f_bsize = 65536;
    result->f_frsize = 4096;
    result->f_blocks = 1000;
    result->f_bfree = 100;
    result->f_bavail = 50;
    result->f_files = 70;
    result->f_ffree = 60;
    return 0;
  };
  struct statvfs figures {};
  ASSERT_EQ(limitedStatvfs("/", 5, figures), 0);
  EXPECT_EQ(figures.f_bsize, 65536u);
  EXPECT_EQ(figures.f_frsize, 4096u);
  EXPECT_EQ(figures.f_blocks, 1000u);
  EXPECT_EQ(figures.f_bfree, 100u);
  EXPECT_EQ(figures.f_bavail, 50u);
  EXPECT_EQ(figures.f_files, 70u);
  EXPECT_EQ(figures.f_ffree, 60u);
  EXPECT_EQ(figures.f_favail, 60u);
}

TEST_F(LimitedCallsTest, OperationsThatAreNoneFailWithInvalid) {
  char result[512] = {};
  for (const int flag : {nfsStatvfs, 4, 5, 6, 7, -1}) {
    for (const int seconds : {0, 5}) {
      int errCode = 0;
      EXPECT_EQ(zemNFSsyscalls("/", 0, result, flag, seconds, &errCode), -1) << flag;
      EXPECT_EQ(errCode, EINVAL) << flag;
    }
  }
}

TEST_F(LimitedCallsTest, ACallThatHangsIsStaleAndTheNextOneWorks) {
  struct stat result {};
  std::memset(&result, 0x55, sizeof result);
  const struct stat untouched = result;
  int errCode = 0;
  const auto start = Clock::now();
  EXPECT_EQ(lstat("hang", 1, result, errCode), -1);
  EXPECT_EQ(errCode, ESTALE);
  EXPECT_GE(Clock::now() - start, 1s);
  EXPECT_LT(Clock::now() - start, 3s);

  struct stat next {};
  EXPECT_EQ(lstat("a", 1, next, errCode), 0);
  EXPECT_EQ(hanging, 1);
  EXPECT_EQ(threads(), threads_ + 2);          // the new one and the one that the kernel holds
  EXPECT_EQ(descriptors(), descriptors_ + 6);  // two pipes, and the thread's ends of the old ones

  letGo = true;
  EXPECT_TRUE(eventually([this] { return threads() == threads_ + 1 && descriptors() == descriptors_ + 4; }));
  EXPECT_EQ(std::memcmp(&result, &untouched, sizeof result), 0);  // a late answer reaches nobody
}

TEST_F(LimitedCallsTest, AnInterruptibleHangIsCancelled) {
  struct stat result {};
  int errCode = 0;
  EXPECT_EQ(lstat("sleep", 1, result, errCode), -1);
  EXPECT_EQ(errCode, ESTALE);
  EXPECT_TRUE(eventually([this] { return nothingIsLeft(); }));
}

TEST_F(LimitedCallsTest, ADirectoryIsOpenedReadAndExaminedByTheThread) {
  for (const int seconds : {0, 5}) {
    SharedDirectory top;
    SharedDirectory sub;
    ASSERT_EQ(limitedOpenDirectory(nullptr, path().c_str(), 0, seconds, top), 0);
    EXPECT_EQ(limitedOpenDirectory(top, "a", O_NOFOLLOW, seconds, sub), ENOTDIR);
    EXPECT_EQ(limitedOpenDirectory(top, "missing", O_NOFOLLOW, seconds, sub), ENOENT);
    EXPECT_EQ(sub, nullptr);
    EXPECT_NE(::fcntl(top->get(), F_GETFD) & FD_CLOEXEC, 0);

    std::set<std::string> names;
    char buffer[256];
    std::size_t bytes = 0;
    while (limitedReadDirectory(top, buffer, sizeof buffer, seconds, bytes) == 0 && bytes > 0) {
      for (std::size_t at = 0; at < bytes;) {
        const auto* entry = reinterpret_cast<const dirent64*>(buffer + at);
        names.insert(entry->d_name);
        at += entry->d_reclen;
      }
    }
    EXPECT_EQ(names, (std::set<std::string>{".", "..", "a", "hangdir"}));

    struct stat status {};
    EXPECT_EQ(limitedStatAt(top, "a", AT_SYMLINK_NOFOLLOW, seconds, status), 0);
    EXPECT_EQ(status.st_size, 5);
    EXPECT_EQ(limitedStatAt(nullptr, path("a").c_str(), 0, seconds, status), 0);
    EXPECT_EQ(limitedStatAt(top, "missing", 0, seconds, status), ENOENT);
    EXPECT_EQ(limitedReadDirectory(nullptr, buffer, sizeof buffer, seconds, bytes), EBADF);
  }
}

TEST_F(LimitedCallsTest, ADirectoryThatOpensTooLateIsClosedAgain) {
  SharedDirectory opened;
  EXPECT_EQ(limitedOpenDirectory(nullptr, path("hangdir").c_str(), 0, 1, opened), ESTALE);
  EXPECT_EQ(opened, nullptr);
  letGo = true;
  EXPECT_TRUE(eventually([this] { return nothingIsLeft(); }));
}

TEST_F(LimitedCallsTest, AHangingCallKeepsItsDirectoryOpen) {
  for (const bool reads : {true, false}) {
    letGo = false;
    SharedDirectory top;
    ASSERT_EQ(limitedOpenDirectory(nullptr, path().c_str(), 0, 0, top), 0);
    const int number = top->get();
    if (reads) {
      char buffer[256] = {};
      std::size_t bytes = 99;
      hangingCalls.getdents64 = hangingGetdents;
      EXPECT_EQ(limitedReadDirectory(top, buffer, sizeof buffer, 1, bytes), ESTALE);
      EXPECT_EQ(bytes, 0u);
    } else {
      struct stat status {};
      EXPECT_EQ(limitedStatAt(top, "hang", 0, 1, status), ESTALE);
    }
    top.reset();
    EXPECT_NE(::fcntl(number, F_GETFD), -1);  // or the late call would work on whatever bears the number next
    letGo = true;
    EXPECT_TRUE(eventually([&] { return ::fcntl(number, F_GETFD) == -1; }));
  }
}

TEST_F(LimitedCallsTest, ASignalDoesNotEndTheWaitAndTheLimitHolds) {
  struct sigaction handler {};
  struct sigaction before {};
  handler.sa_handler = [](int) {};
  ASSERT_EQ(::sigaction(SIGALRM, &handler, &before), 0);
  struct Case {
    const char* when;
    itimerval timer;
  };
  const Case cases[] = {
      {"again and again", {{0, 20'000}, {0, 20'000}}},
      {"once, shortly before the limit", {{0, 0}, {0, 900'000}}},  // the wait must not start anew
  };
  for (const Case& c : cases) {
    letGo = false;
    ::setitimer(ITIMER_REAL, &c.timer, nullptr);
    struct stat result {};
    int errCode = 0;
    const auto start = Clock::now();
    EXPECT_EQ(lstat("hang", 1, result, errCode), -1);
    const auto spent = Clock::now() - start;
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);

    EXPECT_EQ(errCode, ESTALE) << c.when;
    EXPECT_GE(spent, 1s) << c.when;
    EXPECT_LT(spent, 1700ms) << c.when;
    letGo = true;
    EXPECT_TRUE(eventually([] { return hanging == 0; }));
  }
  ::sigaction(SIGALRM, &before, nullptr);
}

TEST_F(LimitedCallsTest, SignalsOfTheJobAreLeftToItsOwnThread) {
  struct stat result {};
  int errCode = 0;
  ASSERT_EQ(lstat("a", 5, result, errCode), 0);
  sigset_t user;
  sigset_t before;
  sigset_t pending;
  sigemptyset(&user);
  sigaddset(&user, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &user, &before);
  struct sigaction ignore {};
  struct sigaction previous {};
  ignore.sa_handler = [](int) {};
  ::sigaction(SIGUSR1, &ignore, &previous);

  ::kill(::getpid(), SIGUSR1);
  ASSERT_EQ(lstat("a", 5, result, errCode), 0);  // the thread has been awake meanwhile
  ::sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGUSR1), 1);

  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  ::sigaction(SIGUSR1, &previous, nullptr);
}

TEST_F(LimitedCallsTest, WithoutDescriptorsForThePipesTheCallFailsAndLaterWorks) {
  rlimit previous{};
  ::getrlimit(RLIMIT_NOFILE, &previous);
  rlimit none = previous;
  none.rlim_cur = 5;
  ::setrlimit(RLIMIT_NOFILE, &none);
  struct stat result {};
  int errCode = 0;
  EXPECT_EQ(lstat("a", 1, result, errCode), -1);
  EXPECT_EQ(errCode, EMFILE);
  ::setrlimit(RLIMIT_NOFILE, &previous);
  EXPECT_EQ(lstat("a", 1, result, errCode), 0);
}

TEST_F(LimitedCallsTest, CleaningUpEndsTheThreadAndALaterCallStartsAfresh) {
  struct stat result {};
  int errCode = 0;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(lstat("a", 1, result, errCode), 0);
    virtStatCleanUp();
    EXPECT_EQ(descriptors(), descriptors_);
    EXPECT_TRUE(eventually([this] { return nothingIsLeft(); }));  // the kernel takes a moment for a thread
  }
}

}  // namespace
}  // namespace agent::test
