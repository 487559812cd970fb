#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace agent {

class Filesystem;

/// The host's mount table, and one entry of it. The object that iterates holds the open table; the copies
/// kept in a MountsMap hold the three strings and answer statFS. Used on the main thread, before the walks.
class Mounts {
 public:
  /// @param tablePath the mount table to read, in the format of getmntent(3)
  /// @param kernelTable what is read where nothing bears that name, as in containers and on rescue systems
  ///     (proc(5))
  explicit Mounts(std::string tablePath = "/etc/mtab", std::string kernelTable = "/proc/self/mounts");
  virtual ~Mounts();
  Mounts(const Mounts&) = delete;
  Mounts& operator=(const Mounts&) = delete;
  Mounts(Mounts&& other) noexcept;

  /// Opens the table and takes a shared lock on it, waiting for writers that honour it. Logs STA0094E (also
  /// for what is no regular file) or STA0095E on failure.
  virtual bool openMnttab();

  /// Moves to the next entry whose type a scan may touch.
  /// @return false at the end of the table, which closes it, where it can't be read any further (STA0094E),
  /// or
  ///     when the name of a cluster can't be found (STA0622E), which leaves the rest of the table unread
  virtual bool nextMount();

  /// True when the table couldn't be opened or not be read to its end: there may be mounts that nextMount has
  /// not shown.
  bool readFailed() const { return readFailed_; }

  /// The current entry without the open table.
  Mounts entry() const;

  /// Reads the space figures of this entry's file system into `fs`.
  /// @param nfsTimeout limit in seconds for a server that doesn't answer; 0 or less means none
  /// @return 0, or a failure that has been logged: 12 for the figures, 4 and others for the device
  int statFS(Filesystem& fs, int nfsTimeout) const;

  std::string filesystem;  ///< mount source, or the cluster's name
  std::string mntPt;       ///< mount point
  std::string fsType;      ///< type as the table names it; "clfs" for a cluster file set

 private:
  void closeTable();

  std::string tablePath_;
  std::string kernelTable_;
  FILE* mountFile_ = nullptr;
  bool readFailed_ = false;
};

/// Finds the name of the cluster that is mounted at `mountDir`: its first sub-directory that isn't hidden.
/// @return 0, or -1; a system failure is logged as STA0620E, a directory without sub-directory isn't
int getClfsClusterName(const std::string& mountDir, std::string& name);

/// Corrects `fsPhysicalSize` from the device itself where the layout is known (types that begin with "ext",
/// "msdos" or "fat"). Logs STA0097E, STA0098E or STA0099E.
/// @return 0, or not 0 when the device couldn't be read
int GetPhysicalSize(Filesystem& fs, const Mounts& mount);

}  // namespace agent
