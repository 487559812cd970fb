#include "merge/RecordSums.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <optional>

#include "Common/CellFormat.h"
#include "Common/EntityToObjectMapper.h"
#include "Common/ScanVOXTags.h"
#include "Scan/results/STimeDist.h"
#include "figures/Figures.h"

namespace agent::tools {

namespace {

using Tags = ScanVOXTags;

/// A counter as its column holds it: one of 32 bits wraps, as the job's own does.
int64_t inWidthOf(std::optional<CellKind> kind, int64_t number) {
  return kind == CellKind::NUMBER_32 ? static_cast<int32_t>(number) : number;
}

/// What becomes of a column where records are joined.
enum class Rule {
  FIRST,  ///< that of the first record
  SUM,
  CLASSES,  ///< sums of a histogram's classes
  EARLIEST,
};

Rule ruleOf(std::string_view column) {
  static const std::map<std::string_view, Rule> RULES = {
      {Tags::SUM_TOTAL_SIZE, Rule::SUM},    {Tags::SUM_FILE_CNT, Rule::SUM},
      {Tags::SUM_DIR_CNT, Rule::SUM},       {Tags::SUM_SCAN_TIME, Rule::EARLIEST},
      {Tags::SZD_SIZES, Rule::CLASSES},     {Tags::SZD_COUNTS, Rule::CLASSES},
      {Tags::TD_SIZES, Rule::CLASSES},      {Tags::TD_CNTS, Rule::CLASSES},
      {Tags::TD_SCAN_TIME, Rule::EARLIEST}, {Tags::SUG_FILE_CNT, Rule::SUM},
      {Tags::SUG_TOTAL_SIZE, Rule::SUM},    {Tags::SUG_DIR_CNT, Rule::SUM},
      {Tags::SUG_OTHER_CNT, Rule::SUM},     {Tags::SUG_UNUSED_SPACE, Rule::SUM},
      {Tags::SUG_TS, Rule::EARLIEST},       {Tags::SUG_SIZES, Rule::CLASSES},
      {Tags::SUG_COUNTS, Rule::CLASSES},    {"fsScanTime", Rule::EARLIEST},
  };
  const auto rule = RULES.find(column);
  return rule != RULES.end() ? rule->second : Rule::FIRST;
}

/// "a,b,c" plus "d,e,f".
std::string sumOfClasses(std::string_view a, std::string_view b) {
  const std::vector<std::string> left = splitAtCommas(a), right = splitAtCommas(b);
  std::vector<std::string> sums;
  for (size_t i = 0; i < std::max(left.size(), right.size()); ++i) {
    const auto numberAt = [i](const auto& classes) { return i < classes.size() ? toInt64(classes[i]) : 0; };
    sums.push_back(std::to_string(plus(numberAt(left), numberAt(right))));
  }
  return joinWithCommas(sums);
}

/// Entries whose age the average counts: all but those of the future.
double agedIn(const ResultNode& times) {
  std::vector<int64_t> counts = times.numbers(Tags::TD_CNTS);
  counts.resize(STimeDist::BUCKETS - 1);
  double sum = 0;
  for (const int64_t count : counts) sum += static_cast<double>(std::max<int64_t>(count, 0));
  return sum;
}

}  // namespace

std::string& cellOf(ResultNode& node, std::string_view column) {
  return node.rows.at(0).at(node.columns->places.at(column));
}

void setNumber(ResultNode& node, std::string_view column, int64_t number) {
  cellOf(node, column) = std::to_string(number);
}

void add(ResultNode& node, std::string_view column, int64_t amount) {
  setNumber(node, column, plus(node.number(column), amount));
}

void addToClass(ResultNode& node, std::string_view column, size_t place, int64_t amount) {
  std::vector<int64_t> classes = node.numbers(column);
  if (place >= classes.size()) return;
  classes[place] = plus(classes[place], amount);
  std::string& cell = cellOf(node, column);
  cell.clear();
  for (const int64_t number : classes) cell += (cell.empty() ? "" : ",") + std::to_string(number);
}

void join(ResultNode& into, const ResultNode& other) {
  for (size_t i = 0; i < into.columns->names.size(); ++i) {
    std::string& cell = into.rows[0][i];
    const std::string& added = other.rows.at(0).at(i);
    switch (ruleOf(into.columns->names[i])) {
      case Rule::FIRST:
        break;
      case Rule::SUM:
        cell = std::to_string(inWidthOf(into.columns->kinds[i], plus(toInt64(cell), toInt64(added))));
        break;
      case Rule::CLASSES:
        cell = sumOfClasses(cell, added);
        break;
      case Rule::EARLIEST:
        cell = std::to_string(std::min(toInt64(cell), toInt64(added)));
        break;
    }
  }
}

void joinOwners(ResultNode& into, const ResultNode& other) {
  std::array<int64_t, 4> largest = {
      into.number(Tags::SUG_LARGEST_SIZE), into.number(Tags::SUG_2ND_LARGEST_SIZE),
      other.number(Tags::SUG_LARGEST_SIZE), other.number(Tags::SUG_2ND_LARGEST_SIZE)};
  std::sort(largest.begin(), largest.end(), std::greater<>());
  join(into, other);
  setNumber(into, Tags::SUG_LARGEST_SIZE, largest[0]);
  setNumber(into, Tags::SUG_2ND_LARGEST_SIZE, largest[1]);
}

// As likely as not half a second of each is missing.
int64_t averageAge(const std::vector<const ResultNode*>& records) {
  constexpr int64_t LIMIT = int64_t{1} << 53;  // which no age comes near; a damaged file may say anything
  double sum = 0, count = 0;
  for (const ResultNode* times : records) {
    const double entries = agedIn(*times);
    sum += (static_cast<double>(std::clamp(times->number(Tags::TD_AVG_AGE), -LIMIT, LIMIT)) + 0.5) * entries;
    count += entries;
  }
  return count > 0 ? static_cast<int64_t>(sum / count) : 0;
}

}  // namespace agent::tools
