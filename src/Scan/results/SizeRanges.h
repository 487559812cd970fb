#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace agent {

/// The eight size buckets that histograms, owner totals and directory records share.
class SizeRanges {
 public:
  static constexpr size_t BUCKETS = 8;

  /// Upper limits of buckets 0 to 6, inclusive, in units of 512 bytes: 1 KiB, 10 KiB, 100 KiB, 1 MiB, 10 MiB,
  /// 100 MiB, 500 MiB. The last bucket has none. The server knows them: they are part of the format.
  static constexpr std::array<int32_t, BUCKETS - 1> RANGES = {2, 20, 200, 2048, 20480, 204800, 1024000};

  /// @param size in units of 512 bytes
  /// @return 0 to 7
  static size_t bucket(int64_t size) {
    size_t index = 0;
    while (index < RANGES.size() && size > RANGES[index]) ++index;
    return index;
  }
};

}  // namespace agent
