#include "report/ScanreportCommand.h"

#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "Common/SafeText.h"
#include "figures/Figures.h"
#include "figures/ResultFile.h"
#include "report/HtmlReport.h"
#include "report/JsonReport.h"
#include "report/ReplacedFile.h"
#include "report/ScanreportOptions.h"
#include "report/TextReport.h"
#include "terminal/CommandOptions.h"
#include "terminal/Pager.h"

namespace agent::tools {

namespace {

constexpr int SHOWN = 0;
constexpr int NOT_WHOLE = 1;
constexpr int BAD_USAGE = 2;

std::string inQuotes(std::string_view text) {
  return "\"" + safeText(text) + "\"";
}

/// The one result file of a request that shows one.
const std::string& onlyFile(const ReportRequest& request) {
  if (request.files.size() > 1) {
    throw UsageError("two files are named, " + inQuotes(request.files[0]) + " and " +
                     inQuotes(request.files[1]) + ": it shows one at a time");
  }
  return request.files.front();
}

/// Writes the page of a result.
/// @throws ResultFileError when that can't be done
void writePage(const ReportRequest& request, const Figures& figures, std::ostream& out) {
  if (request.html == "-") {
    printHtml(out, figures, request.rows);
    out.flush();
    return;
  }
  std::ostringstream page;
  printHtml(page, figures, request.rows);
  try {
    replaceFile(request.html, page.str());
  } catch (const std::runtime_error& error) {
    throw ResultFileError("the page " + inQuotes(request.html) + " isn't written: " + error.what());
  }
}

int show(const ReportRequest& request, std::ostream& out, std::ostream& err, const Screen& screen) {
  const std::string& file = onlyFile(request);
  if (std::error_code none; !request.html.empty() && std::filesystem::equivalent(request.html, file, none)) {
    throw UsageError("the page would replace the result " + inQuotes(file));
  }
  const ResultFile result = readResultFile(file);
  const bool nothingSound = result.fault && result.nodes.empty();
  if (nothingSound) throw ResultFileError(result.fault->text());
  if (request.json) {
    printJson(out, result);
    out.flush();
  } else {
    Figures figures = figuresOf(result);
    sortFigures(figures, request.order);
    if (!request.html.empty()) {
      writePage(request, figures, out);
    } else {
      std::ostringstream text;
      TextReport(text, screen, request.rows).print(figures);
      showText(text.str(), out, request.noPager ? 0 : screen.lines);
    }
  }
  if (result.fault) {
    err << "scanreport: " << inQuotes(file)
        << " is not whole, shown is what stands in front of its fault: " << result.fault->text() << "\n";
  }
  if (!out) throw ResultFileError("standard output can't be written");
  return result.fault ? NOT_WHOLE : SHOWN;
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
