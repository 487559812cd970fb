#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace agent {

/// The definition file can't be read: 12 no name or no object, 13 not opened, 17 seek or read failure, 321 a
/// class without a header row. The code becomes the job's return code.
class VOXParserException {
 public:
  static constexpr int32_t EMPTY_FILE_NAME = 12;
  static constexpr int32_t NOT_OPENED = 13;
  static constexpr int32_t SEEK_OR_READ_FAILURE = 17;
  static constexpr int32_t CLASS_NOT_IN_HEADER = 321;

  explicit VOXParserException(int32_t code, std::string message = {}, std::string reason = {},
                              int64_t line = 0)
      : code_(code), message_(std::move(message)), reason_(std::move(reason)), line_(line) {}

  int32_t getCode() const { return code_; }
  const std::string& getMessage() const { return message_; }

  /// What the system says, where a call to it failed; otherwise empty.
  const std::string& getReason() const { return reason_; }

  /// The line that could not be read, counted from 1; 0: none.
  int64_t getLine() const { return line_; }

 private:
  int32_t code_;
  std::string message_;
  std::string reason_;
  int64_t line_;
};

}  // namespace agent
