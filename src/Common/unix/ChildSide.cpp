#include "Common/unix/ChildSide.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "Common/unix/pssignal.h"

namespace agent {

namespace {

constexpr int NOT_STARTED = 127;
constexpr int NOT_EXECUTABLE = 126;

/// Leads standard output or error into a file.
bool redirectTo(const char* file, int standardDescriptor) {
  const int descriptor = ::open(file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (descriptor < 0) return false;
  if (descriptor == standardDescriptor) return true;
  const bool led = ::dup2(descriptor, standardDescriptor) >= 0;
  ::close(descriptor);
  return led;
}

}  // namespace

void becomeChild(const ChildStart& start) {
  if ((start.stdoutFile != nullptr && !redirectTo(start.stdoutFile, STDOUT_FILENO)) ||
      (start.stderrFile != nullptr && !redirectTo(start.stderrFile, STDERR_FILENO))) {
    ::_exit(NOT_STARTED);
  }
  restoreFoundSignals(start.signalMask);
  if (start.program != nullptr && ::access(start.program, X_OK) != 0) {
    // Neither started nor complained about.
  } else if (start.environment == nullptr) {
    ::execv(start.arguments[0], start.arguments);
  } else {
    ::execve(start.arguments[0], start.arguments, start.environment);
  }
  const int error = errno;
  [[maybe_unused]] const ssize_t told = ::write(start.failurePipe, &error, sizeof error);
  ::_exit(start.program != nullptr && error == EACCES ? NOT_EXECUTABLE : NOT_STARTED);
}

}  // namespace agent
