#pragma once

#include <string>
#include <vector>

#include "Common/unix/FileDescriptor.h"
#include "system/InstallTree.h"

namespace agent::test {

/// The agent's two ends of a job: bin/Agent, which takes the notification, and the pipe for the start status.
/// bin/Agent writes down its arguments, each ended by a NUL, so that any byte may stand in them.
class AgentStandIn {
 public:
  /// @param end the line of shell that the notification ends with
  explicit AgentStandIn(const InstallTree& tree, const std::string& end = "exit 0");

  /// What it was told by its last notification; empty if there was none.
  std::vector<std::string> told() const;
  /// The value behind an option of the notification. @throws std::runtime_error if it wasn't given
  std::string value(const std::string& option) const;

 private:
  std::string file_;
};

/// The pipe for one byte of start status. The agent's end is known to the job as the number that it closes.
class StatusPipe {
 public:
  static constexpr int AGENT_END = 40;
  static constexpr int JOB_END = 41;

  StatusPipe();
  /// Makes a launch hand both ends over, with the option that names them.
  void handTo(Launch& launch) const;
  /// The agent goes away: it reads no more.
  void closeReader() { reader_.close(); }
  /// All that was written, once the job is gone.
  std::string received();
  /// The first byte, as soon as it comes; empty after ten seconds without one.
  std::string first() const;

 private:
  FileDescriptor reader_;
  FileDescriptor writer_;
};

}  // namespace agent::test
