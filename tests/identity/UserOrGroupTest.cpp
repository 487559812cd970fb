#include "Scan/identity/UserOrGroup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Scan/identity/UberTable.h"
#include "support/TemporaryDirectory.h"

namespace agent {
namespace {

using ::testing::StrEq;

TEST(UserOrGroupTest, PrintsEmptyTextsAsNullAndTheDomainBehindTheRow) {
  UserOrGroup user = UserOrGroup::ofKey(7, false);
  user.ugName = "ab\xE9";
  user.ugDescription = "A, B";
  UserOrGroup group = UserOrGroup::ofKey(-2, true);
  group.ugRemoved = true;
  group.domain.emplace(5, "EXAMPLE");
  const test::TemporaryDirectory directory;
  GenericPrint print(GenericPrint::VOX_FORMAT, directory / "result.dat");
  user.printData(print, ScanVOXTags::UG_USER);
  group.printData(print, ScanVOXTags::UG_USER_GROUP);

  EXPECT_EQ(test::content(directory / "result.dat"),
            "[UserOrGroupUser]\n"
            "\"7\",\"0\",\"ab\xE9\",\"A, B\",\"-1\",\"N\",\"-1\",\"97,98,233\",\"1\",\"1\"\n"
            "[/UserOrGroupUser]\n"
            "[UserOrGroup]\n"
            "\"0\",\"-2\",\"null\",\"null\",\"-1\",\"Y\",\"-1\",\"null\",\"2\",\"2\"\n"
            "[Domain]\n"
            "\"5\",\"EXAMPLE\",\"0\"\n"
            "[/Domain]\n"
            "[/UserOrGroup]\n");
}

TEST(UserOrGroupTest, LoadsItsValuesInAnyOrder) {
  UserOrGroup record;
  record.ugDescription = "old";
  record.loadValues({"ugGroupID", "ugName", "ugDescription", "unknown", "ugRemoved", "ugType", "ugID"},
                    {"12", "staff-of-the-whole-house", "null", "x", "true", "2"});
  EXPECT_EQ(record.ugGroupID, 12);
  EXPECT_THAT(record.selectionName(), StrEq("staff-of-the-who"));
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
