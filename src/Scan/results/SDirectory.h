#pragma once

#include <array>
#include <cstdint>

#include "Scan/results/SizeRanges.h"
#include "Scan/walk/FileAttributes.h"

namespace agent {

/// One directory and what lies directly in it; nothing is rolled up from below. Sizes are in units of 512
/// bytes.
class SDirectory : public FileAttributes {
 public:
  SDirectory() = default;

  /// Starts the record of a directory that is being entered. Keeps the memory of its last use.
  void startWith(const FileAttributes& entry, int32_t filesystemID);

  static const RecordTable<SDirectory, FileAttributes>& table();

  static void printHeader(GenericPrint& print);
  /// Writes the row and the nodes of owner and group behind it.
  /// @param nested put all of it into a node of the class
  void printData(GenericPrint& print, bool nested) const;

  int32_t dirFilesystemID = 0;
  int32_t dirStatisticID = 0;
  int32_t dirFileCount = 0;  ///< regular files and symbolic links
  int32_t dirDirectoryCount = 0;
  int64_t dirTotalSize = 0;
  int64_t dirLargestSize = 0;
  int64_t dir2ndLargestSize = 0;
  std::array<int64_t, SizeRanges::BUCKETS> dirSizes = {};
  std::array<int32_t, SizeRanges::BUCKETS> dirCounts = {};
};

}  // namespace agent
