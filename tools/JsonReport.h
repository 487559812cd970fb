#pragma once

#include <ostream>
#include <vector>

#include "ResultFile.h"

namespace agent::tools {

/// Prints every record of a result as one line of JSON: its class, the file system, statistic and monitored
/// directory that it belongs to, and its fields. Numbers are numbers, histograms arrays, "Y" and "N"
/// booleans. A text that is no UTF-8 has its broken bytes replaced, and all its bytes in hexadecimal beside
/// it under
/// "<field>Bytes".
void printJson(std::ostream& out, const std::vector<ResultNode>& nodes);

}  // namespace agent::tools
