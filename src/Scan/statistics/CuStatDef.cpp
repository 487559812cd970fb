#include "Scan/statistics/CuStatDef.h"

#include <string_view>

#include "QLMlib/common/ut/Trace.h"
#include "Scan/statistics/Util.h"

namespace agent {

namespace {

/// The bytes of a where clause, which a definition carries as signed decimal numbers.
std::string decodeWhereClause(std::string_view cell) {
  std::string bytes;
  if (cell == ScanVOXTags::VOX_NULL) return bytes;
  constexpr std::string_view SEPARATORS = ", ";
  while (true) {
    const size_t start = cell.find_first_not_of(SEPARATORS);
    if (start == std::string_view::npos) return bytes;
    cell.remove_prefix(start);
    const std::string_view token = cell.substr(0, cell.find_first_of(SEPARATORS));
    int number = toInt16(token);
    if (number < 0) number += 256;
    bytes.push_back(static_cast<char>(number & 0xFF));
    cell.remove_prefix(token.size());
  }
}

struct WhereClauseFormat : UsualFormat<std::string> {
  static constexpr CellKind KIND = CellKind::SELECTION;
  static void read(std::string& value, std::string_view cell) { value = decodeWhereClause(cell); }
};

/// Flags of a statistic know two more words than those of other records.
struct FlagFormat : UsualFormat<bool> {
  static void read(bool& value, std::string_view cell) {
    UsualFormat<bool>::read(value, cell == "true" ? "Y" : cell == "false" ? "N" : cell);
  }
};

}  // namespace

const RecordTable<CuStatDef>& CuStatDef::table() {
  static constexpr Column<CuStatDef> COLUMNS[] = {
      column<&CuStatDef::sdID>(ScanVOXTags::SD_ID, "its id, which its results carry"),
      column<&CuStatDef::sdAlertID>(ScanVOXTags::SD_ALERT_ID, "id of an alert, for the server"),
      column<&CuStatDef::sdCreator>(ScanVOXTags::SD_CREATOR, "who it belongs to"),
      column<&CuStatDef::sdName>(ScanVOXTags::SD_NAME, "its name"),
      column<&CuStatDef::sdDescription>(ScanVOXTags::SD_DESC, "free text"),
      column<&CuStatDef::sdType>(ScanVOXTags::SD_TYPE, "what it covers, see above"),
      column<&CuStatDef::sdShare>(ScanVOXTags::SD_SHARE, "a number for the server"),
      column<&CuStatDef::sdLargestDirectories>(ScanVOXTags::SD_LARGEST_DIRS,
                                               "list that many directories with the most space"),
      column<&CuStatDef::sdLargestFiles>(ScanVOXTags::SD_LARGEST_FILES,
                                         "list that many of the largest files"),
      column<&CuStatDef::sdLeastAccessed>(ScanVOXTags::SD_LEAST_ACCESS,
                                          "list that many files that were not used for longest"),
      column<&CuStatDef::sdOldestNotBackedUp>(ScanVOXTags::SD_OLDEST_NO_BACKUP,
                                              "list that many files that want a backup; none here does"),
      column<&CuStatDef::sdLargestOrphans>(ScanVOXTags::SD_LARGEST_ORPHANS,
                                           "list that many of the largest files whose owner is gone"),
      column<&CuStatDef::sdOldestOrphans>(ScanVOXTags::SD_OLDEST_ORPHANS,
                                          "list that many of the oldest files whose owner is gone"),
      column<&CuStatDef::sdSummary, FlagFormat>(ScanVOXTags::SD_SUMMARY, "totals: an `SSummary`"),
      column<&CuStatDef::sdSizeDistribution, FlagFormat>(ScanVOXTags::SD_SIZE_DIST,
                                                         "files by size: an `SSizeDist`"),
      column<&CuStatDef::sdGroupByOwner, FlagFormat>(ScanVOXTags::SD_GRP_BY_OWNER,
                                                     "totals of each user: `SUserOrGroup`"),
      column<&CuStatDef::sdGroupByGroup, FlagFormat>(ScanVOXTags::SD_GRP_BY_GRP,
                                                     "totals of each group: `SUserOrGroup`"),
      column<&CuStatDef::sdGroupByAccess, FlagFormat>(ScanVOXTags::SD_GRP_BY_ACCESS,
                                                      "files by time of last use: an `STimeDist`"),
      column<&CuStatDef::sdGroupByMod, FlagFormat>(ScanVOXTags::SD_GRP_BY_MOD,
                                                   "files by time of last change: an `STimeDist`"),
      column<&CuStatDef::sdGroupByCreation, FlagFormat>(ScanVOXTags::SD_GRP_BY_CREATION,
                                                        "for other platforms; cleared here"),
      column<&CuStatDef::sdGroupByBackup, FlagFormat>(ScanVOXTags::SD_GRP_BY_BACKUP,
                                                      "for other platforms; cleared here"),
      column<&CuStatDef::sdWinOnlyFileType, FlagFormat>(ScanVOXTags::SD_WIN_FILE_TYPE, "for other platforms"),
      column<&CuStatDef::sdLargestFileTypes>(ScanVOXTags::SD_LARGEST_FTYPES,
                                             "list that many types of files with the most space"),
      column<&CuStatDef::sdDailyRetention>(ScanVOXTags::SD_DAILY_RETENTION, "a number for the server"),
      column<&CuStatDef::sdWeeklyRetention>(ScanVOXTags::SD_WEEKLY_RETENTION, "a number for the server"),
      column<&CuStatDef::sdMonthlyRetention>(ScanVOXTags::SD_MONTHLY_RETENTION, "a number for the server"),
      // No definition of this job carries a backup action.
      column<&CuStatDef::sdHasBackupAction>(ScanVOXTags::SD_HAS_BACKUP_ACTION, "reserved").onlyPrinted(),
      column<&CuStatDef::sdWhereClause, WhereClauseFormat>(
          ScanVOXTags::SD_WHERE_CLAUSE,
          "count only what is selected; in a result only that of `sdType` 0 is left")};
  static constexpr RecordTable<CuStatDef> TABLE(
      ScanVOXTags::SD,
      "A statistic: what it collects, over which files. In a result, with what it has found.", COLUMNS);
  return TABLE;
}

// Columns that score candidates are no part of the table: they are accepted and dropped, as unknown ones are.
void CuStatDef::inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  for (const Row& row : refDataArray) {
    requireSameLength(refHeaderArray, row, "exception = 'innerArray.size() != refHeaderArray.size()'.");
    table().read(*this, refHeaderArray, row);
  }
}

void CuStatDef::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void CuStatDef::printData(GenericPrint& gp, int32_t filter) const {
  gp.beginNode(ScanVOXTags::SD);
  table().printData(gp, *this);
  for (const ResultsByFS* results : sdResults.concerning(filter)) results->printData(gp);
  if (sdBackupAction) sdBackupAction->printData(gp);
  gp.endNode(ScanVOXTags::SD);
}

std::string CuStatDef::getSdName() const {
  std::string name = Util::getTranslatedName(sdName);
  TRACE(TR_MAX, "getSdName(...) returnValue: %s\n", name.c_str());
  return name;
}

std::string CuStatDef::displayName() const {
  return sdCreator + "." + getSdName();
}

}  // namespace agent
