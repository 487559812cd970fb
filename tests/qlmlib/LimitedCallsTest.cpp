#include "QLMlib/common/unx/LimitedCalls.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
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

bool pipesRefused = false;

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
/// sanitizers put in front of the C library's own functions isn't made to be cancelled.
void sleepForEver() {
  ++hanging;
  --hanging;  // tells the fixture, which looks at the counter, that the calls' table has been read
  ::syscall(SYS_ppoll, nullptr, 0, nullptr, nullptr, 0);
}

int hangingStat(const char* path, struct stat* result) {
  hangIfToldTo(path);
  if (std::strstr(path, "sleep") != nullptr) sleepForEver();
  return systemFileSystemCalls().lstat(path, result);
}
int hangingOpenat(int directory, const char* name, int flags) {
  hangIfToldTo(name);
  return systemFileSystemCalls().openat(directory, name, flags);
}
ssize_t hangingGetdents(int directory, void* buffer, size_t size) {
  hang();
  return systemFileSystemCalls().getdents64(directory, buffer, size);
}
int hangingFstatat(int directory, const char* name, struct stat* result, int flags) {
  hangIfToldTo(name);
  return systemFileSystemCalls().fstatat(directory, name, result, flags);
}

size_t countOf(const char* directory) {
  return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(directory), {}));
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

  static size_t threads() { return countOf("/proc/self/task"); }
  static size_t descriptors() { return countOf("/proc/self/fd"); }
  bool nothingIsLeft() const { return threads() == threads_ && descriptors() == descriptors_; }

  int lstat(const std::string& name, int seconds, struct stat& result, int& errCode) {
    return zemNFSsyscalls(path(name).c_str(), 0, &result, NFS_LSTAT, seconds, &errCode);
  }

  size_t threads_ = 0;
  size_t descriptors_ = 0;
};

TEST_F(LimitedCallsTest, AThreadGivesTheAnswersThatTheCallerGets) {
  struct stat plain {};
  struct stat limited {};
  int errCode = -1;
  ASSERT_EQ(::lstat(path("a").c_str(), &plain), 0);
  for (const int seconds : {0, -5, 5, 5}) {
    EXPECT_EQ(lstat("a", seconds, limited, errCode), 0);
    EXPECT_EQ(errCode, 0);
    EXPECT_EQ(std::memcmp(&plain, &limited, sizeof plain), 0);
    EXPECT_EQ(lstat("missing", seconds, limited, errCode), -1);
    EXPECT_EQ(errCode, ENOENT);
    EXPECT_EQ(threads(), threads_ + (seconds > 0 ? 1 : 0));                 // one for all
    EXPECT_EQ(zemNFSsyscalls("/", 0, &limited, 7, seconds, &errCode), -1);  // no such operation
    EXPECT_EQ(errCode, EINVAL);
  }
  virtStatCleanUp();
  EXPECT_TRUE(eventually([this] { return nothingIsLeft(); }));  // the kernel takes a moment for a thread
  EXPECT_EQ(lstat("a", 5, limited, errCode), 0);                // starts afresh
}

TEST_F(LimitedCallsTest, SpaceFiguresAreThoseOfTheSystem) {
  struct statvfs plain {};
  struct statvfs figures {};
  ASSERT_EQ(limitedStatvfs("/proc", 0, plain), 0);
  ASSERT_EQ(limitedStatvfs("/proc", 5, figures), 0);
  EXPECT_EQ(figures.f_fsid, plain.f_fsid);
  EXPECT_EQ(figures.f_flag, plain.f_flag);
  EXPECT_EQ(figures.f_namemax, plain.f_namemax);
  EXPECT_EQ(limitedStatvfs(path("missing").c_str(), 5, figures), ENOENT);
  hangingCalls.statfs = [](const char*, struct statfs* result) {
    std::memset(result, 0, sizeof *result);
    result->f_bsize = 65536;
    result->f_frsize = 4096;
    result->f_blocks = 1000;
    result->f_bfree = 100;
    result->f_bavail = 50;
    result->f_files = 70;
    result->f_ffree = 60;
    return 0;
  };
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

    char buffer[256];
    size_t bytes = 0;
    EXPECT_EQ(limitedReadDirectory(top, buffer, sizeof buffer, seconds, bytes), 0);
    EXPECT_NE(std::string_view(buffer, bytes).find("hangdir"), std::string_view::npos);
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
      size_t bytes = 99;
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

TEST_F(LimitedCallsTest, SignalsOfTheJobAreLeftToItsOwnThread) {
  struct stat result {};
  int errCode = 0;
  ASSERT_EQ(lstat("a", 5, result, errCode), 0);
  sigset_t user;
  sigset_t before;
  sigemptyset(&user);
  sigaddset(&user, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &user, &before);

  ::kill(::getpid(), SIGUSR1);
  ASSERT_EQ(lstat("a", 5, result, errCode), 0);  // the thread has been awake meanwhile
  const timespec now{};
  EXPECT_EQ(::sigtimedwait(&user, nullptr, &now), SIGUSR1);  // and has not taken it, which would end us

  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST_F(LimitedCallsTest, WithoutDescriptorsForThePipesTheCallFailsAndLaterWorks) {
  struct stat result {};
  int errCode = 0;
  pipesRefused = true;
  EXPECT_EQ(lstat("a", 1, result, errCode), -1);
  pipesRefused = false;
  EXPECT_EQ(errCode, EMFILE);
  EXPECT_EQ(lstat("a", 1, result, errCode), 0);
}

}  // namespace
}  // namespace agent::test

extern "C" {
int __real_pipe2(int ends[2], int flags);
int __wrap_pipe2(int ends[2], int flags);
int __wrap_pipe2(int ends[2], int flags) {
  if (!agent::test::pipesRefused) return __real_pipe2(ends, flags);
  errno = EMFILE;
  return -1;
}
}
