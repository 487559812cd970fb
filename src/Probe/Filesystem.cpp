#include "Probe/Filesystem.h"

#include <string_view>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Probe/NasFiler.h"

namespace agent {

namespace {

std::vector<std::string> splitAtCommas(std::string_view cell) {
  std::vector<std::string> parts;
  while (!cell.empty()) {
    const size_t comma = cell.find(',');
    parts.emplace_back(cell.substr(0, comma));
    cell.remove_prefix(comma == std::string_view::npos ? cell.size() : comma + 1);
  }
  return parts;
}

std::string orNull(const std::string& text) {
  return text.empty() ? ScanVOXTags::VOX_NULL : text;
}

std::string joinOrNull(const std::vector<std::string>& parts) {
  if (parts.empty()) return ScanVOXTags::VOX_NULL;
  std::string joined = parts.front();
  for (size_t part = 1; part < parts.size(); ++part) joined += ',' + parts[part];
  return orNull(joined);
}

}  // namespace

const std::array<const char*, 27> Filesystem::TYPES = {
    "UNKNOWN",  "FAT",  "FAT32", "NTFS4",    "NTFS5",  "EXT2",   "EXT3", "ZIX_JFS", "HP_HFS",
    "VXFS",     "UFS",  "TMPFS", "ZIX_OLD",  "NW_FAT", "NW_NSS", "NFS",  "WAFL",    "FAKE",
    "ZIX_JFS2", "CLFS", "CLFS",  "REISERFS", "KKFS",   "VMFS",   "EXT4", "LVM2",    "CIFS"};

bool Filesystem::printedHeaders = false;

Filesystem::Filesystem() : AnalysisSource("Filesystem"), EntityToObjectMapper("Filesystem") {
  printedHeaders = false;
}

Filesystem::~Filesystem() = default;

bool Filesystem::isCLFSFileset(int fsType) {
  return fsType == CLFS || fsType == CLFS_FILESET;
}

void Filesystem::inititializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  const Row& row =
      theRow(refHeaderArray, refDataArray, "ERROR: VoxObjectCreationException exception. Leaving method.");
  for (size_t column = 0; column < row.size(); ++column) {
    const std::string_view attribute = refHeaderArray[column];
    const std::string& cell = row[column];
    if (attribute == FILESYSTEM_ID) {
      fsID = toInt32(cell);
    } else if (attribute == "fsLogicalDiskID") {
      fsLogicalDiskID = toInt32(cell);
    } else if (attribute == FILESYSTEM_COMPUTERID) {
      fsComputerID = toInt32(cell);
    } else if (attribute == FILESYSTEM_SCANNING_COMPUTERID) {
      fsScanningCompID = toInt32(cell);
    } else if (attribute == "fsGroupID") {
      fsGroupID = toInt32(cell);
    } else if (attribute == FILESYSTEM_MAXFILES) {
      fsMaxFiles = toInt64(cell);
    } else if (attribute == FILESYSTEM_USEDINODES) {
      fsUsedInodes = toInt32(cell);
    } else if (attribute == FILESYSTEM_FREEINODES) {
      fsFreeInodes = toInt32(cell);
    } else if (attribute == FILESYSTEM_MNTPT) {
      fsMountPoint = cell;
    } else if (attribute == FILESYSTEM_HOSTNASMNTPT) {
      hostNasMountPoints = splitAtCommas(cell);
    } else if (attribute == FILESYSTEM_SIZE) {
      fsPhysicalSize = toInt64(cell);
    } else if (attribute == FILESYSTEM_CAPACITY) {
      fsCapacity = toInt64(cell);
    } else if (attribute == FILESYSTEM_USEDSPACE) {
      fsUsedSpace = toInt64(cell);
    } else if (attribute == FILESYSTEM_FREESPACE) {
      fsFreeSpace = toInt64(cell);
    } else if (attribute == "fsScanTime") {
      fsScanTime = toInt64(cell);
    } else if (attribute == FILESYSTEM_TYPE) {
      fsType = toInt16(cell);
    } else if (attribute == "fsUseCount") {
      fsUseCount = toInt16(cell);
    } else if (attribute == FILESYSTEM_SCANNED) {
      if (cell == "Y" || cell == "y") fsScanned = true;
      if (cell == "N" || cell == "n") fsScanned = false;
    } else if (attribute == FILESYSTEM_DISCTIME) {
      fsDiscoveredTime = toInt64(cell);
    } else if (attribute == "fsFileCount") {
      fsFileCount = toInt32(cell);
    } else if (attribute == "fsDirectoryCount") {
      fsDirectoryCount = toInt32(cell);
    } else if (attribute == FILESYSTEM_EXPORTNAME) {
      fsExportName = cell;
    } else if (attribute == "fsLogDiskID") {
      fsLogDiskID = toInt32(cell);
    } else if (attribute == "fsClusterSize") {
      fsClusterSize = toInt32(cell);
    } else if (attribute == "fsMFTEntrySize") {
      fsMFTEntrySize = toInt32(cell);
    }
  }
}

void Filesystem::printHeader(GenericPrint& print) {
  if (printedHeaders) return;
  print.beginNode(FILESYSTEM);
  print.printHeader({FILESYSTEM_ID,           FILESYSTEM_COMPUTERID, "fsGroupID",
                     "fsLogDiskID",           "fsLogicalDiskID",     FILESYSTEM_MAXFILES,
                     FILESYSTEM_USEDINODES,   FILESYSTEM_FREEINODES, FILESYSTEM_SIZE,
                     FILESYSTEM_CAPACITY,     FILESYSTEM_USEDSPACE,  FILESYSTEM_FREESPACE,
                     "fsFileCount",           "fsDirectoryCount",    "fsScanTime",
                     FILESYSTEM_TYPE,         "fsUseCount",          FILESYSTEM_MNTPT,
                     FILESYSTEM_HOSTNASMNTPT, FILESYSTEM_DISCTIME,   FILESYSTEM_SCANNING_COMPUTERID,
                     FILESYSTEM_EXPORTNAME,   FILESYSTEM_SCANNED});
  printedHeaders = true;
}

void Filesystem::printData(GenericPrint& print, bool onlyOnce) {
  if (onlyOnce && printed_) return;
  print.beginNode(FILESYSTEM);
  print.printData({std::to_string(fsID),
                   std::to_string(fsComputerID),
                   std::to_string(fsGroupID),
                   std::to_string(fsLogDiskID),
                   std::to_string(fsLogicalDiskID),
                   std::to_string(fsMaxFiles),
                   std::to_string(fsUsedInodes),
                   std::to_string(fsFreeInodes),
                   std::to_string(fsPhysicalSize),
                   std::to_string(fsCapacity),
                   std::to_string(fsUsedSpace),
                   std::to_string(fsFreeSpace),
                   std::to_string(fsFileCount),
                   std::to_string(fsDirectoryCount),
                   std::to_string(fsScanTime),
                   std::to_string(fsType),
                   std::to_string(fsUseCount),
                   orNull(fsMountPoint),
                   joinOrNull(hostNasMountPoints),
                   std::to_string(fsDiscoveredTime),
                   std::to_string(fsScanningCompID),
                   orNull(fsExportName),
                   fsScanned ? ScanVOXTags::VOX_TRUE : ScanVOXTags::VOX_FALSE});
  print.endNode(FILESYSTEM);
  if (onlyOnce) printed_ = true;
}

}  // namespace agent
