#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "QLMlib/common/ut/Trace.h"

namespace agent {

/// A sort key: smaller key first, at equal keys the earlier arrival.
struct Orderer {
  int64_t key = 0;
  int32_t sequence = 0;

  friend bool operator<(const Orderer& a, const Orderer& b) {
    return a.key != b.key ? a.key < b.key : a.sequence < b.sequence;
  }
};

/// Keeps the N entries with the greatest key. A newcomer must beat the smallest key, not equal it, so the
/// first arrivals at a key keep their place; of equal smallest keys the earliest arrival is the one to go.
///
/// Ask mustAdd first: an entry that doesn't rank costs one comparison. A heap with the smallest entry in
/// front, so that is where the comparison looks.
template <typename Record>
class NMost {
 public:
  /// @param nMaxToRetain N; below 1 nothing ranks
  explicit NMost(int32_t nMaxToRetain)
      : nMaxToRetain_(nMaxToRetain < 0 ? 0 : static_cast<size_t>(nMaxToRetain)) {
    TRACE(TR_MAX, "NMost::NMost() : Max. to retain = %d.\n", nMaxToRetain);
  }

  /// True when an entry with this key ranks. Remembers the key for add.
  bool mustAdd(int64_t key) {
    candidateKey_ = key;
    if (entries_.size() < nMaxToRetain_) return true;
    return !entries_.empty() && key > entries_.front().first.key;
  }

  /// Adds the record under the key of the last mustAdd, which must have been true. Evicts the smallest entry
  /// of a full list.
  void add(Record record) {
    const Orderer orderer{candidateKey_, static_cast<int32_t>(nextSequence_++)};
    if (entries_.size() == nMaxToRetain_) {
      std::pop_heap(entries_.begin(), entries_.end(), greater);
      entries_.pop_back();
    }
    entries_.emplace_back(orderer, std::move(record));
    std::push_heap(entries_.begin(), entries_.end(), greater);
  }

  /// Empties the list.
  /// @return the records from the greatest key to the smallest; of equal keys the later arrival first
  std::vector<Record> takeDescending() {
    std::sort(entries_.begin(), entries_.end(), greater);
    std::vector<Record> records;
    records.reserve(entries_.size());
    for (auto& entry : entries_) records.push_back(std::move(entry.second));
    entries_.clear();
    return records;
  }

 private:
  using Entry = std::pair<Orderer, Record>;
  static bool greater(const Entry& a, const Entry& b) { return b.first < a.first; }

  size_t nMaxToRetain_;
  uint32_t nextSequence_ = 0;
  int64_t candidateKey_ = 0;
  std::vector<Entry> entries_;
};

}  // namespace agent
