#include "report/ScanreportOptions.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>
#include <limits>

#include "terminal/CommandOptions.h"

namespace agent::tools {

std::unique_ptr<CLI::App> scanreportCommand(ReportRequest& request) {
  auto command = std::make_unique<CLI::App>();
  beginCommand(*command, "scanreport", "[option...] FILE",
               "Shows what a scan has found. Of a file that breaks off it shows what is sound.",
               "Exit codes: 0 shown, 1 the file can't be read or isn't whole, 2 the arguments are wrong.\n"
               "Example: scanreport output/server/daily.0001_scan.00000001.dat");
  command->add_option("FILE", request.files, "the result file")->required()->type_name("FILE");
  command
      ->add_option("--rows", request.rows,
                   "lines of each list that are shown (10)\n"
                   "It holds for the monitored directories of each statistic too. A line behind them tells "
                   "how many more there are.")
      ->type_name("N")
      ->check(CLI::Range(1, std::numeric_limits<int>::max()));
  command
      ->add_option_function<std::string>(
          "--sort", [&request](const std::string& order) { request.order = orderOf(order); },
          "what the lists begin with (space)\n"
          "The most space, the most entries, or the first by name. Lists of files have one entry in a line: "
          "entries leaves them as they are.")
      ->type_name("ORDER")
      ->check(CLI::IsMember(ORDER_NAMES));
  command->add_flag(
      "--json", request.json,
      "one record a line, as JSON, instead\n"
      "Its class is in class; filesystem, statistic and directory say what it belongs to, and fields "
      "holds its columns: numbers as numbers, histograms as arrays, flags as booleans. A name that "
      "is no UTF-8 has its broken bytes replaced, and all its bytes in hexadecimal beside it, under "
      "the column's name with \"Bytes\" behind. Of a file that isn't whole the first line has the "
      "class NotWhole, with line and reason.");
  command
      ->add_option(
          "--html", request.html,
          "write one page for a browser to this file\n"
          "It holds everything that it needs, no script among it, and lets a browser fetch nothing, so "
          "that it can be handed on as it is: the figures, histograms, and the largest directories as a "
          "map, for light and dark screens, for paper and for screen readers. Times in it are UTC. The "
          "file is replaced as a whole, or stays as it is; - is standard output. Of a result that isn't "
          "whole the page begins with a warning. Lists are as long as --rows has them.")
      ->type_name("FILE")
      ->excludes("--json");
  command->add_flag("--no-pager", request.noPager,
                    "never show a long text through a pager\n"
                    "Otherwise a text that is longer than the terminal goes through PAGER, or less(1).");
  return command;
}

}  // namespace agent::tools
