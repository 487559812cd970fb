#pragma once

#include <signal.h>

namespace agent {

/// What a new child needs to become another program.
struct ChildStart {
  char* const* arguments;    ///< with the path of the program to become, a shell, first
  char* const* environment;  ///< null: this process's own
  const char* program;       ///< the program that the shell is to become; null where that isn't known
  const char* stdoutFile;    ///< where its output goes; null: where this process's goes
  const char* stderrFile;
  sigset_t signalMask;  ///< of the thread that starts the child
  int failurePipe;      ///< takes errno of what kept it from starting; exec closes it
};

/// The child's side of a fork, up to exec. Another thread may have held any lock at the moment of the fork:
/// only the system's bare, async-signal-safe calls stand here (signal-safety(7)), nothing allocates, nothing
/// traces. A child that can't be started ends with the shell's own codes: 127, or 126 for a program that may
/// not be executed.
[[noreturn]] void becomeChild(const ChildStart& start);

}  // namespace agent
