#include "Common/unix/psnautil.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>

#include "Common/unix/CmdExecer.h"
#include "Common/unix/psmsgutil.h"
#include "Common/unix/pssignal.h"
#include "support/ChildProcess.h"
#include "support/RefusedCalls.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

class PsnautilTest : public testing::Test {
 protected:
  /// Runs a program and gives what it wrote; its exit code is kept in exitCode_.
  std::string outputOf(const std::vector<std::string>& argv, bool quoteArgs = true,
                       const std::vector<std::string>* env = nullptr) {
    ChildRecord child;
    child.stdoutFile = directory_ / "out";
    child.stderrFile = directory_ / "err";
    EXPECT_EQ(SpawnExternalProgram(argv, child, true, quoteArgs, env), 0);
    EXPECT_EQ(WaitForExternalProgram(child, exitCode_, 0), 0);
    return content(child.stdoutFile);
  }

  std::string script(const std::string& name, const std::string& text) const {
    const std::string path = directory_.file(name, "#!/bin/sh\n" + text + "\n");
    ::chmod(path.c_str(), 0755);
    return path;
  }

  TemporaryDirectory directory_;
  int exitCode_ = -1;
};

TEST_F(PsnautilTest, FileOperationsTakeOffQuotes) {
  EXPECT_EQ(psMkdir("\"" + (directory_ / "a/b//c/") + "\""), 0);
  EXPECT_EQ(psMkdir(directory_ / "a/b"), 0);  // exists
  EXPECT_TRUE(psFileExist("\"" + (directory_ / "a/b/c") + "\""));
  const std::string file = directory_.file("a/file");
  EXPECT_EQ(psMkdir(file + "/b"), -1);
  EXPECT_EQ(getSystemErrorMessage(), "Not a directory");
  EXPECT_EQ(psRemoveFile("\"" + file + "\""), 0);
  EXPECT_EQ(psRemoveFile(file), -1);
  EXPECT_FALSE(psFileExist("\"\""));
}

TEST_F(PsnautilTest, AProgramTextWithASemicolonIsShellText) {
  EXPECT_EQ(outputOf({"printf a; printf", "b"}), "ab");
  EXPECT_EQ(outputOf({"printf", "$((1+1))", ";printf", "c"}, false), "2c");
  const std::string quoted = script("semi\";\"colon", "printf d");  // inside double quotes it is none
  EXPECT_EQ(outputOf({quoted}), "d");
  const std::vector<std::string> environment{"COLOUR=blue"};
  EXPECT_EQ(outputOf({"printf \"$COLOUR$HOME\";"}, true, &environment), "blue");
}

TEST_F(PsnautilTest, TheEndOfAChildIsDecoded) {
  outputOf({script("se ven's", "exit 7"), "", "a b"});
  EXPECT_EQ(exitCode_, 7);
  outputOf({script("killed", "kill -USR1 $$")});
  EXPECT_EQ(exitCode_, SIGUSR1);
  outputOf({directory_ / "missing"});
  EXPECT_EQ(exitCode_, 127);
  outputOf({directory_.file("plain")});
  EXPECT_EQ(exitCode_, 126);

  ChildRecord unwritable;
  unwritable.stdoutFile = unwritable.stderrFile = directory_ / "no/such/directory";
  EXPECT_EQ(SpawnExternalProgram({"true"}, unwritable, true), 0);
  EXPECT_EQ(WaitForExternalProgram(unwritable, exitCode_, 0), 0);
  EXPECT_EQ(exitCode_, 127);
}

TEST_F(PsnautilTest, AChildOverItsTimeIsKilledItself) {
  ChildRecord child;
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(SpawnExternalProgram({"sleep", "100"}, child), 0);
  EXPECT_EQ(WaitForExternalProgram(child, exitCode_, 1), 68);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(elapsed.count(), 1.0);
  EXPECT_LT(elapsed.count(), 10.0);
  EXPECT_EQ(exitCode_, -1);
  EXPECT_FALSE(psIsProcessRunning(child.pid));  // sleep, not the shell that started it
  EXPECT_EQ(WaitForExternalProgram(child, exitCode_, 1), 74);
  EXPECT_EQ(WaitForExternalProgram(ChildRecord{}, exitCode_, 0), 74);
}

TEST_F(PsnautilTest, TheWaitEndsWithTheChildAtOnce) {
  RefusedCalls calls;
  for (const bool descriptors : {true, false}) {
    if (!descriptors) calls.refuse<&Calls::pidfd_open>(ENOSYS);
    auto shortest = std::chrono::steady_clock::duration::max();
    for (int i = 0; i < 3; ++i) {
      const auto start = std::chrono::steady_clock::now();
      ChildRecord child;
      child.pid = startChild([] { return ::usleep(240'000); });
      EXPECT_EQ(WaitForExternalProgram(child, exitCode_, 20), 0);
      shortest = std::min(shortest, std::chrono::steady_clock::now() - start);
    }
    EXPECT_LT(shortest, std::chrono::milliseconds(290)) << descriptors;
  }
}

TEST_F(PsnautilTest, ACommandsOutputIsGathered) {
  CmdExecer command({"(printf 'one\\ntwo'; echo bad 1>&2; exit 3)"}, directory_ / "it's out",
                    directory_ / "err");
  command.removeOut = false;
  EXPECT_EQ(command.runCommand(), 3);
  EXPECT_EQ(command.sysOut, "one\ntwo\n");
  EXPECT_EQ(command.sysErr, "bad\n");
  const pid_t job = startChild([this] {
    ::setenv("TMPDIR", directory_.path().c_str(), 1);
    const CmdExecer neverRun({"true"});
    return static_cast<int>(directory_.names().size());
  });
  EXPECT_EQ(endOf(job), 3);
  EXPECT_EQ(directory_.names(), std::set<std::string>{"it's out"});

  EXPECT_EQ(CmdExecer({}).runCommand(), -1);
}

}  // namespace
}  // namespace agent::test
