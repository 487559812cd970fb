#include "QLMlib/common/unx/SystemCalls.h"

#include <cerrno>
#include <cstdint>

#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <sys/pidfd.h>  // glibc 2.36 declares it for C alone
}

#include "QLMlib/common/unx/SystemCallTable.h"

namespace agent {

constinit SystemCallTable systemCalls{
    .access{::access},
    .mkdir{::mkdir},
    .mkostemp{::mkostemp},
    .open{[](const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }},
    .rename{::rename},
    .stat{::stat},
    .lstat{::lstat},
    .statfs{::statfs},
    .unlink{::unlink},
    .getcwd{::getcwd},

    .openat{[](int directory, const char* name, int flags) { return ::openat(directory, name, flags); }},
    .getdents64{::getdents64},
    .fstatat{::fstatat},
    .opendir{::opendir},
    .readdir{::readdir},
    .closedir{::closedir},

    .close{::close},
    .dup2{::dup2},
    .fchmod{::fchmod},
    .fcntl{[](int descriptor, int command, intptr_t argument) {
      return ::fcntl(descriptor, command, argument);
    }},
    .fdopen{::fdopen},
    .fclose{::fclose},
    .flock{::flock},
    .fstat{::fstat},
    .ftruncate{::ftruncate},
    .ioctl{[](int descriptor, unsigned long request, void* argument) {
      return ::ioctl(descriptor, request, argument);
    }},
    .isatty{::isatty},
    .lockf{::lockf},
    .lseek{::lseek},
    .pipe2{::pipe2},
    .read{::read},
    .pread{::pread},
    .write{::write},
    .pwrite{::pwrite},
    .send{::send},

    .poll{::poll},
    .ppoll{::ppoll},
    .sigtimedwait{::sigtimedwait},

    .fork{::fork},
    .kill{::kill},
    .pidfd_open{::pidfd_open},
    .setpgid{::setpgid},
    .waitpid{::waitpid},
    .getrlimit{[](int resource, rlimit* limit) {
      return ::getrlimit(static_cast<__rlimit_resource_t>(resource), limit);
    }},
    .setrlimit{[](int resource, const rlimit* limit) {
      return ::setrlimit(static_cast<__rlimit_resource_t>(resource), limit);
    }},

    .pthread_mutex_init{::pthread_mutex_init},
    .pthread_mutex_lock{::pthread_mutex_lock},
    .pthread_mutex_trylock{::pthread_mutex_trylock},
    .pthread_mutex_unlock{::pthread_mutex_unlock},
    .pthread_mutex_destroy{::pthread_mutex_destroy},
};

namespace sys {
namespace {

bool isFailure(int64_t result) {
  return result == -1;
}
bool isFailure(const void* result) {
  return result == nullptr;
}

/// Makes a call again for as long as a signal breaks it off.
template <typename Call, typename... Arguments>
auto again(const Call& call, Arguments... arguments) {
  auto result = call(arguments...);
  while (isFailure(result) && errno == EINTR) result = call(arguments...);
  return result;
}

}  // namespace

int access(const char* path, int mode) {
  return again(systemCalls.access, path, mode);
}
int mkdir(const char* path, mode_t mode) {
  return systemCalls.mkdir(path, mode);
}
int mkostemp(char* pattern, int flags) {
  return again(systemCalls.mkostemp, pattern, flags);
}
int rename(const char* from, const char* to) {
  return systemCalls.rename(from, to);
}
int stat(const char* path, struct stat* result) {
  return again(systemCalls.stat, path, result);
}
int lstat(const char* path, struct stat* result) {
  return again(systemCalls.lstat, path, result);
}
int statfs(const char* path, struct statfs* result) {
  return again(systemCalls.statfs, path, result);
}
int unlink(const char* path) {
  return systemCalls.unlink(path);
}
char* getcwd(char* buffer, size_t size) {
  return again(systemCalls.getcwd, buffer, size);
}
int open(const char* path, int flags, mode_t mode) {
  return again(systemCalls.open, path, flags, mode);
}

int openat(int directory, const char* name, int flags) {
  return again(systemCalls.openat, directory, name, flags);
}
ssize_t getdents64(int directory, void* buffer, size_t size) {
  return again(systemCalls.getdents64, directory, buffer, size);
}
int fstatat(int directory, const char* name, struct stat* result, int flags) {
  return again(systemCalls.fstatat, directory, name, result, flags);
}

int close(int descriptor) {
  return systemCalls.close(descriptor);
}
int dup2(int descriptor, int target) {
  return again(systemCalls.dup2, descriptor, target);
}
int fchmod(int descriptor, mode_t mode) {
  return again(systemCalls.fchmod, descriptor, mode);
}
int fcntl(int descriptor, int command, int argument) {
  return again(systemCalls.fcntl, descriptor, command, intptr_t{argument});
}
int fcntl(int descriptor, int command, struct ::flock& lock) {
  return again(systemCalls.fcntl, descriptor, command, reinterpret_cast<intptr_t>(&lock));
}
std::FILE* fdopen(int descriptor, const char* mode) {
  return again(systemCalls.fdopen, descriptor, mode);
}
int fclose(std::FILE* stream) {
  return systemCalls.fclose(stream);
}
int flock(int descriptor, int operation) {
  return again(systemCalls.flock, descriptor, operation);
}
int fstat(int descriptor, struct stat* result) {
  return again(systemCalls.fstat, descriptor, result);
}
int ftruncate(int descriptor, off_t length) {
  return again(systemCalls.ftruncate, descriptor, length);
}
int ioctl(int descriptor, unsigned long request, void* argument) {
  return again(systemCalls.ioctl, descriptor, request, argument);
}
bool isatty(int descriptor) {
  return systemCalls.isatty(descriptor) == 1;
}
int lockf(int descriptor, int command, off_t length) {
  return again(systemCalls.lockf, descriptor, command, length);
}
off_t lseek(int descriptor, off_t offset, int whence) {
  return again(systemCalls.lseek, descriptor, offset, whence);
}
int pipe2(int* ends, int flags) {
  return again(systemCalls.pipe2, ends, flags);
}
ssize_t read(int descriptor, void* buffer, size_t size) {
  return again(systemCalls.read, descriptor, buffer, size);
}
ssize_t pread(int descriptor, void* buffer, size_t size, off_t position) {
  return again(systemCalls.pread, descriptor, buffer, size, position);
}
ssize_t write(int descriptor, const void* bytes, size_t size) {
  return again(systemCalls.write, descriptor, bytes, size);
}
ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t position) {
  return again(systemCalls.pwrite, descriptor, bytes, size, position);
}
ssize_t send(int socket, const void* bytes, size_t size, int flags) {
  return again(systemCalls.send, socket, bytes, size, flags);
}

int poll(pollfd* descriptors, nfds_t count, int milliseconds) {
  return systemCalls.poll(descriptors, count, milliseconds);
}
int ppoll(pollfd* descriptors, nfds_t count, const timespec* limit, const sigset_t* mask) {
  return systemCalls.ppoll(descriptors, count, limit, mask);
}
int sigtimedwait(const sigset_t* signals, siginfo_t* information, const timespec* limit) {
  return systemCalls.sigtimedwait(signals, information, limit);
}

pid_t fork() {
  return systemCalls.fork();
}
int kill(pid_t process, int signalNumber) {
  return again(systemCalls.kill, process, signalNumber);
}
int pidfd_open(pid_t process, unsigned flags) {
  return again(systemCalls.pidfd_open, process, flags);
}
int setpgid(pid_t process, pid_t group) {
  return again(systemCalls.setpgid, process, group);
}
pid_t waitpid(pid_t process, int* status, int options) {
  return again(systemCalls.waitpid, process, status, options);
}
int getrlimit(int resource, rlimit* limit) {
  return again(systemCalls.getrlimit, resource, limit);
}
int setrlimit(int resource, const rlimit* limit) {
  return again(systemCalls.setrlimit, resource, limit);
}

}  // namespace sys
}  // namespace agent
