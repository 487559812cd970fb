#include "Probe/Mounts.h"

#include <fcntl.h>
#include <mntent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Common/unix/FileDescriptor.h"
#include "Common/unix/psmsgutil.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/unx/DirectoryStream.h"
#include "QLMlib/common/unx/LimitedCalls.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

// Kinds that a scan must never touch: pseudo file systems, media, and mounts that appear when looked at.
// In the order that the binary search needs. Any type that isn't here is kept.
constexpr std::array<std::string_view, 19> EXCLUDED_TYPES = {
    "auto",    "autofs",  "binfmt_misc", "debugfs",  "devpts", "dmpfs",      "fuse.gvfs-fuse-daemon",
    "fusectl", "iso9660", "mvfs",        "nfsd",     "proc",   "rpc_pipefs", "securityfs",
    "smbfs",   "subfs",   "swap",        "usbdevfs", "vxodmfs"};
static_assert(std::is_sorted(EXCLUDED_TYPES.begin(), EXCLUDED_TYPES.end()));

constexpr size_t MOUNT_LINE_BYTES = 1025;

/// The order of the search, which the trace shows step by step.
bool Compare(std::string_view left, std::string_view right) {
  TRACE(TR_MAX, "left  (%.*s)\n", static_cast<int>(left.size()), left.data());
  TRACE(TR_MAX, "right (%.*s)\n", static_cast<int>(right.size()), right.data());
  return left < right;
}

bool isExcluded(std::string_view type) {
  return std::binary_search(EXCLUDED_TYPES.begin(), EXCLUDED_TYPES.end(), type, Compare);
}

/// Opens what stands under the name of a mount table, if it is a file.
/// @return an empty descriptor with `reason` and errno on failure
FileDescriptor openTable(const std::string& path, std::string& reason) {
  // O_NONBLOCK: whatever it is, opening it must not wait.
  FileDescriptor table = openFile(path.c_str(), O_RDONLY | O_NONBLOCK);
  struct stat status = {};
  if (!table || sys.fstat(table.get(), &status) != 0) {
    const int error = errno;
    reason = getSystemErrorMessage(error);
    errno = error;
    return {};
  }
  if (S_ISREG(status.st_mode)) return table;
  reason = S_ISDIR(status.st_mode) ? getSystemErrorMessage(EISDIR) : "it is no file";
  errno = EISDIR;
  return {};
}

int lockTable(FILE* table, short lockType) {
  struct flock lock = {};
  lock.l_type = lockType;
  lock.l_whence = SEEK_SET;
  return sys.fcntl(fileno(table), F_SETLKW, reinterpret_cast<intptr_t>(&lock));
}

/// "<subject> - <the system's words for error>", as the messages about mounts show a failure.
std::string withErrorText(const std::string& subject, int error) {
  return subject + " - " + getSystemErrorMessage(error);
}

void traceFigures(const struct statvfs& f) {
  TRACE(TR_MID, ">> \t f_bsize = %u, f_frsize = %u\n", static_cast<unsigned>(f.f_bsize),
        static_cast<unsigned>(f.f_frsize));
  TRACE(TR_MID, ">> \t f_blocks = %i, f_bfree = %i, f_bavail = %i\n", static_cast<int>(f.f_blocks),
        static_cast<int>(f.f_bfree), static_cast<int>(f.f_bavail));
  TRACE(TR_MID, ">> \t f_files = %i, f_ffree = %i, f_favail = %i\n", static_cast<int>(f.f_files),
        static_cast<int>(f.f_ffree), static_cast<int>(f.f_favail));
  TRACE(TR_MID, ">> \t fsCapacity = %llu (1K-blocks)\n",
        static_cast<unsigned long long>((f.f_blocks * f.f_frsize) >> 10));
  TRACE(TR_MID, ">> \t fsFreeSpace = %llu (1K-blocks)\n",
        static_cast<unsigned long long>((f.f_bavail * f.f_frsize) >> 10));
  TRACE(TR_MID, ">> \t fsUsedSpace = %llu (1K-blocks) - old method\n",
        static_cast<unsigned long long>(((f.f_blocks - f.f_bfree) * f.f_frsize) >> 10));
  TRACE(TR_MID, ">> \t fsUsedSpace = %llu (1K-blocks) - new method\n",
        static_cast<unsigned long long>(((f.f_blocks - f.f_bavail) * f.f_frsize) >> 10));
}

uint32_t littleEndian(const unsigned char* bytes, int count) {
  uint32_t value = 0;
  for (int i = count - 1; i >= 0; --i) value = value << 8 | bytes[i];
  return value;
}

constexpr size_t DEVICE_BYTES = 256;
using DeviceBytes = std::array<unsigned char, DEVICE_BYTES>;

/// Reads the first bytes of a layout's header. Logs what fails.
/// @return 0, or the failure
int readDevice(int descriptor, off_t position, const std::string& device, DeviceBytes& bytes) {
  if (position != 0 && sys.lseek(descriptor, position, SEEK_SET) < 0) {
    const int error = errno;
    logJobMessage(messages::SUPERBLOCK_NOT_FOUND, {withErrorText(device, error)});
    return error;
  }
  size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t count = sys.read(descriptor, bytes.data() + filled, bytes.size() - filled);
    if (count <= 0) {
      const int error = count < 0 ? errno : ENODATA;  // a short device has no error of its own
      logJobMessage(messages::SUPERBLOCK_NOT_READ, {withErrorText(device, error)});
      return error;
    }
    filled += static_cast<size_t>(count);
  }
  return 0;
}

void setPhysicalSize(Filesystem& fs, int64_t blocks) {
  fs.fsPhysicalSize = blocks;
  TRACE(TR_MID, "Got fsPhysicalSize = %ld (0x%lX)\n", static_cast<long>(blocks),
        static_cast<unsigned long>(blocks));
}

/// The superblock of ext2 and its successors, at byte 1024: block count at 4, log2(block size / 1024) at 24
/// (Documentation/filesystems/ext4/super.rst of the Linux kernel).
int HandleExt2(int descriptor, Filesystem& fs, const std::string& device) {
  DeviceBytes superblock;
  if (const int error = readDevice(descriptor, 1024, device, superblock); error != 0) return error;
  const uint32_t blocks = littleEndian(&superblock[4], 4);
  const uint32_t logBlockSize = littleEndian(&superblock[24], 4);
  // A 32-bit product, sign-extended: the width is part of the figure that servers compare with.
  const uint32_t size = blocks << ((logBlockSize + 1) & 31);
  setPhysicalSize(fs, static_cast<int32_t>(size));
  return 0;
}

/// The boot sector of FAT file systems: 16-bit sector count at 19, and where that is 0 the 32-bit one at 32
/// (ECMA-107).
int HandleMSDos(int descriptor, Filesystem& fs, const std::string& device) {
  DeviceBytes bootSector;
  if (const int error = readDevice(descriptor, 0, device, bootSector); error != 0) return error;
  uint32_t sectors = littleEndian(&bootSector[19], 2);
  if (sectors == 0) sectors = littleEndian(&bootSector[32], 4);
  setPhysicalSize(fs, sectors);
  return 0;
}

}  // namespace

Mounts::Mounts(std::string tablePath, std::string kernelTable)
    : tablePath_(std::move(tablePath)), kernelTable_(std::move(kernelTable)) {}

Mounts::Mounts(Mounts&& other) noexcept
    : filesystem(std::move(other.filesystem)),
      mntPt(std::move(other.mntPt)),
      fsType(std::move(other.fsType)),
      tablePath_(std::move(other.tablePath_)),
      kernelTable_(std::move(other.kernelTable_)),
      mountFile_(std::exchange(other.mountFile_, nullptr)),
      readFailed_(other.readFailed_) {}

Mounts::~Mounts() {
  closeTable();
}

bool Mounts::openMnttab() {
  TRACE_SCOPE("Mounts::openMnttab()");
  closeTable();
  readFailed_ = true;
  std::string reason;
  FileDescriptor table = openTable(tablePath_, reason);
  if (!table && errno == ENOENT) {
    TRACE(TR_MIN, "There is no mount table %s, reading %s.\n", tablePath_.c_str(), kernelTable_.c_str());
    std::string kernelReason;
    table = openTable(kernelTable_, kernelReason);
    reason += "; and \"" + kernelTable_ + "\": " + kernelReason;
  }
  mountFile_ = table ? sys.fdopen(table.get(), "r") : nullptr;
  if (mountFile_ == nullptr) {
    logJobMessage(messages::MOUNT_TABLE_NOT_READ, {table ? getSystemErrorMessage() : reason});
    return false;
  }
  table.release();
  if (lockTable(mountFile_, F_RDLCK) != 0) {
    logJobMessage(messages::MOUNT_TABLE_NOT_LOCKED, {getSystemErrorMessage()});
    closeTable();
    return false;
  }
  readFailed_ = false;
  return true;
}

void Mounts::closeTable() {
  if (mountFile_ == nullptr) return;
  lockTable(mountFile_, F_UNLCK);
  sys.fclose(mountFile_);
  mountFile_ = nullptr;
}

bool Mounts::nextMount() {
  TRACE_SCOPE("Mounts::nextMount()");
  if (mountFile_ == nullptr) return false;
  char line[MOUNT_LINE_BYTES];
  struct mntent record = {};
  do {
    errno = 0;
    if (getmntent_r(mountFile_, &record, line, sizeof line) == nullptr) {
      readFailed_ = ferror(mountFile_) != 0;
      if (readFailed_)
        logJobMessage(messages::MOUNT_TABLE_NOT_READ, {getSystemErrorMessage(errno != 0 ? errno : EIO)});
      closeTable();
      return false;
    }
    TRACE(TR_MID, ">> Current filesystem = %s, mntPt = %s, and fsType = %s ...\n", record.mnt_fsname,
          record.mnt_dir, record.mnt_type);
  } while (isExcluded(record.mnt_type));

  mntPt = record.mnt_dir;
  const std::string_view type = record.mnt_type;
  if (!type.starts_with("clts") && !type.starts_with("clfs")) {
    filesystem = record.mnt_fsname;
    fsType = type;
    return true;
  }
  fsType = "clfs";
  if (getClfsClusterName(mntPt, filesystem) != 0) {
    logJobMessage(messages::CLUSTER_WITHOUT_NAME, {mntPt});
    return false;
  }
  return true;
}

Mounts Mounts::entry() const {
  Mounts copy(tablePath_, kernelTable_);
  copy.filesystem = filesystem;
  copy.mntPt = mntPt;
  copy.fsType = fsType;
  return copy;
}

int getClfsClusterName(const std::string& mountDir, std::string& name) {
  TRACE_SCOPE("getClfsClusterName()");
  const auto failed = [&](const std::string& path) {
    logJobMessage(messages::CLUSTER_NOT_READ, {path, getSystemErrorMessage()});
    return -1;
  };
  DirectoryStream directory(mountDir);
  if (!directory) return failed(mountDir);
  while (true) {
    const dirent* entry = directory.next();
    if (entry == nullptr) return errno != 0 ? failed(mountDir) : -1;
    if (entry->d_name[0] == '.') continue;
    const std::string path = mountDir + "/" + entry->d_name;
    struct stat status = {};
    if (sys.lstat(path.c_str(), &status) != 0) return failed(path);
    if (S_ISDIR(status.st_mode)) {
      name = entry->d_name;
      return 0;
    }
  }
}

int Mounts::statFS(Filesystem& fs, int nfsTimeout) const {
  TRACE_SCOPE("Mounts::statFS()");
  struct statvfs figures = {};
  if (const int error = limitedStatvfs(mntPt.c_str(), nfsTimeout, figures); error != 0) {
    logJobMessage(messages::FIGURES_NOT_READ, {withErrorText(mntPt, error)});
    TRACE(TR_MIN, ">> statvfs() failed for path %s ... logged STA0096E\n", mntPt.c_str());
    return 12;
  }
  traceFigures(figures);
  const uint64_t blockSize = figures.f_frsize != 0 ? figures.f_frsize : figures.f_bsize;

  // These two answer statvfs(3) with inode figures that mean nothing: what the definition gave stays.
  if (fsType != "vxfs" && fsType != "reiserfs") {
    fs.fsMaxFiles = static_cast<int64_t>(figures.f_files);
    fs.fsFreeInodes = static_cast<int32_t>(figures.f_favail);
    fs.fsUsedInodes = static_cast<int32_t>(figures.f_files - figures.f_ffree);
  }
  // Blocks reserved for the superuser count as used, so that used and free add up to the capacity.
  fs.fsCapacity = static_cast<int64_t>((figures.f_blocks * blockSize) >> 9);
  fs.fsFreeSpace = static_cast<int64_t>((figures.f_bavail * blockSize) >> 9);
  fs.fsUsedSpace = static_cast<int64_t>(((figures.f_blocks - figures.f_bavail) * blockSize) >> 9);
  fs.fsPhysicalSize = fs.fsCapacity;
  return GetPhysicalSize(fs, *this);
}

int GetPhysicalSize(Filesystem& fs, const Mounts& mount) {
  TRACE_SCOPE("GetPhysicalSize()");
  const std::string_view type = mount.fsType;
  const bool ext = type.starts_with("ext");
  const bool dos = type.starts_with("msdos") || type.starts_with("fat");
  if (!ext && !dos) return 0;

  // O_NONBLOCK: whatever stands under the name of the device, opening it must not wait.
  const FileDescriptor device = openFile(mount.filesystem.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (!device) {
    logJobMessage(messages::DEVICE_NOT_OPENED, {withErrorText(mount.filesystem, errno)});
    return 4;
  }
  return ext ? HandleExt2(device.get(), fs, mount.filesystem)
             : HandleMSDos(device.get(), fs, mount.filesystem);
}

}  // namespace agent
