#pragma once

#include <cstdint>
#include <functional>

namespace agent::test {

/// The linker leads every close(2), write(2), pread(2), rename(2), lockf(3) and pidfd_open(2) of the code under
/// test through here. While an object of this class lives, the chosen call fails; close still closes, as the
/// system's own does.
struct RefusedCalls {
  int renameError = 0;       ///< errno of every rename; 0: none fails
  int closeError = 0;        ///< errno of every close; 0: none fails
  int writeErrorAfter = -1;  ///< how many writes still succeed; -1: all
  int writeError = 0;
  int interruptions = 0;        ///< so many writes are interrupted before they write anything
  int longestWrite = 0;         ///< writes take no more bytes than this; 0: all
  int writes = 0;               ///< how often write was called
  int64_t unreadableFrom = -1;  ///< reads from this offset on fail with EIO; -1: none

  bool processDescriptors = true;  ///< false: pidfd_open(2) fails as on a kernel that doesn't have it

  std::function<void()> beforeLock;  ///< runs once, just before the next lockf

  RefusedCalls();
  ~RefusedCalls();
  RefusedCalls(const RefusedCalls&) = delete;
  RefusedCalls& operator=(const RefusedCalls&) = delete;
};

}  // namespace agent::test
