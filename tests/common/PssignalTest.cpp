#include "Common/unix/pssignal.h"

#include <gtest/gtest.h>

#include "Common/unix/CmdExecer.h"
#include "support/ChildProcess.h"

namespace agent::test {

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

TEST(PssignalTest, WhatTheAgentHadSetOtherwiseIsPutRightForTheJobAlone) {
  const pid_t job = startChild([] {
    ::signal(SIGCHLD, SIG_IGN);
    ::signal(SIGTTOU, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
    installSignalHandling();
    ::raise(SIGTERM);
    if (!stopRequested()) return 1;
    if (::getpgrp() != ::getpid()) return 2;
    CmdExecer command({"(grep SigIgn /proc/self/status; exit 42)"});
    if (command.runCommand() != 42) return 3;  // the end of a child can be had
    // 1 and 13, which the job ignores for its children too, and 22; 25 has its default again.
    return command.sysOut == "SigIgn:\t0000000000201001\n" ? 0 : 4;
  });
  EXPECT_EQ(endOf(job), 0);
}

}  // namespace agent::test
