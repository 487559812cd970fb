#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "figures/ResultFile.h"

// What a result says, as values that every report goes by. Space is in units of 512 bytes as allocated, times
// are milliseconds since the epoch, names and paths are bytes as the file has them. Lists begin with what
// counts most in them; what is equal there stays in the order of the file.

namespace agent::tools {

/// A sum that a damaged file can't carry beyond what 64 bits hold: it wraps.
inline int64_t plus(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

/// Classes of sizes or of ages with what lies in each, in the order of SIZE_CLASSES or AGE_CLASSES.
struct Histogram {
  std::vector<int64_t> blocks;
  std::vector<int64_t> counts;
};

inline constexpr std::array<const char*, 8> SIZE_CLASSES = {
    "up to 1 KiB",     "1 KiB to 10 KiB",   "10 KiB to 100 KiB",  "100 KiB to 1 MiB",
    "1 MiB to 10 MiB", "10 MiB to 100 MiB", "100 MiB to 500 MiB", "more than 500 MiB"};
inline constexpr std::array<const char*, 10> AGE_CLASSES = {
    "up to 1 day",    "1 to 7 days",     "7 to 30 days",       "30 to 60 days",    "60 to 90 days",
    "90 to 180 days", "180 to 270 days", "270 days to 1 year", "more than a year", "in the future"};

/// A user or a group.
struct Identity {
  int64_t id = 0;
  std::string name;   ///< its number where it is gone
  bool gone = false;  ///< no user database knows it any more
};

/// What a user or a group has.
struct IdentityFigures {
  Identity identity;
  int64_t files = 0;
  int64_t directories = 0;
  int64_t blocks = 0;
  int64_t largest = 0;  ///< space of the largest file
  Histogram sizes;
};

/// What has one extension.
struct TypeFigures {
  std::string extension;  ///< with its dot
  int64_t files = 0;
  int64_t blocks = 0;
};

/// Entries by one of their times.
struct AgeFigures {
  int16_t type = 0;        ///< STimeDist::ACCESSED and so on
  int64_t averageAge = 0;  ///< seconds
  Histogram ages;

  /// The time that they go by, for people: "last use".
  const char* time() const;
};

/// An entry of a file system.
struct EntryFigures {
  std::string path;
  int64_t blocks = 0;
  int64_t length = 0;  ///< bytes
  int64_t accessed = 0;
  int64_t modified = 0;
  int64_t attributes = 0;  ///< the word of Scan/selection/fileInfo.h
  int64_t links = 0;       ///< names that it has
  int64_t inode = 0;
  std::optional<Identity> owner;
  std::optional<Identity> group;
};

/// A directory with what lies directly in it.
struct DirectoryFigures {
  EntryFigures entry;
  int64_t files = 0;
  int64_t directories = 0;
  int64_t blocks = 0;
};

/// One of a statistic's lists of files.
struct FileList {
  int16_t type = 0;        ///< SFile::LARGEST and so on
  const char* title = "";  ///< for people
  bool age = false;        ///< it goes by the time of last use, otherwise by space
  bool orphans = false;    ///< of files whose owner is gone
  std::vector<EntryFigures> files;
};

struct SummaryFigures {
  int64_t files = 0;
  int64_t directories = 0;
  int64_t blocks = 0;
};

/// What a statistic has found on a file system or in a monitored directory. What it wasn't asked for is
/// empty.
struct SourceFigures {
  std::optional<SummaryFigures> summary;
  std::vector<IdentityFigures> users;
  std::vector<IdentityFigures> groups;
  std::optional<Histogram> sizes;
  std::vector<AgeFigures> ages;
  std::vector<DirectoryFigures> directories;
  std::vector<FileList> fileLists;  ///< those that hold a file, in the order of their types
  std::vector<TypeFigures> types;

  /// True where there are totals and nothing else.
  bool hasSummaryAlone() const;
};

/// What a statistic has found in one monitored directory.
struct MonitoredFigures {
  EntryFigures directory;
  SourceFigures found;
};

struct StatisticFigures {
  int64_t id = 0;
  std::string creator;
  std::string name;
  std::string description;
  std::optional<SourceFigures> onFilesystem;    ///< none where it goes by monitored directories
  std::vector<MonitoredFigures> inDirectories;  ///< those with the most space first

  /// "creator.name", or its number where it has no name; bytes.
  std::string displayName() const;
};

/// A path as people see it: below the mount point where it lies there, "." for that itself; bytes.
std::string belowMountPoint(std::string_view path, std::string_view mountPoint);

struct FilesystemFigures {
  int64_t id = 0;
  std::string mountPoint;  ///< with a slash behind
  std::string kind;        ///< "EXT4", for people
  int64_t capacity = 0;
  int64_t used = 0;
  int64_t free = 0;
  int64_t inodes = 0;
  int64_t usedInodes = 0;
  bool scanned = false;  ///< it was walked; otherwise its figures are those of the definition
  int64_t scanTime = 0;
  std::vector<EntryFigures> monitored;
  std::vector<StatisticFigures> statistics;

  /// A path of its own as people see it, see belowMountPoint.
  std::string below(std::string_view path) const { return belowMountPoint(path, mountPoint); }
};

/// What lists begin with.
enum class Order { SPACE, ENTRIES, NAME };
inline constexpr std::array<const char*, 3> ORDER_NAMES = {"space", "entries", "name"};

/// @param name one of ORDER_NAMES
Order orderOf(std::string_view name);

/// One result. Of a file that isn't whole, what stands in front of its fault.
struct Figures {
  std::vector<FilesystemFigures> filesystems;
  std::optional<ResultFault> fault;
};

/// @param result what a file holds; statistics that stand in front of every file system are left out
Figures figuresOf(const ResultFile& result);

/// Has the lists of owners, groups, types and directories begin otherwise than with the most space.
void sortFigures(Figures& figures, Order order);

}  // namespace agent::tools
