#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Scan/selection/SelectNode.h"
#include "SelectionTestSupport.h"

namespace agent {
namespace {

using Names = std::vector<std::string>;

constexpr int32_t NOW = 1'700'000'000;
constexpr int64_t DAY = 86'400;
constexpr int64_t GIB = int64_t{1} << 30;

/// A small file system under "/m/", every entry with what a hand can work out.
class SelectionEntriesTest : public ::testing::Test {
 protected:
  SelectionEntriesTest() {
    // directories, name, type, bytes, blocks, modified and accessed (from now), owner, group, attributes
    add({}, "", 3, 4096, 8, -DAY, 0);
    add({}, "etc", 3, 4096, 8, -9 * DAY, 0, "root", "root", 0x100000);  // sticky
    add({}, "a.log", 1, 0, 0, -100 * DAY, -50 * DAY, "www-data", "adm");
    add({"etc"}, "b.log", 1, 1023, 2, 0, 0, "anna", "staff");
    add({"etc"}, "tool", 1, 1025, 8, -3 * DAY, -DAY, "root", "root", 0x480000);  // set-user-ID, executable
    add({"etc", "sub"}, "big", 1, 3 * GIB, 6'291'456, DAY, DAY, "4711", "4711", 0x20000);  // orphan
    add({"etc", "sub"}, "link", 2, 7, 0, -9 * DAY, -9 * DAY, "anna", "staff");
    add({}, "dev.sda", 6, 0, 0, -NOW, -NOW, "root", "disk", 0x40000);  // block device
    add({}, "pipe", 4, 0, 0, 0, 0, "zoe", "staff");
    add({}, "caf\xE9", 1, 1'048'576, 2048, 0, 0, "Anna", "STAFF");
  }

  Names selected(const std::string& expression, int32_t baseLevel = 0) {
    Names names;
    const SelectTree root = compiled(expression, baseLevel);
    if (root == nullptr) return {"<does not compile>"};
    for (Entry& entry : entries_) {
      if (selects(*root, entry.info())) names.push_back(entry.fullPath().substr(3));
    }
    return names;
  }

 private:
  void add(const Names& directories, const std::string& name, int32_t type, int64_t bytes, int64_t blocks,
           int64_t modified, int64_t accessed, const std::string& owner = "root",
           const std::string& group = "root", uint32_t attributes = 0) {
    Entry entry("/m/", directories, name);
    entry.type(type).size(bytes).blocks(blocks).now(NOW).modified(NOW + modified).accessed(NOW + accessed);
    entries_.push_back(entry.user(owner).group(group).attributes(attributes));
  }

  std::vector<Entry> entries_;
};

const Names ALL = {"",        "etc",  "a.log",  "etc/b.log", "etc/tool", "etc/sub/big", "etc/sub/link",
                   "dev.sda", "pipe", "caf\xE9"};

struct Selected {
  std::string expression;
  Names names;
};

std::string time(char sign, int64_t seconds) {
  return sign + be32(static_cast<uint32_t>(seconds));
}
std::string text(const std::string& value) {
  return value + '\0';
}

TEST_F(SelectionEntriesTest, Everything) {
  for (const auto& expression : {std::string(), std::string(" "), text("=F%"), text("=F"), text("=U%"),
                                 BYTES("!<C@\0\0\0\0"), BYTES("!=Gstaff\0"), text("!=G*")}) {
    EXPECT_EQ(selected(expression), ALL) << ::testing::PrintToString(expression);
  }
  EXPECT_EQ(selected(BYTES("=T\0\0\0\4 whatever follows")), Names{"pipe"});
}

TEST_F(SelectionEntriesTest, TypesAndAttributes) {
  for (const auto& [expression, names] : std::vector<Selected>{
           {"=T" + be32(3), {"", "etc"}},
           {"=T" + be32(0x10001), {}},
           {"(T" + be32(6) + "," + be32(4) + ")", {"dev.sda", "pipe"}},
           {"!(T" + be32(1) + "," + be32(3) + ")", {"etc/sub/link", "dev.sda", "pipe"}},
           {"&P" + be32(0x500000), {"etc", "etc/tool"}},  // any bit
           {"=P" + be32(0x500000), {}},                   // all bits
           {"=P" + be32(0), ALL},
           {"&P" + be32(0), {}},
           {"(P" + be32(0x40000) + "," + be32(0x100000) + ")", {"etc", "dev.sda"}},
           {"!&P" + be32(0xFFFFFFFF), {"", "a.log", "etc/b.log", "etc/sub/link", "pipe", "caf\xE9"}},
       }) {
    EXPECT_EQ(selected(expression), names) << ::testing::PrintToString(expression);
  }
}

TEST_F(SelectionEntriesTest, Paths) {
  for (const auto& [expression, names] : std::vector<Selected>{
           // Absolute: the whole path. The root itself is spelled with its slash.
           {text("=F/m/etc/%"), {"etc", "etc/b.log", "etc/tool", "etc/sub/big", "etc/sub/link"}},
           {text("=F/m/%"), ALL},
           {text("=F/m"), {}},
           {text("=F/m/*"), {"", "etc", "a.log", "dev.sda", "pipe", "caf\xE9"}},
           {text("=F/%/b.log"), {"etc/b.log"}},
           // Relative: from the base level on.
           {text("=Fetc/*"), {"etc/b.log", "etc/tool"}},
           {text("=Fetc/%"), {"etc", "etc/b.log", "etc/tool", "etc/sub/big", "etc/sub/link"}},
           // Floating: the last components.
           {text("=F%/*.log"), {"a.log", "etc/b.log"}},
           {text("=F%/etc/*.log"), {"etc/b.log"}},
           {text("=F%/sub/*"), {"etc/sub/big", "etc/sub/link"}},
           {text("=F%/etc/%/*i*"), {"etc/sub/big", "etc/sub/link"}},
           // Lists, other platforms' patterns among them.
           {"(F" + text("%/*.log") + "," + text("C:\\x") + "," + text("/m/pipe") + ")",
            {"a.log", "etc/b.log", "pipe"}},
           {"&=T" + be32(1) + text("=F%/b*"), {"etc/b.log", "etc/sub/big"}},
       }) {
    EXPECT_EQ(selected(expression), names) << ::testing::PrintToString(expression);
  }
}

TEST_F(SelectionEntriesTest, PathsBelowABaseLevel) {
  for (const auto& [expression, names] : std::vector<Selected>{
           {text("=Fsub/*"), {"etc/sub/big", "etc/sub/link"}},
           {text("=F*"), {"etc/b.log", "etc/tool"}},  // nothing above the base
           {text("=F%/b*"), {"etc/b.log", "etc/sub/big"}},
           {text("=F%/etc/*"), {}},  // would begin above the base
           {text("=F%/sub/*"), {"etc/sub/big", "etc/sub/link"}},
           {text("=F/m/a.log"), {"a.log"}},  // an absolute path has no base
       }) {
    EXPECT_EQ(selected(expression, 1), names) << ::testing::PrintToString(expression);
  }
  EXPECT_EQ(selected(text("=F*"), 2), (Names{"etc/sub/big", "etc/sub/link"}));
  EXPECT_EQ(selected(text("=F%/*"), 3), Names{});
}

TEST_F(SelectionEntriesTest, NamesOfUsersAndGroups) {
  for (const auto& [expression, names] : std::vector<Selected>{
           {text("=U?nna"), {"etc/b.log", "etc/sub/link", "caf\xE9"}},
           {"(U" + text("zoe") + "," + text("[0-9]*") + ")", {"etc/sub/big", "pipe"}},
           {text("=Gstaff"), {}},  // patterns of groups answer no
           {"(G" + text("staff") + "," + text("adm") + ")", {}},
           // Byte order: capitals first.
           {text("<Uanna"), {"etc/sub/big", "caf\xE9"}},
           {text("<=Uanna"), {"etc/b.log", "etc/sub/big", "etc/sub/link", "caf\xE9"}},
           {text(">Uroot"), {"a.log", "pipe"}},
           {"&" + text(">=Gstaff") + text("<=Gstaff"), {"etc/b.log", "etc/sub/link", "pipe"}},
           {"[G" + text("adm") + text("root"), {"a.log", "dev.sda"}},
       }) {
    EXPECT_EQ(selected(expression), names) << ::testing::PrintToString(expression);
  }
}

TEST_F(SelectionEntriesTest, Sizes) {
  for (const auto& [expression, names] : std::vector<Selected>{
           // 3 GiB is a negative number of bytes in 32 bits.
           {BYTES("<s1\0"), {"a.log", "etc/sub/big", "dev.sda", "pipe"}},
           {BYTES(">s3FF\0"), {"", "etc", "etc/tool", "caf\xE9"}},
           {BYTES(">=s3ff\0"), {"", "etc", "etc/b.log", "etc/tool", "caf\xE9"}},
           {BYTES(">=s1\2"), {"caf\xE9"}},
           {BYTES("<=s4\1"),
            {"", "etc", "a.log", "etc/b.log", "etc/tool", "etc/sub/big", "etc/sub/link", "dev.sda", "pipe"}},
           {BYTES(">s2\3"),
            {"", "etc", "a.log", "etc/b.log", "etc/tool", "etc/sub/big", "etc/sub/link", "dev.sda", "pipe",
             "caf\xE9"}},  // 2 GiB: the smallest number
           {BYTES("[s1\0"
                  "401\0"),
            {"etc/b.log", "etc/sub/link"}},
           // By blocks it is right.
           {BYTES(">=S3\3"), {"etc/sub/big"}},
           {BYTES("<S3\3"),
            {"", "etc", "a.log", "etc/b.log", "etc/tool", "etc/sub/link", "dev.sda", "pipe", "caf\xE9"}},
           {BYTES(">=S1\2"), {"etc/sub/big", "caf\xE9"}},
           // 1000 bytes are two blocks below, one block up to.
           {BYTES("<=S3E8\0"), {"a.log", "etc/sub/link", "dev.sda", "pipe"}},
           {BYTES(">=S3E8\0"), {"", "etc", "etc/b.log", "etc/tool", "etc/sub/big", "caf\xE9"}},
           {BYTES("[S3E8\0"
                  "3E9\0"),
            {}},  // both ends round up
           {BYTES("[S201\0"
                  "4\1"),
            {"etc/b.log"}},
       }) {
    EXPECT_EQ(selected(expression), names) << ::testing::PrintToString(expression);
  }
}

TEST_F(SelectionEntriesTest, Times) {
  for (const auto& [expression, names] : std::vector<Selected>{
           {"<M" + time('+', -90 * DAY), {"a.log", "dev.sda"}},
           {"<M" + time('@', NOW - 90 * DAY), {"a.log", "dev.sda"}},
           {">=M" + time('+', DAY), {"etc/sub/big"}},
           {"<=M" + time('+', -9 * DAY), {"etc", "a.log", "etc/sub/link", "dev.sda"}},
           {"<=A" + time('@', 0), {"dev.sda"}},
           {"<A" + time('@', 0), {}},
           // The lower bound counts from now whatever its sign; the upper one goes by its sign.
           {"[M" + time('@', -9 * DAY) + time('+', -2 * DAY), {"etc", "etc/tool", "etc/sub/link"}},
           {"[M" + time('+', -9 * DAY) + time('@', NOW - 2 * DAY), {"etc", "etc/tool", "etc/sub/link"}},
           {"[M" + time('@', NOW - 9 * DAY) + time('@', NOW),
            {"", "etc", "a.log", "etc/tool", "etc/sub/link", "dev.sda"}},  // now + now wraps
           // There is no time of creation.
           {">C" + time('@', 0), {}},
           {"!<C" + time('+', 0), ALL},
       }) {
    EXPECT_EQ(selected(expression), names) << ::testing::PrintToString(expression);
  }
}

TEST_F(SelectionEntriesTest, Operators) {
  const std::string file = "=T" + be32(1);
  const std::string anna = text("=Uanna");
  for (const auto& [expression, names] : std::vector<Selected>{
           {"|" + anna + "=T" + be32(4), {"etc/b.log", "etc/sub/link", "pipe"}},
           {"&&" + file + "!" + anna + text("=F%/*.log"), {"a.log"}},
           {"|&" + file + anna + "&=T" + be32(2) + anna, {"etc/b.log", "etc/sub/link"}},
       }) {
    EXPECT_EQ(selected(expression), names) << ::testing::PrintToString(expression);
  }
}

TEST(SelectionEvaluationTest, TheRightSideIsNotAskedOnceTheLeftDecides) {
  // A selection that tests a group's name by a pattern notes it when it gets there.
  Entry file("/", {}, "f");
  file.type(1);
  for (const auto& [expression, reaches] : std::vector<std::pair<std::string, bool>>{
           {"&=T" + be32(2) + text("=Gx"), false},
           {"&=T" + be32(1) + text("=Gx"), true},
           {"|=T" + be32(1) + text("=Gx"), false},
           {"|=T" + be32(2) + text("=Gx"), true},
       }) {
    const SelectTree root = compiled(expression);
    EXPECT_EQ(selects(*root, file.info()), expression[0] == '|' && !reaches);
    EXPECT_EQ(root->children.back()->groupTests->traced, reaches);
  }
}

TEST(SelectionEvaluationTest, AMonitoredDirectoryMayBeTheRootWithoutItsSlash) {
  // The walk spells it so for the directory's own test. Nothing lies below it then, and nothing may be read
  // behind its end.
  Entry root("/a/long/way/to/the/mount/point/", {}, "");
  root.type(3).path("/a/long/way/to/the/mount/point");
  EXPECT_TRUE(selects(*compiled(text("=F/a/long/way/to/the/mount/point")), root.info()));
  EXPECT_FALSE(selects(*compiled(text("=F%/point")), root.info()));
  EXPECT_FALSE(selects(*compiled(text("=Fpoint")), root.info()));
  Entry slash("/", {}, "");
  EXPECT_TRUE(selects(*compiled(text("=F/")), slash.path("").info()));
}

TEST(SelectionEvaluationTest, SumsOfTimesWrapAt32Bits) {
  Entry file("/", {}, "f");
  file.type(1).now(0x7FFFFFFF).modified(-0x7FFFFFFF).accessed(int64_t{1} << 32);
  EXPECT_TRUE(selects(*compiled("<M" + time('+', 3)), file.info())) << "-2147483647 < -2147483646";
  EXPECT_FALSE(selects(*compiled("<M" + time('+', 1)), file.info()));
  EXPECT_TRUE(selects(*compiled("<=A" + time('@', 0)), file.info())) << "only 32 bits are looked at";
}

TEST(SelectionEvaluationTest, OfMoreThanEightDigitsTheLastEightCount) {
  Entry file("/", {}, "f");
  file.size(0x42);
  EXPECT_TRUE(selects(*compiled(BYTES(">=sF00000042\0")), file.info()));
  EXPECT_FALSE(selects(*compiled(BYTES(">=sF00000043\0")), file.info()));
  // 4 TB of bytes shift by 40, which is 8 in a word of 32 bits.
  file.size(0x100);
  EXPECT_TRUE(selects(*compiled(BYTES("&>=s1\4<=s1\4")), file.info()));
}

}  // namespace
}  // namespace agent
