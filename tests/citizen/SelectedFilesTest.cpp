#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "ScandefLanguage.h"
#include "citizen/Results.h"
#include "system/Definition.h"
#include "system/InstallTree.h"
#include "system/MountedFileSystem.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;

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
/// | empty          | file, 0            | 0      |           | root   | now      |          |
/// | lost           | file, 100          | 8      |           | 54321  | -40 d    |          |
/// | .hidden        | file, 10           | 8      |           | root   | now      |          |
/// | link           | link, 5            | 0      |           | root   | now      |          |
/// | pipe           | FIFO               |        |           | root   | now      |          |
/// | src            | directory          | 0      |           | root   | now      |          |
/// | src/main.c     | file, 2000         | 8      |           | bin    | -5 d     |          |
/// | src/deep       | directory          | 0      |           | root   | now      |          |
/// | src/deep/x.c   | file, 9000         | 24     | executable | bin   | -5 d     |          |
/// | src/deep/[x].h | file, 10           | 8      |           | root   | -5 d     |          |
/// | tmp            | directory          | 0      | sticky    | root   | now      |          |
/// | tmp/a b.txt    | file, 10           | 8      |           | root   | now      |          |
/// | tmp/caf\xE9    | file, 10           | 8      |           | daemon | +1 d     |          |
class SelectedFilesTest : public ::testing::Test {
 protected:
  static constexpr time_t DAY = 86'400;

  void SetUp() override {
    if (!mounted_) GTEST_SKIP() << mounted_.whyNot();
    for (const char* directory : {"src", "src/deep", "tmp"}) fs::create_directory(path(directory));
    chmod(path("tmp").c_str(), 01777);
    fs::create_symlink("a.log", path("link"));
    mkfifo(path("pipe").c_str(), 0644);
    file("a.log", 1000, 0644, 0, -10);
    file("b.log", 5000, 0644, 1, -100, -2);
    file("tool", 3000, 04755, 0, -1);
    file("big", 10, 0600, 0, -400);
    file("empty", 0, 0644, 0, 0);
    file("lost", 100, 0644, 54321, -40);
    file(".hidden", 10, 0644, 0, 0);
    file("src/main.c", 2000, 0644, 2, -5);
    file("src/deep/x.c", 9000, 0755, 2, -5);
    file("src/deep/[x].h", 10, 0644, 0, -5);
    file("tmp/a b.txt", 10, 0666, 0, 0);
    file("tmp/caf\xE9", 10, 0644, 1, 1);
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

TEST_F(SelectedFilesTest, EachSelectionSelectsWhatAHandSelects) {
  const Names FILES{"a.log",        "b.log",          "tool",        "big",
                    "empty",        "lost",           ".hidden",     "src/main.c",
                    "src/deep/x.c", "src/deep/[x].h", "tmp/a b.txt", "tmp/caf\xE9"};
  const auto filesBut = [&](const Names& others) {
    Names rest;
    for (const std::string& name : FILES) {
      if (!others.contains(name)) rest.insert(name);
    }
    return rest;
  };
  Names all = FILES;
  all.insert("link");
  struct Case {
    std::string selection;
    Names names;  ///< files and links
    int directories;
  };
  const std::vector<Case> cases = {
      {"everything", all, 4},
      {"nothing", {}, 0},
      // Types.
      {"type = file", FILES, 0},
      {"type = link", {"link"}, 0},
      {"type = directory", {}, 4},
      {"type != file", {"link"}, 4},
      {"type = (fifo, socket, device)", {}, 0},
      // Names: relative ones begin below the mount point, "%/" at any depth.
      {"name like '*.log'", {"a.log", "b.log"}, 0},
      {"name like '%/*.log'", {"a.log", "b.log"}, 0},
      {"name like '*.c'", {}, 0},
      {"name like '%/*.c'", {"src/main.c", "src/deep/x.c"}, 0},
      {"name like 'src/*'", {"src/main.c"}, 1},
      {"name like 'src/%'", {"src/main.c", "src/deep/x.c", "src/deep/[x].h"}, 2},
      {"name like 'src/%/*.c'", {"src/main.c", "src/deep/x.c"}, 0},
      {"name like '%/deep/*'", {"src/deep/x.c", "src/deep/[x].h"}, 0},
      {"name like '%'", all, 4},
      {"name like '" + mounted_.path() + "/src/%'", {"src/main.c", "src/deep/x.c", "src/deep/[x].h"}, 2},
      // The root is seen with its slash, so it has an empty name in itself.
      {"name like '" + mounted_.path() + "/*'",
       {"a.log", "b.log", "tool", "big", "empty", "lost", ".hidden", "link"},
       3},
      {"name like '/'", {}, 0},
      {"name like '%/&[x&].h'", {"src/deep/[x].h"}, 0},
      {"name like '%/[[]x].h'", {"src/deep/[x].h"}, 0},
      {"name like '[ab].log'", {"a.log", "b.log"}, 0},
      {"name like '[!a].log'", {"b.log"}, 0},
      {"name like '[^b-z].log'", {"a.log"}, 0},
      {"name like '???\?'", {"tool", "lost", "link"}, 0},
      {"name like '%/* *'", {"tmp/a b.txt"}, 0},
      {"name like '%/caf\\xE9'", {"tmp/caf\xE9"}, 0},
      {"name like '%/caf?'", {"tmp/caf\xE9"}, 0},
      {"name like '.*'", {".hidden"}, 0},
      {"name not like '%/*.*'", {"tool", "big", "empty", "lost", "link", "tmp/caf\xE9"}, 4},
      {"name like ('*.log', '%/*.h', 'tmp/%')",
       {"a.log", "b.log", "src/deep/[x].h", "tmp/a b.txt", "tmp/caf\xE9"},
       1},
      {"type = file and name not like ('%/*.log', '%/*.c')",
       filesBut({"a.log", "b.log", "src/main.c", "src/deep/x.c"}), 0},
      // Owners.
      {"owner = 'daemon'", {"b.log", "tmp/caf\xE9"}, 0},
      {"owner like ('d?emon', 'x*')", {"b.log", "tmp/caf\xE9"}, 0},
      {"owner != 'root'", {"b.log", "tmp/caf\xE9", "src/main.c", "src/deep/x.c", "lost"}, 0},
      {"owner in ['bin', 'daemon')", {"src/main.c", "src/deep/x.c"}, 0},
      {"owner > 'daemon' and type = directory", {}, 4},
      {"group = 'bin'", {"src/main.c", "src/deep/x.c"}, 0},
      {"orphan", {"lost"}, 0},
      // The job compares 32 bits of a size, signed: that of "big" is negative. "size" sees more.
      {"size32 >= 3000", {"b.log", "tool", "src/deep/x.c"}, 0},
      {"size >= 3000", {"b.log", "tool", "big", "src/deep/x.c"}, 0},
      {"size > 3000", {"b.log", "big", "src/deep/x.c"}, 0},
      {"type = file and size = 0", {"empty"}, 0},
      {"type = file and size32 < 10", {"empty", "big"}, 0},
      {"type = file and size < 10", {"empty"}, 0},
      {"size in [1K, 4K)", {"tool", "src/main.c"}, 0},
      // What is allocated, in whole pages here.
      {"allocated >= 8K", {"b.log", "src/deep/x.c"}, 0},
      {"allocated = 0", {"empty", "link"}, 4},
      {"type = file and allocated <= 4097", filesBut({"b.log", "src/deep/x.c"}), 0},
      {"allocated > 4095", filesBut({"empty"}), 0},  // rounded down to seven blocks
      // Times.
      {"mtime < -30d", {"b.log", "big", "lost"}, 0},
      {"type = file and mtime >= -7d", filesBut({"a.log", "b.log", "big", "lost"}), 0},
      {"mtime > +1h", {"tmp/caf\xE9"}, 0},
      {"mtime in [-50d, -7d)", {"a.log", "lost"}, 0},
      {"mtime = @" + std::to_string(now_ - 10 * DAY), {"a.log"}, 0},
      {"atime < -30d", {"big", "lost"}, 0},  // never before the modification
      {"atime < -36h and mtime < -90d", {"b.log", "big"}, 0},
      // Attributes.
      {"setuid", {"tool"}, 0},
      {"executable", {"tool", "src/deep/x.c"}, 0},
      {"sticky", {}, 1},
      {"attributes any setuid+sticky", {"tool"}, 1},
      {"attributes all executable+setuid", {"tool"}, 0},
      {"attributes all (executable+setuid, sticky)", {"tool"}, 1},
      // All together.
      {"not executable and name like '%/*.c'", {"src/main.c"}, 0},
      {"(name like '*.log' or owner = 'bin') and mtime < -7d", {"a.log", "b.log"}, 0},
      {"name like '*.log' or owner = 'bin' and executable", {"a.log", "b.log", "src/deep/x.c"}, 0},
      {"not (type = directory or owner = 'root')",
       {"b.log", "tmp/caf\xE9", "src/main.c", "src/deep/x.c", "lost"},
       0},
  };
  Definition definition = summaryOf({mounted_.path()});
  int id = 100;
  for (const Case& c : cases) definition.add(selecting(id++, scandef::compileWhere(c.selection)));
  tree_.define(definition.text());

  EXPECT_EQ(tree_.scan().status, 0);

  const ResultFile result(tree_.result());
  id = 100;
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

TEST_F(SelectedFilesTest, ASelectionThatDoesNotCompileGivesUpItsStatisticAlone) {
  const std::string NUL(1, '\0');
  const std::string FILE = "=T" + std::string("\0\0\0\1", 4);
  const std::vector<std::string> broken = {
      "=X",                       // an attribute that nobody knows
      "?",                        // no operator
      "=Fa",                      // a pattern without its end
      "=F[a" + NUL,               // a set that is never closed
      "&=F%" + NUL + FILE,        // a pattern that matches everything stands only at the end
      "&" + FILE,                 // half an expression
      "(T" + FILE.substr(2),      // a list that is never closed
      "=U/root" + NUL,            // a user with a path's beginning
      "<s" + NUL,                 // a size without digits
      "<s1" + std::string("\5"),  // a unit that nobody knows
      "<M*" + FILE.substr(2),     // a time of no kind
  };
  Definition definition = summaryOf({mounted_.path()});
  int id = 100;
  for (const std::string& expression : broken) definition.add(selecting(id++, expression));
  definition.add(selecting(id, FILE));
  tree_.define(definition.text());

  EXPECT_EQ(tree_.scan().status, 4);

  const ResultFile result(tree_.result());
  std::vector<long long> printed;
  for (const Node* node : result.root().all("CuStatDef")) printed.push_back(result.number(*node, "sdID"));
  EXPECT_THAT(printed, ::testing::ElementsAre(5, id));
  EXPECT_EQ(result.number(result.results(id, 1).only("SSummary"), "sumFileCount"), 12);
  EXPECT_EQ(tree_.logLines().back(), "STA0161I The scan is complete.");
}

}  // namespace
}  // namespace agent::test
