// One run from arguments to exit code: which code, what stays on disk, what the agent is told.

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <thread>

#include "Common/unix/FileDescriptor.h"
#include "system/ResultFile.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using ::testing::StartsWith;

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

class JobDriverTest : public SystemTest {
 protected:
  void define() { tree_.define(summaryOf({data()}).text()); }

  /// The number of entries that the result's summary counts, or -1 without a result.
  long long filesInResult() const {
    if (!InstallTree::exists(tree_.resultFile())) return -1;
    const ResultFile result(tree_.result());
    return result.number(result.results(5, 1).only("SSummary"), "sumFileCount");
  }
};

/// Waits for what another process does.
bool soon(const std::function<bool()>& happened) {
  for (int i = 0; i < 2000 && !happened(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return happened();
}

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

// --- Command line
// --------------------------------------------------------------------------------------------

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
      {"no option goes with version; the version is told all the same",
       {"-version", "-debug", "MIN"},
       3,
       refused("-debug") + "5.2.4.1\n"},
      {"a long argument is cut", {"-" + std::string(9000, 'x')}, 3, refused("-" + std::string(4603, 'x'))},
      {"no comma in agentcom", {"-agentcom", "7"}, 6, ""},
      {"nothing behind the comma", {"-agentcom", "7,"}, 6, ""},
      {"version", {"-version"}, 0, "5.2.4.1\n"},
      {"version in upper case", {"-VERSION"}, 0, "5.2.4.1\n"},
  };
  for (const char* option :
       {"agentcom", "jobname", "jobrunnumber", "maxlogsize", "maxnumlogs", "maxnumruns", "maxnumdays",
        "nfstimeout", "serverip", "servername", "serverport", "sidrunnumber", "profile"}) {
    cases.push_back({"the last option has no value", {"-scan", std::string("-") + option}, 6, ""});
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
           Case{"absolute, outside of a bin directory: the catalog can't be found", root + "lib/scan", "/",
                "", 72},
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
  Launch launch = tree_.launch({"-agentcom", "0,9"});
  launch.handed = {{pipe.writing.get(), 9}};

  EXPECT_EQ(run(launch).status, 72);

  EXPECT_EQ(pipe.bytes(), "");
  EXPECT_TRUE(fs::is_empty(tree_ / "log"));
  EXPECT_TRUE(InstallTree::exists(tree_.definitionFile()));
}

// --- What the agent is told
// ----------------------------------------------------------------------------------

TEST_F(JobDriverTest, OneByteTellsTheAgentWhetherTheJobHasStarted) {
  fs::create_directories(tree_.traceFile());  // no trace can be written there
  struct Case {
    const char* comment;
    std::vector<std::string> arguments;
    int status;
    const char* told;
  };
  for (const Case& c : {Case{"started", {}, 0, "1"}, Case{"a bad option behind it", {"-frobnicate"}, 3, "3"},
                        Case{"a missing value behind it", {"-serverport"}, 6, "3"},
                        Case{"no trace", {"-debug", "MIN"}, 30, "3"}}) {
    define();
    StatusPipe pipe;
    Launch launch = tree_.launch({"-agentcom", "0,9"});
    launch.arguments.insert(launch.arguments.end(), c.arguments.begin(), c.arguments.end());
    launch.handed = {{pipe.writing.get(), 9}};
    EXPECT_EQ(run(launch).status, c.status) << c.comment;
    EXPECT_EQ(pipe.bytes(), c.told) << c.comment;
  }
}

TEST_F(JobDriverTest, TheAgentsEndOfThePipeIsClosedAndChildrenInheritNothing) {
  define();
  tree_.installAgent(
      0, "ls /proc/$PPID/fd >'" + tree_ / "parent" + "'; ls /proc/self/fd >'" + tree_ / "child" + "'");
  StatusPipe pipe;
  Launch launch = tree_.launch({"-agentcom", "7,9"});
  launch.handed = {{pipe.reading.get(), 7}, {pipe.writing.get(), 9}};

  EXPECT_EQ(run(launch).status, 0);

  EXPECT_THAT(linesOf(content(tree_ / "parent")), ::testing::Not(::testing::Contains("7")));
  // 3 is what ls itself opens to read the directory.
  EXPECT_THAT(linesOf(content(tree_ / "child")), ElementsAre("0", "1", "2", "3"));
}

TEST_F(JobDriverTest, ClosedDescriptorsHarmNothing) {
  for (const std::vector<int>& closed :
       {std::vector<int>{0, 1, 2}, std::vector<int>{1}, std::vector<int>{2}}) {
    define();
    Launch launch = tree_.launch({"-agentcom", "55,56"});
    launch.closed = closed;
    EXPECT_EQ(run(launch).status, 0);
    EXPECT_EQ(filesInResult(), 2);  // and it reads as a result: nobody else's text is in it
    EXPECT_THAT(tree_.logLines(), SizeIs(6));
    fs::remove(tree_.logFile());

    launch.arguments = {"-version"};
    EXPECT_EQ(run(launch).status, 0);
    launch.arguments = {"-frobnicate"};
    EXPECT_EQ(run(launch).status, 3);
  }
}

TEST_F(JobDriverTest, TheNotifyChildGetsTheJobsIdentityAndItsFullCode) {
  tree_.installAgent();
  const std::string start = std::to_string(time(nullptr) / 100);  // all but the last two digits
  struct Case {
    const char* comment;
    std::vector<std::string> arguments;
    std::string definition;
    int code;
    std::vector<std::string> debug;
    bool ended;
  };
  const std::string scanned = summaryOf({data()}).text();
  for (const Case& c : {
           Case{"a scan", {}, scanned, 0, {}, true},
           Case{"a trace, which the child's stands beside",
                {"-debug", "mid", "-maxlogsize", "99"},
                scanned,
                0,
                {"-debug", "MID", "-maxLogSize", "99"},
                true},
           Case{"the exit code of the process is the low eight bits",
                {},
                "[Header]\n[/Header]\n[AgentScan]\n",
                321,
                {},
                false},
       }) {
    tree_.define(c.definition);
    std::vector<std::string> arguments{"-serverip", "10.0.0.1_10.0.0.2", "-serverport", "2078"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    EXPECT_EQ(tree_.scan(arguments).status, c.code & 0xFF) << c.comment;

    std::vector<std::string> told = tree_.agentArguments();
    fs::remove(tree_ / "told");
    std::vector<std::string> expected{"-notify",       "scan", "-installLoc",   tree_.scratch(),
                                      "-serverName",   "srv",  "-serverIP",     "10.0.0.1_10.0.0.2",
                                      "-serverPort",   "2078", "-jobName",      "nightly",
                                      "-jobRunNumber", "345",  "-sidRunNumber", "12"};
    expected.insert(expected.end(), c.debug.begin(), c.debug.end());
    expected.insert(expected.end(), {"-exitCode", std::to_string(c.code), "-jobstarttimestamp", start,
                                     "-jobendtimestamp", c.ended ? start : "", "-debugfile"});
    if (!c.debug.empty()) expected.push_back(tree_ / "log/srv/nightly.0012_scan.00000345.notify.trace");
    for (size_t i = 1; i < told.size(); ++i) {
      if (told[i - 1].ends_with("timestamp") && told[i].size() > 2) told[i].resize(told[i].size() - 2);
    }
    EXPECT_EQ(told, expected) << c.comment;
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

// --- How runs end
// --------------------------------------------------------------------------------------------

/// What a test does to the tree or the definition before a run, and what is left behind it.
struct EndCase {
  const char* comment;
  std::function<void(InstallTree&, Definition&)> prepare;
  int code;
  bool result;                     // whether there is a result file
  std::vector<std::string> lines;  // of the log, behind those that say which file systems are locked
};

class JobEndTest : public JobDriverTest {};

TEST_F(JobEndTest, ByScan) {
  const std::string locked = std::string(25, ' ') + data();
  const std::string scanning = "STA0025I Scanning the file system \"" + logicalData() + "\".";
  const std::string walked = "AGT0144I The file system has been walked: 3 entries scanned.";
  const std::string complete = "STA0161I The scan is complete.";
  for (const EndCase& c : std::vector<EndCase>{
           {"clean", [](InstallTree&, Definition&) {}, 0, true, {scanning, walked, complete}},
           {"one of two file systems isn't mounted",
            [](InstallTree&, Definition&d) { d.add(filesystem(2, "/no/such/mount")); },
            4,
            true,
            {"STA0103W The file system \"/no/such/mount\" is not mounted on this host. It is not scanned; "
             "the scan goes "
             "on with the others.",
             scanning, walked, complete}},
           {"the only one isn't",
            [](InstallTree&, Definition&d) { d.records[0].set("fsMountPoint", "/no/such/mount"); },
            4,
            true,
            {"STA0103W The file system \"/no/such/mount\" is not mounted on this host. It is not scanned; "
             "the scan goes "
             "on with the others.",
             "STA0647E None of the file systems of this scan can be scanned. The job ends with an empty "
             "result.",
             complete}},
           {"no statistic of the file system's own",
            [](InstallTree&, Definition&d) { d.records[1].set("sdType", 1); },
            4,
            true,
            {"STA0026I The scan gathers these statistics:", std::string(25, ' ') + "admin.all of it",
             scanning, walked, complete}},
           {"a selection that doesn't compile",
            [](InstallTree&, Definition&d) {
              d.add(statistic(6, 1, "broken").set("sdWhereClause", whereClause("&?")));
            },
            4,
            true,
            {}},  // its message is the selection tests' matter
           {"an empty list of file systems",
            [](InstallTree&, Definition&d) { d.records.clear(); },
            0,
            true,
            {"STA0647E None of the file systems of this scan can be scanned. The job ends with an empty "
             "result.",
             complete}},
           {"the result's disk is full",
            [](InstallTree&t, Definition&) { fs::create_symlink("/dev/full", t.resultFile()); },
            9,
            false,
            {}},
           {"the result's directory can't be made",
            [](InstallTree&t, Definition&) {
              fs::remove_all(t / "output");
              std::ofstream(t / "output") << "in the way";
            },
            9,
            false,
            {}},
       }) {
    fs::remove_all(tree_ / "log");
    fs::remove_all(tree_ / "output");
    fs::create_directories(tree_ / "output/srv");
    Definition definition = summaryOf({data()});
    c.prepare(tree_, definition);
    tree_.define(definition.text());
    tree_.installAgent();

    EXPECT_EQ(tree_.scan().status, c.code) << c.comment;

    EXPECT_EQ(fs::is_symlink(tree_.resultFile()) || InstallTree::exists(tree_.resultFile()), c.result)
        << c.comment;
    EXPECT_FALSE(InstallTree::exists(tree_.definitionFile())) << c.comment;
    EXPECT_THAT(tree_.agentArguments(), ::testing::Contains(std::to_string(c.code))) << c.comment;
    fs::remove(tree_ / "told");
    if (c.result) {
      EXPECT_NO_THROW(ResultFile(tree_.result())) << c.comment;
    }
    const std::vector<std::string> lines = tree_.logLines();
    ASSERT_GT(lines.size(), 1U) << c.comment;
    const size_t behind = 2 + static_cast<size_t>(std::count_if(
                                  definition.records.begin(), definition.records.end(),
                                  [](const Record& record) { return record.tag == "Filesystem"; }));
    if (c.lines.empty() && c.result) continue;
    EXPECT_EQ(std::vector<std::string>(lines.begin() + static_cast<long>(behind), lines.end()), c.lines)
        << c.comment;
  }
}

TEST_F(JobEndTest, ByADefinitionThatIsNoUse) {
  const std::string header =
      "[Header]\n[AgentScan]\nasJobName,asScanningCompID\n[Filesystem]\nfsID,fsMountPoint\n";
  struct Case {
    const char* comment;
    std::string text;
    int code;
    std::string reason;
  };
  const std::string file = tree_.definitionFile();
  for (const Case& c : {
           Case{"no header row for a class", header + "[/Header]\n[AgentScan]\nx,1\n[CuStatDef]\n5\n", 321,
                ""},
           Case{"a row too short", header + "[/Header]\n[AgentScan]\nx\n[/AgentScan]\n", 325, ""},
           Case{"a row too long",
                header + "[/Header]\n[AgentScan]\nx,1\n[Filesystem]\n1,/,2\n[/Filesystem]\n", 325, ""},
           Case{"a file system without a row",
                header + "[/Header]\n[AgentScan]\nx,1\n[Filesystem]\n[/Filesystem]\n", 325, ""},
           Case{"no file", "", 13, "ERROR, not able to open scan definition file"},
           Case{"a file that can't be read", "/proc/self/mem", 17,
                "ERROR on executing getLine() in ParserAPI::initialize(bool needNumEntities). ERRORCODE: 17 "
                "File Name: " +
                    file},
       }) {
    fs::remove_all(tree_ / "log");
    fs::remove(file);
    if (c.text.starts_with("/")) {
      fs::create_symlink(c.text, file);
    } else if (!c.text.empty()) {
      tree_.define(c.text);
    }
    tree_.installAgent(3);
    const Outcome outcome = tree_.scan();
    EXPECT_EQ(outcome.status, c.code & 0xFF) << c.comment;
    EXPECT_EQ(outcome.out + outcome.err, "") << c.comment;
    EXPECT_FALSE(InstallTree::exists(tree_.resultFile())) << c.comment;
    EXPECT_EQ(fs::is_symlink(file) || InstallTree::exists(file), !c.text.empty()) << c.comment;
    EXPECT_THAT(tree_.agentArguments(), ::testing::Contains(std::to_string(c.code))) << c.comment;
    fs::remove(tree_ / "told");
    // The record is the notify child's to close, even where it failed.
    EXPECT_THAT(content(tree_.recordFile()),
                MatchesRegex("DO NOT EDIT THIS FILE MANUALLY\npid=[0-9]+ startTime=[0-9]+"));
    fs::remove(tree_.recordFile());
    const std::vector<std::string> lines = tree_.logLines();
    ASSERT_THAT(lines, ElementsAre("AGT0146I The scan job has started.",
                                   AllOf(StartsWith("STA0430E The scan definition \"" + file +
                                                    "\" can't be used: " + c.reason),
                                         EndsWith(". The job ends without a result."))))
        << c.comment;
  }
}

TEST_F(JobEndTest, TheWholeTraceKeepsTheDefinitionOthersDoNot) {
  for (const bool fails : {false, true}) {
    for (const auto& [level, kept] : {std::pair{"MAX", true}, {"MID", false}, {"MIN", false}}) {
      define();
      fs::remove(tree_.resultFile());
      fs::remove(tree_.traceFile());
      if (fails) fs::create_symlink("/dev/full", tree_.resultFile());
      EXPECT_EQ(tree_.scan({"-debug", level}).status, fails ? 9 : 0) << level;
      EXPECT_EQ(InstallTree::exists(tree_.definitionFile()), kept) << level;
      EXPECT_TRUE(InstallTree::exists(tree_.traceFile())) << level;
    }
  }
}

// --- Two jobs, and signals
// -----------------------------------------------------------------------------------

/// A job that holds its locks until it is let go: its result is a FIFO that nobody reads yet.
class HeldJobTest : public JobDriverTest {
 protected:
  /// Runs the job; once it holds its lock calls `meanwhile`, then lets it go on.
  Outcome runHeld(const std::function<void(pid_t)>& meanwhile) {
    fs::create_directories(fs::path(tree_.resultFile()).parent_path());
    EXPECT_EQ(mkfifo(tree_.resultFile().c_str(), 0600), 0);
    define();
    Launch launch = tree_.launch();
    launch.whileRunning = [&](pid_t pid) {
      const std::string mine = "PID=" + std::to_string(pid) + "\n";
      EXPECT_TRUE(soon([&] { return content(tree_ / "log/vox_scan_res").find(mine) != std::string::npos; }));
      meanwhile(pid);
      reader_ = std::thread(
          [this, name = tree_.resultFile(), held = openFile(tree_.resultFile().c_str(), O_RDONLY)] {
            char buffer[4096];
            for (ssize_t got; (got = read(held.get(), buffer, sizeof buffer)) > 0;) {
              written_.append(buffer, static_cast<size_t>(got));
            }
          });
    };
    const Outcome outcome = run(launch);
    reader_.join();
    return outcome;
  }

  std::string written_;  // what came through the FIFO

 private:
  std::thread reader_;
};

TEST_F(HeldJobTest, AJobRefusedByALockEndsWith8AndLeavesTheOthersResultAlone) {
  const std::vector<std::string> refusedLog{
      "AGT0146I The scan job has started.",
      "STA0531E The file system \"" + data() +
          "\" is being scanned by another job. This job ends without a result."};
  const Outcome first = runHeld([&](pid_t) {
    const Job held = tree_.job;
    // The same names first, then a job of its own.
    for (const int number : {held.run, held.run + 1}) {
      tree_.job.run = number;
      fs::remove(tree_.logFile());
      define();
      EXPECT_EQ(tree_.scan().status, 8);
      // Both write to one log where they have one name.
      EXPECT_EQ(tree_.logLines().back(), refusedLog.back());
      if (number != held.run) {
        EXPECT_EQ(tree_.logLines(), refusedLog);
      }
      EXPECT_FALSE(InstallTree::exists(tree_.definitionFile()));
      EXPECT_EQ(InstallTree::exists(tree_.resultFile()), number == held.run);
    }
    // Another server's scan of a file system with the same number is another matter.
    tree_.job.server = "other";
    define();
    EXPECT_EQ(tree_.scan().status, 0);
    tree_.job = held;
  });

  EXPECT_EQ(first.status, 0);
  EXPECT_NO_THROW(ResultFile{written_});
  EXPECT_EQ(content(tree_ / "log/vox_scan_res"), "DO NOT EDIT THIS FILE MANUALLY\n");
}

TEST_F(HeldJobTest, SigtermEndsTheScanWith8AndTakesTheResultAway) {
  tree_.installAgent();
  EXPECT_EQ(runHeld([](pid_t pid) { kill(pid, SIGTERM); }).status, 8);

  EXPECT_FALSE(InstallTree::exists(tree_.resultFile()));
  EXPECT_FALSE(InstallTree::exists(tree_.definitionFile()));
  EXPECT_THAT(tree_.agentArguments(), ::testing::Contains("8"));
  EXPECT_EQ(content(tree_ / "log/vox_scan_res"), "DO NOT EDIT THIS FILE MANUALLY\n");
  EXPECT_THAT(tree_.logLines(), ::testing::Not(::testing::Contains("STA0161I The scan is complete.")));
}

TEST_F(HeldJobTest, HangUpsAndABrokenPipeToTheAgentAreIgnored) {
  EXPECT_EQ(runHeld([](pid_t pid) {
              kill(pid, SIGHUP);
              kill(pid, SIGPIPE);
            }).status,
            0);
  EXPECT_NO_THROW(ResultFile{written_});
}

TEST_F(JobDriverTest, ALockLeftByADeadProcessIsTakenOver) {
  define();
  std::ofstream(tree_ / "log/vox_scan_res")
      << "DO NOT EDIT THIS FILE MANUALLY\nResource=scan_srv1\nPID=999999999\n";
  EXPECT_EQ(tree_.scan().status, 0);
  EXPECT_EQ(content(tree_ / "log/vox_scan_res"), "DO NOT EDIT THIS FILE MANUALLY\n");
}

// --- Names
// ---------------------------------------------------------------------------------------------------

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
