#include "Scan/results/ResultsList.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace agent {

namespace {

// No file system has this id: ids are 32 bits wide.
constexpr int64_t ANY_FILESYSTEM = std::numeric_limits<int64_t>::max();

int64_t keyOf(const ResultsByFS& results) {
  const std::optional<int32_t> id = results.filesystemID();
  return id ? *id : ANY_FILESYSTEM;
}

}  // namespace

ResultsByFS& ResultsList::insert(int64_t place, std::unique_ptr<ResultsByFS> results) {
  const int64_t filesystem = keyOf(*results);
  return *entries_.emplace(std::pair(filesystem, place), std::move(results)).first->second;
}

std::vector<const ResultsByFS*> ResultsList::concerning(int32_t filesystemID) const {
  std::vector<Entries::const_iterator> found;
  const auto take = [&](Entries::const_iterator from, Entries::const_iterator to) {
    for (auto entry = from; entry != to; ++entry) found.push_back(entry);
  };
  if (filesystemID < 1) {
    take(entries_.begin(), entries_.end());
  } else {
    constexpr int64_t FIRST = std::numeric_limits<int64_t>::min();
    take(entries_.lower_bound({filesystemID, FIRST}),
         entries_.lower_bound({int64_t{filesystemID} + 1, FIRST}));
    take(entries_.lower_bound({ANY_FILESYSTEM, FIRST}), entries_.end());
  }
  std::sort(found.begin(), found.end(),
            [](const auto& a, const auto& b) { return a->first.second < b->first.second; });
  std::vector<const ResultsByFS*> results;
  results.reserve(found.size());
  for (const auto& entry : found) results.push_back(entry->second.get());
  return results;
}

void ResultsList::keep(const std::function<bool(ResultsByFS&)>& isWanted) {
  std::map<int64_t, Entries::iterator> inOrder;
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    inOrder.emplace(entry->first.second, entry);
  }
  for (const auto& [place, entry] : inOrder) {
    if (!isWanted(*entry->second)) entries_.erase(entry);
  }
}

bool ResultsList::removeFirstOf(int32_t filesystemID) {
  const auto first = entries_.lower_bound({filesystemID, std::numeric_limits<int64_t>::min()});
  if (first == entries_.end() || first->first.first != filesystemID) return false;
  entries_.erase(first);
  return true;
}

}  // namespace agent
