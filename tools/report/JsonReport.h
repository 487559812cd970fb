#pragma once

#include <ostream>

#include "figures/ResultFile.h"

namespace agent::tools {

/// Prints every record of a result as one line of JSON: its class, the file system, statistic and monitored
/// directory that it belongs to, and its fields. Numbers are numbers, histograms arrays, "Y" and "N"
/// booleans. A text that is no UTF-8 has its broken bytes replaced, and all its bytes in hexadecimal beside
/// it under "<name>Bytes". Characters that a terminal acts upon are written as "\\uNNNN". A result that
/// isn't whole begins with a line of the class "NotWhole", with the line of the file and the reason.
void printJson(std::ostream& out, const ResultFile& result);

}  // namespace agent::tools
