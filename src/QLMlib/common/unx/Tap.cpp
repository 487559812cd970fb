#include "QLMlib/common/unx/Tap.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>

#include <poll.h>

#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

constexpr int64_t NANOSECONDS_PER_SECOND = 1'000'000'000;
constexpr int64_t NANOSECONDS_PER_MILLISECOND = 1'000'000;

std::timespec monotonicNow() {
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now;
}

int64_t nanosecondsSince(const std::timespec& start) {
  const std::timespec now = monotonicNow();
  return (now.tv_sec - start.tv_sec) * NANOSECONDS_PER_SECOND + now.tv_nsec - start.tv_nsec;
}

/// What poll(2) may wait: the rest of the limit, rounded up so that no wait ends just before it.
int remainingMilliseconds(const std::timespec& start, unsigned seconds) {
  if (seconds == 0) return -1;
  const int64_t left = seconds * NANOSECONDS_PER_SECOND - nanosecondsSince(start);
  const int64_t milliseconds = (left + NANOSECONDS_PER_MILLISECOND - 1) / NANOSECONDS_PER_MILLISECOND;
  return static_cast<int>(std::clamp<int64_t>(milliseconds, 0, INT_MAX));
}

/// Moves the byte. @return 1 moved, 0 try again, -1 failed
int moveByte(int descriptor, TapDirection direction) {
  char tap = 0;
  errno = 0;
  const bool sends = direction == TapDirection::SEND;
  const ssize_t rc = sends ? sys.write(descriptor, &tap, 1) : sys.read(descriptor, &tap, 1);
  if (rc == 1) return 1;
  if (errno == EAGAIN) return 0;
  TRACE(TR_MIN, "tryOnTap: failed to %s (%d) bytes on fd(%d); rc(%d), errno(%d)\n", sends ? "write" : "read",
        1, descriptor, static_cast<int>(rc), errno);
  return -1;
}

}  // namespace

int tryOnTap(int descriptor, TapDirection direction, unsigned seconds) {
  const std::timespec start = seconds != 0 ? monotonicNow() : std::timespec{};
  const bool sends = direction == TapDirection::SEND;
  TRACE(TR_MAX, "tryOnTap: for %s on descriptor %d. bWaitForever(%s), sec(%u)\n",
        sends ? "SENDING" : "RECEIVING", descriptor, seconds == 0 ? "YES" : "NO", seconds);
  if (descriptor == -1) {
    TRACE(TR_MIN, "tryOnTap: undefined descriptor!\n");
    errno = EBADF;
    return TAP_FAILED;
  }

  for (;;) {
    // poll, not select: a job may well have more than FD_SETSIZE descriptors open.
    pollfd wait{.fd = descriptor, .events = static_cast<short>(sends ? POLLOUT : POLLIN), .revents = 0};
    const int ready = sys.poll(&wait, 1, remainingMilliseconds(start, seconds));
    if (ready == -1 && errno != EINTR) {
      TRACE(TR_MIN, "tryOnTap: has detected error %d on %d\n", errno, descriptor);
      return TAP_FAILED;
    }
    if (ready <= 0) {
      if (ready == -1) TRACE(TR_MAX, "tryOnTap: EINTR has been detected. Continue listening...\n");
      if (seconds != 0 && checkElapsedTime(start, seconds) == TAP_TIMED_OUT) {
        TRACE(TR_MIN, "tryOnTap: is timed out!\n");
        return TAP_TIMED_OUT;
      }
      TRACE(TR_MAX, "tryOnTap: continue listening...\n");
      continue;
    }
    if ((wait.revents & POLLNVAL) != 0 || (sends && (wait.revents & POLLERR) != 0)) {
      // Writing to a pipe that nobody reads would raise SIGPIPE.
      TRACE(TR_MIN, "tryOnTap: failed! Descriptor %d is not ready for %s of a tap.\n", descriptor,
            sends ? "SENDING" : "RECEIVING");
      errno = (wait.revents & POLLNVAL) != 0 ? EBADF : EPIPE;
      return TAP_FAILED;
    }
    const int moved = moveByte(descriptor, direction);
    if (moved == -1) return TAP_FAILED;
    if (moved == 1) {
      TRACE(TR_MAX, "tryOnTap: OK. %s succeeded on (%d).\n", sends ? "SENDING" : "RECEIVING", descriptor);
      return TAP_DONE;
    }
  }
}

int checkElapsedTime(const std::timespec& start, unsigned seconds) {
  const int64_t spent = nanosecondsSince(start);
  if (spent < 0) {
    TRACE(TR_MIN, "checkElapsedTime: incorrect parameters passed(curTime less than startTime!)\n");
    return TAP_TIMED_OUT;
  }
  const bool timedOut = spent >= static_cast<int64_t>(seconds) * NANOSECONDS_PER_SECOND;
  TRACE(TR_MAX, "checkElapsedTime: returns %s, spentSec(%ld), spentUsec(%ld)\n",
        timedOut ? "TIMEOUT" : "CONTINUE", static_cast<long>(spent / NANOSECONDS_PER_SECOND),
        static_cast<long>(spent % NANOSECONDS_PER_SECOND / 1000));
  return timedOut ? TAP_TIMED_OUT : TAP_TIME_LEFT;
}

}  // namespace agent
