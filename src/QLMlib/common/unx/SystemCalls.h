#pragma once

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <type_traits>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/types.h>

namespace agent {

/// What becomes of a call that a signal breaks off (EINTR).
///
///   AGAIN   it is made again: it has done nothing yet
///   TOLD    it fails like for any other reason: a server may have done it all the same, and a second attempt
///           would fail over the first one's success; or its limit has run on meanwhile
///   NEVER   it is not made again: Linux has freed the descriptor even so, and another thread may have its
///           number by now (close(2))
enum class Interrupted { AGAIN, TOLD, NEVER };

/// One call of the system, used like the function whose name it bears. A test may put another function in its
/// place. An entry lives as long as the process, so that a thread that hangs in a call never comes back to
/// one that is gone.
template <typename Signature, Interrupted INTERRUPTED>
class SystemCall;

template <typename Result, typename... Arguments, Interrupted INTERRUPTED>
class SystemCall<Result(Arguments...), INTERRUPTED> {
 public:
  using Function = Result (*)(Arguments...);

  constexpr SystemCall(Function call) : system_(call), inUse_(call) {}  // implicit: a row is a function

  Result operator()(Arguments... arguments) const {
    Result result = inUse()(arguments...);
    while (INTERRUPTED == Interrupted::AGAIN && isFailure(result) && errno == EINTR) {
      result = inUse()(arguments...);
    }
    return result;
  }

  Function inUse() const { return inUse_.load(std::memory_order_relaxed); }

  /// The system's own, whatever is in use.
  Function system() const { return system_; }

  /// @param replacement null brings the system's own back
  void replace(Function replacement) { inUse_ = replacement == nullptr ? system_ : replacement; }

 private:
  static bool isFailure(Result result) {
    if constexpr (std::is_pointer_v<Result>) {
      return result == nullptr;
    } else {
      return result == -1;
    }
  }

  const Function system_;
  std::atomic<Function> inUse_;
};

/// The seam to the system. No other file of src/ calls the system directly, so that a test can refuse any
/// call (tests/support/RefusedCalls.h) and EINTR is dealt with in one place; scripts/lint-system-calls holds
/// us to it. Excepted are
///
///   - calls that cannot fail with the arguments that they get: getpid, clock_gettime, sigaction,
///     pthread_sigmask and their like;
///   - what a child does between fork and exec, where only the system's bare, async-signal-safe calls may
///     stand (Common/unix/ChildSide.cpp), and threads, which Thread.h starts and Mutex.h locks;
///   - the C library where it is no thin cover of a call: look-ups of users (behind UserDatabase), hosts and
///     message catalogs, getmntent_r on a stream that was opened here, stdio into buffers.
///
/// Each call behaves as its manual page says: -1 or null, and errno; those of pthread give the error. What
/// opens something has an owner that closes it: openFile and openPipe (OwnedDescriptor.h), DirectoryStream.
struct SystemCallTable {
  template <typename Signature>
  using Again = SystemCall<Signature, Interrupted::AGAIN>;
  template <typename Signature>
  using Told = SystemCall<Signature, Interrupted::TOLD>;
  template <typename Signature>
  using Never = SystemCall<Signature, Interrupted::NEVER>;

  // Files by name.
  Again<int(const char* path, int mode)> access;
  Told<int(const char* path, mode_t mode)> mkdir;
  Again<int(char* pattern, int flags)> mkostemp;
  Again<int(const char* path, int flags, mode_t mode)> open;
  Told<int(const char* from, const char* to)> rename;
  Again<int(const char* path, struct stat* result)> stat;
  Again<int(const char* path, struct stat* result)> lstat;
  Again<int(const char* path, struct statfs* result)> statfs;
  Told<int(const char* path)> unlink;
  Again<char*(char* buffer, size_t size)> getcwd;

  // Directories.
  Again<int(int directory, const char* name, int flags)> openat;
  Again<ssize_t(int directory, void* buffer, size_t size)> getdents64;
  Again<int(int directory, const char* name, struct stat* result, int flags)> fstatat;
  Again<DIR*(const char* path)> opendir;
  Again<dirent*(DIR* directory)> readdir;
  Never<int(DIR* directory)> closedir;

  // Open files.
  Never<int(int descriptor)> close;
  Again<int(int descriptor, int target)> dup2;
  Again<int(int descriptor, mode_t mode)> fchmod;
  Again<int(int descriptor, int command, intptr_t argument)> fcntl;
  Again<std::FILE*(int descriptor, const char* mode)> fdopen;
  Never<int(std::FILE* stream)> fclose;
  Again<int(int descriptor, int operation)> flock;
  Again<int(int descriptor, struct stat* result)> fstat;
  Again<int(int descriptor)> fsync;
  Again<int(int descriptor, off_t length)> ftruncate;
  Again<int(int descriptor, unsigned long request, void* argument)> ioctl;
  Again<int(int descriptor)> isatty;
  Again<int(int descriptor, int command, off_t length)> lockf;
  Again<off_t(int descriptor, off_t offset, int whence)> lseek;
  Again<int(int* ends, int flags)> pipe2;
  Again<ssize_t(int descriptor, void* buffer, size_t size)> read;
  Again<ssize_t(int descriptor, void* buffer, size_t size, off_t position)> pread;
  Again<ssize_t(int descriptor, const void* bytes, size_t size)> write;
  Again<ssize_t(int descriptor, const void* bytes, size_t size, off_t position)> pwrite;
  Again<ssize_t(int socket, const void* bytes, size_t size, int flags)> send;

  // Waiting.
  Told<int(pollfd* descriptors, nfds_t count, int milliseconds)> poll;
  Told<int(pollfd* descriptors, nfds_t count, const timespec* limit, const sigset_t* mask)> ppoll;
  Told<int(const sigset_t* signals, siginfo_t* information, const timespec* limit)> sigtimedwait;

  // Processes.
  Again<pid_t()> fork;  // in the child only what ChildSide.cpp does
  Again<int(pid_t process, int signalNumber)> kill;
  Again<int(pid_t process, unsigned flags)> pidfd_open;
  Again<int(pid_t process, pid_t group)> setpgid;
  Again<pid_t(pid_t process, int* status, int options)> waitpid;
  Told<int(pid_t* process, const char* path, char* const* arguments, char* const* environment)> posix_spawn;
  Told<std::FILE*(const char* command, const char* mode)> popen;
  Never<int(std::FILE* stream)> pclose;
  Again<int(int resource, rlimit* limit)> getrlimit;
  Again<int(int resource, const rlimit* limit)> setrlimit;

  // Threads; for Thread.h and Mutex.h. Each returns an error number.
  Told<int(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*), void* argument)>
      pthread_create;
  Told<int(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes)> pthread_mutex_init;
  Told<int(pthread_mutex_t* mutex)> pthread_mutex_lock;
  Told<int(pthread_mutex_t* mutex)> pthread_mutex_trylock;
  Told<int(pthread_mutex_t* mutex)> pthread_mutex_unlock;
  Told<int(pthread_mutex_t* mutex)> pthread_mutex_destroy;
};

extern SystemCallTable sys;

}  // namespace agent
