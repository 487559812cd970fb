#include "figures/Comparison.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <utility>

#include "terminal/TextLayout.h"

namespace agent::tools {

namespace {

/// Whether a list holds all there is, or only the N largest.
enum class Extent { ALL, LARGEST };

/// Lines of two lists, paired by a key.
template <typename Key>
class Pairing {
 public:
  explicit Pairing(Extent extent) : extent_(extent) {}

  void before(const Key& key, const std::string& name, int64_t blocks, int64_t files) {
    Change& change = lineOf(key, name);
    change.before = plus(change.before.value_or(0), blocks);
    change.filesBefore = plus(change.filesBefore, files);
  }

  void after(const Key& key, const std::string& name, int64_t blocks, int64_t files) {
    Change& change = lineOf(key, name);
    change.after = plus(change.after.value_or(0), blocks);
    change.filesAfter = plus(change.filesAfter, files);
    change.name = name;  // the newer one, where an owner was renamed or went
  }

  /// Those that changed, the greatest change first.
  std::vector<Change> changed() const {
    std::vector<Change> changes;
    for (const auto& [key, line] : lines_) {
      Change change = line;
      if (extent_ == Extent::ALL) {
        change.before = change.before.value_or(0);
        change.after = change.after.value_or(0);
      }
      const bool isSame = change.before == change.after && change.filesBefore == change.filesAfter;
      if (!isSame) changes.push_back(std::move(change));
    }
    // Behind those that are known: what came into a list or left it, the largest first.
    std::stable_sort(changes.begin(), changes.end(), [](const Change& a, const Change& b) {
      const auto weight = [](const Change& change) {
        const bool isKnown = change.before && change.after;
        return std::pair(isKnown,
                         isKnown ? std::abs(change.growth()) : change.after.value_or(*change.before));
      };
      return weight(a) > weight(b);
    });
    return changes;
  }

 private:
  Change& lineOf(const Key& key, const std::string& name) {
    Change& change = lines_[key];
    if (change.name.empty()) change.name = name;
    return change;
  }

  Extent extent_;
  std::map<Key, Change> lines_;
};

void addTable(std::vector<ChangeTable>& tables, const std::string& title, std::vector<Change> changes) {
  if (!changes.empty()) tables.push_back({title, std::move(changes)});
}

std::vector<Change> identityChanges(const std::vector<IdentityFigures>& before,
                                    const std::vector<IdentityFigures>& after) {
  Pairing<int64_t> pairing(Extent::ALL);
  for (const IdentityFigures& one : before)
    pairing.before(one.identity.id, one.identity.name, one.blocks, one.files);
  for (const IdentityFigures& one : after)
    pairing.after(one.identity.id, one.identity.name, one.blocks, one.files);
  return pairing.changed();
}

template <size_t CLASSES>
std::vector<Change> classChanges(const std::array<const char*, CLASSES>& names, const Histogram& before,
                                 const Histogram& after) {
  Pairing<size_t> pairing(Extent::ALL);
  for (size_t i = 0; i < CLASSES; ++i) {
    pairing.before(i, names[i], before.blocks[i], before.counts[i]);
    pairing.after(i, names[i], after.blocks[i], after.counts[i]);
  }
  return pairing.changed();
}

std::vector<Change> typeChanges(const std::vector<TypeFigures>& before,
                                const std::vector<TypeFigures>& after) {
  Pairing<std::string> pairing(Extent::LARGEST);
  for (const TypeFigures& one : before) pairing.before(one.extension, one.extension, one.blocks, one.files);
  for (const TypeFigures& one : after) pairing.after(one.extension, one.extension, one.blocks, one.files);
  return pairing.changed();
}

std::vector<Change> directoryChanges(const std::vector<DirectoryFigures>& before,
                                     const std::vector<DirectoryFigures>& after) {
  Pairing<std::string> pairing(Extent::LARGEST);
  for (const DirectoryFigures& one : before)
    pairing.before(one.entry.path, one.entry.path, one.blocks, one.files);
  for (const DirectoryFigures& one : after)
    pairing.after(one.entry.path, one.entry.path, one.blocks, one.files);
  return pairing.changed();
}

std::vector<Change> monitoredChanges(const std::vector<MonitoredFigures>& before,
                                     const std::vector<MonitoredFigures>& after) {
  Pairing<std::string> pairing(Extent::ALL);
  const auto add = [&pairing](auto take, const MonitoredFigures& one) {
    const SummaryFigures totals = one.found.summary.value_or(SummaryFigures());
    (pairing.*take)(one.directory.path, one.directory.path, totals.blocks, totals.files);
  };
  for (const MonitoredFigures& one : before) add(&Pairing<std::string>::before, one);
  for (const MonitoredFigures& one : after) add(&Pairing<std::string>::after, one);
  return pairing.changed();
}

void addAgeChanges(std::vector<ChangeTable>& tables, const SourceFigures& before,
                   const SourceFigures& after) {
  for (const AgeFigures& now : after.ages) {
    const auto then =
        std::find_if(before.ages.begin(), before.ages.end(),
                     [&now](const AgeFigures& candidate) { return candidate.type == now.type; });
    if (then == before.ages.end()) continue;
    addTable(tables, std::string("By time since ") + now.time(),
             classChanges(AGE_CLASSES, then->ages, now.ages));
  }
}

std::vector<ChangeTable> sourceChanges(const SourceFigures& before, const SourceFigures& after) {
  std::vector<ChangeTable> tables;
  if (before.summary && after.summary) {
    Pairing<int> pairing(Extent::ALL);
    pairing.before(0, "all that is counted", before.summary->blocks, before.summary->files);
    pairing.after(0, "all that is counted", after.summary->blocks, after.summary->files);
    addTable(tables, "Total", pairing.changed());
  }
  addTable(tables, "Owners", identityChanges(before.users, after.users));
  addTable(tables, "Groups", identityChanges(before.groups, after.groups));
  addTable(tables, "File types", typeChanges(before.types, after.types));
  if (before.sizes && after.sizes)
    addTable(tables, "By size", classChanges(SIZE_CLASSES, *before.sizes, *after.sizes));
  addAgeChanges(tables, before, after);
  addTable(tables, "Directories, by what lies directly in them",
           directoryChanges(before.directories, after.directories));
  return tables;
}

StatisticChange statisticChange(const StatisticFigures& before, const StatisticFigures& after) {
  StatisticChange change{after.displayName(), {}};
  if (before.onFilesystem && after.onFilesystem)
    change.tables = sourceChanges(*before.onFilesystem, *after.onFilesystem);
  addTable(change.tables, "Monitored directories",
           monitoredChanges(before.inDirectories, after.inDirectories));
  return change;
}

template <typename Value, typename Same>
const Value* findIn(const std::vector<Value>& values, Same same) {
  const auto found = std::find_if(values.begin(), values.end(), same);
  return found != values.end() ? &*found : nullptr;
}

FilesystemChange filesystemChange(const FilesystemFigures* before, const FilesystemFigures* after) {
  const FilesystemFigures& known = after != nullptr ? *after : *before;
  FilesystemChange change;
  change.mountPoint = known.mountPoint;
  change.capacity = known.capacity;
  change.used.name = known.mountPoint;
  if (before != nullptr) {
    change.used.before = before->used;
    change.timeBefore = before->scanTime;
  }
  if (after != nullptr) {
    change.used.after = after->used;
    change.timeAfter = after->scanTime;
  }
  if (before == nullptr || after == nullptr) return change;
  for (const StatisticFigures& now : after->statistics) {
    const auto* const then = findIn(before->statistics, [&now](const StatisticFigures& candidate) {
      return candidate.displayName() == now.displayName();
    });
    if (then == nullptr) continue;
    StatisticChange one = statisticChange(*then, now);
    if (!one.tables.empty()) change.statistics.push_back(std::move(one));
  }
  return change;
}

}  // namespace

std::string growthText(const Change& change) {
  return (change.growth() > 0 ? "+" : "") + humanBlocks(change.growth());
}

std::string growthShare(const Change& change) {
  if (change.before.value_or(0) <= 0) return {};
  return (change.growth() > 0 ? "+" : "") + percent(change.growth(), *change.before);
}

Comparison compare(const Figures& before, const Figures& after) {
  Comparison comparison;
  const auto sameMountPoint = [](const std::string& mountPoint) {
    return [&mountPoint](const FilesystemFigures& candidate) { return candidate.mountPoint == mountPoint; };
  };
  for (const FilesystemFigures& now : after.filesystems) {
    const FilesystemFigures* const then = findIn(before.filesystems, sameMountPoint(now.mountPoint));
    comparison.filesystems.push_back(filesystemChange(then, &now));
  }
  for (const FilesystemFigures& then : before.filesystems) {
    if (findIn(after.filesystems, sameMountPoint(then.mountPoint)) == nullptr)
      comparison.filesystems.push_back(filesystemChange(&then, nullptr));
  }
  std::stable_sort(comparison.filesystems.begin(), comparison.filesystems.end(),
                   [](const FilesystemChange& a, const FilesystemChange& b) {
                     return std::abs(a.used.growth()) > std::abs(b.used.growth());
                   });
  return comparison;
}

}  // namespace agent::tools
