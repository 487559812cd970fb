#include "Scan/FilesystemWalks.h"

#include <map>
#include <string>
#include <utility>

#include "Common/GenericPrint.h"
#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Common/unix/psmsgutil.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/MemoryReserve.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/FilesystemPairing.h"
#include "Scan/FilesystemResults.h"
#include "Scan/results/ResultsByFS.h"
#include "Scan/statistics/CuStatAccum.h"
#include "Scan/unix/DirectoryReaderUnix.h"
#include "Scan/unix/ScannerUnix.h"

namespace agent {

namespace {

SelectTree matchEverything() {
  Selection selection;
  selection.setExpression("");
  selection.compile("everything", 0);
  return selection.takeRoot();
}

}  // namespace

void ActionRow::releaseFileActionVector() {
  TRACE_SCOPE("FilesystemScan::releaseFileActionVector()");
  owned_.clear();
  actions_.clear();
  selections_.clear();
}

FilesystemWalks::FilesystemWalks(ScanPlan& plan, GenericPrint& print, FileAction* observer, int nfsTimeout)
    : plan_(plan), print_(print), observer_(observer), nfsTimeout_(nfsTimeout) {}

void FilesystemWalks::run(StatisticList& statistics) {
  for (const auto& fsRef : plan_.fsRefs) {
    endWhereMemoryIsShort();
    Filesystem& filesystem = *fsRef->filesystem;
    logJobMessage(messages::SCANNING_FILESYSTEM, {qualifiedFSName(filesystem)});
    const size_t metBefore = monDirs_.completed().size();
    const int result = walk(*fsRef);
    if (result != 0) plan_.givenUp = true;
    reportFailedLookups();
    if (!updateOwnSummary(*fsRef)) plan_.givenUp = true;
    printResults(plan_, *fsRef, std::span(monDirs_.completed()).subspan(metBefore), print_);
    if (result == Scanner::ROOT_LOST) {
      removeReferencesTo(filesystem, statistics);
      filesystem.fsScanned = false;
    }
    row_.releaseFileActionVector();
  }
  TRACE(TR_MAX, "end of final loop over filesystem!\n");
  // The server finds every statistic of the job in the result, also one that applies to nothing.
  for (const CuStatDef* definition : plan_.withoutFilesystem) definition->printData(print_, 0);
}

/// Builds the row of actions for one file system and walks it. The last selections and statistics come first,
/// and directory statistics before the activators that switch them on, so that a monitored directory's own
/// entry is not counted below it.
int FilesystemWalks::walk(const FSRef& fsRef) {
  addDirectoryActions(fsRef);
  addStatistics(fsRef);
  addObserver();
  const WalkRules rules(*fsRef.filesystem, fsRef.localPath);
  const std::unique_ptr<DirectoryCalls> calls = readingCalls(rules, nfsTimeout_, processors_);
  DirectoryReaderFactoryUnix factory(*calls);
  ScannerUnix scanner({.filesystem = *fsRef.filesystem,
                       .actions = row_.actions(),
                       .selections = row_.selections(),
                       .userTable = userTable_,
                       .factory = factory,
                       .rules = rules},
                      *calls);
  return scanner.scan();
}

void FilesystemWalks::addDirectoryActions(const FSRef& fsRef) {
  std::map<int32_t, MonDirChain*> chains;
  struct Firing {
    MonDirChain* chain;
    const MonDirSelection* directory;
  };
  std::vector<Firing> firings;
  for (auto directory = fsRef.selections.rbegin(); directory != fsRef.selections.rend(); ++directory) {
    MonDirChain*& chain = chains[(*directory)->level];
    if (chain == nullptr) {
      auto newChain = std::make_unique<MonDirChain>(monDirs_, *fsRef.filesystem);
      const std::vector<Assoc>& assocs = (*directory)->first->assocs;
      for (auto assoc = assocs.rbegin(); assoc != assocs.rend(); ++assoc) {
        newChain->append(row_.add(std::make_unique<MonDirAccum>(*assoc->tree->definition, *fsRef.filesystem),
                                  assoc->tree->root.get()));
      }
      chain = &row_.add(std::move(newChain), nullptr);
    }
    firings.push_back({chain, directory->get()});
  }
  for (const Firing& firing : firings) {
    row_.add(std::make_unique<Activator>(*firing.chain, *firing.directory->spec), firing.directory->root);
  }
}

void FilesystemWalks::addStatistics(const FSRef& fsRef) {
  for (auto assoc = fsRef.assocs.rbegin(); assoc != fsRef.assocs.rend(); ++assoc) {
    auto accumulator = std::make_unique<CuStatAccum>();
    accumulator->buildAccum(*assoc->tree->definition, *fsRef.filesystem);
    assoc->results->rfResults = accumulator->takeResults();
    row_.add(std::move(accumulator), assoc->tree->root.get());
  }
}

void FilesystemWalks::addObserver() {
  if (observer_ == nullptr) return;
  if (!everything_) everything_ = matchEverything();
  row_.borrow(*observer_, everything_.get());
}

/// People delete what belongs to nobody: they must know when the user database, and not its content, made
/// owners look removed.
void FilesystemWalks::reportFailedLookups() {
  const UnixUserTable::Failures failures = userTable_.takeFailures();
  if (failures.numbers == 0) return;
  logJobMessage(messages::OWNERS_NOT_LOOKED_UP,
                {std::to_string(failures.numbers), getSystemErrorMessage(failures.error)});
  plan_.givenUp = true;
}

}  // namespace agent
