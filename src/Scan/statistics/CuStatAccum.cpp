#include "Scan/statistics/CuStatAccum.h"

#include <ctime>
#include <utility>

#include "Common/ComputerID.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/statistics/CuStatDef.h"
#include "Scan/statistics/FileAccum.h"
#include "Scan/statistics/FileTypeAccum.h"
#include "Scan/statistics/LargeDirAccum.h"
#include "Scan/statistics/SizeDistAccum.h"
#include "Scan/statistics/SummaryAccum.h"
#include "Scan/statistics/TimeDistAccum.h"
#include "Scan/statistics/UserOrGroupAccum.h"
#include "Scan/walk/FileAttributes.h"

namespace agent {

namespace {

std::unique_ptr<SSummary> newSummary(const CuStatDef& definition, const Filesystem& filesystem, int64_t now) {
  auto summary = std::make_unique<SSummary>();
  summary->sumFilesystemID = filesystem.fsID;
  summary->sumStatisticID = definition.sdID;
  summary->sumCapacity = filesystem.fsCapacity;
  summary->sumUsedSpace = filesystem.fsUsedSpace;
  summary->sumFreeSpace = filesystem.fsFreeSpace;
  summary->sumScanTime = now;
  return summary;
}

std::unique_ptr<SSizeDist> newSizeDist(const CuStatDef& definition, const Filesystem& filesystem) {
  auto distribution = std::make_unique<SSizeDist>();
  distribution->szdFilesystemID = filesystem.fsID;
  distribution->szdStatisticID = definition.sdID;
  return distribution;
}

std::unique_ptr<STimeDist> newTimeDist(const CuStatDef& definition, const Filesystem& filesystem,
                                       int64_t now) {
  auto distribution = std::make_unique<STimeDist>();
  distribution->tdFilesystemID = filesystem.fsID;
  distribution->tdStatisticID = definition.sdID;
  distribution->tdScanTime = now;
  return distribution;
}

}  // namespace

CuStatAccum::CuStatAccum() : CuStatAccum("CuStatAccum") {}

CuStatAccum::CuStatAccum(const char* className) : FileAction(className) {}

CuStatAccum::~CuStatAccum() = default;

void CuStatAccum::releaseInodeTableMap() {
  inodeTable_.clear();
}

void CuStatAccum::releaseAccumulators() {
  accumulators_.clear();
  largeDirectories_.reset();
}

template <typename Accum, typename... Arguments>
void CuStatAccum::push(Arguments&&... arguments) {
  accumulators_.push_back(std::make_unique<Accum>(std::forward<Arguments>(arguments)...));
}

void CuStatAccum::buildAccum(CuStatDef& definition, Filesystem& filesystem) {
  TRACE_SCOPE("CuStatAccum::buildAccum()");
  releaseInodeTableMap();
  releaseAccumulators();
  filesystem.fsScanningCompID = ComputerID::cachedId();
  const int64_t now = static_cast<int64_t>(time(nullptr)) * 1000;

  ownResults_ = std::make_unique<CuStatResults>();
  results_ = ownResults_.get();
  results_->srID = definition.sdID;
  level_ = OUTSIDE;

  if (definition.sdLargestDirectories > 0) {
    largeDirectories_ = std::make_unique<LargeDirAccum>(definition.sdLargestDirectories, filesystem.fsID);
  }
  if (definition.sdLargestFiles > 0) push<LargeFileAccum>(definition.sdLargestFiles);
  if (definition.sdLeastAccessed > 0) push<OldFileAccum>(definition.sdLeastAccessed);
  if (definition.sdOldestNotBackedUp > 0) push<VulnerableFileAccum>(definition.sdOldestNotBackedUp);
  if (definition.sdLargestOrphans > 0) push<LargestOrphansAccum>(definition.sdLargestOrphans);
  if (definition.sdOldestOrphans > 0) push<OldestOrphansAccum>(definition.sdOldestOrphans);
  if (definition.sdGroupByOwner) {
    push<UserOrGroupAccum>(UserOrGroupAccum::Kind::OWNERS, filesystem);
  }
  if (definition.sdGroupByGroup) {
    push<UserOrGroupAccum>(UserOrGroupAccum::Kind::GROUPS, filesystem);
  }
  if (definition.sdSummary) {
    results_->srSummary = newSummary(definition, filesystem, now);
    push<SummaryAccum>(*results_->srSummary);
  }
  if (definition.sdSizeDistribution) {
    results_->srSizeDist = newSizeDist(definition, filesystem);
    push<SizeDistAccum>(*results_->srSizeDist);
  }
  if (definition.sdGroupByAccess) {
    results_->srAccessed = newTimeDist(definition, filesystem, now);
    push<AccessedDistAccum>(*results_->srAccessed);
  }
  if (definition.sdGroupByMod) {
    results_->srModified = newTimeDist(definition, filesystem, now);
    push<ModifiedDistAccum>(*results_->srModified);
  }
  // No file of this platform knows when it was created. The server sees that from the row.
  definition.sdGroupByCreation = false;
  if (definition.sdLargestFileTypes > 0 && !definition.sdWinOnlyFileType) {
    push<FileTypeAccum>(definition.sdID, filesystem.fsID, definition.sdLargestFileTypes);
  }
}

std::unique_ptr<CuStatResults> CuStatAccum::takeResults() {
  return std::move(ownResults_);
}

void CuStatAccum::actUpon(Scanner& scanner, FileAttributes& attributes) {
  if (largeDirectories_) largeDirectories_->accumulate(scanner, attributes);

  // The first sighting of an inode with several names reaches no accumulator, each further one does: an inode
  // with n names in the tree counts n-1 times, one whose other names lie outside not at all. That is the
  // counting that servers rely on.
  if (attributes.faLinkCount >= 2 &&
      inodeTable_.insert(static_cast<uint64_t>(attributes.faInodeNumber)).second) {
    return;
  }

  for (auto accumulator = accumulators_.rbegin(); accumulator != accumulators_.rend(); ++accumulator) {
    (*accumulator)->accumulate(scanner, attributes);
  }
}

void CuStatAccum::directoryEntered(FileAttributes& attributes) {
  if (largeDirectories_) largeDirectories_->newDirectory(attributes);
  ++level_;
}

void CuStatAccum::directoryLeft() {
  if (largeDirectories_) largeDirectories_->closeDirectory();
  if (--level_ >= 0 || results_ == nullptr) return;

  if (largeDirectories_) largeDirectories_->finish(*results_);
  for (auto accumulator = accumulators_.rbegin(); accumulator != accumulators_.rend(); ++accumulator) {
    (*accumulator)->finish(*results_);
  }
  results_ = nullptr;
}

}  // namespace agent
