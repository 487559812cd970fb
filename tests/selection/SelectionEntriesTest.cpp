#include "Scan/selection/SelectNode.h"
#include "selection/SelectionTestSupport.h"

namespace agent {
namespace {

constexpr int32_t NOW = 1'700'000'000;
constexpr int64_t DAY = 86'400;
constexpr int64_t GIB = int64_t{1} << 30;

std::string time(char sign, int64_t seconds) {
  return sign + be32(static_cast<uint32_t>(seconds));
}
std::string text(const std::string& value) {
  return value + '\0';
}

/// A small file system under "/m/", every entry with what a hand can work out. What is selected is told by
/// the entries' letters.
class SelectionEntriesTest : public ::testing::Test {
 protected:
  SelectionEntriesTest() {
    // letter, directories, name; type, bytes, blocks, modified and accessed (from now), owner, group,
    // attributes
    add('r', {}, "", {3, 4096, 8, -DAY});
    add('d', {}, "etc", {3, 4096, 8, -9 * DAY, 0, "root", "root", 0x100000});  // sticky
    add('a', {}, "a.log", {1, 0, 0, -100 * DAY, -50 * DAY, "www-data", "adm"});
    add('b', {"etc"}, "b.log", {1, 1023, 2, 0, 0, "anna", "staff"});
    add('t', {"etc"}, "tool", {1, 1025, 8, -3 * DAY, -DAY, "root", "root", 0x480000});  // setuid, executable
    add('B', {"etc", "sub"}, "big", {1, 3 * GIB, 6'291'456, DAY, DAY, "4711", "4711", 0x20000});  // orphan
    add('l', {"etc", "sub"}, "link", {2, 7, 0, -9 * DAY, -9 * DAY, "anna", "staff"});
    add('s', {}, "dev.sda", {6, 0, 0, -NOW, -NOW, "root", "disk", 0x40000});  // block device
    add('p', {}, "pipe", {4, 0, 0, 0, 0, "zoe", "staff"});
    add('c', {}, "caf\xE9", {1, 1'048'576, 2048, 0, 0, "Anna", "STAFF"});
  }

  std::string selected(const std::string& expression, int32_t baseLevel = 0) {
    std::string letters;
    const SelectTree root = compiled(expression, baseLevel);
    if (root == nullptr) return "does not compile";
    for (auto& [letter, entry] : entries_) {
      if (selects(*root, entry.info())) letters += letter;
    }
    return letters;
  }
  void expect(const std::vector<std::pair<std::string, std::string>>& table, int32_t baseLevel = 0) {
    for (const auto& [expression, letters] : table) {
      EXPECT_EQ(selected(expression, baseLevel), letters) << ::testing::PrintToString(expression);
    }
  }

 private:
  void add(char letter, const std::vector<std::string>& directories, const std::string& name,
           EntryValues values) {
    values.now = NOW;
    values.modified += NOW;
    values.accessed += NOW;
    entries_.emplace_back(letter, Entry("/m/", directories, name, values));
  }

  std::vector<std::pair<char, Entry>> entries_;
};

TEST_F(SelectionEntriesTest, EverythingTypesAttributesAndOperators) {
  const std::string file = "=T" + be32(1), anna = text("=Uanna"), all = "rdabtBlspc";
  expect({{"", all},
          {text("=F%"), all},
          {BYTES("!<C@\0\0\0\0"), all},
          {text("!=G*"), all},
          {BYTES("=T\0\0\0\4 whatever follows"), "p"},
          {"=T" + be32(0x10001), ""},
          {"!(T" + be32(1) + "," + be32(3) + ")", "lsp"},
          {"&P" + be32(0x500000), "dt"},  // any bit
          {"=P" + be32(0x500000), ""},    // all bits
          {"=P" + be32(0), all},
          {"&P" + be32(0), ""},
          {"(P" + be32(0x40000) + "," + be32(0x100000) + ")", "ds"},
          {"|" + anna + "=T" + be32(4), "blp"},
          {"&&" + file + "!" + anna + text("=F%/*.log"), "a"},
          {"|&" + file + anna + "&=T" + be32(2) + anna, "bl"}});
}

TEST_F(SelectionEntriesTest, Paths) {
  expect({
      // Absolute: the whole path. The root itself is spelled with its slash.
      {text("=F/m/etc/%"), "dbtBl"},
      {text("=F/m"), ""},
      {text("=F/m/*"), "rdaspc"},
      // Relative: from the base level on. Floating: the last components.
      {text("=Fetc/*"), "bt"},
      {text("=Fetc/%"), "dbtBl"},
      {text("=F%/*.log"), "ab"},
      {text("=F%/etc/*.log"), "b"},
      {text("=F%/etc/%/*i*"), "Bl"},
      // Lists, other platforms' patterns among them.
      {"(F" + text("%/*.log") + "," + text("C:\\x") + "," + text("/m/pipe") + ")", "abp"},
  });
  // Below a base level.
  expect({{text("=Fsub/*"), "Bl"},
          {text("=F*"), "bt"},  // nothing above the base
          {text("=F%/b*"), "bB"},
          {text("=F%/etc/*"), ""},     // would begin above the base
          {text("=F/m/a.log"), "a"}},  // an absolute path has no base
         1);
  EXPECT_EQ(selected(text("=F*"), 2), "Bl");
  EXPECT_EQ(selected(text("=F%/*"), 3), "");
}

TEST_F(SelectionEntriesTest, NamesOfUsersAndGroups) {
  expect({{text("=U?nna"), "blc"},
          {"(U" + text("zoe") + "," + text("[0-9]*") + ")", "Bp"},
          {text("=Gstaff"), ""},  // patterns of groups answer no
          // Byte order: capitals first.
          {text("<Uanna"), "Bc"},
          {text("<=Uanna"), "bBlc"},
          {text(">Uroot"), "ap"},
          {"&" + text(">=Gstaff") + text("<=Gstaff"), "blp"},
          {"[G" + text("adm") + text("root"), "as"}});
}

TEST_F(SelectionEntriesTest, Sizes) {
  expect({// 3 GiB is a negative number of bytes in 32 bits.
          {BYTES("<s1\0"), "aBsp"},
          {BYTES(">s3FF\0"), "rdtc"},
          {BYTES(">=s3ff\0"), "rdbtc"},
          {BYTES(">s2\3"), "rdabtBlspc"},  // 2 GiB: the smallest number
          {BYTES("[s1\0") + BYTES("401\0"), "bl"},
          // By blocks it is right.
          {BYTES(">=S3\3"), "B"},
          // 1000 bytes are two blocks below, one block up to.
          {BYTES("<=S3E8\0"), "alsp"},
          {BYTES(">=S3E8\0"), "rdbtBc"},
          {BYTES("[S3E8\0") + BYTES("3E9\0"), ""},  // both ends round up
          {BYTES("[S201\0") + BYTES("4\1"), "b"}});
}

TEST_F(SelectionEntriesTest, Times) {
  expect({{"<M" + time('+', -90 * DAY), "as"},
          {">=M" + time('+', DAY), "B"},
          {"<=M" + time('+', -9 * DAY), "dals"},
          {"<=A" + time('@', 0), "s"},
          // The lower bound counts from now whatever its sign; the upper one goes by its sign.
          {"[M" + time('@', -9 * DAY) + time('+', -2 * DAY), "dtl"},
          {"[M" + time('+', -9 * DAY) + time('@', NOW - 2 * DAY), "dtl"},
          {"[M" + time('@', NOW - 9 * DAY) + time('@', NOW), "rdatls"},  // now + now wraps
          {">C" + time('@', 0), ""}});                                   // there is no time of creation
}

TEST(SelectionEvaluationTest, TheRightSideIsNotAskedOnceTheLeftDecides) {
  // A selection that tests a group's name by a pattern notes it when it gets there.
  Entry file("/", {}, "f", {.type = 1});
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
  // The walk spells it so for the directory's own test; nothing may be read behind its end.
  Entry root("/a/mount/point/", {}, "", {.type = 3});
  root.path = "/a/mount/point";
  EXPECT_TRUE(selects(*compiled(text("=F/a/mount/point")), root.info()));
  EXPECT_FALSE(selects(*compiled(text("=F%/point")), root.info()));
  Entry slash("/", {}, "");
  slash.path.clear();
  EXPECT_TRUE(selects(*compiled(text("=F/")), slash.info()));
}

TEST(SelectionEvaluationTest, NumbersHaveTheWidthOfTheFormat) {
  constexpr int32_t NEVER = 0x7FFFFFFF;
  Entry file("/", {}, "f", {.size = 0x42, .modified = -NEVER, .accessed = int64_t{1} << 32, .now = NEVER});
  EXPECT_TRUE(selects(*compiled("<M" + time('+', 3)), file.info())) << "-2147483647 < -2147483646";
  EXPECT_FALSE(selects(*compiled("<M" + time('+', 1)), file.info()));
  EXPECT_TRUE(selects(*compiled("<=A" + time('@', 0)), file.info())) << "only 32 bits are looked at";
  // Of more than eight digits the last eight count.
  EXPECT_TRUE(selects(*compiled(BYTES(">=sF00000042\0")), file.info()));
  EXPECT_FALSE(selects(*compiled(BYTES(">=sF00000043\0")), file.info()));
  // 4 TB of bytes shift by 40, which is 8 in a word of 32 bits.
  file.values.size = 0x100;
  EXPECT_TRUE(selects(*compiled(BYTES("&>=s1\4<=s1\4")), file.info()));
}

}  // namespace
}  // namespace agent
