#include "QLMlib/common/unx/StarterOutput.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "QLMlib/common/unx/OwnedDescriptor.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

using Clock = std::chrono::steady_clock;

enum class Kind { FILE, PIPE, SOCKET, TERMINAL };

Kind kindOf(int descriptor) {
  struct stat status;
  if (sys.fstat(descriptor, &status) != 0) return Kind::FILE;  // the write will tell
  if (S_ISFIFO(status.st_mode)) return Kind::PIPE;
  if (S_ISSOCK(status.st_mode)) return Kind::SOCKET;
  return sys.isatty(descriptor) == 1 ? Kind::TERMINAL : Kind::FILE;
}

/// A descriptor of the starter's, written to without waiting and without a change to it.
///
///   file       a write, which waits for nobody
///   socket     a send that is told not to wait
///   pipe,      opened a second time through /proc, for a description of our own that never waits. Where it
///   terminal   can't be (another user's pipe, no /proc) no more is written at once than poll(2) has seen
///   room
///              for: another writer that takes this room in between could still make us wait for it
class ReaderEnd {
 public:
  explicit ReaderEnd(int descriptor) : descriptor_(descriptor), kind_(kindOf(descriptor)) {
    if (kind_ != Kind::PIPE && kind_ != Kind::TERMINAL) return;
    own_ =
        openFile(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY);
  }

  /// @return bytes written, or -1 and errno; EAGAIN where there is no room now
  ssize_t writeSome(std::string_view text) const {
    if (kind_ == Kind::SOCKET) {
      return sys.send(descriptor_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    if (own_) return sys.write(own_.get(), text.data(), text.size());
    if (kind_ == Kind::FILE) return sys.write(descriptor_, text.data(), text.size());
    if (!waitForRoom(std::chrono::milliseconds::zero())) {
      errno = EAGAIN;
      return -1;
    }
    const size_t promised = kind_ == Kind::PIPE ? PIPE_BUF : 1;
    return sys.write(descriptor_, text.data(), std::min(text.size(), promised));
  }

  /// @return false where there is none yet, also after an interruption
  bool waitForRoom(std::chrono::milliseconds limit) const {
    pollfd room{descriptor_, POLLOUT, 0};
    return sys.poll(&room, 1, static_cast<int>(limit.count())) > 0;
  }

 private:
  int descriptor_;
  Kind kind_;
  OwnedDescriptor own_;
};

}  // namespace

int writeToReader(int descriptor, std::string_view text, std::chrono::milliseconds patience) {
  const ReaderEnd reader(descriptor);
  Clock::time_point deadline = Clock::now() + patience;
  while (!text.empty()) {
    const ssize_t written = reader.writeSome(text);
    if (written >= 0) {
      if (written == 0) return ENOSPC;  // no progress and no reason: end it rather than spin
      text.remove_prefix(static_cast<size_t>(written));
      deadline = Clock::now() + patience;
    } else if (errno == EAGAIN) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
      if (left <= std::chrono::milliseconds::zero()) return EAGAIN;
      reader.waitForRoom(left);
    } else {
      return errno;
    }
  }
  return 0;
}

void tellStarter(int descriptor, std::string_view text) {
  const int failure = writeToReader(descriptor, text);
  if (failure != 0) {
    TRACE(TR_MIN, "Unable to write to descriptor %d: %s. Lost: %.*s\n", descriptor, std::strerror(failure),
          static_cast<int>(text.size()), text.data());
  }
}

}  // namespace agent
