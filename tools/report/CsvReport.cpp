#include "report/CsvReport.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <vector>

#include "Common/SafeText.h"

namespace agent::tools {

namespace {

constexpr const char* LINE_END = "\r\n";

/// What makes a formula of a cell; the wide forms do so where people write Chinese, Japanese or Korean.
constexpr std::array<std::string_view, 10> FORMULA_BEGINNINGS = {
    "=", "+", "-", "@", "\t", "\r", "\uFF1D", "\uFF0B", "\uFF0D", "\uFF20"};

bool needsApostrophe(std::string_view text) {
  if (text.starts_with('\'')) return true;
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return std::any_of(FORMULA_BEGINNINGS.begin(), FORMULA_BEGINNINGS.end(),
                     [text](std::string_view beginning) { return text.starts_with(beginning); });
}

/// Years of more than four digits get them, with a sign; times farther away than 27,000 years are shown
/// there.
std::string timeText(int64_t seconds) {
  using std::chrono::days;
  constexpr int64_t DAY = 86400;
  constexpr int64_t FARTHEST = 10'000'000 * DAY;  // what the calendar knows
  const int64_t shown = std::clamp(seconds, -FARTHEST, FARTHEST);
  const std::chrono::sys_days day(days(static_cast<int32_t>((shown - (shown % DAY + DAY) % DAY) / DAY)));
  const std::chrono::year_month_day date(day);
  const auto second = static_cast<int>((shown % DAY + DAY) % DAY);
  const int year = static_cast<int>(date.year());
  char text[64];
  snprintf(text, sizeof text,
           year < 0 || year > 9999 ? "%+05d-%02u-%02u %02d:%02d:%02d" : "%04d-%02u-%02u %02d:%02d:%02d", year,
           static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), second / 3600,
           second / 60 % 60, second % 60);
  return text;
}

std::string cellText(ColumnKind kind, const Cell& cell) {
  if (const auto* text = std::get_if<std::string_view>(&cell)) return csvCell(safeText(*text));
  const auto* const number = std::get_if<int64_t>(&cell);
  if (number == nullptr) return {};
  if (kind == ColumnKind::FLAG) return *number != 0 ? "true" : "false";
  return kind == ColumnKind::SECONDS ? csvCell(timeText(*number)) : std::to_string(*number);
}

/// The tables that a table refers to, from the run's down.
std::vector<const ResultTable*> parentsOf(const ResultTable& table) {
  std::vector<const ResultTable*> parents;
  for (const ResultTable* above = &table; &above->parent() != above; above = &above->parent()) {
    parents.insert(parents.begin(), &above->parent());
  }
  return parents;
}

/// Prints the rows of one table, and keeps the last rows of those that it refers to.
class CsvLines : public TableSink {
 public:
  CsvLines(std::ostream& out, const ResultTable& table)
      : out_(out), table_(table), parents_(parentsOf(table)), beginnings_(parents_.size()) {
    std::string line;
    for (const ResultTable* parent : parents_) {
      for (const TableColumn& column : parent->columns) {
        if (column.tellsApart) line += std::string(column.name) + ",";
      }
    }
    for (const TableColumn& column : table.columns) {
      if (!column.reference) line += std::string(column.name) + ",";
    }
    line.pop_back();
    out_ << line << LINE_END;
  }

  void row(const ResultTable& table, std::span<const Cell> cells) override {
    if (const auto found = std::find(parents_.begin(), parents_.end(), &table); found != parents_.end()) {
      std::string& beginning = beginnings_[static_cast<size_t>(found - parents_.begin())];
      beginning.clear();
      for (size_t i = 0; i < cells.size(); ++i) {
        if (table.columns[i].tellsApart) beginning += cellText(table.columns[i].kind, cells[i]) + ",";
      }
    }
    if (&table != &table_) return;
    std::string line;
    for (const std::string& beginning : beginnings_) line += beginning;
    for (size_t i = 0; i < cells.size(); ++i) {
      if (!table.columns[i].reference) line += cellText(table.columns[i].kind, cells[i]) + ",";
    }
    line.pop_back();
    out_ << line << LINE_END;
  }

 private:
  std::ostream& out_;
  const ResultTable& table_;
  std::vector<const ResultTable*> parents_;
  std::vector<std::string> beginnings_;  // of a line, one for each of them
};

}  // namespace

void printCsv(std::ostream& out, const ResultTable& table, const RunFigures& run, const Figures& figures) {
  CsvLines lines(out, table);
  writeTables(run, figures, lines);
}

std::string csvCell(std::string_view text) {
  std::string cell = needsApostrophe(text) ? "'" : "";
  cell += text;
  if (cell.find_first_of(",\"\r\n") == std::string::npos) return cell;
  for (size_t at = cell.find('"'); at != std::string::npos; at = cell.find('"', at + 2))
    cell.insert(at, 1, '"');
  return '"' + cell + '"';
}

}  // namespace agent::tools
