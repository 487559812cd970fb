// Shows a result file to a person, or hands it on as JSON lines.

#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "QLMlib/common/unx/SystemCalls.h"
#include "ScanreportCommand.h"

int main(int argc, char** argv) {
  // Colours are for a terminal whose user hasn't said otherwise (no-color.org).
  const bool color = agent::sys.isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr;
  return agent::tools::scanreport({argv + 1, argv + argc}, std::cout, std::cerr, color);
}
