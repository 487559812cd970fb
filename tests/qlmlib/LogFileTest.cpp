#include "QLMlib/common/ut/LogFile.h"

#include <ctime>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "QLMlib/common/nls/DateTimeFormat.h"
#include "QLMlib/common/ut/Product.h"
#include "qlmlib/TestFiles.h"
#include "support/RefusedCalls.h"

namespace agent::test {
namespace {

class LogFileTest : public FilesTest {
 protected:
  std::string file() const { return path("agent.log"); }
  std::string written() const { return content(file()); }

  void log(LogFileSettings settings, const std::vector<std::string>& lines) {
    settings.path = file();
    LogFile log(settings);
    ASSERT_EQ(log.open(), 0) << log.lastErrno();
    for (const std::string& line : lines) ASSERT_EQ(log.write(line), 0);
    ASSERT_EQ(log.close(), 0);
  }
};

TEST_F(LogFileTest, WhatCannotBeALogIsRefused) {
  writeFile(path("file"), "");
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  const std::pair<LogFileSettings, int> cases[] = {
      {{}, ENOENT},
      {{.path = "/" + std::string(1023, 'x')}, ENAMETOOLONG},
      {{.path = path("file/sub/job.log")}, EACCES},  // the directories above can't be made
      {{.path = path()}, EISDIR},
      {{.path = path("pipe")}, ENXIO},                   // nobody reads it, nobody waits
      {{.path = path("ring"), .wrapSize = 200}, EINVAL}  // without room for a line
  };
  for (const auto& [settings, reason] : cases) {
    LogFile log(settings);
    EXPECT_EQ(log.open(), -1) << settings.path;
    EXPECT_EQ(log.lastErrno(), reason) << settings.path;
    EXPECT_EQ(log.write("x\n"), 621);
  }
  LogFile log({.path = file()});
  ASSERT_EQ(log.open(), 0);
  RefusedCalls calls;
  calls.refuse<&Calls::write>(ENOSPC);
  calls.refuse<&Calls::close>(EDQUOT);
  EXPECT_EQ(log.write("one\n"), 621);
  EXPECT_EQ(log.lastErrno(), ENOSPC);
  EXPECT_EQ(log.close(), 10);
  EXPECT_EQ(log.lastErrno(), EDQUOT);
}

// ---- files that wrap; the marks are the built-in ones, for no catalog is open ----

constexpr char WRAP_MARK[] = "--- Continued at the beginning of the file ---";
constexpr char END_MARK[] = "--- End of data ---\n";
constexpr uint32_t RING_BYTES = 512;

std::string header(size_t nextWrite, uint32_t wrapSize) {
  return "LOGHEADERREC " + padded(nextWrite, 12) + padded(wrapSize, 10) +
         " ZTA Corvane Storage Vantage Center 5.2.4.1   Build date: " + buildDate() + "\n\n";
}

/// A whole file whose newest lines are `lines`, over what an earlier round left of `before`.
std::string ring(const std::string& lines, uint32_t wrapSize = RING_BYTES, const std::string& before = "") {
  const size_t start = header(0, 0).size();
  std::string bytes = header(start + lines.size(), wrapSize) + lines + END_MARK;
  if (before.empty()) return bytes;
  std::string closing = WRAP_MARK;
  closing.resize(wrapSize - start - before.size() - 2, ' ');
  return bytes + (before + closing + "*\n").substr(lines.size() + sizeof END_MARK - 1);
}

TEST_F(LogFileTest, ARingKeepsItsSizeAndItsNewestLines) {
  const auto line = [](char letter) { return std::string(49, letter) + "\n"; };
  const std::string six = line('a') + line('b') + line('c') + line('d') + line('e') + line('f');
  const size_t room = RING_BYTES - header(0, 0).size() - (sizeof WRAP_MARK - 1) - (sizeof END_MARK - 1) - 2;
  const std::string second(room - 50, 'x');  // all that a first line leaves it
  struct Case {
    const char* why;
    std::string before;
    std::vector<std::string> lines;
    std::string after;
    uint32_t wrapSize = RING_BYTES;
  };
  const Case cases[] = {
      {"a line that just fits stays", "", {line('a'), second}, ring(line('a') + second)},
      {"one byte more goes round", "", {line('a'), second + "x"}, ring(second + "x", RING_BYTES, line('a'))},
      {"each turn looks its place up in the file", ring(six), {line('g')}, ring(line('g'), RING_BYTES, six)},
      {"longer than the file: cut", "", {std::string(5000, 'l')}, ring(std::string(room, 'l'))},
      {"larger: all that is left, the oldest first; of 'b' the end mark has left half",
       ring(line('g'), RING_BYTES, six),
       {line('h')},
       ring(six.substr(100) + line('g') + line('h'), 1024),
       1024},
      {"smaller: the newest", ring(six), {}, ring(six.substr(100), 400), 400},
      {"a plain log", "one\ntwo\n", {"new\n"}, ring("one\ntwo\nnew\n")},
      {"a position behind the end", header(9999, RING_BYTES) + "one\n", {"new\n"}, ring("\none\nnew\n")},
      {"no numbers", "LOGHEADERREC xyz\none\n", {"new\n"}, ring("LOGHEADERREC xyz\none\nnew\n")},
  };
  for (const Case& c : cases) {
    writeFile(file(), c.before);
    log({.wrapSize = c.wrapSize}, c.lines);
    EXPECT_EQ(written(), c.after) << c.why;
  }
}

// ---- files that are pruned ----

std::string daysAgo(int days) {
  const std::time_t then = std::time(nullptr) - days * std::time_t{86400};
  std::tm local{};
  localtime_r(&then, &local);
  return dateText(local);
}

TEST_F(LogFileTest, LinesOlderThanTheRetentionGoAndAFailureLeavesThemAll) {
  const std::string old = daysAgo(40) + " old\nundated\n" + daysAgo(11) + " also old\n";
  const std::string young = daysAgo(2) + " young\nundated\n" + daysAgo(30) + " old, but behind a young one";
  const LogFileSettings deleting{.retentionDays = 10};
  const LogFileSettings saving{.retentionDays = 10, .pruneMode = 'S', .saveFile = "saved.log"};
  const auto prune = [&](const LogFileSettings& settings) {
    writeFile(file(), old + young);
    std::filesystem::permissions(file(), std::filesystem::perms(0640));
    log(settings, {"\nnew\n"});
    EXPECT_EQ(std::filesystem::status(file()).permissions(), std::filesystem::perms(0640));
    return written();
  };
  EXPECT_EQ(prune(deleting), young + "\nnew\n");
  writeFile(path("saved.log"), "saved before\n");
  EXPECT_EQ(prune(saving), young + "\nnew\n");
  EXPECT_EQ(content(path("saved.log")), "saved before\n" + old);

  for (const int write : {1, 2}) {  // to the temporary file, to the save file
    RefusedCalls calls;
    calls.refuse<&Calls::write>(ENOSPC, write, 1);
    EXPECT_EQ(prune(saving), old + young + "\nnew\n");
    EXPECT_FALSE(std::filesystem::exists(path("zemprune.log")));
  }
  const OwnedDescriptor other = openFile(path("zemprune.log").c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);  // another program prunes in this directory
  EXPECT_EQ(prune(deleting), old + young + "\nnew\n");
  EXPECT_TRUE(std::filesystem::exists(path("zemprune.log")));
}

}  // namespace
}  // namespace agent::test
