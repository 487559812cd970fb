#pragma once

#include <cstdint>
#include <utility>

#include "Common/Object.h"
#include "Common/RecordTable.h"
#include "Scan/results/FileType.h"

namespace agent {

/// A record of the same shape over time. Carries no data in this job.
class History : public Object {
 public:
  using Object::Object;
};

/// How much space the files of one extension take.
class FileTypeSummary : public History {
 public:
  explicit FileTypeSummary(FileType type) : History("FileTypeSummary"), fileType(std::move(type)) {}

  static const RecordTable<FileTypeSummary>& table();
  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int32_t profileID = 0;  ///< the statistic's id
  int32_t filesystemID = 0;
  int64_t fileCount = 0;
  int64_t spaceUsed = 0;  ///< units of 512 bytes
  FileType fileType;
};

}  // namespace agent
