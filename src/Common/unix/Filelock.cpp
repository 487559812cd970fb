#include "Common/unix/Filelock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Common/EntityToObjectMapper.h"
#include "Common/unix/psmsgutil.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

int failure(int error) {
  errno = error;
  return -1;
}

}  // namespace

int Filelock::lockFile() {
  TRACE_SCOPE("Filelock::lockFile()");
  if (path_.empty()) {
    TRACE(TR_MIN, "Invalid file name\n");
    return failure(EINVAL);
  }
  TRACE(TR_MAX, "locking file: %s\n", path_.c_str());
  // Each turn but the last means that another process has finished its work in between; the limit is for file
  // systems whose inode numbers can't be compared.
  constexpr int TURNS = 1000;
  for (int turn = 0; turn < TURNS && !locked_; ++turn) {
    descriptor_ = openFile(path_.c_str(), O_RDWR | O_CREAT | O_NONBLOCK, 0700);
    if (!descriptor_) {
      const int error = errno;
      TRACE(TR_MIN, "Unable to lock: %s, %s\n", path_.c_str(), getSystemErrorMessage(error).c_str());
      return failure(error);
    }
    if (sys.lockf(descriptor_.get(), F_TLOCK, 0) != 0) {
      const int error = errno;
      const bool lockedByOther = error == EAGAIN || error == EACCES;
      descriptor_.close();
      TRACE(TR_MAX, lockedByOther ? "file already locked\n" : "Unable to lock file\n");
      return lockedByOther ? LOCKED_BY_OTHER : failure(error);
    }
    locked_ = pathNamesLockedFile();  // not when removed between the two calls: such a lock excludes nobody
  }
  if (!locked_) {
    descriptor_.close();
    TRACE(TR_MIN, "Unable to lock file\n");
    return failure(ESTALE);
  }
  TRACE(TR_MAX, "locked file: %s\n", path_.c_str());
  return 0;
}

void Filelock::unlockFile() {
  if (!locked_) return;
  TRACE_SCOPE("Filelock::unlockFile()");
  if (pathNamesLockedFile() && sys.unlink(path_.c_str()) != 0) {
    TRACE(TR_MIN, "Unable to remove file: %d - %s\n", errno, path_.c_str());
  }
  locked_ = false;
  if (const int error = descriptor_.close()) {  // gives up the lock
    TRACE(TR_MIN, "Unable to close file: %d - %s\n", error, path_.c_str());
  }
}

bool Filelock::isLocked() const {
  return locked_ && pathNamesLockedFile();
}

bool Filelock::pathNamesLockedFile() const {
  struct stat named;
  struct stat locked;
  return sys.stat(path_.c_str(), &named) == 0 && sys.fstat(descriptor_.get(), &locked) == 0 &&
         named.st_dev == locked.st_dev && named.st_ino == locked.st_ino;
}

int Filelock::writeProcessId() {
  if (!locked_) return EBADF;
  const std::string text = std::to_string(::getpid()) + "\n";
  if (sys.ftruncate(descriptor_.get(), 0) != 0) return errno;
  return writeAll(descriptor_.get(), text, 0);
}

pid_t Filelock::readProcessId() const {
  // While the lock is held, no second descriptor may be opened: closing it would give the lock up.
  FileDescriptor other;
  if (!locked_) other = openFile(path_.c_str(), O_RDONLY | O_NONBLOCK);
  const FileDescriptor& file = locked_ ? descriptor_ : other;
  char text[16];
  const ssize_t length = file ? readAt(file.get(), text, sizeof text, 0) : -1;
  return length > 0 ? toInt32({text, static_cast<size_t>(length)}) : -1;
}

}  // namespace agent
