#include "Scan/DirectoryAttachment.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Common/ComputerID.h"
#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Probe/NasFiler.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

// The beginning of a compiled selection of a directory: "and", the type is directory, the path matches what
// follows up to a NUL.
constexpr std::string_view PREAMBLE("&=T\0\0\0\3=F", 9);

/// Where a path's last component begins, where the path ends without a trailing slash, and how many slashes
/// stand before that.
struct Slashes {
  size_t first = 0;
  size_t last = 0;
  int32_t slashes = 0;
};

Slashes findSlashes(const std::string& path) {
  Slashes result;
  result.last = path.ends_with('/') ? path.size() - 1 : path.size();
  for (size_t i = 0; i < result.last; ++i) {
    if (path[i] != '/') continue;
    ++result.slashes;
    result.first = i + 1;
  }
  return result;
}

/// True when the path, behind its first slash, holds a mask: "*", "?" or "[" without "&" in front.
bool maskedPath(const std::string& path) {
  for (size_t i = path.find('/'); i < path.size(); ++i) {
    if (path[i] == '&') {
      ++i;
    } else if (path[i] == '*' || path[i] == '?' || path[i] == '[') {
      return true;
    }
  }
  return false;
}

bool regionMatches(const std::string& a, const std::string& b, size_t length) {
  return a.size() >= length && b.size() >= length && a.compare(0, length, b, 0, length) == 0;
}

/// Every separator of another platform becomes a slash, a doubled one a single slash.
std::string replaceDelimiter(const std::string& path) {
  std::string result;
  for (size_t i = 0; i < path.size(); ++i) {
    if (path[i] != '\\') {
      result += path[i];
    } else {
      result += '/';
      if (i + 1 < path.size() && path[i + 1] == '\\') ++i;
    }
  }
  return result;
}

/// How much deeper than the mount point a directory lies; below 0 when it is none of the file system's.
int32_t levelBelow(const std::string& mountPoint, const Slashes& mount, const MonDirSpec& spec) {
  constexpr int32_t ELSEWHERE = -1;
  const Slashes directory = findSlashes(spec.getMdsPath());
  const int32_t level = directory.slashes - mount.slashes;
  if (level < 0) return ELSEWHERE;
  size_t length = mount.last + 1;
  if (level == 0) {
    const bool masked = spec.getMdsMaskedPath();
    if (masked ? mount.first != directory.first : mount.last != directory.last) return ELSEWHERE;
    length = masked ? mount.first : mount.last;
  }
  return regionMatches(mountPoint, spec.getMdsPath(), length) ? level : ELSEWHERE;
}

/// The compiled selection of a directory's own entry, made once; null when its path doesn't compile.
const selectNode* directoryRoot(const MonDirSpec& spec, Selection& selection, ScanPlan& plan) {
  const auto [root, isNew] = plan.directoryRoots.try_emplace(&spec);
  if (!isNew) return root->second.get();
  std::string clause(PREAMBLE);
  clause += spec.getMdsPath();
  // One character more, so that "/dir/*" doesn't select "/dir/" itself.
  if (clause.ends_with("/*")) clause += '?';
  clause += '\0';
  selection.setExpression(std::move(clause));
  if (selection.compile(spec.getMdsPath(), 0)) {
    root->second = selection.takeRoot();
  } else {
    plan.givenUp = true;
  }
  return root->second.get();
}

void makeDirSel(FSRef& fsRef, const MonDirSpec& spec, int32_t level, const selectNode* root) {
  const auto sameLevel = std::find_if(fsRef.selections.begin(), fsRef.selections.end(),
                                      [&](const auto& other) { return other->level == level; });
  auto selection = std::make_unique<MonDirSelection>();
  selection->level = level;
  selection->spec = &spec;
  selection->root = root;
  selection->first = sameLevel == fsRef.selections.end() ? selection.get() : sameLevel->get()->first;
  fsRef.selections.push_back(std::move(selection));
}

/// @return false when the statistic was given up
bool attachDirectoryStatistic(CuStatDef& definition, Selection& selection, ScanPlan& plan) {
  std::map<int32_t, std::unique_ptr<StatisticTree>> byLevel;
  std::vector<std::pair<MonDirSelection*, StatisticTree*>> assocs;
  for (const auto& fsRef : plan.fsRefs) {
    for (const auto& directory : fsRef->selections) {
      if (directory->first != directory.get()) continue;
      std::unique_ptr<StatisticTree>& tree = byLevel[directory->level];
      if (!tree) {
        selection.setExpression(definition.getWhereClause());
        if (!selection.compile(definition.sdCreator + "." + definition.sdName, directory->level))
          return false;
        tree = std::make_unique<StatisticTree>(StatisticTree{selection.takeRoot(), &definition});
      }
      assocs.emplace_back(directory.get(), tree.get());
    }
  }
  for (const auto& [directory, tree] : assocs) directory->assocs.push_back({tree, nullptr});
  for (auto& [level, tree] : byLevel) plan.trees.push_back(std::move(tree));
  return true;
}

}  // namespace

void prepareDirectories(const MonDirSpecList& directories) {
  for (const auto& spec : directories) {
    spec->setMdsPath(replaceDelimiter(spec->getMdsPath()));
    spec->setMdsMaskedPath(maskedPath(spec->getMdsPath()));
  }
}

void attachDirectories(const MonDirSpecList& directories, Selection& selection, ScanPlan& plan) {
  for (const auto& fsRef : plan.fsRefs) {
    Filesystem& filesystem = *fsRef->filesystem;
    if (!ComputerID::cachedCID) {
      TRACE(TR_MIN, "FilesystemScan::doScan(...) : ERROR: 'ComputerID::cachedCID' is NULL.\n");
    }
    const int32_t computerID = filesystem.filer ? filesystem.filer->nfComputerID : ComputerID::cachedId();
    std::string& mountPoint = filesystem.fsMountPoint;
    if (!mountPoint.ends_with('/')) mountPoint += '/';
    const Slashes mount = findSlashes(mountPoint);

    for (const auto& spec : directories) {
      const int32_t wanted = spec->getMdsComputerID();
      if (wanted >= 1 && wanted != computerID && wanted != filesystem.fsComputerID) continue;
      const int32_t level = levelBelow(mountPoint, mount, *spec);
      if (level < 0) continue;
      makeDirSel(*fsRef, *spec, level, directoryRoot(*spec, selection, plan));
      TRACE(TR_MAX, "Directory to Monitor: %s\n", spec->getMdsPath().c_str());
    }
  }
}

void attachDirectoryStatistics(const StatisticList& statistics, Selection& selection, ScanPlan& plan) {
  std::string names;
  for (const auto& definition : statistics) {
    if (definition->sdType != CuStatDef::DIRECTORY_STATISTIC) continue;
    names += "\n" + LIST_INDENT +
             (definition->sdCreator.empty() ? std::string("(DIR STAT)") : definition->displayName());
    if (attachDirectoryStatistic(*definition, selection, plan)) {
      plan.directoryStatistics.push_back(definition.get());
    } else {
      plan.givenUp = true;
    }
  }
  if (!names.empty() && naLog != nullptr) naLog->logList(messages::DIRECTORY_STATISTICS, names);
}

}  // namespace agent
