#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace agent {

/// The definition file can't be read: 12 no name or no object, 13 not opened, 17 seek or read failure, 321 a
/// class without a header row. The code becomes the job's return code.
class VOXParserException {
 public:
  explicit VOXParserException(int32_t code, std::string message = {})
      : code_(code), message_(std::move(message)) {}

  int32_t getCode() const { return code_; }
  const std::string& getMessage() const { return message_; }

 private:
  int32_t code_;
  std::string message_;
};

}  // namespace agent
