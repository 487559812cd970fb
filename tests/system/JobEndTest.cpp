// How runs end: the code, what stays on disk, what the log says.

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include "system/Results.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;

class JobEndTest : public SystemTest {
 protected:
  /// A tree as before the first run, with an agent that fails.
  void startAnew() {
    for (const char* name : {"log", "output", "told"}) fs::remove_all(tree_ / name);
    fs::remove(tree_.definitionFile());
    fs::create_directories(tree_ / "output/srv");
    tree_.installAgent(3);
  }
  std::string unwrittenResult(const std::string& reason) const {
    return "GEN0101E Unable to write the result \"" + tree_.resultFile() + "\": " + reason +
           ". The job ends without a result.";
  }
};

TEST_F(JobEndTest, ByScan) {
  const std::string started = "AGT0146I The scan job has started.\n";
  const std::string locked = "STA0532I The job has locked these file systems for its scan:\n";
  const std::string indent(25, ' '), here = indent + data() + "\n", absent = indent + "/no/such\n";
  const std::string missing =
      "STA0103W The file system \"/no/such\" is not mounted on this host. It is not "
      "scanned; the scan goes on with the others.\n";
  const std::string none =
      "STA0647E None of the file systems of this scan can be scanned. The job ends with "
      "an empty result.\nSTA0161I The scan is complete.\n";
  const std::string scanned = "STA0025I Scanning the file system \"" + logicalData() +
                              "\".\nAGT0144I The file system has been walked: 3 entries scanned.\n"
                              "STA0161I The scan is complete.\n";
  struct Case {
    const char* comment;
    std::function<void(InstallTree&, Definition&)> prepare;
    int code;
    std::string log;  // behind its first two lines
  };
  for (const Case& c : std::vector<Case>{
           {"one of two isn't mounted", [](auto&, auto&d) { d.add(filesystem(2, "/no/such")); }, 4,
            absent + here + missing + scanned},
           {"the only one isn't", [](auto&, auto&d) { d.records[0].set("fsMountPoint", "/no/such"); }, 4,
            absent + missing + none},
           {"no statistic of its own", [](auto&, auto&d) { d.records[1].set("sdType", 1); }, 4,
            here + "STA0026I The scan gathers these statistics:\n" + indent + "admin.all of it\n" + scanned},
           {"a selection that doesn't compile",
            [](auto&, auto&d) { d.add(statistic(6, 1, "x").set("sdWhereClause", whereClause("&?"))); }, 4,
            here + "STA0026I The scan gathers these statistics:\n" + indent + "admin.x\n" + scanned},
           {"an empty list", [](auto&, auto&d) { d.records.clear(); }, 0, none},
           {"no directory for the result",
            [](auto&t, auto&) {
              fs::remove_all(t / "output");
              std::ofstream(t / "output") << "in the way";
            },
            9, here + unwrittenResult("Not a directory") + "\n"},
           {"no file in its place", [](auto&t, auto&) { mkfifo(t.resultFile().c_str(), 0600); }, 9,
            here + unwrittenResult("No such device or address") + "\n"},
       }) {
    startAnew();
    Definition definition = summaryOf({data()});
    c.prepare(tree_, definition);
    tree_.define(definition.text());

    EXPECT_EQ(tree_.scan().status, c.code) << c.comment;

    std::string log;
    for (const std::string& line : tree_.logLines()) log += line + "\n";
    EXPECT_EQ(log, started + locked + c.log) << c.comment;
    EXPECT_EQ(fs::is_regular_file(tree_.resultFile()), c.code < 8) << c.comment;
    if (c.code < 8) {
      EXPECT_NO_THROW(ResultFile(tree_.resultFile())) << c.comment;
    }
    EXPECT_FALSE(InstallTree::exists(tree_.definitionFile())) << c.comment;
    EXPECT_THAT(tree_.agentArguments(), Contains(std::to_string(c.code))) << c.comment;
  }
}

TEST_F(JobEndTest, ByADefinitionThatIsNoUse) {
  const std::string header =
      "[Header]\n[AgentScan]\nasJobName,asScanningCompID\n[Filesystem]\nfsID,fsMountPoint\n"
      "[/Header]\n[AgentScan]\n";
  const std::string file = tree_.definitionFile();
  mkfifo((tree_ / "pipe").c_str(), 0600);
  const auto badRow = [](const std::string& line, const std::string& name, const std::string& found) {
    return "in line " + line + " a row of 2 cells was expected for the class \"" + name +
           "\", one for each column that the header block names, and " + found + " was found";
  };
  struct Case {
    std::string text;  // or what the file is a link to
    int code;
    std::string reason;
  };
  for (const Case& c : {
           Case{header + "x,1\n[CuStatDef]\n5\n", 321,
                "in line 9 a class was expected whose columns the header block names, and \"CuStatDef\" was "
                "found"},
           Case{header + "x\n[/AgentScan]\n", 325, badRow("8", "AgentScan", "one of 1")},
           Case{header + "x,1\n[Filesystem]\n1,/,2\n", 325, badRow("10", "Filesystem", "one of 3")},
           Case{header + "x,1\n[Filesystem]\n[/Filesystem]\n", 325, badRow("10", "Filesystem", "none")},
           Case{"", 13, "it can't be opened: No such file or directory"},
           Case{tree_ / "pipe", 13, "it can't be opened: it is no regular file"},  // nobody writes to it
           Case{"/proc/self/mem", 17, "in line 1 it can't be read: Input/output error"},
       }) {
    SCOPED_TRACE(c.reason);
    startAnew();
    if (c.text.starts_with("/")) {
      fs::create_symlink(c.text, file);
    } else if (!c.text.empty()) {
      tree_.define(c.text);
    }
    const Outcome outcome = tree_.scan();
    EXPECT_EQ(outcome.status, c.code & 0xFF);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_THAT(tree_.logLines(), ::testing::ElementsAre("AGT0146I The scan job has started.",
                                                         "STA0430E The scan definition \"" + file +
                                                             "\" can't be used: " + c.reason +
                                                             ". The job ends without a result."));
    EXPECT_FALSE(InstallTree::exists(tree_.resultFile()));
    EXPECT_EQ(fs::is_symlink(file) || InstallTree::exists(file), !c.text.empty());
    EXPECT_THAT(tree_.agentArguments(), Contains(std::to_string(c.code)));
    // The record is the notify child's to close, even where it failed.
    EXPECT_THAT(content(tree_.recordFile()),
                ::testing::MatchesRegex("DO NOT.*\npid=[0-9]+ startTime=[0-9]+"));
  }
}

TEST_F(JobEndTest, ByALockThatAnotherJobHolds) {
  const std::string held =
      "DO NOT EDIT THIS FILE MANUALLY\nResource=scan_srv1\nPID=" + std::to_string(getpid()) + "\n";
  startAnew();
  fs::create_directories(tree_ / "log");
  std::ofstream(tree_ / "log/vox_scan_res") << held;
  std::ofstream(tree_.resultFile()) << "the other job's";  // even one of the same name
  define();

  EXPECT_EQ(tree_.scan().status, 8);

  EXPECT_THAT(
      tree_.logLines(),
      ::testing::ElementsAre("AGT0146I The scan job has started.",
                             "STA0531E The file system \"" + data() +
                                 "\" is being scanned by another job. This job ends without a result."));
  EXPECT_EQ(tree_.result(), "the other job's");
  EXPECT_EQ(content(tree_ / "log/vox_scan_res"), held);
  EXPECT_FALSE(InstallTree::exists(tree_.definitionFile()));
  EXPECT_THAT(tree_.agentArguments(), Contains("8"));

  // Another server's file system of that number is another one.
  tree_.job.server = "other";
  define();
  EXPECT_EQ(tree_.scan().status, 0);
  EXPECT_EQ(summed(tree_, "sumFileCount"), 2);
}

TEST_F(JobEndTest, ByALockThatCantBeAskedFor) {
  startAnew();
  define();
  const std::string file = tree_ / "log/vox_scan_res";
  fs::create_directories(file);
  EXPECT_EQ(tree_.scan().status, 8);
  EXPECT_EQ(tree_.logLines().back(), "GEN0110E Unable to lock the file system \"" + data() +
                                         "\" with the file \"" + file +
                                         "\": Is a directory. The job ends without a result.");
  EXPECT_THAT(tree_.agentArguments(), Contains("8"));

  // Where the log can't be written either, the starter hears of it.
  const auto readOnly = MountedFileSystem::tmpfs(tree_ / "log", "ro");
  ASSERT_TRUE(readOnly) << readOnly.whyNot();
  define();
  const Outcome outcome = tree_.scan();
  EXPECT_EQ(outcome.status, 8);
  EXPECT_EQ(outcome.out, "GEN0110E Unable to lock the file system \"" + data() + "\" with the file \"" +
                             file + ".lck\": Read-only file system. The job ends without a result.\n");
}

}  // namespace
}  // namespace agent::test
