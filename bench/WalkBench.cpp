// What the time limit of system calls costs a walk: nothing without a limit, a change of threads for each
// call with one. One directory of 10,000 files in the temporary directory.

#include <benchmark/benchmark.h>

#include <string>

#include "Probe/Filesystem.h"
#include "Scan/ahead/ReadingPlan.h"
#include "Scan/identity/UberTable.h"
#include "Scan/unix/DirectoryReaderUnix.h"
#include "Scan/unix/ScannerUnix.h"
#include "Scan/unix/UnixUserTable.h"
#include "support/TemporaryDirectory.h"

namespace agent {

namespace {

constexpr int FILES = 10'000;

const std::string& tree() {
  static const test::TemporaryDirectory DIRECTORY;
  static const bool MADE = [] {
    for (int i = 0; i < FILES; ++i) DIRECTORY.file("file-number-" + std::to_string(i));
    return true;
  }();
  benchmark::DoNotOptimize(MADE);
  return DIRECTORY.path();
}

void walk(benchmark::State& state, int limit) {
  Filesystem filesystem;
  filesystem.fsMountPoint = tree() + "/";
  const WalkRules rules(filesystem, tree());
  UberTable owners;
  UnixUserTable users(owners);
  for (auto _ : state) {
    const std::unique_ptr<DirectoryCalls> calls = readingCalls(rules, limit, usableProcessors());
    DirectoryReaderFactoryUnix factory(*calls);
    ScannerUnix scanner({.filesystem = filesystem,
                         .actions = {},
                         .selections = {},
                         .userTable = users,
                         .factory = factory,
                         .rules = rules},
                        *calls);
    if (scanner.scan() != 0) state.SkipWithError("the walk failed");
  }
  state.SetItemsProcessed(state.iterations() * FILES);
}

void walkWithoutLimit(benchmark::State& state) {
  walk(state, 0);
}
BENCHMARK(walkWithoutLimit)->Unit(benchmark::kMillisecond);

void walkWithLimit(benchmark::State& state) {
  walk(state, 60);
}
BENCHMARK(walkWithLimit)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace agent
