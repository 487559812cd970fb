#include "Scan/statistics/CuStatAccum.h"

#include <gmock/gmock.h>

#include "Scan/results/CuStatResults.h"
#include "Scan/statistics/CuStatDef.h"
#include "statistics/WalkStandIn.h"

namespace agent::test {
namespace {

class CuStatAccumTest : public ::testing::Test {
 protected:
  void act(FileAttributes entry) { accumulator_.actUpon(walk_.scanner, entry); }

  WalkStandIn walk_;
  CuStatDef definition_;
  CuStatAccum accumulator_;
};

TEST_F(CuStatAccumTest, CountsAnInodeOnceLessThanItHasNamesInTheTree) {
  definition_.sdSummary = true;
  struct Case {
    int32_t names, inTree;
    int64_t counted;
  };
  for (const Case& c : {Case{1, 1, 1}, Case{2, 2, 1}, Case{3, 3, 2}, Case{4, 4, 3}, Case{2, 1, 0}}) {
    accumulator_.buildAccum(definition_, walk_.filesystem);
    const auto results = accumulator_.takeResults();
    FileAttributes entry = WalkStandIn::file("f", 8);
    entry.faLinkCount = c.names;
    entry.faInodeNumber = -5;  // inode numbers are 64 bits of any value
    for (int32_t i = 0; i < c.inTree; ++i) act(entry);
    EXPECT_EQ(results->srSummary->sumFileCount, c.counted)
        << c.names << " names, " << c.inTree << " in the tree";
    EXPECT_EQ(results->srSummary->sumTotalSize, 8 * c.counted);
  }
}

}  // namespace
}  // namespace agent::test
