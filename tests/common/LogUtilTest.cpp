#include "Common/LogUtil.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "common/TemporaryDirectory.h"

namespace agent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class LogUtilTest : public testing::Test {
 protected:
  std::string directory() const { return directory_.path() + "/"; }

  void file(const std::string& name, uintmax_t size = 0, int ageInDays = 0) const {
    const std::string path = directory_.file(name);
    std::filesystem::resize_file(path, size);
    const time_t modified =
        ::time(nullptr) - static_cast<time_t>(ageInDays) * 86400 - (ageInDays > 0 ? 60 : 0);
    const struct timespec times[] = {{modified, 0}, {modified, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }

  /// Number and name of each file of a map.
  std::vector<std::pair<int, std::string>> named(const LogUtil::FileMap& files) const {
    std::vector<std::pair<int, std::string>> result;
    for (const auto& [number, path] : files) result.emplace_back(number, path.substr(directory().size()));
    return result;
  }

  TemporaryDirectory directory_;
  LogUtil log_;
};

TEST_F(LogUtilTest, ARunOfAJobHasAFileOfItsOwn) {
  EXPECT_EQ(log_.nextFile(directory(), {"daily", 7, 123}, "scan", ".log"),
            directory() + "daily.0007_scan.00000123.log");
  EXPECT_TRUE(log_.newFile);
  EXPECT_EQ(LogUtil::runFileName({"daily", 12345, -3}, "scan", ".dat"), "daily.12345_scan.-0000003.dat");
}

TEST_F(LogUtilTest, EverythingElseGoesOnInTheLastNumberedFileUntilItIsFull) {
  const struct {
    const char* comment;
    uintmax_t size;
    const char* next;
  } cases[] = {
      {"room for a kilobyte", 1'047'552, "scan_000007.log"},
      {"a byte less", 1'047'553, "scan_000008.log"},
      {"over the limit", 5'000'000, "scan_000008.log"},
  };
  EXPECT_EQ(log_.nextFile(directory(), {}, "scan", ".log"), directory() + "scan_000000.log");
  file("scan_000003.log");
  file("scan_abcdef.log");
  for (const auto& testCase : cases) {
    file("scan_000007.log", testCase.size);
    EXPECT_EQ(log_.nextFile(directory(), {}, "scan", ".log"), directory() + testCase.next)
        << testCase.comment;
    EXPECT_EQ(log_.newFile, std::string(testCase.next) == "scan_000008.log");
  }
  std::filesystem::remove(directory() + "scan_000007.log");
  std::filesystem::create_symlink("nowhere", directory() + "scan_000007.log");  // its size can't be told
  EXPECT_EQ(log_.getNextLogName(directory(), "scan", ".log"), "scan_000008.log");
  EXPECT_EQ(log_.nextFile(directory(), {}, "scan", ".trace"), directory() + "scan_000000.trace");
}

TEST_F(LogUtilTest, FilesAreFoundByTheirNames) {
  for (const char* name :
       {"scan_000002.log", "scan-000001.log", "scan_0000033.log", "scan_00004.log", "scan_000005.trace",
        "agent_000006.log", "scan_abcdef.log", "scan_000007", "scan"}) {
    file(name);
  }
  EXPECT_THAT(named(LogUtil::getMatchingFilesMap(directory(), "scan", ".log")),
              ElementsAre(std::pair(1, "scan-000001.log"), std::pair(2, "scan_000002.log"),
                          std::pair(3, "scan_0000033.log")));  // six digits count, whatever follows

  for (const char* name :
       {"my_job.0002_scan.00000001.log", "my_job.0001_scan.00000001.log", "my_job.0001_scan.00000002.log",
        "my_job.0001_scan.00000003.trace", "my_job.0003_probe.00000001.log", "my_job.003_scan.00000001.log",
        "my_jobs.0004_scan.00000001.log", "my_job.0005.log"}) {
    file(name);
  }
  EXPECT_THAT(named(LogUtil::getMatchingFilesMap(directory(), "my_job", "scan", ".log")),
              UnorderedElementsAre(std::pair(1, "my_job.0001_scan.00000001.log"),
                                   std::pair(1, "my_job.0001_scan.00000002.log"),
                                   std::pair(2, "my_job.0002_scan.00000001.log")));
  EXPECT_THAT(LogUtil::getMatchingFilesMap(directory() + "missing/", "scan", ".log"), IsEmpty());
}

TEST_F(LogUtilTest, TheSixthRunOfAJobTakesTheOldestAway) {
  for (int sid = 1; sid <= 5; ++sid) file(LogUtil::runFileName({"daily", sid, 1}, "scan", ".log"), 0, 1000);
  file("other.0001_scan.00000001.log");
  file("daily.0001_scan.00000001.trace");

  log_.nextFile(directory(), {"daily", 6, 1}, "scan", ".log");

  EXPECT_THAT(directory_.names(),
              UnorderedElementsAre("daily.0002_scan.00000001.log", "daily.0003_scan.00000001.log",
                                   "daily.0004_scan.00000001.log", "daily.0005_scan.00000001.log",
                                   "other.0001_scan.00000001.log", "daily.0001_scan.00000001.trace"));
}

TEST_F(LogUtilTest, FilesOfOneRunGoTogether) {
  for (int run = 1; run <= 3; ++run) file(LogUtil::runFileName({"daily", 1, run}, "scan", ".log"));
  for (int sid = 2; sid <= 4; ++sid) file(LogUtil::runFileName({"daily", sid, 1}, "scan", ".log"));

  log_.nextFile(directory(), {"daily", 5, 1}, "scan", ".log");  // seven with the new one: two too many

  EXPECT_THAT(directory_.names(),
              UnorderedElementsAre("daily.0002_scan.00000001.log", "daily.0003_scan.00000001.log",
                                   "daily.0004_scan.00000001.log"));
}

TEST_F(LogUtilTest, NumberedFilesGoByAgeAndByNumber) {
  const struct {
    const char* comment;
    int maxNumLogs;
    int maxNumDays;
    std::set<std::string> left;
  } cases[] = {
      {"all young enough, all within the number",
       8,
       90,
       {"scan_000001.log", "scan_000002.log", "scan_000003.log"}},
      {"the first is too old", 8, 30, {"scan_000002.log", "scan_000003.log"}},
      {"age is no matter", 8, 0, {"scan_000001.log", "scan_000002.log", "scan_000003.log"}},
      {"two are kept", 2, 0, {"scan_000002.log", "scan_000003.log"}},
      {"none is kept", -5, 0, {}},
  };
  for (const auto& testCase : cases) {
    file("scan_000001.log", 0, 60);
    file("scan_000002.log", 0, 10);
    file("scan_000003.log");
    log_.maxNumLogs = testCase.maxNumLogs;
    log_.maxNumDays = testCase.maxNumDays;
    log_.nextFile(directory(), {}, "scan", ".log");
    EXPECT_EQ(directory_.names(), testCase.left) << testCase.comment;
  }
}

}  // namespace
}  // namespace agent::test
