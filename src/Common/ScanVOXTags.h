#pragma once

namespace agent {

/// The vocabulary of the definition and the result file: class tags and attribute names. Readers and printers
/// of records share these constants, so both agree by construction.
///
/// WARNING: the texts are the file format. The server reads them as they stand, slips included.
class ScanVOXTags {
 public:
  ScanVOXTags() = delete;

  // Values.
  static constexpr const char* VOX_TRUE = "Y";
  static constexpr const char* VOX_FALSE = "N";
  static constexpr const char* VOX_NULL = "null";
  static constexpr const char* VOX_NUM_VAL_NULL = "0";

  // Tags that belong to no record.
  static constexpr const char* HEADER = "Header";
  static constexpr const char* INDEX = "INDEX";
  static constexpr const char* ID = "ID";

  // AgentScan: what one job is to do.
  static constexpr const char* AS = "AgentScan";
  static constexpr const char* AS_JOB_NAME = "asJobName";
  static constexpr const char* AS_SCANNING_COMP_ID = "asScanningCompID";

  // Filesystem, NasFiler: their attribute names stand on the classes themselves.
  static constexpr const char* FILESYSTEM = "Filesystem";
  static constexpr const char* NAS_FILER = "NasFiler";

  // Domain, LdapTree.
  static constexpr const char* DOM = "Domain";
  static constexpr const char* DOM_ID = "domID";
  static constexpr const char* DOM_NAME = "domName";
  static constexpr const char* DOM_TREE_ID = "domTreeID";
  static constexpr const char* LT = "LdapTree";
  static constexpr const char* LDAP_TREE = LT;
  static constexpr const char* LT_TREE_ID = "ltTreeID";
  static constexpr const char* LT_COMP_ID = "ltComputerID";
  static constexpr const char* LT_NAME = "ltName";
  static constexpr const char* LT_LDAP_USER = "ltLdapUser";
  static constexpr const char* LT_PASSWORD = "ltPassword";
  static constexpr const char* LT_COMP_NAME = "ltComputerName";
  static constexpr const char* LT_HAS_COMPS = "ltHasComputers";

  // CuStatDef: the definition of a statistic.
  static constexpr const char* SD = "CuStatDef";
  static constexpr const char* SD_ID = "sdID";
  static constexpr const char* SD_ALERT_ID = "sdAlertID";
  static constexpr const char* SD_CREATOR = "sdCreator";
  static constexpr const char* SD_NAME = "sdName";
  static constexpr const char* SD_DESC = "sdDescription";
  static constexpr const char* SD_TYPE = "sdType";
  static constexpr const char* SD_SHARE = "sdShare";
  static constexpr const char* SD_RESULTS = "sdResults";  // never written
  static constexpr const char* SD_LARGEST_DIRS = "sdLargestDirectories";
  static constexpr const char* SD_LARGEST_FILES = "sdLargestFiles";
  static constexpr const char* SD_LEAST_ACCESS = "sdLeastAccessed";
  static constexpr const char* SD_OLDEST_NO_BACKUP = "sdOldestNotBackedUp";
  static constexpr const char* SD_LARGEST_ORPHANS = "sdLargestOrphans";
  static constexpr const char* SD_OLDEST_ORPHANS = "sdOldestOrphans";
  static constexpr const char* SD_SUMMARY = "sdSummary";
  static constexpr const char* SD_SIZE_DIST = "sdSizeDistribution";
  static constexpr const char* SD_GRP_BY_OWNER = "sdGroupByOwner";
  static constexpr const char* SD_GRP_BY_GRP = "sdGroupByGroup";
  static constexpr const char* SD_GRP_BY_ACCESS = "sdGroupByAccess";
  static constexpr const char* SD_GRP_BY_MOD = "sdGroupByMod";
  static constexpr const char* SD_GRP_BY_CREATION = "sdGroupByCreation";
  static constexpr const char* SD_GRP_BY_BACKUP = "sdGroupByBackup";
  static constexpr const char* SD_WIN_FILE_TYPE = "sdWinOnlyFileType";
  static constexpr const char* SD_LARGEST_FTYPES = "sdLargestFileTypes";
  static constexpr const char* SD_DAILY_RETENTION = "sdDailyRetention";
  static constexpr const char* SD_WEEKLY_RETENTION = "sdWeeklyRetention";
  static constexpr const char* SD_MONTHLY_RETENTION = "sdMonthlyRetention";
  static constexpr const char* SD_BACKUP_ACTION = "sdBackupAction";  // never written
  static constexpr const char* SD_HAS_BACKUP_ACTION = "sdHasBackupAction";
  static constexpr const char* SD_WHERE_CLAUSE = "sdWhereClause";
  static constexpr const char* SD_PACKED_RESULTS = "sdPackedResults";  // neither read nor written
  // Reserved for definitions that score candidates.
  static constexpr const char* SD_MIN_SIZE = "sdMinSize";
  static constexpr const char* SD_MIN_AGE = "sdMinAge";
  static constexpr const char* SD_SIZE_FACTOR = "sdSizeFactor";
  static constexpr const char* SD_AGE_FACTOR = "sdAgeFactor";
  static constexpr const char* SD_SIZE_SCORES = "sdSizeScores";
  static constexpr const char* SD_AGE_SCORES = "sdAgeScores";
  static constexpr const char* SD_CAND_TO_COLLECT = "sdCandidatesToCollect";
  static constexpr const char* SD_HSM_SCORING = "sdHSMScoring";
  static constexpr const char* SD_FILE_SCORE_RULES = "sdFileScoreRules";

  // FileScoreRule.
  static constexpr const char* FSR = "FileScoreRule";
  static constexpr const char* FSR_CTYPE = "cType";
  static constexpr const char* FSR_COPERATOR = "cOperator";
  static constexpr const char* FSR_CRULE = "cRule";
  static constexpr const char* FSR_CSCORE = "cScore";

  // BackupAction.
  static constexpr const char* BA = "BackupAction";
  static constexpr const char* BA_ID = "baID";
  static constexpr const char* BA_TYPE = "baType";
  static constexpr const char* BA_DELETE_FILE = "baDeleteFile";
  static constexpr const char* BA_OPTIONS = "baOptions";
  static constexpr const char* BA_FILE = "baFile";
  static constexpr const char* BA_FILESYSTEM = "baFilesystem";
  static constexpr const char* BA_CONSTRAINT_THRESHOLD = "baConstraintThreshold";

  // MonDirSpec, SMonDir: monitored directories as asked for and as found.
  static constexpr const char* MDS = "MonDirSpec";
  static constexpr const char* MDS_ID = "mdsID";
  static constexpr const char* MDS_GROUP_ID = "mdsGroupID";
  static constexpr const char* MDS_COMP_ID = "mdsComputerID";
  static constexpr const char* MDS_PATH = "mdsPath";
  static constexpr const char* MDS_MASKED_PATH = "mdsMaskedPath";
  static constexpr const char* SM = "SMonDir";
  static constexpr const char* SM_FS_ID = "smFilesystemID";
  static constexpr const char* SM_DIR_ID = "smDirectoryID";
  static constexpr const char* SM_DIR_SPECS = "smDirSpecs";  // never written
  static constexpr const char* SM_NEW_DIR = "smNewDirectory";
  static constexpr const char* SM_SCAN_TIME = "smScanTime";
  static constexpr const char* SM_REMOVED_TIME = "smRemovedTime";
  static constexpr const char* SM_FS = "smFilesystem";  // never written

  // ResultsByFS, CuStatResults: what a statistic found. Of these only SR_ID is a column.
  static constexpr const char* RESULTS_BY_FS = "ResultsByFS";
  static constexpr const char* RESULTSBYFS = RESULTS_BY_FS;
  static constexpr const char* RF_RESULTS = "rfResults";
  static constexpr const char* RF_DIR_OR_FS = "rfDirOrFS";
  static constexpr const char* SR = "CuStatResults";
  static constexpr const char* SR_ID = "srID";
  static constexpr const char* SR_LARGEST_DIRS = "srLargestDirectories";
  static constexpr const char* SR_LARGEST_FILES = "srLargestFiles";
  static constexpr const char* SR_LEAST_ACCESSED = "srLeastAccessed";
  static constexpr const char* SR_OLDEST_NO_BACKUP = "srOldestNotBackedUp";
  static constexpr const char* SR_LARGEST_ORPHANS = "srLargestOrphans";
  static constexpr const char* SR_OLDEST_ORPHANS = "srOldestOrphans";
  static constexpr const char* SR_FILE_TYPES = "srFileTypes";
  static constexpr const char* SR_SUMMARY = "srSummary";
  static constexpr const char* SR_SIZE_DIST = "srSizeDist";
  static constexpr const char* SR_OWNERS = "srOwners";
  static constexpr const char* SR_GROUPS = "srGroups";
  static constexpr const char* SR_ACCESSED = "srAccessed";
  static constexpr const char* SR_MODIFIED = "srModified";
  static constexpr const char* SR_CREATED = "srCreated";
  static constexpr const char* SR_BACKUP = "srBackup";
  static constexpr const char* SR_HSM_SCORING = "srHSMScoring";

  // FileAttributes: the columns that SFile, SFileCandidate, SDirectory and SMonDir begin with.
  static constexpr const char* FA = "FileAttributes";
  static constexpr const char* FA_TYPE = "faType";
  static constexpr const char* FA_NAME = "faName";
  static constexpr const char* FA_CREATED = "faCreated";
  static constexpr const char* FA_MODIFIED = "faModified";
  static constexpr const char* FA_ACCESSED = "faAccessed";
  static constexpr const char* FA_BLOCKS = "faBlocks";
  static constexpr const char* FA_LENGTH = "faLength";
  static constexpr const char* FA_ATTRIBUTES = "faAttributes";
  static constexpr const char* FA_LINK_COUNT = "faLinkCount";
  static constexpr const char* FA_INODE_NUM = "faInodeNumber";
  static constexpr const char* FA_OWNER = "faOwner";  // never written
  static constexpr const char* FA_GROUP = "faGroup";  // never written

  // SFile, SFileCandidate, SDirectory: entries of the N-most lists.
  static constexpr const char* SFILE = "SFile";
  static constexpr const char* SFILE_FS_ID = "sfFilesystemID";
  static constexpr const char* SFILE_STAT_ID = "sfStatisticID";
  static constexpr const char* SFILE_STAT_TYPE = "sfStatType";
  static constexpr const char* SFILE_CAND = "SFileCandidate";
  static constexpr const char* SFILE_HSM_SCORE = "sfHSMScore";
  static constexpr const char* DIR = "SDirectory";
  static constexpr const char* DIR_FS_ID = "dirFilesystemID";
  static constexpr const char* DIR_STAT_ID = "dirStatisticID";
  static constexpr const char* DIR_FILE_CNT = "dirFileCount";
  static constexpr const char* DIR_DIR_CNT = "dirDirectoryCount";
  static constexpr const char* DIR_TOTAL_SIZE = "dirTotalSize";
  static constexpr const char* DIR_LARGEST_SIZE = "dirLargestSize";
  static constexpr const char* DIR_2ND_LARGEST_SIZE = "dir2ndLargestSize";
  static constexpr const char* DIR_SIZES = "dirSizes";
  static constexpr const char* DIR_CNTS = "dirCounts";

  // SHSMScoring: reserved.
  static constexpr const char* C = "SHSMScoring";
  static constexpr const char* C_FS_ID = "cFilesystemID";
  static constexpr const char* C_STAT_ID = "cStatisticID";
  static constexpr const char* C_CAND_COUNTER = "cCandidatesCounter";
  static constexpr const char* C_SCORE = "cScore";
  static constexpr const char* C_SPACE_SAVINGS = "cSpaceSavings";
  static constexpr const char* C_AGE = "cAge";
  static constexpr const char* C_MIGRATED_FILES = "cMigratedFiles";
  static constexpr const char* C_MIGRATED_DATA = "cMigratedData";
  static constexpr const char* C_PREMIGRATED_FILES = "cPremigratedFiles";
  static constexpr const char* C_PREMIGRATED_DATA = "cPremigratedData";
  static constexpr const char* C_HSM_VERSION = "cHSMVersion";
  static constexpr const char* C_HSM_STATE = "cHSMState";
  static constexpr const char* C_HSM_SCORING = "cHSMScoring";
  static constexpr const char* C_CAND_TO_COLLECT = "cCandidatesToCollect";
  static constexpr const char* C_FILE_CANDS = "cFileCandidates";
  static constexpr const char* C_MIN_SIZE = "cMinSize";
  static constexpr const char* C_MIN_AGE = "cMinAge";
  static constexpr const char* C_AGE_FACTOR = "cAgeFactor";
  static constexpr const char* C_SIZE_FACTOR = "cSizeFactor";
  static constexpr const char* C_AGE_SCORES = "cAgeScores";
  static constexpr const char* C_SIZE_SCORES = "cSizeScores";

  // SSizeDist, STimeDist: distributions.
  static constexpr const char* SZD = "SSizeDist";
  static constexpr const char* SZD_FS_ID = "szdFilesystemID";
  static constexpr const char* SZD_STAT_ID = "szdStatisticID";
  static constexpr const char* SZD_SIZES = "szdSizes";
  static constexpr const char* SZD_COUNTS = "szdCounts";
  static constexpr const char* TD = "STimeDist";
  static constexpr const char* TD_FS_ID = "tdFilesystemID";
  static constexpr const char* TD_STAT_ID = "tdStatisticID";
  static constexpr const char* TD_TYPE = "tdType";
  static constexpr const char* TD_SCAN_TIME = "tdScanTime";
  static constexpr const char* TD_AVG_AGE = "tdAverageAge";
  static constexpr const char* TD_ACCUM_CNT = "tdAccumCount";
  static constexpr const char* TD_HIST_TYPE = "tdHistType";
  static constexpr const char* TD_SIZES = "tdSizes";
  static constexpr const char* TD_CNTS = "tdCounts";

  // SSummaryHist, SSummary: totals of a file system.
  static constexpr const char* SUM_HIST = "SSummaryHist";
  static constexpr const char* SUM = "SSummary";
  static constexpr const char* SUM_FS_ID = "sumFilesystemID";
  static constexpr const char* SUM_STAT_ID = "sumStatisticID";
  static constexpr const char* SUM_CAP = "sumCapacity";
  static constexpr const char* SUM_FREE_SPACE = "sumFreeSpace";
  static constexpr const char* SUM_USED_SPACE = "sumUsedSpace";
  static constexpr const char* SUM_TOTAL_SIZE = "sumTotalSize";
  static constexpr const char* SUM_FILE_CNT = "sumFileCount";
  static constexpr const char* SUM_SCAN_TIME = "sumScanTime";
  static constexpr const char* SUM_ACCUM_CNT = "sumAccumCount";
  static constexpr const char* SUM_TYPE = "sumType";
  static constexpr const char* SUM_DIR_CNT = "sumDirectoryCount";

  // SUGHist, SUserOrGroup: totals of an owner or a group.
  static constexpr const char* SUG_HIST = "SUGHist";
  static constexpr const char* SUG = "SUserOrGroup";
  static constexpr const char* SUG_FS_ID = "sugFilesystemID";
  static constexpr const char* SUG_STAT_ID = "sugStatisticID";
  static constexpr const char* SUG_IDENTITY = "sugIdentity";  // never written
  static constexpr const char* SUG_FILE_CNT = "sugFileCount";
  static constexpr const char* SUG_TOTAL_SIZE = "sugTotalSize";
  static constexpr const char* SUG_TS = "sugTimestamp";
  static constexpr const char* SUG_ACCUM_CNT = "sugAccumCount";
  static constexpr const char* SUG_TYPE = "sugType";
  static constexpr const char* SUG_DIR_CNT = "sugDirectoryCount";
  static constexpr const char* SUG_OTHER_CNT = "sugOtherCount";
  static constexpr const char* SUG_UNUSED_SPACE = "sugUnusedSpace";
  static constexpr const char* SUG_LARGEST_SIZE = "sugLargestSize";
  static constexpr const char* SUG_2ND_LARGEST_SIZE = "sug2ndLargestSize";
  static constexpr const char* SUG_SIZES = "sugSizes";
  static constexpr const char* SUG_COUNTS = "sugCounts";

  // History: reserved.
  static constexpr const char* HS = "History";
  static constexpr const char* HS_STAT_TIME = "hsStatisticTime";
  static constexpr const char* HS_ACCUM_CNT = "hsAccumCount";
  static constexpr const char* HS_STAT_TYPE = "hsStatisticType";

  // FileType, FileTypeSummary: totals of a file extension.
  static constexpr const char* FTP = "FileType";
  static constexpr const char* FTP_ID = "fptID";  // the letters stand in this order in the format
  static constexpr const char* FTP_FILE_EXT = "ftpFileExtension";
  static constexpr const char* FTP_DESC = "ftpDescription";
  static constexpr const char* FTP_SUMM = "FileTypeSummary";
  static constexpr const char* FTP_SUMM_PROFILEID = "profileID";
  static constexpr const char* FTP_SUMM_FSID = "filesystemID";
  static constexpr const char* FTP_SUMM_FILE_CNT = "fileCount";
  static constexpr const char* FTP_SUMM_SPACE_USED = "spaceUsed";
  static constexpr const char* FTP_SUMM_FTYPE = "fileType";  // never written

  // UserOrGroup: an owner or a group, under one of three class tags.
  static constexpr const char* UG_USER_GROUP = "UserOrGroup";
  static constexpr const char* UG_USER = "UserOrGroupUser";
  static constexpr const char* UG_GROUP = "UserOrGroupGroup";
  static constexpr const char* UG_ID = "ugID";
  static constexpr const char* UG_GRP_ID = "ugGroupID";
  static constexpr const char* UG_NAME = "ugName";
  static constexpr const char* UG_NAME_BYTES = "ugNameBytes";
  static constexpr const char* UG_DESC = "ugDescription";
  static constexpr const char* UG_DOM_ID = "ugDomainID";
  static constexpr const char* UG_REMOVED = "ugRemoved";
  static constexpr const char* UG_COMP_ID = "ugComputerID";
  static constexpr const char* UG_TYPE = "ugType";
  static constexpr const char* UG_USER_OR_GROUP_TYPE = "ugUserOrGroupType";
  static constexpr const char* UG_DOMAIN = "ugDomain";                 // never written
  static constexpr const char* UG_UNIQUE_USERID = "ugUniqueUserID";    // never written
  static constexpr const char* UG_UNIQUE_GROUPID = "ugUniqueGroupID";  // never written
};

}  // namespace agent
