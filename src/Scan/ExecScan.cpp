#include "Scan/ExecScan.h"

#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <exception>
#include <new>
#include <utility>

#include "Common/AgentNotification.h"
#include "Common/ComputerID.h"
#include "Common/GenericException.h"
#include "Common/JobMessages.h"
#include "Common/JobRecord.h"
#include "Common/ScanAbortException.h"
#include "Common/ScanVOXTags.h"
#include "Common/VOXIOException.h"
#include "Common/VOXParserException.h"
#include "Common/VoxObjectCreationException.h"
#include "Common/resource.h"
#include "Common/unix/psmsgutil.h"
#include "Common/unix/psnautil.h"
#include "Common/unix/pssignal.h"
#include "QLMlib/common/nls/MessageCatalogs.h"
#include "QLMlib/common/unx/LimitedCalls.h"
#include "QLMlib/common/unx/StarterOutput.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/MemoryReserve.h"
#include "QLMlib/common/ut/NumberText.h"
#include "QLMlib/common/ut/Trace.h"
#include "QLMlib/common/ut/TraceFile.h"
#include "Scan/ScanDefinition.h"

namespace agent {

namespace {

constexpr const char* VERSION = "5.2.4.1\n";
constexpr const char* STARTED = "1";
constexpr const char* FAILED_TO_START = "3";
constexpr int OBJECT_CREATION_FAILED = 12;

std::string now() {
  return std::to_string(time(nullptr));
}

/// Logs what ends the job without a result. Where the log can't be written, as in the directory that has just
/// refused a lock, whoever started the job is told.
void logEnd(const Message& message, const MessageInserts& inserts = {}) {
  if (naLog->logMessage(message, inserts) != 0) {
    LogManager::printMessage(message, inserts);
  }
}

std::string inLine(int64_t line) {
  return line > 0 ? "in line " + std::to_string(line) + " " : "";
}

// What is wrong with a definition, for people: the line, what was expected, what was found. The exceptions'
// own texts are the trace's.

std::string explain(const VOXParserException& failure, const DefinitionPlace& place) {
  switch (failure.getCode()) {
    case VOXParserException::EMPTY_FILE_NAME:
      return "it has no name";
    case VOXParserException::NOT_OPENED:
      return "it can't be opened: " + failure.getReason();
    case VOXParserException::CLASS_NOT_IN_HEADER:
      return inLine(place.line) + "a class was expected whose columns the header block names, and \"" +
             place.className + "\" was found";
    default:
      return inLine(failure.getLine()) + "it can't be read: " + failure.getReason();
  }
}

std::string explain(const DefinitionPlace& place) {
  return inLine(place.line) + "a row of " + std::to_string(place.columns) +
         " cells was expected for the class \"" + place.className +
         "\", one for each column that the header block names, and " +
         (place.cells == 0 ? "none" : "one of " + std::to_string(place.cells)) + " was found";
}

/// What nobody foresaw, in the system's words where it has some: the library's name of a failure tells nobody
/// anything.
std::string explain(const std::exception& failure) {
  if (dynamic_cast<const std::bad_alloc*>(&failure) != nullptr) return getSystemErrorMessage(ENOMEM);
  return failure.what();
}

}  // namespace

ExecScan::ExecScan() : Object("ExecScan") {}

ExecScan::~ExecScan() {
  cleanup();
}

int ExecScan::startScan(int argc, char** argv) {
  try {
    prepare(argc, argv);
    run();
  } catch (const std::exception& failure) {
    endUnforeseen(explain(failure));
  } catch (...) {
    endUnforeseen("a failure that has no name");
  }
  return cleanup();
}

void ExecScan::prepare(int argc, char** argv) {
  cmdArgs_ = std::make_unique<CmdArgs>(argc, argv, CmdArgs::SCAN_PROGRAM);
  openMessages(cmdArgs_->getInstallLocation());
  if (returnCode_ == CLEAN) parseArguments();
}

void ExecScan::run() {
  TRACE_SCOPE("startScan(...)");
  installSignalHandling();
  if (cmdArgs_->wantsVersion()) {
    tellStarter(STDOUT_FILENO, VERSION);
    return;
  }
  endWhereMemoryIsShort();
  sendStartStatus();
  if (returnCode_ != CLEAN) return;

  logJobMessage(messages::JOB_STARTED);
  jobStartTime_ = now();
  const std::string jobFile = createJobFile(SCAN_JOB, *cmdArgs_, true);
  const std::string definitionFile = definitionFileName();
  endWhereMemoryIsShort();
  if (readDefinition(definitionFile)) {
    scan();
    finish(definitionFile, jobFile);
  } else {
    notifyAgent();
  }
  tellSpectator();
}

// --- Set-up ------------------------------------------------------------------------------------------------

void ExecScan::openMessages(const std::string& installLocation) {
  if (installLocation.empty()) {
    returnCode_ = NO_CATALOG;
    return;
  }
  msgDir_ = installLocation + "/nls";
  logFile_ = installLocation + "/log/scan.log";
  messagesOpen_ = initializeMessages("nrvna.cat", msgDir_, 0, 0, 0) == 0;
  if (!messagesOpen_) returnCode_ = NO_CATALOG;
}

void ExecScan::parseArguments() {
  returnCode_ = cmdArgs_->parse();
  if (!cmdArgs_->logName.empty()) logFile_ = cmdArgs_->logName;
  log_ = std::make_unique<LogManager>(logFile_);
  naLog = log_.get();
  if (returnCode_ == CmdArgs::BAD_COMMAND || returnCode_ == CmdArgs::BAD_OPTION) reportBadArguments();
  if (returnCode_ == CLEAN) openTrace();
}

void ExecScan::reportBadArguments() const {
  if (returnCode_ == CmdArgs::BAD_COMMAND) {
    LogManager::printMessage(messages::UNKNOWN_COMMAND, {cmdArgs_->lastArgument});
  } else {
    LogManager::printMessage(messages::INVALID_OPTION, {cmdArgs_->lastArgument});
  }
  LogManager::printMessage(messages::USAGE);
}

void ExecScan::openTrace() {
  traceOpen_ = initializeTrace(cmdArgs_->traceFile, cmdArgs_->debug, cmdArgs_->maxLogSize) == 0;
  if (!traceOpen_) returnCode_ = NO_TRACE;
}

// --- The definition ----------------------------------------------------------------------------------------

std::string ExecScan::definitionFileName() const {
  const CmdArgs& args = *cmdArgs_;
  const std::string stem = args.installLoc + "/input/" + args.serverName + "/" + args.jobName;
  if (args.isInitialScan()) return stem + ".dat";
  // Zeros to the left of a sign as well: numbers that were never given look odd, and nothing is hidden.
  return stem + "." + filledLeft(std::to_string(args.sidRunNumber), 4, '0') + "_scan." +
         filledLeft(std::to_string(args.jobRunNumber), 8, '0') + ".dat";
}

/// @return false when there is no usable definition; the return code says why and the log tells it
bool ExecScan::readDefinition(const std::string& definitionFile) {
  DefinitionPlace place;
  const auto failed = [&](int code, const std::string& problem, const std::string& text, const char* step) {
    returnCode_ = code;
    logEnd(messages::DEFINITION_NO_USE, {definitionFile, problem});
    TRACE(TR_MIN, "ERROR: %s, occured during %s.\n", text.c_str(), step);
    return false;
  };
  try {
    agentScan_ = readScanDefinition(definitionFile, place);
    endWhereMemoryIsShort();
    TRACE(TR_MAX, "END OF <while( (efNext = pa->findNextEntity(ef)) != NULL )>.\n");
    return true;
  } catch (const VOXParserException& exception) {
    return failed(exception.getCode(), explain(exception, place), exception.getMessage(),
                  "definition-file-parsing");
  } catch (const VoxObjectCreationException& exception) {
    return failed(exception.getCode(), explain(place), exception.getMessage(),
                  "object creation from definition-file");
  } catch (const std::bad_alloc& exception) {
    return failed(UNFORESEEN, "it can't be read: " + explain(exception), exception.what(),
                  "definition-file-parsing");
  } catch (const std::exception& exception) {
    return failed(OBJECT_CREATION_FAILED, "its records can't be made: " + explain(exception),
                  exception.what(), "object creation from definition-file");
  }
}

// --- The scan ----------------------------------------------------------------------------------------------

/// Runs the scan. Whatever ends it, the flow goes on, so that the agent is always told.
void ExecScan::scan() {
  try {
    scanLocked();
  } catch (const GenericException& exception) {
    // The log has been told. Locks taken before the one that failed stay in the resource file: with this
    // process they turn stale.
    if (exception.getMsgID() == static_cast<int32_t>(messages::LOCK_HELD.number)) {
      TRACE(TR_MIN, "Filesystem already in locked by another scan process: %s\n",
            exception.getMessage().c_str());
    } else {
      TRACE(TR_MIN, "Unable to lock %s: %s\n", exception.getMessage().c_str(), exception.getCause().c_str());
    }
    returnCode_ = ABORTED;
  } catch (const ScanAbortException& exception) {
    TRACE(TR_ERROR, "%s\n", exception.getMessage().c_str());
    try {
      genericPrint_->closeFile();
    } catch (const VOXIOException&) {
      // The file is about to be deleted: the abort is what counts.
    }
    unlock();
    returnCode_ = ABORTED;
    logEnd(messages::TOLD_TO_STOP);
  } catch (const VOXIOException& exception) {
    logEnd(messages::RESULT_NOT_WRITTEN, {cmdArgs_->resultFile, exception.getCause()});
    TRACE(TR_MIN, "%s: %s\n", exception.getMessage().c_str(), exception.getCause().c_str());
    returnCode_ = WRITE_FAILED;
  } catch (const std::exception& exception) {
    logEnd(messages::SCAN_FAILED, {explain(exception)});
    TRACE(TR_MIN, "ERROR: %s, the scan ends.\n", exception.what());
    unlock();
    returnCode_ = UNFORESEEN;
  }
}

void ExecScan::scanLocked() {
  lock(agentScan_->getFilesystems());
  logFilesystemList(agentScan_->getFilesystems());
  ComputerID::cachedCID = std::make_unique<ComputerID>(agentScan_->getScanningCompId());
  filesystemScan_ = std::make_unique<FilesystemScan>();
  genericPrint_ = std::make_unique<GenericPrint>(GenericPrint::VOX_FORMAT, cmdArgs_->resultFile);
  filesystemScan_->setGenericPrint(*genericPrint_);
  if (hasSpectator()) {
    progressLine_ = std::make_unique<ProgressLine>(STDERR_FILENO);
    filesystemScan_->setObserver(*progressLine_);
  }
  agentScan_->printHeader(*genericPrint_);
  genericPrint_->beginNode(ScanVOXTags::AS);
  returnCode_ = filesystemScan_->doScan(*agentScan_, cmdArgs_->nfsTimeout);
  genericPrint_->endNode(ScanVOXTags::AS);
  genericPrint_->closeFile();
  endWhereMemoryIsShort();
  unlock();
  scanEnded_ = true;
  TRACE(TR_MAX, "Returncode=: %d\n", returnCode_);
}

/// Locks each file system against other scans, in list order.
/// @throws GenericException at the first that can't be locked; it has been logged
void ExecScan::lock(const FilesystemList& list) {
  TRACE_SCOPE("lock( )");
  std::vector<std::string> resources;
  for (const auto& filesystem : list) {
    resources.push_back("scan_" + cmdArgs_->serverName + std::to_string(filesystem->fsID));
  }
  const LockOutcome outcome = lockResources(resources, SCAN_RESOURCES, cmdArgs_->installLoc);
  resources.resize(outcome.taken);
  lockedResources_ = std::move(resources);
  if (outcome.result == 0) return;

  const std::string& refused = list[outcome.taken]->fsMountPoint;
  if (outcome.result == LOCKED_BY_THIS_PROCESS || outcome.result == LOCKED_BY_OTHER_PROCESS) {
    logEnd(messages::LOCK_HELD, {refused});
    throw GenericException(Constants::_ERROR, static_cast<int32_t>(messages::LOCK_HELD.number), "", refused);
  }
  logEnd(messages::LOCK_FAILED, {refused, outcome.file, outcome.reason});
  throw GenericException(Constants::_ERROR, static_cast<int32_t>(messages::LOCK_FAILED.number),
                         outcome.reason, refused);
}

void ExecScan::unlock() {
  TRACE_SCOPE("unlock( )");
  unlockResources(lockedResources_, SCAN_RESOURCES, cmdArgs_->installLoc);
  lockedResources_.clear();
}

void ExecScan::logFilesystemList(const FilesystemList& list) const {
  TRACE_SCOPE("logFilesystemList( )");
  std::string names = "\n";
  for (const auto& filesystem : list) names += LIST_INDENT + filesystem->fsMountPoint + "\n";
  if (naLog != nullptr) naLog->logList(messages::FILESYSTEMS_LOCKED, names);
}

// --- The end -----------------------------------------------------------------------------------------------

void ExecScan::finish(const std::string& definitionFile, const std::string& jobFile) {
  progressLine_.reset();
  jobEndTime_ = now();
  agentScan_.reset();
  if (returnCode_ >= ABORTED) {
    removeResult();
  } else if (scanEnded_) {
    logJobMessage(messages::SCAN_COMPLETE);
  }
  if (notifyAgent() != 0 && !jobFile.empty()) {
    updateJobFile(jobFile, returnCode_, cmdArgs_->jobEndTimestamp);
  }
  // With the whole trace on, whoever looks into it wants the definition as well.
  if (!TR_MAX && !definitionFile.empty() && psFileExist(definitionFile)) psRemoveFile(definitionFile);
}

/// Only the file that this run has opened: a job refused by a lock leaves the running job's result alone,
/// even one of the same name.
void ExecScan::removeResult() {
  if (genericPrint_ && genericPrint_->hasOpenedFile()) psRemoveFile(cmdArgs_->resultFile);
}

/// Tells the agent whether the job has started.
void ExecScan::sendStartStatus() {
  statusSent_ = true;
  sendAgentStartStatus(cmdArgs_->agentCom, returnCode_ == CLEAN ? STARTED : FAILED_TO_START);
}

/// Tells the agent how the job ended.
/// @return 0 when it was told or there is none; otherwise the failure, or the child's exit code
int ExecScan::notifyAgent() {
  agentTold_ = true;
  return notifyAgentOfEnd(*cmdArgs_, returnCode_, jobStartTime_, jobEndTime_);
}

int ExecScan::endUnforeseen(const std::string& reason) {
  returnCode_ = UNFORESEEN;
  // Each step by itself: whatever one of them meets, the others are done.
  const auto attempt = [](auto step) {
    try {
      step();
    } catch (...) {
      TRACE(TR_MIN, "ERROR: a step of the end failed as well.\n");
    }
  };
  attempt([this] { progressLine_.reset(); });
  attempt([this] {
    if (!scanEnded_) removeResult();
  });
  attempt([this] {
    if (cmdArgs_) unlock();
  });
  attempt([&reason] {
    if (naLog != nullptr) logEnd(messages::SCAN_FAILED, {reason});
  });
  attempt([this] {
    if (cmdArgs_ && !statusSent_) sendStartStatus();
  });
  attempt([this] {
    if (cmdArgs_ && !agentTold_) notifyAgent();
  });
  return returnCode_;
}

/// True when a person has started the job by hand, on a terminal.
bool ExecScan::hasSpectator() const {
  return cmdArgs_->agentCom == -1 && sys.isatty(STDERR_FILENO) == 1;
}

/// Where the result and the log lie, for whoever started the job by hand.
void ExecScan::tellSpectator() const {
  if (!hasSpectator()) return;
  const std::string found = returnCode_ < ABORTED
                                ? "Result: " + cmdArgs_->resultFile + " "
                                : "The scan ended with " + std::to_string(returnCode_) + " and no result.";
  tellStarter(STDERR_FILENO, found + " Log: " + logFile_ + "\n");
}

/// Frees what the run holds, in the order in which it may go. May be called twice.
/// @return the return code
int ExecScan::cleanup() {
  traceCaughtSignal();
  virtStatCleanUp();
  cmdArgs_.reset();
  naLog = nullptr;
  log_.reset();
  filesystemScan_.reset();
  genericPrint_.reset();
  if (std::exchange(messagesOpen_, false)) closeMessages();
  if (std::exchange(traceOpen_, false)) closeTrace();
  return returnCode_;
}

}  // namespace agent
