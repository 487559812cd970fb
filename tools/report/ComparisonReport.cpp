#include "report/ComparisonReport.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "Common/SafeText.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

constexpr size_t SIZE = 10;
constexpr size_t GROWTH = 12;
constexpr size_t SHARE = 8;
constexpr size_t LABEL = 22;  // in eighty columns

class ComparisonReport {
 public:
  ComparisonReport(std::ostream& out, const Screen& screen, size_t rows)
      : out_(out),
        screen_(screen),
        rows_(rows),
        label_(LABEL + (screen.width > Screen::USUAL ? (screen.width - Screen::USUAL) / 2 : 0)),
        half_((screen.width - 1 - 2 - label_ - SIZE - GROWTH - SHARE - 2) / 2) {}

  void print(const Comparison& comparison);

 private:
  void filesystem(const FilesystemChange& filesystem);
  void table(const ChangeTable& table, const std::string& mountPoint);
  void line(const Change& change, const std::string& name, int64_t largest);
  std::string signedBar(int64_t growth, int64_t largest) const;

  std::ostream& out_;
  Screen screen_;
  size_t rows_;
  size_t label_;
  size_t half_;  // of a signed bar, on each side of its middle
};

/// What shrank is left of the middle, what grew right of it.
std::string ComparisonReport::signedBar(int64_t growth, int64_t largest) const {
  const std::string filled = bar(std::abs(growth), largest, half_);
  const std::string part = filled.substr(0, filled.find(' '));
  const std::string empty(half_ - part.size(), ' ');
  if (growth < 0) return empty + screen_.green(part) + "|";
  return std::string(half_, ' ') + "|" + screen_.red(part);
}

void ComparisonReport::line(const Change& change, const std::string& name, int64_t largest) {
  out_ << "  " << padRight(fit(name, label_), label_);
  if (!change.before || !change.after) {
    const bool came = change.after.has_value();
    out_ << padLeft(humanBlocks(came ? *change.after : *change.before), SIZE)
         << (came ? "   has come into the list\n" : "   has left the list\n");
    return;
  }
  out_ << padLeft(humanBlocks(*change.after), SIZE) << padLeft(growthText(change), GROWTH)
       << padLeft(growthShare(change), SHARE) << "  " << signedBar(change.growth(), largest) << '\n';
}

void ComparisonReport::table(const ChangeTable& table, const std::string& mountPoint) {
  out_ << '\n' << screen_.bold(table.title) << '\n';
  int64_t largest = 0;
  for (const Change& change : table.changes) largest = std::max(largest, std::abs(change.growth()));
  for (size_t i = 0; i < table.changes.size() && i < rows_; ++i) {
    const Change& change = table.changes[i];
    line(change, safeText(belowMountPoint(change.name, mountPoint)), largest);
  }
  if (table.changes.size() > rows_)
    out_ << "  .. and " << grouped(static_cast<int64_t>(table.changes.size() - rows_)) << " more\n";
}

void ComparisonReport::filesystem(const FilesystemChange& change) {
  out_ << screen_.bold(screen_.blue(fit(safeText(change.mountPoint), screen_.width))) << '\n';
  if (!change.used.before || !change.used.after) {
    out_ << (change.used.after ? "  only in the new result\n" : "  only in the old result\n");
    return;
  }
  out_ << "  from " << humanTime(change.timeBefore) << " to " << humanTime(change.timeAfter) << '\n';
  line(change.used, "used space", std::abs(change.used.growth()));
  if (change.statistics.empty()) out_ << "  Nothing that is counted has changed.\n";
  for (const StatisticChange& statistic : change.statistics) {
    out_ << '\n'
         << screen_.bold(screen_.blue("-- " + fit(safeText(statistic.name), screen_.width - 3))) << '\n';
    for (const ChangeTable& one : statistic.tables) table(one, change.mountPoint);
  }
}

void ComparisonReport::print(const Comparison& comparison) {
  for (size_t i = 0; i < comparison.filesystems.size(); ++i) {
    if (i > 0) out_ << '\n';
    filesystem(comparison.filesystems[i]);
  }
  if (comparison.filesystems.empty()) out_ << "Neither result has a file system.\n";
}

}  // namespace

void printComparison(std::ostream& out, const Comparison& comparison, const Screen& screen, size_t rows) {
  ComparisonReport(out, screen, rows).print(comparison);
}

}  // namespace agent::tools
