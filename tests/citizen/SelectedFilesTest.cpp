#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <set>

#include "citizen/Results.h"
#include "scandef_language.h"
#include "system/Definition.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"

namespace agent::test {
namespace {

using Names = std::set<std::string>;

/// One file system with entries that a hand can sort out:
///
/// | entry          | type, size         | blocks | mode      | owner  | modified | accessed |
/// |----------------|--------------------|--------|-----------|--------|----------|----------|
/// | (the root)     | directory          | 0      | rwx       | root   | now      |          |
/// | a.log          | file, 1000         | 8      |           | root   | -10 d    |          |
/// | b.log          | file, 5000         | 16     |           | daemon | -100 d   | -2 d     |
/// | tool           | file, 3000         | 8      | set-user-ID, executable | root | -1 d |   |
/// | big            | file, 3 GiB        | 8      |           | root   | -400 d   |          |
/// | lost           | file, 100          | 8      |           | 54321  | -40 d    |          |
/// | link           | link, 5            | 0      |           | root   | now      |          |
/// | pipe           | FIFO               |        |           | root   | now      |          |
/// | src            | directory          | 0      | sticky    | root   | now      |          |
/// | src/[x].c      | file, 9000         | 24     | executable | bin   | -5 d     |          |
/// | src/caf\xE9    | file, 10           | 8      |           | daemon | +1 d     |          |
class SelectedFilesTest : public ::testing::Test {
 protected:
  static constexpr time_t DAY = 86'400;

  void SetUp() override {
    if (!mounted_) GTEST_SKIP() << mounted_.whyNot();
    std::filesystem::create_directory(path("src"));
    chmod(path("src").c_str(), 01777);
    std::filesystem::create_symlink("a.log", path("link"));
    mkfifo(path("pipe").c_str(), 0644);
    file("a.log", 1000, 0644, 0, -10);
    file("b.log", 5000, 0644, 1, -100, -2);
    file("tool", 3000, 04755, 0, -1);
    file("big", 10, 0600, 0, -400);
    file("lost", 100, 0644, 54321, -40);
    file("src/[x].c", 9000, 0755, 2, -5);
    file("src/caf\xE9", 10, 0644, 1, 1);
    struct stat lost = {};
    if (stat(path("lost").c_str(), &lost) != 0 || lost.st_uid != 54321)
      GTEST_SKIP() << "files can't be given away here";
  }

  std::string path(const std::string& name) const { return mounted_.path() + "/" + name; }

  void file(const std::string& name, size_t size, mode_t mode, uid_t owner, int modified,
            int accessed = -10'000) const {
    std::ofstream(path(name)) << std::string(size, 'x');
    if (name == "big") truncate(path(name).c_str(), 3LL << 30);
    [[maybe_unused]] const int refused = chown(path(name).c_str(), owner, owner);
    chmod(path(name).c_str(), mode);
    const timespec times[2] = {{now_ + accessed * DAY, 0}, {now_ + modified * DAY, 0}};
    utimensat(AT_FDCWD, path(name).c_str(), times, 0);
  }

  /// A statistic that shows which files and links a selection selects, and how many directories.
  static Record selecting(int id, const std::string& expression) {
    return statistic(id, 1, "selection")
        .set("sdSummary", "Y")
        .set("sdLargestFiles", 1000)
        .set("sdWhereClause", whereClause(expression));
  }

  InstallTree tree_;
  const MountedFileSystem mounted_ = MountedFileSystem::tmpfs(tree_.room("m"), "mode=755");
  const time_t now_ = time(nullptr);
};

// Each attribute of an entry reaches the selections, and they select alike in the definition and in the job.
TEST_F(SelectedFilesTest, EachSelectionSelectsWhatAHandSelects) {
  const Names all{"a.log", "b.log", "tool", "big", "lost", "src/[x].c", "src/caf\xE9", "link"};
  struct Case {
    std::string selection;
    Names names;  ///< files and links
    int directories;
  };
  const std::vector<Case> cases = {
      {"everything", all, 2},
      {"nothing", {}, 0},
      {"type != file", {"link"}, 2},
      // Names: relative ones begin below the mount point, "%/" at any depth.
      {"name like '[!a].log'", {"b.log"}, 0},
      {"name like '*.c'", {}, 0},
      {"name like '%/&[x&].*'", {"src/[x].c"}, 0},
      {"name like 'src/%'", {"src/[x].c", "src/caf\xE9"}, 1},
      {"name like '%/caf\\xE9'", {"src/caf\xE9"}, 0},
      {"name like ('*.log', 'src/*')", {"a.log", "b.log", "src/[x].c", "src/caf\xE9"}, 0},
      // The root is seen with its slash, so it has an empty name in itself.
      {"name like '" + mounted_.path() + "/*'", {"a.log", "b.log", "tool", "big", "lost", "link"}, 2},
      // Owners.
      {"owner like ('d?emon', 'x*')", {"b.log", "src/caf\xE9"}, 0},
      {"owner in ['bin', 'daemon')", {"src/[x].c"}, 0},
      {"group = 'bin'", {"src/[x].c"}, 0},
      {"orphan", {"lost"}, 0},
      // Sizes in bytes are signed numbers of 32 bits: that of "big" is negative.
      {"type = file and size < 11", {"src/caf\xE9", "big"}, 0},
      {"size in [1K, 5000)", {"tool"}, 0},
      // What is allocated, in whole pages here.
      {"allocated >= 8K", {"b.log", "src/[x].c"}, 0},
      // Times.
      {"mtime < -30d", {"b.log", "big", "lost"}, 0},
      {"mtime = @" + std::to_string(now_ - 10 * DAY), {"a.log"}, 0},
      {"mtime > +1h", {"src/caf\xE9"}, 0},
      {"atime < -30d", {"big", "lost"}, 0},  // never before the modification
      {"atime < -36h and mtime < -90d", {"b.log", "big"}, 0},
      // Attributes.
      {"executable", {"tool", "src/[x].c"}, 0},
      {"attributes any setuid+sticky", {"tool"}, 1},
      // All together.
      {"not (type = directory or owner = 'root')", {"b.log", "src/caf\xE9", "src/[x].c", "lost"}, 0},
      {"name like '*.log' or owner = 'bin' and executable", {"a.log", "b.log", "src/[x].c"}, 0},
  };
  Definition definition = summaryOf({mounted_.path()});
  int id = 100;
  definition.add(selecting(id++, "=X"));  // doesn't compile: its statistic alone is given up
  for (const Case& c : cases) definition.add(selecting(id++, scandef::compileWhere(c.selection)));
  tree_.define(definition.text());

  EXPECT_EQ(tree_.scan().status, 4);

  const ResultFile result(tree_.result());
  EXPECT_EQ(result.root().all("CuStatDef").size(), 1 + cases.size());
  id = 101;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.selection);
    const Node& results = result.results(id++, 1);
    Names selected;
    for (const std::string& name : namesIn(result, results)) selected.insert(name.substr(path("").size()));
    EXPECT_EQ(selected, c.names);
    const Node& summary = results.only("SSummary");
    EXPECT_EQ(result.number(summary, "sumFileCount"), static_cast<long long>(c.names.size()));
    EXPECT_EQ(result.number(summary, "sumDirectoryCount"), c.directories);
  }
}

}  // namespace
}  // namespace agent::test
