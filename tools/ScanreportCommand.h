#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace agent::tools {

/// The whole of scanreport, from its arguments to its exit code.
/// @param arguments without the program's name
/// @param color use terminal colours
/// @return 0 shown, 1 the file can't be read or isn't whole, 2 the arguments are wrong
int scanreport(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err, bool color);

}  // namespace agent::tools
