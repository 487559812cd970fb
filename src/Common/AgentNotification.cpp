#include "Common/AgentNotification.h"

#include <algorithm>

#include "Common/LogUtil.h"
#include "Common/unix/psnautil.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

constexpr int32_t DEFAULT_MAX_LOG_SIZE = 1024;

/// Where the whole family is installed: what stands in front of the agent's own directory.
std::string familyInstallLocation(const std::string& installLoc) {
  const size_t agentDirectory = installLoc.rfind("agent");
  if (agentDirectory == std::string::npos) return installLoc;
  return installLoc.substr(0, agentDirectory - std::min<size_t>(agentDirectory, 1));
}

}  // namespace

std::vector<std::string> notifyArguments(const CmdArgs& args, int rc, const std::string& jobStartTime,
                                         const std::string& jobEndTime) {
  std::vector<std::string> words{args.installLoc + "/bin/Agent", "-notify", "scan"};
  const auto add = [&words](const char* option, const std::string& value) {
    words.emplace_back(option);
    words.push_back(value);
  };
  const auto addNumber = [&add](const char* option, int32_t value) {
    if (value != -1) add(option, std::to_string(value));
  };
  add("-installLoc", familyInstallLocation(args.installLoc));
  add("-serverName", args.serverName);
  if (!args.serverIP.empty()) add("-serverIP", args.serverIP);
  addNumber("-serverPort", args.serverPort);
  if (!args.jobName.empty()) add("-jobName", args.jobName);
  addNumber("-jobRunNumber", args.jobRunNumber);
  addNumber("-sidRunNumber", args.sidRunNumber);
  if (!args.debug.empty()) {
    add("-debug", args.debug);
    if (args.maxLogSize != DEFAULT_MAX_LOG_SIZE) add("-maxLogSize", std::to_string(args.maxLogSize));
  }
  add("-exitCode", std::to_string(rc));
  add("-jobstarttimestamp", jobStartTime);
  add("-jobendtimestamp", jobEndTime);
  words.emplace_back("-debugfile");
  const std::string traceFile = LogUtil::notifyTraceFile(args.traceFile);
  if (!traceFile.empty()) words.push_back(traceFile);
  return words;
}

int notifyAgentOfEnd(const CmdArgs& args, int rc, const std::string& jobStartTime,
                     const std::string& jobEndTime, int seconds) {
  TRACE_SCOPE("notifyAgentOfEnd()");
  if (args.serverName.empty()) {
    TRACE(TR_MAX, "No server to send notification to.\n");
    return 0;
  }
  const std::vector<std::string> words = notifyArguments(args, rc, jobStartTime, jobEndTime);
  std::string commandLine;
  for (const std::string& word : words) commandLine += word + " ";
  TRACE(TR_MAX, "%s\n", commandLine.c_str());

  ChildRecord child;
  if (const int failure = SpawnExternalProgram(words, child)) {
    TRACE(TR_MIN, "notifyAgent failed\n");
    return failure;
  }
  int exitCode = 0;
  if (const int failure = WaitForExternalProgram(child, exitCode, seconds)) {
    TRACE(TR_MIN, "notiyAgent wait for completion failed\n");
    return failure;
  }
  return exitCode;
}

}  // namespace agent
