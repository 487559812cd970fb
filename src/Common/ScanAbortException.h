#pragma once

#include <string>
#include <utility>

namespace agent {

/// The job was told to stop. The only exception that ends a walk; the driver turns it into return code 8.
class ScanAbortException {
 public:
  explicit ScanAbortException(std::string message) : message_(std::move(message)) {}
  virtual ~ScanAbortException() = default;
  ScanAbortException(const ScanAbortException&) = default;
  ScanAbortException& operator=(const ScanAbortException&) = default;

  const std::string& getMessage() const { return message_; }

 private:
  std::string message_;
};

}  // namespace agent
