#include "Scan/statistics/FileAccum.h"

#include <utility>

#include "Probe/Filesystem.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/selection/fileInfo.h"
#include "Scan/walk/Scanner.h"

namespace agent {

namespace {

bool isOrphan(const FileAttributes& attributes) {
  return (attributes.faAttributes & ATTRIBUTE_ORPHAN) != 0;
}

}  // namespace

FileAccum::FileAccum(const char* className, int32_t nMaxToRetain)
    : Accumulator(className), most_(nMaxToRetain) {
  TRACE(TR_MAX, "FileAccum::FileAccum() : <nMaxToRetain> set to %d.\n", nMaxToRetain);
}

void FileAccum::offer(const Scanner& scanner, const FileAttributes& attributes, int64_t key,
                      int16_t statType) {
  if (most_.mustAdd(key) && attributes.isFileOrLink()) {
    most_.add(SFile(attributes, scanner.filesystem().fsID, statType));
  }
}

void FileAccum::finish(CuStatResults& results) {
  std::vector<SFile> files = most_.takeDescending();
  for (SFile& file : files) file.sfStatisticID = results.srID;
  storeList(results, std::move(files));
}

void LargeFileAccum::accumulate(Scanner& scanner, FileAttributes& attributes) {
  const int16_t fsType = scanner.filesystem().fsType;
  const bool fat = fsType == Filesystem::FAT || fsType == Filesystem::FAT32;
  // The low 32 bits, signed: the ranking that servers have always been given. A file of 2^31 blocks and more
  // ranks by the wrapped value; the orphans' list ranks by the whole one.
  const auto key = static_cast<int32_t>(fat ? attributes.faLength : attributes.faBlocks);
  offer(scanner, attributes, key, SFile::LARGEST);
}

void LargeFileAccum::storeList(CuStatResults& results, std::vector<SFile> files) {
  results.srLargestFiles = std::move(files);
}

void OldFileAccum::accumulate(Scanner& scanner, FileAttributes& attributes) {
  offer(scanner, attributes, -attributes.faAccessed, SFile::LEAST_ACCESSED);
}

void OldFileAccum::storeList(CuStatResults& results, std::vector<SFile> files) {
  results.srLeastAccessed = std::move(files);
}

void VulnerableFileAccum::accumulate(Scanner& scanner, FileAttributes& attributes) {
  if ((attributes.faAttributes & ATTRIBUTE_ARCHIVE) == 0) return;
  if (attributes.faType == FileAttributes::DIRECTORY) return;
  offer(scanner, attributes, -attributes.faModified, SFile::OLDEST_NOT_BACKED_UP);
}

void VulnerableFileAccum::storeList(CuStatResults& results, std::vector<SFile> files) {
  results.srOldestNotBackedUp = std::move(files);
}

void LargestOrphansAccum::accumulate(Scanner& scanner, FileAttributes& attributes) {
  if (isOrphan(attributes)) offer(scanner, attributes, attributes.faBlocks, SFile::LARGEST_ORPHAN);
}

void LargestOrphansAccum::storeList(CuStatResults& results, std::vector<SFile> files) {
  results.srLargestOrphans = std::move(files);
}

void OldestOrphansAccum::accumulate(Scanner& scanner, FileAttributes& attributes) {
  if (isOrphan(attributes)) offer(scanner, attributes, -attributes.faAccessed, SFile::OLDEST_ORPHAN);
}

void OldestOrphansAccum::storeList(CuStatResults& results, std::vector<SFile> files) {
  results.srOldestOrphans = std::move(files);
}

}  // namespace agent
