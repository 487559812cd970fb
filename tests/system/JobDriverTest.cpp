#include <gmock/gmock.h>

#include "system/Definition.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"
#include "system/ResultFile.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;

class JobDriverTest : public ::testing::Test {
 protected:
  InstallTree tree_;
};

TEST_F(JobDriverTest, AScanLeavesItsResultItsRecordAndItsLogAndNoDefinition) {
  const auto mounted = MountedFileSystem::tmpfs(tree_.room("data"));
  if (!mounted) GTEST_SKIP() << mounted.whyNot();
  tree_.define(summaryOf({mounted.path()}).text());

  EXPECT_EQ(tree_.scan().status, 0);

  const ResultFile result(tree_.result());
  EXPECT_EQ(result.number(result.results(5, 1).only("SSummary"), "sumDirectoryCount"), 1);
  EXPECT_THAT(tree_.logLines(), ElementsAre("AGT0146I The scan job has started.",
                                            "STA0532I The job has locked these file systems for its scan:",
                                            std::string(25, ' ') + mounted.path(),
                                            "STA0025I Scanning the file system \"" + mounted.path() + "/\".",
                                            "AGT0144I The file system has been walked: 1 entries scanned.",
                                            "STA0161I The scan is complete."));
  EXPECT_TRUE(InstallTree::exists(tree_.recordFile()));
  EXPECT_FALSE(InstallTree::exists(tree_.definitionFile()));
}

}  // namespace
}  // namespace agent::test
