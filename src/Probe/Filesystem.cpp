#include "Probe/Filesystem.h"

#include "Probe/NasFiler.h"

namespace agent {

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

const RecordTable<Filesystem>& Filesystem::table() {
  static constexpr Column<Filesystem> COLUMNS[] = {
      column<&Filesystem::fsID>(FILESYSTEM_ID, "its id"),
      column<&Filesystem::fsComputerID>(FILESYSTEM_COMPUTERID, "the computer that it belongs to"),
      column<&Filesystem::fsGroupID>("fsGroupID", "carried through"),
      column<&Filesystem::fsLogDiskID>("fsLogDiskID", "carried through"),
      column<&Filesystem::fsLogicalDiskID>("fsLogicalDiskID", "carried through"),
      column<&Filesystem::fsMaxFiles>(FILESYSTEM_MAXFILES, "inodes that there are"),
      column<&Filesystem::fsUsedInodes>(FILESYSTEM_USEDINODES, "inodes in use"),
      column<&Filesystem::fsFreeInodes>(FILESYSTEM_FREEINODES, "inodes that are free"),
      column<&Filesystem::fsPhysicalSize>(FILESYSTEM_SIZE, "size of its device, in units of 512 bytes"),
      column<&Filesystem::fsCapacity>(FILESYSTEM_CAPACITY, "space that it offers, in units of 512 bytes"),
      column<&Filesystem::fsUsedSpace>(FILESYSTEM_USEDSPACE, "capacity that isn't free"),
      column<&Filesystem::fsFreeSpace>(FILESYSTEM_FREESPACE,
                                       "space that any user may take, in units of 512 bytes"),
      column<&Filesystem::fsFileCount>("fsFileCount", "carried through"),
      column<&Filesystem::fsDirectoryCount>("fsDirectoryCount", "carried through"),
      column<&Filesystem::fsScanTime>("fsScanTime", "when its walk began"),
      column<&Filesystem::fsType>(FILESYSTEM_TYPE, "its kind: the constants in `Probe/Filesystem.h`"),
      column<&Filesystem::fsUseCount>("fsUseCount", "carried through"),
      column<&Filesystem::fsMountPoint>(FILESYSTEM_MNTPT, "where it is mounted; a result has a slash behind"),
      column<&Filesystem::hostNasMountPoints>(FILESYSTEM_HOSTNASMNTPT, "where hosts mount a filer's export"),
      column<&Filesystem::fsDiscoveredTime>(FILESYSTEM_DISCTIME, "carried through"),
      column<&Filesystem::fsScanningCompID>(FILESYSTEM_SCANNING_COMPUTERID, "the computer that scans it"),
      column<&Filesystem::fsExportName>(FILESYSTEM_EXPORTNAME, "a filer's name for it"),
      column<&Filesystem::fsScanned>(FILESYSTEM_SCANNED, "it has been walked"),
      // Results have never had room for these.
      column<&Filesystem::fsClusterSize>("fsClusterSize", "not used").onlyRead(),
      column<&Filesystem::fsMFTEntrySize>("fsMFTEntrySize", "not used").onlyRead()};
  static constexpr RecordTable<Filesystem> TABLE(FILESYSTEM, "A file system that is to be scanned.", COLUMNS);
  return TABLE;
}

void Filesystem::inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  table().read(
      *this, refHeaderArray,
      theRow(refHeaderArray, refDataArray, "ERROR: VoxObjectCreationException exception. Leaving method."));
}

void Filesystem::printHeader(GenericPrint& print) {
  if (printedHeaders) return;
  print.beginNode(FILESYSTEM);
  table().printHeader(print);
  printedHeaders = true;
}

void Filesystem::printData(GenericPrint& print, bool onlyOnce) {
  if (onlyOnce && printed_) return;
  table().printNode(print, *this);
  if (onlyOnce) printed_ = true;
}

}  // namespace agent
