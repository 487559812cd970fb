#include "Scan/statistics/ExtensionTotals.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace agent {

namespace {

constexpr uint32_t END = std::numeric_limits<uint32_t>::max();
constexpr size_t FIRST_BUCKETS = 16;
constexpr int TOP_BYTE_SHIFT = 56;
constexpr int BYTE_BITS = 8;

}  // namespace

ExtensionTotals::ExtensionTotals() : buckets_(FIRST_BUCKETS, END) {}

ExtensionTotals::Key ExtensionTotals::lowerCaseKey(std::string_view extension) {
  Key key = 0;
  int shift = TOP_BYTE_SHIFT;
  for (const char c : extension) {
    const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    key |= static_cast<Key>(static_cast<unsigned char>(lower)) << shift;
    shift -= BYTE_BITS;
  }
  return key;
}

std::string ExtensionTotals::text(Key key) {
  std::string extension;
  for (int shift = TOP_BYTE_SHIFT; shift >= 0 && ((key >> shift) & 0xFF) != 0; shift -= BYTE_BITS) {
    extension += static_cast<char>((key >> shift) & 0xFF);
  }
  return extension;
}

ExtensionTotals::Total& ExtensionTotals::of(std::string_view extension) {
  const Key key = lowerCaseKey(extension);
  for (uint32_t i = buckets_[hash_(key) & (buckets_.size() - 1)]; i != END; i = totals_[i].next) {
    if (totals_[i].key == key) return totals_[i];
  }
  if (totals_.size() == buckets_.size()) growBuckets();
  uint32_t& bucket = buckets_[hash_(key) & (buckets_.size() - 1)];
  totals_.push_back({.key = key, .next = bucket});
  bucket = static_cast<uint32_t>(totals_.size() - 1);
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
  std::deque<Total> totals = std::exchange(totals_, {});
  buckets_.assign(FIRST_BUCKETS, END);
  std::sort(totals.begin(), totals.end(), [](const Total& a, const Total& b) { return a.key < b.key; });
  return totals;
}

}  // namespace agent
