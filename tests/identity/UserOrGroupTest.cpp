#include "Scan/identity/UserOrGroup.h"

#include <gtest/gtest.h>

#include "Scan/identity/UberTable.h"

namespace agent {
namespace {

TEST(UserOrGroupTest, LoadsItsValuesInAnyOrder) {
  UserOrGroup record;
  record.ugDescription = "old";
  record.loadValues({"ugGroupID", "ugName", "ugDescription", "unknown", "ugRemoved", "ugType", "ugID"},
                    {"12", "staff-of-the-whole-house", "null", "x", "true", "2"});
  EXPECT_EQ(record.ugGroupID, 12);
  EXPECT_STREQ(record.selectionName(), "staff-of-the-who");
  EXPECT_EQ(record.ugDescription, "");
  EXPECT_TRUE(record.ugRemoved);
  EXPECT_EQ(record.ugID, 0) << "a name without a value";
}

TEST(UberTableTest, ADomainDoesNotTellNamesApart) {
  UberTable table;
  const auto named = [](const char* name, const char* domain) {
    auto record = std::make_unique<UserOrGroup>();
    record->ugName = name;
    record->domain.emplace(1, domain);
    return record;
  };
  const UserOrGroup* const first = table.stashOnUnix(named("anna", "north"), false);
  EXPECT_EQ(table.stashOnUnix(named("anna", "south"), false), first);
  EXPECT_NE(table.stashOnUnix(named("anna", "north"), true), first);
}

}  // namespace
}  // namespace agent
