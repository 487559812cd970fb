#include "merge/StatisticMerge.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <limits>
#include <unordered_map>
#include <utility>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"
#include "Scan/results/SFile.h"
#include "Scan/results/SizeRanges.h"
#include "Scan/statistics/NMost.h"
#include "figures/Figures.h"
#include "merge/RecordSums.h"
#include "merge/SliceMarks.h"

namespace agent::tools {

namespace {

using Tags = ScanVOXTags;
using Nodes = std::vector<ResultNode>;

constexpr int64_t LONGEST_LIST = 32767;  // of a number of 16 bits

const ResultNode* statisticNamed(const Section& section, const std::string& name) {
  const auto found =
      std::find_if(section.statistics.begin(), section.statistics.end(), [&](const ResultNode& statistic) {
        return statistic.text(Tags::SD_CREATOR) == SLICE_CREATOR && statistic.text(Tags::SD_NAME) == name;
      });
  return found != section.statistics.end() ? &*found : nullptr;
}

/// What a statistic has found on its file system; null where nothing of it is there.
const ResultNode* foundBy(const ResultNode* statistic) {
  const ResultNode* const source = statistic != nullptr ? statistic->child(Tags::RESULTS_BY_FS) : nullptr;
  return source != nullptr && source->child(Filesystem::FILESYSTEM) != nullptr ? source->child(Tags::SR)
                                                                               : nullptr;
}

/// Copies of records.
Nodes copiesOf(const std::vector<const ResultNode*>& nodes) {
  Nodes copies;
  copies.reserve(nodes.size());
  for (const ResultNode* node : nodes) copies.push_back(*node);
  return copies;
}

}  // namespace

void append(Nodes& to, Nodes nodes) {
  to.insert(to.end(), std::make_move_iterator(nodes.begin()), std::make_move_iterator(nodes.end()));
}

void stripSlash(ResultNode& entry, const std::string& whole) {
  std::string& name = cellOf(entry, Tags::FA_NAME);
  if (name.size() > 1 && name.ends_with('/') && name != whole) name.pop_back();
}

StatisticMerge::StatisticMerge(const std::vector<Section*>& sections, const ResultNode& definition,
                               std::vector<std::string>& notes)
    : sections_(sections), definition_(definition), id_(definition.text(Tags::SD_ID)), notes_(notes) {}

// In the order in which the job writes them.
ResultNode StatisticMerge::merged(const std::vector<const ResultNode*>& parts) {
  parts_ = parts;
  ResultNode results{parts.front()->tag, parts.front()->columns, parts.front()->rows, {}};
  append(results.children, directories());
  append(results.children, files());
  append(results.children, types());
  for (const char* const tag : {Tags::SUM, Tags::SZD}) {
    if (auto node = joined(tag)) results.children.push_back(std::move(*node));
  }
  append(results.children, owners());
  append(results.children, ages());
  return results;
}

size_t StatisticMerge::wanted(const char* column) const {
  return static_cast<size_t>(std::clamp<int64_t>(definition_.number(column), 0, LONGEST_LIST));
}

void StatisticMerge::note(const std::string& sentence) const {
  notes_.push_back("statistic " + inQuotes(definition_.text(Tags::SD_NAME)) + ": " + sentence);
}

/// The records of a class, of one part behind the other.
std::vector<const ResultNode*> StatisticMerge::gathered(const std::vector<const ResultNode*>& parts,
                                                        const char* tag) {
  std::vector<const ResultNode*> nodes;
  for (const ResultNode* part : parts) {
    const std::vector<const ResultNode*> more = part->childrenOf(tag);
    nodes.insert(nodes.end(), more.begin(), more.end());
  }
  return nodes;
}

/// The parts in the order in which the results are named, by which lists decide about equal keys.
std::vector<const ResultNode*> StatisticMerge::partsAsNamed() const {
  std::vector<std::pair<size_t, const ResultNode*>> byPlace;
  for (size_t i = 0; i < parts_.size(); ++i) byPlace.emplace_back(sections_[i]->place, parts_[i]);
  std::stable_sort(byPlace.begin(), byPlace.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<const ResultNode*> parts;
  parts.reserve(byPlace.size());
  for (const auto& [place, part] : byPlace) parts.push_back(part);
  return parts;
}

std::optional<ResultNode> StatisticMerge::joined(const char* tag) const {
  const std::vector<const ResultNode*> nodes = gathered(parts_, tag);
  if (nodes.empty()) return std::nullopt;
  ResultNode sum = *nodes.front();
  for (size_t i = 1; i < nodes.size(); ++i) join(sum, *nodes[i]);
  return sum;
}

/// Of records the first `wanted`, those with the greatest keys in front; what is equal stays in its order.
template <typename Node, typename Key>
void keepGreatest(std::vector<Node>& nodes, size_t wanted, Key keyOf) {
  std::vector<std::pair<int64_t, size_t>> order;
  order.reserve(nodes.size());
  for (size_t i = 0; i < nodes.size(); ++i) order.emplace_back(keyOf(nodes[i]), i);
  std::stable_sort(order.begin(), order.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  if (order.size() > wanted) order.resize(wanted);
  std::vector<Node> kept;
  kept.reserve(order.size());
  for (const auto& [key, place] : order) kept.push_back(std::move(nodes[place]));
  nodes = std::move(kept);
}

int64_t totalOf(const ResultNode& directory) {
  return directory.number(Tags::DIR_TOTAL_SIZE);
}

/// Counts a directory in the record of the one above it.
/// @param itself totals of the directory alone
void addDirectory(ResultNode& above, const ResultNode& itself) {
  const int64_t size = itself.number(Tags::SUM_TOTAL_SIZE);
  const size_t sizeClass = SizeRanges::bucket(size);
  add(above, Tags::DIR_DIR_CNT, 1);
  add(above, Tags::DIR_TOTAL_SIZE, size);
  addToClass(above, Tags::DIR_SIZES, sizeClass, size);
  addToClass(above, Tags::DIR_CNTS, sizeClass, 1);
  // As if the directory had been read behind all else that lies beside it, see LargeDirAccum.
  const int64_t largest = above.number(Tags::DIR_LARGEST_SIZE);
  if (size > largest && size > above.number(Tags::DIR_2ND_LARGEST_SIZE)) {
    setNumber(above, Tags::DIR_2ND_LARGEST_SIZE, largest);
  }
}

Nodes StatisticMerge::directories() const {
  const size_t count = wanted(Tags::SD_LARGEST_DIRS);
  if (count == 0) return {};
  Nodes nodes = copiesOf(gathered(partsAsNamed(), Tags::DIR));
  std::unordered_map<std::string, size_t> places;
  for (ResultNode& directory : nodes) {
    stripSlash(directory, sections_.front()->mountPoint);
    places.emplace(directory.text(Tags::FA_NAME), static_cast<size_t>(&directory - nodes.data()));
  }
  std::map<std::string, int64_t> unknown;  // directories without a record, with the most that they can have
  for (const auto& [name, above] : aboveSlices()) {
    auto listed = places.find(name);
    if (listed == places.end()) {
      std::optional<ResultNode> record = recordOf(name, above);
      if (!record) {
        unknown.emplace(name, mostOf(above));
        continue;
      }
      listed = places.emplace(name, nodes.size()).first;
      nodes.push_back(std::move(*record));
    }
    for (const ResultNode* itself : above.slices) addDirectory(nodes[listed->second], *itself);
  }
  keepGreatest(nodes, count, totalOf);
  for (const auto& [name, most] : unknown) {
    const bool isTooSmall = nodes.size() == count && totalOf(nodes.back()) >= most;
    if (!isTooSmall) note("the list of directories may lack " + inQuotes(name) + ", which lies above slices");
  }
  return nodes;
}

/// The directories of slices are counted there, but lie directly in directories of other sections, whose
/// records lack them.
std::map<std::string, StatisticMerge::AboveSlices> StatisticMerge::aboveSlices() const {
  std::map<std::string, AboveSlices> all;
  for (size_t i = 1; i < sections_.size(); ++i) {
    const Section& slice = *sections_[i];
    const std::string directory = slice.directory();
    std::string parent = directory.substr(0, directory.rfind('/'));
    if (parent + "/" == sections_.front()->mountPoint) parent += '/';
    const ResultNode* const found =
        foundBy(statisticNamed(slice, sliceStatisticName(SliceStatistic::ITSELF, id_)));
    const ResultNode* const itself = found != nullptr ? found->child(Tags::SUM) : nullptr;
    if (itself == nullptr) {
      note("the list of directories has " + inQuotes(parent) + " without " + inQuotes(directory) +
           ", which lies in it: no slice tells of that one");
    } else if (itself->number(Tags::SUM_DIR_CNT) > 0) {  // otherwise the selection passes over it
      AboveSlices& above = all[parent];
      above.holder = slice.holder;
      above.slices.push_back(itself);
    }
  }
  return all;
}

/// What the section that holds a directory above slices says of such directories; null for nothing.
const ResultNode* StatisticMerge::parentsIn(const Section& holder) const {
  return foundBy(statisticNamed(holder, sliceStatisticName(SliceStatistic::PARENTS, id_)));
}

/// The record of a directory that isn't among those with the most space; none where no result has it.
std::optional<ResultNode> StatisticMerge::recordOf(const std::string& name, const AboveSlices& above) const {
  const ResultNode* const parents = parentsIn(*above.holder);
  if (parents == nullptr) return std::nullopt;
  for (const ResultNode* known : parents->childrenOf(Tags::DIR)) {
    ResultNode record = *known;
    stripSlash(record, sections_.front()->mountPoint);
    if (record.text(Tags::FA_NAME) != name) continue;
    cellOf(record, Tags::DIR_STAT_ID) = id_;
    return record;
  }
  return std::nullopt;
}

/// What a directory without a record can have at most: no more than the last one that was listed in its
/// place, and the directories of slices.
int64_t StatisticMerge::mostOf(const AboveSlices& above) const {
  const ResultNode* const parents = parentsIn(*above.holder);
  const std::vector<const ResultNode*> listed =
      parents != nullptr ? parents->childrenOf(Tags::DIR) : std::vector<const ResultNode*>();
  if (listed.empty()) return std::numeric_limits<int64_t>::max();
  int64_t most = totalOf(*listed.back());
  for (const ResultNode* itself : above.slices) most = plus(most, itself->number(Tags::SUM_TOTAL_SIZE));
  return most;
}

/// A list of files: how long it is, and what it goes by.
struct FileListRule {
  int16_t type;
  const char* column;
  int64_t (*key)(const ResultNode& file, int16_t filesystemType);
};

/// The oldest first. A damaged file may say anything.
int64_t oldest(int64_t time) {
  return plus(~time, 1);
}

int64_t oldestAccess(const ResultNode& file, int16_t) {
  return oldest(file.number(Tags::FA_ACCESSED));
}

constexpr std::array<FileListRule, 5> FILE_LISTS = {{
    {SFile::LARGEST, Tags::SD_LARGEST_FILES,
     [](const ResultNode& file, int16_t filesystemType) -> int64_t {
       const bool fat = filesystemType == Filesystem::FAT || filesystemType == Filesystem::FAT32;
       return static_cast<int32_t>(
           file.number(fat ? Tags::FA_LENGTH : Tags::FA_BLOCKS));  // see LargeFileAccum
     }},
    {SFile::LEAST_ACCESSED, Tags::SD_LEAST_ACCESS, oldestAccess},
    {SFile::OLDEST_NOT_BACKED_UP, Tags::SD_OLDEST_NO_BACKUP,
     [](const ResultNode& file, int16_t) { return oldest(file.number(Tags::FA_MODIFIED)); }},
    {SFile::LARGEST_ORPHAN, Tags::SD_LARGEST_ORPHANS,
     [](const ResultNode& file, int16_t) { return file.number(Tags::FA_BLOCKS); }},
    {SFile::OLDEST_ORPHAN, Tags::SD_OLDEST_ORPHANS, oldestAccess},
}};

Nodes StatisticMerge::files() const {
  const auto filesystemType =
      static_cast<int16_t>(sections_.front()->filesystem.number(Filesystem::FILESYSTEM_TYPE));
  const std::vector<const ResultNode*> all = gathered(partsAsNamed(), Tags::SFILE);
  Nodes nodes;
  for (const FileListRule& rule : FILE_LISTS) {
    std::vector<const ResultNode*> list;
    std::copy_if(all.begin(), all.end(), std::back_inserter(list), [&rule](const ResultNode* file) {
      return file->number(Tags::SFILE_STAT_TYPE) == rule.type;
    });
    keepGreatest(list, wanted(rule.column),
                 [&](const ResultNode* file) { return rule.key(*file, filesystemType); });
    append(nodes, copiesOf(list));
  }
  return nodes;
}

/// All that each section has of file types: a list of N may lack what counts among the whole.
std::vector<const ResultNode*> StatisticMerge::allTypes() const {
  std::vector<const ResultNode*> all;
  for (size_t i = 0; i < sections_.size(); ++i) {
    const ResultNode* const every =
        foundBy(statisticNamed(*sections_[i], sliceStatisticName(SliceStatistic::TYPES, id_)));
    const std::vector<const ResultNode*> types =
        (every != nullptr ? every : parts_[i])->childrenOf(Tags::FTP_SUMM);
    const size_t longest = every != nullptr ? size_t{LONGEST_LIST} : wanted(Tags::SD_LARGEST_FTYPES);
    if (sections_.size() > 1 && longest > 0 && types.size() >= longest) {
      note("the totals of file types may be too small: the list of " + inQuotes(sections_[i]->directory()) +
           " has no room for all of them");
    }
    all.insert(all.end(), types.begin(), types.end());
  }
  return all;
}

Nodes StatisticMerge::types() const {
  if (wanted(Tags::SD_LARGEST_FTYPES) == 0) return {};
  std::map<std::string, ResultNode> byExtension;  // rising, as the job goes through them
  for (const ResultNode* summary : allTypes()) {
    const ResultNode* const type = summary->child(Tags::FTP);
    const std::string extension = type != nullptr ? type->text(Tags::FTP_FILE_EXT) : std::string();
    const auto [known, isNew] = byExtension.try_emplace(extension, *summary);
    if (isNew) {
      cellOf(known->second, Tags::FTP_SUMM_PROFILEID) = id_;
      continue;
    }
    add(known->second, Tags::FTP_SUMM_FILE_CNT, summary->number(Tags::FTP_SUMM_FILE_CNT));
    add(known->second, Tags::FTP_SUMM_SPACE_USED, summary->number(Tags::FTP_SUMM_SPACE_USED));
  }
  NMost<const ResultNode*> most(static_cast<int32_t>(wanted(Tags::SD_LARGEST_FTYPES)));
  for (const auto& [extension, summary] : byExtension) {
    if (most.mustAdd(summary.number(Tags::FTP_SUMM_SPACE_USED))) most.add(&summary);
  }
  return copiesOf(most.takeDescending());
}

/// Owners, then groups, each by falling number.
Nodes StatisticMerge::owners() const {
  constexpr int64_t GROUP = 2;
  std::map<std::pair<bool, int64_t>, ResultNode> byNumber;
  for (const ResultNode* totals : gathered(parts_, Tags::SUG)) {
    const ResultNode* const identity = totals->child(Tags::UG_USER_GROUP);
    if (identity == nullptr) continue;
    const bool isGroup = identity->number(Tags::UG_TYPE) == GROUP;
    const auto number = static_cast<int32_t>(identity->number(isGroup ? Tags::UG_GRP_ID : Tags::UG_ID));
    const auto [known, isNew] = byNumber.try_emplace({isGroup, -int64_t{number}}, *totals);
    if (!isNew) joinOwners(known->second, *totals);
  }
  Nodes nodes;
  for (auto& [key, totals] : byNumber) nodes.push_back(std::move(totals));
  return nodes;
}

Nodes StatisticMerge::ages() const {
  std::map<int64_t, std::vector<const ResultNode*>> byTime;
  for (const ResultNode* times : gathered(parts_, Tags::TD))
    byTime[times->number(Tags::TD_TYPE)].push_back(times);
  Nodes nodes;
  for (const auto& [type, records] : byTime) {
    ResultNode& times = nodes.emplace_back(*records.front());
    if (records.size() == 1) continue;
    for (size_t i = 1; i < records.size(); ++i) join(times, *records[i]);
    setNumber(times, Tags::TD_AVG_AGE, averageAge(records));
  }
  return nodes;
}

}  // namespace agent::tools
