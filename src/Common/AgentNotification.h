#pragma once

#include <string>
#include <vector>

#include "Common/CmdArgs.h"

namespace agent {

/// How long the agent's program may take to deliver the job's end, in seconds.
constexpr int NOTIFY_TIME_LIMIT = 21600;

/// Program and arguments of the child that tells the agent how the job ended.
/// @param rc the job's return code, whole, not cut to the eight bits of an exit status
/// @param jobStartTime, jobEndTime decimal seconds since the epoch; empty where not known yet
std::vector<std::string> notifyArguments(const CmdArgs& args, int rc, const std::string& jobStartTime,
                                         const std::string& jobEndTime);

/// Runs that child and waits for it. Without a server name there is nobody to tell.
/// @param seconds limit after which the child is killed
/// @return the child's exit code, 0 without a server, or the code of the failed start or wait
int notifyAgentOfEnd(const CmdArgs& args, int rc, const std::string& jobStartTime,
                     const std::string& jobEndTime, int seconds = NOTIFY_TIME_LIMIT);

}  // namespace agent
