#pragma once

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include <dirent.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/types.h>

namespace agent {

/// One entry of the table: the system's own call, or what a test has put in its place. An entry lives as long
/// as the process, so that a thread that hangs in a call never comes back to one that is gone.
template <typename Signature>
class SystemCall;

template <typename Result, typename... Arguments>
class SystemCall<Result(Arguments...)> {
 public:
  using Function = Result (*)(Arguments...);

  constexpr SystemCall(Function call)
      : system_(call), inUse_(call) {}  // implicit: a row of the table is a function

  Result operator()(Arguments... arguments) const { return inUse()(arguments...); }

  Function inUse() const { return inUse_.load(std::memory_order_relaxed); }

  /// The system's own, whatever is in use.
  Function system() const { return system_; }

  /// @param replacement null brings the system's own back
  void replace(Function replacement) { inUse_ = replacement == nullptr ? system_ : replacement; }

 private:
  const Function system_;
  std::atomic<Function> inUse_;
};

/// Every call to the system that can fail, each under its own name and with the manners of its manual page:
/// -1 or null and errno, but for the pthread calls, which return the error. For the functions of
/// SystemCalls.h and Mutex.h; tests replace entries to refuse a call, to delay it or to cut it short.
struct SystemCallTable {
  // Files by name.
  SystemCall<int(const char* path, int mode)> access;
  SystemCall<int(const char* path, mode_t mode)> mkdir;
  SystemCall<int(char* pattern, int flags)> mkostemp;
  SystemCall<int(const char* path, int flags, mode_t mode)> open;
  SystemCall<int(const char* from, const char* to)> rename;
  SystemCall<int(const char* path, struct stat* result)> stat;
  SystemCall<int(const char* path, struct stat* result)> lstat;
  SystemCall<int(const char* path, struct statfs* result)> statfs;
  SystemCall<int(const char* path)> unlink;
  SystemCall<char*(char* buffer, size_t size)> getcwd;

  // Directories.
  SystemCall<int(int directory, const char* name, int flags)> openat;
  SystemCall<ssize_t(int directory, void* buffer, size_t size)> getdents64;
  SystemCall<int(int directory, const char* name, struct stat* result, int flags)> fstatat;
  SystemCall<DIR*(const char* path)> opendir;
  SystemCall<dirent*(DIR* directory)> readdir;
  SystemCall<int(DIR* directory)> closedir;

  // Open files.
  SystemCall<int(int descriptor)> close;
  SystemCall<int(int descriptor, int target)> dup2;
  SystemCall<int(int descriptor, mode_t mode)> fchmod;
  SystemCall<int(int descriptor, int command, intptr_t argument)> fcntl;
  SystemCall<std::FILE*(int descriptor, const char* mode)> fdopen;
  SystemCall<int(std::FILE* stream)> fclose;
  SystemCall<int(int descriptor, int operation)> flock;
  SystemCall<int(int descriptor, struct stat* result)> fstat;
  SystemCall<int(int descriptor, off_t length)> ftruncate;
  SystemCall<int(int descriptor, unsigned long request, void* argument)> ioctl;
  SystemCall<int(int descriptor)> isatty;
  SystemCall<int(int descriptor, int command, off_t length)> lockf;
  SystemCall<off_t(int descriptor, off_t offset, int whence)> lseek;
  SystemCall<int(int* ends, int flags)> pipe2;
  SystemCall<ssize_t(int descriptor, void* buffer, size_t size)> read;
  SystemCall<ssize_t(int descriptor, void* buffer, size_t size, off_t position)> pread;
  SystemCall<ssize_t(int descriptor, const void* bytes, size_t size)> write;
  SystemCall<ssize_t(int descriptor, const void* bytes, size_t size, off_t position)> pwrite;
  SystemCall<ssize_t(int socket, const void* bytes, size_t size, int flags)> send;

  // Waiting.
  SystemCall<int(pollfd* descriptors, nfds_t count, int milliseconds)> poll;
  SystemCall<int(pollfd* descriptors, nfds_t count, const timespec* limit, const sigset_t* mask)> ppoll;
  SystemCall<int(const sigset_t* signals, siginfo_t* information, const timespec* limit)> sigtimedwait;

  // Processes.
  SystemCall<pid_t()> fork;
  SystemCall<int(pid_t process, int signalNumber)> kill;
  SystemCall<int(pid_t process, unsigned flags)> pidfd_open;
  SystemCall<int(pid_t process, pid_t group)> setpgid;
  SystemCall<pid_t(pid_t process, int* status, int options)> waitpid;
  SystemCall<int(int resource, rlimit* limit)> getrlimit;
  SystemCall<int(int resource, const rlimit* limit)> setrlimit;

  // Threads.
  SystemCall<int(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes)> pthread_mutex_init;
  SystemCall<int(pthread_mutex_t* mutex)> pthread_mutex_lock;
  SystemCall<int(pthread_mutex_t* mutex)> pthread_mutex_trylock;
  SystemCall<int(pthread_mutex_t* mutex)> pthread_mutex_unlock;
  SystemCall<int(pthread_mutex_t* mutex)> pthread_mutex_destroy;
};

extern SystemCallTable systemCalls;

}  // namespace agent
