#include "ScanreportCommand.h"

#include <stdexcept>
#include <string_view>

#include "Common/SafeText.h"
#include "JsonReport.h"
#include "QLMlib/common/ut/NumberText.h"
#include "TextReport.h"
#include "figures/Figures.h"
#include "figures/ResultFile.h"

namespace agent::tools {

namespace {

constexpr int SHOWN = 0;
constexpr int NOT_WHOLE = 1;
constexpr int BAD_USAGE = 2;

constexpr const char* USAGE =
    "usage: scanreport [--json] [--rows N] FILE\n"
    "\n"
    "Shows what a scan has found: for each file system its space, totals of owners and\n"
    "groups, histograms of sizes and ages, the largest and oldest files, file types and\n"
    "monitored directories. Of a file that breaks off it shows what is sound, with a warning.\n"
    "\n"
    "  --json     one record a line, as JSON, instead\n"
    "  --rows N   lines of each list that are shown (10)\n"
    "  -h, --help this text\n"
    "\n"
    "Exit codes: 0 shown, 1 the file can't be read or isn't whole, 2 the arguments are wrong.\n"
    "\n"
    "Example: scanreport output/server/daily.0001_scan.00000001.dat\n";

/// Arguments that can't be followed; the text says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Request {
  bool help = false;
  bool json = false;
  size_t rows = 10;
  std::string file;
};

std::string inQuotes(std::string_view text) {
  return "\"" + safeText(text) + "\"";
}

size_t rowsOf(const std::string& value) {
  const std::optional<size_t> rows = wholeNumber<size_t>(value);
  if (!rows || *rows == 0) throw UsageError("--rows: " + inQuotes(value) + " is no number from 1 on");
  return *rows;
}

// "--option value" and "--option=value".
Request parsed(const std::vector<std::string>& arguments) {
  Request request;
  for (size_t place = 0; place < arguments.size(); ++place) {
    const std::string& argument = arguments[place];
    if (!argument.starts_with("-") || argument.size() == 1) {
      if (!request.file.empty())
        throw UsageError("two files are named, " + inQuotes(request.file) + " and " + inQuotes(argument) +
                         ": it shows one at a time");
      request.file = argument;
      continue;
    }
    const size_t equals = argument.find('=');
    const bool hasValue = equals != std::string::npos;
    const std::string option = argument.substr(0, equals);
    if (option == "--rows") {
      const bool valueBehind = !hasValue && place + 1 < arguments.size();
      request.rows = rowsOf(hasValue ? argument.substr(equals + 1) : valueBehind ? arguments[++place] : "");
    } else if (option == "--json" || option == "--help" || option == "-h") {
      if (hasValue) throw UsageError(option + " takes no value");
      (option == "--json" ? request.json : request.help) = true;
    } else {
      throw UsageError("unknown option " + inQuotes(option));
    }
  }
  if (request.file.empty() && !request.help) throw UsageError("no result file is named");
  return request;
}

int show(const Request& request, std::ostream& out, std::ostream& err, const Screen& screen) {
  const ResultFile result = readResultFile(request.file);
  const bool nothingSound = result.fault && result.nodes.empty();
  if (nothingSound) throw ResultFileError(result.fault->text());
  if (request.json) {
    printJson(out, result);
  } else {
    TextReport(out, screen, request.rows).print(figuresOf(result));
  }
  out.flush();
  if (result.fault) {
    err << "scanreport: " << inQuotes(request.file)
        << " is not whole, shown is what stands in front of its fault: " << result.fault->text() << "\n";
  }
  if (!out) throw ResultFileError("standard output can't be written");
  return result.fault ? NOT_WHOLE : SHOWN;
}

}  // namespace

int scanreport(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               const Screen& screen) {
  Request request;
  try {
    request = parsed(arguments);
    if (request.help) {
      out << USAGE << std::flush;
      return SHOWN;
    }
    return show(request, out, err, screen);
  } catch (const UsageError& error) {
    err << "scanreport: " << error.what() << "\n" << USAGE;
    return BAD_USAGE;
  } catch (const std::exception& error) {
    err << "scanreport: " << inQuotes(request.file) << " can't be shown: " << error.what() << "\n";
    return NOT_WHOLE;
  }
}

}  // namespace agent::tools
