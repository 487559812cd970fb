// One result, byte for byte, and its log, of a job with two file systems and statistics of every kind.
// Only what a host decides stands in braces in expected/two_file_systems.dat.
//
// No two entries tie in a list, so the order in which the host lists them decides nothing, and each rank,
// count and time differs from what a neighbouring field would give:
//
//   | entry               | blocks | owner | modified | accessed | what it tells apart                     |
//   |---------------------|--------|-------|----------|----------|-----------------------------------------|
//   | docs/a.txt          | 8      | 54321 | 1000M    |          | the oldest orphan, not the largest      |
//   | docs/quote"d, l... | 32     | root  | 1000M    |          | quotes, extensions in either case       |
//   | docs/to.zip         | link   | root  | 800M     |          | a directory's file, but no file type    |
//   | docs/inner/b.txt    | 88     | 54321 | 700M     | 1100M    | oldest by its change, not by its use    |
//   | two<LF>lines        | 24     | root  | 1000M    |          | a line feed in a name                   |
//   | link                | link   | root  | 900M     |          | no orphan, though its group is gone     |
//   | special/tool        | 0      | root  | 1000M    |          | others alone may execute it             |
//   | special/...         |        | root  | 1000M    |          | a socket, a character and a block device|

#include <gmock/gmock.h>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "Common/SafeText.h"
#include "Common/unix/FileDescriptor.h"
#include "system/Results.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

Definition twoFileSystems(const std::string& one, const std::string& two) {
  using namespace std::string_literals;
  Definition definition;
  definition.add(filesystem(1, one)
                     .set("fsComputerID", 18)
                     .set("fsGroupID", 2)
                     .set("fsLogDiskID", 3)
                     .set("fsLogicalDiskID", 4)
                     .set("fsUseCount", 5)
                     .set("hostNasMountPoint", "/host/a,/host/b")
                     .set("fsDiscoveredTime", 1700000000000)
                     .set("fsExportName", "export"));
  definition.add(filesystem(2, two, 16));  // made up by the server: walked, but its figures are none
  std::string path = one + "/docs";
  std::replace(path.begin(), path.end(), '/', '\\');
  definition.add(monitoredDirectory(3, path, 18));
  definition.add(monitoredDirectory(4, one + "/docs/inn*"));
  definition.add(fullStatistic(5, 3, "SQL_NAME_SUMMARY_FILESYS", 1)
                     .set("sdCreator", "NRVUser")
                     .set("sdDescription", "what \"everybody\" gets")
                     .set("sdShare", 1)
                     .set("sdLargestDirectories", 2)
                     .set("sdLargestFiles", 2)
                     .set("sdLargestFileTypes", 2)
                     .set("sdDailyRetention", 7)
                     .set("sdWeeklyRetention", 8)
                     .set("sdMonthlyRetention", 9)
                     .set("sdHasBackupAction", "Y"));
  definition.add(
      statistic(6, 4, "restricted").set("sdSummary", "Y").add(restrictedTo(filesystem(2, two, 16))));
  // Restricted to what is no file system of this job, and to nothing: their definitions stand alone.
  definition.add(statistic(9, 4, "elsewhere").add(restrictedTo(filesystem(99, "/elsewhere"))));
  definition.add(statistic(10, 4, "nowhere").add(Record{"ResultsByFS", {}, {}}));
  definition.add(statistic(7, 2, "regular files")
                     .set("sdLargestFiles", 3)
                     .set("sdWhereClause", whereClause("=T\0\0\0\1"s)));
  definition.add(statistic(8, 0, "of directories").set("sdCreator", "").set("sdSummary", "Y"));
  definition.add(statistic(11, 2, "sockets and devices")
                     .set("sdSizeDistribution", "Y")
                     .set("sdWhereClause", whereClause("(T\0\0\0\5,\0\0\0\6)"s)));
  definition.add(statistic(12, 2, "executable files and block devices")
                     .set("sdSizeDistribution", "Y")
                     .set("sdWhereClause", whereClause("&P\0\x0C\0\0"s)));
  return definition;
}

Outcome report(std::vector<std::string> arguments) {
  Launch launch;
  launch.program = SCANREPORT_PROGRAM;
  launch.arguments = std::move(arguments);
  return run(launch);
}

bool isControl(char byte) {
  return (byte >= 0 && byte < ' ') || byte == 0x7F;
}

/// Records by class, as far as they stand on lines of their own in JSON.
void countRecords(const Node& node, std::map<std::string, size_t>& counts) {
  for (const Node& child : node.children) {
    ++counts[child.tag];
    countRecords(child, counts);
  }
}

/// Runs scanreport on a result, as text and as JSON, and looks at what every report has to be: within 80
/// columns, free of control bytes, UTF-8; each line of JSON an object, with one object for each record of the
/// result.
void expectGoodReports(const std::string& resultFile) {
  const Outcome text = report({resultFile});
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.err, "");
  EXPECT_NO_THROW(nlohmann::json(text.out).dump()) << "the report is no UTF-8";
  for (const std::string& line : linesOf(text.out)) {
    EXPECT_LE(displayWidth(line), 80U) << line;
    EXPECT_TRUE(std::none_of(line.begin(), line.end(), isControl)) << line;
  }

  const Outcome json = report({"--json", resultFile});
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(json.err, "");
  std::map<std::string, size_t> shown, stored;
  countRecords(ResultFile(resultFile).root(), stored);
  for (const std::string& line : linesOf(json.out)) {
    EXPECT_TRUE(std::none_of(line.begin(), line.end(), isControl)) << line;
    const auto object = nlohmann::json::parse(line, nullptr, false);
    ASSERT_TRUE(object.is_object()) << line;
    ++shown[object.at("class").get<std::string>()];
  }
  for (const char* record : {"SFile", "SDirectory", "SSummary", "SSizeDist", "SUserOrGroup", "STimeDist",
                             "FileTypeSummary", "CuStatResults", "CuStatDef"}) {
    EXPECT_EQ(shown[record], stored[record]) << record;
  }
}

TEST(ResultFileTest, TheWholeFileAndTheWholeLog) {
  const InstallTree tree;
  const auto one = MountedFileSystem::tmpfs(tree.room("one")),
             two = MountedFileSystem::tmpfs(tree.room("two"));
  if (!one || !two) GTEST_SKIP() << one.whyNot() << two.whyNot();
  if (sysconf(_SC_PAGESIZE) != 4096) GTEST_SKIP() << "the sizes of files are those of pages of 4096 bytes";
  shell("cd '" + one.path() + R"sh(' && mkdir -p docs/inner special && printf hello >docs/a.txt &&
      head -c 14000 /dev/zero >'docs/quote"d, list.TXT' && head -c 45000 /dev/zero >docs/inner/b.txt &&
      ln -s a.txt docs/to.zip && ln -s docs link && head -c 9000 /dev/zero >"$(printf 'two\nlines')" &&
      touch special/tool && chmod 4001 special/tool && mkfifo ../two/fifo)sh");
  // Used space that no entry accounts for, which a made-up file system doesn't report.
  const FileDescriptor unnamed = openFile(two.path().c_str(), O_TMPFILE | O_WRONLY, 0600);
  ASSERT_EQ(write(unnamed.get(), "x", 1), 1);
  const std::string special = one.path() + "/special/";
  if (mknod((special + "socket").c_str(), S_IFSOCK | 0600, 0) != 0 ||
      mknod((special + "character").c_str(), S_IFCHR | 0600, makedev(1, 3)) != 0 ||
      mknod((special + "block").c_str(), S_IFBLK | 0600, makedev(7, 200)) != 0 ||
      chown((one.path() + "/docs/a.txt").c_str(), 54321, 54321) != 0 ||
      chown((one.path() + "/docs/inner/b.txt").c_str(), 54321, 0) != 0 ||
      lchown((one.path() + "/link").c_str(), 0, 54321) != 0) {
    GTEST_SKIP() << "devices can't be made, or files not be given away";
  }
  shell("cd '" + tree.scratch() + R"sh(' && find one two -exec touch -h -d @1000000000 {} + && cd one &&
      touch -h -d @900000000 link && touch -h -d @800000000 docs/to.zip &&
      touch -m -d @700000000 docs/inner/b.txt && touch -a -d @1100000000 docs/inner/b.txt)sh");

  const long long second = tree.scanWithinOneSecond(twoFileSystems(one.path(), two.path()));
  ASSERT_NE(second, -1);

  auto values = spaceFigures(one.path());
  values["one"] = one.path();
  values["two"] = two.path();
  values["now"] = std::to_string(second * 1000);
  values["age"] = std::to_string(second - 1000000000);
  values["gecos"] = getpwuid(0)->pw_gecos;
  long long entries = 0, sinceUse = 0, sinceChange = 0;
  const auto add = [&](const std::filesystem::path& path) {
    struct stat status;
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    std::string name = path.filename().string();
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '\n' || c == '"'; }, ' ');
    values["inode of " + name] = std::to_string(status.st_ino);
    values["length of " + name] = std::to_string(status.st_size);
    if (path == two.path()) return;
    ++entries;
    sinceUse += second - std::max(status.st_atime, status.st_mtime);
    sinceChange += second - status.st_mtime;
  };
  add(one.path());
  add(two.path());
  for (const auto& entry : std::filesystem::recursive_directory_iterator(one.path())) add(entry.path());
  values["average since use"] = std::to_string(sinceUse / entries);
  values["average since change"] = std::to_string(sinceChange / entries);

  const std::string expected = content(SYSTEM_TEST_EXPECTED "/two_file_systems.dat");
  EXPECT_EQ(filled(expected, values), tree.result());
  expectGoodReports(tree.resultFile());

  const std::string indent(25, ' ');
  EXPECT_THAT(
      tree.logLines(),
      ::testing::ElementsAre(
          "AGT0146I The scan job has started.",
          "STA0532I The job has locked these file systems for its scan:", indent + two.path(),
          indent + one.path(), "STA0026I The scan gathers these statistics:", indent + "admin.restricted",
          indent + "admin.elsewhere", indent + "admin.nowhere", indent + "admin.regular files",
          indent + "admin.sockets and devices", indent + "admin.executable files and block devices",
          "STA0027I The scan gathers these statistics for monitored directories:", indent + "(DIR STAT)",
          "STA0025I Scanning the file system \"" + two.path() + "/\".",
          "AGT0144I The file system has been walked: 2 entries scanned.",
          "STA0025I Scanning the file system \"" + one.path() + "/\".",
          "AGT0144I The file system has been walked: 14 entries scanned.", "STA0161I The scan is complete."));
}

}  // namespace
}  // namespace agent::test
