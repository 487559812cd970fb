#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace agent {

/// Where records that were looked up lately are found again without their table: most entries have an owner
/// or an extension that one shortly before them had.
///
/// A place is one of few, so the caller looks whether the record there is the one it wants, and puts the one
/// that it found in its table there instead. Whoever aims at one place sends others to the table and no
/// further, so the place needs no hash that nobody can foresee.
template <typename Record>
class RecentRecords {
 public:
  Record*& placeOf(uint64_t key) { return places_[(key * MULTIPLIER) >> shift_]; }

  /// The table holds so many records now. Forgets all where that calls for more places.
  void widenFor(size_t records) {
    if (places_.size() == MOST_PLACES || places_.size() >= PLACES_FOR_EACH * records) return;
    places_.assign(2 * places_.size(), nullptr);
    --shift_;
  }
  void forget() { places_.assign(places_.size(), nullptr); }

 private:
  static constexpr size_t FIRST_PLACES = 4;
  static constexpr size_t MOST_PLACES = 256;
  static constexpr size_t PLACES_FOR_EACH = 4;
  static constexpr uint64_t MULTIPLIER = 0x9E37'79B9'7F4A'7C15;  // 2^64 over the golden ratio: keys spread

  std::vector<Record*> places_ = std::vector<Record*>(FIRST_PLACES);
  int shift_ = 62;  // 2^(64 - shift) places
};

}  // namespace agent
