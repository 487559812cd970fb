#pragma once

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <ctime>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/types.h>

/// The seam to the system. No other file of src/ calls the system directly, so that a test can refuse any
/// call (tests/support/RefusedCalls.h) and EINTR is dealt with in one place; scripts/lint-system-calls holds
/// us to it. Excepted are
///
///   - calls that cannot fail with the arguments that they get: getpid, clock_gettime, sigaction,
///     pthread_sigmask and their like;
///   - what a child does between fork and exec, where only the system's bare, async-signal-safe calls may
///     stand (Common/unix/ChildSide.cpp), and threads, which Thread.h and Mutex.h start and lock;
///   - the C library where it is no thin cover of a call: look-ups of users (behind UserDatabase), hosts and
///     message catalogs, getmntent_r on a stream that was opened here, stdio into buffers.
///
/// Each function behaves as its manual page says: -1 or null, and errno. About EINTR there are three kinds:
///
///   again   made again by itself: what was interrupted has done nothing yet
///   told    failing with EINTR like with any other reason: it may have been done all the same, by a server,
///           and a second attempt would fail over the first one's success
///   never   close and its kin: Linux has freed the number even where it reports EINTR, and another thread
///           may have it by now (close(2))
///
/// What opens something gives its owner: openFile, openPipe (OwnedDescriptor.h), DirectoryStream.
namespace agent::sys {

// ---- Files by name ----

int access(const char* path, int mode);               // again
int mkdir(const char* path, mode_t mode);             // told
int mkostemp(char* pattern, int flags);               // again; the caller owns the descriptor
int rename(const char* from, const char* to);         // told
int stat(const char* path, struct stat* result);      // again
int lstat(const char* path, struct stat* result);     // again
int statfs(const char* path, struct statfs* result);  // again
int unlink(const char* path);                         // told
char* getcwd(char* buffer, size_t size);              // again; a null buffer: the caller frees the result

/// again. For descriptors that go to others: standard input, output and error. The job's own files are opened
/// by openFile.
int open(const char* path, int flags, mode_t mode = 0);

// ---- Directories ----

int openat(int directory, const char* name, int flags);                        // again
ssize_t getdents64(int directory, void* buffer, size_t size);                  // again
int fstatat(int directory, const char* name, struct stat* result, int flags);  // again

// ---- Open files ----

int close(int descriptor);                                                       // never
int dup2(int descriptor, int target);                                            // again
int fchmod(int descriptor, mode_t mode);                                         // again
int fcntl(int descriptor, int command, int argument = 0);                        // again
int fcntl(int descriptor, int command, struct ::flock& lock);                    // again, F_SETLKW too
std::FILE* fdopen(int descriptor, const char* mode);                             // again
int fclose(std::FILE* stream);                                                   // never
int flock(int descriptor, int operation);                                        // again
int fstat(int descriptor, struct stat* result);                                  // again
int ftruncate(int descriptor, off_t length);                                     // again
int ioctl(int descriptor, unsigned long request, void* argument);                // again
bool isatty(int descriptor);                                                     // again
int lockf(int descriptor, int command, off_t length);                            // again
off_t lseek(int descriptor, off_t offset, int whence);                           // again
int pipe2(int* ends, int flags);                                                 // again
ssize_t read(int descriptor, void* buffer, size_t size);                         // again
ssize_t pread(int descriptor, void* buffer, size_t size, off_t position);        // again
ssize_t write(int descriptor, const void* bytes, size_t size);                   // again
ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t position);  // again
ssize_t send(int socket, const void* bytes, size_t size, int flags);             // again

// ---- Waiting: told, for the limit has run on meanwhile and is the caller's to work out anew ----

int poll(pollfd* descriptors, nfds_t count, int milliseconds);
int ppoll(pollfd* descriptors, nfds_t count, const timespec* limit, const sigset_t* mask);
int sigtimedwait(const sigset_t* signals, siginfo_t* information, const timespec* limit);

// ---- Processes ----

pid_t fork();                                            // in the child only what ChildSide.cpp does
int kill(pid_t process, int signalNumber);               // again
int pidfd_open(pid_t process, unsigned flags);           // again; the caller owns the descriptor
int setpgid(pid_t process, pid_t group);                 // again
pid_t waitpid(pid_t process, int* status, int options);  // again: the child has not been taken
int getrlimit(int resource, rlimit* limit);              // again
int setrlimit(int resource, const rlimit* limit);        // again

}  // namespace agent::sys
