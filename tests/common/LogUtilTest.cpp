#include "Common/LogUtil.h"

#include <gmock/gmock.h>

#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

class LogUtilTest : public testing::Test {
 protected:
  std::string directory() const { return directory_.path() + "/"; }

  TemporaryDirectory directory_;
  LogUtil log_;
};

TEST_F(LogUtilTest, AFileWhoseSizeCantBeToldIsFull) {
  directory_.file("scan_000003.log");
  for (const char* target : {"nowhere", "."}) {
    std::filesystem::create_symlink(target, directory() + "scan_000007.log");
    EXPECT_EQ(log_.getNextLogName(directory(), "scan", ".log"), "scan_000008.log");
    std::filesystem::remove(directory() + "scan_000007.log");
  }
  EXPECT_EQ(LogUtil::runFileName({"daily", 12345, -3}, "scan", ".dat"), "daily.12345_scan.-0000003.dat");
}

TEST_F(LogUtilTest, OnlyNamesThatThisJobCouldHaveGivenCount) {
  const std::string job = "a.0001_scan.00000001";
  for (const char* name :
       {"scan_000002.log", "scan-000001.log", "scan_0000033.log", "scan_00004.log", "scan_000005.trace",
        "agent_000006.log", "scan_abcdef.log", "scan_000007", "scan", "scan_1000000.log",
        "scan_2147483647.log", "scan_99999999999.log", "scan_-00001.log", "scan_000008.notify.log",
        "xscan_000008.log",
        // Runs of the job "a", of one that is called as one of its logs is, and of others.
        "a.0007_scan.00000004.log", "a.0007_scan.00000003.log", "a.12345_scan.123456789.log",
        "a.0001_scan.00000001.0002_scan.00000009.log", "a.0001_scan.00000001.0002_scan.00000009.notify.log",
        "a.07_scan.00000001.log", "a.00007_scan.00000001.log", "a.0007_scan.000000001.log",
        "a.0007_scan.00000001xlog", "a_0007_scan.00000001.log", "a.0007_scanner.00000001.log",
        "a.0007_scan.00000001\n.log", "a.-007_scan.00000001.log", "a-2024.0007_scan.00000001.log", "a.",
        "\xFF"}) {
    directory_.file(name);
  }
  std::filesystem::create_directories(directory() + "scan_000009.log");
  std::filesystem::create_directories(directory() + "a.0001_scan.00000001.log");
  using Numbers = LogUtil::FileNumber;
  EXPECT_THAT(LogUtil::getMatchingFilesMap(directory(), "scan", ".log"),
              ElementsAre(Pair(Numbers(2, 0), directory() + "scan_000002.log"),
                          Pair(Numbers(1000000, 0), directory() + "scan_1000000.log")));
  EXPECT_THAT(LogUtil::getMatchingFilesMap(directory(), "a", "scan", ".log"),
              ElementsAre(Pair(Numbers(7, 3), directory() + "a.0007_scan.00000003.log"),
                          Pair(Numbers(7, 4), directory() + "a.0007_scan.00000004.log"),
                          Pair(Numbers(12345, 123456789), directory() + "a.12345_scan.123456789.log")));
  EXPECT_THAT(LogUtil::getMatchingFilesMap(directory(), job, "scan", ".log"),
              ElementsAre(Pair(Numbers(2, 9), directory() + job + ".0002_scan.00000009.log")));
  EXPECT_TRUE(LogUtil::getMatchingFilesMap(directory() + "missing/", "scan", ".log").empty());
}

}  // namespace
}  // namespace agent::test
