#include "merge/ResultMerge.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/NumberText.h"
#include "Scan/results/SFile.h"
#include "Scan/results/STimeDist.h"
#include "Scan/results/SizeRanges.h"
#include "Scan/statistics/CuStatDef.h"
#include "Scan/statistics/NMost.h"
#include "figures/Figures.h"
#include "merge/ResultPrint.h"
#include "merge/SliceMarks.h"

namespace agent::tools {

namespace {

using Tags = ScanVOXTags;
using Nodes = std::vector<ResultNode>;

// Cells
// ---------------------------------------------------------------------------------------------------

/// The first row's cell of a column, to be changed. Nodes of this version have all their columns.
std::string& cellOf(ResultNode& node, std::string_view column) {
  return node.rows.at(0).at(node.columns->places.at(column));
}

void setNumber(ResultNode& node, std::string_view column, int64_t number) {
  cellOf(node, column) = std::to_string(number);
}

void add(ResultNode& node, std::string_view column, int64_t amount) {
  setNumber(node, column, plus(node.number(column), amount));
}

/// Adds to one class of a histogram.
void addToClass(ResultNode& node, std::string_view column, size_t place, int64_t amount) {
  std::vector<int64_t> classes = node.numbers(column);
  if (place >= classes.size()) return;
  classes[place] = plus(classes[place], amount);
  std::string& cell = cellOf(node, column);
  cell.clear();
  for (const int64_t number : classes) cell += (cell.empty() ? "" : ",") + std::to_string(number);
}

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

/// Joins another record of the same subject to one, by the rules of its columns.
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

/// Entries whose age the average counts: all but those of the future.
double agedIn(const ResultNode& times) {
  std::vector<int64_t> counts = times.numbers(Tags::TD_CNTS);
  counts.resize(STimeDist::BUCKETS - 1);
  double sum = 0;
  for (const int64_t count : counts) sum += static_cast<double>(std::max<int64_t>(count, 0));
  return sum;
}

/// The average age of all entries that records of ages count. Each has its own rounded down: as likely as not
/// half a second is missing.
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

// Results
// ---------------------------------------------------------------------------------------------------

/// What a result says of one file system.
struct Section {
  const std::string* file = nullptr;
  ResultNode filesystem;
  std::string mountPoint;  // with its slash
  Nodes monitored;
  Nodes statistics;

  std::string directory() const { return mountPoint.substr(0, mountPoint.size() - 1); }
};

std::string quotedName(std::string_view name) {
  return "\"" + safeText(name) + "\"";
}

/// @param[out] front what stands in front of every file system
std::vector<Section> sectionsOf(SliceResult& slice, Nodes& front) {
  std::vector<Section> sections;
  for (ResultNode& node : slice.file.nodes) {
    if (node.tag == Filesystem::FILESYSTEM) {
      Section& section = sections.emplace_back();
      section.file = &slice.name;
      section.mountPoint = node.text(Filesystem::FILESYSTEM_MNTPT);
      if (!section.mountPoint.ends_with('/')) section.mountPoint += '/';
      section.filesystem = std::move(node);
    } else if (sections.empty()) {
      front.push_back(std::move(node));
    } else if (node.tag == Tags::SM) {
      sections.back().monitored.push_back(std::move(node));
    } else {
      sections.back().statistics.push_back(std::move(node));
    }
  }
  return sections;
}

/// The directory of a slice is an entry like others in a single walk, which writes no slash behind it.
void stripSlash(ResultNode& entry, const std::string& whole) {
  std::string& name = cellOf(entry, Tags::FA_NAME);
  if (name.size() > 1 && name.ends_with('/') && name != whole) name.pop_back();
}

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

constexpr int64_t LONGEST_LIST = 32767;  // of a number of 16 bits

/// Joins what one statistic has found on the parts of one file system.
class StatisticMerge {
 public:
  /// @param sections of the file system, the one that the others were taken out of in front
  StatisticMerge(const std::vector<Section*>& sections, const ResultNode& definition,
                 std::vector<std::string>& notes)
      : sections_(sections), definition_(definition), id_(definition.text(Tags::SD_ID)), notes_(notes) {}

  /// @param parts one of each section
  ResultNode merged(const std::vector<const ResultNode*>& parts);

 private:
  size_t wanted(const char* column) const {
    return static_cast<size_t>(std::clamp<int64_t>(definition_.number(column), 0, LONGEST_LIST));
  }
  Nodes gathered(const char* tag) const;
  Nodes directories() const;
  void addSliceDirectories(Nodes& directories) const;
  void addSliceDirectory(const Section& slice, Nodes& directories) const;
  const Section& holderOf(const Section& slice) const;
  Nodes files() const;
  Nodes types() const;
  std::vector<const ResultNode*> allTypes() const;
  Nodes owners() const;
  Nodes ages() const;
  std::optional<ResultNode> joined(const char* tag) const;
  void note(const std::string& sentence) const {
    notes_.push_back("statistic " + quotedName(definition_.text(Tags::SD_NAME)) + ": " + sentence);
  }

  const std::vector<Section*>& sections_;
  const ResultNode& definition_;
  const std::string id_;
  std::vector<std::string>& notes_;
  std::vector<const ResultNode*> parts_;
};

void append(Nodes& to, Nodes nodes) {
  to.insert(to.end(), std::make_move_iterator(nodes.begin()), std::make_move_iterator(nodes.end()));
}

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

/// Joins the sections of one file system.
class FilesystemMerge {
 public:
  /// @param sections the one that the others were taken out of in front
  FilesystemMerge(std::vector<Section*> sections, std::vector<std::string>& notes)
      : sections_(std::move(sections)), notes_(notes) {}

  void appendTo(Nodes& nodes);

 private:
  ResultNode joinedFilesystem() const;
  Nodes monitored();
  std::vector<const ResultNode*> definitions() const;
  ResultNode statistic(const ResultNode& definition);
  void stripSlashes(ResultNode& node) const;

  std::vector<Section*> sections_;
  std::vector<std::string>& notes_;
};

void FilesystemMerge::appendTo(Nodes& nodes) {
  nodes.push_back(joinedFilesystem());
  append(nodes, monitored());
  for (const ResultNode* definition : definitions()) nodes.push_back(statistic(*definition));
}

ResultNode FilesystemMerge::joinedFilesystem() const {
  for (const Section* section : sections_) {
    if (section->filesystem.flag(Filesystem::FILESYSTEM_SCANNED)) continue;
    if (sections_.size() == 1) break;  // of a file system that isn't cut its own result says so
    throw ResultFileError(quotedName(*section->file) + ": " + quotedName(section->directory()) +
                          " was not scanned");
  }
  ResultNode filesystem = sections_.front()->filesystem;
  for (size_t i = 1; i < sections_.size(); ++i) join(filesystem, sections_[i]->filesystem);
  return filesystem;
}

Nodes FilesystemMerge::monitored() {
  Nodes nodes;
  for (Section* section : sections_) {
    for (ResultNode& directory : section->monitored) {
      stripSlash(directory, sections_.front()->mountPoint);
      nodes.push_back(directory);
    }
  }
  return nodes;
}

/// The statistics of all sections, each once, but for those that are there for the slices' sake.
std::vector<const ResultNode*> FilesystemMerge::definitions() const {
  std::vector<const ResultNode*> found;
  for (const Section* section : sections_) {
    for (const ResultNode& statistic : section->statistics) {
      if (statistic.text(Tags::SD_CREATOR) == SLICE_CREATOR) continue;
      const std::string id = statistic.text(Tags::SD_ID);
      const auto known = std::find_if(found.begin(), found.end(), [&id](const ResultNode* candidate) {
        return candidate->text(Tags::SD_ID) == id;
      });
      if (known == found.end()) {
        found.push_back(&statistic);
      } else if ((*known)->rows != statistic.rows) {
        throw ResultFileError(quotedName(*section->file) + ": statistic " + id +
                              " isn't defined as in the other results");
      }
    }
  }
  return found;
}

/// Of all entries in what was found in a monitored directory: it may be that of a slice.
void FilesystemMerge::stripSlashes(ResultNode& node) const {
  if (node.tag == Tags::SM || node.tag == Tags::DIR) stripSlash(node, sections_.front()->mountPoint);
  for (ResultNode& child : node.children) stripSlashes(child);
}

ResultNode FilesystemMerge::statistic(const ResultNode& definition) {
  ResultNode merged{definition.tag, definition.columns, definition.rows, {}};
  std::vector<const ResultNode*> parts;
  std::optional<ResultNode> whole;  // the file system that the statistic is about
  for (Section* section : sections_) {
    for (ResultNode& statistic : section->statistics) {
      if (statistic.text(Tags::SD_ID) != definition.text(Tags::SD_ID)) continue;
      for (ResultNode& source : statistic.children) {
        const ResultNode* const filesystem = source.child(Filesystem::FILESYSTEM);
        if (filesystem != nullptr && source.child(Tags::SR) != nullptr) {
          parts.push_back(source.child(Tags::SR));
          if (!whole) {
            whole = ResultNode{source.tag, source.columns, source.rows, {*filesystem}};
          } else {
            join(whole->children.front(), *filesystem);
          }
          continue;
        }
        stripSlashes(source);
        merged.children.push_back(source);
      }
    }
  }
  if (parts.empty()) return merged;
  if (parts.size() != sections_.size()) {
    throw ResultFileError("statistic " + definition.text(Tags::SD_ID) + " of " +
                          quotedName(sections_.front()->directory()) +
                          " isn't in all results, or twice in one");
  }
  Nodes& found = whole->children;
  found.insert(found.begin(), StatisticMerge(sections_, definition, notes_).merged(parts));
  merged.children.push_back(std::move(*whole));
  return merged;
}

// Slices
// ---------------------------------------------------------------------------------------------------

struct MarkedSlice {
  SliceMark mark;
  std::string cut;  // which cut it is of
};

std::optional<MarkedSlice> markIn(const SliceResult& slice) {
  for (const ResultNode& node : slice.file.nodes) {
    if (node.tag != Tags::SD || node.text(Tags::SD_CREATOR) != SLICE_CREATOR) continue;
    if (const auto mark = markOf(node.text(Tags::SD_NAME)))
      return MarkedSlice{*mark, node.text(Tags::SD_DESC)};
  }
  return std::nullopt;
}

std::string joinedNumbers(const std::vector<int64_t>& numbers) {
  std::string text;
  for (const int64_t number : numbers) text += (text.empty() ? "" : ", ") + std::to_string(number);
  return text;
}

/// Where slices say which ones they are, they have to be all of one cut, each once.
void requireAllSlices(const std::vector<SliceResult>& slices) {
  std::map<int64_t, const SliceResult*> byNumber;
  std::optional<MarkedSlice> first;
  size_t marked = 0;
  for (const SliceResult& slice : slices) {
    const auto known = markIn(slice);
    if (!known) continue;
    ++marked;
    if (!first) first = known;
    if (known->cut != first->cut || known->mark.last != first->mark.last) {
      throw ResultFileError(quotedName(slice.name) + " is of another cut than " + quotedName(slices[0].name));
    }
    const auto [other, isNew] = byNumber.emplace(known->mark.number, &slice);
    if (!isNew) {
      throw ResultFileError(quotedName(slice.name) + " and " + quotedName(other->second->name) +
                            " are both of slice " + std::to_string(known->mark.number));
    }
  }
  if (!first) return;
  if (marked != slices.size()) throw ResultFileError("not all of these results are of slices of one cut");
  std::vector<int64_t> missing;
  for (int64_t number = 0; number <= first->mark.last && missing.size() <= slices.size(); ++number) {
    if (!byNumber.contains(number)) missing.push_back(number);
  }
  if (missing.empty()) return;
  throw ResultFileError("of slices 0 to " + std::to_string(first->mark.last) + " there is no result of " +
                        joinedNumbers(missing));
}

/// Puts that section in front which all others lie in.
void putWholeInFront(std::vector<Section*>& sections) {
  const auto whole = std::min_element(
      sections.begin(), sections.end(),
      [](const Section* a, const Section* b) { return a->mountPoint.size() < b->mountPoint.size(); });
  std::rotate(sections.begin(), whole, std::next(whole));
  const Section& front = *sections.front();
  for (size_t i = 1; i < sections.size(); ++i) {
    const Section& slice = *sections[i];
    if (!slice.mountPoint.starts_with(front.mountPoint)) {
      throw ResultFileError("what is left of the file system beside its slices is missing: neither of " +
                            quotedName(front.directory()) + " and " + quotedName(slice.directory()) +
                            " lies in the other");
    }
    for (size_t other = 0; other < i; ++other) {
      if (sections[other]->mountPoint != slice.mountPoint) continue;
      throw ResultFileError(quotedName(*sections[other]->file) + " and " + quotedName(*slice.file) +
                            " are both of " + quotedName(slice.directory()));
    }
  }
}

}  // namespace

MergedResult mergeResults(std::vector<SliceResult> slices) {
  for (const SliceResult& slice : slices) {
    if (slice.file.fault)
      throw ResultFileError(quotedName(slice.name) + " is not whole: " + slice.file.fault->text());
    if (!isOfThisVersion(slice.file.nodes))
      throw ResultFileError(quotedName(slice.name) + " has other columns than this version writes");
  }
  requireAllSlices(slices);
  MergedResult merged;
  std::vector<std::vector<Section>> sections;
  for (SliceResult& slice : slices) {
    Nodes front;
    sections.push_back(sectionsOf(slice, front));
    if (sections.size() == 1) merged.nodes = std::move(front);
  }
  std::vector<int64_t> ids;  // of file systems, in the order of the results
  std::map<int64_t, std::vector<Section*>> byId;
  for (std::vector<Section>& ofResult : sections) {
    for (Section& section : ofResult) {
      const int64_t id = section.filesystem.number(Filesystem::FILESYSTEM_ID);
      if (byId[id].empty()) ids.push_back(id);
      byId[id].push_back(&section);
    }
  }
  for (const int64_t id : ids) {
    putWholeInFront(byId[id]);
    FilesystemMerge(byId[id], merged.notes).appendTo(merged.nodes);
  }
  return merged;
}

}  // namespace agent::tools
