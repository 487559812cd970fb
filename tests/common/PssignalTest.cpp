#include "Common/unix/pssignal.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "common/ChildProcess.h"

namespace agent::test {
namespace {

TEST(PssignalTest, OneSigtermRequestsAStopAndNothingElse) {
  const pid_t child = startChild([] {
    installSignalHandling();
    if (stopRequested()) return 1;
    ::raise(SIGTERM);
    if (!stopRequested() || !stopRequested()) return 2;  // never cleared
    return ::getpgrp() == ::getpid() ? 0 : 3;
  });
  EXPECT_EQ(endOf(child), 0);
}

TEST(PssignalTest, TheJobOutlivesItsTerminalAndItsAgent) {
  const pid_t child = startChild([] {
    installSignalHandling();
    ::raise(SIGHUP);
    ::raise(SIGPIPE);
    return stopRequested() ? 1 : 0;
  });
  EXPECT_EQ(endOf(child), 0);
}

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
    return endOf(startChild([] { return 42; })) == 42 ? 0 : 2;
  });
  EXPECT_EQ(endOf(child), 0);
}

TEST(PssignalTest, SigintEndsTheJobAlthoughTheHandlerKnowsIt) {
  const pid_t child = startChild([] {
    installSignalHandling();
    ::raise(SIGINT);
    return 0;
  });
  EXPECT_EQ(endOf(child), -SIGINT);

  const pid_t handler = startChild([] {
    unxInterruptHandler(SIGUSR1);
    if (stopRequested()) return 1;
    unxInterruptHandler(SIGINT);
    return stopRequested() ? 0 : 2;
  });
  EXPECT_EQ(endOf(handler), 0);
}

}  // namespace
}  // namespace agent::test
