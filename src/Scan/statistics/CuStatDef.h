#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"
#include "Scan/results/ResultsList.h"
#include "Scan/statistics/BackupAction.h"

namespace agent {

/// What one statistic collects, over which files and which file systems or directories. Filled once from the
/// definition; collects its results during the scan and prints with them.
class CuStatDef : public EntityToObjectMapper {
 public:
  // Kinds of statistic, as `sdType` holds them. Any other kind applies to every file system of the job.
  static constexpr int16_t DIRECTORY_STATISTIC = 0;   ///< applied to monitored directories only
  static constexpr int16_t FILESYSTEM_STATISTIC = 3;  ///< a file system's own; its summary shows the space
  static constexpr int16_t RESTRICTED_STATISTIC = 4;  ///< applied to the file systems that it names

  CuStatDef() : EntityToObjectMapper("CuStatDef") {}

  static const RecordTable<CuStatDef>& table();

  void inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) override;

  static void printHeader(GenericPrint& print);

  /// Writes the node of the class: the row, the results, the backup action.
  /// @param filter print only results of the file system with this id; below 1: all
  void printData(GenericPrint& print, int32_t filter) const;

  /// The name as people see it: names of the server's own statistics are translated.
  std::string getSdName() const;
  /// "<creator>.<name>", the name translated, as logs show a statistic.
  std::string displayName() const;

  const std::string& getWhereClause() const { return sdWhereClause; }
  void setWhereClause(std::string whereClause) { sdWhereClause = std::move(whereClause); }

  int32_t sdID = 0;
  int32_t sdAlertID = -1;
  std::string sdCreator;
  std::string sdName;
  std::string sdDescription;
  int16_t sdType = 0;
  int16_t sdShare = 0;
  ResultsList sdResults;
  // Lengths of lists; 0 or less builds none.
  int16_t sdLargestDirectories = 0;
  int16_t sdLargestFiles = 0;
  int16_t sdLeastAccessed = 0;
  int16_t sdOldestNotBackedUp = 0;
  int16_t sdLargestOrphans = 0;
  int16_t sdOldestOrphans = 0;
  bool sdSummary = false;
  bool sdSizeDistribution = false;
  bool sdGroupByOwner = false;
  bool sdGroupByGroup = false;
  bool sdGroupByAccess = false;
  bool sdGroupByMod = false;
  bool sdGroupByCreation = false;  ///< for other platforms' agents: cleared here
  bool sdGroupByBackup = false;    ///< likewise
  bool sdWinOnlyFileType = false;
  int16_t sdLargestFileTypes = 0;
  int16_t sdDailyRetention = 0;
  int16_t sdWeeklyRetention = 0;
  int16_t sdMonthlyRetention = 0;
  std::unique_ptr<BackupAction> sdBackupAction;
  bool sdHasBackupAction = false;
  std::string sdWhereClause;  ///< a compiled selection as bytes, NULs among them; empty selects everything
};

/// A job's statistics, in the order of the definition.
using StatisticList = std::deque<std::unique_ptr<CuStatDef>>;

}  // namespace agent
