#include "definition/ScandefRun.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "Common/LogUtil.h"
#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Common/unix/psmsgutil.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/NumberText.h"
#include "report/ScanreportCommand.h"

namespace agent::scandef {

namespace {

namespace files = std::filesystem;

constexpr int NOT_STARTED = 1;
constexpr int COMPLETE = 0;  // of the job
constexpr int SOMETHING_GIVEN_UP = 4;
constexpr int SIGNAL_BASE = 128;  // a shell's code for a program that a signal has ended, and its number
constexpr size_t LONGEST_REPORT = 50;

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

/// Where this program is installed: what stands in front of its bin directory.
files::path ownInstall() {
  std::error_code error;
  return files::read_symlink("/proc/self/exe", error).parent_path().parent_path();
}

bool isWritable(const files::path& directory) {
  return sys.access(directory.c_str(), W_OK | X_OK) == 0;
}

/// A user's place for what programs keep: XDG_STATE_HOME, which is below the home directory unless it is set.
files::path userInstall() {
  const std::string state = environment("XDG_STATE_HOME");
  const std::string home = environment("HOME");
  if (state.empty() && home.empty())
    throw std::runtime_error("--run: there is no place for its files: name one with --install");
  return (state.empty() ? files::path(home) / ".local/state" : files::path(state)) / "scan";
}

/// The install location to scan with, with the directories that a job needs. One that has no programs of its
/// own gets links to those beside this one.
std::string installFor(const Request& request) {
  const files::path programs = ownInstall();
  const bool isOwnReady =
      isWritable(programs / "input") && isWritable(programs / "output") && isWritable(programs / "log");
  const files::path tree = !request.install.empty() ? files::path(request.install)
                           : isOwnReady             ? programs
                                                    : userInstall();
  for (const char* part : {"input", "output", "log"}) files::create_directories(tree / part);
  if (!files::exists(tree / "bin/scan")) {
    for (const char* part : {"bin", "nls"}) {
      files::remove(tree / part);
      files::create_directory_symlink(programs / part, tree / part);
    }
  }
  if (!files::exists(tree / "bin/scan"))
    throw std::runtime_error("--run: there is no " + shown((tree / "bin/scan").string()));
  return files::absolute(tree).string();
}

/// A number of a run that no result has yet.
int32_t nextRun(const files::path& output, const Request& request) {
  const std::string front = request.definition.jobName + ".";
  int32_t highest = 0;
  std::error_code error;
  for (const files::directory_entry& entry : files::directory_iterator(output, error)) {
    // JOB.SSSS_scan.RRRRRRRR.dat
    const std::string name = entry.path().stem().string();
    if (!name.starts_with(front)) continue;
    const auto number = wholeNumber<int32_t>(name.substr(name.rfind('.') + 1));
    highest = std::max(highest, number.value_or(0));
  }
  return highest + 1;
}

volatile sig_atomic_t jobToStop = 0;

// The job ends in order when it is told to by SIGTERM, and unlocks its file systems.
void tellJob(int) {
  if (jobToStop > 0) (void)sys.kill(static_cast<pid_t>(jobToStop), SIGTERM);
}

/// Runs a program in the foreground; an interrupt from the keyboard stops it in order.
/// @return its exit code, or that of a shell for a signal
int runInForeground(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  (void)std::signal(SIGINT, SIG_IGN);  // which the job inherits: it hears of it by SIGTERM
  pid_t job = 0;
  if (const int error = sys.posix_spawn(&job, arguments[0], arguments.data(), environ))
    throw std::runtime_error(shown(words[0]) + " can't be started: " + getSystemErrorMessage(error));
  jobToStop = job;
  (void)std::signal(SIGINT, tellJob);
  (void)std::signal(SIGTERM, tellJob);
  int status = 0;
  (void)sys.waitpid(job, &status, 0);
  jobToStop = 0;
  (void)std::signal(SIGINT, SIG_DFL);
  (void)std::signal(SIGTERM, SIG_DFL);
  return WIFEXITED(status) ? WEXITSTATUS(status) : SIGNAL_BASE + WTERMSIG(status);
}

/// The job's own words for what it couldn't do, and where they stand.
void tellWhatWentWrong(int code, const std::string& log) {
  constexpr size_t SHOWN = 5;
  std::cerr << "scandef: the scan ended with " << code << "; scan(1) says what that means. Its log is "
            << safeText(log, Backslash::KEPT) << "\n";
  std::ifstream lines(log);
  size_t shownLines = 0;
  for (std::string line; shownLines < SHOWN && std::getline(lines, line);) {
    // "11/25/2026 23:39:46.480 STA0097E Unable to ...": errors and warnings alone.
    constexpr size_t CODE = 24, KIND = CODE + 7;
    const bool isMessage = line.size() > KIND + 1 && line[KIND + 1] == ' ' && line[CODE - 1] == ' ';
    if (!isMessage || (line[KIND] != 'E' && line[KIND] != 'W')) continue;
    std::cerr << "  " << safeText(line.substr(CODE), Backslash::KEPT) << "\n";
    ++shownLines;
  }
  if (::geteuid() != 0)
    std::cerr << "scandef: what an ordinary user can't read, or a device that can't be opened, takes root: "
                 "sudo scandef ...\n";
}

/// As long as the longest list, in reason.
size_t rowsFor(const Request& request) {
  if (request.rows > 0) return request.rows;
  size_t rows = 10;
  for (const Statistic& statistic : request.definition.statistics) {
    for (const StatisticOption& option : STATISTIC_OPTIONS) {
      if (!option.isList()) continue;
      rows = std::max(rows, std::min(wholeNumber<size_t>(statistic[option.tag]).value_or(0), LONGEST_REPORT));
    }
  }
  return rows;
}

}  // namespace

void writeFile(const std::string& path, const std::string& text) {
  errno = 0;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file)
    throw std::runtime_error("can't write the file " + shown(path) + ": " + getSystemErrorMessage(errno));
}

int runScan(const Request& request, const std::string& text) {
  const std::string& job = request.definition.jobName;
  const std::string below = request.server.empty() ? "" : request.server + "/";
  std::string install, result;
  int code = NOT_STARTED;
  try {
    install = installFor(request);
    const files::path output = files::path(install) / "output" / below;
    const int32_t run = request.jobRunNumber > 0 ? request.jobRunNumber : nextRun(output, request);
    const std::string input = definitionPath(install, request.server, job, request.sidRunNumber, run);
    files::create_directories(files::path(input).parent_path());
    writeFile(input, text);
    result = (output / files::path(input).filename()).string();
    std::vector<std::string> words = {install + "/bin/scan",
                                      "-scan",
                                      "-jobname",
                                      job,
                                      "-sidrunnumber",
                                      std::to_string(request.sidRunNumber),
                                      "-jobrunnumber",
                                      std::to_string(run)};
    if (!request.server.empty()) words.insert(words.end(), {"-servername", request.server});
    code = runInForeground(std::move(words));
  } catch (const std::exception& error) {
    std::cerr << "scandef: " << error.what() << "\n";
    return NOT_STARTED;
  }
  if (code != COMPLETE) {
    const files::path log = files::path(install) / "log" / below / files::path(result).stem();
    tellWhatWentWrong(code, log.string() + ".log");
  }
  if (code != COMPLETE && code != SOMETHING_GIVEN_UP) return code;
  std::vector<std::string> report = {"--rows", std::to_string(rowsFor(request)), result};
  report.insert(report.end(), request.reportOptions.begin(), request.reportOptions.end());
  (void)tools::scanreport(report, std::cout, std::cerr, tools::Screen::ofStandardOutput());
  std::cerr << "Result: " << safeText(result, Backslash::KEPT) << "\n";
  return code;
}

}  // namespace agent::scandef
