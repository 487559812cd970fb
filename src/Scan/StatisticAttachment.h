#pragma once

#include "Scan/ScanPlan.h"
#include "Scan/selection/Selection.h"
#include "Scan/statistics/CuStatDef.h"

namespace agent {

/// Compiles each statistic that applies to file systems and ties it to those that it concerns: the ones that
/// it names, or all. One whose selection doesn't compile applies to nothing and is given up. Statistics of
/// monitored directories are passed over.
/// @param selection the compiler
void attachStatistics(const StatisticList& statistics, Selection& selection, ScanPlan& plan);

}  // namespace agent
