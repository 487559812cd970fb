#pragma once

#include <vector>

#include "Common/GenericPrint.h"
#include "figures/ResultFile.h"

namespace agent::tools {

/// Whether all nodes have the columns that this version writes, in its order.
bool isOfThisVersion(const std::vector<ResultNode>& nodes);

/// Writes a result as the job would: header block, nodes, end.
/// @param nodes of this version, see isOfThisVersion
/// @throws VOXIOException when a line can't be written
void printResult(GenericPrint& print, const std::vector<ResultNode>& nodes);

}  // namespace agent::tools
