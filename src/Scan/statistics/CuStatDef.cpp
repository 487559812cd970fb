#include "Scan/statistics/CuStatDef.h"

#include <iterator>
#include <string_view>
#include <unordered_map>
#include <variant>

#include "Common/ColumnTable.h"
#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Common/VoxObjectCreationException.h"
#include "QLMlib/common/ut/Trace.h"
#include "Scan/statistics/Util.h"

namespace agent {

namespace {

// Order of the result file's columns. The where clause, its last one, has a form of its own in definitions.
const Column<CuStatDef> COLUMNS[] = {{ScanVOXTags::SD_ID, &CuStatDef::sdID},
                                     {ScanVOXTags::SD_ALERT_ID, &CuStatDef::sdAlertID},
                                     {ScanVOXTags::SD_CREATOR, &CuStatDef::sdCreator},
                                     {ScanVOXTags::SD_NAME, &CuStatDef::sdName},
                                     {ScanVOXTags::SD_DESC, &CuStatDef::sdDescription},
                                     {ScanVOXTags::SD_TYPE, &CuStatDef::sdType},
                                     {ScanVOXTags::SD_SHARE, &CuStatDef::sdShare},
                                     {ScanVOXTags::SD_LARGEST_DIRS, &CuStatDef::sdLargestDirectories},
                                     {ScanVOXTags::SD_LARGEST_FILES, &CuStatDef::sdLargestFiles},
                                     {ScanVOXTags::SD_LEAST_ACCESS, &CuStatDef::sdLeastAccessed},
                                     {ScanVOXTags::SD_OLDEST_NO_BACKUP, &CuStatDef::sdOldestNotBackedUp},
                                     {ScanVOXTags::SD_LARGEST_ORPHANS, &CuStatDef::sdLargestOrphans},
                                     {ScanVOXTags::SD_OLDEST_ORPHANS, &CuStatDef::sdOldestOrphans},
                                     {ScanVOXTags::SD_SUMMARY, &CuStatDef::sdSummary},
                                     {ScanVOXTags::SD_SIZE_DIST, &CuStatDef::sdSizeDistribution},
                                     {ScanVOXTags::SD_GRP_BY_OWNER, &CuStatDef::sdGroupByOwner},
                                     {ScanVOXTags::SD_GRP_BY_GRP, &CuStatDef::sdGroupByGroup},
                                     {ScanVOXTags::SD_GRP_BY_ACCESS, &CuStatDef::sdGroupByAccess},
                                     {ScanVOXTags::SD_GRP_BY_MOD, &CuStatDef::sdGroupByMod},
                                     {ScanVOXTags::SD_GRP_BY_CREATION, &CuStatDef::sdGroupByCreation},
                                     {ScanVOXTags::SD_GRP_BY_BACKUP, &CuStatDef::sdGroupByBackup},
                                     {ScanVOXTags::SD_WIN_FILE_TYPE, &CuStatDef::sdWinOnlyFileType},
                                     {ScanVOXTags::SD_LARGEST_FTYPES, &CuStatDef::sdLargestFileTypes},
                                     {ScanVOXTags::SD_DAILY_RETENTION, &CuStatDef::sdDailyRetention},
                                     {ScanVOXTags::SD_WEEKLY_RETENTION, &CuStatDef::sdWeeklyRetention},
                                     {ScanVOXTags::SD_MONTHLY_RETENTION, &CuStatDef::sdMonthlyRetention},
                                     {ScanVOXTags::SD_HAS_BACKUP_ACTION, &CuStatDef::sdHasBackupAction},
                                     {ScanVOXTags::SD_WHERE_CLAUSE, &CuStatDef::sdWhereClause}};

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

/// Takes a definition's cell into a field. Flags of a statistic know two more words than those of other
/// records.
void store(CuStatDef& definition, const Column<CuStatDef>& column, const std::string& cell) {
  if (std::string_view(column.tag) == ScanVOXTags::SD_WHERE_CLAUSE) {
    definition.sdWhereClause = decodeWhereClause(cell);
  } else if (std::holds_alternative<bool CuStatDef::*>(column.field)) {
    storeCell(definition, column, cell == "true" ? "Y" : cell == "false" ? "N" : cell);
  } else {
    storeCell(definition, column, cell);
  }
}

/// The columns that a definition fills, by name. Scoring columns and unknown ones aren't among them: they are
/// accepted and dropped. Nor is the flag for a backup action, which no definition of this job carries.
const Column<CuStatDef>* findColumn(const std::string& attribute) {
  static const auto BY_NAME = [] {
    std::unordered_map<std::string_view, const Column<CuStatDef>*> columns;
    for (const Column<CuStatDef>& column : COLUMNS) columns.emplace(column.tag, &column);
    columns.erase(ScanVOXTags::SD_HAS_BACKUP_ACTION);
    return columns;
  }();
  const auto found = BY_NAME.find(attribute);
  return found == BY_NAME.end() ? nullptr : found->second;
}

}  // namespace

void CuStatDef::inititializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  std::vector<const Column<CuStatDef>*> columns;
  for (const std::string& attribute : refHeaderArray) columns.push_back(findColumn(attribute));
  for (const Row& row : refDataArray) {
    requireSameLength(refHeaderArray, row, "exception = 'innerArray.size() != refHeaderArray.size()'.");
    for (size_t index = 0; index < row.size(); ++index) {
      if (columns[index] != nullptr) store(*this, *columns[index], row[index]);
    }
  }
}

void CuStatDef::printHeader(GenericPrint& print) {
  Row names;
  for (const Column<CuStatDef>& column : COLUMNS) names.emplace_back(column.tag);
  print.printHeader(names);
}

void CuStatDef::printData(GenericPrint& gp, int32_t filter) const {
  Row values;
  for (const Column<CuStatDef>& column : COLUMNS) values.push_back(printCell(*this, column));
  gp.beginNode(ScanVOXTags::SD);
  gp.printData(values);
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
