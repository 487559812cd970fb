#include "figures/Figures.h"

#include <algorithm>
#include <utility>

#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"
#include "Scan/results/SFile.h"
#include "Scan/results/STimeDist.h"

namespace agent::tools {

namespace {

constexpr int64_t GROUP = 2;                 // of ugType
constexpr int64_t LIMIT = int64_t{1} << 53;  // see amount

/// The largest first, equal ones as they stood.
template <typename Value, typename Weight>
void largestFirst(std::vector<Value>& values, Weight weight) {
  std::stable_sort(values.begin(), values.end(),
                   [&weight](const Value& a, const Value& b) { return weight(a) > weight(b); });
}

/// A size, count or time, held where sums of a few, or bytes of blocks, can't leave 64 bits: a damaged file
/// may say anything.
int64_t amount(const ResultNode& node, const char* column) {
  return std::clamp(node.number(column), -LIMIT, LIMIT);
}

std::string kindOf(int64_t type) {
  const auto index = static_cast<size_t>(type) + 1;
  return index < Filesystem::TYPES.size() ? Filesystem::TYPES[index] : "type " + std::to_string(type);
}

Identity identityOf(const ResultNode& node) {
  const bool isGroup = node.number(ScanVOXTags::UG_TYPE) == GROUP;
  return {node.number(isGroup ? ScanVOXTags::UG_GRP_ID : ScanVOXTags::UG_ID), node.text(ScanVOXTags::UG_NAME),
          node.flag(ScanVOXTags::UG_REMOVED)};
}

std::optional<Identity> identityBelow(const ResultNode& node, std::string_view tag) {
  const ResultNode* const found = node.child(tag);
  return found != nullptr ? std::optional(identityOf(*found)) : std::nullopt;
}

Histogram histogramOf(const ResultNode& node, const char* sizes, const char* counts, size_t classes) {
  Histogram histogram{node.numbers(sizes), node.numbers(counts)};
  for (std::vector<int64_t>* numbers : {&histogram.blocks, &histogram.counts}) {
    for (int64_t& number : *numbers) number = std::clamp(number, -LIMIT, LIMIT);
  }
  histogram.blocks.resize(classes);
  histogram.counts.resize(classes);
  return histogram;
}

EntryFigures entryOf(const ResultNode& node) {
  EntryFigures entry;
  entry.path = node.text(ScanVOXTags::FA_NAME);
  entry.blocks = amount(node, ScanVOXTags::FA_BLOCKS);
  entry.length = amount(node, ScanVOXTags::FA_LENGTH);
  entry.accessed = amount(node, ScanVOXTags::FA_ACCESSED);
  entry.modified = amount(node, ScanVOXTags::FA_MODIFIED);
  entry.attributes = node.number(ScanVOXTags::FA_ATTRIBUTES);
  entry.links = node.number(ScanVOXTags::FA_LINK_COUNT);
  entry.inode = node.number(ScanVOXTags::FA_INODE_NUM);
  entry.owner = identityBelow(node, ScanVOXTags::UG_USER);
  entry.group = identityBelow(node, ScanVOXTags::UG_GROUP);
  return entry;
}

IdentityFigures identityFiguresOf(const ResultNode& node) {
  IdentityFigures figures;
  figures.identity = identityBelow(node, ScanVOXTags::UG_USER_GROUP).value_or(Identity{0, "?", false});
  figures.files = amount(node, ScanVOXTags::SUG_FILE_CNT);
  figures.directories = amount(node, ScanVOXTags::SUG_DIR_CNT);
  figures.blocks = amount(node, ScanVOXTags::SUG_TOTAL_SIZE);
  figures.largest = amount(node, ScanVOXTags::SUG_LARGEST_SIZE);
  figures.sizes = histogramOf(node, ScanVOXTags::SUG_SIZES, ScanVOXTags::SUG_COUNTS, SIZE_CLASSES.size());
  return figures;
}

/// Owners and groups stand in one row; the identity's type tells them apart.
void addIdentities(SourceFigures& found, const ResultNode& results) {
  for (const ResultNode* node : results.childrenOf(ScanVOXTags::SUG)) {
    const ResultNode* const identity = node->child(ScanVOXTags::UG_USER_GROUP);
    const bool isGroup = identity != nullptr && identity->number(ScanVOXTags::UG_TYPE) == GROUP;
    (isGroup ? found.groups : found.users).push_back(identityFiguresOf(*node));
  }
  for (std::vector<IdentityFigures>* all : {&found.users, &found.groups}) {
    largestFirst(*all, [](const IdentityFigures& figures) { return figures.blocks; });
  }
}

void addDirectories(SourceFigures& found, const ResultNode& results) {
  for (const ResultNode* node : results.childrenOf(ScanVOXTags::DIR)) {
    found.directories.push_back({entryOf(*node), amount(*node, ScanVOXTags::DIR_FILE_CNT),
                                 amount(*node, ScanVOXTags::DIR_DIR_CNT),
                                 amount(*node, ScanVOXTags::DIR_TOTAL_SIZE)});
  }
  largestFirst(found.directories, [](const DirectoryFigures& directory) { return directory.blocks; });
}

void addFileLists(SourceFigures& found, const ResultNode& results) {
  found.fileLists = {{SFile::LARGEST, "Largest files", false, false, {}},
                     {SFile::LEAST_ACCESSED, "Files least recently used", true, false, {}},
                     {SFile::OLDEST_NOT_BACKED_UP, "Oldest files that want a backup", true, false, {}},
                     {SFile::LARGEST_ORPHAN, "Largest files whose owner is gone", false, true, {}},
                     {SFile::OLDEST_ORPHAN, "Least recently used files whose owner is gone", true, true, {}}};
  for (const ResultNode* node : results.childrenOf(ScanVOXTags::SFILE)) {
    for (FileList& list : found.fileLists) {
      if (node->number(ScanVOXTags::SFILE_STAT_TYPE) == list.type) list.files.push_back(entryOf(*node));
    }
  }
  std::erase_if(found.fileLists, [](const FileList& list) { return list.files.empty(); });
  for (FileList& list : found.fileLists) {
    largestFirst(list.files,
                 [&list](const EntryFigures& file) { return list.age ? -file.accessed : file.blocks; });
  }
}

SourceFigures sourceOf(const ResultNode& results) {
  SourceFigures found;
  if (const ResultNode* node = results.child(ScanVOXTags::SUM)) {
    found.summary = {amount(*node, ScanVOXTags::SUM_FILE_CNT), amount(*node, ScanVOXTags::SUM_DIR_CNT),
                     amount(*node, ScanVOXTags::SUM_TOTAL_SIZE)};
  }
  addIdentities(found, results);
  if (const ResultNode* node = results.child(ScanVOXTags::SZD)) {
    found.sizes = histogramOf(*node, ScanVOXTags::SZD_SIZES, ScanVOXTags::SZD_COUNTS, SIZE_CLASSES.size());
  }
  for (const ResultNode* node : results.childrenOf(ScanVOXTags::TD)) {
    found.ages.push_back(
        {static_cast<int16_t>(node->number(ScanVOXTags::TD_TYPE)), amount(*node, ScanVOXTags::TD_AVG_AGE),
         histogramOf(*node, ScanVOXTags::TD_SIZES, ScanVOXTags::TD_CNTS, AGE_CLASSES.size())});
  }
  addDirectories(found, results);
  addFileLists(found, results);
  for (const ResultNode* node : results.childrenOf(ScanVOXTags::FTP_SUMM)) {
    const ResultNode* const type = node->child(ScanVOXTags::FTP);
    found.types.push_back({type != nullptr ? type->text(ScanVOXTags::FTP_FILE_EXT) : "?",
                           amount(*node, ScanVOXTags::FTP_SUMM_FILE_CNT),
                           amount(*node, ScanVOXTags::FTP_SUMM_SPACE_USED)});
  }
  largestFirst(found.types, [](const TypeFigures& type) { return type.blocks; });
  return found;
}

StatisticFigures statisticOf(const ResultNode& definition) {
  StatisticFigures statistic;
  statistic.id = definition.number(ScanVOXTags::SD_ID);
  statistic.creator = definition.text(ScanVOXTags::SD_CREATOR);
  statistic.name = definition.text(ScanVOXTags::SD_NAME);
  statistic.description = definition.text(ScanVOXTags::SD_DESC);
  for (const ResultNode* byFS : definition.childrenOf(ScanVOXTags::RESULTS_BY_FS)) {
    const ResultNode* const results = byFS->child(ScanVOXTags::SR);
    if (results == nullptr) continue;
    if (const ResultNode* directory = byFS->child(ScanVOXTags::SM)) {
      statistic.inDirectories.push_back({entryOf(*directory), sourceOf(*results)});
    } else {
      statistic.onFilesystem = sourceOf(*results);
    }
  }
  largestFirst(statistic.inDirectories, [](const MonitoredFigures& monitored) {
    return monitored.found.summary ? monitored.found.summary->blocks : 0;
  });
  return statistic;
}

FilesystemFigures filesystemOf(const ResultNode& node) {
  FilesystemFigures filesystem;
  filesystem.id = node.number(Filesystem::FILESYSTEM_ID);
  filesystem.mountPoint = node.text(Filesystem::FILESYSTEM_MNTPT);
  filesystem.kind = kindOf(node.number(Filesystem::FILESYSTEM_TYPE));
  filesystem.capacity = amount(node, Filesystem::FILESYSTEM_CAPACITY);
  filesystem.used = amount(node, Filesystem::FILESYSTEM_USEDSPACE);
  filesystem.free = amount(node, Filesystem::FILESYSTEM_FREESPACE);
  filesystem.inodes = amount(node, Filesystem::FILESYSTEM_MAXFILES);
  filesystem.usedInodes = amount(node, Filesystem::FILESYSTEM_USEDINODES);
  filesystem.scanned = node.flag(Filesystem::FILESYSTEM_SCANNED);
  filesystem.scanTime = amount(node, "fsScanTime");
  return filesystem;
}

/// @param nameOf what a list is sorted by for NAME; `entriesOf` for ENTRIES
template <typename Value, typename EntriesOf, typename NameOf>
void sortList(std::vector<Value>& values, Order order, EntriesOf entriesOf, NameOf nameOf) {
  if (order == Order::ENTRIES) {
    largestFirst(values, entriesOf);
  } else if (order == Order::NAME) {
    std::stable_sort(values.begin(), values.end(),
                     [&nameOf](const Value& a, const Value& b) { return nameOf(a) < nameOf(b); });
  }
}

void sortSource(SourceFigures& found, Order order) {
  for (std::vector<IdentityFigures>* identities : {&found.users, &found.groups}) {
    sortList(
        *identities, order,
        [](const IdentityFigures& figures) { return figures.files + figures.directories; },
        [](const IdentityFigures& figures) -> const std::string& { return figures.identity.name; });
  }
  sortList(
      found.types, order, [](const TypeFigures& type) { return type.files; },
      [](const TypeFigures& type) -> const std::string& { return type.extension; });
  sortList(
      found.directories, order,
      [](const DirectoryFigures& directory) { return directory.files + directory.directories; },
      [](const DirectoryFigures& directory) -> const std::string& { return directory.entry.path; });
}

int64_t entriesIn(const MonitoredFigures& monitored) {
  const std::optional<SummaryFigures>& summary = monitored.found.summary;
  return summary ? summary->files + summary->directories : 0;
}

}  // namespace

const char* AgeFigures::time() const {
  switch (type) {
    case STimeDist::ACCESSED:
      return "last use";
    case STimeDist::MODIFIED:
      return "last change";
    case STimeDist::CREATED:
      return "creation";
    default:
      return "last change, of what wants a backup";
  }
}

bool SourceFigures::hasSummaryAlone() const {
  return summary && users.empty() && groups.empty() && !sizes && ages.empty() && directories.empty() &&
         fileLists.empty() && types.empty();
}

std::string StatisticFigures::displayName() const {
  if (creator.empty() && name.empty()) return "statistic " + std::to_string(id);
  return creator.empty() ? name : creator + "." + name;
}

std::string belowMountPoint(std::string_view path, std::string_view mountPoint) {
  if (path.starts_with(mountPoint)) path.remove_prefix(mountPoint.size());
  return path.empty() ? "." : std::string(path);
}

Figures figuresOf(const ResultFile& result) {
  Figures figures;
  figures.fault = result.fault;
  for (const ResultNode& node : result.nodes) {
    if (node.tag == ScanVOXTags::FILESYSTEM) {
      figures.filesystems.push_back(filesystemOf(node));
    } else if (figures.filesystems.empty()) {
      continue;
    } else if (node.tag == ScanVOXTags::SD) {
      figures.filesystems.back().statistics.push_back(statisticOf(node));
    } else if (node.tag == ScanVOXTags::SM) {
      figures.filesystems.back().monitored.push_back(entryOf(node));
    }
  }
  return figures;
}

Order orderOf(std::string_view name) {
  const auto found = std::find(ORDER_NAMES.begin(), ORDER_NAMES.end(), name);
  return static_cast<Order>(found - ORDER_NAMES.begin());
}

void sortFigures(Figures& figures, Order order) {
  for (FilesystemFigures& filesystem : figures.filesystems) {
    for (StatisticFigures& statistic : filesystem.statistics) {
      if (statistic.onFilesystem) sortSource(*statistic.onFilesystem, order);
      for (MonitoredFigures& monitored : statistic.inDirectories) sortSource(monitored.found, order);
      sortList(
          statistic.inDirectories, order, entriesIn,
          [](const MonitoredFigures& monitored) -> const std::string& { return monitored.directory.path; });
    }
  }
}

}  // namespace agent::tools
