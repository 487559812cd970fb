#include "Scan/unix/UnixUserTable.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "Scan/identity/UberTable.h"
#include "Scan/identity/UserOrGroup.h"

namespace agent {
namespace {

/// A database of the test's own, which counts how often each number is asked for.
class FakeDatabase : public UserDatabase {
 public:
  int findUser(uint32_t uid, std::string& name, std::string& /*description*/) override {
    ++asked[uid];
    if (failuresToCome > 0) return --failuresToCome, EIO;
    if (!users.contains(uid)) return NO_ENTRY;
    name = users[uid];
    return 0;
  }
  int findGroup(uint32_t gid, std::string& name) override {
    if (failuresToCome > 0) return --failuresToCome, EIO;
    if (!groups.contains(gid)) return NO_ENTRY;
    name = groups[gid];
    return 0;
  }

  int failuresToCome = 0;
  std::map<uint32_t, std::string> users, groups;
  std::map<uint32_t, int> asked;
};

class UnixUserTableTest : public ::testing::Test {
 protected:
  const UserOrGroup& user(uint32_t uid) { return *table_.lookup(Sid(uid), false); }
  const UserOrGroup& group(uint32_t gid) { return *table_.lookup(Sid(gid), true); }

  UberTable uberTable_;
  FakeDatabase& database_ = *new FakeDatabase;  // the table owns it
  UnixUserTable table_{uberTable_, std::unique_ptr<UserDatabase>(&database_)};
};

TEST_F(UnixUserTableTest, NumbersBeyondTheSignedOnesAreNegative) {
  EXPECT_EQ(user(4294967295).ugName, "-1");
  EXPECT_EQ(user(4294967295).ugID, -1);
  EXPECT_EQ(group(4294967294).ugName, "-2");
  EXPECT_EQ(group(4294967294).ugGroupID, -2);
}

TEST_F(UnixUserTableTest, TheDatabaseIsAskedOncePerNumberHoweverManyThereAre) {
  std::map<uint32_t, const UserOrGroup*> first;
  for (int round = 0; round < 3; ++round) {
    // Steps of 2^16 as domains give them out, and neighbours; the table grows several times on the way.
    for (uint32_t number = 0; number < 1000; ++number) {
      for (const uint32_t uid : {number, number << 16}) {
        const UserOrGroup* const record = &user(uid);
        EXPECT_EQ(first.try_emplace(uid, record).first->second, record);
        EXPECT_EQ(record->ugID, static_cast<int32_t>(uid));
      }
    }
  }

  EXPECT_EQ(database_.asked.size(), 1999U);
  for (const auto& [uid, times] : database_.asked) EXPECT_EQ(times, 1) << uid;
}

TEST_F(UnixUserTableTest, ADatabaseThatFailsIsAskedAgainAndItsFailuresAreCounted) {
  for (uint32_t uid = 0; uid < 600; ++uid) database_.users[uid] = "user" + std::to_string(uid);
  user(7);
  database_.failuresToCome = 2;
  EXPECT_FALSE(user(20).ugRemoved);
  EXPECT_EQ(table_.takeFailures().numbers, 0U);

  database_.failuresToCome = 9;
  for (const uint32_t uid : {21U, 22U}) EXPECT_TRUE(user(uid).ugRemoved);
  EXPECT_TRUE(group(7).ugRemoved);
  EXPECT_TRUE(user(21).ugRemoved);  // not asked again
  EXPECT_EQ(database_.asked[21], 3);
  const UnixUserTable::Failures failures = table_.takeFailures();
  EXPECT_EQ(failures.numbers, 3U);
  EXPECT_EQ(failures.error, EIO);

  // So many that failures stand behind one another in the table.
  for (uint32_t uid = 100; uid < 600; ++uid) {
    database_.failuresToCome = uid % 2 != 0 ? 3 : 0;
    EXPECT_EQ(user(uid).ugRemoved, uid % 2 != 0);
  }
  EXPECT_EQ(table_.takeFailures().numbers, 250U);
  EXPECT_FALSE(user(599).ugRemoved) << "the last one met is asked for again as well";
  for (uint32_t uid = 0; uid < 600; ++uid) EXPECT_EQ(user(uid).ugName, "user" + std::to_string(uid));
  EXPECT_EQ(database_.asked[7], 1) << "what the database has told is kept";
  EXPECT_EQ(table_.takeFailures().numbers, 0U);
}

TEST_F(UnixUserTableTest, NumbersOfOneNameAreOneOwner) {
  database_.users[500] = "web";
  database_.users[501] = "web";
  database_.users[502] = "1234";  // a login of digits

  const UserOrGroup& web = user(500);
  EXPECT_EQ(&user(501), &web);
  EXPECT_EQ(web.ugID, 500);
  // An orphan's name is filed like any other.
  const UserOrGroup& orphan = user(1234);
  EXPECT_EQ(&user(502), &orphan);
  EXPECT_TRUE(user(502).ugRemoved);
}

TEST_F(UnixUserTableTest, SelectionsSeeNamesCutToTheirLimits) {
  const std::string name40 = "abcdefghijklmnopqrstuvwxyz0123456789ABCD";
  database_.users[1] = name40;
  database_.groups[1] = name40;

  EXPECT_EQ(user(1).selectionName(), name40.substr(0, 32));
  EXPECT_EQ(user(1).ugName, name40);
  EXPECT_EQ(group(1).selectionName(), name40.substr(0, 16));
}

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
