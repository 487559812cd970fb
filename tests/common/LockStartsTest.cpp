#include "Common/LockStarts.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>

#include "Common/resource.h"
#include "support/ChildProcess.h"
#include "support/RefusedCalls.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

/// A child holds the lock.
class LockStartsTest : public testing::Test {
 protected:
  LockStartsTest() {
    std::filesystem::create_directory(log());
    child_ = startChild([this] {
      lockResource("scan", SCAN_RESOURCES, directory_.path());
      std::ofstream(directory_ / "ready");
      return ::pause();
    });
    while (!std::filesystem::exists(directory_ / "ready")) ::usleep(1000);
  }
  ~LockStartsTest() override {
    ::kill(child_, SIGKILL);
    endOf(child_);
  }
  std::string log() const { return directory_ / "log"; }
  std::string notes() const { return log() + "/vox_scan_res.starts"; }
  int lock() const { return lockResource("scan", SCAN_RESOURCES, directory_.path()); }
  /// As if the child's number had belonged to a process that was started at another time, or boot.
  void setNotes(const std::string& pattern, const std::string& replacement) const {
    const std::string text = std::regex_replace(content(notes()), std::regex(pattern), replacement);
    std::ofstream(notes()) << text;
  }

  TemporaryDirectory directory_;
  pid_t child_ = 0;
};

TEST_F(LockStartsTest, AProcessHoldsItsLockAndAnotherOfItsNumberDoesNot) {
  EXPECT_EQ(lock(), 152);
  setNotes("(\n\\d+ )", "$011");
  EXPECT_EQ(lock(), 0);
  EXPECT_EQ(unlockResource("scan", SCAN_RESOURCES, directory_.path()), 0);
  EXPECT_FALSE(std::filesystem::exists(notes())) << "nobody holds a lock";
}

TEST_F(LockStartsTest, NothingOfAnEarlierBootHoldsALock) {
  setNotes("[^ ]+(\n\\d+ )", "another$1");
  EXPECT_EQ(lock(), 0);
}

TEST_F(LockStartsTest, WhatCannotBeReadTakesNoLockFromItsHolder) {
  for (const char* unread : {"boot_id", ".starts", "/stat"}) {
    RefusedCalls calls;
    calls.replace<&Calls::open>([unread](const char* path, int flags, mode_t mode) {
      errno = EMFILE;
      return std::string(path).ends_with(unread) ? -1 : ::open(path, flags, mode);
    });
    EXPECT_EQ(lock(), 152) << unread;
  }
}

TEST_F(LockStartsTest, WhatAProgramHasDoneThatNotesNothingCountsAsItStands) {
  setNotes("(\n\\d+ )", "$011");
  std::ofstream(log() + "/vox_scan_res", std::ios::app) << "Resource=other\nPID=1\n";
  EXPECT_EQ(lock(), 152);
}

}  // namespace
}  // namespace agent::test
