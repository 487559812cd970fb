#pragma once

#include <sys/types.h>

#include <string>

#include "Common/unix/FileDescriptor.h"

namespace agent {

/// A short-lived lock between processes: an advisory lock on a file that exists while it is held and after a
/// holder was killed. The kernel gives the lock up when its holder dies, however it dies.
///
/// A file that was removed, by its last holder or by a person, can still be locked through a descriptor
/// opened before; so a lock counts only while the path names the locked file. The holder removes the file
/// before it gives the lock up: the other way round it could remove the file of the next holder.
///
/// WARNING: closing any descriptor of the file gives up this process's lock (a rule of POSIX record locks),
/// so one process has one Filelock for a path.
class Filelock {
 public:
  static constexpr int LOCKED_BY_OTHER = 14;

  explicit Filelock(std::string path) : path_(std::move(path)) {}
  ~Filelock() { unlockFile(); }
  Filelock(const Filelock&) = delete;
  Filelock& operator=(const Filelock&) = delete;

  /// Tries once, without waiting.
  /// @return 0, LOCKED_BY_OTHER, or -1 with the reason in errno for a failure that has been traced
  int lockFile();

  /// Removes the file and gives the lock up. Nothing happens without one.
  void unlockFile();

  /// True while the lock is held and the path still names the locked file.
  bool isLocked() const;

  /// Writes this process's number into the locked file, for people who look. @return 0 or errno
  int writeProcessId();

  /// The number that stands in the file, or -1.
  pid_t readProcessId() const;

 private:
  bool pathNamesLockedFile() const;

  std::string path_;
  FileDescriptor descriptor_;
  bool locked_ = false;
};

}  // namespace agent
