#pragma once

#include <ostream>
#include <string>

#include "figures/Figures.h"
#include "figures/RunName.h"

namespace agent::tools {

/// Prints a result as gauges in the text format that Prometheus' collectors read. Labels are the job, the
/// mount point, the statistic with its monitored directory, and the owners, groups and types that a statistic
/// tells of; no other paths. Space is in bytes, times are seconds since the epoch.
///
/// Labels are as safeText shows them, so they are valid UTF-8 and stay different. No metric has the same
/// labels twice: of statistics that bear one name each gets its number behind, and of what a result tells
/// twice all the same the first counts.
void printPrometheus(std::ostream& out, const Figures& figures, const RunName& run);

}  // namespace agent::tools
