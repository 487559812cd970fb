#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "QLMlib/common/unx/OwnedDescriptor.h"

namespace agent {

/// A log file of fixed size that wraps over itself; for a program that runs for years, such as the agent. The
/// job's own logs don't wrap. The owner serialises the calls.
///
///     LOGHEADERREC <next write><wrap size> <product> <build date>     one line, numbers in 12 and 10 columns
///     (a blank line)
///     newest lines ...
///     <end-of-data mark>
///     oldest lines ...
///     <wrap mark>          blanks up to the wrap size          *
///
/// Before its first round nothing follows the end-of-data mark. The marks are the texts of messages 217 and
/// 216. Every write looks the position up in the file, so that several programs may take turns.
class LogRing {
 public:
  /// Opens or creates the file. One of another size, another header or none is rewritten through a temporary
  /// file in its directory, as many of its newest lines as fit are kept.
  /// @param wrapSize bytes; too small a size for the header and a line gives EINVAL
  /// @return 0 or errno
  int open(const std::string& path, uint32_t wrapSize);

  /// Writes `text`, cut to what the whole ring holds.
  /// @return 0 or errno
  int write(std::string_view text);

  /// @return 0 or errno
  int close() { return descriptor_.close(); }

  bool isOpen() const { return static_cast<bool>(descriptor_); }

 private:
  struct Header {
    uint64_t nextWrite = 0;
    uint64_t wrapSize = 0;
    uint64_t length = 0;  // of the line, with its line feed
  };
  static bool parseHeader(std::string_view bytes, Header& header);
  std::string headerLine(uint64_t nextWrite) const;
  uint64_t dataStart() const;
  uint64_t largestWrite() const;
  bool isOurs(const Header& header, uint64_t size) const;
  std::string linesOldestFirst(std::string_view bytes) const;
  int rewrite(const std::string& path, std::string_view bytes);
  int goRound(uint64_t position);

  OwnedDescriptor descriptor_;
  uint64_t wrapSize_ = 0;
  std::string wrapMark_;
  std::string endMark_;  // with its line feed
};

}  // namespace agent
