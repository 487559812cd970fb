#include "slices/SlicedDefinition.h"

#include <algorithm>
#include <optional>
#include <set>

#include "Common/ScanVOXTags.h"
#include "QLMlib/common/ut/NumberText.h"
#include "definition/ScandefLanguage.h"
#include "definition/ScandefPatterns.h"
#include "merge/SliceMarks.h"
#include "slices/TreeLook.h"

namespace agent::scandef {

namespace {

using tools::SliceStatistic;

constexpr int LONGEST_LIST = 32767;  // of a number of 16 bits
constexpr int BESIDE_PARENTS = 500;  // room in a list for directories that hold as little as the wanted ones

bool liesBelow(const std::string& path, const std::string& directory) {
  return path.starts_with(directory + "/");
}

bool covers(const Statistic& statistic, const MountPoint& filesystem) {
  const std::vector<int32_t>& only = statistic.onlyFilesystems;
  return only.empty() || std::find(only.begin(), only.end(), filesystem.id) != only.end();
}

/// What a cell asks for as a number or a flag.
bool isWanted(const Statistic& statistic, std::string_view tag) {
  const std::string& cell = statistic[tag];
  return cell == ScanVOXTags::VOX_TRUE || wholeNumber<int>(cell).value_or(0) > 0;
}

/// Makes the definition of one slice.
class SliceMaker {
 public:
  SliceMaker(const Definition& whole, const std::vector<SliceDirectory>& directories)
      : whole_(whole), directories_(directories) {}

  /// @param slice null: the rest
  Slice make(const SliceDirectory* slice) const;

 private:
  std::vector<const SliceDirectory*> holes(const SliceDirectory* slice) const;
  bool isInside(const SliceDirectory& directory, const SliceDirectory* slice) const {
    return slice == nullptr ||
           (directory.filesystem == slice->filesystem && liesBelow(directory.path, slice->path));
  }
  void addOwn(Slice& made, const SliceDirectory& slice) const;
  void addAll(Slice& made) const;

  const Definition& whole_;
  const std::vector<SliceDirectory>& directories_;
};

/// The directories of others in a slice, but for those that lie in another hole.
std::vector<const SliceDirectory*> SliceMaker::holes(const SliceDirectory* slice) const {
  std::vector<const SliceDirectory*> inside;
  for (const SliceDirectory& directory : directories_) {
    if (&directory != slice && isInside(directory, slice)) inside.push_back(&directory);
  }
  std::vector<const SliceDirectory*> outermost;
  std::copy_if(inside.begin(), inside.end(), std::back_inserter(outermost), [&](const SliceDirectory* hole) {
    return std::none_of(inside.begin(), inside.end(), [hole, this](const SliceDirectory* other) {
      return other != hole && isInside(*hole, other);
    });
  });
  return outermost;
}

/// A selection as a cell; empty for everything.
std::string cellOf(const std::string& expression) {
  return expression.empty() ? "" : byteList(expression);
}

/// A selection of what two select.
std::string both(const std::string& where, const std::string& other) {
  return where.empty() ? other : "(" + where + ") and (" + other + ")";
}

Statistic additional(SliceStatistic kind, const Statistic& of, const std::string& where) {
  Statistic statistic(tools::sliceStatisticName(kind, of[ScanVOXTags::SD_ID]));
  statistic[ScanVOXTags::SD_CREATOR] = tools::SLICE_CREATOR;
  statistic.onlyFilesystems = of.onlyFilesystems;
  statistic.where = where;
  return statistic;
}

/// What is to be asked beside a statistic of file systems.
/// @param slice null: the rest
void addBeside(const Statistic& wanted, const SliceDirectory* slice,
               const std::vector<const SliceDirectory*>& holes, std::vector<Statistic>& statistics) {
  if (isWanted(wanted, ScanVOXTags::SD_LARGEST_FTYPES)) {
    statistics.push_back(additional(SliceStatistic::TYPES, wanted, wanted.where));
    statistics.back()[ScanVOXTags::SD_LARGEST_FTYPES] = std::to_string(LONGEST_LIST);
  }
  if (!isWanted(wanted, ScanVOXTags::SD_LARGEST_DIRS)) return;
  if (slice != nullptr) {
    const std::string itself =
        "type = directory and not name like " + quotedText(patternOf(slice->path) + "/?*/%");
    statistics.push_back(additional(SliceStatistic::ITSELF, wanted, both(wanted.where, itself)));
    statistics.back()[ScanVOXTags::SD_SUMMARY] = ScanVOXTags::VOX_TRUE;
  }
  std::set<std::string> parents;
  for (const SliceDirectory* hole : holes) {
    if (covers(wanted, *hole->filesystem)) parents.insert(parentOf(hole->path));
  }
  if (parents.empty()) return;
  std::string inParents;
  for (const std::string& parent : parents) {
    inParents +=
        (inParents.empty() ? "" : ", ") + quotedText((parent == "/" ? "" : patternOf(parent)) + "/*");
  }
  statistics.push_back(
      additional(SliceStatistic::PARENTS, wanted, both(wanted.where, "name like (" + inParents + ")")));
  statistics.back()[ScanVOXTags::SD_LARGEST_DIRS] =
      std::to_string(std::min<size_t>(parents.size() + BESIDE_PARENTS, LONGEST_LIST));
}

/// The file system of a slice is its directory; selections are written for that.
void SliceMaker::addOwn(Slice& made, const SliceDirectory& slice) const {
  MountPoint filesystem = *slice.filesystem;
  filesystem.local = localPathOf(*slice.filesystem, slice.path);
  filesystem.path = slice.path;
  made.directory = slice.path;
  made.binds = {filesystem.localPath()};
  made.definition.filesystems = {filesystem};
  std::erase_if(made.definition.statistics,
                [&](const Statistic& statistic) { return !covers(statistic, filesystem); });
  for (Statistic& statistic : made.definition.statistics) {
    if (!statistic.onlyFilesystems.empty()) statistic.onlyFilesystems = {filesystem.id};
    const std::string expression = compileWhereBelow(
        statistic.where,
        statistic.ofDirectories ? std::nullopt : std::optional(withoutSlash(slice.filesystem->path)));
    statistic[ScanVOXTags::SD_WHERE_CLAUSE] = cellOf(expression);
  }
}

/// The rest has the file systems as they are, and selections too, but for those that were added.
void SliceMaker::addAll(Slice& made) const {
  made.directory = made.definition.filesystems.front().path;
  for (Statistic& statistic : made.definition.statistics) {
    if (statistic[ScanVOXTags::SD_CREATOR] != tools::SLICE_CREATOR) continue;
    statistic[ScanVOXTags::SD_WHERE_CLAUSE] = cellOf(compileWhere(statistic.where));
  }
}

Slice SliceMaker::make(const SliceDirectory* slice) const {
  Slice made;
  made.definition = whole_;
  const std::vector<const SliceDirectory*> inside = holes(slice);
  for (const Statistic& statistic : whole_.statistics) {
    if (!statistic.ofDirectories) addBeside(statistic, slice, inside, made.definition.statistics);
  }
  if (slice != nullptr) {
    addOwn(made, *slice);
  } else {
    addAll(made);
  }
  for (const SliceDirectory* hole : inside) {
    made.covers.push_back(localPathOf(*hole->filesystem, hole->path));
  }
  return made;
}

}  // namespace

std::vector<Slice> slicesOf(const Definition& whole, const std::vector<SliceDirectory>& directories,
                            const std::string& cut) {
  Definition complete = whole;
  complete.statistics = completed(whole.statistics);
  const SliceMaker maker(complete, directories);
  std::vector<Slice> slices = {maker.make(nullptr)};
  for (const SliceDirectory& directory : directories) slices.push_back(maker.make(&directory));
  for (size_t i = 0; i < slices.size(); ++i) {
    slices[i].number = static_cast<int64_t>(i);
    const tools::SliceMark mark{slices[i].number, static_cast<int64_t>(directories.size())};
    Statistic& statistic = slices[i].definition.statistics.emplace_back(tools::markName(mark));
    statistic[ScanVOXTags::SD_CREATOR] = tools::SLICE_CREATOR;
    statistic[ScanVOXTags::SD_DESC] = cut;
  }
  return slices;
}

}  // namespace agent::scandef
