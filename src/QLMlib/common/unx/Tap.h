#pragma once

#include <ctime>

namespace agent {

// Results of a wait.
inline constexpr int TAP_DONE = 0;
inline constexpr int TAP_TIME_LEFT = 140;
inline constexpr int TAP_TIMED_OUT = 964;
inline constexpr int TAP_FAILED = -1;

enum class TapDirection { RECEIVE = 0, SEND = 1 };

/// Sends or receives one byte, the signal between two threads, on the non-blocking end of a pipe.
/// @param seconds limit on the monotonic clock, from the call on; 0: wait for ever
/// @return tapDone; tapTimedOut; tapFailed and errno, also where the other end has been closed
int tryOnTap(int descriptor, TapDirection direction, unsigned seconds);

/// @param start a time of the monotonic clock
/// @return tapTimeLeft, or tapTimedOut once `seconds` have passed since `start`
int checkElapsedTime(const std::timespec& start, unsigned seconds);

}  // namespace agent
