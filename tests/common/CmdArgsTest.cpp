#include "Common/CmdArgs.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>

#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

class CmdArgsTest : public testing::Test {
 protected:
  /// The arguments of a command line, which lives until the next one.
  CmdArgs& commandLine(std::vector<std::string> words) {
    words_ = std::move(words);
    pointers_.clear();
    for (std::string& word : words_) pointers_.push_back(word.data());
    pointers_.push_back(nullptr);
    args_ =
        std::make_unique<CmdArgs>(static_cast<int>(words_.size()), pointers_.data(), CmdArgs::SCAN_PROGRAM);
    return *args_;
  }
  /// Parses "<install>/bin/scan words...".
  int parse(std::vector<std::string> words) {
    words.insert(words.begin(), directory_ / "bin/scan");
    return commandLine(std::move(words)).parse();
  }

  const std::string& install() const { return directory_.path(); }

  TemporaryDirectory directory_;
  std::vector<std::string> words_;
  std::vector<char*> pointers_;
  std::unique_ptr<CmdArgs> args_;
};

TEST_F(CmdArgsTest, OddValuesAreTakenAsTheyStand) {
  EXPECT_EQ(parse({"-SCAN", "-maxLogSize", "0", "-jobName", "\"", "-serverPort", "none", "-serverIP", ""}),
            0);
  EXPECT_EQ(args_->commandWord, "SCAN");
  EXPECT_EQ(args_->maxLogSize, 1024);
  EXPECT_EQ(args_->jobName, "");
  EXPECT_EQ(args_->serverPort, 0);
  EXPECT_TRUE(args_->serverIPList.empty());
  EXPECT_EQ(parse({"-jobname", "\"daily", "-serverip", "a__b", "-serverport", "9549x", "-agentcom", "0,0"}),
            0);
  EXPECT_EQ(args_->jobName, "dail");  // the last character goes whatever it is
  EXPECT_THAT(args_->serverIPList, ::testing::ElementsAre("a", "", "b"));
  EXPECT_EQ(args_->serverPort, 9549);
  EXPECT_EQ(args_->agentCom, -1);
  EXPECT_EQ(parse({"-jobname", "-version", "-profile", "\"quick\"", "-nfstimeout", "-30"}), 0);
  EXPECT_FALSE(args_->wantsVersion());
  EXPECT_EQ(args_->scanProfile, "quick");
  EXPECT_EQ(args_->nfsTimeout, -30);
  EXPECT_EQ(parse({"-agentcom", ""}), 6);
  EXPECT_EQ(parse({"-"}), 3);
}

TEST_F(CmdArgsTest, AFirstScanIsToldByTheStartOfItsName) {
  EXPECT_EQ(parse({"-jobname", "InitialFSScan7", "-jobrunnumber", "1", "-debug", "MAX"}), 0);
  EXPECT_EQ(args_->logName, install() + "/log/agent_000000.log");
  EXPECT_EQ(args_->traceFile, install() + "/log/scan_000000.trace");
  EXPECT_EQ(parse({"-jobname", "InitialFSSca"}), 0);
  EXPECT_FALSE(args_->isInitialScan());
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

  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"/opt/./agent/x/../bin//scan", "", "/opt/agent"},
      {"/../opt/bin/scan", "", "/opt"},
      {"/opt/agent/bin2/scan", "", ""},  // exactly "bin"
      {"", "", ""},
      {"./bin/scan", "", here + "/."},            // cut as it stands
      {"./bin/x/binary", "", here + "/./bin/x"},  // the last one counts, wherever it stands
      {"scan", install() + "/first:" + install() + "/plain/bin:" + install() + "/bin", install()},
      {"scan", "bin", here},
      {"scan", install() + "/plain/bin:", ""},
  };
  for (const auto& [called, path, location] : cases) {
    ::setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(commandLine({called}).getInstallLocation(), location) << called << " " << path;
  }
  ::setenv("PATH", keptPath.c_str(), 1);
  std::filesystem::current_path(oldDirectory);

  EXPECT_EQ(commandLine({"/scan"}).parse(), 59);
  EXPECT_EQ(commandLine({}).parse(), 59);
  EXPECT_FALSE(args_->wantsVersion());
}

}  // namespace
}  // namespace agent::test
