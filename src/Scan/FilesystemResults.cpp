#include "Scan/FilesystemResults.h"

#include <memory>
#include <set>
#include <unordered_map>
#include <vector>

#include "Common/GenericPrint.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/results/SMonDir.h"

namespace agent {

namespace {

/// The directories in the order of the specs that they were met by, each once.
void printDirectories(const FSRef& fsRef, std::span<SMonDir* const> monDirs, GenericPrint& print) {
  std::unordered_map<const MonDirSpec*, std::vector<const SMonDir*>> bySpec;
  for (const SMonDir* directory : monDirs) {
    for (const MonDirSpec* spec : directory->smDirSpecs) bySpec[spec].push_back(directory);
  }
  std::set<const SMonDir*> printed;
  for (const auto& selection : fsRef.selections) {
    for (const SMonDir* directory : bySpec[selection->spec]) {
      if (printed.insert(directory).second) directory->printData(print);
    }
  }
}

}  // namespace

bool updateOwnSummary(const FSRef& fsRef) {
  const ResultsByFS* own = fsRef.ownResults;
  if (own == nullptr || !own->rfResults || !own->rfResults->srSummary) return false;
  SSummary& summary = *own->rfResults->srSummary;
  summary.sumCapacity = fsRef.filesystem->fsCapacity;
  summary.sumFreeSpace = fsRef.filesystem->fsFreeSpace;
  summary.sumUsedSpace = fsRef.filesystem->fsUsedSpace;
  return true;
}

void printResults(const ScanPlan& plan, const FSRef& fsRef, std::span<SMonDir* const> monDirs,
                  GenericPrint& print) {
  TRACE_SCOPE("FilesystemScan::printData()");
  Filesystem& filesystem = *fsRef.filesystem;
  filesystem.printData(print);
  printDirectories(fsRef, monDirs, print);

  const CuStatDef* last = nullptr;
  for (const Assoc& assoc : fsRef.assocs) {
    const CuStatDef* definition = assoc.tree->definition;
    if (definition != last) definition->printData(print, filesystem.fsID);
    last = definition;
  }
  if (fsRef.selections.empty()) return;
  for (const CuStatDef* definition : plan.directoryStatistics) definition->printData(print, filesystem.fsID);
}

void removeReferencesTo(const Filesystem& filesystem, StatisticList& statistics) {
  TRACE_SCOPE("FilesystemScan::removeReferencesTo()");
  std::erase_if(statistics, [&](const std::unique_ptr<CuStatDef>& definition) {
    if (definition->sdType == CuStatDef::DIRECTORY_STATISTIC) return false;
    return definition->sdResults.removeFirstOf(filesystem.fsID) && definition->sdResults.empty();
  });
}

}  // namespace agent
