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

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
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
constexpr std::array<std::string_view, 50> KINDS = {
    "malloc",         "access",      "catopen",  "close",       "closedir",  "execv",       "fclose",
    "fcntl64",        "fdopen",      "fork",     "fstat64",     "fstatat64", "ftruncate64", "getaddrinfo",
    "getcwd",         "getdents64",  "getgrgid", "getmntent_r", "getpwuid",  "getrlimit64", "isatty",
    "kill",           "localtime_r", "lockf64",  "lseek64",     "lstat64",   "mkdir",       "newlocale",
    "open64",         "openat64",    "opendir",  "pidfd_open",  "pipe2",     "ppoll",       "pread64",
    "pthread_create", "pwrite64",    "read",     "readdir64",   "rename",    "setlocale",   "setpgid",
    "setrlimit64",    "sigaction",   "stat64",   "statfs64",    "strftime",  "unlink",      "waitpid",
    "write"};

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
  if (program == nullptr || file == nullptr) return;
  if (std::strcmp(program_invocation_short_name, program) != 0) return;
  if (const char* const call = std::getenv("FAULT_CALL")) {
    wantedKind = static_cast<size_t>(std::find(KINDS.begin(), KINDS.end(), call) - KINDS.begin());
    if (wantedKind == KINDS.size()) std::abort();
  }
  clockJump = static_cast<time_t>(numberFrom("FAULT_CLOCK"));
  wantedCall = numberFrom("FAULT_AT");
  wantedError = static_cast<int>(numberFrom("FAULT_ERROR"));
  const char* const word = std::getenv("FAULT_MODE");
  if (word != nullptr) mode = *word == 'o' ? Mode::ONCE : *word == 'a' ? Mode::ALWAYS : Mode::SHORT;
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

/// Any function of the C library, as it is called: integers and pointers, six at most and those that aren't
/// there too, travel in registers, and so does the result (System V ABI for x86-64, AAPCS64).
using Call = long(long, long, long, long, long, long);

Call* next(const char* name) {
  return reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The function of this name: GIVES stands for what it does, with its arguments a to f.
#define FAULT(name, gives)                                                                 \
  extern "C" long fault_##name(long a, long b, long c, long d, long e, long f) asm(#name); \
  long fault_##name(long a, long b, long c, long d, long e, long f) {                      \
    constexpr size_t KIND = kindOf(#name);                                                 \
    static Call* const REAL = next(#name);                                                 \
    return gives;                                                                          \
  }
#define FAIL_WITH(failure) (fails(KIND) ? (failure) : REAL(a, b, c, d, e, f))
// Whatever it says, it has closed.
#define CLOSE_AND_FAIL \
  (fails(KIND) ? (REAL(a, b, c, d, e, f), errno = wantedError, -1L) : REAL(a, b, c, d, e, f))
// Of the bytes that its third argument tells it takes half.
#define TAKE_HALF                                           \
  (!isTurn(KIND)         ? REAL(a, b, c, d, e, f)           \
   : mode == Mode::SHORT ? REAL(a, b, (c + 1) / 2, d, e, f) \
                         : (errno = wantedError, -1L))

extern "C" void* malloc(size_t size) {
  return fails(kindOf("malloc")) ? nullptr : __libc_malloc(size);
}
extern "C" void* calloc(size_t count, size_t size) {
  return fails(kindOf("malloc")) ? nullptr : __libc_calloc(count, size);
}
extern "C" void* realloc(void* old, size_t size) {
  return size > 0 && fails(kindOf("malloc")) ? nullptr : __libc_realloc(old, size);
}

FAULT(access, FAIL_WITH(-1))
FAULT(catopen, FAIL_WITH(-1))
FAULT(close, CLOSE_AND_FAIL)
FAULT(closedir, CLOSE_AND_FAIL)
FAULT(execv, FAIL_WITH(-1))
FAULT(fclose, CLOSE_AND_FAIL)
FAULT(fcntl64, FAIL_WITH(-1))
FAULT(fdopen, FAIL_WITH(0))
FAULT(fork, FAIL_WITH(-1))
FAULT(fstat64, FAIL_WITH(-1))
FAULT(fstatat64, FAIL_WITH(-1))
FAULT(ftruncate64, FAIL_WITH(-1))
FAULT(getaddrinfo, FAIL_WITH(wantedError))
FAULT(getcwd, FAIL_WITH(0))
FAULT(getdents64, TAKE_HALF)
FAULT(getgrgid, FAIL_WITH(0))
FAULT(getmntent_r, FAIL_WITH(0))
FAULT(getpwuid, FAIL_WITH(0))
FAULT(getrlimit64, FAIL_WITH(-1))
FAULT(isatty, FAIL_WITH(0))
FAULT(kill, FAIL_WITH(-1))
FAULT(localtime_r, FAIL_WITH(0))
FAULT(lockf64, FAIL_WITH(-1))
FAULT(lseek64, FAIL_WITH(-1))
FAULT(lstat64, FAIL_WITH(-1))
FAULT(mkdir, FAIL_WITH(-1))
FAULT(newlocale, FAIL_WITH(0))
FAULT(open64, FAIL_WITH(-1))
FAULT(openat64, FAIL_WITH(-1))
FAULT(opendir, FAIL_WITH(0))
FAULT(pidfd_open, FAIL_WITH(-1))
FAULT(pipe2, FAIL_WITH(-1))
FAULT(ppoll, FAIL_WITH(-1))
FAULT(pread64, TAKE_HALF)
FAULT(pthread_create, FAIL_WITH(wantedError))
FAULT(pwrite64, TAKE_HALF)
FAULT(read, TAKE_HALF)
FAULT(readdir64, FAIL_WITH(0))
FAULT(rename, FAIL_WITH(-1))
FAULT(setlocale, FAIL_WITH(0))
FAULT(setpgid, FAIL_WITH(-1))
FAULT(setrlimit64, FAIL_WITH(-1))
FAULT(sigaction, FAIL_WITH(-1))
FAULT(stat64, FAIL_WITH(-1))
FAULT(statfs64, FAIL_WITH(-1))
FAULT(strftime, FAIL_WITH(0))
FAULT(unlink, FAIL_WITH(-1))
FAULT(waitpid, FAIL_WITH(-1))
FAULT(write, TAKE_HALF)

extern "C" int clock_gettime(clockid_t clock, timespec* result) noexcept {
  static auto* const REAL =
      reinterpret_cast<int (*)(clockid_t, timespec*)>(dlsym(RTLD_NEXT, "clock_gettime"));
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
