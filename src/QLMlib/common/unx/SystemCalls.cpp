#include "QLMlib/common/unx/SystemCalls.h"

#include <spawn.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
#include <sys/pidfd.h>  // glibc 2.36 declares it for C alone
}

namespace agent {

constinit SystemCallTable sys{
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
    .fsync{::fsync},
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
    .posix_spawn{[](pid_t* process, const char* path, char* const* arguments, char* const* environment) {
      return ::posix_spawn(process, path, nullptr, nullptr, arguments, environment);
    }},
    .popen{::popen},
    .pclose{::pclose},
    .getrlimit{[](int resource, rlimit* limit) {
      return ::getrlimit(static_cast<__rlimit_resource_t>(resource), limit);
    }},
    .setrlimit{[](int resource, const rlimit* limit) {
      return ::setrlimit(static_cast<__rlimit_resource_t>(resource), limit);
    }},

    .pthread_create{::pthread_create},
    .pthread_mutex_init{::pthread_mutex_init},
    .pthread_mutex_lock{::pthread_mutex_lock},
    .pthread_mutex_trylock{::pthread_mutex_trylock},
    .pthread_mutex_unlock{::pthread_mutex_unlock},
    .pthread_mutex_destroy{::pthread_mutex_destroy},
};

}  // namespace agent
