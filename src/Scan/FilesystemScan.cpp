#include "Scan/FilesystemScan.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "Common/ComputerID.h"
#include "Common/GenericPrint.h"
#include "Common/LogManager.h"
#include "Common/VOXCommon/CommonAgentFactory.h"
#include "Common/unix/psmsgutil.h"
#include "Probe/NasFiler.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/identity/UberTable.h"
#include "Scan/statistics/CuStatAccum.h"
#include "Scan/unix/DirectoryReaderUnix.h"
#include "Scan/unix/LimitedDirectoryCalls.h"
#include "Scan/unix/ScannerUnix.h"
#include "Scan/unix/UnixUserTable.h"

namespace agent {

namespace {

// Indents names in log texts of several lines: as wide as date and time in front of the first.
const std::string INDENT(25, ' ');

// The beginning of a compiled selection of a directory: "and", the type is directory, the path matches what
// follows up to a NUL.
constexpr std::string_view PREAMBLE("&=T\0\0\0\3=F", 9);

void appendLine(std::string& text, const std::string& name) {
  text += "\n" + INDENT + name;
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

/// A file system that the server made up for a directory tree is walked like any other and reports no
/// figures.
void zeroFigures(Filesystem& filesystem) {
  filesystem.fsType = Filesystem::FAKE;
  filesystem.fsPhysicalSize = 0;
  filesystem.fsCapacity = 0;
  filesystem.fsUsedSpace = 0;
  filesystem.fsFreeSpace = 0;
  filesystem.fsMaxFiles = 0;
  filesystem.fsUsedInodes = 0;
  filesystem.fsFreeInodes = 0;
}

void sortFilesystemsByID(FilesystemList& filesystems) {
  std::stable_sort(filesystems.begin(), filesystems.end(),
                   [](const auto& a, const auto& b) { return a->fsID < b->fsID; });
}

}  // namespace

/// What all walks of a scan share, and the row of actions of the one that is going on.
struct FilesystemScan::Walk {
  explicit Walk(int nfsTimeout)
      : calls(nfsTimeout > 0 ? std::make_unique<LimitedDirectoryCalls>(nfsTimeout)
                             : std::make_unique<DirectoryCalls>()) {}

  std::unique_ptr<DirectoryCalls> calls;
  DirectoryReaderFactoryUnix factory{*calls};
  UberTable owners;
  UnixUserTable userTable{owners};

  std::vector<std::unique_ptr<FileAction>> row;
  std::vector<FileAction*> actions;
  std::vector<const selectNode*> selections;

  template <typename Action>
  Action& add(std::unique_ptr<Action> action, const selectNode* selection) {
    Action& added = *action;
    row.push_back(std::move(action));
    actions.push_back(&added);
    selections.push_back(selection);
    return added;
  }

  void releaseFileActionVector() {
    TRACE_SCOPE("FilesystemScan::releaseFileActionVector()");
    row.clear();
    actions.clear();
    selections.clear();
  }
};

FilesystemScan::FilesystemScan() : Object("FilesystemScan") {}

FilesystemScan::~FilesystemScan() = default;

int FilesystemScan::doScan(AgentScan& scanObject, int nfsTimeout) {
  TRACE_SCOPE("FilesystemScan::doScan()");
  scanObject.setFilesystems(arrangeFilesystems(std::move(scanObject.getFilesystems())));
  findFilesystems(scanObject, nfsTimeout);
  if (fsRefs_.empty()) return rc_;

  attachStatistics(scanObject);
  // Other scans are kept away by the locks that the job took before; whoever reads a trace looks for this
  // step.
  TRACE(TR_MAX, "WARNING: Nothing implemented in body of FilesystemScan::lock().\n");
  prepareDirectories(scanObject);
  for (const auto& fsRef : fsRefs_) attachDirectories(scanObject, *fsRef);
  attachDirectoryStatistics(scanObject);

  walkFilesystems(scanObject, nfsTimeout);

  sortFilesystemsByID(scanObject.getFilesystems());
  return rc_;
}

// --- Which file systems ------------------------------------------------------------------------------------

FilesystemList FilesystemScan::arrangeFilesystems(FilesystemList filesystems) {
  struct Filer {
    int32_t computerID;
    FilesystemList chain;
  };
  TRACE_SCOPE("FilesystemScan::arrangeFilesystems()");
  FilesystemList arranged;
  std::map<int32_t, std::deque<Filer>> domains;
  std::map<std::pair<int32_t, int32_t>, size_t> places;  // of a filer in its domain's list
  for (auto& filesystem : filesystems) {
    const NasFiler* filer = filesystem->filer.get();
    if (filer == nullptr) {
      arranged.push_back(std::move(filesystem));
      continue;
    }
    // A filer without a domain stands in the shared default one.
    const int32_t domainID = filer->nfDomain.empty() ? 0 : filer->nfDomain.front()->id;
    std::deque<Filer>& filers = domains[domainID];
    const auto [place, isNew] = places.try_emplace({domainID, filer->nfComputerID}, filers.size());
    if (isNew) filers.push_back({filer->nfComputerID, {}});
    filers[place->second].chain.push_front(std::move(filesystem));
  }
  for (auto& domain : domains) {
    for (Filer& filer : domain.second) {
      for (auto& filesystem : filer.chain) arranged.push_back(std::move(filesystem));
    }
  }
  return arranged;
}

std::string FilesystemScan::qualifiedFSName(const Filesystem& filesystem) {
  std::string name = filesystem.fsMountPoint;
  if (filesystem.filer) name += " (" + filesystem.filer->nfName + ")";
  return name;
}

/// Pairs the wanted file systems with mounts and reads their figures; an FSRef for each that is there.
void FilesystemScan::findFilesystems(AgentScan& scanObject, int nfsTimeout) {
  MountsMap mounts;
  Mounts table;
  raise(makeMountsMap(mounts, true, table));
  // A table that couldn't be read says nothing about any file system; one that is merely empty says that none
  // is mounted.
  if (mounts.empty() && table.readFailed()) return;

  for (const auto& filesystem : scanObject.getFilesystems()) {
    const bool wasFake = filesystem->fsType == Filesystem::FAKE;
    const std::vector<std::string> keys = candidateKeys(*filesystem);
    const auto found = std::find_if(keys.begin(), keys.end(), [&](const std::string& key) {
      if (mounts.contains(key)) return true;
      TRACE(TR_MAX, "No entry found for %s! Tryin next...\n", key.c_str());
      return false;
    });

    filesystem->fsScanned = false;
    if (found == keys.end()) {
      logJobMessage(403, "STA0103W", {keys.empty() ? std::string() : keys.front()});
    } else {
      const Mounts& mount = mounts.at(*found);
      filesystem->fsScanned = mount.statFS(*filesystem, nfsTimeout) == 0;
      if (filesystem->fsScanned) {
        if (wasFake) {
          TRACE(TR_MAX, "if(wasFake) == TRUE\n");
          zeroFigures(*filesystem);
        }
        fsRefs_.push_back(std::make_unique<FSRef>());
        fsRefs_.back()->filesystem = filesystem.get();
        fsRefs_.back()->localPath = mount.mntPt;
        fsRefsById_.try_emplace(filesystem->fsID, fsRefs_.back().get());
      }
    }
    if (!filesystem->fsScanned) raise(GIVEN_UP);
  }
  if (fsRefs_.empty()) {
    TRACE(TR_MIN, "no filesystems.\n");
    logJobMessage(872, "STA0647E");
  }
}

// --- Statistics of file systems ----------------------------------------------------------------------------

void FilesystemScan::attachStatistics(AgentScan& scanObject) {
  std::string names;
  for (const auto& definition : scanObject.getStatistics()) {
    // Only agents of another platform mark files that want a backup.
    if (!CommonAgentFactory::getCommonAgent().isWindows) definition->sdGroupByBackup = false;
    if (definition->sdType == CuStatDef::DIRECTORY_STATISTIC) continue;
    if (!attachStatistic(*definition)) raise(GIVEN_UP);
    if (definition->sdType != CuStatDef::FILESYSTEM_STATISTIC) appendLine(names, definition->displayName());
    definition->setWhereClause("");
  }
  if (!names.empty() && naLog != nullptr) naLog->logList(326, "STA0026I", names);
}

/// @return false when the selection doesn't compile; the statistic then applies to nothing
bool FilesystemScan::attachStatistic(CuStatDef& definition) {
  selection_.setExpression(definition.getWhereClause());
  if (!selection_.compile(definition.sdCreator + "." + definition.sdName, 0)) return false;
  trees_.push_back(std::make_unique<Tree>(Tree{selection_.takeRoot(), &definition}));
  Tree& tree = *trees_.back();

  if (definition.sdType == CuStatDef::RESTRICTED_STATISTIC) {
    attachRestrictedStatistic(definition, tree);
    return true;
  }
  definition.sdResults.clear();
  for (const auto& fsRef : fsRefs_) {
    newFSAssoc(*fsRef, tree, definition.sdResults.append(std::make_unique<ResultsByFS>(fsRef->filesystem)));
  }
  return true;
}

/// Keeps the results whose file system is part of this job, and drops the others.
void FilesystemScan::attachRestrictedStatistic(CuStatDef& definition, Tree& tree) {
  definition.sdResults.keep([&](ResultsByFS& results) {
    const Filesystem* source = results.sourceFilesystem();
    const auto found = source != nullptr ? fsRefsById_.find(source->fsID) : fsRefsById_.end();
    if (found == fsRefsById_.end()) return false;
    newFSAssoc(*found->second, tree, results);
    return true;
  });
  if (definition.sdResults.empty()) withoutFilesystem_.push_back(&definition);
}

void FilesystemScan::newFSAssoc(FSRef& fsRef, Tree& tree, ResultsByFS& results) {
  fsRef.assocs.push_back({&tree, &results});
  if (tree.definition->sdType == CuStatDef::FILESYSTEM_STATISTIC) fsRef.ownResults = &results;
}

// --- Monitored directories ---------------------------------------------------------------------------------

FilesystemScan::Slashes FilesystemScan::findSlashes(const std::string& path) {
  Slashes result;
  result.last = path.ends_with('/') ? path.size() - 1 : path.size();
  for (size_t i = 0; i < result.last; ++i) {
    if (path[i] != '/') continue;
    ++result.slashes;
    result.first = i + 1;
  }
  return result;
}

bool FilesystemScan::maskedPath(const std::string& path) {
  for (size_t i = path.find('/'); i < path.size(); ++i) {
    if (path[i] == '&') {
      ++i;
    } else if (path[i] == '*' || path[i] == '?' || path[i] == '[') {
      return true;
    }
  }
  return false;
}

void FilesystemScan::prepareDirectories(AgentScan& scanObject) {
  for (const auto& spec : scanObject.getDirectories()) {
    spec->setMdsPath(replaceDelimiter(spec->getMdsPath()));
    spec->setMdsMaskedPath(maskedPath(spec->getMdsPath()));
  }
}

/// Finds the monitored directories that lie on a file system, by computer and path.
void FilesystemScan::attachDirectories(AgentScan& scanObject, FSRef& fsRef) {
  Filesystem& filesystem = *fsRef.filesystem;
  if (!ComputerID::cachedCID) {
    TRACE(TR_MIN, "FilesystemScan::doScan(...) : ERROR: 'ComputerID::cachedCID' is NULL.\n");
  }
  const int32_t computerID = filesystem.filer ? filesystem.filer->nfComputerID : ComputerID::cachedId();
  std::string& mountPoint = filesystem.fsMountPoint;
  if (!mountPoint.ends_with('/')) mountPoint += '/';
  const Slashes mount = findSlashes(mountPoint);

  for (const auto& spec : scanObject.getDirectories()) {
    const int32_t wanted = spec->getMdsComputerID();
    if (wanted >= 1 && wanted != computerID && wanted != filesystem.fsComputerID) continue;
    const Slashes directory = findSlashes(spec->getMdsPath());
    const int32_t level = directory.slashes - mount.slashes;
    if (level < 0) continue;
    size_t length = mount.last + 1;
    if (level == 0) {
      const bool masked = spec->getMdsMaskedPath();
      if (masked ? mount.first != directory.first : mount.last != directory.last) continue;
      length = masked ? mount.first : mount.last;
    }
    if (!regionMatches(mountPoint, spec->getMdsPath(), length)) continue;
    makeDirSel(fsRef, *spec, level);
    TRACE(TR_MAX, "Directory to Monitor: %s\n", spec->getMdsPath().c_str());
  }
}

void FilesystemScan::makeDirSel(FSRef& fsRef, const MonDirSpec& spec, int32_t level) {
  const auto [root, isNew] = directoryRoots_.try_emplace(&spec);
  if (isNew) {
    std::string clause(PREAMBLE);
    clause += spec.getMdsPath();
    // One character more, so that "/dir/*" doesn't select "/dir/" itself.
    if (clause.ends_with("/*")) clause += '?';
    clause += '\0';
    selection_.setExpression(std::move(clause));
    if (selection_.compile(spec.getMdsPath(), 0)) {
      root->second = selection_.takeRoot();
    } else {
      raise(GIVEN_UP);
    }
  }
  const auto sameLevel = std::find_if(fsRef.selections.begin(), fsRef.selections.end(),
                                      [&](const auto& other) { return other->level == level; });
  auto selection = std::make_unique<MonDirSelection>();
  selection->level = level;
  selection->spec = &spec;
  selection->root = root->second.get();
  selection->first = sameLevel == fsRef.selections.end() ? selection.get() : sameLevel->get()->first;
  fsRef.selections.push_back(std::move(selection));
}

void FilesystemScan::attachDirectoryStatistics(AgentScan& scanObject) {
  std::string names;
  for (const auto& definition : scanObject.getStatistics()) {
    if (definition->sdType != CuStatDef::DIRECTORY_STATISTIC) continue;
    appendLine(names, definition->sdCreator.empty() ? "(DIR STAT)" : definition->displayName());
    if (attachDirectoryStatistic(*definition)) {
      directoryStatistics_.push_back(definition.get());
    } else {
      raise(GIVEN_UP);
    }
  }
  if (!names.empty() && naLog != nullptr) naLog->logList(327, "STA0027I", names);
}

/// Compiles a directory statistic for each level at which it is needed. A selection that fails at one level
/// gives the statistic up altogether: half of it would be worse than none.
/// @return false when it was given up
bool FilesystemScan::attachDirectoryStatistic(CuStatDef& definition) {
  std::map<int32_t, std::unique_ptr<Tree>> byLevel;
  std::vector<std::pair<MonDirSelection*, Tree*>> assocs;
  for (const auto& fsRef : fsRefs_) {
    for (const auto& directory : fsRef->selections) {
      if (directory->first != directory.get()) continue;
      std::unique_ptr<Tree>& tree = byLevel[directory->level];
      if (!tree) {
        selection_.setExpression(definition.getWhereClause());
        if (!selection_.compile(definition.sdCreator + "." + definition.sdName, directory->level))
          return false;
        tree = std::make_unique<Tree>(Tree{selection_.takeRoot(), &definition});
      }
      assocs.emplace_back(directory.get(), tree.get());
    }
  }
  for (const auto& [directory, tree] : assocs) directory->assocs.push_back({tree, nullptr});
  for (auto& [level, tree] : byLevel) trees_.push_back(std::move(tree));
  return true;
}

// --- Walks -------------------------------------------------------------------------------------------------

void FilesystemScan::walkFilesystems(AgentScan& scanObject, int nfsTimeout) {
  Walk shared(nfsTimeout);
  MonDirTable monDirs;
  for (const auto& fsRef : fsRefs_) {
    Filesystem& filesystem = *fsRef->filesystem;
    logJobMessage(325, "STA0025I", {qualifiedFSName(filesystem)});
    const size_t metBefore = monDirs.completed().size();
    const int result = walk(*fsRef, shared, monDirs);
    const bool failed = result > GIVEN_UP;
    raise(failed ? GIVEN_UP : result);
    reportFailedLookups(shared.userTable);
    updateOwnSummary(*fsRef);
    printData(*fsRef, std::span(monDirs.completed()).subspan(metBefore));
    if (failed) {
      removeReferencesTo(scanObject, filesystem);
      filesystem.fsScanned = false;
    }
    shared.releaseFileActionVector();
  }
  TRACE(TR_MAX, "end of final loop over filesystem!\n");
  // The server finds every statistic of the job in the result, also one that applies to nothing.
  for (const CuStatDef* definition : withoutFilesystem_) definition->printData(*genericPrint_, 0);
}

/// Builds the row of actions for one file system and walks it. The last selections and statistics come first,
/// and directory statistics before the activators that switch them on, so that a monitored directory's own
/// entry is not counted below it.
int FilesystemScan::walk(FSRef& fsRef, Walk& shared, MonDirTable& monDirs) {
  addDirectoryActions(fsRef, monDirs, shared);
  for (auto assoc = fsRef.assocs.rbegin(); assoc != fsRef.assocs.rend(); ++assoc) {
    auto accumulator = std::make_unique<CuStatAccum>();
    accumulator->buildAccum(*assoc->tree->definition, *fsRef.filesystem);
    assoc->results->rfResults = accumulator->takeResults();
    shared.add(std::move(accumulator), assoc->tree->root.get());
  }
  SelectTree everything;
  if (observer_ != nullptr) {
    selection_.setExpression("");
    selection_.compile("everything", 0);
    everything = selection_.takeRoot();
    shared.actions.push_back(observer_);
    shared.selections.push_back(everything.get());
  }
  ScannerUnix scanner({.filesystem = *fsRef.filesystem,
                       .actions = shared.actions,
                       .selections = shared.selections,
                       .userTable = shared.userTable,
                       .factory = shared.factory,
                       .localPath = fsRef.localPath},
                      *shared.calls);
  return scanner.scan();
}

void FilesystemScan::addDirectoryActions(FSRef& fsRef, MonDirTable& monDirs, Walk& shared) const {
  std::map<int32_t, MonDirChain*> chains;
  struct Firing {
    MonDirChain* chain;
    const MonDirSelection* directory;
  };
  std::vector<Firing> firings;
  for (auto directory = fsRef.selections.rbegin(); directory != fsRef.selections.rend(); ++directory) {
    MonDirChain*& chain = chains[(*directory)->level];
    if (chain == nullptr) {
      auto newChain = std::make_unique<MonDirChain>(monDirs, *fsRef.filesystem);
      const std::vector<Assoc>& assocs = (*directory)->first->assocs;
      for (auto assoc = assocs.rbegin(); assoc != assocs.rend(); ++assoc) {
        newChain->append(
            shared.add(std::make_unique<MonDirAccum>(*assoc->tree->definition, *fsRef.filesystem),
                       assoc->tree->root.get()));
      }
      chain = &shared.add(std::move(newChain), nullptr);
    }
    firings.push_back({chain, directory->get()});
  }
  for (const Firing& firing : firings) {
    shared.add(std::make_unique<Activator>(*firing.chain, *firing.directory->spec), firing.directory->root);
  }
}

/// People delete what belongs to nobody: they must know when the user database, and not its content, made
/// owners look removed.
void FilesystemScan::reportFailedLookups(UnixUserTable& userTable) {
  const UnixUserTable::Failures failures = userTable.takeFailures();
  if (failures.numbers == 0) return;
  logJobMessage(2605, "GEN0105W", {std::to_string(failures.numbers), getSystemErrorMessage(failures.error)});
  raise(GIVEN_UP);
}

/// The file system's own summary shows its space. Without one the server can't keep the file system's
/// history: something was given up.
void FilesystemScan::updateOwnSummary(FSRef& fsRef) {
  const ResultsByFS* own = fsRef.ownResults;
  if (own == nullptr || !own->rfResults || !own->rfResults->srSummary) {
    raise(GIVEN_UP);
    return;
  }
  SSummary& summary = *own->rfResults->srSummary;
  summary.sumCapacity = fsRef.filesystem->fsCapacity;
  summary.sumFreeSpace = fsRef.filesystem->fsFreeSpace;
  summary.sumUsedSpace = fsRef.filesystem->fsUsedSpace;
}

// --- Results -----------------------------------------------------------------------------------------------

/// Writes one file system's part of the result file: its record, its monitored directories, its statistics,
/// the statistics of its directories.
/// @param monDirs the directories that its walk has completed
void FilesystemScan::printData(const FSRef& fsRef, std::span<SMonDir* const> monDirs) {
  TRACE_SCOPE("FilesystemScan::printData()");
  Filesystem& filesystem = *fsRef.filesystem;
  filesystem.printData(*genericPrint_);

  std::unordered_map<const MonDirSpec*, std::vector<const SMonDir*>> bySpec;
  for (const SMonDir* directory : monDirs) {
    for (const MonDirSpec* spec : directory->smDirSpecs) bySpec[spec].push_back(directory);
  }
  std::set<const SMonDir*> printed;
  for (const auto& selection : fsRef.selections) {
    for (const SMonDir* directory : bySpec[selection->spec]) {
      if (printed.insert(directory).second) directory->printData(*genericPrint_);
    }
  }

  const CuStatDef* last = nullptr;
  for (const Assoc& assoc : fsRef.assocs) {
    const CuStatDef* definition = assoc.tree->definition;
    if (definition != last) definition->printData(*genericPrint_, filesystem.fsID);
    last = definition;
  }
  if (fsRef.selections.empty()) return;
  for (const CuStatDef* definition : directoryStatistics_) {
    definition->printData(*genericPrint_, filesystem.fsID);
  }
}

/// Forgets the results of a file system whose walk failed. A statistic that has no others is forgotten with
/// them; a directory statistic stays, for it has results only where directories are met.
void FilesystemScan::removeReferencesTo(AgentScan& scanObject, const Filesystem& filesystem) {
  TRACE_SCOPE("FilesystemScan::removeReferencesTo()");
  std::erase_if(scanObject.getStatistics(), [&](const std::unique_ptr<CuStatDef>& definition) {
    if (definition->sdType == CuStatDef::DIRECTORY_STATISTIC) return false;
    return definition->sdResults.removeFirstOf(filesystem.fsID) && definition->sdResults.empty();
  });
}

}  // namespace agent
