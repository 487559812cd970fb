#include <signal.h>

#include <chrono>

#include "citizen/SlowJob.h"
#include "system/MountedFileSystem.h"
#include "system/Results.h"

namespace agent::test {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Ge;
using ::testing::Lt;

using Words = std::vector<std::string>;

/// A process that has ended has no descriptors any more, even before it has been waited for.
bool isRunning(const std::string& process) {
  return countOf("fd", process) > 0;
}

/// A request that hangs stands for a call into a hard mount whose server has died.
class TimeLimitTest : public SlowJob {
 protected:
  void file(const std::string& name) const {
    std::filesystem::create_directories(std::filesystem::path(slow_.tree() + "/" + name).parent_path());
    std::ofstream(slow_.tree() + "/" + name) << "";
  }

  /// Runs a job with a limit of one second under some rules.
  Outcome scan(const Words& rules, const std::function<void(pid_t)>& act = {}) {
    slow_.rule(rules);
    Launch launch = tree_.launch({"-nfstimeout", "1"});
    launch.environment["TSAN_OPTIONS"] = "atexit_sleep_ms=0";  // or every job ends a second late there
    if (!readers_.empty()) launch.environment["SCAN_READ_AHEAD"] = readers_;
    launch.whileRunning = act;
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = run(launch);
    took_ = std::chrono::steady_clock::now() - start;
    return outcome;
  }

  static std::string walked(int entries) {
    return "AGT0144I The file system has been walked: " + std::to_string(entries) + " entries scanned.";
  }
  /// What the job logged behind its start and the names of the file systems.
  Words walkLog(size_t filesystems = 1) const {
    Words log = tree_.logLines();
    log.erase(log.begin(), log.begin() + static_cast<ptrdiff_t>(std::min(log.size(), 2 + filesystems)));
    return log;
  }
  std::string readers_;  // how many threads; "": as many as the job takes
  std::chrono::duration<double> took_{};
};

TEST_F(TimeLimitTest, WhatIsNotAnsweredInTimeCostsTheLimitAndIsToldAndTheWalkGoesOn) {
  for (const char* name : {"x/dead", "a", "d/b", "d/c", "d/e/f"}) file(name);
  constexpr int LOST = 0;
  const std::string unreadable = "STA0063E Unable to read the attributes of \"" + slow_.path() +
                                 "/x/dead\": Stale file handle. The entry is not counted; the scan goes on.";
  const auto unopened = [this](const std::string& name) {
    return "STA0121E Unable to open the directory \"" + slow_.path() + name +
           "\": Stale file handle. Its content is not counted; the scan goes on.";
  };
  struct Case {
    const char* rule;
    std::string told;
    int entries, files = 0, directories = 0;
  };
  for (const Case& c : {Case{"getattr /x/dead hang", unreadable, 9, 4, 4},
                        {"getattr /x/dead 1300", unreadable, 9, 4, 4},
                        // A directory counts as one that can't be opened, and a root as no empty file system.
                        {"opendir /d hang", unopened("/d"), 5, 2, 3},
                        {"readdir /d hang", unopened("/d"), 5, 2, 3},
                        {"opendir / hang", unopened(""), LOST},
                        {"readdir / hang", unopened(""), LOST}}) {
    SCOPED_TRACE(c.rule);
    define();
    std::filesystem::remove(tree_.logFile());

    EXPECT_EQ(scan({c.rule}).status, c.entries == LOST ? 4 : 0);

    Words log{"STA0025I Scanning the file system \"" + slow_.path() + "/\".", c.told};
    if (c.entries != LOST) log.push_back(walked(c.entries));
    log.push_back("STA0161I The scan is complete.");
    EXPECT_EQ(walkLog(), log);
    EXPECT_THAT(took_.count(), AllOf(Ge(1.0), Lt(2.0)));
    if (c.entries == LOST) continue;
    EXPECT_EQ(summed(tree_, "sumFileCount"), c.files);
    EXPECT_EQ(summed(tree_, "sumDirectoryCount"), c.directories);
  }
}

TEST_F(TimeLimitTest, AMountThatIsDeadFromTheStartIsGivenUpAndTheOthersAreScanned) {
  const auto alive = MountedFileSystem::tmpfs(tree_.room("alive"));
  std::ofstream(alive.path() + "/file") << "";
  tree_.define(summaryOf({alive.path(), slow_.path()}).text());

  EXPECT_EQ(scan({"statfs / hang"}).status, 4);

  EXPECT_EQ(walkLog(2), (Words{"STA0096E Unable to read the space figures of a file system: " + slow_.path() +
                                   " - Stale file handle. The file system is not scanned.",
                               "STA0025I Scanning the file system \"" + alive.path() + "/\".", walked(2),
                               "STA0161I The scan is complete."}));
  EXPECT_EQ(summed(tree_, "sumFileCount"), 1);
  EXPECT_EQ(ResultFile(tree_.resultFile()).root().childrenOf("Filesystem").size(), 1u);
}

TEST_F(TimeLimitTest, AStopIsNoticedWhileACallHangs) {
  file("x/dead");
  tree_.installAgent();
  std::chrono::steady_clock::time_point told;

  const Outcome outcome = scan({"getattr /x/dead hang"}, [&](pid_t job) {
    EXPECT_TRUE(slow_.sees("getattr /x/dead"));
    told = std::chrono::steady_clock::now();
    for (const int each : {SIGHUP, SIGPIPE, SIGCHLD, SIGTERM}) kill(job, each);
    EXPECT_TRUE(eventually([&] { return !tree_.agentArguments().empty(); }));
  });

  EXPECT_EQ(outcome.status, 8);
  EXPECT_EQ(agent::test::told(tree_, "-exitCode"), "8");
  EXPECT_LT(std::chrono::steady_clock::now() - told, 900ms) << "not as late as the limit";
}

// Names that are answered 200 ms too late. The answers come while the walk is elsewhere, and may write
// nowhere.
TEST_F(TimeLimitTest, WhatIsAnsweredLateLeavesNothingBehind) {
  constexpr int DEAD = 12;
  for (int i = 0; i < DEAD; ++i) file("d" + std::to_string(i) + "/dead");
  for (int i = 0; i < 50; ++i) file("e" + std::to_string(i) + "/f");
  define();
  readers_ = "2";
  ptrdiff_t threads = 0, descriptors = 0;

  const Outcome outcome = scan({"getattr */dead 1200"}, [&](pid_t pid) {
    const std::string job = std::to_string(pid);
    while (slow_.requests().size() < DEAD && isRunning(job)) {
      threads = std::max(threads, countOf("task", job));
      descriptors = std::max(descriptors, countOf("fd", job));
      std::this_thread::sleep_for(10ms);
    }
  });

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(summed(tree_, "sumFileCount"), 50);
  EXPECT_THAT(took_.count(), AllOf(Ge(DEAD / 2 * 1.0), Lt(DEAD / 2 * 1.2 + 3))) << "two wait at a time";
  EXPECT_THAT(threads, AllOf(Ge(4), ::testing::Le(8)))
      << "the walk, the asker of figures, two readers, those that are late";
  EXPECT_LE(descriptors, 60);
}

}  // namespace
}  // namespace agent::test
