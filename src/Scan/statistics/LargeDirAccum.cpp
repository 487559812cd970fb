#include "Scan/statistics/LargeDirAccum.h"

#include <utility>

#include "Scan/results/Counters.h"
#include "Scan/results/CuStatResults.h"

namespace agent {

LargeDirAccum::LargeDirAccum(int32_t nMaxToRetain, int32_t filesystemID)
    : Accumulator("LargeDirAccum"), most_(nMaxToRetain), filesystemID_(filesystemID) {}

void LargeDirAccum::newDirectory(const FileAttributes& attributes) {
  if (depth_ == open_.size()) open_.emplace_back();
  open_[depth_++].startWith(attributes, filesystemID_);
}

void LargeDirAccum::accumulate(Scanner& /*scanner*/, FileAttributes& attributes) {
  if (depth_ == 0) return;  // the start directory's own entry belongs to no directory of the walk
  SDirectory& directory = open_[depth_ - 1];

  // A hard-linked entry counts at each sighting. The filter that a directory once was to have for them never
  // found anything, and the totals that servers compare with have always been without it.
  if (attributes.isFileOrLink()) {
    addTo(directory.dirFileCount, 1);
  } else if (attributes.faType == FileAttributes::DIRECTORY) {
    addTo(directory.dirDirectoryCount, 1);
  }
  const int64_t size = attributes.faBlocks;
  addTo(directory.dirTotalSize, size);

  // Lopsided on purpose, as servers know it: an entry of any type pushes the largest down to second place,
  // but only a regular file takes a place. A link or subdirectory larger than all files makes both places
  // equal.
  const bool isFile = attributes.faType == FileAttributes::REGULAR_FILE;
  if (size > directory.dir2ndLargestSize) {
    if (size > directory.dirLargestSize) {
      directory.dir2ndLargestSize = directory.dirLargestSize;
      if (isFile) directory.dirLargestSize = size;
    } else if (isFile) {
      directory.dir2ndLargestSize = size;
    }
  }
  const size_t bucket = SizeRanges::bucket(size);
  addTo(directory.dirSizes[bucket], size);
  addTo(directory.dirCounts[bucket], 1);
}

void LargeDirAccum::closeDirectory() {
  if (depth_ == 0) return;
  const SDirectory& directory = open_[--depth_];
  if (most_.mustAdd(directory.dirTotalSize)) most_.add(directory);
}

void LargeDirAccum::finish(CuStatResults& results) {
  results.srLargestDirectories = most_.takeDescending();
  for (SDirectory& directory : results.srLargestDirectories) directory.dirStatisticID = results.srID;
  open_.clear();
  depth_ = 0;
}

}  // namespace agent
