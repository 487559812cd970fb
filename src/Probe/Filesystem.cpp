#include "Probe/Filesystem.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "Common/ColumnTable.h"
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

std::string joinOrNull(const std::vector<std::string>& parts) {
  if (parts.empty()) return ScanVOXTags::VOX_NULL;
  std::string joined = parts.front();
  for (size_t part = 1; part < parts.size(); ++part) joined += ',' + parts[part];
  return joined.empty() ? ScanVOXTags::VOX_NULL : joined;
}

// Columns of the printed row, in its order; the list of host mount points stands behind the mount point.
const Column<Filesystem> COLUMNS[] = {
    {Filesystem::FILESYSTEM_ID, &Filesystem::fsID},
    {Filesystem::FILESYSTEM_COMPUTERID, &Filesystem::fsComputerID},
    {"fsGroupID", &Filesystem::fsGroupID},
    {"fsLogDiskID", &Filesystem::fsLogDiskID},
    {"fsLogicalDiskID", &Filesystem::fsLogicalDiskID},
    {Filesystem::FILESYSTEM_MAXFILES, &Filesystem::fsMaxFiles},
    {Filesystem::FILESYSTEM_USEDINODES, &Filesystem::fsUsedInodes},
    {Filesystem::FILESYSTEM_FREEINODES, &Filesystem::fsFreeInodes},
    {Filesystem::FILESYSTEM_SIZE, &Filesystem::fsPhysicalSize},
    {Filesystem::FILESYSTEM_CAPACITY, &Filesystem::fsCapacity},
    {Filesystem::FILESYSTEM_USEDSPACE, &Filesystem::fsUsedSpace},
    {Filesystem::FILESYSTEM_FREESPACE, &Filesystem::fsFreeSpace},
    {"fsFileCount", &Filesystem::fsFileCount},
    {"fsDirectoryCount", &Filesystem::fsDirectoryCount},
    {"fsScanTime", &Filesystem::fsScanTime},
    {Filesystem::FILESYSTEM_TYPE, &Filesystem::fsType},
    {"fsUseCount", &Filesystem::fsUseCount},
    {Filesystem::FILESYSTEM_MNTPT, &Filesystem::fsMountPoint},
    {Filesystem::FILESYSTEM_DISCTIME, &Filesystem::fsDiscoveredTime},
    {Filesystem::FILESYSTEM_SCANNING_COMPUTERID, &Filesystem::fsScanningCompID},
    {Filesystem::FILESYSTEM_EXPORTNAME, &Filesystem::fsExportName},
    {Filesystem::FILESYSTEM_SCANNED, &Filesystem::fsScanned}};

// Columns that are read and never printed.
const Column<Filesystem> READ_ONLY_COLUMNS[] = {{"fsClusterSize", &Filesystem::fsClusterSize},
                                                {"fsMFTEntrySize", &Filesystem::fsMFTEntrySize}};

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
  for (size_t index = 0; index < row.size(); ++index) {
    const std::string_view attribute = refHeaderArray[index];
    if (attribute == FILESYSTEM_HOSTNASMNTPT) hostNasMountPoints = splitAtCommas(row[index]);
    const auto storeInto = [&](const Column<Filesystem>& column) {
      if (attribute == column.tag) storeCell(*this, column, row[index]);
    };
    std::for_each(std::begin(COLUMNS), std::end(COLUMNS), storeInto);
    std::for_each(std::begin(READ_ONLY_COLUMNS), std::end(READ_ONLY_COLUMNS), storeInto);
  }
}

void Filesystem::printHeader(GenericPrint& print) {
  if (printedHeaders) return;
  Row names;
  for (const Column<Filesystem>& column : COLUMNS) {
    names.emplace_back(column.tag);
    if (names.back() == FILESYSTEM_MNTPT) names.emplace_back(FILESYSTEM_HOSTNASMNTPT);
  }
  print.beginNode(FILESYSTEM);
  print.printHeader(names);
  printedHeaders = true;
}

void Filesystem::printData(GenericPrint& print, bool onlyOnce) {
  if (onlyOnce && printed_) return;
  Row values;
  for (const Column<Filesystem>& column : COLUMNS) {
    values.push_back(printCell(*this, column));
    if (std::string_view(column.tag) == FILESYSTEM_MNTPT) values.push_back(joinOrNull(hostNasMountPoints));
  }
  print.beginNode(FILESYSTEM);
  print.printData(values);
  print.endNode(FILESYSTEM);
  if (onlyOnce) printed_ = true;
}

}  // namespace agent
