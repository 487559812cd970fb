#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace agent {

/// A record's row and its class's header row do not line up: code 325, which becomes the job's return code.
class VoxObjectCreationException {
 public:
  static constexpr int32_t HEADER_AND_DATA_DIFFER = 325;

  explicit VoxObjectCreationException(int32_t code, std::string message = {})
      : code_(code), message_(std::move(message)) {}

  int32_t getCode() const { return code_; }
  const std::string& getMessage() const { return message_; }

 private:
  int32_t code_;
  std::string message_;
};

}  // namespace agent
