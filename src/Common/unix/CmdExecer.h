#pragma once

#include <string>
#include <vector>

#include "Common/Object.h"

namespace agent {

/// Runs one shell command to its end and keeps what it printed. Used for one runCommand. The files that its
/// output is gathered in go with the object at the latest.
class CmdExecer : public Object {
 public:
  /// @param cmdArgs words of shell text, joined by blanks; whoever takes one from outside quotes it
  /// (shellQuoted)
  /// @param outFile, errFile where its output is gathered; empty: temporary files
  explicit CmdExecer(const std::vector<std::string>& cmdArgs, std::string outFile = {},
                     std::string errFile = {});

  ~CmdExecer() override;
  CmdExecer(const CmdExecer&) = delete;
  CmdExecer& operator=(const CmdExecer&) = delete;

  /// @return the exit status or ending signal, 127 where the shell could not run it, -1 when no shell could
  /// be
  ///     started or there is nothing to run
  int runCommand();

  /// The whole command text, redirections included; empty when there is nothing to run.
  const std::string& getCommand() const { return cmdLine_; }

  std::string sysOut;  ///< what the command wrote to standard output
  std::string sysErr;  ///< and to standard error

  bool removeOut = true;  ///< delete the gathering files afterwards
  bool removeErr = true;

 private:
  void removeFiles();

  std::string cmdLine_;
  std::string stdoutFile_;
  std::string stderrFile_;
};

}  // namespace agent
