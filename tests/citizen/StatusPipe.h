#pragma once

#include <string>

#include "Common/unix/FileDescriptor.h"
#include "system/InstallTree.h"

namespace agent::test {

/// The pipe for one byte of start status. The agent's end is known to the job as the number that it closes.
class StatusPipe {
 public:
  static constexpr int AGENT_END = 40;
  static constexpr int JOB_END = 41;

  StatusPipe();
  /// Makes a launch hand both ends over, with the option that names them.
  void handTo(Launch& launch) const;
  /// All that was written, once the job is gone.
  std::string received();
  /// The first byte, as soon as it comes; empty after ten seconds without one.
  std::string first() const;

 private:
  FileDescriptor reader_;
  FileDescriptor writer_;
};

}  // namespace agent::test
