#include "merge/StatisticMerge.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
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

}  // namespace

void append(Nodes& to, Nodes nodes) {
  to.insert(to.end(), std::make_move_iterator(nodes.begin()), std::make_move_iterator(nodes.end()));
}

std::string quotedName(std::string_view name) {
  return "\"" + safeText(name) + "\"";
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
  notes_.push_back("statistic " + quotedName(definition_.text(Tags::SD_NAME)) + ": " + sentence);
}

/// The records of a class, of one section behind the other.
Nodes StatisticMerge::gathered(const char* tag) const {
  Nodes nodes;
  for (const ResultNode* part : parts_) {
    for (const ResultNode* node : part->childrenOf(tag)) nodes.push_back(*node);
  }
  return nodes;
}

std::optional<ResultNode> StatisticMerge::joined(const char* tag) const {
  const Nodes nodes = gathered(tag);
  if (nodes.empty()) return std::nullopt;
  ResultNode sum = nodes.front();
  for (size_t i = 1; i < nodes.size(); ++i) join(sum, nodes[i]);
  return sum;
}

/// Of records the first `wanted`, those with the greatest keys in front; what is equal stays in its order.
template <typename Key>
void keepGreatest(Nodes& nodes, size_t wanted, Key keyOf) {
  std::vector<std::pair<int64_t, size_t>> order;
  order.reserve(nodes.size());
  for (size_t i = 0; i < nodes.size(); ++i) order.emplace_back(keyOf(nodes[i]), i);
  std::stable_sort(order.begin(), order.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  if (order.size() > wanted) order.resize(wanted);
  Nodes kept;
  kept.reserve(order.size());
  for (const auto& [key, place] : order) kept.push_back(std::move(nodes[place]));
  nodes = std::move(kept);
}

Nodes StatisticMerge::directories() const {
  Nodes nodes = gathered(Tags::DIR);
  for (ResultNode& directory : nodes) stripSlash(directory, sections_.front()->mountPoint);
  if (wanted(Tags::SD_LARGEST_DIRS) > 0) addSliceDirectories(nodes);
  keepGreatest(nodes, wanted(Tags::SD_LARGEST_DIRS),
               [](const ResultNode& directory) { return directory.number(Tags::DIR_TOTAL_SIZE); });
  return nodes;
}

/// The directory of a slice is counted there, but lies directly in a directory of another section, whose
/// record lacks it.
void StatisticMerge::addSliceDirectories(Nodes& directories) const {
  for (size_t i = 1; i < sections_.size(); ++i) addSliceDirectory(*sections_[i], directories);
}

void StatisticMerge::addSliceDirectory(const Section& slice, Nodes& directories) const {
  const ResultNode* const itself =
      foundBy(statisticNamed(slice, sliceStatisticName(SliceStatistic::ITSELF, id_)));
  const std::string directory = slice.directory();
  const Section& holder = holderOf(slice);
  std::string parent = directory.substr(0, directory.rfind('/'));
  if (parent + "/" == sections_.front()->mountPoint) parent += '/';
  if (itself == nullptr || itself->child(Tags::SUM) == nullptr) {
    note("the list of directories has " + quotedName(parent) + " without " + quotedName(directory) +
         ", which lies in it: no slice tells of that one");
    return;
  }
  const ResultNode& own = *itself->child(Tags::SUM);
  if (own.number(Tags::SUM_DIR_CNT) == 0) return;  // the selection passes over it

  const auto named = [&parent](const ResultNode& candidate) {
    return candidate.text(Tags::FA_NAME) == parent;
  };
  auto record = std::find_if(directories.begin(), directories.end(), named);
  if (record == directories.end()) {
    const ResultNode* const parents =
        foundBy(statisticNamed(holder, sliceStatisticName(SliceStatistic::PARENTS, id_)));
    Nodes known;
    if (parents != nullptr) {
      for (const ResultNode* node : parents->childrenOf(Tags::DIR)) {
        known.push_back(*node);
        stripSlash(known.back(), sections_.front()->mountPoint);
      }
    }
    const auto found = std::find_if(known.begin(), known.end(), named);
    if (found == known.end()) {
      note("the list of directories may lack " + quotedName(parent) + ", above " + quotedName(directory));
      return;
    }
    cellOf(*found, Tags::DIR_STAT_ID) = id_;
    record = directories.insert(directories.end(), std::move(*found));
  }
  const int64_t size = own.number(Tags::SUM_TOTAL_SIZE);
  const size_t sizeClass = SizeRanges::bucket(size);
  add(*record, Tags::DIR_DIR_CNT, 1);
  add(*record, Tags::DIR_TOTAL_SIZE, size);
  addToClass(*record, Tags::DIR_SIZES, sizeClass, size);
  addToClass(*record, Tags::DIR_CNTS, sizeClass, 1);
  // As if the directory had been read behind all else that lies beside it, see LargeDirAccum.
  const int64_t largest = record->number(Tags::DIR_LARGEST_SIZE);
  if (size > largest && size > record->number(Tags::DIR_2ND_LARGEST_SIZE)) {
    setNumber(*record, Tags::DIR_2ND_LARGEST_SIZE, largest);
  }
}

/// The section out of which a slice was taken: the nearest above it.
const Section& StatisticMerge::holderOf(const Section& slice) const {
  const Section* holder = sections_.front();
  for (const Section* candidate : sections_) {
    if (candidate != &slice && slice.mountPoint.starts_with(candidate->mountPoint) &&
        candidate->mountPoint.size() > holder->mountPoint.size()) {
      holder = candidate;
    }
  }
  return *holder;
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
  const Nodes all = gathered(Tags::SFILE);
  Nodes nodes;
  for (const FileListRule& rule : FILE_LISTS) {
    Nodes list;
    std::copy_if(all.begin(), all.end(), std::back_inserter(list),
                 [&rule](const ResultNode& file) { return file.number(Tags::SFILE_STAT_TYPE) == rule.type; });
    keepGreatest(list, wanted(rule.column),
                 [&](const ResultNode& file) { return rule.key(file, filesystemType); });
    append(nodes, std::move(list));
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
      note("the totals of file types may be too small: the list of " + quotedName(sections_[i]->directory()) +
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
  Nodes nodes;
  for (const ResultNode* summary : most.takeDescending()) nodes.push_back(*summary);
  return nodes;
}

/// Owners, then groups, each by falling number.
Nodes StatisticMerge::owners() const {
  constexpr int64_t GROUP = 2;
  std::map<std::pair<bool, int64_t>, ResultNode> byNumber;
  for (ResultNode& totals : gathered(Tags::SUG)) {
    const ResultNode* const identity = totals.child(Tags::UG_USER_GROUP);
    if (identity == nullptr) continue;
    const bool isGroup = identity->number(Tags::UG_TYPE) == GROUP;
    const auto number = static_cast<int32_t>(identity->number(isGroup ? Tags::UG_GRP_ID : Tags::UG_ID));
    const auto [known, isNew] = byNumber.try_emplace({isGroup, -int64_t{number}}, totals);
    if (!isNew) joinOwners(known->second, totals);
  }
  Nodes nodes;
  for (auto& [key, totals] : byNumber) nodes.push_back(std::move(totals));
  return nodes;
}

Nodes StatisticMerge::ages() const {
  std::map<int64_t, std::vector<const ResultNode*>> byTime;
  for (const ResultNode* part : parts_) {
    for (const ResultNode* times : part->childrenOf(Tags::TD)) {
      byTime[times->number(Tags::TD_TYPE)].push_back(times);
    }
  }
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
