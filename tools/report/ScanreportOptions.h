#pragma once

#include <CLI/App.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "figures/Alerts.h"
#include "figures/ResultTables.h"
#include "report/TextReport.h"

namespace agent::tools {

/// What the command line of scanreport asks for.
struct ReportRequest {
  std::vector<std::string> files;
  ReportStyle style;
  std::string against;        ///< an older result; empty for none
  std::vector<Alert> alerts;  ///< limits to watch
  bool json = false;
  const ResultTable* csv = nullptr;  ///< the table that is asked for
  std::string prometheus;            ///< a file, or "-"
  std::string sqlite;                ///< the database
  std::string postgres;              ///< a connection string
  std::string spool;                 ///< a directory; empty: none
  std::string host;
  std::string html;    ///< the page's file, "-" for standard output; empty: none
  bool merge = false;  ///< join the files, which are of slices
  std::string output;  ///< of --merge
  bool noPager = false;
};

/// The options of scanreport, bound to a request that outlives them.
std::unique_ptr<CLI::App> scanreportCommand(ReportRequest& request);

}  // namespace agent::tools
