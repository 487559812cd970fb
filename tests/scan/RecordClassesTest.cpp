#include "Scan/RecordClasses.h"

#include <gtest/gtest.h>

#include <numeric>

#include "Common/VOXCommon/LdapTree.h"
#include "Common/VoxObjectCreationException.h"
#include "Probe/NasFiler.h"
#include "Scan/AgentScan.h"
#include "Scan/identity/UserOrGroup.h"
#include "Scan/results/CuStatResults.h"
#include "Scan/results/SMonDir.h"
#include "Scan/statistics/BackupAction.h"
#include "Scan/statistics/FileScoreRule.h"
#include "support/TemporaryDirectory.h"

namespace agent::test {
namespace {

/// Gives every field a value of its own, so that no two can be taken for each other.
class DistinctValues {
 public:
  template <typename... Fields>
  void operator()(Fields&... fields) {
    (set(fields), ...);
  }

 private:
  template <typename Number>
  void set(Number& field) {
    field = static_cast<Number>(++last_);
  }
  void set(bool& field) { field = !field; }
  void set(std::string& field) { field = "text " + std::to_string(++last_); }
  void set(std::vector<std::string>& field) { field = {std::to_string(++last_), "", "a"}; }
  template <typename Number, size_t N>
  void set(std::array<Number, N>& field) {
    std::iota(field.begin(), field.end(), static_cast<Number>(last_ += N));
  }

  int last_ = 0;
};

void fill(FileAttributes& r, DistinctValues& fill) {
  fill(r.faType, r.faName, r.faCreated, r.faModified, r.faAccessed, r.faBlocks, r.faLength, r.faAttributes,
       r.faLinkCount, r.faInodeNumber);
}

/// What a definition may hold reads as it prints; a row of another length than its header is refused.
template <typename Record>
void expectToReadBack(const Record& record) {
  const Row cells = Record::table().values(record);
  Record again;
  const auto read = [&again](const Rows& rows) {
    if constexpr (requires { again.inititializeObject({}, {}); }) {
      again.inititializeObject(Record::table().names(), rows);
    } else {
      again.initializeObject(Record::table().names(), rows);
    }
  };
  read({cells});
  EXPECT_EQ(Record::table().values(again), cells);
  Row longer = cells;
  longer.push_back("more");
  for (const Rows& rows : {Rows{{"1"}}, Rows{longer}}) {
    EXPECT_THROW(read(rows), VoxObjectCreationException);
  }
}

// expected/records.dat: the header block; then each class, as it is made and with distinct values.
TEST(RecordClassesTest, EveryRecordPrintsEveryFieldAtItsPlace) {
  const TemporaryDirectory directory;
  GenericPrint print(GenericPrint::VOX_FORMAT, directory / "records");
  Filesystem filesystem;
  AgentScan scan, swapped;
  scan.printHeader(print);
  scan.printData(print);
  scan.inititializeObject({"asJobName", "asScanningCompID"}, {{"job", "17"}});
  scan.printData(print);
  swapped.inititializeObject({"asScanningCompID", "asJobName"}, {{"17", "job"}});
  swapped.printData(print);

  filesystem.printData(print);
  DistinctValues()(filesystem.fsID, filesystem.fsComputerID, filesystem.fsGroupID, filesystem.fsLogDiskID,
                   filesystem.fsLogicalDiskID, filesystem.fsMaxFiles, filesystem.fsUsedInodes,
                   filesystem.fsFreeInodes, filesystem.fsPhysicalSize, filesystem.fsCapacity,
                   filesystem.fsUsedSpace, filesystem.fsFreeSpace, filesystem.fsFileCount,
                   filesystem.fsDirectoryCount, filesystem.fsScanTime, filesystem.fsType,
                   filesystem.fsUseCount, filesystem.fsMountPoint, filesystem.hostNasMountPoints,
                   filesystem.fsDiscoveredTime, filesystem.fsScanningCompID, filesystem.fsExportName,
                   filesystem.fsScanned);
  filesystem.printData(print);
  expectToReadBack(filesystem);

  expectToReadBack(NasFiler());
  Domain domain;
  domain.printData(print);
  DistinctValues()(domain.id, domain.name);
  domain.printData(print);
  expectToReadBack(domain);

  LdapTree tree;
  tree.printData(print);
  DistinctValues()(tree.treeId, tree.computerId, tree.name, tree.ldapUser, tree.password, tree.computerName,
                   tree.hasComputers);
  tree.printData(print);
  expectToReadBack(tree);

  MonDirSpec spec;
  spec.printData(print);
  spec.inititializeObject(MonDirSpec::table().names(), {{"1", "2", "3", "/m/*", "y"}});
  spec.printData(print);
  expectToReadBack(spec);

  // Flags are told apart by the rows in which they are set.
  for (int bit = -1; bit < 4; ++bit) {
    CuStatDef d;
    const auto flags = [&d](auto set) {
      set(d.sdSummary, d.sdSizeDistribution, d.sdGroupByOwner, d.sdGroupByGroup, d.sdGroupByAccess,
          d.sdGroupByMod, d.sdGroupByCreation, d.sdGroupByBackup, d.sdWinOnlyFileType, d.sdHasBackupAction);
    };
    if (bit >= 0) {
      DistinctValues()(d.sdID, d.sdAlertID, d.sdCreator, d.sdName, d.sdDescription, d.sdType, d.sdShare,
                       d.sdLargestDirectories, d.sdLargestFiles, d.sdLeastAccessed, d.sdOldestNotBackedUp,
                       d.sdLargestOrphans, d.sdOldestOrphans, d.sdLargestFileTypes, d.sdDailyRetention,
                       d.sdWeeklyRetention, d.sdMonthlyRetention);
      flags([bit](auto&... flag) {
        int number = 0;
        ((flag = (++number >> bit & 1) != 0), ...);
      });
      d.sdHasBackupAction ? void() : expectToReadBack(d);  // that flag isn't read
      d.setWhereClause("&\xff");
    }
    d.printData(print, 0);
  }

  CuStatResults results;
  results.printData(print);
  results.srID = 4;
  results.srLargestDirectories.resize(2);
  results.srLargestFiles.assign(1, SFile(FileAttributes(), 0, 0));
  results.srFileTypes.assign(2, FileTypeSummary(FileType("")));
  results.srSummary = std::make_unique<SSummary>();
  results.srSizeDist = std::make_unique<SSizeDist>();
  results.srAccessed = std::make_unique<STimeDist>();
  results.srOwners.resize(2);
  results.printData(print);
  SDirectory& d = results.srLargestDirectories[1];
  DistinctValues ofDirectory;
  fill(d, ofDirectory);
  ofDirectory(d.dirFilesystemID, d.dirStatisticID, d.dirFileCount, d.dirDirectoryCount, d.dirTotalSize,
              d.dirLargestSize, d.dir2ndLargestSize, d.dirSizes, d.dirCounts);
  SFile& f = results.srLargestFiles[0];
  DistinctValues ofFile;
  fill(f, ofFile);
  ofFile(f.sfFilesystemID, f.sfStatisticID, f.sfStatType);
  FileTypeSummary& t = results.srFileTypes[1];
  DistinctValues()(t.profileID, t.filesystemID, t.fileCount, t.spaceUsed, t.fileType.fptID,
                   t.fileType.ftpFileExtension, t.fileType.ftpDescription);
  SSummary& s = *results.srSummary;
  DistinctValues()(s.sumFilesystemID, s.sumStatisticID, s.sumCapacity, s.sumFreeSpace, s.sumUsedSpace,
                   s.sumTotalSize, s.sumFileCount, s.sumScanTime, s.sumAccumCount, s.sumType,
                   s.sumDirectoryCount);
  SSizeDist& sizes = *results.srSizeDist;
  DistinctValues()(sizes.szdFilesystemID, sizes.szdStatisticID, sizes.szdSizes, sizes.szdCounts);
  STimeDist& ages = *results.srAccessed;
  DistinctValues()(ages.tdFilesystemID, ages.tdStatisticID, ages.tdType, ages.tdScanTime, ages.tdAverageAge,
                   ages.tdAccumCount, ages.tdHistType, ages.tdSizes, ages.tdCounts);
  UserOrGroup user, group;
  DistinctValues()(user.ugID, user.ugGroupID, user.ugName, user.ugDescription, user.ugDomainID,
                   user.ugRemoved, user.ugComputerID, user.ugType, user.ugUserOrGroupType);
  user.ugName = "ab\xE9";
  user.domain.emplace(5, "EXAMPLE");
  SUserOrGroup& u = results.srOwners[1];
  DistinctValues()(u.sugFilesystemID, u.sugStatisticID, u.sugFileCount, u.sugTotalSize, u.sugTimestamp,
                   u.sugAccumCount, u.sugType, u.sugDirectoryCount, u.sugOtherCount, u.sugUnusedSpace,
                   u.sugLargestSize, u.sug2ndLargestSize, u.sugSizes, u.sugCounts);
  d.faOwner = u.sugIdentity = &user;
  d.faGroup = &group;
  results.printData(print);

  SMonDir monitored(filesystem);
  DistinctValues ofMonitored;
  fill(monitored, ofMonitored);
  ofMonitored(monitored.smFilesystemID, monitored.smDirectoryID, monitored.smNewDirectory,
              monitored.smScanTime, monitored.smRemovedTime);
  monitored.smDirSpecs = {&spec, &spec};
  monitored.printData(print);

  // No scan makes these; a server that sends or expects one finds the format kept.
  FileScoreRule rule;
  rule.printData(print);
  rule.inititializeObject(FileScoreRule::table().names(), {{"1", "2", "", "3"}});
  rule.printData(print);
  expectToReadBack(rule);
  SFileCandidate candidate(f);
  candidate.sfHSMScore = 1.5F;
  candidate.printData(print);
  BackupAction action;
  action.printData(print);
  DistinctValues()(action.baID, action.baType, action.baDeleteFile, action.baOptions, action.baFile,
                   action.baFilesystem, action.baConstraintThreshold);
  action.printData(print);
  print.closeFile();
  EXPECT_EQ(content(directory / "records"), content(EXPECTED_RECORDS));
}

}  // namespace
}  // namespace agent::test
