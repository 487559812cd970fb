// Lets one call of a program fail. Preloaded, it stands before the C library: it counts the calls of each
// kind that can fail and refuses the one that it is told to, in the program and in its children up to their
// exec. scripts/faults tries all of them on the scan job. Variables of the environment:
//
//   LD_PRELOAD      libfaults.so
//   FAULT_PROGRAM   name of the program that is watched
//   FAULT_COUNTS    a file of 64-bit numbers, one for each of KINDS: how many calls there were
//   FAULT_CALL      the kind of which one fails, FAULT_AT its number, FAULT_ERROR the error's
//   FAULT_MODE      "once": that call; "always": it and all later ones; "short": these take half of what they
//                   are given
//   FAULT_CLOCK     seconds by which the clock of the day jumps forth and back with each look at it

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <grp.h>
#include <locale.h>
#include <mntent.h>
#include <nl_types.h>
#include <poll.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

// NOLINTBEGIN(readability-identifier-naming): the C library's own names
extern "C" void* __libc_malloc(size_t);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);
// NOLINTEND(readability-identifier-naming)

namespace {

// The calls of the program and of the libraries that it stands on, as they are linked.
constexpr std::array<std::string_view, 45> KINDS = {
    "malloc",     "access",    "catopen",     "close",          "closedir",    "execv",       "fclose",
    "fcntl64",    "fdopen",    "fork",        "fstat64",        "fstatat64",   "ftruncate64", "getcwd",
    "getdents64", "getgrgid",  "getmntent_r", "getpwuid",       "getrlimit64", "isatty",      "localtime_r",
    "lockf64",    "mkdir",     "newlocale",   "open64",         "openat64",    "opendir",     "pidfd_open",
    "pipe2",      "ppoll",     "pread64",     "pthread_create", "pwrite64",    "read",        "readdir64",
    "rename",     "setlocale", "setpgid",     "sigaction",      "stat64",      "statfs64",    "strftime",
    "unlink",     "waitpid",   "write"};

consteval size_t kindOf(std::string_view name) {
  return static_cast<size_t>(std::find(KINDS.begin(), KINDS.end(), name) - KINDS.begin());
}

enum class Mode { ONCE, ALWAYS, SHORT };

// Shared with children, so that a call has one number whoever makes it. Null: this process isn't watched.
std::atomic<uint64_t>* counts = nullptr;
size_t wantedKind = KINDS.size();
uint64_t wantedCall = 0;
int wantedError = EIO;
Mode mode = Mode::ONCE;
time_t clockJump = 0;

uint64_t numberFrom(const char* variable) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? 0 : std::strtoull(text, nullptr, 10);
}

__attribute__((constructor)) void begin() {
  const char* const program = std::getenv("FAULT_PROGRAM");
  const char* const file = std::getenv("FAULT_COUNTS");
  if (program == nullptr || file == nullptr || std::strcmp(program_invocation_short_name, program) != 0)
    return;
  if (const char* const call = std::getenv("FAULT_CALL")) {
    wantedKind = static_cast<size_t>(std::find(KINDS.begin(), KINDS.end(), call) - KINDS.begin());
    if (wantedKind == KINDS.size()) std::abort();
  }
  clockJump = static_cast<time_t>(numberFrom("FAULT_CLOCK"));
  wantedCall = numberFrom("FAULT_AT");
  wantedError = static_cast<int>(numberFrom("FAULT_ERROR"));
  const char* const wantedMode = std::getenv("FAULT_MODE");
  if (wantedMode != nullptr)
    mode = *wantedMode == 'o' ? Mode::ONCE : *wantedMode == 'a' ? Mode::ALWAYS : Mode::SHORT;
  const int descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CLOEXEC, 0));
  void* const page =
      mmap(nullptr, KINDS.size() * sizeof(uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  if (page == MAP_FAILED) std::abort();
  syscall(SYS_close, descriptor);
  counts = static_cast<std::atomic<uint64_t>*>(page);
}

bool isTurn(size_t kind) {
  if (counts == nullptr) return false;
  const uint64_t number = ++counts[kind];
  return kind == wantedKind && (mode == Mode::ONCE ? number == wantedCall : number >= wantedCall);
}

bool fails(size_t kind) {
  if (!isTurn(kind) || mode == Mode::SHORT) return false;
  errno = wantedError;
  return true;
}

/// How much a call may take, or 0 where it fails.
size_t allowed(size_t kind, size_t size, bool& failed) {
  failed = false;
  if (!isTurn(kind)) return size;
  failed = mode != Mode::SHORT;
  if (failed) errno = wantedError;
  return (size + 1) / 2;
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// NAME(parameters) fails with FAILURE: -1, null or an error number.
#define FAULT_CALL(result, name, failure, parameters, arguments) \
  extern "C" result name parameters {                            \
    static auto* const REAL = next<result parameters>(#name);    \
    return fails(kindOf(#name)) ? (failure) : REAL arguments;    \
  }
// Whatever it says, it has closed.
#define FAULT_CLOSE(name, failure, parameters, arguments)  \
  extern "C" int name parameters {                         \
    static auto* const REAL = next<int parameters>(#name); \
    const bool failing = fails(kindOf(#name));             \
    const int rc = REAL arguments;                         \
    if (failing) errno = wantedError;                      \
    return failing ? (failure) : rc;                       \
  }
// Takes less than it could: SIZE is a parameter.
#define FAULT_TRANSFER(name, parameters, arguments)            \
  extern "C" ssize_t name parameters {                         \
    static auto* const REAL = next<ssize_t parameters>(#name); \
    bool failed = false;                                       \
    size = allowed(kindOf(#name), size, failed);               \
    return failed ? -1 : REAL arguments;                       \
  }

extern "C" void* malloc(size_t size) {
  return fails(kindOf("malloc")) ? nullptr : __libc_malloc(size);
}
extern "C" void* calloc(size_t count, size_t size) {
  return fails(kindOf("malloc")) ? nullptr : __libc_calloc(count, size);
}
extern "C" void* realloc(void* old, size_t size) {
  return size > 0 && fails(kindOf("malloc")) ? nullptr : __libc_realloc(old, size);
}

FAULT_CALL(int, access, -1, (const char* path, int wanted) noexcept, (path, wanted))
FAULT_CALL(nl_catd, catopen, reinterpret_cast<nl_catd>(-1), (const char* name, int flag), (name, flag))
FAULT_CLOSE(close, -1, (int descriptor), (descriptor))
FAULT_CLOSE(closedir, -1, (DIR * directory), (directory))
FAULT_CALL(int, execv, -1, (const char* path, char* const* words) noexcept, (path, words))
FAULT_CLOSE(fclose, EOF, (FILE * stream), (stream))
FAULT_CALL(FILE*, fdopen, nullptr, (int descriptor, const char* how) noexcept, (descriptor, how))
FAULT_CALL(pid_t, fork, -1, () noexcept, ())
FAULT_CALL(int, fstat64, -1, (int descriptor, struct stat64* status) noexcept, (descriptor, status))
FAULT_CALL(int, fstatat64, -1, (int directory, const char* name, struct stat64* status, int flags) noexcept,
           (directory, name, status, flags))
FAULT_CALL(int, ftruncate64, -1, (int descriptor, off64_t length) noexcept, (descriptor, length))
FAULT_CALL(char*, getcwd, nullptr, (char* buffer, size_t size) noexcept, (buffer, size))
FAULT_TRANSFER(getdents64, (int descriptor, void* buffer, size_t size) noexcept, (descriptor, buffer, size))
FAULT_CALL(group*, getgrgid, nullptr, (gid_t number), (number))
FAULT_CALL(mntent*, getmntent_r, nullptr, (FILE * stream, mntent* entry, char* buffer, int size) noexcept,
           (stream, entry, buffer, size))
FAULT_CALL(passwd*, getpwuid, nullptr, (uid_t number), (number))
FAULT_CALL(int, getrlimit64, -1, (__rlimit_resource_t resource, rlimit64* limit) noexcept, (resource, limit))
FAULT_CALL(int, isatty, 0, (int descriptor) noexcept, (descriptor))
FAULT_CALL(tm*, localtime_r, nullptr, (const time_t* time, tm* result) noexcept, (time, result))
FAULT_CALL(int, lockf64, -1, (int descriptor, int command, off64_t length), (descriptor, command, length))
FAULT_CALL(int, mkdir, -1, (const char* path, mode_t bits) noexcept, (path, bits))
FAULT_CALL(locale_t, newlocale, nullptr, (int mask, const char* name, locale_t base) noexcept,
           (mask, name, base))
FAULT_CALL(DIR*, opendir, nullptr, (const char* path), (path))
FAULT_CALL(int, pidfd_open, -1, (pid_t process, unsigned flags) noexcept, (process, flags))
FAULT_CALL(int, pipe2, -1, (int* ends, int flags) noexcept, (ends, flags))
FAULT_CALL(int, ppoll, -1, (pollfd * descriptors, nfds_t count, const timespec* limit, const sigset_t* mask),
           (descriptors, count, limit, mask))
FAULT_TRANSFER(pread64, (int descriptor, void* buffer, size_t size, off64_t place),
               (descriptor, buffer, size, place))
FAULT_CALL(int, pthread_create, wantedError,
           (pthread_t * thread, const pthread_attr_t* attributes, void* (*function)(void*),
            void* argument) noexcept,
           (thread, attributes, function, argument))
FAULT_TRANSFER(pwrite64, (int descriptor, const void* buffer, size_t size, off64_t place),
               (descriptor, buffer, size, place))
FAULT_TRANSFER(read, (int descriptor, void* buffer, size_t size), (descriptor, buffer, size))
FAULT_CALL(dirent64*, readdir64, nullptr, (DIR * directory), (directory))
FAULT_CALL(int, rename, -1, (const char* from, const char* to) noexcept, (from, to))
FAULT_CALL(char*, setlocale, nullptr, (int category, const char* name) noexcept, (category, name))
FAULT_CALL(int, setpgid, -1, (pid_t process, pid_t group) noexcept, (process, group))
FAULT_CALL(int, sigaction, -1,
           (int number, const struct sigaction* action, struct sigaction* before) noexcept,
           (number, action, before))
FAULT_CALL(int, stat64, -1, (const char* path, struct stat64* status) noexcept, (path, status))
FAULT_CALL(int, statfs64, -1, (const char* path, struct statfs64* status) noexcept, (path, status))
FAULT_CALL(size_t, strftime, 0, (char* text, size_t size, const char* format, const tm* time) noexcept,
           (text, size, format, time))
FAULT_CALL(int, unlink, -1, (const char* path) noexcept, (path))
FAULT_CALL(pid_t, waitpid, -1, (pid_t process, int* status, int options), (process, status, options))
FAULT_TRANSFER(write, (int descriptor, const void* buffer, size_t size), (descriptor, buffer, size))

extern "C" int clock_gettime(clockid_t clock, timespec* result) noexcept {
  static auto* const REAL = next<int(clockid_t, timespec*)>("clock_gettime");
  static std::atomic<int> looks{0};
  const int rc = REAL(clock, result);
  if (clock == CLOCK_REALTIME) result->tv_sec += ++looks % 2 == 0 ? clockJump : -clockJump;
  return rc;
}

extern "C" time_t time(time_t* result) noexcept {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  if (result != nullptr) *result = now.tv_sec;
  return now.tv_sec;
}

// With a third or fourth argument that need not be there.

extern "C" int open64(const char* path, int flags, ...) {
  static auto* const REAL = next<int(const char*, int, ...)>("open64");
  va_list rest;
  va_start(rest, flags);
  const auto bits = (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return fails(kindOf("open64")) ? -1 : REAL(path, flags, bits);
}

extern "C" int openat64(int directory, const char* path, int flags, ...) {
  static auto* const REAL = next<int(int, const char*, int, ...)>("openat64");
  return fails(kindOf("openat64")) ? -1 : REAL(directory, path, flags, 0);  // nobody creates files so
}

extern "C" int fcntl64(int descriptor, int command, ...) {
  static auto* const REAL = next<int(int, int, ...)>("fcntl64");
  va_list rest;
  va_start(rest, command);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  return fails(kindOf("fcntl64")) ? -1 : REAL(descriptor, command, argument);
}
