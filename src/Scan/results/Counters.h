#pragma once

#include <type_traits>

namespace agent {

/// Adds to a counter of the result format. A counter of 32 bits wraps on a large file system, and sizes come
/// from file systems that anybody may have written: neither may be undefined.
template <typename Counter, typename Amount>
void addTo(Counter& counter, Amount amount) {
  using Unsigned = std::make_unsigned_t<Counter>;
  counter = static_cast<Counter>(
      static_cast<Unsigned>(static_cast<Unsigned>(counter) + static_cast<Unsigned>(amount)));
}

}  // namespace agent
