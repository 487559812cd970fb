// Every statistic about a file system that was made for it, against a model of its own.

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <ctime>
#include <set>

#include "Common/unix/FileDescriptor.h"
#include "system/Reports.h"
#include "system/ResultFile.h"
#include "system/StatisticsModel.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

constexpr long long DAY = 86400;

/// Makes entries and remembers their names.
class Planting {
 public:
  explicit Planting(std::string root) : root_(std::move(root)) {}

  std::string path(const std::string& name) const { return root_ + "/" + name; }

  void directory(const std::string& name) { made(name, mkdir(path(name).c_str(), 0755)); }
  /// @param bytes allocated for it
  void file(const std::string& name, off_t bytes = 0, mode_t mode = 0644) {
    const FileDescriptor file = openFile(path(name).c_str(), O_CREAT | O_EXCL | O_WRONLY, mode);
    made(name,
         !file || (bytes > 0 && fallocate(file.get(), 0, 0, bytes) != 0) || fchmod(file.get(), mode) != 0);
  }
  void link(const std::string& name, const std::string& further) {
    made(further, ::link(path(name).c_str(), path(further).c_str()));
  }
  void symlink(const std::string& target, const std::string& name) {
    made(name, ::symlink(target.c_str(), path(name).c_str()));
  }
  void node(const std::string& name, mode_t mode, dev_t device = 0) {
    made(name, mknod(path(name).c_str(), mode | 0600, device));
  }
  /// @param accessed, modified seconds before now
  void age(const std::string& name, long long accessed, long long modified) {
    const timespec times[]{{now_ - accessed, 0}, {now_ - modified, 0}};
    check(name, utimensat(AT_FDCWD, path(name).c_str(), times, AT_SYMLINK_NOFOLLOW));
  }
  void give(const std::string& name, uid_t user, gid_t group) {
    check(name, lchown(path(name).c_str(), user, group));
  }

  const std::set<std::string>& names() const { return names_; }

 private:
  void made(const std::string& name, int failed) {
    check(name, failed);
    names_.insert(path(name));
  }
  static void check(const std::string& name, int failed) {
    if (failed != 0) throw std::runtime_error(name + ": " + strerror(errno));
  }

  std::string root_;
  time_t now_ = time(nullptr);
  std::set<std::string> names_;
};

/// One of everything that a statistic tells apart.
void plant(Planting& tree) {
  constexpr off_t KIB = 1024, MIB = 1024 * KIB;
  tree.directory("sizes");
  // At each limit of a bucket and one block of the file system above it.
  for (const off_t limit : {KIB, 10 * KIB, 100 * KIB, MIB, 10 * MIB, 100 * MIB, 500 * MIB}) {
    tree.file("sizes/" + std::to_string(limit), limit);
    tree.file("sizes/" + std::to_string(limit) + ".more", limit + KIB);
  }
  tree.file("sizes/empty");
  tree.file("sizes/sparse");
  if (truncate(tree.path("sizes/sparse").c_str(), 3LL << 30) != 0) throw std::runtime_error("truncate");

  tree.directory("ages");
  for (const long long age : {0 * DAY, DAY, 7 * DAY, 30 * DAY, 60 * DAY, 90 * DAY, 180 * DAY, 270 * DAY,
                              366 * DAY, 9999 * DAY, -DAY, -2 * DAY, -100 * DAY}) {
    // A minute on either side: how long the test takes decides nothing.
    for (const long long minute : {-60, 60}) {
      const std::string name = "ages/" + std::to_string(age + minute);
      tree.file(name, 2 * KIB);
      tree.age(name, age + minute, age + minute + 3 * DAY);
    }
  }
  tree.file("ages/modified after its last access", KIB);
  tree.age("ages/modified after its last access", 100 * DAY, 5 * DAY);
  tree.file("ages/before 1970");
  tree.age("ages/before 1970", time(nullptr) + 5000, time(nullptr) + 5000);
  tree.file("ages/behind 2038");  // seconds are 32 bits wide
  tree.age("ages/behind 2038", time(nullptr) - 4294967296LL, time(nullptr) - 4294967296LL);

  tree.directory("links");
  tree.directory("links/more");
  tree.file("links/two", 3 * KIB);
  tree.link("links/two", "links/two again");
  tree.file("links/three.ext", 4 * KIB);
  tree.link("links/three.ext", "links/more/three.txt");
  tree.link("links/three.ext", "third");
  tree.file("links/four", 5 * KIB);
  for (const char* name : {"links/more/4b", "links/more/4c", "links/more/4d"}) tree.link("links/four", name);
  tree.file("links/half in", 6 * KIB);
  tree.file("links/two in, one out", 7 * KIB);
  tree.link("links/two in, one out", "links/more/second in");
  // Names that the scan doesn't see: outside of what is mounted at its mount point.
  for (const char* name : {"links/half in", "links/two in, one out"}) {
    const std::string outside = tree.path("../outside ") + (name + 6);
    if (::link(tree.path(name).c_str(), outside.c_str()) != 0) throw std::runtime_error(outside);
  }
  tree.symlink("two", "links/short");
  tree.symlink(std::string(200, 'x'), "links/long");  // has a block of its own
  tree.symlink("..", "links/to a directory");

  tree.directory("orphans");
  for (int i = 0; i < 9; ++i) {
    const std::string name = "orphans/" + std::to_string(i);
    tree.file(name, (i % 4 + 1) * KIB);
    tree.age(name, (i % 5) * DAY + 700, 100 * DAY);
    tree.give(name, i == 8 ? 4000000000U : 54321U, i % 2 == 0 ? 54321U : 12U);
  }
  tree.symlink("nowhere", "orphans/link");
  tree.directory("orphans/directory");
  tree.node("orphans/fifo", S_IFIFO);
  for (const char* name : {"orphans/link", "orphans/directory", "orphans/fifo"})
    tree.give(name, 54321U, 4000000000U);

  tree.directory("special");
  tree.node("special/fifo", S_IFIFO);
  tree.node("special/socket", S_IFSOCK);
  tree.node("special/character device", S_IFCHR, makedev(1, 3));
  tree.node("special/block device", S_IFBLK, makedev(7, 200));
  tree.file("special/setuid", KIB, 04755);
  tree.file("special/setgid", 0, 02640);
  tree.file("special/executable by others", 0, 01);
  tree.directory("special/sticky");
  if (chmod(tree.path("special/sticky").c_str(), 03777) != 0) throw std::runtime_error("chmod");

  tree.directory("types");
  for (int i = 0; i < 30; ++i) {
    // Several of each size, so that extensions and files tie at the ends of lists.
    tree.file("types/a." + std::string(static_cast<size_t>(i % 7 + 1), static_cast<char>('A' + i)),
              i / 4 * KIB);
  }
  for (const char* name : {"README", "archive.tar.GZ", "ends.", ".profile", "a b.txt", "a.b c", "x.sevenxx",
                           "x.sixsix", "back\\slash.d\\none", "c.Txt"}) {
    tree.file(std::string("types/") + name, KIB);
  }

  tree.directory("names");
  for (const char* name :
       {"quote\"", "\"\"", "a,b,,c", "line\nfeed", "carriage\r\nreturn", "\xff\xfe\x80", "\x01\x1b[31m",
        "[Filesystem]", "null", " blank ", "{brace", "caf\xc3\xa9.\xc3\xa9"}) {
    tree.file(std::string("names/") + name, KIB);
  }
  tree.file("names/" + std::string(255, 'n'));

  tree.directory(".snapshot");  // passed over at the top
  tree.file(".snapshot/never counted", 9 * MIB);
  tree.directory("deep");
  tree.directory("deep/.snapshots");
  tree.file("deep/.snapshots/counted.doc", 20 * KIB);
  tree.directory("deep/inner");
  tree.file("deep/inner/a.c", 3 * KIB);
  tree.link("links/two", "deep/inner/third name of two");
  tree.directory("many");
  for (const char* name : {"many/a", "many/b", "many/c"}) {
    tree.directory(name);
    tree.file(std::string(name) + "/file.log", 8 * KIB);
  }
  tree.directory("empty");
}

class StatisticsTest : public ::testing::Test {
 protected:
  InstallTree tree_;
};

TEST_F(StatisticsTest, TheResultIsWhatAModelOfTheStatisticsWorksOut) {
  const auto disk = MountedFileSystem::ext4(tree_.room("disk"), 2048, "-b 1024");
  if (!disk) GTEST_SKIP() << disk.whyNot();
  std::filesystem::create_directory(disk.path() + "/scanned");
  Planting planting(disk.path() + "/scanned");
  plant(planting);
  shell("sync -f " + disk.path());
  const auto mounted = MountedFileSystem::bind(tree_.room("data"), disk.path() + "/scanned");
  if (!mounted) GTEST_SKIP() << mounted.whyNot();

  const std::string root = mounted.path();
  const std::vector<Record> statistics{fullStatistic(5, 3, "all of it", 1000),
                                       fullStatistic(6, 1, "short lists", 5),
                                       fullStatistic(7, 1, "one", 1),
                                       statistic(8, 2, "nothing, \"really\""),
                                       fullStatistic(9, 0, "of directories", 4),
                                       statistic(10, 0, "of nothing")};
  Definition definition;
  definition.add(filesystem(41, root, 23));
  // What is read first comes last.
  const std::vector<std::pair<std::string, bool>> monitored{{root + "/deep", false},
                                                            {root + "/deep/inner", false},
                                                            {root + "/no/such", false},
                                                            {root + "/deep", false},
                                                            {root + "/many/*", true}};
  for (size_t i = 0; i < monitored.size(); ++i) {
    definition.add(monitoredDirectory(static_cast<int>(i) + 1, monitored[i].first));
  }
  for (const Record& each : statistics) definition.add(each);

  const StatisticsModel model(root, 41);
  std::set<std::string> found;
  for (const auto& entry : model.entries()) found.insert(entry.path);
  std::set<std::string> made{root + "/"};
  for (const std::string& name : planting.names()) {
    if (name.find("/.snapshot/") == std::string::npos && !name.ends_with("/.snapshot")) {
      made.insert(root + name.substr(disk.path().size() + 8));
    }
  }
  EXPECT_EQ(found, made);  // the model has seen all of it

  const long long second = tree_.scanWithinOneSecond(definition);
  ASSERT_NE(second, -1);
  const long long now = second * 1000;

  std::map<std::string, std::string> values = spaceFigures(root);
  values["fsPhysicalSize"] = std::to_string(superblockSize(disk.path()));
  const std::string source =
      resultNode("Filesystem", resultRow(41, 0, 0, 0, 0, "{fsMaxFiles}", "{fsUsedInodes}", "{fsFreeInodes}",
                                         "{fsPhysicalSize}", "{fsCapacity}", "{fsUsedSpace}", "{fsFreeSpace}",
                                         0, 0, now, 23, 0, root + "/", "null", 0, 17, "null", "Y"));
  const auto specRow = [&](size_t spec) {
    return resultRow(static_cast<long long>(spec) + 1, 7, 0, monitored[spec].first,
                     monitored[spec].second ? "Y" : "N");
  };
  const auto meets = [&](size_t spec, const std::string& path) {
    return monitored[spec].second ? path.starts_with(root + "/many/") : path == monitored[spec].first;
  };
  // The directories met, and their nodes, in the order in which they are left.
  std::vector<std::pair<size_t, std::string>> met;
  for (const size_t directory : model.left()) {
    std::string rows;
    for (size_t spec = 0; spec < monitored.size(); ++spec) {
      if (meets(spec, model.entries()[directory].path)) rows += specRow(spec);
    }
    if (!rows.empty()) met.emplace_back(directory, model.monitored(directory, rows));
  }
  ASSERT_EQ(met.size(), 5U);

  std::string expected = "[AgentScan]\n" + source;
  std::set<size_t> printed;
  for (size_t spec = monitored.size(); spec-- > 0;) {
    for (const auto& [directory, node] : met) {
      if (meets(spec, model.entries()[directory].path) && printed.insert(directory).second) expected += node;
    }
  }
  for (const Record& each : statistics) {
    std::string results;
    if (each.cells[3].second == "0") {  // of directories: the one left last comes first
      for (size_t k = met.size(); k-- > 0;) {
        results += resultNode("ResultsByFS", model.results(each, now, met[k].first) + met[k].second);
      }
    } else {
      results = resultNode("ResultsByFS", model.results(each, now) + source);
    }
    expected += resultNode("CuStatDef", statisticRow(each) + results);
  }
  expected += "[/AgentScan]\n";

  const std::string text = tree_.result();
  EXPECT_EQ(firstDifference(filled(expected, values), text.substr(text.find("[/Header]\n") + 10)), "");

  expectGoodReports(tree_.resultFile());

  // The tree is what it is meant to be: no bucket of a histogram is empty.
  const ResultFile result(text);
  const Node& all = result.results(5, 41);
  EXPECT_THAT(result.text(all.only("SSizeDist"), "szdCounts"),
              ::testing::Not(::testing::ContainsRegex("(^|,)0(,|$)")));
  for (const Node* ages : all.all("STimeDist")) {
    EXPECT_THAT(result.text(*ages, "tdCounts"), ::testing::Not(::testing::ContainsRegex("(^|,)0(,|$)")));
  }
}

}  // namespace
}  // namespace agent::test
