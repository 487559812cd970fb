#pragma once

#include <cstdint>
#include <string>

namespace agent::tools {

/// Which run of a job has written a result. It stands in the file's name alone.
struct RunName {
  std::string job;       ///< bytes
  int64_t schedule = 0;  ///< number of the schedule
  int64_t number = 0;    ///< number of the run

  friend bool operator==(const RunName&, const RunName&) = default;
};

/// @param path "[DIRECTORY/]JOB.SSSS_scan.RRRRRRRR.dat"; a file that is named otherwise is taken for run 0 of
///             schedule 0 of a job with its name, without ".dat"
RunName runNameOf(const std::string& path);

}  // namespace agent::tools
