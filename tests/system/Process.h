#pragma once

#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace agent::test {

/// How a program is started.
struct Launch {
  std::filesystem::path program;       ///< what is executed
  std::vector<std::string> arguments;  ///< behind argv[0]
  std::map<std::string, std::string> environment{{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}};  ///< and TMPDIR
  std::vector<int> closed;                  ///< descriptors that the program finds closed
  std::vector<std::pair<int, int>> handed;  ///< descriptor here, its number in the program
  std::function<void(pid_t)> whileRunning;  ///< called once the program has been started
  std::chrono::milliseconds limit{60'000};  ///< then it is killed, and Outcome::hung is set
};

/// How it ended.
struct Outcome {
  int status = -1;    ///< exit status; -1 if a signal ended it
  int signal = 0;     ///< the signal, or 0
  bool hung = false;  ///< the time limit was reached
  std::string out;    ///< standard output
  std::string err;    ///< standard error
  rusage usage{};     ///< of this program alone; ru_maxrss is in kilobytes
};

/// Runs a program to its end, which comes at the time limit at the latest.
/// @throws std::runtime_error if it can't be started
Outcome run(const Launch& launch);

/// Runs a line of shell for its standard output.
/// @throws std::runtime_error with what it said, if it fails
std::string shell(const std::string& line);

}  // namespace agent::test
