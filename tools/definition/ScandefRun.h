#pragma once

#include <string>

#include "definition/ScandefOptions.h"

namespace agent::scandef {

/// Scans now: writes the definition where a job looks for it, runs the job in the foreground with its
/// progress, and shows the report.
/// @param text the definition file's
/// @return the job's exit code; 1 where it could not be started, with a message
int runScan(const Request& request, const std::string& text);

/// Writes a file whole.
/// @throws std::runtime_error with the system's reason
void writeFile(const std::string& path, const std::string& text);

}  // namespace agent::scandef
