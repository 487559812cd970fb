#pragma once

#include <cstdint>

#include "Scan/walk/FileAttributes.h"

namespace agent {

/// One file of one of a statistic's lists.
class SFile : public FileAttributes {
 public:
  // Which list, as `sfStatType` tells the server.
  static constexpr int16_t LARGEST = 0;
  static constexpr int16_t LEAST_ACCESSED = 1;
  static constexpr int16_t OLDEST_NOT_BACKED_UP = 2;
  static constexpr int16_t LARGEST_ORPHAN = 3;
  static constexpr int16_t OLDEST_ORPHAN = 4;

  SFile(const FileAttributes& entry, int32_t filesystemID, int16_t statType)
      : FileAttributes(entry, "SFile"), sfFilesystemID(filesystemID), sfStatType(statType) {}

  static const RecordTable<SFile, FileAttributes>& table();

  static void printHeader(GenericPrint& print);
  /// Writes the row and the nodes of owner and group behind it.
  /// @param nested put all of it into a node of the class
  void printData(GenericPrint& print, bool nested) const;

  int32_t sfFilesystemID = 0;
  int32_t sfStatisticID = 0;
  int16_t sfStatType = 0;

 protected:
  SFile() = default;
};

/// A file with a score, as a migration policy would want it. The format has room for it: its header row
/// stands in every result file. This job never makes one.
class SFileCandidate : public SFile {
 public:
  SFileCandidate() = default;
  explicit SFileCandidate(const FileAttributes& entry) : SFile(entry, 0, 0) {}

  static const RecordTable<SFileCandidate, SFile>& table();

  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  float sfHSMScore = 0;
};

}  // namespace agent
