#include "report/PrometheusReport.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Common/SafeText.h"
#include "figures/ResultTables.h"

namespace agent::tools {

namespace {

struct Metric {
  const char* name;
  const char* help;
};

// In the order in which they are printed.
constexpr std::array METRICS = {
    Metric{"scan_filesystem_capacity_bytes", "Space that the file system offers."},
    Metric{"scan_filesystem_used_bytes", "Capacity that isn't free."},
    Metric{"scan_filesystem_free_bytes", "Space that any user may take."},
    Metric{"scan_filesystem_inodes", "Inodes that there are, 0 where there is no such limit."},
    Metric{"scan_filesystem_used_inodes", "Inodes in use."},
    Metric{"scan_filesystem_scanned", "1 if it was walked, 0 if its figures are those of the definition."},
    Metric{"scan_filesystem_scan_timestamp_seconds", "When its walk began."},
    Metric{"scan_statistic_bytes", "Space of all entries that the statistic counts."},
    Metric{"scan_statistic_files", "Files and symbolic links that the statistic counts."},
    Metric{"scan_statistic_directories", "Directories that the statistic counts."},
    Metric{"scan_owner_bytes", "Space of what a user owns."},
    Metric{"scan_owner_files", "Files and symbolic links that a user owns."},
    Metric{"scan_group_bytes", "Space of what belongs to a group."},
    Metric{"scan_group_files", "Files and symbolic links that belong to a group."},
    Metric{"scan_orphan_bytes", "Space of what users own whom no database knows any more."},
    Metric{"scan_orphan_files", "Files and symbolic links of such users."},
    Metric{"scan_type_bytes", "Space of files with an extension."},
    Metric{"scan_type_files", "Files with an extension."},
    Metric{"scan_size_class_bytes", "Space of entries of a class of sizes."},
    Metric{"scan_size_class_entries", "Entries of a class of sizes."},
    Metric{"scan_age_class_bytes", "Space of entries by the time since their last use or change."},
    Metric{"scan_age_class_entries", "Entries by the time since their last use or change."},
    Metric{"scan_average_age_seconds", "Time since last use or change, on average."},
};

/// "name="value",", escaped as the format wants it.
std::string label(const char* name, std::string_view value) {
  std::string text = std::string(name) + "=\"";
  for (const char c : safeText(value)) {  // which leaves no line feed
    if (c == '\\' || c == '"') text += '\\';
    text += c;
  }
  return text + "\",";
}

std::string label(const char* name, int64_t number) {
  return label(name, std::to_string(number));
}

class Samples {
 public:
  explicit Samples(const RunName& run) : job_(label("scan_job", run.job)) {}

  void addFilesystem(const FilesystemFigures& filesystem);
  void print(std::ostream& out) const;

 private:
  void addStatistic(const std::string& labels, const SourceFigures& found);
  void addIdentities(const std::string& labels, const SourceFigures& found);
  void addClasses(const char* metric, const std::string& labels, const char* labelName,
                  std::span<const char* const> classes, const Histogram& histogram);
  void add(const std::string& metric, const std::string& labels, int64_t value);

  std::string job_;
  std::map<std::string, std::vector<std::string>, std::less<>> lines_;  // of each metric
  std::unordered_set<std::string> seen_;                                // metrics with their labels
};

void Samples::add(const std::string& metric, const std::string& labels, int64_t value) {
  std::string line = metric + "{" + labels;
  line.back() = '}';  // instead of the last comma
  if (!seen_.insert(line).second) return;
  lines_[metric].push_back(line + " " + std::to_string(value) + "\n");
}

void Samples::addFilesystem(const FilesystemFigures& filesystem) {
  const std::string labels = job_ + label("filesystem", filesystem.mountPoint);
  const std::string metric = "scan_filesystem_";
  add(metric + "capacity_bytes", labels, bytesOf(filesystem.capacity));
  add(metric + "used_bytes", labels, bytesOf(filesystem.used));
  add(metric + "free_bytes", labels, bytesOf(filesystem.free));
  add(metric + "inodes", labels, filesystem.inodes);
  add(metric + "used_inodes", labels, filesystem.usedInodes);
  add(metric + "scanned", labels, filesystem.scanned ? 1 : 0);
  add(metric + "scan_timestamp_seconds", labels, secondsOf(filesystem.scanTime));

  std::map<std::string, std::set<int64_t>> numbers;  // of the statistics that bear one name
  for (const StatisticFigures& statistic : filesystem.statistics) {
    numbers[statistic.displayName()].insert(statistic.id);
  }
  for (const StatisticFigures& statistic : filesystem.statistics) {
    std::string name = statistic.displayName();
    if (numbers[name].size() > 1) name += " (" + std::to_string(statistic.id) + ")";
    const std::string ofStatistic = labels + label("statistic", name);
    if (statistic.onFilesystem) addStatistic(ofStatistic + label("directory", ""), *statistic.onFilesystem);
    for (const MonitoredFigures& monitored : statistic.inDirectories) {
      addStatistic(ofStatistic + label("directory", monitored.directory.path), monitored.found);
    }
  }
}

void Samples::addStatistic(const std::string& labels, const SourceFigures& found) {
  if (found.summary) {
    add("scan_statistic_bytes", labels, bytesOf(found.summary->blocks));
    add("scan_statistic_files", labels, found.summary->files);
    add("scan_statistic_directories", labels, found.summary->directories);
  }
  addIdentities(labels, found);
  for (const TypeFigures& type : found.types) {
    const std::string ofType = labels + label("type", type.extension);
    add("scan_type_bytes", ofType, bytesOf(type.blocks));
    add("scan_type_files", ofType, type.files);
  }
  if (found.sizes) addClasses("scan_size_class", labels, "size", SIZE_CLASSES, *found.sizes);
  for (const AgeFigures& age : found.ages) {
    const std::string ofAge = labels + label("since", age.time());
    addClasses("scan_age_class", ofAge, "age", AGE_CLASSES, age.ages);
    add("scan_average_age_seconds", ofAge, age.averageAge);
  }
}

void Samples::addIdentities(const std::string& labels, const SourceFigures& found) {
  uint64_t blocks = 0, files = 0;  // of those whose owner is gone; a damaged result's sums may wrap
  for (const IdentityFigures& user : found.users) {
    const Identity& owner = user.identity;
    const std::string ofOwner = labels + label("owner", owner.name) + label("owner_id", owner.id);
    add("scan_owner_bytes", ofOwner, bytesOf(user.blocks));
    add("scan_owner_files", ofOwner, user.files);
    if (!owner.gone) continue;
    blocks += static_cast<uint64_t>(user.blocks);
    files += static_cast<uint64_t>(user.files);
  }
  if (!found.users.empty()) {  // none is told as 0, so that an alarm ends
    add("scan_orphan_bytes", labels, bytesOf(static_cast<int64_t>(blocks)));
    add("scan_orphan_files", labels, static_cast<int64_t>(files));
  }
  for (const IdentityFigures& figures : found.groups) {
    const Identity& group = figures.identity;
    const std::string ofGroup = labels + label("group", group.name) + label("group_id", group.id);
    add("scan_group_bytes", ofGroup, bytesOf(figures.blocks));
    add("scan_group_files", ofGroup, figures.files);
  }
}

void Samples::addClasses(const char* metric, const std::string& labels, const char* labelName,
                         std::span<const char* const> classes, const Histogram& histogram) {
  for (size_t i = 0; i < classes.size(); ++i) {
    const std::string ofClass = labels + label(labelName, classes[i]);
    add(std::string(metric) + "_bytes", ofClass, bytesOf(histogram.blocks[i]));
    add(std::string(metric) + "_entries", ofClass, histogram.counts[i]);
  }
}

void Samples::print(std::ostream& out) const {
  for (const Metric& metric : METRICS) {
    const auto found = lines_.find(std::string_view(metric.name));
    if (found == lines_.end()) continue;
    out << "# HELP " << metric.name << " " << metric.help << "\n# TYPE " << metric.name << " gauge\n";
    for (const std::string& line : found->second) out << line;
  }
}

}  // namespace

void printPrometheus(std::ostream& out, const Figures& figures, const RunName& run) {
  Samples samples(run);
  for (const FilesystemFigures& filesystem : figures.filesystems) samples.addFilesystem(filesystem);
  samples.print(out);
}

}  // namespace agent::tools
