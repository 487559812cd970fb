#include "citizen/StatusPipe.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <stdexcept>

namespace agent::test {

StatusPipe::StatusPipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  reader_ = FileDescriptor(ends[0]);
  writer_ = FileDescriptor(ends[1]);
}

void StatusPipe::handTo(Launch& launch) const {
  launch.handed.emplace_back(writer_.get(), JOB_END);
  launch.handed.emplace_back(reader_.get(), AGENT_END);
  // Behind the command: what follows may be wrong, and the agent has to hear of that.
  launch.arguments.insert(launch.arguments.begin() + 1,
                          {"-agentcom", std::to_string(AGENT_END) + "," + std::to_string(JOB_END)});
}

std::string StatusPipe::received() {
  writer_.close();
  std::string bytes(100, '\0');
  const ssize_t got = read(reader_.get(), bytes.data(), bytes.size());
  bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return bytes;
}

std::string StatusPipe::first() const {
  pollfd end{reader_.get(), POLLIN, 0};
  char byte = 0;
  if (poll(&end, 1, 10'000) != 1 || read(reader_.get(), &byte, 1) != 1) return {};
  return {byte};
}

}  // namespace agent::test
