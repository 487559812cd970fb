#include "Common/LogUtil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "common/TemporaryDirectory.h"

namespace agent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class LogUtilTest : public testing::Test {
 protected:
  std::string directory() const { return directory_.path() + "/"; }

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
  EXPECT_THAT(LogUtil::getMatchingFilesMap(directory(), "scan", ".log"),
              ElementsAre(Pair(1, directory() + "scan-000001.log"), Pair(2, directory() + "scan_000002.log"),
                          Pair(3, directory() + "scan_0000033.log")));  // six digits, whatever follows
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
