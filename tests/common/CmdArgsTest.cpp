#include "Common/CmdArgs.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "common/TemporaryDirectory.h"

namespace agent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A command line that lives as long as its CmdArgs.
class CommandLine {
 public:
  explicit CommandLine(std::vector<std::string> words) : words_(std::move(words)) {
    for (std::string& word : words_) pointers_.push_back(word.data());
    pointers_.push_back(nullptr);
  }

  CmdArgs args() { return {static_cast<int>(words_.size()), pointers_.data(), CmdArgs::SCAN_PROGRAM}; }

 private:
  std::vector<std::string> words_;
  std::vector<char*> pointers_;
};

class CmdArgsTest : public testing::Test {
 protected:
  /// Parses "<install>/bin/scan words..." into args_.
  int parse(std::vector<std::string> words) {
    words.insert(words.begin(), directory_ / "bin/scan");
    line_ = std::make_unique<CommandLine>(words);
    args_ = std::make_unique<CmdArgs>(line_->args());
    return args_->parse();
  }

  const std::string& install() const { return directory_.path(); }

  TemporaryDirectory directory_;
  std::unique_ptr<CommandLine> line_;
  std::unique_ptr<CmdArgs> args_;
};

TEST_F(CmdArgsTest, NoArgumentsAtAllGiveTheDefaults) {
  EXPECT_EQ(parse({}), 0);
  EXPECT_EQ(args_->command, 0);
  EXPECT_EQ(args_->maxLogSize, 1024);
  EXPECT_EQ(args_->maxNumLogs, 8);
  EXPECT_EQ(args_->maxNumRuns, 5);
  EXPECT_EQ(args_->maxNumDays, 90);
  EXPECT_EQ(args_->agentCom, -1);
  EXPECT_EQ(args_->exeName, "scan");
  EXPECT_EQ(args_->installLoc, install());
  EXPECT_EQ(args_->logName, install() + "/log/scan_000000.log");
  EXPECT_EQ(args_->resultFile, install() + "/output/scan.dat");
  EXPECT_EQ(args_->traceFile, "");
  EXPECT_FALSE(args_->wantsVersion());
}

TEST_F(CmdArgsTest, EveryOptionIsTakenInWhateverCase) {
  EXPECT_EQ(parse({"-SCAN",
                   "-jobName",
                   "\"daily\"",
                   "-JOBRUNNUMBER",
                   "12",
                   "-sidrunnumber",
                   "3",
                   "-maxlogsize",
                   "2048",
                   "-maxnumlogs",
                   "4",
                   "-maxnumruns",
                   "6",
                   "-maxnumdays",
                   "7",
                   "-nfsTimeout",
                   "-30",
                   "-serverIP",
                   "10.0.0.1_10.0.0.2",
                   "-serverName",
                   "srv",
                   "-serverPort",
                   "9549x",
                   "-profile",
                   "\"quick\"",
                   "-debug",
                   "mid"}),
            0);
  EXPECT_EQ(args_->command, CmdArgs::SCAN_COMMAND);
  EXPECT_EQ(args_->commandWord, "SCAN");
  EXPECT_EQ(args_->jobName, "daily");
  EXPECT_EQ(args_->jobRunNumber, 12);
  EXPECT_EQ(args_->sidRunNumber, 3);
  EXPECT_EQ(args_->maxLogSize, 2048);
  EXPECT_EQ(args_->maxNumLogs, 4);
  EXPECT_EQ(args_->maxNumRuns, 6);
  EXPECT_EQ(args_->maxNumDays, 7);
  EXPECT_EQ(args_->nfsTimeout, -30);
  EXPECT_EQ(args_->serverIP, "10.0.0.1_10.0.0.2");
  EXPECT_THAT(args_->serverIPList, ElementsAre("10.0.0.1", "10.0.0.2"));
  EXPECT_EQ(args_->serverName, "srv");
  EXPECT_EQ(args_->serverPort, 9549);
  EXPECT_EQ(args_->scanProfile, "quick");
  EXPECT_EQ(args_->debug, "MID");
  EXPECT_EQ(args_->debugLevel, 2);
  EXPECT_EQ(args_->logName, install() + "/log/srv/daily.0003_scan.00000012.log");
  EXPECT_EQ(args_->traceFile, install() + "/log/srv/daily.0003_scan.00000012.trace");
  EXPECT_EQ(args_->resultFile, install() + "/output/srv/daily.0003_scan.00000012.dat");
  EXPECT_EQ(args_->outputPath(".jobinfo"), install() + "/output/srv/daily.0003_scan.00000012.jobinfo");
}

TEST_F(CmdArgsTest, WhatIsRefusedIsToldByCodeAndText) {
  const struct {
    const char* comment;
    std::vector<std::string> words;
    int code;
    std::string lastArgument;
    std::string errorText;
  } cases[] = {
      {"an unknown option", {"-scan", "-fast", "1"}, 3, "-fast", ""},
      {"no dash", {"scan"}, 3, "scan", ""},
      {"an empty argument", {"-scan", ""}, 3, "", ""},
      {"a dash alone", {"-"}, 3, "-", ""},
      {"a second command", {"-scan", "-version"}, 3, "-version", ""},
      {"no option goes with version", {"-version", "-debug", "MIN"}, 3, "-debug", ""},
      {"a wrong debug word", {"-debug", "ALL"}, 3, "-debug", "Invalid debug mode"},
      {"and a missing one", {"-debug"}, 3, "-debug", "Invalid debug mode"},
      {"a pipe without a comma", {"-agentcom", "7"}, 6, "-agentcom", "agentCom not specified"},
      {"a pipe without our end", {"-agentcom", "0,"}, 6, "-agentcom", "agentCom not specified"},
      {"no pipe", {"-agentcom", ""}, 6, "-agentcom", "agentCom not specified"},
      {"options at the end", {"-agentcom"}, 6, "-agentcom", "agentCom not specified"},
      {"", {"-jobname"}, 6, "-jobname", "jobName not specified"},
      {"", {"-jobrunnumber"}, 6, "-jobrunnumber", "jobRunNumber not specified"},
      {"", {"-maxlogsize"}, 6, "-maxlogsize", "maxLogSize not specified"},
      {"", {"-maxnumlogs"}, 6, "-maxnumlogs", "maxNumLogs not specified"},
      {"", {"-maxnumruns"}, 6, "-maxnumruns", "maxNumRuns not specified"},
      {"", {"-maxnumdays"}, 6, "-maxnumdays", "maxNumDays not specified"},
      {"", {"-nfstimeout"}, 6, "-nfstimeout", "nfsTimeout not specified"},
      {"", {"-serverip"}, 6, "-serverip", "ServerIp not specified"},
      {"", {"-servername"}, 6, "-servername", "ServerName not specified"},
      {"", {"-serverport"}, 6, "-serverport", "ServerPort not specified"},
      {"", {"-sidrunnumber"}, 6, "-sidrunnumber", "sidRunNumber not specified"},
      {"", {"-profile"}, 6, "-profile", "scan profile not specified"},
  };
  for (const auto& testCase : cases) {
    EXPECT_EQ(parse(testCase.words), testCase.code) << testCase.comment;
    EXPECT_EQ(args_->lastArgument, testCase.lastArgument);
    EXPECT_EQ(args_->errorText, testCase.errorText);
    EXPECT_EQ(args_->logName + args_->resultFile + args_->traceFile, "");
  }
  EXPECT_EQ(parse({"-maxnumlogs"}), 6);
  EXPECT_EQ(args_->maxNumLogs, -1);
}

TEST_F(CmdArgsTest, OddValuesAreTakenAsTheyStand) {
  EXPECT_EQ(parse({"-maxlogsize", "0", "-jobname", "\"", "-serverport", "none", "-serverip", ""}), 0);
  EXPECT_EQ(args_->maxLogSize, 1024);
  EXPECT_EQ(args_->jobName, "");
  EXPECT_EQ(args_->serverPort, 0);
  EXPECT_THAT(args_->serverIPList, IsEmpty());
  EXPECT_EQ(parse({"-jobname", "\"daily", "-serverip", "a__b"}), 0);
  EXPECT_EQ(args_->jobName, "dail");  // the last character goes whatever it is
  EXPECT_THAT(args_->serverIPList, ElementsAre("a", "", "b"));
}

TEST_F(CmdArgsTest, TheAgentsEndOfThePipeIsClosedAndOursIsKeptFromChildren) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  EXPECT_EQ(parse({"-agentcom", std::to_string(ends[0]) + "," + std::to_string(ends[1])}), 0);
  EXPECT_EQ(args_->agentCom, ends[1]);
  EXPECT_EQ(::fcntl(ends[0], F_GETFD), -1);
  EXPECT_EQ(::fcntl(ends[1], F_GETFD), FD_CLOEXEC);

  // A number that nobody opened is not kept: some file of ours would get it.
  ::close(ends[1]);
  EXPECT_EQ(parse({"-agentcom", "0," + std::to_string(ends[1])}), 0);
  EXPECT_EQ(args_->agentCom, -1);
  EXPECT_EQ(parse({"-agentcom", "0,0"}), 0);
  EXPECT_EQ(args_->agentCom, -1);
}

TEST_F(CmdArgsTest, VersionIsSeenWithAndWithoutParsing) {
  EXPECT_EQ(parse({"-VERSION"}), 0);
  EXPECT_TRUE(args_->wantsVersion());
  EXPECT_EQ(parse({"-version", "-jobname", "x"}), 3);
  EXPECT_TRUE(args_->wantsVersion());
  EXPECT_EQ(parse({"-jobname", "-version"}), 0);
  EXPECT_FALSE(args_->wantsVersion());

  CommandLine version({"scan", "-version"});
  EXPECT_TRUE(version.args().wantsVersion());
  CommandLine scan({"scan", "-scan", "-version"});
  EXPECT_FALSE(scan.args().wantsVersion());
  CommandLine nothing({});
  EXPECT_FALSE(nothing.args().wantsVersion());
}

TEST_F(CmdArgsTest, AFirstScanWritesToTheAgentsNumberedLog) {
  EXPECT_EQ(
      parse({"-jobname", "InitialFSScan7", "-jobrunnumber", "1", "-sidrunnumber", "2", "-debug", "MAX"}), 0);
  EXPECT_TRUE(args_->isInitialScan());
  EXPECT_EQ(args_->logName, install() + "/log/agent_000000.log");
  EXPECT_EQ(args_->traceFile, install() + "/log/scan_000000.trace");
  EXPECT_EQ(args_->resultFile, install() + "/output/InitialFSScan7.0002_scan.00000001.dat");

  EXPECT_EQ(parse({"-jobname", "InitialFSSca"}), 0);
  EXPECT_FALSE(args_->isInitialScan());
}

TEST_F(CmdArgsTest, LogsAndTracesArePurgedByTheSameRule) {
  for (const char* extension : {".log", ".trace"}) {
    for (int sid = 1; sid <= 3; ++sid) {
      directory_.file("log/" + LogUtil::runFileName({"daily", sid, 1}, "scan", extension));
    }
  }
  EXPECT_EQ(parse({"-jobname", "daily", "-jobrunnumber", "1", "-sidrunnumber", "4", "-maxnumruns", "2",
                   "-debug", "MIN"}),
            0);
  EXPECT_THAT(directory_.names("log"),
              UnorderedElementsAre("daily.0003_scan.00000001.log", "daily.0003_scan.00000001.trace"));
}

TEST_F(CmdArgsTest, TheInstallLocationFollowsFromTheProgramsPath) {
  const std::string oldDirectory = std::filesystem::current_path();
  const char* oldPath = std::getenv("PATH");
  const std::string keptPath = oldPath == nullptr ? "" : oldPath;
  const std::string program = directory_.file("bin/scan");
  ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
  directory_.file("plain/bin/scan");                               // not executable
  std::filesystem::create_directories(directory_ / "first/scan");  // a directory
  std::filesystem::current_path(install());
  const std::string here = std::filesystem::current_path();

  const struct {
    std::string program;
    std::string path;
    std::string installLocation;
  } cases[] = {
      {"/opt/agent/bin/scan", "", "/opt/agent"},
      {"/opt/./agent/x/../bin//scan", "", "/opt/agent"},
      {"/../opt/bin/scan", "", "/opt"},
      {"/opt/agent/bin2/scan", "", ""},  // exactly "bin"
      {"/opt/sbin/scan", "", ""},
      {"/opt/agent/scan", "", ""},
      {"/scan", "", ""},
      {"/", "", ""},
      {"", "", ""},
      {"bin/scan", "", here},
      {"./bin/scan", "", here + "/."},            // cut as it stands
      {"./bin/x/binary", "", here + "/./bin/x"},  // the last one counts, wherever it stands
      {"./scan", "", ""},
      {"scan", install() + "/first:" + install() + "/plain/bin:" + install() + "/bin", install()},
      {"scan", "bin", here},
      {"scan", install() + "/plain/bin:", ""},
      {"scan", "", ""},
  };
  for (const auto& testCase : cases) {
    ::setenv("PATH", testCase.path.c_str(), 1);
    CommandLine line({testCase.program});
    CmdArgs args = line.args();
    EXPECT_EQ(args.getInstallLocation(), testCase.installLocation)
        << testCase.program << " " << testCase.path;
  }
  ::setenv("PATH", keptPath.c_str(), 1);
  std::filesystem::current_path(oldDirectory);

  CommandLine nowhere({"/scan"});
  CmdArgs args = nowhere.args();
  EXPECT_EQ(args.parse(), 59);
  EXPECT_EQ(args.errorText, "Unable to determine install location\n");
  CommandLine nothing({});
  EXPECT_EQ(nothing.args().parse(), 59);
}

}  // namespace
}  // namespace agent::test
