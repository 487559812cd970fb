#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "definition/ScandefLanguage.h"
#include "system/Results.h"
#include "system/SystemTest.h"

namespace agent::test {

using Names = std::set<std::string>;

// What selections that people write select on a real file system, worked out by hand. SelectionEntriesTest
// has the tests one by one; here it is what stat(2) and the user database say that has to reach them.
TEST(SelectedFilesTest, EachSelectionSelectsWhatAHandSelects) {
  const InstallTree tree;
  const auto mounted = MountedFileSystem::tmpfs(tree.room("m"), "mode=755");
  if (!mounted) GTEST_SKIP() << mounted.whyNot();
  const std::string root = mounted.path() + "/";
  constexpr time_t DAY = 86'400;
  const time_t now = time(nullptr);
  shell("cd '" + root + "' && mkdir -p src/deep tmp && chmod 1777 tmp && ln -s a.log link && mkfifo pipe");
  struct File {
    const char* name;
    size_t size;  // bytes; in whole pages what is allocated
    mode_t mode;
    uid_t owner;
    int modified, accessed;  // days from now
  };
  for (const File& file :
       {File{"a.log", 1000, 0644, 0, -10, -10'000},  // not used since: counts as used then
        File{"b.log", 5000, 0644, 1, -100, -2},      // daemon's
        File{"tool", 3000, 04755, 0, -1, -1},
        File{"big", 10, 0600, 0, -400, -400},  // 3 GiB, all but one page of it a hole
        File{"empty", 0, 0644, 0, 0, 0}, File{"lost", 100, 0644, 54321, -40, -40},
        File{"src/main.c", 2000, 0644, 2, -5, -5},  // bin's
        File{"src/deep/x.c", 9000, 0755, 2, -5, -5}, File{"src/deep/[x].h", 10, 0644, 0, -5, -5},
        File{"tmp/caf\xE9", 10, 0644, 1, 1, 1}}) {
    const std::string path = root + file.name;
    std::ofstream(path) << std::string(file.size, 'x');
    if (path.ends_with("big")) std::filesystem::resize_file(path, 3ULL << 30);
    const timespec times[2] = {{now + file.accessed * DAY, 0}, {now + file.modified * DAY, 0}};
    if (chown(path.c_str(), file.owner, file.owner) != 0) GTEST_SKIP() << "files can't be given away here";
    chmod(path.c_str(), file.mode);
    utimensat(AT_FDCWD, path.c_str(), times, 0);
  }
  struct Case {
    std::string selection;
    Names names;  // files and links
    int directories;
  };
  const std::vector<Case> cases = {
      {"type != file", {"link"}, 4},
      // Relative names begin below the mount point, "%/" at any depth; the root is seen with its slash.
      {"name like '" + root + "*'", {"a.log", "b.log", "tool", "big", "empty", "lost", "link"}, 3},
      {"name like ('%/[[]x].h', '%/caf\\xE9', '[!b].log')", {"a.log", "src/deep/[x].h", "tmp/caf\xE9"}, 0},
      // Owners.
      {"owner like ('d?emon', 'x*')", {"b.log", "tmp/caf\xE9"}, 0},
      {"owner in ['bin', 'daemon') and group = 'bin'", {"src/main.c", "src/deep/x.c"}, 0},
      {"orphan", {"lost"}, 0},
      // The job compares 32 bits of a size, signed: that of "big" is negative. "size" sees more.
      {"size32 >= 3000", {"b.log", "tool", "src/deep/x.c"}, 0},
      {"size >= 3000", {"b.log", "tool", "big", "src/deep/x.c"}, 0},
      {"allocated >= 8K", {"b.log", "src/deep/x.c"}, 0},
      // Times.
      {"mtime < -30d", {"b.log", "big", "lost"}, 0},
      {"atime < -30d", {"big", "lost"}, 0},
      // Attributes.
      {"executable", {"tool", "src/deep/x.c"}, 0},
      {"attributes all (executable+setuid, sticky)", {"tool"}, 1},
      // All together.
      {"not executable and name like '%/*.c' or name like '*.log' and mtime < -30d",
       {"b.log", "src/main.c"},
       0},
  };
  Definition definition = summaryOf({mounted.path()});
  for (size_t i = 0; i < cases.size(); ++i) {
    definition.add(statistic(static_cast<int>(100 + i), 1, "selection")
                       .set("sdSummary", "Y")
                       .set("sdLargestFiles", 1000)
                       .set("sdWhereClause", whereClause(scandef::compileWhere(cases[i].selection))));
  }
  tree.define(definition.text());

  EXPECT_EQ(tree.scan().status, 0);

  const ResultFile result(tree.resultFile());
  for (size_t i = 0; i < cases.size(); ++i) {
    const Node& results = result.results(static_cast<int>(100 + i), 1);
    Names selected;
    for (const std::string& name : namesIn(result, results)) selected.insert(name.substr(root.size()));
    EXPECT_EQ(selected, cases[i].names) << cases[i].selection;
    EXPECT_EQ(result.number(only(results, "SSummary"), "sumDirectoryCount"), cases[i].directories)
        << cases[i].selection;
  }
}

}  // namespace agent::test
