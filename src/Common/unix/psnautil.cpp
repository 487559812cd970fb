#include "Common/unix/psnautil.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string_view>

#include "Common/unix/ChildSide.h"
#include "Common/unix/FileDescriptor.h"
#include "QLMlib/common/unx/DirectoryPath.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/NumberText.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

std::string withoutQuotes(const std::string& path) {
  const bool quoted = path.size() > 2 && path.front() == '"' && path.back() == '"';
  return quoted ? path.substr(1, path.size() - 2) : path;
}

// --- starting a child -------------------------------------------------------------------------------------

bool hasSemicolonOutsideQuotes(const std::string& text) {
  bool insideQuotes = false;
  for (const char c : text) {
    if (c == '"') insideQuotes = !insideQuotes;
    if (c == ';' && !insideQuotes) return true;
  }
  return false;
}

/// True when the text is one command, so that the shell may become it.
bool isOneCommand(const std::vector<std::string>& argv, bool quoteArgs) {
  if (hasSemicolonOutsideQuotes(argv.front())) return false;
  return quoteArgs || std::all_of(argv.begin() + 1, argv.end(), [](const std::string& argument) {
           return argument.find_first_of(";&|\n") == std::string::npos;
         });
}

std::string commandText(const std::vector<std::string>& argv, bool quoteArgs) {
  const std::string& program = argv.front();
  std::string text = hasSemicolonOutsideQuotes(program) ? program : shellQuoted(program);
  for (size_t i = 1; i < argv.size(); ++i) {
    text += ' ';
    text += quoteArgs ? shellQuoted(argv[i]) : argv[i];
  }
  // "exec" makes the program itself the child that is waited for, and killed when its time is up.
  return isOneCommand(argv, quoteArgs) ? "exec " + text : text;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

void traceFailedStart(const char* file, int error) {
  if (error == ENOENT) {
    TRACE(TR_MIN, "File '%s' not found by execv().\n", file);
  } else if (error == EACCES) {
    TRACE(TR_MIN, "Unable to access file '%s'.\n", file);
  } else {
    TRACE(TR_MIN, "Unexpected error invoking program, errno = %d.\n", error);
  }
}

/// Starts "/bin/sh -c text".
/// @param program the path of the program that the text names, or null where that isn't known. What can't be
///     started is told by the child's exit code and the trace: the shell would complain on standard error,
///     and wait there for a reader that may have stopped reading.
/// @return 0, or errno of what kept the child from starting
int startShell(const std::string& text, ChildRecord& child, bool redirect,
               const std::vector<std::string>* env, const char* program = nullptr) {
  std::vector<std::string> localArgv{"/bin/sh", "-c", text};
  for (size_t i = 0; i < localArgv.size(); ++i) {
    TRACE(TR_MAX, "localArgv[%d] = %s\n", static_cast<int>(i), localArgv[i].c_str());
  }
  if (redirect && child.stdoutFile.empty()) child.stdoutFile = psGetTempFileName();
  if (redirect && child.stderrFile.empty()) child.stderrFile = psGetTempFileName();

  // All that the child needs is made here, before the fork. What went wrong there it tells through a pipe
  // that exec closes.
  const std::vector<char*> arguments = pointersTo(localArgv);
  std::vector<std::string> environmentTexts = env == nullptr ? std::vector<std::string>{} : *env;
  const std::vector<char*> environment = pointersTo(environmentTexts);
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
  if (const int failure = openPipe(readEnd, writeEnd); failure != 0) return failure;
  sigset_t all;
  sigset_t oldMask;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &oldMask);

  const pid_t pid = sys.fork();
  if (pid == 0) {
    becomeChild({.arguments = arguments.data(),
                 .environment = env == nullptr ? nullptr : environment.data(),
                 .program = program,
                 .stdoutFile = redirect ? child.stdoutFile.c_str() : nullptr,
                 .stderrFile = redirect ? child.stderrFile.c_str() : nullptr,
                 .signalMask = oldMask,
                 .failurePipe = writeEnd.get()});
  }
  const int forkError = errno;
  ::pthread_sigmask(SIG_SETMASK, &oldMask, nullptr);
  if (pid < 0) {
    TRACE(TR_MIN, "fork() failed, errno: %d\n", forkError);
    return forkError;
  }
  TRACE(TR_MAX, "fork() success, pid: %d\n", static_cast<int>(pid));
  child.pid = pid;
  writeEnd.close();
  int startError = 0;
  const ssize_t count = sys.read(readEnd.get(), &startError, sizeof startError);
  if (count == sizeof startError) traceFailedStart(program != nullptr ? program : arguments[0], startError);
  return 0;
}

// --- waiting for it ---------------------------------------------------------------------------------------

using Clock = std::chrono::steady_clock;

enum class Wait { ENDED, TIME_UP, FAILED };

/// Sleeps until a child ends. No alarm: its signal could come before the wait begins, and it belongs to the
/// whole process.
///
/// A process descriptor tells the end at once. Linux before 5.3 has none, and a sandbox may refuse it: then
/// it is the child's signal that is waited for, blocked on this thread for as long. A thread of the process
/// that didn't block it could take it away; ours all do.
class ChildEnd {
 public:
  explicit ChildEnd(pid_t pid) : process_(sys.pidfd_open(pid, 0)) {
    sigemptyset(&signal_);
    if (!process_) sigaddset(&signal_, SIGCHLD);
    ::pthread_sigmask(SIG_BLOCK, &signal_, &maskBefore_);
  }
  ~ChildEnd() { ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr); }
  ChildEnd(const ChildEnd&) = delete;
  ChildEnd& operator=(const ChildEnd&) = delete;

  /// Returns at the child's end, when time is up, or without a reason.
  void await(Clock::duration limit) const {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const timespec time{static_cast<time_t>(seconds.count()), static_cast<long>((limit - seconds).count())};
    pollfd end{process_.get(), POLLIN, 0};
    if (process_) {
      sys.ppoll(&end, 1, &time, nullptr);
    } else {
      sys.sigtimedwait(&signal_, nullptr, &time);
    }
  }

 private:
  FileDescriptor process_;
  sigset_t signal_;
  sigset_t maskBefore_;
};

Wait waitUntil(pid_t pid, int& status, Clock::time_point deadline) {
  const ChildEnd end(pid);
  for (;;) {
    const pid_t result = sys.waitpid(pid, &status, WNOHANG);
    if (result == pid) return Wait::ENDED;
    if (result < 0) return Wait::FAILED;
    const auto left = deadline - Clock::now();
    if (left <= Clock::duration::zero()) return Wait::TIME_UP;
    end.await(left);
  }
}

Wait waitWithoutLimit(pid_t pid, int& status) {
  return sys.waitpid(pid, &status, 0) < 0 ? Wait::FAILED : Wait::ENDED;
}

int killChild(pid_t pid) {
  if (sys.kill(pid, SIGKILL) != 0) {
    TRACE(TR_MIN, "Failed to send SIGKILL.\n");
    return -1;
  }
  TRACE(TR_MIN, "SIGKILL sent\n");
  // Not for ever: a process inside a dead mount does not end even so.
  int status;
  waitUntil(pid, status, Clock::now() + std::chrono::seconds(1));
  return TIME_LIMIT_PASSED;
}

/// What /proc tells of a process from its state letter on; empty where it tells nothing. See proc(5), stat.
std::string processStatus(pid_t pid) {
  const std::string line = beginningOf("/proc/" + std::to_string(pid) + "/stat");
  // "17 (name) S ...": the name may hold anything, so the last parenthesis counts.
  const size_t parenthesis = line.rfind(')');
  if (parenthesis == std::string::npos || parenthesis + 2 >= line.size()) return {};
  return line.substr(parenthesis + 2);
}

}  // namespace

int psRemoveFile(const std::string& path) {
  TRACE_SCOPE("psRemoveFile()");
  return sys.unlink(withoutQuotes(path).c_str());
}

bool psFileExist(const std::string& path) {
  TRACE_SCOPE("psFileExist()");
  const std::string cleanPath = withoutQuotes(path);
  struct stat status;
  const bool exists = sys.stat(cleanPath.c_str(), &status) == 0;
  if (exists) {
    TRACE(TR_MAX, "File %s exists\n", cleanPath.c_str());
  } else {
    TRACE(TR_MAX, "Files %s does not exists\n", cleanPath.c_str());
  }
  return exists;
}

int psMkdir(const std::string& path) {
  TRACE_SCOPE("psMkdir()");
  const int error = makeDirectoryPath(withoutQuotes(path));
  if (error == 0) return 0;
  errno = error;
  return -1;
}

std::string psGetTempFileName() {
  const char* directory = std::getenv("TMPDIR");
  std::string name = directory == nullptr || *directory == '\0' ? "/tmp" : directory;
  name += "/scanXXXXXX";
  const FileDescriptor file(sys.mkostemp(name.data(), O_CLOEXEC));
  return file ? name : std::string();
}

std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'') {
      quoted += "'\\''";  // ends the quotes, gives one quote, begins anew
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

int SpawnExternalProgram(const std::vector<std::string>& argv, ChildRecord& child, bool redirect,
                         bool quoteArgs, const std::vector<std::string>* env) {
  TRACE_SCOPE("SpawnExternalProgram()");
  if (argv.empty()) return EINVAL;
  const std::string& program = argv.front();
  // Without a slash the shell searches for it; with a semicolon it is no name.
  const bool isPath = program.find('/') != std::string::npos && !hasSemicolonOutsideQuotes(program);
  return startShell(commandText(argv, quoteArgs), child, redirect, env, isPath ? program.c_str() : nullptr);
}

int runShell(const std::string& commandText) {
  ChildRecord child;
  int status = 0;
  errno = startShell(commandText, child, false, nullptr);
  return errno == 0 && waitWithoutLimit(child.pid, status) == Wait::ENDED ? status : -1;
}

int decodeExitStatus(int status) {
  return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

int WaitForExternalProgram(const ChildRecord& child, int& exitCode, int seconds) {
  TRACE_SCOPE("WaitForExternalProgram()");
  if (child.pid <= 0) return WAIT_FAILED;  // waitpid would take it for "any child"
  int status = 0;
  const Wait wait = seconds > 0 ? waitUntil(child.pid, status, Clock::now() + std::chrono::seconds(seconds))
                                : waitWithoutLimit(child.pid, status);
  if (wait == Wait::TIME_UP) return killChild(child.pid);
  if (wait == Wait::FAILED) return WAIT_FAILED;
  exitCode = decodeExitStatus(status);
  TRACE(TR_MAX, "exit code:%d\n", exitCode);
  return 0;
}

bool psIsProcessRunning(pid_t pid) {
  if (pid <= 0) return false;  // kill(2) would ask for a whole group
  if (sys.kill(pid, 0) != 0 && errno != EPERM) return false;
  const std::string status = processStatus(pid);
  return !status.starts_with('Z') && !status.starts_with('X');
}

uint64_t psProcessStart(pid_t pid) {
  constexpr int FIELDS_BEFORE = 19;  // of the line's 52 it is the 22nd, and the state the third
  const std::string status = processStatus(pid);
  std::string_view rest = status;
  for (int i = 0; i < FIELDS_BEFORE; ++i) {
    const size_t blank = rest.find(' ');
    if (blank == std::string_view::npos) return 0;
    rest.remove_prefix(blank + 1);
  }
  return wholeNumber<uint64_t>(firstWord(rest)).value_or(0);
}

}  // namespace agent
