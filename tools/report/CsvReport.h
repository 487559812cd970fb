#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "figures/ResultTables.h"

namespace agent::tools {

/// Prints one table of a result as comma-separated values (RFC 4180), for spreadsheets: a line of names, then
/// one for each row. Instead of the numbers of a file system or a statistic, lines begin with what these and
/// the run are called.
///
/// Names are shown as safeText shows them, times as "2026-11-24 23:03:43" in UTC, flags as "true" and
/// "false"; what there is no value for is empty. A text that a spreadsheet would take for a formula, or that
/// begins with an apostrophe, has an apostrophe in front.
void printCsv(std::ostream& out, const ResultTable& table, const RunFigures& run, const Figures& figures);

/// A text as a cell of such a line, with the quotes that it needs.
std::string csvCell(std::string_view text);

}  // namespace agent::tools
