// One result, byte for byte, and its log, of a job with two file systems and statistics of every kind.
// Only what a host decides stands in braces in expected/two_file_systems.dat.

#include <gmock/gmock.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "system/Reports.h"
#include "system/StatisticsModel.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

Definition twoFileSystems(const std::string& one, const std::string& two) {
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
  definition.add(fullStatistic(5, 3, "SQL_NAME_SUMMARY_FILESYS", 1)
                     .set("sdCreator", "NRVUser")
                     .set("sdDescription", "what \"everybody\" gets")
                     .set("sdShare", 1)
                     .set("sdLargestFiles", 2)
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
                     .set("sdWhereClause", whereClause(std::string("=T\0\0\0\1", 6))));
  definition.add(statistic(8, 0, "of directories").set("sdCreator", "").set("sdSummary", "Y"));
  return definition;
}

TEST(ResultFileTest, TheWholeFileAndTheWholeLog) {
  const InstallTree tree;
  const auto one = MountedFileSystem::tmpfs(tree.room("one")),
             two = MountedFileSystem::tmpfs(tree.room("two"));
  if (!one || !two) GTEST_SKIP() << one.whyNot() << two.whyNot();
  if (sysconf(_SC_PAGESIZE) != 4096) GTEST_SKIP() << "the sizes of files are those of pages of 4096 bytes";
  shell("cd '" + one.path() + R"sh(' && mkdir docs && printf hello >docs/a.txt && ln -s docs link &&
      head -c 5000 /dev/zero >'docs/quote"d, list.TXT' && head -c 9000 /dev/zero >"$(printf 'two\nlines')" &&
      mkfifo ../two/fifo)sh");
  if (chown((one.path() + "/docs/a.txt").c_str(), 54321, 54321) != 0) {
    GTEST_SKIP() << "files can't be given away";
  }
  shell("cd '" + tree.scratch() +
        "' && touch -h -d @1000000000 one/docs/* one/* one two/* two && touch -h -d @900000000 one/link");

  const long long second = tree.scanWithinOneSecond(twoFileSystems(one.path(), two.path()));
  ASSERT_NE(second, -1);

  auto values = spaceFigures(one.path());
  values["one"] = one.path();
  values["two"] = two.path();
  values["now"] = std::to_string(second * 1000);
  values["age"] = std::to_string(second - 1000000000);
  // The link is older, and one of six entries.
  values["average age"] = std::to_string((6 * (second - 1000000000) + 100000000) / 6);
  values["gecos"] = getpwuid(0)->pw_gecos;
  for (const auto& [name, path] : {std::pair{"one", ""},
                                   {"docs", "/docs"},
                                   {"a.txt", "/docs/a.txt"},
                                   {"quoted", "/docs/quote\"d, list.TXT"},
                                   {"lines", "/two\nlines"},
                                   {"link", "/link"}}) {
    struct stat status;
    ASSERT_EQ(lstat((one.path() + path).c_str(), &status), 0);
    values[std::string("inode of ") + name] = std::to_string(status.st_ino);
    values[std::string("length of ") + name] = std::to_string(status.st_size);
  }
  struct stat status;
  ASSERT_EQ(lstat(two.path().c_str(), &status), 0);
  values["inode of two"] = std::to_string(status.st_ino);
  values["length of two"] = std::to_string(status.st_size);

  const std::string expected = content(SYSTEM_TEST_EXPECTED "/two_file_systems.dat");
  EXPECT_EQ(firstDifference(filled(expected, values), tree.result()), "");
  expectGoodReports(tree.resultFile());

  const std::string indent(25, ' ');
  EXPECT_THAT(
      tree.logLines(),
      ::testing::ElementsAre(
          "AGT0146I The scan job has started.",
          "STA0532I The job has locked these file systems for its scan:", indent + two.path(),
          indent + one.path(), "STA0026I The scan gathers these statistics:", indent + "admin.restricted",
          indent + "admin.elsewhere", indent + "admin.nowhere", indent + "admin.regular files",
          "STA0027I The scan gathers these statistics for monitored directories:", indent + "(DIR STAT)",
          "STA0025I Scanning the file system \"" + two.path() + "/\".",
          "AGT0144I The file system has been walked: 2 entries scanned.",
          "STA0025I Scanning the file system \"" + one.path() + "/\".",
          "AGT0144I The file system has been walked: 6 entries scanned.", "STA0161I The scan is complete."));
}

}  // namespace
}  // namespace agent::test
