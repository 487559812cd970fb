#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "Common/unix/FileDescriptor.h"
#include "system/Process.h"

namespace agent::test {

/// The pipe for one byte of start status. The agent's end is known to the job as the number that it closes.
class StatusPipe {
 public:
  StatusPipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    reader = FileDescriptor(ends[0]);
    writer = FileDescriptor(ends[1]);
  }

  /// Makes a launch hand both ends over, with the option that names them.
  void handTo(Launch& launch, int agentEnd = 40, int jobEnd = 41) const {
    launch.handed.insert(launch.handed.end(), {{reader.get(), agentEnd}, {writer.get(), jobEnd}});
    // Behind the command: what follows may be wrong, and the agent has to hear of that.
    launch.arguments.insert(launch.arguments.begin() + 1,
                            {"-agentcom", std::to_string(agentEnd) + "," + std::to_string(jobEnd)});
  }
  /// All that was written, once the job is gone.
  std::string received() {
    writer.close();
    char bytes[16];
    const ssize_t got = read(reader.get(), bytes, sizeof bytes);
    return {bytes, static_cast<size_t>(std::max<ssize_t>(got, 0))};
  }
  /// The first byte, as soon as it comes; empty after ten seconds without one.
  std::string first() const {
    pollfd end{reader.get(), POLLIN, 0};
    char byte = 0;
    return poll(&end, 1, 10'000) == 1 && read(reader.get(), &byte, 1) == 1 ? std::string{byte} : "";
  }

  FileDescriptor reader, writer;
};

}  // namespace agent::test
