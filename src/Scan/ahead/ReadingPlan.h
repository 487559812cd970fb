#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "Scan/unix/DirectoryCalls.h"
#include "Scan/walk/WalkRules.h"

namespace agent {

/// How a file system is read: by the walk alone or by threads ahead of it, and by how many.
///
/// A call on a local file system is work of a processor: as many read as this process may use, at most four,
/// the walk among them, which reads what it would otherwise wait for. On a disk that rotates (as its queue in
/// sysfs says) that is the walk and one beside it. A call that waits for a server or for another process is
/// no work: 32 wait at the same time. With a time limit the walk makes no call itself, since it is the one
/// who gives calls up; a thread takes its place.
struct ReadingPlan {
  size_t workers = 0;       ///< threads beside the walk's; 0: it reads alone
  bool walkHelps = false;   ///< the walk reads too
  bool isSlow = false;      ///< calls wait rather than work
  const char* reason = "";  ///< for the trace

  /// Forces the number of threads for tests and measurements; 0: the walk reads alone, as far as there is no
  /// time limit.
  static constexpr const char* VARIABLE = "SCAN_READ_AHEAD";

  /// @param root path of the file system's root on this host
  /// @param limit of each call in seconds; 0 or less: none
  /// @param processors that this process may use
  static ReadingPlan of(const std::string& root, int limit, size_t processors);
};

/// Processors that this process may use: those of its affinity, as far as its control groups' quotas
/// (cgroups(7), cpu.max and cpu.cfs_quota_us) let it use them; at least 1.
size_t usableProcessors();

/// The calls of one walk, read ahead where the plan says so.
/// @param limit of each call in seconds; 0 or less: none
/// @param processors that this process may use
std::unique_ptr<DirectoryCalls> readingCalls(const WalkRules& rules, int limit, size_t processors);

}  // namespace agent
