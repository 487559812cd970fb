// What the job makes of its command line, and what the agent hears from it.

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include <ctime>

#include "Common/unix/FileDescriptor.h"
#include "system/JobTest.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const char* USAGE = R"(Usage: scan [-scan | -version] [option value]...

Commands:
  -scan                    run the scan that the definition file describes (the default)
  -version                 print the version and end; takes no options

Options, in upper or lower case:
  -agentcom READ,WRITE     pipe to the agent: descriptor to close, descriptor for the start status
  -debug LEVEL             write a trace file; LEVEL is MIN, MID or MAX
  -jobname NAME            name of the job; definition, result and log are named after it
  -jobrunnumber NUMBER     number of the run
  -maxlogsize KILOBYTES    size limit of a log or trace file (1024)
  -maxnumlogs NUMBER       log files to keep where they are numbered (8)
  -maxnumruns NUMBER       runs of one job whose logs are kept (5)
  -maxnumdays DAYS         age up to which numbered logs are kept; 0: any age (90)
  -nfstimeout SECONDS      time limit of each file-system call; 0: none (0)
  -serverip ADDRESSES      addresses of the server, joined by "_"
  -servername NAME         name of the server; the directory of definition, result and log
  -serverport PORT         port of the server
  -sidrunnumber NUMBER     number of the schedule
  -profile NAME            name of the scan profile

Examples:
  scan -scan -servername srv01 -jobname nightly -sidrunnumber 12 -jobrunnumber 345
  scan -scan -servername srv01 -jobname nightly -sidrunnumber 12 -jobrunnumber 346 -nfstimeout 30 -debug MAX
)";

std::string refused(const std::string& argument) {
  return "AGT0398E The option \"" + argument + "\" is not valid. The job ends.\n" + USAGE;
}

using JobDriverTest = JobTest;

/// A pipe whose reading end stays here.
struct StatusPipe {
  StatusPipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
  }
  /// All that was written, once everybody has closed the other end.
  std::string bytes() {
    writing.close();
    char buffer[16];
    const ssize_t got = read(reading.get(), buffer, sizeof buffer);
    return {buffer, static_cast<size_t>(std::max<ssize_t>(got, 0))};
  }
  FileDescriptor reading, writing;
};

// --- Command line ---

TEST_F(JobDriverTest, CommandLinesThatEndTheJobAtOnce) {
  struct Case {
    const char* comment;
    std::vector<std::string> arguments;
    int status;
    std::string out;
  };
  std::vector<Case> cases{
      {"unknown option", {"-frobnicate"}, 3, refused("-frobnicate")},
      {"no dash: the command word is optional, so this is read as an option", {"scan"}, 3, refused("scan")},
      {"no dash in front of a known option", {"-scan", "jobname", "x"}, 3, refused("jobname")},
      {"an empty argument", {"-scan", ""}, 3, refused("<NULL>")},
      {"the command word twice", {"-scan", "-scan"}, 3, refused("-scan")},
      {"a debug word that is none", {"-debug", "LOUD"}, 3, refused("-debug")},
      {"a missing debug word is a bad one", {"-debug"}, 3, refused("-debug")},
      {"no option goes with version", {"-version", "-debug", "MIN"}, 3, refused("-debug") + "5.2.4.1\n"},
      {"a server above the tree", {"-servername", ".."}, 3, refused("-servername ..")},
      {"a server in the tree's place", {"-servername", "."}, 3, refused("-servername .")},
      {"a job elsewhere", {"-servername", "s", "-jobname", "\"../x\""}, 3, refused("-jobname ../x")},
      {"a long argument is cut", {"-" + std::string(9000, 'x')}, 3, refused("-" + std::string(4603, 'x'))},
      {"no comma in agentcom", {"-agentcom", "7"}, 6, ""},
      {"nothing behind the comma", {"-agentcom", "7,"}, 6, ""},
      {"version", {"-version"}, 0, "5.2.4.1\n"},
      {"version in upper case", {"-VERSION"}, 0, "5.2.4.1\n"},
  };
  for (const std::string& option :
       words("agentcom jobname jobrunnumber maxlogsize maxnumlogs maxnumruns maxnumdays nfstimeout serverip "
             "servername serverport sidrunnumber profile")) {
    cases.push_back({"the last option has no value", {"-scan", "-" + option}, 6, ""});
  }
  for (const Case& c : cases) {
    Launch launch = tree_.launch();
    launch.arguments = c.arguments;
    const Outcome outcome = run(launch);
    const std::string shown = c.comment + (": " + c.arguments.back().substr(0, 40));
    EXPECT_EQ(outcome.status, c.status) << shown;
    EXPECT_EQ(outcome.out, c.out) << shown;
    EXPECT_EQ(outcome.err, "") << shown;
    EXPECT_TRUE(fs::is_empty(tree_ / "log")) << shown;
    EXPECT_TRUE(fs::is_empty(tree_ / "output")) << shown;
  }
}

TEST_F(JobDriverTest, TheProgramFindsItsInstallLocationHoweverItIsCalled) {
  struct Case {
    const char* comment;
    std::string name;       // argv[0]
    std::string directory;  // where it is called
    std::string path;       // PATH
    int status;
  };
  const std::string root = tree_ / "";
  fs::create_directories(tree_ / "lib");
  fs::create_symlink(tree_.program(), tree_ / "lib/scan");
  for (const Case& c : {
           Case{"absolute", tree_.program(), "/", "/nowhere", 0},
           Case{"absolute, roundabout", root + "./log/../bin/./scan", "/", "/nowhere", 0},
           Case{"relative to the tree", "bin/scan", root, "/nowhere", 0},
           Case{"relative to bin", "./scan", root + "bin", "/nowhere", 0},
           Case{"found through PATH", "scan", "/", "/nowhere:" + root + "bin:/usr/bin", 0},
           Case{"absolute, not in a bin directory: no catalog", root + "lib/scan", "/", "", 72},
           Case{"not in PATH", "scan", "/", "/nowhere", 72},
       }) {
    define();
    Launch launch = tree_.launch();
    launch.name = c.name;
    launch.directory = c.directory;
    launch.environment["PATH"] = c.path;
    EXPECT_EQ(run(launch).status, c.status) << c.comment;
    EXPECT_EQ(filesInResult(), c.status == 0 ? 2 : -1) << c.comment;
    fs::remove(tree_.resultFile());

    launch.arguments = {"-version"};
    const Outcome version = run(launch);
    EXPECT_EQ(version.status, c.status) << c.comment;
    EXPECT_EQ(version.out, "5.2.4.1\n") << c.comment;
  }
}

TEST_F(JobDriverTest, WithoutItsCatalogItSaysNothingTouchesNothingAndEndsWith72) {
  define();
  fs::remove(tree_ / "nls");
  StatusPipe pipe;
  Launch launch = tree_.launch(words("-agentcom 0,9"));
  launch.handed = {{pipe.writing.get(), 9}};

  EXPECT_EQ(run(launch).status, 72);

  EXPECT_EQ(pipe.bytes(), "");
  EXPECT_TRUE(fs::is_empty(tree_ / "log"));
  EXPECT_TRUE(InstallTree::exists(tree_.definitionFile()));
}

// --- What the agent is told ---

TEST_F(JobDriverTest, OneByteTellsTheAgentWhetherTheJobHasStarted) {
  fs::create_directories(tree_.traceFile());  // no trace can be written there
  struct Case {
    const char* comment;
    std::string arguments;
    int status;
    const char* told;
  };
  for (const Case& c : {Case{"started", "-agentcom 0,9", 0, "1"},
                        Case{"a bad option behind it", "-agentcom 0,9 -frobnicate", 3, "3"},
                        Case{"a missing value behind it", "-agentcom 0,9 -serverport", 6, "3"},
                        Case{"a bad name, even in front of it", "-servername srv/. -agentcom 0,9", 3, "3"},
                        Case{"no trace", "-agentcom 0,9 -debug MIN", 30, "3"}}) {
    define();
    StatusPipe pipe;
    Launch launch = tree_.launch(words(c.arguments));
    launch.handed = {{pipe.writing.get(), 9}};
    EXPECT_EQ(run(launch).status, c.status) << c.comment;
    EXPECT_EQ(pipe.bytes(), c.told) << c.comment;
  }
}

TEST_F(JobDriverTest, AStarterThatReadsNothingOrHasGoneIsNotWaitedForLong) {
  fs::create_directories(tree_.traceFile());  // no trace can be written there, which is told
  for (const bool gone : {false, true}) {
    StatusPipe pipe;
    fcntl(pipe.writing.get(), F_SETFL, O_NONBLOCK);
    while (write(pipe.writing.get(), "x", 1) == 1) continue;
    fcntl(pipe.writing.get(), F_SETFL, 0);
    if (gone) pipe.reading.close();
    Launch launch = tree_.launch(words("-agentcom 0,9 -debug MIN"));
    for (const int there : {1, 2, 9}) launch.handed.emplace_back(pipe.writing.get(), there);
    launch.limit = std::chrono::seconds(20);
    EXPECT_EQ(run(launch).status, 30) << gone;

    define();  // and there is no agent to be told of the end, which nobody complains about
    launch.arguments.resize(launch.arguments.size() - 2);
    EXPECT_EQ(run(launch).status, 0) << gone;
  }
}

TEST_F(JobDriverTest, AFileThatMayNotGrowIsAFailedWriteFromTheFirstLineOn) {
  Launch launch = tree_.launch(words("-debug MAX"));
  launch.arguments.insert(launch.arguments.begin(),
                          {"-c", "ulimit -f 0; exec \"$0\" \"$@\"", launch.program});
  launch.program = "/bin/sh";
  EXPECT_EQ(run(launch).status, 30);
}

TEST_F(JobDriverTest, TheAgentsEndOfThePipeIsClosedAndChildrenInheritNothing) {
  tree_.installAgent(
      0, "ls /proc/$PPID/fd >'" + tree_ / "parent" + "'; ls /proc/self/fd >'" + tree_ / "child" + "'");
  for (const int number : {9, 2}) {  // standard error may be the pipe, and stays the child's
    define();
    StatusPipe pipe;
    Launch launch = tree_.launch({"-agentcom", "7," + std::to_string(number)});
    launch.handed = {{pipe.reading.get(), 7}, {pipe.writing.get(), number}};

    EXPECT_EQ(run(launch).status, 0);

    EXPECT_EQ(pipe.bytes(), "1");
    EXPECT_THAT(linesOf(content(tree_ / "parent")), Not(Contains("7")));
    // 3 is what ls itself opens to read the directory.
    EXPECT_THAT(linesOf(content(tree_ / "child")), ElementsAre("0", "1", "2", "3")) << number;
  }
}

TEST_F(JobDriverTest, ClosedDescriptorsHarmNothing) {
  struct Case {
    std::vector<int> closed;
    const char* agentCom;  // two that aren't open, or standard error to be closed and one that isn't
  };
  for (const Case& c : {Case{{0, 1, 2}, "55,56"}, Case{{1}, "2,56"}, Case{{2}, "1,4"}}) {
    define();
    Launch launch = tree_.launch({"-agentcom", c.agentCom, "-debug", "MIN"});
    launch.closed = c.closed;
    EXPECT_EQ(run(launch).status, 0);
    EXPECT_THAT(content(tree_.traceFile()), HasSubstr("Failed to send status to agent: 1\n")) << c.agentCom;
    EXPECT_EQ(filesInResult(), 2);  // and it reads as a result: nobody else's text is in it
    EXPECT_THAT(tree_.logLines(), SizeIs(6));
    fs::remove(tree_.logFile());
    fs::remove(tree_.traceFile());

    launch.arguments = {"-version"};
    EXPECT_EQ(run(launch).status, 0);
    launch.arguments = {"-frobnicate"};
    EXPECT_EQ(run(launch).status, 3);
  }
}

TEST_F(JobDriverTest, TheNotifyChildGetsTheJobsIdentityAndItsFullCode) {
  tree_.installAgent();
  const std::string scanned = summaryOf({data()}).text(), noHeader = "[Header]\n[/Header]\n[AgentScan]\n";
  const std::string identity =
      "-notify scan -installLoc " + tree_.scratch() +
      " -serverName srv -serverIP 10.0.0.1_10.0.0.2 -serverPort 2078 -jobName nightly "
      "-jobRunNumber 345 -sidRunNumber 12 ";
  struct Case {
    const char* comment;
    std::string arguments;
    std::string definition;
    int code;
    std::string told;  // behind the identity; "#" is a time
  };
  for (const Case& c : {
           Case{"a scan", "", scanned, 0, "-exitCode 0 -jobstarttimestamp # -jobendtimestamp # -debugfile"},
           Case{"a trace, which the child's stands beside", "-debug mid -maxlogsize 99", scanned, 0,
                "-debug MID -maxLogSize 99 -exitCode 0 -jobstarttimestamp # -jobendtimestamp # -debugfile " +
                    tree_ / "log/srv/nightly.0012_scan.00000345.notify.trace"},
           Case{"the process ends with the low eight bits; there is no end time yet", "", noHeader, 321,
                "-exitCode 321 -jobstarttimestamp # -jobendtimestamp -debugfile"},
       }) {
    tree_.define(c.definition);
    const time_t before = time(nullptr);
    EXPECT_EQ(tree_.scan(words("-serverip 10.0.0.1_10.0.0.2 -serverport 2078 " + c.arguments)).status,
              c.code & 0xFF);

    std::vector<std::string> told = tree_.agentArguments();
    fs::remove(tree_ / "told");
    EXPECT_EQ(std::count(told.begin(), told.end(), ""), c.code == 321) << c.comment;
    std::erase(told, "");
    for (std::string& each : told) {
      if (each.find_first_not_of("0123456789") == std::string::npos && std::stoll(each) >= before &&
          std::stoll(each) <= time(nullptr))
        each = "#";
    }
    EXPECT_EQ(told, words(identity + c.told)) << c.comment;
  }
}

TEST_F(JobDriverTest, TheJobRecordIsClosedByTheJobOnlyWhereTheAgentCouldNotBeTold) {
  struct Case {
    const char* comment;
    int agent;  // its exit code; -1: there is none
    const char* end;
  };
  for (const Case& c : {Case{"told: the child closes the record", 0, ""},
                        Case{"the agent refuses", 3, " endTime=[0-9]+ exitCode=0"},
                        Case{"no agent", -1, " endTime=[0-9]+ exitCode=0"}}) {
    fs::remove(tree_.recordFile());
    fs::remove(tree_ / "bin/Agent");
    if (c.agent != -1) tree_.installAgent(c.agent);
    define();
    pid_t pid = 0;
    Launch launch = tree_.launch();
    launch.whileRunning = [&](pid_t started) { pid = started; };
    EXPECT_EQ(run(launch).status, 0);
    EXPECT_THAT(content(tree_.recordFile()), MatchesRegex("DO NOT EDIT THIS FILE MANUALLY\npid=" +
                                                          std::to_string(pid) + " startTime=[0-9]+" + c.end))
        << c.comment;
  }
}

// --- Names ---

TEST_F(JobDriverTest, AnInitialScanHasAShortDefinitionNameAndTheAgentsNumberedLog) {
  tree_.job.name = "InitialFSScan7";
  define();
  EXPECT_EQ(tree_.definitionFile(), tree_ / "input/srv/InitialFSScan7.dat");

  EXPECT_EQ(tree_.scan().status, 0);

  EXPECT_EQ(tree_.resultFile(), tree_ / "output/srv/InitialFSScan7.0012_scan.00000345.dat");
  EXPECT_EQ(filesInResult(), 2);
  EXPECT_FALSE(InstallTree::exists(tree_.definitionFile()));
  EXPECT_THAT(tree_.logLines(tree_ / "log/srv/agent_000000.log"), SizeIs(6));
}

TEST_F(JobDriverTest, AnAdHocRunDrawsItsNumbersAndLooksForADefinitionWithThem) {
  struct Case {
    const char* comment;
    std::vector<std::string> arguments;
    const char* definition;
  };
  for (const Case& c :
       {Case{"no arguments at all", {}, "input//scan\\.[0-9]{4}_scan\\.[0-9]{8}\\.dat"},
        Case{"a name alone", {"-jobname", "\"by hand\""}, "input//by hand\\.[0-9]{4}_scan\\.[0-9]{8}\\.dat"},
        Case{"one number",
             {"-jobname", "x", "-sidrunnumber", "7"},
             "input//x\\.0007_scan\\.[0-9]{8}\\.dat"}}) {
    fs::remove_all(tree_ / "output");
    fs::remove_all(tree_ / "log");
    Launch launch = tree_.launch();
    launch.arguments = c.arguments;
    EXPECT_EQ(run(launch).status, 13) << c.comment;
    const std::vector<std::string> lines = tree_.logLines(tree_ / "log/scan_000000.log");
    ASSERT_THAT(lines, SizeIs(2)) << c.comment;
    const std::string name = lines[1].substr(0, lines[1].find("\" can't")).substr(lines[1].find('"') + 1);
    EXPECT_THAT(name, MatchesRegex(tree_ / c.definition)) << c.comment;
    // The record has the same numbers; output/scan.dat, the result, was never opened.
    const fs::path stem = fs::path(name).stem();
    EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(tree_ / "output"), {}),
                ElementsAre(fs::path(tree_ / "output") / (stem.string() + ".jobinfo")))
        << c.comment;
  }
}

}  // namespace
}  // namespace agent::test
