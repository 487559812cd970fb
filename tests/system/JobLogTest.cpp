// Logs: names, purging, rolling over; and the catalogs that their texts come from.

#include <gmock/gmock.h>

#include <set>

#include "system/SystemTest.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;

class JobLogTest : public SystemTest {
 protected:
  std::string logs() const { return tree_ / "log/srv/"; }

  void put(const std::string& name, size_t size = 10, int daysOld = 0) const {
    fs::create_directories(logs());
    std::ofstream(logs() + name) << std::string(size - 1, 'x') << '\n';
    fs::last_write_time(logs() + name,
                        fs::file_time_type::clock::now() - std::chrono::hours(24 * daysOld + 1));
  }
  std::set<std::string> names() const { return tree_.names("log/srv"); }
  Outcome scan(const std::string& arguments = "") {
    define();
    return tree_.scan(words(arguments));
  }
};

TEST_F(JobLogTest, OfAJobsRunsTheLastAreKept) {
  const std::vector<std::string> runs = words(
      "nightly.0001_scan.00000100.log nightly.0002_scan.00000098.log nightly.0002_scan.00000099.log "
      "nightly.0003_scan.00000101.log nightly.0004_scan.00000001.log nightly.0005_scan.00000001.log");
  const std::string other = "nightly-2024.0001_scan.00000001.log";
  for (const auto& [arguments, gone] : {std::pair("", 2),                    // five with the one that starts
                                        {"-maxnumruns 7 -maxnumdays 1", 0},  // age is no matter
                                        {"-maxnumruns 1", 6}}) {
    fs::remove_all(logs());
    std::set<std::string> expected{other, "nightly.0012_scan.00000345.log"};
    expected.insert(runs.begin() + gone, runs.end());
    put(other);
    for (const std::string& name : runs) put(name, 10, 500);
    EXPECT_EQ(scan(arguments).status, 0);
    EXPECT_EQ(names(), expected) << arguments;
  }
}

TEST_F(JobLogTest, ANumberedLogGoesOnUntilLessThanAKilobyteIsLeft) {
  tree_.job.name = "InitialFSScan";
  struct File {
    const char* name;
    size_t size = 10;
    int daysOld = 0;
  };
  struct Case {
    const char* comment;
    std::vector<File> files;
    const char* arguments;
    const char* left;  // the last is the run's own log
  };
  for (const Case& c : std::vector<Case>{
           {"the first", {}, "", "agent_000000.log"},
           {"a kilobyte left", {{"agent_000003.log", 1047552}}, "", "agent_000003.log"},
           {"a byte less", {{"agent_000003.log", 1047553}}, "", "agent_000003.log agent_000004.log"},
           {"others are nobody's business",
            {{"scan_000009.log"}, {"agent_12345x.log", 10, 999}, {"agent_000009.trace"}},
            "",
            "scan_000009.log agent_12345x.log agent_000009.trace agent_000000.log"},
           {"old ones go",
            {{"agent_000001.log", 10, 91}, {"agent_000002.log", 10, 89}, {"agent_000003.log"}},
            "",
            "agent_000002.log agent_000003.log"},
           {"of too many the first go; the new one counts",
            {{"agent_000001.log"}, {"agent_000002.log"}, {"agent_000003.log", 1047553}},
            "-maxnumlogs 2 -maxnumdays 0",
            "agent_000003.log agent_000004.log"},
       }) {
    fs::remove_all(logs());
    const std::vector<std::string> left = words(c.left);
    size_t before = 0;
    for (const File& file : c.files) {
      put(file.name, file.size, file.daysOld);
      before += file.name == left.back();
    }
    EXPECT_EQ(scan(c.arguments).status, 0);
    EXPECT_EQ(names(), std::set<std::string>(left.begin(), left.end())) << c.comment;
    EXPECT_EQ(tree_.logLines(logs() + left.back()).size(), 6 + before) << c.comment;
    EXPECT_TRUE(InstallTree::exists(tree_ / "output/srv/InitialFSScan.0012_scan.00000345.dat"));
  }
}

TEST_F(JobLogTest, TracesArePurgedLikeLogsEachWithWhatBelongsToIt) {
  for (const char* name : {"nightly.0001_scan.00000001", "nightly.0001_scan.00000002"}) {
    for (const char* extension : {".log", ".trace", ".notify.trace", ".2.trace", ".3.trace"}) {
      put(std::string(name) + extension);
    }
  }
  EXPECT_EQ(scan("-maxnumruns 2 -debug Max").status, 0);
  EXPECT_THAT(names(), ::testing::ElementsAre(
                           "nightly.0001_scan.00000002.2.trace", "nightly.0001_scan.00000002.3.trace",
                           "nightly.0001_scan.00000002.log", "nightly.0001_scan.00000002.notify.trace",
                           "nightly.0001_scan.00000002.trace", "nightly.0012_scan.00000345.log",
                           "nightly.0012_scan.00000345.trace"));
  EXPECT_THAT(content(tree_.traceFile()), ::testing::HasSubstr("Enter: startScan(...)\n"));
  EXPECT_TRUE(InstallTree::exists(tree_.definitionFile())) << "kept for whoever reads such a trace";
}

TEST_F(JobLogTest, AnotherLanguageSpeaksWhereItHasTheMessageEnglishElsewhere) {
  if (!InstallTree::exists("/usr/share/i18n/locales/de_DE")) GTEST_SKIP() << "no source of a German locale";
  fs::remove(tree_ / "nls");  // for a copy of the catalogs that may be changed
  fs::copy(SCAN_CATALOGS, tree_ / "nls", fs::copy_options::recursive);
  const std::string locales = tree_.room("locales");
  fs::create_directories(tree_ / "nls/de_DE");
  std::ofstream(tree_.scratch() + "/de.msg") << "$set 1\n$quote \"\n462 \"STA0161I Fertig.\"\n"
                                             << "325 \"STA0025I Es geht um \\\"%1$s\\\".\"\n";
  shell("gencat '" + (tree_ / "nls/de_DE/nrvna.cat") + "' '" + tree_.scratch() + "/de.msg'");
  // glibc keeps locales it doesn't know where LOCPATH says. A warning about the sources is no failure.
  shell("localedef -c -i de_DE -f UTF-8 '" + locales + "/de_DE.UTF-8' || true");
  if (!InstallTree::exists(locales + "/de_DE.UTF-8")) GTEST_SKIP() << "no German locale can be made here";
  define();
  Launch launch = tree_.launch();
  launch.environment.insert(
      {{"LOCPATH", locales}, {"LC_MESSAGES", "de_DE.UTF-8"}, {"LC_TIME", "de_DE.UTF-8"}});

  EXPECT_EQ(run(launch).status, 0);

  // The locale's own date and time: 24.11.2026 23:01:42.123
  const std::string stamp = "[0-9]{2}\\.[0-9]{2}\\.[0-9]{4} [0-9:.]{12} ";
  EXPECT_THAT(content(tree_.logFile()),
              ::testing::MatchesRegex(stamp + "AGT0146I The scan job has started\\.\n(.*\n)*" + stamp +
                                      "STA0025I Es geht um \"" + logicalData() + "\"\\.\n(.*\n)*" + stamp +
                                      "STA0161I Fertig\\.\n"));
}

}  // namespace
}  // namespace agent::test
