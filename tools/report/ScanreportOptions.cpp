#include "report/ScanreportOptions.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>
#include <limits>

#include "Common/SafeText.h"
#include "terminal/CommandOptions.h"

namespace agent::tools {

namespace {

Alert alertFor(const std::string& limit) {
  try {
    return alertOf(limit);
  } catch (const AlertError& error) {
    throw UsageError("--alert: \"" + safeText(limit) + "\": " + error.what());
  }
}

}  // namespace

std::unique_ptr<CLI::App> scanreportCommand(ReportRequest& request) {
  auto command = std::make_unique<CLI::App>();
  beginCommand(*command, "scanreport", "[option...] FILE",
               "Shows what a scan has found. Of a file that breaks off it shows what is sound.",
               "Exit codes: 0 shown, 1 the file can't be read or isn't whole, 2 wrong arguments, 3 --alert.\n"
               "Example: scanreport output/server/daily.0001_scan.00000001.dat");
  command->add_option("FILE", request.files, "the result file")->required()->type_name("FILE");
  command
      ->add_option("--rows", request.style.rows,
                   "lines of each list that are shown (10)\n"
                   "It holds for the monitored directories of each statistic too. A line behind them tells "
                   "how many more there are.")
      ->type_name("N")
      ->check(CLI::Range(1, std::numeric_limits<int>::max()));
  command
      ->add_option_function<std::string>(
          "--sort", [&request](const std::string& order) { request.style.order = orderOf(order); },
          "what the lists begin with (space)\n"
          "The most space, the most entries, or the first by name. Lists of files have one entry in a line: "
          "entries leaves them as they are.")
      ->type_name("ORDER")
      ->check(CLI::IsMember(ORDER_NAMES));
  command
      ->add_option(
          "--against", request.against,
          "show what grew and what shrank since an older result\n"
          "File systems, owners, groups, file types, classes of size and age, directories: what changed most "
          "first, with a bar to the right for what grew and to the left for what shrank. A list of the N "
          "largest doesn't tell of what isn't in it: there the line says that something came into the list "
          "or "
          "left it. Results are paired by mount point, statistics by name, owners and groups by number.")
      ->type_name("FILE");
  command
      ->add_option_function<std::vector<std::string>>(
          "--alert",
          [&request](const std::vector<std::string>& limits) {
            for (const std::string& limit : limits) request.alerts.push_back(alertFor(limit));
          },
          "end with 3 where something passes it, and say what\n"
          "owner>10G, group>, type>, directory>: the space of any of them; orphans>: of files whose owner is "
          "gone; "
          "fs>90%: of a file system's used space; inodes>; growth>: what a file system has grown by since "
          "the result of "
          "--against. K, M, G, T count by 1024. A share is of the capacity for fs and inodes, of what there "
          "was for "
          "growth, of the used space for the others. May be repeated.")
      ->type_name("LIMIT")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command->add_flag(
      "--details", request.style.details,
      "files with their apparent size and number of names\n"
      "A file with holes takes less than it seems to have. One with several names is counted once less "
      "than it has names in the tree. Of all files together a result tells neither: its totals are of "
      "allocated space.");
  command->add_flag(
      "--json", request.json,
      "one record a line, as JSON, instead\n"
      "Its class is in class; filesystem, statistic and directory say what it belongs to, and fields "
      "holds its columns: numbers as numbers, histograms as arrays, flags as booleans. A name that "
      "is no UTF-8 has its broken bytes replaced, and all its bytes in hexadecimal beside it, under "
      "the column's name with \"Bytes\" behind. Of a file that isn't whole the first line has the "
      "class NotWhole, with line and reason.");
  command->add_flag("--no-pager", request.noPager,
                    "never show a long text through a pager\n"
                    "Otherwise a text that is longer than the terminal goes through PAGER, or less(1).");
  return command;
}

}  // namespace agent::tools
