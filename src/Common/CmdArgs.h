#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Common/LogUtil.h"

namespace agent {

class CmdArgs;

/// A row of a command or option table; a null name ends the table.
struct ArgumentRow {
  const char* name;  ///< without its dash; compared without regard to case
  int index;         ///< the option's column in the validity table
  /// Takes the value, null where the arguments ran out. @return 0 or the failure code
  int (*handler)(const char* value, CmdArgs& args);
  bool takesValue;
};

extern const ArgumentRow scanCmdTable[];
extern const ArgumentRow scanOptionTable[];

/// The job's command line, and every path that follows from it. Plain public fields: the constructor sets the
/// defaults, parse() what the arguments say.
class CmdArgs {
 public:
  static constexpr int SCAN_PROGRAM = 9;  ///< program type of this job
  static constexpr int SCAN_COMMAND = 1;
  static constexpr int VERSION_COMMAND = 2;

  // Failure codes of parse(); they become the job's return code.
  static constexpr int BAD_COMMAND = 2;
  static constexpr int BAD_OPTION = 3;
  static constexpr int MISSING_VALUE = 6;
  static constexpr int NO_INSTALL_LOCATION = 59;

  /// Keeps the arguments, which must outlive the object; parses nothing.
  CmdArgs(int argc, char** argv, int programType);

  /// Where the program is installed, as its path tells: what stands before its "bin" directory. Empty when
  /// that can't be told. May be called before parse().
  const std::string& getInstallLocation();

  /// Reads all arguments and works out the paths; old logs and traces are purged on the way. Prints nothing.
  /// @return 0, or 3 (bad option, a name of server or job that leads elsewhere in the tree), 6 (option
  /// without value), 59 (no install location) with errorText set; after
  ///     3 and 6 the paths are empty
  int parse();

  /// True for "-version", also where parse() was not reached.
  bool wantsVersion() const;

  /// A file of this run in the output directory: ".dat" the result, ".jobinfo" the job record.
  std::string outputPath(const std::string& extension) const;

  /// Jobs whose name begins so have one definition for all runs and share the agent's numbered log.
  bool isInitialScan() const;

  int32_t serverPort = -1;
  int32_t maxLogSize = 1024;  ///< kilobytes
  int32_t maxNumLogs = 8;
  int32_t maxNumRuns = 5;
  int32_t maxNumDays = 90;
  int32_t jobRunNumber = -1;
  int32_t sidRunNumber = -1;
  int32_t agentCom = -1;  ///< descriptor that the start status goes to; -1 none
  std::string jobName;
  std::string serverName;
  std::string debug;    ///< "MAX", "MID", "MIN" or empty
  std::string logName;  ///< path of the job log
  std::string installLoc;
  std::string resultFile;     ///< path of the result file
  std::string traceFile;      ///< path of the trace file; empty without a debug level
  std::string exeInstallLoc;  ///< the install location as the program's path tells it
  std::vector<std::string> serverIPList;
  std::string serverIP;            ///< the whole list, joined by "_"
  std::string exeName;             ///< base name of the program
  std::string lastArgument;        ///< the argument being parsed, for messages about it; a bad name behind it
  int debugLevel = 0;              ///< 0 none, 1 MAX, 2 MID, 3 MIN
  std::string scanProfile;         ///< kept, not read by this job
  std::string commandWord;         ///< "SCAN", "VERSION" or empty
  int command = 0;                 ///< 0 none yet, SCAN_COMMAND, VERSION_COMMAND
  int32_t jobStartTimestamp = -1;  ///< seconds since the epoch; -1: take the clock
  int32_t jobEndTimestamp = -1;
  int32_t nfsTimeout = 0;  ///< seconds; 0 and below: no limit
  std::string errorText;   ///< failure text of the last handler

  int argc;
  char** argv;
  int argIndex = 1;
  int programType;

 private:
  int parseCommand();
  int parseOptions();
  int checkNames();
  void findInstallLocation();
  LogUtil logLimits() const;
  LogUtil::Run logRun() const;
  std::string logDirectory() const;

  bool installLocationSought_ = false;
};

}  // namespace agent
