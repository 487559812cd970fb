#include <gmock/gmock.h>

#include "Scan/results/CuStatResults.h"
#include "Scan/results/SizeRanges.h"
#include "Scan/selection/fileInfo.h"
#include "Scan/statistics/CuStatAccum.h"
#include "Scan/statistics/CuStatDef.h"
#include "Scan/statistics/FileAccum.h"
#include "Scan/statistics/FileTypeAccum.h"
#include "Scan/statistics/LargeDirAccum.h"
#include "Scan/statistics/NMost.h"
#include "Scan/statistics/TimeDistAccum.h"
#include "statistics/WalkStandIn.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;

class AccumulatorTest : public ::testing::Test {
 protected:
  void feed(Accumulator& accumulator, std::vector<FileAttributes> entries) {
    for (FileAttributes& entry : entries) accumulator.accumulate(walk_.scanner, entry);
  }
  static std::vector<std::string> names(const std::vector<SFile>& files) {
    std::vector<std::string> found;
    for (const SFile& file : files) found.push_back(file.faName);
    return found;
  }

  WalkStandIn walk_;
  CuStatResults results_;
};

TEST_F(AccumulatorTest, SizeBucketsHaveInclusiveLimits) {
  const std::pair<int64_t, size_t> cases[] = {
      {0, 0},    {2, 0},     {3, 1},     {20, 1},     {21, 2},     {200, 2},     {201, 3},     {2048, 3},
      {2049, 4}, {20480, 4}, {20481, 5}, {204800, 5}, {204801, 6}, {1024000, 6}, {1024001, 7}, {-1, 0}};
  for (const auto& [blocks, bucket] : cases) EXPECT_EQ(SizeRanges::bucket(blocks), bucket) << blocks;
}

TEST_F(AccumulatorTest, AgesFallIntoBucketsWithADayOfGrace) {
  STimeDist distribution;
  ModifiedDistAccum accumulator(distribution);
  int64_t sum = 0;
  const auto feedAge = [&](int64_t age) {
    FileAttributes entry = WalkStandIn::file("f", 4);
    entry.faModified = -age * 1000;
    feed(accumulator, {entry});
    sum += age;
  };
  for (const int64_t limit : {86400, 604800, 2592000, 5184000, 7776000, 15552000, 23328000, 31557600}) {
    feedAge(limit);
    feedAge(limit + 1);
  }
  feedAge(-86400);  // within the grace of clocks that differ
  const int64_t past = sum;
  feedAge(-86401);
  accumulator.finish(results_);
  EXPECT_THAT(distribution.tdCounts, ElementsAre(2, 2, 2, 2, 2, 2, 2, 2, 1, 1));
  EXPECT_THAT(distribution.tdSizes, ElementsAre(8, 8, 8, 8, 8, 8, 8, 8, 4, 4));
  EXPECT_EQ(distribution.tdAverageAge, past / 17) << "cut; what lies in the future has no age";
}

TEST_F(AccumulatorTest, TheLargestFilesRankByTheLowThirtyTwoBits) {
  const int64_t wrapped = (int64_t{1} << 32) + 1;  // ranks as 1
  const int64_t negative = int64_t{1} << 31;       // ranks below everything
  LargeFileAccum largest(3);
  feed(largest, {WalkStandIn::file("wrapped", wrapped), WalkStandIn::file("two", 2),
                 WalkStandIn::file("negative", negative), WalkStandIn::directory("d", 99),
                 WalkStandIn::ofType(FileAttributes::SYMBOLIC_LINK, "link", 3)});
  largest.finish(results_);
  EXPECT_THAT(names(results_.srLargestFiles), ElementsAre("link", "two", "wrapped"));
  EXPECT_EQ(results_.srLargestFiles[0].sfFilesystemID, 11);

  LargestOrphansAccum orphans(3);
  std::vector<FileAttributes> entries{WalkStandIn::file("two", 2), WalkStandIn::file("wrapped", wrapped)};
  for (FileAttributes& entry : entries) entry.faAttributes = ATTRIBUTE_ORPHAN;
  feed(orphans, entries);
  orphans.finish(results_);
  EXPECT_THAT(names(results_.srLargestOrphans), ElementsAre("wrapped", "two"));

  walk_.filesystem.fsType = Filesystem::FAT32;  // there by length
  FileAttributes longest = WalkStandIn::file("longest", 1);
  longest.faLength = 1000;
  LargeFileAccum onFat(1);
  feed(onFat, {WalkStandIn::file("blocks", 50), longest});
  onFat.finish(results_);
  EXPECT_THAT(names(results_.srLargestFiles), ElementsAre("longest"));
}

TEST_F(AccumulatorTest, PlacesInADirectoryAreLopsided) {
  const auto f = [](int64_t blocks) { return WalkStandIn::file("f", blocks); };
  const auto l = [](int64_t blocks) {
    return WalkStandIn::ofType(FileAttributes::SYMBOLIC_LINK, "l", blocks);
  };
  const auto d = [](int64_t blocks) { return WalkStandIn::directory("d", blocks); };
  const std::tuple<const char*, std::vector<FileAttributes>, int64_t, int64_t> cases[] = {
      {"files alone", {f(3), f(5), f(4)}, 5, 4},
      {"a larger subdirectory shifts the largest down and takes no place", {f(5), d(9)}, 5, 5},
      {"a larger link does the same", {f(5), f(2), l(7)}, 5, 5},
      {"one between the places does nothing", {f(5), f(2), d(4)}, 5, 2},
      {"an empty subdirectory alone", {d(8)}, 0, 0},
  };
  for (const auto& [why, entries, greatest, second] : cases) {
    LargeDirAccum accumulator(1, 11);
    accumulator.newDirectory(WalkStandIn::directory("/m/"));
    feed(accumulator, entries);
    accumulator.closeDirectory();
    accumulator.finish(results_);
    EXPECT_EQ(results_.srLargestDirectories[0].dirLargestSize, greatest) << why;
    EXPECT_EQ(results_.srLargestDirectories[0].dir2ndLargestSize, second) << why;
  }
}

TEST_F(AccumulatorTest, FindsTheExtensionFromTheEnd) {
  const std::pair<const char*, const char*> cases[] = {
      {"/d/README", ""},
      {"/d/archive.tar.GZ", ".GZ"},    // the last dot decides
      {"/d/x.123456", ".123456"},      // six characters
      {"/d/x.1234567", ""},            // seven are too many
      {"/d/x.", ""},                   // ends in the dot
      {"/dir.d/file", ""},             // a slash comes first
      {"/d/a b.txt", ".txt"},          // the blank lies ahead of the dot
      {"/d/a.b c", ""},                // the blank comes first
      {"/d/a.b\\c", ""},               // so does a backslash
      {"/d/.bashrc", ".bashrc"},       // the dot is not the first character of the path
      {".bashrc", ""},                 // here it is, and that one is never looked at
      {"/d/\xc3\xa4.\xff", ".\xff"},   // bytes of any value
      {"/d/a.\xae\xaf", ".\xae\xaf"},  // a dot and a slash but for their top bits
      {"/d/a./b", ""},
      {"", ""},
      {".", ""},
  };
  for (const auto& [path, extension] : cases) EXPECT_EQ(extractExtensionName(path), extension) << path;
}

TEST_F(AccumulatorTest, OnlyLettersOfAsciiHaveTwoCases) {
  for (uint64_t byte = 1; byte < 256; ++byte) {
    ExtensionTotals totals;
    totals.of(uint64_t{'.'} << 56 | byte << 48);
    const char lower = static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte);
    EXPECT_EQ(ExtensionTotals::text(totals.takeSorted()[0].key), std::string(".") + lower);
  }
}

TEST(ExtensionTotalsTest, EachExtensionHasOneTotalHoweverManyThereAre) {
  constexpr uint64_t EXTENSIONS = 5000;  // the table grows nine times
  ExtensionTotals totals;
  for (int times = 1; times <= 2; ++times) {
    for (uint64_t i = 0; i < EXTENSIONS; ++i) {
      const uint64_t noLetters = i % 32 | i / 32 % 32 << 8 | i / 1024 << 16;
      EXPECT_EQ(++totals.of(uint64_t{'.'} << 56 | noLetters << 8).files, times) << i;
    }
  }
  EXPECT_EQ(totals.takeSorted().size(), EXTENSIONS);
}

// Extensions arrive in the order of their bytes and follow the list's own rule: ".\xff" doesn't beat the
// others, and when ".big" comes, the first arrival of the smallest goes.
TEST_F(AccumulatorTest, FileTypesThatTieFollowTheRuleOfTheList) {
  FileTypeAccum accumulator(77, 11, 2);
  feed(accumulator, {WalkStandIn::file("/x.\xff", 5), WalkStandIn::file("/x.b", 5),
                     WalkStandIn::file("/x.ab", 5), WalkStandIn::file("/x.big", 9)});
  accumulator.finish(results_);
  ASSERT_EQ(results_.srFileTypes.size(), 2u);
  EXPECT_EQ(results_.srFileTypes[0].fileType.ftpFileExtension, ".big");
  EXPECT_EQ(results_.srFileTypes[1].fileType.ftpFileExtension, ".b");
}

TEST_F(AccumulatorTest, AnInodeCountsOnceLessThanItHasNamesInTheTree) {
  CuStatDef definition;
  definition.sdSummary = true;
  for (const auto& [names, inTree, counted] :
       {std::tuple(1, 1, 1), {2, 2, 1}, {3, 3, 2}, {4, 4, 3}, {2, 1, 0}}) {
    CuStatAccum accumulator;
    accumulator.buildAccum(definition, walk_.filesystem);
    const auto results = accumulator.takeResults();
    FileAttributes entry = WalkStandIn::file("f", 8);
    entry.faLinkCount = names;
    entry.faInodeNumber = -5;  // inode numbers are 64 bits of any value
    for (int32_t i = 0; i < inTree; ++i) accumulator.actUpon(walk_.scanner, entry);
    EXPECT_EQ(results->srSummary->sumFileCount, counted) << names << " names, " << inTree << " in the tree";
    EXPECT_EQ(results->srSummary->sumTotalSize, 8 * counted);
  }
}

// Names tell the order of arrival: "4a" came before "4b".
std::vector<std::string> most(int32_t n, const std::vector<std::string>& arrivals) {
  NMost<std::string> list(n);
  for (const std::string& arrival : arrivals) {
    if (list.mustAdd(std::stoll(arrival))) list.add(arrival);
  }
  return list.takeDescending();
}

TEST(NMost, KeepsTheGreatestAndTheFirstArrivalsAtAKey) {
  EXPECT_THAT(most(2, {"5a", "5b", "5c"}), ElementsAre("5b", "5a"));  // the third doesn't beat 5
  EXPECT_THAT(most(2, {"5a", "7a", "9a"}), ElementsAre("9a", "7a"));
  EXPECT_THAT(most(3, {"4a", "4b", "1a", "2a"}), ElementsAre("4b", "4a", "2a"));
  EXPECT_THAT(most(2, {"3a", "3b", "4a"}), ElementsAre("4a", "3b"));  // of equal keys the first one goes
  EXPECT_THAT(most(1, {"-2a", "-1a", "-9a"}), ElementsAre("-1a"));
  EXPECT_THAT(most(0, {"1a"}), ElementsAre());
}

}  // namespace
}  // namespace agent::test
