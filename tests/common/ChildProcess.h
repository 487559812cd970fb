#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace agent::test {

/// Runs `work` in a process of its own. @return its process id
template <typename Work>
pid_t startChild(Work work) {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(work());
  return pid;
}

/// Waits for it. @return its exit status, or minus the signal that ended it
inline int endOf(pid_t pid) {
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid) return -1000;
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace agent::test
