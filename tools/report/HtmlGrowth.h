#pragma once

#include "figures/Comparison.h"
#include "report/HtmlParts.h"

namespace agent::tools {

/// Prints what grew and what shrank since an older result, as a section of its own.
void printGrowth(HtmlParts& parts, const Comparison& comparison);

}  // namespace agent::tools
