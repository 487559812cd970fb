#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "Common/AnalysisSource.h"
#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"

namespace agent {

class NasFiler;

/// One file system: read from the definition, corrected with the host's figures before its walk, written to
/// the result file. All space figures are in units of 512 bytes.
class Filesystem : public AnalysisSource, public EntityToObjectMapper {
 public:
  // Kinds of file system, as `fsType` holds them. The numbers stand in definition and result files.
  static constexpr int16_t FAT = 0;
  static constexpr int16_t FAT32 = 1;
  static constexpr int16_t NTFS4 = 2;
  static constexpr int16_t NTFS5 = 3;
  static constexpr int16_t EXT2 = 4;
  static constexpr int16_t EXT3 = 5;
  static constexpr int16_t ZIX_JFS = 6;
  static constexpr int16_t HP_HFS = 7;
  static constexpr int16_t VXFS = 8;
  static constexpr int16_t UFS = 9;
  static constexpr int16_t TMPFS = 10;
  static constexpr int16_t ZIX_OLD = 11;
  static constexpr int16_t NW_FAT = 12;
  static constexpr int16_t NW_NSS = 13;
  static constexpr int16_t NFS = 14;
  static constexpr int16_t WAFL = 15;
  static constexpr int16_t FAKE = 16;  ///< made up by the server for a directory tree: walked, figures zeroed
  static constexpr int16_t ZIX_JFS2 = 17;
  static constexpr int16_t CLFS = 18;
  static constexpr int16_t CLFS_FILESET = 19;
  static constexpr int16_t REISERFS = 20;
  static constexpr int16_t MXFS = 21;
  static constexpr int16_t VMFS = 22;
  static constexpr int16_t EXT4 = 23;
  static constexpr int16_t LVM2 = 24;
  static constexpr int16_t CIFS = 25;

  /// Names of the kinds, indexed by value plus 1; the first stands for -1, unknown.
  static const std::array<const char*, 27> TYPES;

  // Attribute names in files.
  static constexpr const char* FILESYSTEM = "Filesystem";
  static constexpr const char* FILESYSTEM_ATTRIBUTE_VERSION = "version";
  static constexpr const char* FILESYSTEM_ID = "fsID";
  static constexpr const char* FILESYSTEM_COMPUTERID = "fsComputerID";
  static constexpr const char* FILESYSTEM_SCANNING_COMPUTERID = "fsScanningCompID";
  static constexpr const char* FILESYSTEM_MAXFILES = "fsMaxFiles";
  static constexpr const char* FILESYSTEM_USEDINODES = "fsUsedInodes";
  static constexpr const char* FILESYSTEM_FREEINODES = "fsFreeInodes";
  static constexpr const char* FILESYSTEM_MNTPT = "fsMountPoint";
  static constexpr const char* FILESYSTEM_HOSTNASMNTPT = "hostNasMountPoint";
  static constexpr const char* FILESYSTEM_SIZE = "fsPhysicalSize";
  static constexpr const char* FILESYSTEM_CAPACITY = "fsCapacity";
  static constexpr const char* FILESYSTEM_USEDSPACE = "fsUsedSpace";
  static constexpr const char* FILESYSTEM_FREESPACE = "fsFreeSpace";
  static constexpr const char* FILESYSTEM_TYPE = "fsType";
  static constexpr const char* FILESYSTEM_SCANNED = "fsScanned";
  static constexpr const char* FILESYSTEM_DISCTIME = "fsDiscoveredTime";
  static constexpr const char* FILESYSTEM_EXPORTNAME = "fsExportName";

  Filesystem();
  ~Filesystem() override;
  Filesystem(const Filesystem&) = delete;
  Filesystem& operator=(const Filesystem&) = delete;

  static const RecordTable<Filesystem>& table();

  void inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) override;

  /// Writes the class tag and the column row, once for each result file (see printedHeaders).
  static void printHeader(GenericPrint& print);

  /// Writes the record as a node of its class.
  /// @param onlyOnce do nothing when the record has been written with this flag before
  void printData(GenericPrint& print, bool onlyOnce = false);

  /// True for the two kinds whose root is "/" and which hide ".quickcopy".
  static bool isCLFSFileset(int fsType);

  /// Set once the header row has been written; every new record clears it.
  static bool printedHeaders;

  int32_t fsID = 0;
  int32_t fsLogicalDiskID = 0;
  int32_t fsComputerID = 0;
  int32_t fsScanningCompID = 0;
  int32_t fsGroupID = 0;
  int64_t fsMaxFiles = 0;
  int32_t fsUsedInodes = 0;
  int32_t fsFreeInodes = 0;
  std::string fsMountPoint;
  std::vector<std::string> hostNasMountPoints;
  int64_t fsPhysicalSize = 0;
  int64_t fsCapacity = 0;
  int64_t fsUsedSpace = 0;
  int64_t fsFreeSpace = 0;
  int64_t fsScanTime = 0;  ///< start of the walk, milliseconds since the epoch
  int16_t fsType = 0;
  int16_t fsUseCount = 0;
  bool fsScanned = false;
  int64_t fsDiscoveredTime = 0;
  int32_t fsFileCount = 0;
  int32_t fsDirectoryCount = 0;
  std::string fsExportName;
  int32_t fsLogDiskID = 0;
  std::unique_ptr<NasFiler> filer;  ///< null for a local file system
  int32_t fsClusterSize = 0;
  int32_t fsMFTEntrySize = 0;

 private:
  bool printed_ = false;
};

/// A job's file systems, in list order.
using FilesystemList = std::deque<std::unique_ptr<Filesystem>>;

}  // namespace agent
