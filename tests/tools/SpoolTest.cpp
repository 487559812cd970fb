#include "store/Spool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "support/RefusedCalls.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string SUM = "0123456789abcdef0123456789abcdef";

class SpoolTest : public ::testing::Test {
 protected:
  /// What is sent, as "host name content".
  std::vector<std::string> sent(bool isTaken) const {
    std::vector<std::string> all;
    tools::Spool(spool_).sendAll([&](const tools::SpooledResult& result) {
      all.push_back(result.host + " " + std::filesystem::path(result.file).filename().string() + " " +
                    content(result.file));
      return isTaken;
    });
    return all;
  }

  const TemporaryDirectory directory_;
  const std::string spool_ = directory_ / "spool";
};

// A job that runs again replaces its result: both wait, in their order, for nobody else to read.
TEST_F(SpoolTest, ResultsWaitInTheirOrderWhateverBecomesOfTheirFiles) {
  const tools::Spool spool(spool_);
  const std::string file = directory_.file("j.0001_scan.00000001.dat", "first");
  spool.put(file, "h1", "a" + SUM);
  directory_.file("j.0001_scan.00000001.dat", "second");
  spool.put(file, "h2", "b" + SUM);
  spool.put(file, "h2", "b" + SUM);  // again
  EXPECT_THAT(sent(false),
              ElementsAre("h1 j.0001_scan.00000001.dat first", "h2 j.0001_scan.00000001.dat second"));
  EXPECT_EQ(spool.size(), 2U);
  struct stat status = {};
  for (const auto& entry : std::filesystem::recursive_directory_iterator(spool_)) {
    ASSERT_EQ(::stat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 077, 0U) << entry.path();
  }
  EXPECT_EQ(sent(true).size(), 2U);
  EXPECT_THAT(directory_.names("spool"), IsEmpty());
}

TEST_F(SpoolTest, WhatIsSetAsideStaysAndIsNotSent) {
  const tools::Spool spool(spool_);
  spool.put(directory_.file("a.dat", "x"), "h", SUM);
  std::string aside;
  spool.sendAll([&](const tools::SpooledResult& result) {
    aside = spool.setAside(result);
    return false;
  });
  EXPECT_EQ(content(aside + "/a.dat"), "x");
  EXPECT_THAT(sent(true), IsEmpty());
}

// A disk that is full or breaks: nothing passes for a result that waits.
TEST_F(SpoolTest, WhatCantBeMadeToLastIsToldAndLeavesNothing) {
  const tools::Spool spool(spool_);
  const std::string file = directory_.file("a.dat", "x");
  const auto refusedWith = [&](int error) {
    try {
      spool.put(file, "h", SUM);
      ADD_FAILURE();
    } catch (const tools::SpoolError& refused) {
      EXPECT_THAT(refused.what(), HasSubstr(std::strerror(error)));
    }
  };
  for (int nth = 1; nth <= 4; ++nth) {  // the copy, its host, their directory, the spool
    RefusedCalls calls;
    calls.refuse<&Calls::fsync>(EIO, nth, 1);
    refusedWith(EIO);
    EXPECT_EQ(directory_.names("spool").empty(), nth < 4);
  }
  EXPECT_EQ(sent(true).size(), 1U);  // which waits, though a loss of power might take it away
  RefusedCalls calls;
  calls.refuse<&Calls::write>(ENOSPC);
  refusedWith(ENOSPC);
  EXPECT_THAT(directory_.names("spool"), IsEmpty());
}

// One that breaks off in the middle of being taken away would be sent as another host's.
TEST_F(SpoolTest, IsTakenFromAsAWhole) {
  const tools::Spool spool(spool_);
  spool.put(directory_.file("a.dat", "x"), "h", SUM);
  RefusedCalls calls;
  calls.refuse<&Calls::rename>(EROFS, 1, 1);
  EXPECT_THROW(sent(true), tools::SpoolError);
  EXPECT_THAT(sent(true), ElementsAre("h a.dat x"));
}

TEST_F(SpoolTest, WhileOneSendsNobodyElseDoes) {
  const tools::Spool spool(spool_);
  spool.put(directory_.file("a.dat", "x"), "h", SUM);
  int sentTwice = 0;
  spool.sendAll([&](const tools::SpooledResult&) {
    sentTwice += static_cast<int>(sent(true).size());
    return true;
  });
  EXPECT_EQ(sentTwice, 0);
}

}  // namespace
}  // namespace agent::test
