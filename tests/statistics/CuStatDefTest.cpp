#include "Scan/statistics/CuStatDef.h"

#include <gtest/gtest.h>

#include <string_view>

#include "Common/VoxObjectCreationException.h"
#include "Scan/results/SSizeDist.h"

namespace agent::test {

TEST(CuStatDef, ReadsColumnsInAnyOrderAndDropsWhatItDoesNotKnow) {
  CuStatDef definition;
  definition.inititializeObject(
      {"sdName", "sdHSMScoring", "sdID", "sdNoSuchColumn", "sdLargestFiles", "sdSummary", "sdGroupByOwner",
       "sdSizeDistribution", "sdHasBackupAction", "sdDailyRetention"},
      {{"name", "Y", "7", "x", "65537", "true", "y", "X", "Y", "-1"}});
  EXPECT_EQ(definition.sdID, 7);
  EXPECT_EQ(definition.sdAlertID, -1);  // absent
  EXPECT_EQ(definition.sdName, "name");
  EXPECT_EQ(definition.sdLargestFiles, 1);  // cut to sixteen bits
  EXPECT_TRUE(definition.sdSummary);
  EXPECT_TRUE(definition.sdGroupByOwner);
  EXPECT_FALSE(definition.sdSizeDistribution);  // any other text leaves the flag
  EXPECT_FALSE(definition.sdHasBackupAction);
  EXPECT_EQ(definition.sdDailyRetention, -1);
}

TEST(CuStatDef, EachRowOverwritesTheLastAndHasToFitTheHeader) {
  CuStatDef definition;
  definition.inititializeObject({"sdID", "sdSummary", "sdWhereClause"}, {{"1", "Y", "1,2"}, {"2", "X", "3"}});
  EXPECT_EQ(definition.sdID, 2);
  EXPECT_TRUE(definition.sdSummary);
  EXPECT_EQ(definition.sdWhereClause, "\3");  // started anew
  CuStatDef untouched;
  untouched.inititializeObject({"sdID"}, {});
  EXPECT_EQ(untouched.sdID, 0);
  for (const Rows& rows : {Rows{{"1", "n"}, {"2", "n", "more"}}, Rows{{}}}) {
    EXPECT_THROW(untouched.inititializeObject({"sdID", "sdName"}, rows), VoxObjectCreationException);
  }
}

TEST(CuStatDef, DecodesTheWhereClauseFromSignedDecimals) {
  using namespace std::string_view_literals;
  const std::pair<const char*, std::string_view> cases[] = {
      {"-1,0,127", "\xff\0\x7f"sv},
      {"255, 0  127", "\xff\0\x7f"sv},  // the same bytes
      {"null", ""},
      {"", ""},
      {",,38,", "&"},
      {"38x,abc", "&\0"sv},
      {"65574", "&"}};  // sixteen bits
  for (const auto& [cell, bytes] : cases) {
    CuStatDef definition;
    definition.inititializeObject({"sdWhereClause"}, {{cell}});
    EXPECT_EQ(definition.sdWhereClause, bytes) << cell;
  }
}

TEST(SSizeDist, ReadsTheFirstNumberOfAHistogramOnly) {
  SSizeDist distribution;
  distribution.szdSizes[3] = 9;
  distribution.inititializeObject({"szdCounts", "szdFilesystemID", "szdSizes"}, {{"4,5", "2", "7,8,9"}});
  EXPECT_EQ(SSizeDist::table().values(distribution), (Row{"2", "0", "7,0,0,0,0,0,0,0", "4,0,0,0,0,0,0,0"}));
}

}  // namespace agent::test
