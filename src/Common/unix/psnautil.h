#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace agent {

// --- File operations. Each takes off a pair of double quotes around a path longer than two characters. ---

/// unlink(2). @return 0, or -1 with the reason in errno
int psRemoveFile(const std::string& path);

/// True when the path names something that stat(2) can reach, of whatever kind.
bool psFileExist(const std::string& path);

/// Makes a directory and its missing parents. One that exists is no failure.
/// @return 0, or -1 with the reason in errno (ENOTDIR when something else bears the name)
int psMkdir(const std::string& path);

/// Creates an empty file that only this user may read, in $TMPDIR or /tmp.
/// @return its path, or empty with the reason in errno
std::string psGetTempFileName();

// --- Processes. ---

constexpr int TIME_LIMIT_PASSED = 68;  ///< the child was killed
constexpr int WAIT_FAILED = 74;

/// A child between its start and its end.
struct ChildRecord {
  pid_t pid = -1;
  std::string stdoutFile;  ///< where its output goes when redirected; empty: filled with a temporary file
  std::string stderrFile;
};

/// Starts a program through "/bin/sh -c". A program text with a ";" outside double quotes is shell text and
/// is taken as it stands; any other is the name of one program, and the child is that program, not its shell.
/// @param argv the program and its arguments, which reach it byte for byte if `quoteArgs`; otherwise they are
///     shell text
/// @param child receives the process id
/// @param redirect send the child's standard output and error to the files of `child`
/// @param env "NAME=value" texts instead of this process's environment, or null
/// @return 0 when the child was started, otherwise errno of the fork. A shell that can't be started shows as
///     the child's exit code 127.
int SpawnExternalProgram(const std::vector<std::string>& argv, ChildRecord& child, bool redirect = false,
                         bool quoteArgs = true, const std::vector<std::string>* env = nullptr);

/// system(3), for which signals in the child are none of its business: there they are as this process found
/// them.
/// @return the status as waitpid(2) has it, or -1 with the reason in errno
int runShell(const std::string& commandText);

/// Waits for the child's end.
/// @param exitCode its exit status, or the number of the signal that ended it; left alone on failure
/// @param seconds limit on the monotonic clock after which the child is killed; 0 and below: none
/// @return 0, TIME_LIMIT_PASSED, WAIT_FAILED, or -1 when the child could not be killed
int WaitForExternalProgram(const ChildRecord& child, int& exitCode, int seconds);

/// What a status of waitpid(2) or system(3) tells: the exit status or the number of the ending signal.
int decodeExitStatus(int status);

/// True when a process of this number lives. A dead one that its parent has not waited for yet doesn't.
bool psIsProcessRunning(pid_t pid);

/// When a process was started, in clock ticks since the boot: what tells it from a later one of its number.
/// @return 0 where /proc doesn't tell
uint64_t psProcessStart(pid_t pid);

/// The text between single quotes as the shell gives it back byte for byte, single quotes included.
std::string shellQuoted(const std::string& text);

}  // namespace agent
