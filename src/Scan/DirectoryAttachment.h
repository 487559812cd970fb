#pragma once

#include "Scan/AgentScan.h"
#include "Scan/ScanPlan.h"
#include "Scan/selection/Selection.h"

namespace agent {

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
