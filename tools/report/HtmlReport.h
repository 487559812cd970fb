#pragma once

#include <cstddef>
#include <ostream>

#include "figures/Comparison.h"
#include "figures/Figures.h"

namespace agent::tools {

/// Prints a result as one page for a browser that needs nothing else: no script, no file, no network. The
/// same result gives the same bytes, wherever and whenever: times are UTC.
/// @param comparison what has changed since an older result; null: nothing is said of that
/// @param rows how many lines of each list are shown
void printHtml(std::ostream& out, const Figures& figures, const Comparison* comparison, size_t rows);

}  // namespace agent::tools
