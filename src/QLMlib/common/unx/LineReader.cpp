#include "QLMlib/common/unx/LineReader.h"

#include <cerrno>
#include <cstring>

namespace agent {

namespace {
constexpr size_t BUFFER_SIZE = 65536;
}

std::optional<std::string_view> LineReader::next() {
  failed_ = false;
  longLine_.clear();
  for (;;) {
    const char* begin = buffer_.data() + cursor_;
    const size_t length = filled_ - cursor_;
    const void* newline = length == 0 ? nullptr : std::memchr(begin, '\n', length);
    if (newline != nullptr) {
      const size_t lineLength = static_cast<size_t>(static_cast<const char*>(newline) - begin);
      cursor_ += lineLength + 1;
      if (longLine_.empty()) return std::string_view(begin, lineLength);
      longLine_.append(begin, lineLength);
      return longLine_;
    }
    longLine_.append(begin, length);
    cursor_ = filled_;
    if (!refill()) {
      if (failed_ || longLine_.empty()) return std::nullopt;
      return longLine_;
    }
  }
}

bool LineReader::refill() {
  buffer_.resize(BUFFER_SIZE);
  bufferStart_ += static_cast<int64_t>(filled_);
  filled_ = cursor_ = 0;
  const ssize_t count = readAt(file_.get(), buffer_.data(), buffer_.size(), bufferStart_);
  failed_ = count < 0;
  if (failed_) error_ = errno;
  if (count > 0) filled_ = static_cast<size_t>(count);
  return count > 0;
}

bool LineReader::seek(int64_t position) {
  if (!file_ || position < 0) {
    error_ = file_ ? EINVAL : EBADF;
    return false;
  }
  if (position >= bufferStart_ && position - bufferStart_ <= static_cast<int64_t>(filled_)) {
    cursor_ = static_cast<size_t>(position - bufferStart_);
  } else {
    bufferStart_ = position;
    filled_ = cursor_ = 0;
  }
  return true;
}

}  // namespace agent
