#include <gmock/gmock.h>

#include <fstream>

#include "support/TemporaryDirectory.h"
#include "system/Definition.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"
#include "system/Results.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;

size_t occurrences(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!data_) GTEST_SKIP() << data_.whyNot();
  }

  Outcome scan(const std::vector<std::string>& options) const {
    tree_.define(summaryOf({data_.path()}).text());
    return tree_.scan(options);
  }
  std::string trace() const { return content(tree_.traceFile()); }

  InstallTree tree_;
  const MountedFileSystem data_ = MountedFileSystem::tmpfs(tree_.room("data"));
};

TEST_F(TraceTest, EachWordAddsItsClasses) {
  struct Case {
    std::string word;
    bool mounts;   ///< the middle level tells what is found in the mount table
    bool entries;  ///< the highest one of each function
  };
  for (const Case& c : {Case{"MIN", false, false}, Case{"mid", true, false}, Case{"Max", true, true}}) {
    SCOPED_TRACE(c.word);
    fs::remove(tree_.traceFile());

    EXPECT_EQ(scan({"-debug", c.word}).status, 0);

    EXPECT_EQ(occurrences(trace(), ">> Current filesystem = ") > 0, c.mounts);
    EXPECT_EQ(occurrences(trace(), "Enter: startScan(...)\n"), c.entries ? 1u : 0u);
    EXPECT_EQ(occurrences(trace(), "Enter: "), occurrences(trace(), "Exit: "));
    EXPECT_EQ(InstallTree::exists(tree_.definitionFile()), c.entries)
        << "kept for whoever reads such a trace";
  }
  EXPECT_EQ(scan({}).status, 0);
}

}  // namespace
}  // namespace agent::test
