#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "report/ScanreportCommand.h"

namespace agent::test {

/// scanreport in this process.
struct Report {
  explicit Report(const std::vector<std::string>& arguments) {
    std::ostringstream outStream, errStream;
    status = tools::scanreport(arguments, outStream, errStream, {});
    out = outStream.str();
    err = errStream.str();
  }
  int status;
  std::string out;
  std::string err;
};

}  // namespace agent::test
