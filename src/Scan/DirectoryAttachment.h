#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Scan/AgentScan.h"
#include "Scan/ScanPlan.h"
#include "Scan/selection/Selection.h"

namespace agent {

/// Where a path's last component begins, where the path ends without a trailing slash, and how many slashes
/// stand before that.
struct Slashes {
  size_t first = 0;
  size_t last = 0;
  int32_t slashes = 0;
};
Slashes findSlashes(const std::string& path);

/// True when the path, behind its first slash, holds a mask: "*", "?" or "[" without "&" in front.
bool maskedPath(const std::string& path);

/// Gives the paths of monitored directories their form: slashes alone, and whether they are masks.
void prepareDirectories(const MonDirSpecList& directories);

/// Finds the monitored directories that lie on each file system, by computer and path, and compiles them. One
/// whose path doesn't compile is given up. Mount points get a trailing slash by it.
/// @param selection the compiler
void attachDirectories(const MonDirSpecList& directories, Selection& selection, ScanPlan& plan);

/// Compiles each statistic of monitored directories for every level at which one lies. A selection that fails
/// at one level gives the statistic up altogether: half of it would be worse than none.
/// @param selection the compiler
void attachDirectoryStatistics(const StatisticList& statistics, Selection& selection, ScanPlan& plan);

}  // namespace agent
