#pragma once

#include <cstdint>
#include <span>

#include "QLMlib/common/nls/Messages.h"

namespace agent {

// What is to be done with a message, in this order.
inline constexpr uint32_t LOG_PRINT_LINE_FEED = 1;     // add a line feed to the text
inline constexpr uint32_t LOG_PRINT_STANDARD_OUT = 2;  // print it on standard output
inline constexpr uint32_t LOG_PRINT_ERROR_LOG = 4;     // write it to the error log
inline constexpr uint32_t LOG_PRINT_INSERTS = 8;       // the message has run-time inserts
inline constexpr uint32_t LOG_PRINT_BY_SEVERITY =
    32;  // write it to the error log from severity 5, W, upwards

struct MessageDescriptor {
  uint32_t number = 0;
  std::string_view identifier;  // its family decides which catalog is asked
  uint32_t flags = 0;
  MessageInserts inserts;
};

/// For the runtime's own programs, which have an error log; the job's messages go through LogManager.
///
/// Formats a message into the caller's buffer, feeds it to the global return code and does what its flags
/// ask.
/// @return length of the text without its NUL; 0 where there is no text; -1 where it doesn't fit, and then
///     nothing is printed or logged
int nlLogPrintf(const MessageDescriptor& message, std::span<char> buffer);

}  // namespace agent
