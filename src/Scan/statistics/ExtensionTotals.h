#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "Common/SeededHash.h"
#include "Scan/statistics/RecentRecords.h"

namespace agent {

/// Files and space by extension. Whoever may create files chooses how many extensions there are, so an entry
/// is small: 32 bytes and a bucket of 4, of which there are at most twice as many as entries. Growing moves
/// no entry and holds no second table.
class ExtensionTotals {
 public:
  // An extension has at most seven bytes, so it is its own key: packed from the top byte down, its order as a
  // number is the order of its bytes, and looking one up needs no string.
  using Key = uint64_t;
  static constexpr int BYTE_BITS = 8;
  static constexpr Key IN_EACH_BYTE = 0x0101'0101'0101'0101;

  struct Total {
    Key key;
    int64_t files = 0;
    int64_t space = 0;  ///< units of 512 bytes
    uint32_t next;      // in the same bucket; numbers suffice, for 2^32 extensions would take 150 GB
  };

  ExtensionTotals();

  /// The total of an extension, in either case of ASCII letters; a new one is 0.
  Total& of(Key extension);

  /// Gives all totals up, in rising order of extension, as bytes compare.
  std::deque<Total> takeSorted();

  /// The extension of a key, in lower case.
  static std::string text(Key key);

 private:
  Total& find(Key key);
  void growBuckets();

  SeededHash hash_;
  RecentRecords<Total> recent_;
  std::deque<Total> totals_;
  std::vector<uint32_t> buckets_;  // number of the first total; a power of two
};

}  // namespace agent
