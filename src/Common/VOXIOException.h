#pragma once

#include <string>
#include <utility>

namespace agent {

/// The result file could not be written; the driver turns it into return code 9.
class VOXIOException {
 public:
  VOXIOException() = default;
  /// @param message the failure, GenericPrint::MSG_FILE_OPEN_WRITE_FAILED
  /// @param detail what was being done: the call and the file
  VOXIOException(std::string message, std::string detail)
      : message_(std::move(message)), detail_(std::move(detail)) {}
  virtual ~VOXIOException() = default;
  VOXIOException(const VOXIOException&) = default;
  VOXIOException& operator=(const VOXIOException&) = default;

  const std::string& getMessage() const { return message_; }
  void setMessage(std::string message) { message_ = std::move(message); }
  const std::string& getDetail() const { return detail_; }
  void setDetail(std::string detail) { detail_ = std::move(detail); }
  /// The system's own text for the reason.
  const std::string& getCause() const { return cause_; }
  void setCause(std::string cause) { cause_ = std::move(cause); }

 private:
  std::string message_;
  std::string detail_;
  std::string cause_;
};

}  // namespace agent
