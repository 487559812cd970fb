#include "QLMlib/common/ut/LogFile.h"

#include <cerrno>
#include <ctime>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "QLMlib/common/nls/DateTimeFormat.h"
#include "QLMlib/common/ut/Product.h"
#include "qlmlib/TestFiles.h"

namespace agent::test {
namespace {

class LogFileTest : public FilesTest {
 protected:
  std::string file() const { return path("agent.log"); }
  std::string content() const { return readFile(file()); }

  void log(LogFileSettings settings, const std::vector<std::string>& lines) {
    settings.path = file();
    LogFile log(settings);
    ASSERT_EQ(log.open(), 0) << log.lastErrno();
    for (const std::string& line : lines) ASSERT_EQ(log.write(line), 0);
    ASSERT_EQ(log.close(), 0);
  }
};

// ---- plain files ----

TEST_F(LogFileTest, LinesAreAppendedAndDirectoriesMade) {
  LogFile log({.path = path("log/srv/job.log")});
  for (const char* line : {"one\n", "two\n"}) {
    ASSERT_EQ(log.open(), 0);
    EXPECT_EQ(log.write(line), 0);
    EXPECT_EQ(log.close(), 0);
  }
  EXPECT_EQ(readFile(path("log/srv/job.log")), "one\ntwo\n");
}

TEST_F(LogFileTest, WhatCannotBeALogIsRefused) {
  writeFile(path("file"), "");
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  struct Case {
    std::string path;
    int reason;
  };
  const Case cases[] = {
      {"", ENOENT},
      {"/" + std::string(1023, 'x'), ENAMETOOLONG},
      {path("file/sub/job.log"), EACCES},  // the directories above can't be made
      {path(), EISDIR},
      {path("pipe"), ENXIO},  // nobody reads it, nobody waits
  };
  for (const Case& c : cases) {
    LogFile log({.path = c.path});
    EXPECT_EQ(log.open(), -1) << c.path;
    EXPECT_EQ(log.lastErrno(), c.reason) << c.path;
    EXPECT_EQ(log.write("x\n"), 621);
  }
}

TEST_F(LogFileTest, WhatCannotBeWrittenIsTold) {
  LogFile log({.path = file()});
  ASSERT_EQ(log.open(), 0);
  const FileSizeLimit full(0);
  EXPECT_EQ(log.write("one\n"), 621);
  EXPECT_EQ(log.lastErrno(), EFBIG);
  LogFile small({.path = file(), .wrapSize = 200});  // without room for a line
  EXPECT_EQ(small.open(), -1);
  EXPECT_EQ(small.lastErrno(), EINVAL);
}

// ---- files that wrap; the marks are the built-in ones, for no catalog is open ----

constexpr char WRAP_MARK[] = "--- Continued at the beginning of the file ---";
constexpr char END_MARK[] = "--- End of data ---\n";
constexpr uint32_t RING_BYTES = 512;

std::string header(size_t nextWrite, uint32_t wrapSize = RING_BYTES) {
  return "LOGHEADERREC " + padded(nextWrite, 12) + padded(wrapSize, 10) +
         " ZTA Corvane Storage Vantage Center 5.2.4.1   Build date: " + buildDate() + "\n\n";
}

const size_t DATA_START = header(0).size();

std::string line(char letter) {
  return std::string(49, letter) + "\n";
}

TEST_F(LogFileTest, AFullFileGoesRoundAndKeepsItsSize) {
  // 512 - 46 - 1 - 20 bytes may be reached by a line: with lines of 50 bytes, six fit.
  log({.wrapSize = RING_BYTES}, {line('a'), line('b'), line('c'), line('d'), line('e'), line('f')});
  ASSERT_LT(content().size(), RING_BYTES);
  log({.wrapSize = RING_BYTES}, {line('g')});

  const std::string oldest =
      (line('a') + line('b') + line('c') + line('d') + line('e') + line('f')).substr(70);
  std::string closing = WRAP_MARK;
  closing.resize(RING_BYTES - DATA_START - 300 - 2, ' ');
  EXPECT_EQ(content(), header(DATA_START + 50) + line('g') + END_MARK + oldest + closing + "*\n");

  log({.wrapSize = RING_BYTES}, {std::string(5000, 'x')});  // longer than the file: cut
  EXPECT_LE(content().size(), RING_BYTES);
}

TEST_F(LogFileTest, ALineThatJustFitsStaysAndOneByteMoreGoesRound) {
  const size_t room = RING_BYTES - (sizeof WRAP_MARK - 1) - 1 - (sizeof END_MARK - 1) - DATA_START - 50 - 1;
  log({.wrapSize = RING_BYTES}, {line('a'), std::string(room, 'b')});
  EXPECT_EQ(content(), header(DATA_START + 50 + room) + line('a') + std::string(room, 'b') + END_MARK);

  std::filesystem::remove(file());
  log({.wrapSize = RING_BYTES}, {line('a'), std::string(room + 1, 'b')});
  EXPECT_EQ(content().substr(0, DATA_START + 10), header(DATA_START + room + 1) + "bbbbbbbbbb");
}

TEST_F(LogFileTest, AFileOfAnotherSizeIsRewrittenWithItsNewestLines) {
  log({.wrapSize = RING_BYTES},
      {line('a'), line('b'), line('c'), line('d'), line('e'), line('f'), line('g')});
  // A larger one takes all that is left, the oldest first; of 'b' the end mark has left half.
  log({.wrapSize = 1024}, {line('h')});
  const std::string kept = line('c') + line('d') + line('e') + line('f') + line('g');
  EXPECT_EQ(content(), header(DATA_START + 300, 1024) + kept + line('h') + END_MARK);

  log({.wrapSize = 400}, {});
  EXPECT_EQ(content(),
            header(DATA_START + 200, 400) + line('e') + line('f') + line('g') + line('h') + END_MARK);
}

TEST_F(LogFileTest, WhatWasNoRingBecomesOneAndNothingIsLost) {
  struct Case {
    const char* why;
    std::string before;
    std::string kept;
  };
  const Case cases[] = {
      {"a plain log", "one\ntwo\n", "one\ntwo\n"},
      {"a position behind the end", header(9999) + "one\n", "\none\n"},
      {"numbers that are none", "LOGHEADERREC xyz\none\n", "LOGHEADERREC xyz\none\n"},
      {"an empty file", "", ""},
  };
  for (const Case& c : cases) {
    writeFile(file(), c.before);
    log({.wrapSize = RING_BYTES}, {"new\n"});
    EXPECT_EQ(content(), header(DATA_START + c.kept.size() + 4) + c.kept + "new\n" + END_MARK) << c.why;
  }
}

// ---- files that are pruned ----

std::string daysAgo(int days) {
  const std::time_t then = std::time(nullptr) - days * std::time_t{86400};
  std::tm local{};
  localtime_r(&then, &local);
  return dateText(local);
}

TEST_F(LogFileTest, LinesOlderThanTheRetentionGo) {
  const std::string old = daysAgo(40) + " old\nundated\n" + daysAgo(11) + " also old\n";
  const std::string young = daysAgo(2) + " young\nundated\n" + daysAgo(30) + " old, but behind a young one\n";
  writeFile(file(), old + young);
  log({.retentionDays = 10}, {"new\n"});
  EXPECT_EQ(content(), young + "new\n");
  EXPECT_FALSE(std::filesystem::exists(path("zemprune.log")));

  writeFile(file(), old + young);
  writeFile(path("saved.log"), "saved before\n");
  log({.retentionDays = 10, .pruneMode = 'S', .saveFile = "saved.log"}, {});
  EXPECT_EQ(content(), young);
  EXPECT_EQ(readFile(path("saved.log")), "saved before\n" + old);
}

TEST_F(LogFileTest, PruningKeepsTheFilesMode) {
  writeFile(file(), daysAgo(20) + " old\n");
  std::filesystem::permissions(file(), std::filesystem::perms(0640));
  log({.retentionDays = 10}, {});
  EXPECT_EQ(content(), "");
  EXPECT_EQ(std::filesystem::status(file()).permissions(), std::filesystem::perms(0640));
}

TEST_F(LogFileTest, APrunerThatCannotWorkLeavesTheLogAsItWas) {
  const std::string old = daysAgo(40) + " old\n";
  writeFile(file(), old);
  {
    const FileSizeLimit full(8);  // the save file can't take the line
    LogFile log({.path = file(), .retentionDays = 10, .pruneMode = 'S', .saveFile = "saved.log"});
    EXPECT_EQ(log.open(), 0);
  }
  EXPECT_EQ(content(), old);
  EXPECT_FALSE(std::filesystem::exists(path("zemprune.log")));

  // Another program prunes in this directory.
  const OwnedDescriptor other = openFile(path("zemprune.log").c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
  log({.retentionDays = 10}, {"new\n"});
  EXPECT_EQ(content(), old + "new\n");
  EXPECT_TRUE(std::filesystem::exists(path("zemprune.log")));
}

}  // namespace
}  // namespace agent::test
