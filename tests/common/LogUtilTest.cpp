#include "Common/LogUtil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

  /// Number and name of each file of a map.
  std::vector<std::pair<int, std::string>> named(const LogUtil::FileMap& files) const {
    std::vector<std::pair<int, std::string>> result;
    for (const auto& [number, path] : files) result.emplace_back(number, path.substr(directory().size()));
    return result;
  }

  TemporaryDirectory directory_;
  LogUtil log_;
};

TEST_F(LogUtilTest, AFileWhoseSizeCantBeToldIsFull) {
  directory_.file("scan_000003.log");
  std::filesystem::create_symlink("nowhere", directory() + "scan_000007.log");
  EXPECT_EQ(log_.getNextLogName(directory(), "scan", ".log"), "scan_000008.log");
  EXPECT_EQ(LogUtil::runFileName({"daily", 12345, -3}, "scan", ".dat"), "daily.12345_scan.-0000003.dat");
}

TEST_F(LogUtilTest, FilesAreFoundByTheirNames) {
  for (const char* name :
       {"scan_000002.log", "scan-000001.log", "scan_0000033.log", "scan_00004.log", "scan_000005.trace",
        "agent_000006.log", "scan_abcdef.log", "scan_000007", "scan"}) {
    directory_.file(name);
  }
  EXPECT_THAT(named(LogUtil::getMatchingFilesMap(directory(), "scan", ".log")),
              ElementsAre(std::pair(1, "scan-000001.log"), std::pair(2, "scan_000002.log"),
                          std::pair(3, "scan_0000033.log")));  // six digits count, whatever follows

  for (const char* name :
       {"my_job.0002_scan.00000001.log", "my_job.0001_scan.00000001.log", "my_job.0001_scan.00000002.log",
        "my_job.0001_scan.00000003.trace", "my_job.0003_probe.00000001.log", "my_job.003_scan.00000001.log",
        "my_jobs.0004_scan.00000001.log", "my_job.0005.log"}) {
    directory_.file(name);
  }
  EXPECT_THAT(named(LogUtil::getMatchingFilesMap(directory(), "my_job", "scan", ".log")),
              UnorderedElementsAre(std::pair(1, "my_job.0001_scan.00000001.log"),
                                   std::pair(1, "my_job.0001_scan.00000002.log"),
                                   std::pair(2, "my_job.0002_scan.00000001.log")));
  EXPECT_THAT(LogUtil::getMatchingFilesMap(directory() + "missing/", "scan", ".log"), IsEmpty());
}

TEST_F(LogUtilTest, ANumberBelowZeroKeepsNoNumberedFile) {
  directory_.file("scan_000001.log");
  directory_.file("scan_000002.log");
  log_.maxNumLogs = -5;
  log_.nextFile(directory(), {}, "scan", ".log");
  EXPECT_THAT(directory_.names(), IsEmpty());
}

}  // namespace
}  // namespace agent::test
