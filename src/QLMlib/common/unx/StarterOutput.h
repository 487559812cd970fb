#pragma once

#include <chrono>
#include <string_view>

namespace agent {

// What the job says to whoever started it: on standard output, on standard error, on the agent's pipe. Its
// reader may have stopped reading and never keeps the job waiting for long. The descriptors are the starter's
// as well: O_NONBLOCK set on one would change the starter's own reads and writes, so none is touched.

/// How long a reader that takes nothing is waited for.
inline constexpr std::chrono::milliseconds READER_PATIENCE{2000};

/// Writes all of `text`, as fast as a pipe's, socket's or terminal's reader takes it.
/// @param patience begins anew whenever the reader has made room; 0: what finds no room at once is lost
/// @return 0, or errno of the write that failed; EAGAIN where patience came to its end
int writeToReader(int descriptor, std::string_view text,
                  std::chrono::milliseconds patience = READER_PATIENCE);

/// The same for a message; one that could not be written whole is traced.
void tellStarter(int descriptor, std::string_view text);

}  // namespace agent
