// What selections cost an entry: with 1, 20 and 200 statistics, and path patterns against the system's own
// matcher.

#include <benchmark/benchmark.h>
#include <regex.h>

#include <string>
#include <vector>

#include "Scan/selection/Selection.h"
#include "Scan/selection/fileInfo.h"
#include "Scan/selection/pathmatch.h"

namespace agent {
namespace {

using namespace std::string_literals;

const std::string PATHS[] = {"/usr/share/doc/package/changelog.Debian.gz",
                             "/usr/lib/x86_64-linux-gnu/libc.so.6", "/var/log/syslog.1.log",
                             "/home/somebody/projects/program/src/main.cpp"};

/// The walk stands in the entry's own directory.
class Position : public WalkPosition {
 public:
  explicit Position(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
      lengths_.push_back(slash);
    }
  }
  int32_t currentLevel() const override { return static_cast<int32_t>(lengths_.size()) - 1; }
  size_t pathLengthAt(int32_t level) const override { return lengths_[static_cast<size_t>(level)]; }

 private:
  std::vector<size_t> lengths_ = {1};
};

/// The paths in turn, each with its place in the walk.
class Walk {
 public:
  fileInfo file;

  void next() {
    const size_t i = next_++ & 3;
    file.scanner = &positions_[i];
    file.path = PATHS[i].c_str();
    file.pathLength = PATHS[i].size();
  }

 private:
  const std::vector<Position> positions_{std::begin(PATHS), std::end(PATHS)};
  size_t next_ = 0;
};

SelectTree compile(const std::string& expression) {
  Selection selection;
  selection.setExpression(expression);
  selection.compile("bench", 0);
  return selection.takeRoot();
}

/// "type is file, at least 10 MiB, and name like *.log or owner www-data, not changed for 90 days".
const std::string TYPICAL = "&&&=T\0\0\0\1>=sa\2|=F%/*.log\0=Uwww-data\0<M+\xff\x89\x59\0"s;
/// The same without the size, so that patterns and names are reached.
const std::string PATTERNS = "&&=T\0\0\0\1|=F%/*.log\0=Uwww-data\0<M+\xff\x89\x59\0"s;

void statistics(benchmark::State& state, const std::string& expression) {
  std::vector<SelectTree> roots;
  for (int64_t i = 0; i < state.range(0); ++i) roots.push_back(compile(expression));
  Walk walk;
  walk.file.type = 1;
  walk.file.now = 1'800'000'000;
  walk.file.user = "root";
  walk.file.stat.st_size = 5000;
  walk.file.stat.st_mtime = 1'700'000'000;
  int64_t selected = 0;
  for (auto _ : state) {
    walk.next();
    for (const SelectTree& root : roots) selected += selects(*root, walk.file) ? 1 : 0;
  }
  benchmark::DoNotOptimize(selected);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(statistics, typical, TYPICAL)->Arg(1)->Arg(20)->Arg(200);
BENCHMARK_CAPTURE(statistics, patterns, PATTERNS)->Arg(1)->Arg(20)->Arg(200);
BENCHMARK_CAPTURE(statistics, everything, ""s)->Arg(1)->Arg(20)->Arg(200);

void pattern(benchmark::State& state, const char* text) {
  const SelectTree root = compile("=F"s + text + '\0');
  Walk walk;
  for (auto _ : state) {
    walk.next();
    benchmark::DoNotOptimize(selects(*root, walk.file));
  }
}
void systemMatcher(benchmark::State& state, const char* text) {
  int32_t anchor = 0;
  regex_t regex;
  if (regcomp(&regex, pathmatch(text).translate(anchor).c_str(), REG_NOSUB) != 0) {
    state.SkipWithError("the pattern does not compile");
    return;
  }
  size_t i = 0;
  for (auto _ : state) {
    const std::string& path = PATHS[i++ & 3];
    const char* tested = anchor < 0 ? path.c_str() + path.rfind('/') + 1 : path.c_str();
    benchmark::DoNotOptimize(regexec(&regex, tested, 0, nullptr, 0));
  }
  regfree(&regex);
}
BENCHMARK_CAPTURE(pattern, suffix, "%/*.log");
BENCHMARK_CAPTURE(systemMatcher, suffix, "%/*.log");
BENCHMARK_CAPTURE(pattern, prefix, "/usr/%");
BENCHMARK_CAPTURE(systemMatcher, prefix, "/usr/%");
BENCHMARK_CAPTURE(pattern, literal, "/usr/lib/x86_64-linux-gnu/libc.so.6");
BENCHMARK_CAPTURE(systemMatcher, literal, "/usr/lib/x86_64-linux-gnu/libc.so.6");
BENCHMARK_CAPTURE(pattern, inner, "/home/%/src/*.cpp");
BENCHMARK_CAPTURE(systemMatcher, inner, "/home/%/src/*.cpp");

}  // namespace
}  // namespace agent
