#include "figures/Comparison.h"

#include <gmock/gmock.h>

#include "figures/Alerts.h"

namespace agent::tools {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int64_t GIB = 2 * 1024 * 1024;  // in units of 512 bytes

/// A result of one file system with 100 GiB.
Figures resultWith(int64_t used, std::vector<IdentityFigures> users, std::vector<TypeFigures> types) {
  StatisticFigures statistic;
  statistic.name = "all";
  statistic.onFilesystem = SourceFigures();
  statistic.onFilesystem->users = std::move(users);
  statistic.onFilesystem->types = std::move(types);
  FilesystemFigures filesystem;
  filesystem.mountPoint = "/home/";
  filesystem.capacity = 100 * GIB;
  filesystem.used = used;
  filesystem.statistics.push_back(std::move(statistic));
  return {{filesystem}, std::nullopt};
}

IdentityFigures owner(int64_t id, const std::string& name, int64_t blocks, bool gone = false) {
  IdentityFigures figures;
  figures.identity = {id, name, gone};
  figures.blocks = blocks;
  return figures;
}

const Figures OLD =
    resultWith(40 * GIB, {owner(1, "anna", 9 * GIB), owner(2, "bob", 8 * GIB), owner(3, "cleo", GIB)},
               {{".iso", 1, 5 * GIB}, {".log", 9, GIB}});
const Figures NEW = resultWith(50 * GIB,
                               {owner(1, "anne", 12 * GIB), owner(2, "2", 3 * GIB, true),
                                owner(3, "cleo", GIB), owner(4, "dora", 2 * GIB)},
                               {{".iso", 1, 6 * GIB}, {".mp4", 9, 4 * GIB}});

TEST(ComparisonTest, WhatChangedMostComesFirstAndWhatAListLacksIsNotTakenForNothing) {
  const Comparison comparison = compare(OLD, NEW);
  ASSERT_EQ(comparison.filesystems.size(), 1U);
  const FilesystemChange& home = comparison.filesystems[0];
  EXPECT_EQ(home.used.growth(), 10 * GIB);
  std::vector<std::string> lines;
  for (const ChangeTable& table : home.statistics.at(0).tables) {
    for (const Change& change : table.changes) {
      lines.push_back(table.title + " " + change.name + " " +
                      (change.before ? std::to_string(*change.before / GIB) : "?") + " " +
                      (change.after ? std::to_string(*change.after / GIB) : "?"));
    }
  }
  EXPECT_THAT(lines, ElementsAre("Owners 2 8 3", "Owners anne 9 12", "Owners dora 0 2", "File types .iso 5 6",
                                 "File types .mp4 ? 4", "File types .log 1 ?"));
  const Comparison other = compare({{}, std::nullopt}, NEW);
  EXPECT_FALSE(other.filesystems.at(0).used.before);
  EXPECT_EQ(other.filesystems[0].used.growth(), 0);
}

TEST(AlertTest, ALimitTellsWhatPassedIt) {
  const Comparison comparison = compare(OLD, NEW);
  const auto passing = [&comparison](const std::string& limit) {
    return passed(alertOf(limit), NEW, &comparison);
  };
  EXPECT_THAT(passing("owner>2G"),
              ElementsAre("2: 3.00 GiB (6%) on /home/", "anne: 12.0 GiB (24%) on /home/"));
  EXPECT_THAT(passing("owner>12G"), IsEmpty());
  EXPECT_THAT(passing("owner>23.9%"), ElementsAre("anne: 12.0 GiB (24%) on /home/"));
  EXPECT_THAT(passing("fs>50%"), IsEmpty());
  EXPECT_THAT(passing("fs>49%"), ElementsAre("used space: 50.0 GiB (50%) on /home/"));
  EXPECT_THAT(passing("type>4096M"), ElementsAre(".iso: 6.00 GiB (12%) on /home/"));
  EXPECT_THAT(passing("orphans>1K"), ElementsAre("files whose owner is gone: 3.00 GiB (6%) on /home/"));
  EXPECT_THAT(passing("growth>24%"), ElementsAre("/home/ has grown by 10.0 GiB (25%)"));
  EXPECT_THAT(passing("growth>10G"), IsEmpty());
  EXPECT_THAT(passing("inodes>0%"), IsEmpty());
  for (const char* limit : {"", "owner", "owner>", "owner>1X", "owner>10GB", "owner>-1", "user>1G", ">1"})
    EXPECT_THROW(alertOf(limit), AlertError) << limit;
}

}  // namespace
}  // namespace agent::tools
