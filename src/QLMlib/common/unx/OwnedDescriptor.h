#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include <sys/types.h>

namespace agent {

/// Owns one file descriptor and closes it. Movable; -1 means none.
class OwnedDescriptor {
 public:
  OwnedDescriptor() = default;
  explicit OwnedDescriptor(int descriptor) : descriptor_(descriptor) {}
  OwnedDescriptor(OwnedDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept;
  OwnedDescriptor(const OwnedDescriptor&) = delete;
  OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
  ~OwnedDescriptor() { close(); }

  int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ != -1; }

  /// Gives the descriptor up to the caller.
  int release() { return std::exchange(descriptor_, -1); }

  /// Closes now. Never retried: Linux has freed the number even where close(2) reports EINTR.
  /// @return 0 or errno of close(2); 0 where there is none
  int close();

 private:
  int descriptor_ = -1;
};

// On the calls of SystemCalls.h, with their manners about EINTR.

/// open(2) with O_CLOEXEC. An empty handle and errno on failure.
OwnedDescriptor openFile(const char* path, int flags, mode_t mode = 0);

/// pipe2(2) with O_CLOEXEC and `flags`.
/// @return 0 or errno
int openPipe(OwnedDescriptor& readEnd, OwnedDescriptor& writeEnd, int flags = 0);

/// Writes all of `bytes`, in one write(2) where the system lets it.
/// @param position offset in the file, or -1 to write where the descriptor stands
/// @return 0 or errno
int writeAll(int descriptor, std::string_view bytes, off_t position = -1);

/// Where a file is written anew before it is renamed over the one of this path. A name of its own for each
/// path, not for each process: what a killed process left is overwritten by the next.
std::string workingCopyOf(const std::string& path);

/// Reads up to `size` bytes from `position`, short only at the end of the file.
/// @return bytes read, or -1 and errno
ssize_t readAt(int descriptor, char* buffer, size_t size, off_t position);

/// The first 4,096 bytes of a file, such as one that the kernel makes up; empty when it can't be read.
std::string beginningOf(const std::string& path);
/// A text up to its first blank or line feed.
std::string_view firstWord(std::string_view text);

}  // namespace agent
