#include "figures/Alerts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <string_view>

#include "Common/SafeText.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

constexpr double BLOCK = 512;
constexpr double WHOLE = 100;  // percent

struct SubjectName {
  const char* name;
  Alert::Subject subject;
};
constexpr std::array<SubjectName, 8> SUBJECTS = {{{"fs", Alert::Subject::FILESYSTEM},
                                                  {"inodes", Alert::Subject::INODES},
                                                  {"owner", Alert::Subject::OWNER},
                                                  {"group", Alert::Subject::GROUP},
                                                  {"type", Alert::Subject::TYPE},
                                                  {"directory", Alert::Subject::DIRECTORY},
                                                  {"orphans", Alert::Subject::ORPHANS},
                                                  {"growth", Alert::Subject::GROWTH}}};

/// "10G" in bytes, "90%" in percent.
bool readLimit(std::string_view text, Alert& alert) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || value < 0) return false;
  const std::string_view unit(end, static_cast<size_t>(text.data() + text.size() - end));
  if (unit == "%") {
    alert.isShare = true;
  } else if (!unit.empty()) {
    const size_t power = std::string_view("KMGT").find(unit[0]);
    if (unit.size() != 1 || power == std::string_view::npos) return false;
    for (size_t i = 0; i <= power; ++i) value *= 1024;
  }
  alert.limit = value;
  return true;
}

/// What is watched on one file system, by name; of what several statistics count, the most.
class Amounts {
 public:
  void add(const std::string& name, int64_t amount) {
    int64_t& known = amounts_[name];
    known = std::max(known, amount);
  }
  const std::map<std::string, int64_t>& all() const { return amounts_; }

 private:
  std::map<std::string, int64_t> amounts_;
};

void addSource(Amounts& amounts, const SourceFigures& found, Alert::Subject subject) {
  switch (subject) {
    case Alert::Subject::OWNER:
      for (const IdentityFigures& one : found.users) amounts.add(one.identity.name, one.blocks);
      break;
    case Alert::Subject::GROUP:
      for (const IdentityFigures& one : found.groups) amounts.add(one.identity.name, one.blocks);
      break;
    case Alert::Subject::TYPE:
      for (const TypeFigures& one : found.types) amounts.add(one.extension, one.blocks);
      break;
    case Alert::Subject::DIRECTORY:
      for (const DirectoryFigures& one : found.directories) amounts.add(one.entry.path, one.blocks);
      break;
    case Alert::Subject::ORPHANS: {
      int64_t blocks = 0;
      for (const IdentityFigures& one : found.users)
        blocks = plus(blocks, one.identity.gone ? one.blocks : 0);
      if (blocks > 0) amounts.add("files whose owner is gone", blocks);
      break;
    }
    default:
      break;
  }
}

Amounts amountsOn(const FilesystemFigures& filesystem, Alert::Subject subject) {
  Amounts amounts;
  if (subject == Alert::Subject::FILESYSTEM) amounts.add("used space", filesystem.used);
  for (const StatisticFigures& statistic : filesystem.statistics) {
    if (statistic.onFilesystem) addSource(amounts, *statistic.onFilesystem, subject);
    if (subject != Alert::Subject::DIRECTORY) continue;
    for (const MonitoredFigures& monitored : statistic.inDirectories) {
      if (monitored.found.summary) amounts.add(monitored.directory.path, monitored.found.summary->blocks);
    }
  }
  return amounts;
}

/// @param whole what 100 % are, in the same unit as the amount
bool isPassed(const Alert& alert, int64_t amount, int64_t whole, double unit) {
  const auto value = static_cast<double>(amount);
  if (!alert.isShare) return value * unit > alert.limit;
  return whole > 0 && value * WHOLE / static_cast<double>(whole) > alert.limit;
}

std::string shareOf(int64_t amount, int64_t whole) {
  const std::string share = percent(amount, whole);
  return share.empty() ? "" : " (" + share + ")";
}

std::vector<std::string> passedGrowth(const Alert& alert, const Comparison& comparison) {
  std::vector<std::string> sentences;
  for (const FilesystemChange& filesystem : comparison.filesystems) {
    const int64_t growth = filesystem.used.growth(), before = filesystem.used.before.value_or(0);
    if (!isPassed(alert, growth, before, BLOCK)) continue;
    sentences.push_back(safeText(filesystem.mountPoint) + " has grown by " + humanBlocks(growth) +
                        shareOf(growth, before));
  }
  return sentences;
}

}  // namespace

Alert alertOf(const std::string& text) {
  Alert alert;
  alert.text = text;
  const size_t sign = text.find('>');
  const std::string name = text.substr(0, sign);
  const auto found = std::find_if(SUBJECTS.begin(), SUBJECTS.end(),
                                  [&name](const SubjectName& candidate) { return candidate.name == name; });
  if (sign == std::string::npos || found == SUBJECTS.end()) {
    std::string names;
    for (const SubjectName& subject : SUBJECTS) names += " " + std::string(subject.name) + ">";
    throw AlertError("expected one of" + names + " at the beginning");
  }
  alert.subject = found->subject;
  if (!readLimit(std::string_view(text).substr(sign + 1), alert))
    throw AlertError("expected a limit behind the >: bytes such as 10G, or a share such as 90%");
  return alert;
}

std::vector<std::string> passed(const Alert& alert, const Figures& figures, const Comparison* comparison) {
  if (alert.subject == Alert::Subject::GROWTH)
    return comparison != nullptr ? passedGrowth(alert, *comparison) : std::vector<std::string>();
  std::vector<std::string> sentences;
  for (const FilesystemFigures& filesystem : figures.filesystems) {
    const std::string place = " on " + safeText(filesystem.mountPoint);
    if (alert.subject == Alert::Subject::INODES) {
      if (isPassed(alert, filesystem.usedInodes, filesystem.inodes, 1))
        sentences.push_back(grouped(filesystem.usedInodes) + " inodes in use" +
                            shareOf(filesystem.usedInodes, filesystem.inodes) + place);
      continue;
    }
    const int64_t whole = alert.subject == Alert::Subject::FILESYSTEM ? filesystem.capacity : filesystem.used;
    const Amounts amounts = amountsOn(filesystem, alert.subject);
    for (const auto& [name, blocks] : amounts.all()) {
      if (!isPassed(alert, blocks, whole, BLOCK)) continue;
      sentences.push_back(safeText(name) + ": " + humanBlocks(blocks) + shareOf(blocks, whole) + place);
    }
  }
  return sentences;
}

}  // namespace agent::tools
