#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "Scan/results/ResultsByFS.h"

namespace agent {

/// The results of one statistic, in the order in which they print. Those of one file system are found without
/// a look at the others: a job prints after each walk, and would otherwise look at all results for each file
/// system.
///
/// The file system that results belong to is asked for once, when they come in.
class ResultsList {
 public:
  /// Takes results over, behind all others.
  ResultsByFS& append(std::unique_ptr<ResultsByFS> results) { return insert(back_++, std::move(results)); }
  /// Takes results over, in front of all others.
  ResultsByFS& prepend(std::unique_ptr<ResultsByFS> results) { return insert(--front_, std::move(results)); }

  /// The results that belong to a file system, and those of which that can't be told.
  /// @param filesystemID its id; below 1: all there are
  std::vector<const ResultsByFS*> concerning(int32_t filesystemID) const;

  /// Keeps only the results for which `isWanted` is true; asked in the order of the list.
  void keep(const std::function<bool(ResultsByFS&)>& isWanted);
  /// Removes the first result that belongs to a file system.
  /// @return false when there is none
  bool removeFirstOf(int32_t filesystemID);
  void clear() { entries_.clear(); }

  bool empty() const { return entries_.empty(); }
  size_t size() const { return entries_.size(); }

 private:
  // By file system, then by place in the list.
  using Entries = std::map<std::pair<int64_t, int64_t>, std::unique_ptr<ResultsByFS>>;

  ResultsByFS& insert(int64_t place, std::unique_ptr<ResultsByFS> results);

  Entries entries_;
  int64_t front_ = 0;  // the first place that is taken
  int64_t back_ = 0;   // the first place behind all that are
};

}  // namespace agent
