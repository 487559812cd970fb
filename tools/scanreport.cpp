// Shows a result file to a person, or hands it on as JSON lines.

#include <iostream>

#include "report/ScanreportCommand.h"
#include "terminal/Screen.h"

int main(int argc, char** argv) {
  return agent::tools::scanreport({argv + 1, argv + argc}, std::cout, std::cerr,
                                  agent::tools::Screen::ofStandardOutput());
}
