#pragma once

#include <cstddef>
#include <ostream>

#include "figures/Comparison.h"
#include "terminal/Screen.h"

namespace agent::tools {

/// Prints what grew and what shrank, with a signed bar in each line.
/// @param rows how many lines of each list are shown
void printComparison(std::ostream& out, const Comparison& comparison, const Screen& screen, size_t rows);

}  // namespace agent::tools
