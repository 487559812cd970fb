#pragma once

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace agent::test {

/// No signal is ignored and none blocked; handlers, which sanitizers have, stay. Async-signal-safe.
inline void setDefaultSignals() {
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action = {};
    if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) continue;
    action.sa_handler = SIG_DFL;
    ::sigaction(number, &action, nullptr);
  }
  sigset_t none;
  sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

/// What a process that a test has forked does first: signals are as a program expects them, and it ends with
/// its test, so that none is left running behind a test that was killed. Async-signal-safe.
inline void beginChild() {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  setDefaultSignals();
}

/// Runs `work` in a process of its own. @return its process id
template <typename Work>
pid_t startChild(Work work) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  beginChild();
  ::_exit(work());
}

/// Waits for it. @return its exit status, or minus the signal that ended it
inline int endOf(pid_t pid) {
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid) return -1000;
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace agent::test
