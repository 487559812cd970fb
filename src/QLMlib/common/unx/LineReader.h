#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent {

/// Reads a file line by line from any byte offset, buffered; a seek inside the buffer costs nothing. Lines
/// may be of any length and hold any byte but the newline.
class LineReader {
 public:
  explicit LineReader(OwnedDescriptor file) : file_(std::move(file)) {}

  /// The line at the current position without its newline; a last line without one counts. Nothing at the end
  /// of the file or after a failure. The view holds until the next call of any operation.
  std::optional<std::string_view> next();

  /// True when the last next() ended in a failed read, not in the end of the file.
  bool failed() const { return failed_; }

  /// errno of the last next() that failed or seek() that was refused.
  int error() const { return error_; }

  /// Byte offset behind the last line read.
  int64_t position() const { return bufferStart_ + static_cast<int64_t>(cursor_); }

  /// Moves to a byte offset. @return false when it is negative or the file is not open
  bool seek(int64_t position);

  bool isOpen() const { return static_cast<bool>(file_); }
  void close() { file_.close(); }

 private:
  bool refill();

  OwnedDescriptor file_;
  std::vector<char> buffer_;
  size_t filled_ = 0;        // bytes of the buffer that hold file content
  size_t cursor_ = 0;        // where the next line begins in the buffer
  int64_t bufferStart_ = 0;  // file offset of the buffer's first byte
  bool failed_ = false;
  int error_ = 0;
  std::string longLine_;  // a line that runs over the buffer's end
};

}  // namespace agent
