#pragma once

#include <cstddef>
#include <ostream>
#include <string>

namespace agent::tools {

/// Shows a text: through the user's pager (PAGER, or less(1)) where it is longer than the terminal, otherwise
/// on `out`. One that can't be started is done without.
/// @param lines of the terminal that `out` is; 0 where it is none
void showText(const std::string& text, std::ostream& out, size_t lines);

}  // namespace agent::tools
