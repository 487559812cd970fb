#include "system/Process.h"

#include <linux/close_range.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "Common/unix/FileDescriptor.h"
#include "support/ChildProcess.h"

namespace agent::test {

namespace {

/// A file without a name takes what a program prints: unlike a pipe it never fills up.
FileDescriptor captureFile() {
  return FileDescriptor(memfd_create("output", MFD_CLOEXEC));
}

std::string captured(const FileDescriptor& file) {
  std::string text(static_cast<size_t>(lseek(file.get(), 0, SEEK_END)), '\0');
  const ssize_t got = pread(file.get(), text.data(), text.size(), 0);
  text.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return text;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

/// In the child, after the fork: nothing here may allocate or return.
[[noreturn]] void become(const Launch& launch, const char* program, char** arguments, char** environment,
                         int out, int err) {
  beginChild();
  // What the tests themselves were started with is none of the program's business.
  close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  for (const auto& [here, there] : launch.handed) dup2(here, there);
  for (const int descriptor : launch.closed) close(descriptor);
  execve(program, arguments, environment);
  _exit(127);
}

}  // namespace

Outcome run(const Launch& launch) {
  std::vector<std::string> arguments{launch.program};
  arguments.insert(arguments.end(), launch.arguments.begin(), launch.arguments.end());
  std::vector<std::string> environment;
  for (const auto& [name, value] : launch.environment) environment.push_back(name + "=" + value);
  // Forces how all jobs of a run of tests read, unless a test asks for something.
  const char* const readers = std::getenv("SCAN_READ_AHEAD");
  if (readers != nullptr && !launch.environment.contains("SCAN_READ_AHEAD")) {
    environment.push_back(std::string("SCAN_READ_AHEAD=") + readers);
  }
  environment.push_back("TMPDIR=" + std::filesystem::temp_directory_path().string());
  const std::vector<char*> argv = pointers(arguments);
  const std::vector<char*> envp = pointers(environment);
  const FileDescriptor out = captureFile();
  const FileDescriptor err = captureFile();

  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error(std::string("fork: ") + strerror(errno));
  if (pid == 0) {
    become(launch, launch.program.c_str(), const_cast<char**>(argv.data()), const_cast<char**>(envp.data()),
           out.get(), err.get());
  }
  if (launch.whileRunning) launch.whileRunning(pid);

  Outcome outcome;
  const FileDescriptor end(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  pollfd ended{end.get(), POLLIN, 0};
  if (poll(&ended, 1, static_cast<int>(launch.limit.count())) == 0) {
    outcome.hung = true;
    kill(pid, SIGKILL);
  }
  int status = 0;
  if (wait4(pid, &status, 0, &outcome.usage) != pid)
    throw std::runtime_error(std::string("wait4: ") + strerror(errno));
  if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
  outcome.out = captured(out);
  outcome.err = captured(err);
  if (outcome.status == 127) throw std::runtime_error("could not start " + launch.program.string());
  return outcome;
}

std::string shell(const std::string& line) {
  Launch launch;
  launch.program = "/bin/sh";
  launch.arguments = {"-c", line};
  const Outcome outcome = run(launch);
  if (outcome.status != 0) {
    throw std::runtime_error(
        line + ": " + (outcome.err.empty() ? "failed" : outcome.err.substr(0, outcome.err.find('\n'))));
  }
  return outcome.out;
}

}  // namespace agent::test
