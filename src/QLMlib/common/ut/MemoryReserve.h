#pragma once

#include <atomic>
#include <new>

namespace agent {

// Memory for an orderly end. Where the system has no more, small pieces come from a reserve of the program's
// own, for the C and C++ libraries as well: malloc and its kin stand in front of the system's, as the C
// library's manual allows ("Replacing malloc"). So nothing that unwinds, logs, deletes or tells anybody fails
// for want of a few bytes. Whoever does work of any length asks whether the reserve has been touched, and
// ends with std::bad_alloc. Large pieces, and all when the reserve is used up, fail at once, as ever.
//
// Under a sanitizer, which brings a malloc of its own, there is no reserve.

/// True from the first piece on that the system could not give. Never false again.
extern std::atomic<bool> memoryIsShort;

/// Asked for each entry, so it costs a test.
/// @throws std::bad_alloc when memory is short
inline void endWhereMemoryIsShort() {
  if (memoryIsShort.load(std::memory_order_relaxed)) throw std::bad_alloc();
}

}  // namespace agent
