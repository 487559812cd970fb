#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "terminal/Screen.h"

namespace agent::tools {

/// The whole of scanreport, from its arguments to its exit code.
/// @param arguments without the program's name
/// @param screen where `out` is shown
/// @return 0 shown, 1 the file can't be read or isn't whole, 2 the arguments are wrong
int scanreport(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               const Screen& screen);

}  // namespace agent::tools
