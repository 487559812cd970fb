#pragma once

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "Common/SeededHash.h"
#include "Scan/statistics/Accumulator.h"
#include "Scan/walk/FileAction.h"

namespace agent {

class CuStatDef;
class CuStatResults;
class Filesystem;
class LargeDirAccum;

/// One statistic on one file system or monitored directory while it is walked: the accumulators that its
/// definition asks for, and the rule that keeps hard links from being counted again.
class CuStatAccum : public FileAction {
 public:
  CuStatAccum();
  ~CuStatAccum() override;

  /// Builds the accumulators that the definition's flags ask for. May be called again: what the last build
  /// left is released first.
  void buildAccum(CuStatDef& definition, Filesystem& filesystem);

  void actUpon(Scanner& scanner, FileAttributes& attributes) override;
  void directoryEntered(FileAttributes& attributes) override;
  /// Leaving the directory that was entered first finishes the accumulators into the results.
  void directoryLeft() override;

  /// Hands the results over. The accumulators go on filling them, so whoever takes them keeps them until the
  /// walk has ended.
  std::unique_ptr<CuStatResults> takeResults();

 protected:
  explicit CuStatAccum(const char* className);

  static constexpr int32_t OUTSIDE = -1;
  int32_t level() const { return level_; }
  void releaseInodeTableMap();
  void releaseAccumulators();

 private:
  template <typename Accum, typename... Arguments>
  void push(Arguments&&... arguments);

  // Inodes with more than one link seen so far. One file system or monitored directory, so no device.
  std::unordered_set<uint64_t, SeededHash> inodeTable_;
  int32_t level_ = OUTSIDE;                                 // depth inside the subtree
  std::vector<std::unique_ptr<Accumulator>> accumulators_;  // in the order of building; called in reverse
  std::unique_ptr<LargeDirAccum> largeDirectories_;         // apart: it also hears of directories
  CuStatResults* results_ = nullptr;
  std::unique_ptr<CuStatResults> ownResults_;  // until they are taken
};

}  // namespace agent
