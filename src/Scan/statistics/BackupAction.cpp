#include "Scan/statistics/BackupAction.h"

namespace agent {

const RecordTable<BackupAction>& BackupAction::table() {
  static constexpr Column<BackupAction> COLUMNS[] = {
      column<&BackupAction::baID>(ScanVOXTags::BA_ID, "reserved"),
      column<&BackupAction::baType>(ScanVOXTags::BA_TYPE, "reserved"),
      column<&BackupAction::baDeleteFile>(ScanVOXTags::BA_DELETE_FILE, "reserved"),
      column<&BackupAction::baOptions>(ScanVOXTags::BA_OPTIONS, "reserved").emptyAs(""),
      // The two lists have never been written.
      {.tag = ScanVOXTags::BA_FILE,
       .meaning = "reserved",
       .kind = CellKind::TEXT,
       .print = [](const BackupAction&) -> std::string { return "baFile not serialized!"; }},
      {.tag = ScanVOXTags::BA_FILESYSTEM,
       .meaning = "reserved",
       .kind = CellKind::TEXT,
       .print = [](const BackupAction&) -> std::string { return "baFilesystem not serialized!"; }},
      column<&BackupAction::baConstraintThreshold>(ScanVOXTags::BA_CONSTRAINT_THRESHOLD, "reserved")};
  static constexpr RecordTable<BackupAction> TABLE(
      ScanVOXTags::BA, "An order to back up what a statistic has found. Reserved.", COLUMNS);
  return TABLE;
}

void BackupAction::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void BackupAction::printData(GenericPrint& print) const {
  table().printNode(print, *this);
}

}  // namespace agent
