#include <pty.h>

#include <chrono>
#include <fstream>
#include <regex>

#include "Common/unix/FileDescriptor.h"
#include "citizen/SlowJob.h"
#include "system/StatusPipe.h"

namespace agent::test {
namespace {

using ::testing::AllOf;
using ::testing::Ge;
using ::testing::Le;

/// A terminal whose job end is the standard error of a job.
class Terminal {
 public:
  explicit Terminal(uint16_t columns) {
    winsize size = {};
    size.ws_row = 24;
    size.ws_col = columns;
    int ends[2];
    if (openpty(&ends[0], &ends[1], nullptr, nullptr, &size) != 0) throw std::runtime_error("no terminal");
    for (const int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    person_ = FileDescriptor(ends[0]);
    job_ = FileDescriptor(ends[1]);
  }

  void handTo(Launch& launch, int number = STDERR_FILENO) const {
    launch.handed.emplace_back(job_.get(), number);
  }
  /// All that was shown since the last look.
  std::string shown() const {
    std::string all;
    char text[4096];
    for (ssize_t got = 0; (got = read(person_.get(), text, sizeof text)) > 0;) {
      all.append(text, static_cast<size_t>(got));
    }
    return all;
  }

 private:
  FileDescriptor person_;
  FileDescriptor job_;
};

/// Jobs started by hand.
class ProgressTest : public SlowJob {
 protected:
  ProgressTest() { tree_.installAgent(); }  // its absence would be told on standard error

  std::string files() const { return "Result: " + tree_.resultFile() + "  Log: " + tree_.logFile() + "\r\n"; }
};

TEST_F(ProgressTest, OnATerminalOneLineShowsHowFarTheWalkIs) {
  const std::string hostile = "a\x1B[2J\r\n\x07\xFF";
  std::filesystem::create_directories(slow_.tree() + "/" + hostile);
  for (int i = 0; i < 120; ++i) std::ofstream(slow_.tree() + "/" + hostile + "/" + std::to_string(i));
  slow_.rule({"getattr */[0-9]* 10"});
  for (const uint16_t columns : {uint16_t{200}, uint16_t{60}}) {
    SCOPED_TRACE(columns);
    define();
    const Terminal terminal(columns);
    Launch launch = tree_.launch();
    launch.environment["SCAN_READ_AHEAD"] = "0";  // or the tree is read before there is progress to show
    terminal.handTo(launch);
    const auto start = std::chrono::steady_clock::now();

    EXPECT_EQ(run(launch).status, 0);

    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::string shown = terminal.shown();
    ASSERT_TRUE(shown.ends_with("\r\x1B[K" + files())) << shown;
    shown.resize(shown.size() - 4 - files().size());
    static const std::regex LINE(R"(([0-9,]+) entries, ([0-9,]+)/s  (.*))");
    std::vector<long> entries;
    while (!shown.empty()) {
      ASSERT_TRUE(shown.starts_with("\r\x1B[K")) << shown;
      const size_t end = std::min(shown.find("\r\x1B[K", 1), shown.size());
      const std::string line = shown.substr(4, end - 4);
      shown.erase(0, end);
      std::smatch parts;
      ASSERT_TRUE(std::regex_match(line, parts, LINE)) << line;
      entries.push_back(std::stol(parts[1]));
      EXPECT_LT(line.size(), columns);
      EXPECT_THAT(std::stod(parts[2]), AllOf(Ge(10), Le(110))) << "ten milliseconds each, at the least";
      if (columns == 200) {
        EXPECT_EQ(parts[3], slow_.path() + R"(/a\x1B[2J\x0D\x0A\x07\xFF)");
      }
      for (const char c : line) EXPECT_TRUE(c >= ' ' && c <= '~') << line;
    }
    EXPECT_THAT(entries.size(), AllOf(Ge(3u), Le(static_cast<size_t>(took.count() * 5)))) << took.count();
    EXPECT_TRUE(std::is_sorted(entries.begin(), entries.end()));
  }
}

TEST_F(ProgressTest, AJobWithoutAResultSaysSo) {
  std::filesystem::remove(tree_.definitionFile());
  const Terminal terminal(80);
  Launch launch = tree_.launch();
  terminal.handTo(launch);

  EXPECT_EQ(run(launch).status, 13);

  EXPECT_EQ(terminal.shown(), "The scan ended with 13 and no result. Log: " + tree_.logFile() + "\r\n");
}

TEST_F(ProgressTest, UnderAnAgentOrWithoutATerminalNothingIsShown) {
  for (int i = 0; i < 60; ++i) std::ofstream(slow_.tree() + "/" + std::to_string(i));
  slow_.rule({"getattr /[0-9]* 10"});
  const Terminal terminal(80);
  StatusPipe status;
  Launch underAnAgent = tree_.launch();
  terminal.handTo(underAnAgent);
  status.handTo(underAnAgent);
  for (const Launch& launch : {underAnAgent, tree_.launch()}) {
    define();
    const Outcome outcome = run(launch);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err + terminal.shown(), "");
  }
}

TEST_F(ProgressTest, ATerminalThatStopsWritersOfItsBackgroundDoesNotStopAJob) {
  const Terminal terminal(80);
  Launch launch = tree_.launch();
  // The shell of a session on this terminal starts the job, which makes a process group of its own.
  const std::vector<std::string> job = launch.arguments;
  launch.arguments = {"-c", "/bin/sh", "-c", "stty tostop && \"$@\"; exit $?", "sh", launch.program};
  launch.arguments.insert(launch.arguments.end(), job.begin(), job.end());
  launch.program = "/usr/bin/setsid";
  launch.limit = std::chrono::seconds(10);
  terminal.handTo(launch, STDIN_FILENO);
  terminal.handTo(launch);

  EXPECT_EQ(run(launch).status, 0);

  EXPECT_EQ(terminal.shown(), files());
}

}  // namespace
}  // namespace agent::test
