#include "Scan/identity/UserOrGroup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Scan/identity/UberTable.h"

namespace agent {
namespace {

using ::testing::StrEq;

std::string printed(const UserOrGroup& record, std::string_view tag) {
  const std::string fileName = ::testing::TempDir() + "UserOrGroupTest.dat";
  GenericPrint print(GenericPrint::VOX_FORMAT, fileName);
  UserOrGroup::printHeader(print);
  record.printData(print, tag);
  print.closeFile();
  std::ostringstream text;
  text << std::ifstream(fileName).rdbuf();
  return text.str();
}

constexpr const char* HEADER =
    "ugID,ugGroupID,ugName,ugDescription,ugDomainID,ugRemoved,ugComputerID,ugNameBytes,ugType,"
    "ugUserOrGroupType\n";

TEST(UserOrGroupTest, PrintsANodeOfTheGivenTag) {
  UserOrGroup user = UserOrGroup::ofKey(7, false);
  user.ugName = "ab\xE9";
  user.ugDescription = "A, B";

  EXPECT_EQ(printed(user, ScanVOXTags::UG_USER),
            std::string(HEADER) +
                "[UserOrGroupUser]\n"
                "\"7\",\"0\",\"ab\xE9\",\"A, B\",\"-1\",\"N\",\"-1\",\"97,98,233\",\"1\",\"1\"\n"
                "[/UserOrGroupUser]\n");
}

TEST(UserOrGroupTest, PrintsEmptyTextsAsNullAndTheDomainBehindTheRow) {
  UserOrGroup group = UserOrGroup::ofKey(-2, true);
  group.ugRemoved = true;
  group.domain.emplace(5, "EXAMPLE");

  EXPECT_EQ(printed(group, ScanVOXTags::UG_USER_GROUP),
            std::string(HEADER) +
                "[UserOrGroup]\n"
                "\"0\",\"-2\",\"null\",\"null\",\"-1\",\"Y\",\"-1\",\"null\",\"2\",\"2\"\n"
                "[Domain]\n"
                "\"5\",\"EXAMPLE\",\"0\"\n"
                "[/Domain]\n"
                "[/UserOrGroup]\n");
}

TEST(UserOrGroupTest, LoadsWhatItPrinted) {
  UserOrGroup record;
  record.ugDescription = "old";
  record.loadValues({"ugGroupID", "ugName", "ugDescription", "ugDomainID", "unknown", "ugRemoved",
                     "ugComputerID", "ugNameBytes", "ugType", "ugID"},
                    {"12", "staff-of-the-whole-house", "null", "3", "x", "true", "17", "97", "2"});

  EXPECT_EQ(record.ugGroupID, 12);
  EXPECT_EQ(record.ugName, "staff-of-the-whole-house");
  EXPECT_EQ(record.ugDescription, "");
  EXPECT_EQ(record.ugDomainID, 3);
  EXPECT_TRUE(record.ugRemoved);
  EXPECT_EQ(record.ugComputerID, 17);
  EXPECT_EQ(record.ugType, 2);
  EXPECT_EQ(record.ugID, 0) << "a name without a value";
  EXPECT_THAT(record.selectionName(), StrEq("staff-of-the-who"));
}

TEST(UserOrGroupTest, TheFullyQualifiedNameNamesADomainThatHasAName) {
  UserOrGroup record;
  record.ugName = "anna";
  EXPECT_EQ(record.fullyQualifiedName(), "anna");
  record.domain.emplace(1, "");
  EXPECT_EQ(record.fullyQualifiedName(), "anna");
  record.domain->name = "north";
  EXPECT_EQ(record.fullyQualifiedName(), "anna@north");
}

TEST(UberTableTest, KeepsTheFirstRecordOfEachNameAndKind) {
  UberTable table;
  const auto named = [](const char* name, const char* domain) {
    auto record = std::make_unique<UserOrGroup>();
    record->ugName = name;
    record->domain.emplace(1, domain);
    return record;
  };
  const UserOrGroup* const first = table.stashOnUnix(named("anna", "north"), false);
  EXPECT_EQ(table.stashOnUnix(named("anna", "south"), false), first);
  EXPECT_EQ(first->domain->name, "north");
  EXPECT_NE(table.stashOnUnix(named("anna", "north"), true), first);
  EXPECT_EQ(table.stashOnUnix(nullptr, false), nullptr);

  const UserOrGroup* const qualified = table.stashOnWindows(named("anna", "south"), false);
  EXPECT_NE(qualified, first);
  EXPECT_EQ(table.stashOnWindows(named("anna", "south"), false), qualified);
  EXPECT_EQ(table.stashOnWindows(nullptr, true), nullptr);
}

}  // namespace
}  // namespace agent
