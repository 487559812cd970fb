// The figures that administrators compare: against find, statvfs and the superblock.

#include <unistd.h>

#include "system/Results.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

/// Totals as find and awk add them up: "all", "u<uid>" and "g<gid>", each with files, directories and blocks.
/// Of an inode with several names one is left out.
std::string totalsByFind(const std::string& mountPoint) {
  return shell("find '" + mountPoint + R"(' -xdev -printf '%y %i %n %U %G %b\n' | awk '
    { blocks = $1 ~ /[fld]/ ? $6 : 0 }
    $1 != "d" && $3 > 1 && !seen[$2]++ { next }
    { for (i = 0; i < 3; ++i) {
        key = i == 0 ? "all" : i == 1 ? "u" $4 : "g" $5
        all[key]; files[key] += $1 ~ /[fl]/; directories[key] += $1 == "d"; total[key] += blocks
    } }
    END { for (key in all) print key, files[key], directories[key], total[key] }' | LC_ALL=C sort)");
}

/// The same from a result.
std::string totalsByScan(const ResultFile& result, int filesystem) {
  const Node& results = result.results(5, filesystem);
  const auto line = [&](const std::string& key, const Node& node, const std::string& prefix) {
    return key + " " + result.text(node, prefix + "FileCount") + " " +
           result.text(node, prefix + "DirectoryCount") + " " + result.text(node, prefix + "TotalSize");
  };
  std::vector<std::string> lines{line("all", only(results, "SSummary"), "sum")};
  for (const Node* node : results.childrenOf("SUserOrGroup")) {
    const Node& who = only(*node, "UserOrGroup");
    const bool group = result.number(who, "ugType") == 2;
    lines.push_back(
        line(group ? "g" + result.text(who, "ugGroupID") : "u" + result.text(who, "ugID"), *node, "sug"));
  }
  std::sort(lines.begin(), lines.end());
  std::string text;
  for (const std::string& each : lines) text += each + "\n";
  return text;
}

TEST(NumbersTest, OfAnExt4FileSystem) {
  const InstallTree tree;
  // Reserved blocks count as used, so free and available ones have to differ.
  const auto disk = MountedFileSystem::ext4(tree.room("disk"), 64, "-m 10");
  if (!disk) GTEST_SKIP() << disk.whyNot();
  shell("cd '" + disk.path() +
        R"(' && for d in 1 2 3 4 5 6 7; do mkdir -p $d/a/b && for f in 1 2 3 4 5 6 7 8 9; do
      head -c $((d * d * f * 1000)) /dev/zero >$d/a/$f && chown $((d * 1000)):$((f % 3 * 1000)) $d/a/$f
      ln $d/a/$f $d/a/b/$f; done; ln $d/a/1 $d/third; mkfifo $d/fifo; ln -s $d $d/link; done
      sync -f .)");
  auto figures = spaceFigures(disk.path());
  figures["fsPhysicalSize"] = std::to_string(64 * 2048);  // all of the device
  Definition definition = summaryOf({disk.path()});
  definition.records[1].set("sdGroupByOwner", "Y").set("sdGroupByGroup", "Y");
  tree.define(definition.text());

  ASSERT_EQ(tree.scan({"-nfstimeout", "60"}).status, 0);

  const ResultFile result(tree.resultFile());
  EXPECT_EQ(totalsByScan(result, 1), totalsByFind(disk.path()));
  const Node& filesystem = only(result.root(), "Filesystem");
  for (const auto& [column, value] : figures) EXPECT_EQ(result.text(filesystem, column), value) << column;
  const Node& summary = only(result.results(5, 1), "SSummary");
  for (const char* figure : {"Capacity", "UsedSpace", "FreeSpace"}) {
    EXPECT_EQ(result.text(summary, std::string("sum") + figure),
              result.text(filesystem, std::string("fs") + figure));
  }
}

}  // namespace
}  // namespace agent::test
