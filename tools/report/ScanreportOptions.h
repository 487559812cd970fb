#pragma once

#include <CLI/App.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "figures/Figures.h"

namespace agent::tools {

/// What the command line of scanreport asks for.
struct ReportRequest {
  std::vector<std::string> files;
  size_t rows = 10;
  Order order = Order::SPACE;
  bool json = false;
  std::string html;  ///< the page's file, "-" for standard output; empty: none
  bool noPager = false;
};

/// The options of scanreport, bound to a request that outlives them.
std::unique_ptr<CLI::App> scanreportCommand(ReportRequest& request);

}  // namespace agent::tools
