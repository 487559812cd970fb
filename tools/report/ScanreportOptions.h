#pragma once

#include <CLI/App.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "figures/Figures.h"
#include "figures/ResultTables.h"

namespace agent::tools {

/// What the command line of scanreport asks for.
struct ReportRequest {
  std::vector<std::string> files;
  size_t rows = 10;
  Order order = Order::SPACE;
  bool json = false;
  const ResultTable* csv = nullptr;  ///< the table that is asked for
  std::string prometheus;            ///< a file, or "-"
  std::string sqlite;                ///< the database
  std::string host;
  bool noPager = false;
};

/// The options of scanreport, bound to a request that outlives them.
std::unique_ptr<CLI::App> scanreportCommand(ReportRequest& request);

}  // namespace agent::tools
