#include "Common/unix/CmdExecer.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "Common/unix/psmsgutil.h"
#include "Common/unix/psnautil.h"
#include "QLMlib/common/unx/LineReader.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

std::string readTraced(const std::string& file, const char* traceFormat) {
  std::string text;
  LineReader lines(openFile(file.c_str(), O_RDONLY));
  while (const auto line = lines.isOpen() ? lines.next() : std::nullopt) {
    text.append(*line).append("\n");
    TRACE(TR_MAX, "%s: %.*s\n", traceFormat, static_cast<int>(line->size()), line->data());
  }
  return text;
}

}  // namespace

CmdExecer::CmdExecer(const std::vector<std::string>& cmdArgs, std::string outFile, std::string errFile)
    : Object("CmdExecer"), stdoutFile_(std::move(outFile)), stderrFile_(std::move(errFile)) {
  if (cmdArgs.empty()) {
    TRACE(TR_MIN, "Nothing to execute; cmdArgs is empty.\n");
    return;
  }
  if (stdoutFile_.empty()) stdoutFile_ = psGetTempFileName();
  if (stderrFile_.empty()) stderrFile_ = psGetTempFileName();
  for (const std::string& word : cmdArgs) cmdLine_ += word + " ";
  cmdLine_ += ">" + shellQuoted(stdoutFile_) + " 2>>" + shellQuoted(stderrFile_);
  TRACE(TR_EXIT, "Exit: %s, cmdLine: %s\n", "CmdExecer", cmdLine_.c_str());
}

CmdExecer::~CmdExecer() {
  removeFiles();
}

int CmdExecer::runCommand() {
  TRACE_SCOPE("CmdExecer::runCommand()");
  if (cmdLine_.empty()) {
    TRACE(TR_MIN, "Nothing to execute.\n");
    return -1;
  }
  TRACE(TR_MAX, "Executing command: %s\n", cmdLine_.c_str());
  const int status = runShell(cmdLine_);
  if (status == -1) {
    const int error = errno;
    TRACE(TR_MIN, "system(%s) failed (errno = %d, %s)\n", cmdLine_.c_str(), error,
          getSystemErrorMessage(error).c_str());
  }
  sysOut = readTraced(stdoutFile_, "sysOut");
  sysErr = readTraced(stderrFile_, "sysErr");
  removeFiles();
  return status == -1 ? -1 : decodeExitStatus(status);
}

void CmdExecer::removeFiles() {
  if (removeOut && !stdoutFile_.empty()) psRemoveFile(stdoutFile_);
  if (removeErr && !stderrFile_.empty()) psRemoveFile(stderrFile_);
  // Once alone: the names may be another program's by now.
  stdoutFile_.clear();
  stderrFile_.clear();
}

}  // namespace agent
