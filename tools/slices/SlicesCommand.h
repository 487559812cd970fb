#pragma once

#include <string>
#include <vector>

#include "definition/ScandefOptions.h"

namespace agent::scandef {

/// Cuts the definition of a request into slices and writes each into a directory of its own below
/// `request.output`, with what is to be mounted before it is walked. What stands where is described in
/// docs/fleet.md.
/// @return what people should know: how the work is spread
/// @throws UsageError where the definition can't be cut as asked
/// @throws std::runtime_error where something can't be written
std::vector<std::string> writeSlices(const Request& request);

}  // namespace agent::scandef
