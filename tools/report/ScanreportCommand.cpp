#include "report/ScanreportCommand.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "Common/SafeText.h"
#include "figures/Alerts.h"
#include "figures/Comparison.h"
#include "figures/Figures.h"
#include "figures/ResultFile.h"
#include "figures/ResultTables.h"
#include "figures/RunName.h"
#include "report/ComparisonReport.h"
#include "report/CsvReport.h"
#include "report/HtmlReport.h"
#include "report/JsonReport.h"
#include "report/LoadCommand.h"
#include "report/MergedFile.h"
#include "report/PrometheusReport.h"
#include "report/ReplacedFile.h"
#include "report/ScanreportOptions.h"
#include "report/TextReport.h"
#include "terminal/CommandOptions.h"
#include "terminal/Pager.h"

namespace agent::tools {

namespace {

/// The one result file of a request that shows one, in which nothing is at odds.
const std::string& onlyFile(const ReportRequest& request) {
  if (request.files.size() > 1) {
    throw UsageError("two files are named, " + inQuotes(request.files[0]) + " and " +
                     inQuotes(request.files[1]) +
                     ": it shows one at a time, and only --sqlite, --postgres and --merge take several");
  }
  const bool needsOlder = std::any_of(request.alerts.begin(), request.alerts.end(), [](const Alert& alert) {
    return alert.subject == Alert::Subject::GROWTH;
  });
  if (needsOlder && request.against.empty())
    throw UsageError("--alert growth>: it needs a result to go --against");
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

/// Writes the page of a result.
/// @throws ResultFileError when that can't be done
void writePage(const ReportRequest& request, const Figures& figures, const Comparison* comparison,
               std::ostream& out) {
  if (request.html == "-") {
    printHtml(out, figures, comparison, request.style.rows);
    out.flush();
    return;
  }
  std::ostringstream page;
  printHtml(page, figures, comparison, request.style.rows);
  try {
    replaceFile(request.html, page.str(), Readers::AS_USUAL);
  } catch (const std::runtime_error& error) {
    throw ResultFileError("the page " + inQuotes(request.html) + " isn't written: " + error.what());
  }
}

int show(const ReportRequest& request, std::ostream& out, std::ostream& err, const Screen& screen) {
  const std::string& file = onlyFile(request);
  for (const std::string& read : {file, request.against}) {
    if (std::error_code none; !request.html.empty() && std::filesystem::equivalent(request.html, read, none))
      throw UsageError("the page would replace the result " + inQuotes(read));
  }
  const ResultFile result = soundPartOf(file, err);
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
    if (!request.html.empty()) {
      writePage(request, figures, comparison ? &*comparison : nullptr, out);
    } else {
      std::ostringstream text;
      if (comparison) {
        printComparison(text, *comparison, screen, request.style.rows);
      } else {
        TextReport(text, screen, request.style).print(figures);
      }
      showText(text.str(), out, request.noPager ? 0 : screen.lines);
    }
  }
  if (!out) throw ResultFileError("standard output can't be written");
  const bool isPassed = tellAlerts(request, figures, comparison ? &*comparison : nullptr, err);
  return !isWhole ? NOT_WHOLE : isPassed ? LIMIT_PASSED : SHOWN;
}

/// Prints or writes a form that other programs read.
int hand(const ReportRequest& request, std::ostream& out) {
  const std::string& file = onlyFile(request);
  const ResultFile result = wholeResult(file);
  Figures figures = figuresOf(result);
  if (request.csv != nullptr) {
    sortFigures(figures, request.style.order);
    printCsv(out, *request.csv, {hostOf(request), runNameOf(file), result.checksum}, figures);
  } else if (request.prometheus == "-") {
    printPrometheus(out, figures, runNameOf(file));
  } else {
    std::ostringstream text;
    printPrometheus(text, figures, runNameOf(file));
    try {
      replaceFile(request.prometheus, text.str(), Readers::EVERYBODY);
    } catch (const std::runtime_error& error) {
      throw ResultFileError(inQuotes(request.prometheus) + " stays as it is: " + error.what());
    }
  }
  if (!out.flush()) throw ResultFileError("standard output can't be written");
  return SHOWN;
}

int merge(const ReportRequest& request, std::ostream& err) {
  for (const std::string& file : request.files) {
    if (std::error_code none; std::filesystem::equivalent(request.output, file, none))
      throw UsageError("--output would replace the result " + inQuotes(file));
  }
  try {
    writeMerged(request.files, request.output, err);
  } catch (const std::exception& error) {
    err << "scanreport: nothing is merged: " << error.what() << "\n";
    return NOT_WHOLE;
  }
  return SHOWN;
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
    if (request.files.empty() && (request.postgres.empty() || request.spool.empty()))
      throw UsageError("FILE is required");
    if (request.merge) return merge(request, err);
    if (!request.sqlite.empty()) return loadIntoFile(request, out, err);
    if (!request.postgres.empty()) return sendToServer(request, out, err);
    if (request.csv != nullptr || !request.prometheus.empty()) return hand(request, out);
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
