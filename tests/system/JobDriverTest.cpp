// What the job makes of its command line, and what the agent hears from it.

#include <gmock/gmock.h>

#include <ctime>

#include "system/Results.h"
#include "system/StatusPipe.h"
#include "system/SystemTest.h"

namespace agent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

std::string refused(const std::string& argument) {
  return "AGT0398E The option \"" + argument + "\" is not valid. The job ends.\n" +
         content(SYSTEM_TEST_EXPECTED "/usage.txt");
}

using JobDriverTest = SystemTest;

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
    EXPECT_TRUE(fs::is_empty(tree_ / "log") && fs::is_empty(tree_ / "output")) << shown;
  }
}

TEST_F(JobDriverTest, WithoutItsCatalogItSaysNothingTouchesNothingAndEndsWith72) {
  define();
  fs::remove(tree_ / "nls");
  StatusPipe pipe;
  Launch launch = tree_.launch();
  pipe.handTo(launch);

  EXPECT_EQ(run(launch).status, 72);

  EXPECT_EQ(pipe.received(), "");
  EXPECT_TRUE(fs::is_empty(tree_ / "log"));
  EXPECT_TRUE(InstallTree::exists(tree_.definitionFile()));

  launch = tree_.launch();
  launch.arguments = {"-version"};
  const Outcome version = run(launch);
  EXPECT_EQ(version.status, 72);
  EXPECT_EQ(version.out, "5.2.4.1\n") << "for this alone no catalog is needed";
}

// --- What the agent is told ---

TEST_F(JobDriverTest, OneByteTellsTheAgentWhetherTheJobHasStarted) {
  fs::create_directories(tree_.traceFile());  // no trace can be written there
  for (const auto& [arguments, status, told] :
       {std::tuple("-agentcom 0,9", 0, "1"),
        {"-agentcom 0,9 -frobnicate", 3, "3"},
        {"-agentcom 0,9 -serverport", 6, "3"},
        {"-servername srv/. -agentcom 0,9", 3, "3"},  // a bad name, even in front of it
        {"-agentcom 0,9 -debug MIN", 30, "3"}}) {     // no trace
    define();
    StatusPipe pipe;
    Launch launch = tree_.launch(words(arguments));
    launch.handed = {{pipe.writer.get(), 9}};
    EXPECT_EQ(run(launch).status, status) << arguments;
    EXPECT_EQ(pipe.received(), told) << arguments;
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
    Launch launch = tree_.launch();
    pipe.handTo(launch, 7, number);

    EXPECT_EQ(run(launch).status, 0);

    EXPECT_EQ(pipe.received(), "1");
    EXPECT_THAT(linesOf(content(tree_ / "parent")), ::testing::Not(::testing::Contains("7")));
    // 3 is what ls itself opens to read the directory.
    EXPECT_THAT(linesOf(content(tree_ / "child")), ElementsAre("0", "1", "2", "3")) << number;
  }
}

TEST_F(JobDriverTest, ClosedDescriptorsHarmNothing) {
  using Descriptors = std::vector<int>;
  // The agent's two aren't open, or standard error is to be closed and one isn't.
  for (const auto& [closed, agentCom] :
       {std::pair(Descriptors{0, 1, 2}, "55,56"), {Descriptors{1}, "2,56"}, {Descriptors{2}, "1,4"}}) {
    define();
    Launch launch = tree_.launch({"-agentcom", agentCom, "-debug", "MIN"});
    launch.closed = closed;
    EXPECT_EQ(run(launch).status, 0);
    EXPECT_THAT(content(tree_.traceFile()), ::testing::HasSubstr("Failed to send status to agent: 1\n"))
        << agentCom;
    EXPECT_EQ(summed(tree_, "sumFileCount"), 2);  // and it reads as a result: nobody else's text is in it
    EXPECT_THAT(tree_.logLines(), ::testing::SizeIs(6));
    fs::remove_all(tree_ / "log");

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

TEST_F(JobDriverTest, AnyBytesReachTheNotificationAndTheNamesOfFiles) {
  tree_.job.name = "night's \"$HOME\" ;`id`\n& * \\";
  define();
  tree_.installAgent();

  EXPECT_EQ(tree_.scan({"-serverip", tree_.job.name}).status, 0);

  EXPECT_THAT(content(tree_ / "told"),
              ::testing::HasSubstr("\n-serverIP\n" + tree_.job.name + "\n-jobName\n" + tree_.job.name +
                                   "\n-jobRunNumber\n345\n"));
  EXPECT_TRUE(InstallTree::exists(tree_.resultFile()));
}

TEST_F(JobDriverTest, TheJobRecordIsClosedByTheJobOnlyWhereTheAgentCouldNotBeTold) {
  constexpr int ABSENT = -1;
  for (const int agent : {0, 3, ABSENT}) {
    fs::remove(tree_.recordFile());
    fs::remove(tree_ / "bin/Agent");
    if (agent != ABSENT) tree_.installAgent(agent);
    define();
    pid_t pid = 0;
    Launch launch = tree_.launch();
    launch.whileRunning = [&](pid_t started) { pid = started; };
    EXPECT_EQ(run(launch).status, 0);
    EXPECT_THAT(content(tree_.recordFile()),
                MatchesRegex("DO NOT EDIT THIS FILE MANUALLY\npid=" + std::to_string(pid) +
                             " startTime=[0-9]+" + (agent == 0 ? "" : " endTime=[0-9]+ exitCode=0")))
        << agent;
  }
}

// --- Names ---

TEST_F(JobDriverTest, AnAdHocRunDrawsItsNumbersAndLooksForADefinitionWithThem) {
  for (const auto& [arguments, definition] :
       {std::pair{"", "input//scan\\.[0-9]{4}_scan\\.[0-9]{8}\\.dat"},
        {"-jobname x -sidrunnumber 7", "input//x\\.0007_scan\\.[0-9]{8}\\.dat"}}) {
    for (const char* name : {"output", "log"}) fs::remove_all(tree_ / name);
    Launch launch = tree_.launch();
    launch.arguments = words(arguments);
    EXPECT_EQ(run(launch).status, 13) << arguments;
    const std::string line = tree_.logLines(tree_ / "log/scan_000000.log").back();
    const std::string name = line.substr(0, line.find("\" can't")).substr(line.find('"') + 1);
    EXPECT_THAT(name, MatchesRegex(tree_ / definition));
    // The record has the same numbers; output/scan.dat, the result, was never opened.
    EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(tree_ / "output"), {}),
                ElementsAre(fs::path(tree_ / "output") / (fs::path(name).stem().string() + ".jobinfo")));
  }
}

}  // namespace
}  // namespace agent::test
