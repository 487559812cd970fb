#include "report/ScanreportOptions.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>
#include <limits>
#include <string>
#include <vector>

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

std::vector<std::string> tableNames() {
  std::vector<std::string> names;
  for (const ResultTable* table : resultTables()) names.emplace_back(table->name);
  return names;
}

/// Of a name that is there, but empty, as of a variable that a script hasn't set.
std::string emptiness(const std::string& name) {
  return name.empty() ? "an empty name is none" : "";
}

CLI::Option* addPostgres(CLI::App& command, ReportRequest& request) {
  CLI::Option* const postgres = command
                                    .add_option("--postgres", request.postgres,
                                                "load results into the database of a fleet\n"
                                                "CONNINFO is as libpq(3) has it: \"host=db dbname=scans "
                                                "sslmode=verify-full\", \"service=scans\" or a "
                                                "URI. A password doesn't stand in it, but in ~/.pgpass or a "
                                                "service file. The tables, divided by months, "
                                                "and views that answer questions are made in a schema "
                                                "\"scan\"; a result that is there already changes "
                                                "nothing. Several may load at once.")
                                    ->type_name("CONNINFO")
                                    ->check(emptiness);
  command
      .add_option(
          "--spool", request.spool,
          "where results of --postgres wait for a server\n"
          "While the server is away, a copy of each result is put into this directory, which is made where "
          "there is none; the next run sends what waits first, with or without a FILE of its own. What the "
          "server refuses is kept there under a name that begins with refused.")
      ->type_name("DIRECTORY")
      ->check(emptiness)
      ->needs(postgres);
  return postgres;
}

/// What machines read.
void addExports(CLI::App& command, ReportRequest& request) {
  CLI::Option* const json = command.get_option("--json");
  CLI::Option* const csv =
      command
          .add_option_function<std::string>(
              "--csv", [&request](const std::string& name) { request.csv = resultTableNamed(name); },
              "one table of the result, for spreadsheets, instead\n"
              "A line of names, then one for each row, as RFC 4180 says. Lines begin with the host, the job, "
              "the "
              "mount point and the statistic that they belong to. Space is in bytes, times are UTC. Bytes "
              "that "
              "are no UTF-8 appear as \\xNN. A text that a spreadsheet would take for a formula, or that "
              "begins with an apostrophe, has an apostrophe in front. Of a file that isn't whole nothing is "
              "printed.")
          ->type_name("TABLE")
          ->check(CLI::IsMember(tableNames()));
  CLI::Option* const prometheus =
      command
          .add_option(
              "--prometheus", request.prometheus,
              "write metrics for node_exporter's textfile collector\n"
              "FILE is replaced as a whole, with mode 0644; its name should end in .prom. A dash stands "
              "for standard output. Labels are the job, mount points, statistics, monitored directories, "
              "owners, groups and types. When the result isn't whole FILE stays as it is.")
          ->type_name("FILE")
          ->check(emptiness);
  CLI::Option* const sqlite =
      command
          .add_option(
              "--sqlite", request.sqlite,
              "load results into an SQLite database\n"
              "It is made where there is none, and keeps all runs; a result that is there already, "
              "whatever its file is called, changes nothing. A file that isn't whole isn't loaded; those "
              "behind it are. Several may load at once.")
          ->type_name("FILE")
          ->check(emptiness);
  command
      .add_option("--host", request.host,
                  "the host that has been scanned (this one)\nFor --sqlite, --postgres and --csv.")
      ->type_name("NAME");
  CLI::Option* const postgres = addPostgres(command, request);
  CLI::Option* const against = command.get_option("--against");
  for (CLI::Option* one : {json, csv, prometheus, sqlite, postgres, against}) {
    for (CLI::Option* other : {json, csv, prometheus, sqlite, postgres, against}) {
      if (one != other) one->excludes(other);
    }
  }
  for (CLI::Option* one : {csv, prometheus, sqlite, postgres}) {
    one->excludes(command.get_option("--alert"));
    one->excludes(command.get_option("--html"));
  }
  json->excludes(command.get_option("--html"));
}

/// Joining the results of slices.
void addMerge(CLI::App& command, ReportRequest& request) {
  CLI::Option* const output =
      command
          .add_option("--output,-o", request.output,
                      "the file of --merge\nIt is replaced as a whole, or stays as it is.")
          ->type_name("FILE")
          ->check(emptiness);
  CLI::Option* const merge = command.add_flag(
      "--merge", request.merge,
      "join the results of slices to one\n"
      "They are those of all slices that scandef --slices has cut, in their order. Counts add up, the lists "
      "hold "
      "what a single walk's would, with what is equal in the order of the files. What no result tells may "
      "differ: "
      "a file with names in several slices is counted in none or in several of them, and ages count from the "
      "beginning of each slice's walk. Nothing is written when a slice is missing or not whole.");
  merge->needs(output);
  output->needs(merge);
  for (const char* const other :
       {"--json", "--csv", "--prometheus", "--sqlite", "--postgres", "--against", "--alert", "--html"}) {
    merge->excludes(command.get_option(other));
  }
}

}  // namespace

std::unique_ptr<CLI::App> scanreportCommand(ReportRequest& request) {
  auto command = std::make_unique<CLI::App>();
  beginCommand(*command, "scanreport", "[option...] FILE...",
               "Shows what a scan has found. Of a file that breaks off it shows what is sound.",
               "Exit codes: 0 done, 1 a file can't be read, written or isn't whole, 2 wrong arguments,\n"
               "  3 something passes an --alert, 4 a result waits in the --spool.\n"
               "Example: scanreport output/server/daily.0001_scan.00000001.dat");
  command->add_option("FILE", request.files, "the result file; several for --sqlite, --postgres and --merge")
      ->type_name("FILE");
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
      "its name with \"Bytes\" behind. Of a file that isn't whole the first line has the "
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
      ->type_name("FILE");
  addExports(*command, request);
  addMerge(*command, request);
  command->add_flag("--no-pager", request.noPager,
                    "never show a long text through a pager\n"
                    "Otherwise a text that is longer than the terminal goes through PAGER, or less(1).");
  return command;
}

}  // namespace agent::tools
