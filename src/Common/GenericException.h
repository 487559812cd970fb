#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace agent {

/// Numbers that more than one room reacts to.
struct Constants {
  static constexpr int32_t _ERROR =
      12;  ///< errCode of a failure that ends the step; also the worst return code
};

/// A step of the job failed for good; the message `msgID` has already been logged by whoever throws this.
class GenericException {
 public:
  /// @param errCode Constants::_ERROR
  /// @param msgID number of the message that told the failure
  /// @param cause what stood behind it, or empty
  /// @param message the subject or the text of the failure
  GenericException(int32_t errCode, int32_t msgID, std::string cause, std::string message)
      : errCode_(errCode), msgID_(msgID), cause_(std::move(cause)), message_(std::move(message)) {}
  virtual ~GenericException() = default;
  GenericException(const GenericException&) = default;
  GenericException& operator=(const GenericException&) = default;

  virtual int32_t getErrCode() const { return errCode_; }
  virtual int32_t getMsgID() const { return msgID_; }
  virtual std::string getCause() const { return cause_; }
  virtual std::string getMessage() const { return message_; }

 private:
  int32_t errCode_;
  int32_t msgID_;
  std::string cause_;
  std::string message_;
};

}  // namespace agent
