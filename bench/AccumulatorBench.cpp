// What an entry costs each accumulator. The entries are made up beforehand: 4,096 files of forty owners,
// thirty extensions and mixed sizes and ages, so that lists are full after the first round and rank hardly
// anything.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "Scan/results/CuStatResults.h"
#include "Scan/selection/fileInfo.h"
#include "Scan/statistics/CuStatAccum.h"
#include "Scan/statistics/CuStatDef.h"
#include "Scan/statistics/FileAccum.h"
#include "Scan/statistics/FileTypeAccum.h"
#include "Scan/statistics/LargeDirAccum.h"
#include "Scan/statistics/SizeDistAccum.h"
#include "Scan/statistics/SummaryAccum.h"
#include "Scan/statistics/TimeDistAccum.h"
#include "Scan/statistics/UserOrGroupAccum.h"
#include "statistics/WalkStandIn.h"

namespace agent {
namespace {

constexpr int32_t LIST_LENGTH = 100;

class Entries {
 public:
  Entries() {
    for (int32_t id = 0; id < 40; ++id) {
      owners_.push_back(UserOrGroup::ofKey(id, false));
      groups_.push_back(UserOrGroup::ofKey(id, true));
    }
    uint64_t random = 88172645463325252;
    for (int i = 0; i < 4096; ++i) {
      random ^= random << 13;
      random ^= random >> 7;
      random ^= random << 17;
      FileAttributes entry = test::WalkStandIn::file(
          "/m/some/directory/file-number-" + std::to_string(i) + ".ex" + std::to_string(random % 30),
          static_cast<int64_t>(random >> 8 & 0xFFFF));
      entry.faAccessed = entry.faModified = -static_cast<int64_t>(random >> 24 & 0xFFFFFFF) * 1000;
      entry.faOwner = &owners_[random % owners_.size()];
      entry.faGroup = &groups_[random % groups_.size()];
      if (random % 50 == 0) entry.faAttributes = ATTRIBUTE_ORPHAN;
      entries.push_back(std::move(entry));
    }
  }
  std::vector<FileAttributes> entries;

 private:
  std::vector<UserOrGroup> owners_, groups_;
};

template <typename Feed>
void feed(benchmark::State& state, Feed each) {
  static Entries made;
  size_t i = 0;
  for (auto _ : state) each(made.entries[i++ & 4095]);
  state.SetItemsProcessed(state.iterations());
}

test::WalkStandIn& walk() {
  static test::WalkStandIn standIn;
  return standIn;
}

template <typename Accum>
void list(benchmark::State& state) {
  Accum accumulator(LIST_LENGTH);
  feed(state, [&](FileAttributes& entry) { accumulator.accumulate(walk().scanner, entry); });
}
BENCHMARK(list<LargeFileAccum>);
BENCHMARK(list<OldFileAccum>);
BENCHMARK(list<VulnerableFileAccum>);
BENCHMARK(list<LargestOrphansAccum>);
BENCHMARK(list<OldestOrphansAccum>);

void summary(benchmark::State& state) {
  SSummary record;
  SummaryAccum accumulator(record);
  feed(state, [&](FileAttributes& entry) { accumulator.accumulate(walk().scanner, entry); });
}
BENCHMARK(summary);

void owners(benchmark::State& state) {
  UserOrGroupAccum accumulator(UserOrGroupAccum::Kind::OWNERS, walk().filesystem);
  feed(state, [&](FileAttributes& entry) { accumulator.accumulate(walk().scanner, entry); });
}
BENCHMARK(owners);

void sizes(benchmark::State& state) {
  SSizeDist record;
  SizeDistAccum accumulator(record);
  feed(state, [&](FileAttributes& entry) { accumulator.accumulate(walk().scanner, entry); });
}
BENCHMARK(sizes);

void ages(benchmark::State& state) {
  STimeDist record;
  AccessedDistAccum accumulator(record);
  feed(state, [&](FileAttributes& entry) { accumulator.accumulate(walk().scanner, entry); });
}
BENCHMARK(ages);

void fileTypes(benchmark::State& state) {
  FileTypeAccum accumulator(1, 1, LIST_LENGTH);
  feed(state, [&](FileAttributes& entry) { accumulator.accumulate(walk().scanner, entry); });
}
BENCHMARK(fileTypes);

void directories(benchmark::State& state) {
  LargeDirAccum accumulator(LIST_LENGTH, 1);
  accumulator.newDirectory(test::WalkStandIn::directory("/m/"));
  feed(state, [&](FileAttributes& entry) { accumulator.accumulate(walk().scanner, entry); });
}
BENCHMARK(directories);

void enteringADirectory(benchmark::State& state) {
  LargeDirAccum accumulator(LIST_LENGTH, 1);
  feed(state, [&](FileAttributes& entry) {
    accumulator.newDirectory(entry);
    accumulator.closeDirectory();
  });
}
BENCHMARK(enteringADirectory);

void everythingAtOnce(benchmark::State& state) {
  CuStatDef definition;
  definition.sdLargestDirectories = definition.sdLargestFiles = definition.sdLeastAccessed = LIST_LENGTH;
  definition.sdOldestNotBackedUp = definition.sdLargestOrphans = definition.sdOldestOrphans = LIST_LENGTH;
  definition.sdLargestFileTypes = LIST_LENGTH;
  definition.sdSummary = definition.sdSizeDistribution = true;
  definition.sdGroupByOwner = definition.sdGroupByGroup = true;
  definition.sdGroupByAccess = definition.sdGroupByMod = true;
  CuStatAccum accumulator;
  accumulator.buildAccum(definition, walk().filesystem);
  FileAttributes root = test::WalkStandIn::directory("/m/");
  accumulator.directoryEntered(root);
  feed(state, [&](FileAttributes& entry) { accumulator.actUpon(walk().scanner, entry); });
}
BENCHMARK(everythingAtOnce);

}  // namespace
}  // namespace agent
