#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Common/CmdArgs.h"
#include "Common/GenericPrint.h"
#include "Common/LogManager.h"
#include "Common/Object.h"
#include "Scan/AgentScan.h"
#include "Scan/FilesystemScan.h"
#include "Scan/ProgressLine.h"

namespace agent {

/// The whole life of one scan process, from its arguments to its exit code. Orders the calls and turns every
/// failure into a return code; scans nothing itself. Used once, on the main thread.
class ExecScan : public Object {
 public:
  // Return codes that the driver gives; those of the command line stand in CmdArgs.
  static constexpr int CLEAN = 0;
  static constexpr int ABORTED = 8;  ///< and above: no usable result
  static constexpr int WRITE_FAILED = 9;
  static constexpr int NO_TRACE = 30;
  static constexpr int NO_CATALOG = 72;   ///< or no install location to look for it
  static constexpr int UNFORESEEN = 102;  ///< memory that can't be had, or a failure that nobody foresaw

  ExecScan();
  ~ExecScan() override;
  ExecScan(const ExecScan&) = delete;
  ExecScan& operator=(const ExecScan&) = delete;

  /// @return the return code; the process status is its low eight bits
  int startScan(int argc, char** argv);

  /// The end where nothing else can be done: the result goes, locks are released, the agent is told. Throws
  /// nothing. What it has done already it doesn't do again.
  /// @param reason for the log
  /// @return the return code
  int endUnforeseen(const std::string& reason);

 private:
  void prepare(int argc, char** argv);
  void run();
  void openMessages(const std::string& installLocation);
  void parseArguments();
  void reportBadArguments() const;
  void openTrace();
  std::string definitionFileName() const;
  bool readDefinition(const std::string& definitionFile);
  void scan();
  void scanLocked();
  void lock(const FilesystemList& list);
  void unlock();
  void logFilesystemList(const FilesystemList& list) const;
  void removeResult();
  void sendStartStatus();
  int notifyAgent();
  void finish(const std::string& definitionFile, const std::string& jobFile);
  int cleanup();
  bool hasSpectator() const;
  void tellSpectator() const;

  std::unique_ptr<ProgressLine> progressLine_;      // only where somebody watches
  std::unique_ptr<FilesystemScan> filesystemScan_;  // null until the definition has been read
  std::unique_ptr<GenericPrint> genericPrint_;      // likewise
  std::unique_ptr<AgentScan> agentScan_;
  std::unique_ptr<LogManager> log_;  // what naLog points at
  std::string logFile_;
  std::string msgDir_;
  int32_t returnCode_ = CLEAN;
  bool messagesOpen_ = false;
  bool traceOpen_ = false;
  bool statusSent_ = false;   // the agent knows whether the job has started
  bool scanEnded_ = false;    // doScan came to its end and the file is whole
  bool agentTold_ = false;    // that the job has ended, or it was tried
  std::string jobStartTime_;  // decimal seconds since the epoch
  std::string jobEndTime_;
  std::unique_ptr<CmdArgs> cmdArgs_;
  std::vector<std::string> lockedResources_;  // in the order taken
};

}  // namespace agent
