#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace agent {

/// Owns one open file descriptor. Failures leave the reason in errno.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~FileDescriptor() { close(); }
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;

  /// open(2), close-on-exec, tried again when a signal interrupts it. Without a descriptor on failure.
  static FileDescriptor open(const std::string& path, int flags, mode_t mode = 0);

  int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }
  int release() { return std::exchange(descriptor_, -1); }

  /// Writes all bytes: in one write(2) where the system takes them, what it cut short behind it.
  bool writeAll(std::string_view bytes) const;

  /// read(2), tried again when a signal interrupts it.
  ssize_t read(void* buffer, size_t size) const;

  /// Appends what stands from the current position to the end of the file to `text`.
  bool readAll(std::string& text) const;

  /// Closes once, never again: the descriptor is gone even where close(2) fails.
  /// @return false when close(2) reported a lost write or another failure; true when nothing was open
  bool close();

 private:
  int descriptor_ = -1;
};

}  // namespace agent
