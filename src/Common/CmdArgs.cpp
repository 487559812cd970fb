#include "Common/CmdArgs.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "Common/EntityToObjectMapper.h"
#include "Common/unix/FileDescriptor.h"
#include "QLMlib/common/unx/SystemCalls.h"

namespace agent {

namespace {

constexpr int COMMANDS = 3;  // none, scan, version
constexpr int OPTIONS = 14;
constexpr const char* COMPONENT = "scan";
constexpr const char* INITIAL_SCAN_COMPONENT = "agent";
constexpr std::string_view INITIAL_SCAN = "InitialFSScan";

/// Which option goes with which command: every one with scan, none with version.
unsigned char validScanOptions[COMMANDS][OPTIONS];

// --- handlers of commands and options ---------------------------------------------------------------------

int missing(CmdArgs& args, const char* text) {
  args.errorText = text;
  return CmdArgs::MISSING_VALUE;
}

template <int32_t CmdArgs::*field>
int takeNumber(const char* value, CmdArgs& args, const char* missingText) {
  if (value == nullptr) return missing(args, missingText);
  args.*field = toInt32(value);
  return 0;
}

/// The same for fields that a missing value sets to -1.
template <int32_t CmdArgs::*field>
int takeNumberOrReset(const char* value, CmdArgs& args, const char* missingText) {
  if (value == nullptr) args.*field = -1;
  return takeNumber<field>(value, args, missingText);
}

template <std::string CmdArgs::*field>
int takeQuotedText(const char* value, CmdArgs& args, const char* missingText) {
  if (value == nullptr) return missing(args, missingText);
  std::string text = value;
  if (!text.empty() && text.front() == '"') {
    text.erase(0, 1);
    if (!text.empty()) text.pop_back();  // whatever it is
  }
  args.*field = std::move(text);
  return 0;
}

int scanCommand(const char*, CmdArgs& args) {
  args.commandWord = "SCAN";
  args.command = CmdArgs::SCAN_COMMAND;
  return 0;
}

int versionCommand(const char*, CmdArgs& args) {
  args.commandWord = "VERSION";
  args.command = CmdArgs::VERSION_COMMAND;
  return 0;
}

/// Puts the null device at a number that is not open: otherwise it would come to be some file of ours.
void fillDescriptor(int number, int flags) {
  FileDescriptor null = openFile("/dev/null", flags);
  if (null.get() == number) {
    null.release();
  } else if (!null || sys.dup2(null.get(), number) == -1) {
    return;  // above the limit: no file will ever have it
  }
  sys.fcntl(number, F_SETFD, number > STDERR_FILENO ? FD_CLOEXEC : 0);
}

/// "7,9": the agent's end of the pipe, to be closed here, and ours.
int agentComOption(const char* value, CmdArgs& args) {
  constexpr const char* MISSING_TEXT = "agentCom not specified";
  const char* comma = value == nullptr ? nullptr : std::strchr(value, ',');
  if (comma == nullptr) return missing(args, MISSING_TEXT);
  const int32_t agentEnd = toInt32(value);
  if (agentEnd != 0) sys.close(agentEnd);
  if (agentEnd > 0 && agentEnd <= STDERR_FILENO) fillDescriptor(agentEnd, O_RDWR);
  if (comma[1] == '\0') return missing(args, MISSING_TEXT);
  const int32_t ourEnd = toInt32(comma + 1);
  if (ourEnd == 0) return 0;
  args.agentCom = ourEnd;
  if (sys.fcntl(ourEnd, F_GETFD, 0) == -1) {
    fillDescriptor(ourEnd, O_RDONLY);  // sending the status fails, and is traced
  } else if (ourEnd > STDERR_FILENO) {
    sys.fcntl(ourEnd, F_SETFD, FD_CLOEXEC);  // our children must not keep the agent's pipe open
  }
  return 0;
}

int debugOption(const char* value, CmdArgs& args) {
  static constexpr const char* WORDS[] = {"MAX", "MID", "MIN"};  // level 1, 2, 3
  for (int level = 1; value != nullptr && level <= 3; ++level) {
    if (strcasecmp(value, WORDS[level - 1]) != 0) continue;
    args.debug = WORDS[level - 1];
    args.debugLevel = level;
    return 0;
  }
  args.errorText = "Invalid debug mode";  // also where the value is missing
  return CmdArgs::BAD_OPTION;
}

int jobNameOption(const char* value, CmdArgs& args) {
  return takeQuotedText<&CmdArgs::jobName>(value, args, "jobName not specified");
}

int jobRunNumberOption(const char* value, CmdArgs& args) {
  return takeNumberOrReset<&CmdArgs::jobRunNumber>(value, args, "jobRunNumber not specified");
}

int maxLogSizeOption(const char* value, CmdArgs& args) {
  const int result = takeNumberOrReset<&CmdArgs::maxLogSize>(value, args, "maxLogSize not specified");
  if (args.maxLogSize == 0) args.maxLogSize = 1024;
  return result;
}

int maxNumLogsOption(const char* value, CmdArgs& args) {
  return takeNumberOrReset<&CmdArgs::maxNumLogs>(value, args, "maxNumLogs not specified");
}

int maxNumRunsOption(const char* value, CmdArgs& args) {
  return takeNumberOrReset<&CmdArgs::maxNumRuns>(value, args, "maxNumRuns not specified");
}

int maxNumDaysOption(const char* value, CmdArgs& args) {
  return takeNumberOrReset<&CmdArgs::maxNumDays>(value, args, "maxNumDays not specified");
}

int nfsTimeoutOption(const char* value, CmdArgs& args) {
  return takeNumber<&CmdArgs::nfsTimeout>(value, args, "nfsTimeout not specified");
}

int serverIPOption(const char* value, CmdArgs& args) {
  if (value == nullptr) return missing(args, "ServerIp not specified");
  args.serverIP = value;
  args.serverIPList.clear();
  for (std::string_view rest = args.serverIP; !rest.empty();) {
    const size_t cut = std::min(rest.find('_'), rest.size());
    args.serverIPList.emplace_back(rest.substr(0, cut));
    rest.remove_prefix(std::min(cut + 1, rest.size()));
  }
  return 0;
}

int serverNameOption(const char* value, CmdArgs& args) {
  if (value == nullptr) return missing(args, "ServerName not specified");
  args.serverName = value;
  return 0;
}

int serverPortOption(const char* value, CmdArgs& args) {
  return takeNumberOrReset<&CmdArgs::serverPort>(value, args, "ServerPort not specified");
}

int sidRunNumberOption(const char* value, CmdArgs& args) {
  return takeNumber<&CmdArgs::sidRunNumber>(value, args, "sidRunNumber not specified");
}

int profileOption(const char* value, CmdArgs& args) {
  return takeQuotedText<&CmdArgs::scanProfile>(value, args, "scan profile not specified");
}

/// True for a name that, as a part of a path, would lead elsewhere than to a directory or file of that name:
/// the result could end up in the place of the definition.
bool leadsElsewhere(const std::string& name) {
  return name == "." || name == ".." || name.find('/') != std::string::npos;
}

/// The row that a dashed argument names, or null.
const ArgumentRow* findRow(const ArgumentRow* table, const std::string& argument) {
  if (argument.empty() || argument.front() != '-') return nullptr;
  for (const ArgumentRow* row = table; row->name != nullptr; ++row) {
    if (strcasecmp(argument.c_str() + 1, row->name) == 0) return row;
  }
  return nullptr;
}

// --- where the program is installed -----------------------------------------------------------------------

std::string currentDirectory() {
  char* directory = sys.getcwd(nullptr, 0);  // a buffer of the size it needs, ours to free
  std::string text = directory == nullptr ? "" : directory;
  std::free(directory);
  return text;
}

/// "/a/./b/../c" as "/a/c", without looking at the file system.
std::string withoutDotSegments(std::string_view path) {
  std::vector<std::string_view> segments;
  while (!path.empty()) {
    const size_t slash = std::min(path.find('/'), path.size());
    const std::string_view segment = path.substr(0, slash);
    path.remove_prefix(std::min(slash + 1, path.size()));
    if (segment.empty() || segment == ".") continue;
    if (segment == "..") {
      if (!segments.empty()) segments.pop_back();
    } else {
      segments.push_back(segment);
    }
  }
  std::string result;
  for (const std::string_view segment : segments) result.append("/").append(segment);
  return result;
}

/// The first executable file of that name on the search path, or nothing.
std::string findOnPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::string_view rest = path == nullptr ? "" : path;
  while (!rest.empty()) {
    const size_t colon = std::min(rest.find(':'), rest.size());
    std::string candidate(rest.substr(0, colon));
    rest.remove_prefix(std::min(colon + 1, rest.size()));
    if (candidate.empty()) candidate = ".";  // an empty entry is the current directory
    candidate += "/" + name;
    struct stat status;
    if (sys.stat(candidate.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        sys.access(candidate.c_str(), X_OK) == 0) {
      return candidate;
    }
  }
  return {};
}

}  // namespace

const ArgumentRow scanCmdTable[] = {
    {"scan", 1, scanCommand, false},
    {"version", 2, versionCommand, false},
    {nullptr, 0, nullptr, false},
};

const ArgumentRow scanOptionTable[] = {
    {"agentcom", 0, agentComOption, true},
    {"debug", 1, debugOption, true},
    {"jobname", 2, jobNameOption, true},
    {"jobrunnumber", 3, jobRunNumberOption, true},
    {"maxlogsize", 4, maxLogSizeOption, true},
    {"maxnumlogs", 5, maxNumLogsOption, true},
    {"maxnumruns", 6, maxNumRunsOption, true},
    {"maxnumdays", 7, maxNumDaysOption, true},
    {"nfstimeout", 8, nfsTimeoutOption, true},
    {"serverip", 9, serverIPOption, true},
    {"servername", 10, serverNameOption, true},
    {"serverport", 11, serverPortOption, true},
    {"sidrunnumber", 12, sidRunNumberOption, true},
    {"profile", 13, profileOption, true},
    {nullptr, 0, nullptr, false},
};

CmdArgs::CmdArgs(int argumentCount, char** arguments, int type)
    : argc(argumentCount), argv(arguments), programType(type) {}

const std::string& CmdArgs::getInstallLocation() {
  if (!installLocationSought_) {
    installLocationSought_ = true;
    findInstallLocation();
  }
  return exeInstallLoc;
}

void CmdArgs::findInstallLocation() {
  if (argc < 1 || argv[0] == nullptr || argv[0][0] == '\0') return;
  std::string path = argv[0];
  if (path.front() == '/') {
    path = withoutDotSegments(path);
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return;
    exeName = path.substr(slash + 1);
    path.erase(slash);
    constexpr std::string_view BIN_DIRECTORY = "/bin";
    if (path.size() >= BIN_DIRECTORY.size() && path.ends_with(BIN_DIRECTORY)) {
      exeInstallLoc = path.substr(0, path.size() - BIN_DIRECTORY.size());
    }
    return;
  }
  exeName = path.substr(path.rfind('/') + 1);
  if (path.find('/') == std::string::npos) path = findOnPath(path);
  if (path.empty()) return;
  if (path.front() != '/') path = currentDirectory() + "/" + path;
  const size_t bin = path.rfind("/bin");
  if (bin != std::string::npos) exeInstallLoc = path.substr(0, bin);
}

int CmdArgs::parse() {
  std::fill_n(validScanOptions[SCAN_COMMAND], OPTIONS, static_cast<unsigned char>(1));
  // The command word may be left out: what is no command is read again as an option.
  if (argIndex < argc && parseCommand() != 0) command = SCAN_COMMAND;
  if (argIndex < argc) {
    const int result = parseOptions();
    if (result != 0) return result;
  }
  // After all options: the agent hears of it wherever -agentcom stands.
  if (const int result = checkNames()) return result;
  if (installLoc.empty()) installLoc = getInstallLocation();
  if (installLoc.empty()) {
    errorText = "Unable to determine install location\n";
    return NO_INSTALL_LOCATION;
  }

  LogUtil limits = logLimits();
  const std::string component = isInitialScan() ? INITIAL_SCAN_COMPONENT : COMPONENT;
  logName = limits.nextFile(logDirectory(), logRun(), component, ".log");
  resultFile = outputPath(".dat");
  if (debugLevel != 0 && traceFile.empty()) {
    traceFile = limits.nextFile(logDirectory(), logRun(), COMPONENT, ".trace");
  }
  return 0;
}

int CmdArgs::parseCommand() {
  lastArgument = argv[argIndex];
  const ArgumentRow* row = findRow(scanCmdTable, lastArgument);
  if (row == nullptr) return BAD_COMMAND;
  ++argIndex;
  return row->handler(nullptr, *this);
}

int CmdArgs::parseOptions() {
  for (; argIndex < argc; ++argIndex) {
    lastArgument = argv[argIndex];
    const ArgumentRow* row = findRow(scanOptionTable, lastArgument);
    if (row == nullptr || validScanOptions[command][row->index] == 0) return BAD_OPTION;
    if (row->takesValue) ++argIndex;
    const int result = row->handler(argIndex < argc ? argv[argIndex] : nullptr, *this);
    if (result != 0) return result;
  }
  return 0;
}

int CmdArgs::checkNames() {
  const std::pair<const char*, const std::string&> names[] = {{"-servername", serverName},
                                                              {"-jobname", jobName}};
  for (const auto& [option, name] : names) {
    if (!leadsElsewhere(name)) continue;
    // The option alone is a valid one: its value tells what is wrong.
    lastArgument = std::string(option) + " " + name;
    errorText = "Invalid name";
    return BAD_OPTION;
  }
  return 0;
}

bool CmdArgs::wantsVersion() const {
  if (command != 0) return command == VERSION_COMMAND;
  if (argIndex >= argc) return false;
  const ArgumentRow* row = findRow(scanCmdTable, argv[argIndex]);
  return row != nullptr && row->index == VERSION_COMMAND;
}

bool CmdArgs::isInitialScan() const {
  return std::string_view(jobName).substr(0, INITIAL_SCAN.size()) == INITIAL_SCAN;
}

std::string CmdArgs::outputPath(const std::string& extension) const {
  std::string path = installLoc + "/output/";
  if (!serverName.empty()) path += serverName + "/";
  const LogUtil::Run run{jobName, sidRunNumber, jobRunNumber};
  return path + (run.valid() ? LogUtil::runFileName(run, COMPONENT, extension) : COMPONENT + extension);
}

LogUtil CmdArgs::logLimits() const {
  LogUtil limits;
  limits.maxLogSize = maxLogSize;
  limits.maxNumRuns = maxNumRuns;
  limits.maxNumDays = maxNumDays;
  limits.maxNumLogs = maxNumLogs;
  return limits;
}

/// A first scan has no log of its own: it writes to the numbered one.
LogUtil::Run CmdArgs::logRun() const {
  return isInitialScan() ? LogUtil::Run{} : LogUtil::Run{jobName, sidRunNumber, jobRunNumber};
}

std::string CmdArgs::logDirectory() const {
  std::string directory = installLoc + "/log/";
  if (!serverName.empty()) directory += serverName + "/";
  return directory;
}

}  // namespace agent
