#include "report/ScanreportCommand.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "Common/SafeText.h"
#include "figures/Alerts.h"
#include "figures/Comparison.h"
#include "figures/Figures.h"
#include "figures/ResultFile.h"
#include "report/ComparisonReport.h"
#include "report/JsonReport.h"
#include "report/ScanreportOptions.h"
#include "report/TextReport.h"
#include "terminal/CommandOptions.h"
#include "terminal/Pager.h"

namespace agent::tools {

namespace {

constexpr int SHOWN = 0;
constexpr int NOT_WHOLE = 1;
constexpr int BAD_USAGE = 2;
constexpr int LIMIT_PASSED = 3;

std::string inQuotes(std::string_view text) {
  return "\"" + safeText(text) + "\"";
}

/// The one result file of a request that shows one, in which nothing is at odds.
const std::string& onlyFile(const ReportRequest& request) {
  if (request.files.size() > 1) {
    throw UsageError("two files are named, " + inQuotes(request.files[0]) + " and " +
                     inQuotes(request.files[1]) + ": it shows one at a time");
  }
  const bool needsOlder = std::any_of(request.alerts.begin(), request.alerts.end(), [](const Alert& alert) {
    return alert.subject == Alert::Subject::GROWTH;
  });
  if (needsOlder && request.against.empty())
    throw UsageError("--alert growth>: it needs a result to go --against");
  if (request.json && !request.against.empty()) throw UsageError("--json and --against exclude each other");
  return request.files.front();
}

/// A file of which at least something is sound.
ResultFile soundPartOf(const std::string& file, std::ostream& err) {
  ResultFile result = readResultFile(file);
  if (!result.fault) return result;
  if (result.nodes.empty()) throw ResultFileError(result.fault->text());
  err << "scanreport: " << inQuotes(file)
      << " is not whole, shown is what stands in front of its fault: " << result.fault->text() << "\n";
  return result;
}

/// What the limits of a request say.
/// @return true where one is passed
bool tellAlerts(const ReportRequest& request, const Figures& figures, const Comparison* comparison,
                std::ostream& err) {
  bool isAnyPassed = false;
  for (const Alert& alert : request.alerts) {
    for (const std::string& sentence : passed(alert, figures, comparison)) {
      err << "scanreport: ALERT " << safeText(alert.text) << ": " << sentence << "\n";
      isAnyPassed = true;
    }
  }
  return isAnyPassed;
}

int show(const ReportRequest& request, std::ostream& out, std::ostream& err, const Screen& screen) {
  const ResultFile result = soundPartOf(onlyFile(request), err);
  Figures figures = figuresOf(result);
  sortFigures(figures, request.style.order);
  std::optional<Comparison> comparison;
  bool isWhole = !result.fault;
  if (!request.against.empty()) {
    const ResultFile older = soundPartOf(request.against, err);
    isWhole = isWhole && !older.fault;
    comparison = compare(figuresOf(older), figures);
  }
  if (request.json) {
    printJson(out, result);
    out.flush();
  } else {
    std::ostringstream text;
    if (comparison) {
      printComparison(text, *comparison, screen, request.style.rows);
    } else {
      TextReport(text, screen, request.style).print(figures);
    }
    showText(text.str(), out, request.noPager ? 0 : screen.lines);
  }
  if (!out) throw ResultFileError("standard output can't be written");
  const bool isPassed = tellAlerts(request, figures, comparison ? &*comparison : nullptr, err);
  return !isWhole ? NOT_WHOLE : isPassed ? LIMIT_PASSED : SHOWN;
}

}  // namespace

int scanreport(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               const Screen& screen) {
  ReportRequest request;
  const auto command = scanreportCommand(request);
  try {
    if (const auto text = parseCommand(*command, arguments)) {
      out << *text << std::flush;
      return SHOWN;
    }
    return show(request, out, err, screen);
  } catch (const UsageError& error) {
    err << "scanreport: " << error.what() << "\nTry scanreport --help.\n";
    return BAD_USAGE;
  } catch (const std::exception& error) {
    err << "scanreport: " << inQuotes(request.files.front()) << " can't be shown: " << error.what() << "\n";
    return NOT_WHOLE;
  }
}

}  // namespace agent::tools
