// Shows a result file to a person, or hands it on as JSON lines.

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <string_view>

#include "JsonReport.h"
#include "ResultFile.h"
#include "TextReport.h"

namespace {

constexpr int BAD_USAGE = 2;

constexpr const char* USAGE =
    "usage: scanreport [--json] [--rows N] FILE\n"
    "\n"
    "Shows what a scan has found: for each file system its space, totals of owners and\n"
    "groups, histograms of sizes and ages, the largest and oldest files, file types and\n"
    "monitored directories.\n"
    "\n"
    "  --json     one record a line, as JSON, instead\n"
    "  --rows N   lines of each list that are shown (10)\n"
    "  --help     this text\n"
    "\n"
    "Exit codes: 0 shown, 1 the file can't be read, 2 the arguments are wrong.\n"
    "\n"
    "Example: scanreport output/server/daily.0001_scan.00000001.dat\n";

int badUsage(const std::string& reason) {
  std::cerr << "scanreport: " << reason << "\n" << USAGE;
  return BAD_USAGE;
}

/// Colours are for a terminal whose user hasn't said otherwise (no-color.org).
bool wantsColor() {
  return isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  bool json = false;
  size_t rows = 10;
  std::string file;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--help" || argument == "-h") {
      std::cout << USAGE;
      return 0;
    }
    if (argument == "--json") {
      json = true;
    } else if (argument == "--rows") {
      const char* value = i + 1 < argc ? argv[++i] : "";
      char* end = nullptr;
      rows = std::strtoul(value, &end, 10);
      if (end == value || *end != '\0' || rows == 0) return badUsage("--rows takes a number from 1 on");
    } else if (argument.starts_with("-") && argument.size() > 1) {
      return badUsage("unknown option \"" + std::string(argument) + "\"");
    } else if (!file.empty()) {
      return badUsage("one file at a time");
    } else {
      file = argument;
    }
  }
  if (file.empty()) return badUsage("which file?");
  try {
    const std::vector<agent::tools::ResultNode> nodes = agent::tools::readResultFile(file);
    if (json) {
      agent::tools::printJson(std::cout, nodes);
    } else {
      agent::tools::TextReport(std::cout, wantsColor(), rows).print(nodes);
    }
  } catch (const std::exception& exception) {
    std::cerr << "scanreport: \"" << file << "\" can't be shown: " << exception.what() << "\n";
    return 1;
  }
  return std::cout.flush() ? 0 : 1;
}
