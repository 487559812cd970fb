#include "Scan/FilesystemPairing.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Probe/NasFiler.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

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

/// @return the mount of a file system, or null; what was looked for has been logged
const Mounts* findMount(const Filesystem& filesystem, const MountsMap& mounts) {
  const std::vector<std::string> keys = candidateKeys(filesystem);
  for (const std::string& key : keys) {
    if (const auto found = mounts.find(key); found != mounts.end()) return &found->second;
    TRACE(TR_MAX, "No entry found for %s! Tryin next...\n", key.c_str());
  }
  logJobMessage(messages::NOT_MOUNTED, {keys.empty() ? std::string() : keys.front()});
  return nullptr;
}

bool readFigures(Filesystem& filesystem, const Mounts& mount, int nfsTimeout) {
  const bool wasFake = filesystem.fsType == Filesystem::FAKE;
  if (mount.statFS(filesystem, nfsTimeout) != 0) return false;
  if (wasFake) {
    TRACE(TR_MAX, "if(wasFake) == TRUE\n");
    zeroFigures(filesystem);
  }
  return true;
}

}  // namespace

FilesystemList arrangeFilesystems(FilesystemList filesystems) {
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

void sortFilesystemsByID(FilesystemList& filesystems) {
  std::stable_sort(filesystems.begin(), filesystems.end(),
                   [](const auto& a, const auto& b) { return a->fsID < b->fsID; });
}

std::string qualifiedFSName(const Filesystem& filesystem) {
  std::string name = filesystem.fsMountPoint;
  if (filesystem.filer) name += " (" + filesystem.filer->nfName + ")";
  return name;
}

void findFilesystems(const FilesystemList& filesystems, const MountsMap& mounts, int nfsTimeout,
                     ScanPlan& plan) {
  for (const auto& filesystem : filesystems) {
    const Mounts* mount = findMount(*filesystem, mounts);
    filesystem->fsScanned = mount != nullptr && readFigures(*filesystem, *mount, nfsTimeout);
    if (!filesystem->fsScanned) {
      plan.givenUp = true;
      continue;
    }
    auto fsRef = std::make_unique<FSRef>();
    fsRef->filesystem = filesystem.get();
    fsRef->localPath = mount->mntPt;
    plan.fsRefsById.try_emplace(filesystem->fsID, fsRef.get());
    plan.fsRefs.push_back(std::move(fsRef));
  }
  if (plan.fsRefs.empty()) {
    TRACE(TR_MIN, "no filesystems.\n");
    logJobMessage(messages::NOTHING_TO_SCAN);
  }
}

}  // namespace agent
