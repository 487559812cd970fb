// What the locks of one job cost: taken one by one, and all in one go over the resource file. In the
// temporary directory, beside the locks of nobody else.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "Common/resource.h"
#include "support/TemporaryDirectory.h"

namespace agent {
namespace {

std::vector<std::string> locks(int64_t count) {
  std::vector<std::string> names;
  for (int64_t i = 0; i < count; ++i) names.push_back("scan_server" + std::to_string(i));
  return names;
}

/// @param take takes the locks of a list; gives how many it has taken
template <typename Take>
void takeLocks(benchmark::State& state, Take take) {
  const test::TemporaryDirectory directory;
  const std::vector<std::string> names = locks(state.range(0));
  for (auto _ : state) {
    if (take(names, directory.path()) != names.size()) state.SkipWithError("a lock was refused");
    state.PauseTiming();
    if (unlockResources(names, SCAN_RESOURCES, directory.path()) != 0) state.SkipWithError("a lock was kept");
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void oneByOne(benchmark::State& state) {
  takeLocks(state, [](const std::vector<std::string>& names, const std::string& installLocation) {
    size_t taken = 0;
    for (const std::string& name : names) {
      if (lockResource(name, SCAN_RESOURCES, installLocation) == 0) ++taken;
    }
    return taken;
  });
}
BENCHMARK(oneByOne)->Arg(10)->Arg(100)->Arg(1'000)->Arg(4'000)->Unit(benchmark::kMillisecond)->UseRealTime();

void allAtOnce(benchmark::State& state) {
  takeLocks(state, [](const std::vector<std::string>& names, const std::string& installLocation) {
    return lockResources(names, SCAN_RESOURCES, installLocation).taken;
  });
}
BENCHMARK(allAtOnce)->Arg(10)->Arg(100)->Arg(1'000)->Arg(4'000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace agent
