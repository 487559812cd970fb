#include "Scan/statistics/ExtensionTotals.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace agent {

namespace {

constexpr uint32_t END = std::numeric_limits<uint32_t>::max();
constexpr size_t FIRST_BUCKETS = 16;
constexpr int TOP_BYTE_SHIFT = 56;
constexpr uint64_t IN_EACH_BYTE = ExtensionTotals::IN_EACH_BYTE;

/// ASCII letters in lower case, all eight bytes at once: the top bit of a byte is that of the byte minus 'A'
/// or minus 'Z' + 1, without a borrow from one byte to the next.
uint64_t lowerCase(uint64_t bytes) {
  const uint64_t low = bytes & (0x7F * IN_EACH_BYTE);
  const uint64_t fromA = low + (0x80 - 'A') * IN_EACH_BYTE;
  const uint64_t beyondZ = low + (0x80 - 'Z' - 1) * IN_EACH_BYTE;
  const uint64_t upper = fromA & ~beyondZ & ~bytes & (0x80 * IN_EACH_BYTE);
  return bytes | (upper >> 2);  // 0x80 to 0x20, by which the cases differ
}

}  // namespace

ExtensionTotals::ExtensionTotals() : buckets_(FIRST_BUCKETS, END) {}

std::string ExtensionTotals::text(Key key) {
  std::string extension;
  for (int shift = TOP_BYTE_SHIFT; shift >= 0 && ((key >> shift) & 0xFF) != 0; shift -= BYTE_BITS) {
    extension += static_cast<char>((key >> shift) & 0xFF);
  }
  return extension;
}

ExtensionTotals::Total& ExtensionTotals::of(Key extension) {
  const Key key = lowerCase(extension);
  Total* const recent = recent_.placeOf(key);
  if (recent != nullptr && recent->key == key) return *recent;
  Total& total = find(key);
  recent_.placeOf(key) = &total;
  return total;
}

ExtensionTotals::Total& ExtensionTotals::find(Key key) {
  for (uint32_t i = buckets_[hash_(key) & (buckets_.size() - 1)]; i != END; i = totals_[i].next) {
    if (totals_[i].key == key) return totals_[i];
  }
  if (totals_.size() == buckets_.size()) growBuckets();
  uint32_t& bucket = buckets_[hash_(key) & (buckets_.size() - 1)];
  totals_.push_back({.key = key, .next = bucket});
  bucket = static_cast<uint32_t>(totals_.size() - 1);
  recent_.widenFor(totals_.size());
  return totals_.back();
}

void ExtensionTotals::growBuckets() {
  const size_t count = 2 * buckets_.size();
  std::vector<uint32_t>().swap(buckets_);  // frees the old ones first
  buckets_.assign(count, END);
  for (uint32_t i = 0; i < totals_.size(); ++i) {
    uint32_t& bucket = buckets_[hash_(totals_[i].key) & (count - 1)];
    totals_[i].next = std::exchange(bucket, i);
  }
}

std::deque<ExtensionTotals::Total> ExtensionTotals::takeSorted() {
  recent_.forget();
  std::deque<Total> totals = std::exchange(totals_, {});
  buckets_.assign(FIRST_BUCKETS, END);
  std::sort(totals.begin(), totals.end(), [](const Total& a, const Total& b) { return a.key < b.key; });
  return totals;
}

}  // namespace agent
