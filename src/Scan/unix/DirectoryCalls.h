#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace agent {

/// True for the two failures that say nothing about the file system: the process, or the whole system, has no
/// descriptor left (open(2)).
inline bool isOutOfDescriptors(int error) {
  return error == EMFILE || error == ENFILE;
}

/// The system calls of a walk, by name, with the manners of QLMlib/common/unx/SystemCalls.h, on which they
/// stand: -1 and errno on failure. Any number of threads may call these; a class that answers a walk in
/// another way serves that walk alone.
class DirectoryCalls {
 public:
  virtual ~DirectoryCalls() = default;

  /// Opens the directory `name` below the open directory `parent` (AT_FDCWD for a full path), never through a
  /// symbolic link as its last component, close-on-exec.
  /// @return the descriptor, or -1
  virtual int openDirectory(int parent, const char* name);

  /// Reads the next entries as getdents64(2) lays them out.
  /// @return bytes read, 0 at the end of the directory, or -1
  virtual ssize_t readEntries(int directory, void* buffer, size_t size);

  /// Stats `name` below the open directory without following a link; an empty name means the directory
  /// itself.
  virtual int statEntry(int directory, const char* name, struct stat& status);

  virtual void closeDirectory(int directory);

 protected:
  static constexpr int OPEN_FLAGS = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  static int statFlags(const char* name) { return AT_SYMLINK_NOFOLLOW | (*name == '\0' ? AT_EMPTY_PATH : 0); }

  /// Opens without touching the access time where the system lets us: a scan changes nothing, and the next
  /// one would report the reading as use. open(2): for the owner and the superuser only; the first refusal
  /// settles it for the rest of the walk.
  /// @param open takes the flags and gives 0 or the error number
  template <typename Open>
  int openKeepingAccessTime(Open open) {
    while (true) {
      const int error = open(keepAccessTimes_ ? OPEN_FLAGS | O_NOATIME : OPEN_FLAGS);
      if (error != EPERM || !keepAccessTimes_) return error;
      keepAccessTimes_ = false;
    }
  }

 private:
  std::atomic<bool> keepAccessTimes_ = true;
};

}  // namespace agent
