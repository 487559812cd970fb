#include "Common/unix/pssignal.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "Common/unix/CmdExecer.h"
#include "common/ChildProcess.h"

namespace agent::test {
namespace {

TEST(PssignalTest, AStopInterruptsNoSystemCall) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t child = startChild([&] {
    installSignalHandling();
    char byte = 0;
    ::write(ends[1], "r", 1);  // ready
    while (!stopRequested()) ::usleep(1000);
    return ::read(ends[0], &byte, 1) == 1 ? 0 : 1;
  });
  char byte = 0;
  ASSERT_EQ(::read(ends[0], &byte, 1), 1);
  ::kill(child, SIGTERM);
  ::usleep(20'000);
  ::kill(child, SIGTERM);  // comes while it reads
  ::usleep(20'000);
  ASSERT_EQ(::write(ends[1], "x", 1), 1);
  EXPECT_EQ(endOf(child), 0);
}

TEST(PssignalTest, WhatTheAgentHadSetOtherwiseIsPutRight) {
  const pid_t child = startChild([] {
    ::signal(SIGCHLD, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
    installSignalHandling();
    ::raise(SIGTERM);
    if (!stopRequested()) return 1;
    if (::getpgrp() != ::getpid()) return 3;
    return endOf(startChild([] { return 42; })) == 42 ? 0 : 2;
  });
  EXPECT_EQ(endOf(child), 0);
}

TEST(PssignalTest, ChildrenGetSignalsAsTheJobFoundThem) {
  const pid_t job = startChild([] {
    ::signal(SIGTTOU, SIG_IGN);
    ::signal(SIGXFSZ, SIG_DFL);
    ignoreSignalsOfWriting();
    installSignalHandling();
    CmdExecer command({"grep SigIgn /proc/self/status"});
    command.runCommand();
    // 1 and 13, which the job ignores for its children too, and 22.
    return command.sysOut == "SigIgn:\t0000000000201001\n" ? 0 : 1;
  });
  EXPECT_EQ(endOf(job), 0);
}

}  // namespace
}  // namespace agent::test
