#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"

namespace agent {

/// An order to back up what a statistic found. The format has room for it on a CuStatDef; this job never
/// makes one.
class BackupAction : public EntityToObjectMapper {
 public:
  BackupAction() : EntityToObjectMapper("BackupAction") {}

  static const RecordTable<BackupAction>& table();

  /// Does nothing: no definition carries the record.
  void inititializeObject(const HeaderRow& /*refHeaderArray*/, const Rows& /*refDataArray*/) override {}

  static void printHeader(GenericPrint& print);
  /// Writes the record; the two lists are never written, fixed texts stand in their columns.
  void printData(GenericPrint& print) const;

  int32_t baID = 0;
  int16_t baType = 0;
  bool baDeleteFile = false;
  std::string baOptions;
  std::vector<std::string> baFile;
  std::vector<std::string> baFilesystem;
  int32_t baConstraintThreshold = 0;
};

}  // namespace agent
