#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Common/CellFormat.h"
#include "Common/EntityToObjectMapper.h"

namespace agent::scandef {

/// An option of scandef's command line that fills a column of a statistic's record. What values it takes
/// follows from the column's kind.
struct StatisticOption {
  const char* name;  ///< without its dashes
  const char* tag;   ///< of the column
  const char* help;

  /// True for one that asks for a list of so many.
  bool isList() const {
    const std::string_view text = name;
    return text.starts_with("largest-") || text.starts_with("least-") || text.starts_with("oldest-");
  }
};

/// All of them, in the order of the columns.
extern const std::array<StatisticOption, 22> STATISTIC_OPTIONS;

/// The kind of a column of CuStatDef.
CellKind statisticColumnKind(std::string_view tag);

/// One statistic. Cells are kept as the file holds them, but for quotes; an empty one stands for null.
class Statistic {
 public:
  /// A statistic over all file systems of the job.
  explicit Statistic(std::string name);

  /// The cell of a column; `tag` is one of CuStatDef's.
  std::string& operator[](std::string_view tag);
  const std::string& operator[](std::string_view tag) const;

  const Row& cells() const { return cells_; }

  bool ofDirectories = false;            ///< for the monitored directories instead
  std::string where;                     ///< its selection as it was written; empty for everything
  std::vector<int32_t> onlyFilesystems;  ///< ids; if not empty, the statistic is for these alone

 private:
  Row cells_;
};

struct MountPoint {
  int32_t id = 0;
  std::string path;   ///< what the definition calls it: where it is mounted, or a filer's export
  int16_t type = -1;  ///< kind of the file system, see FILESYSTEM_TYPES; -1 for unknown
  std::string filer;  ///< host name of the filer that exports it; empty for a local one
  std::string local;  ///< where this host has what a filer exports; empty for a local one

  /// Where this host has it.
  const std::string& localPath() const { return filer.empty() ? path : local; }
};

/// A kind of file system by the name that a mount table has for it. The job takes the kind from the
/// definition; it shows in the result, and a few kinds are walked in ways of their own.
struct FilesystemType {
  const char* name;
  int16_t type;
};
extern const std::array<FilesystemType, 12> FILESYSTEM_TYPES;

/// A directory to be monitored, or a pattern of directories.
struct MonitoredDirectory {
  int32_t id = 0;
  std::string path;
};

/// What one job is to do.
struct Definition {
  std::string jobName = "scan";
  int32_t computer = 1;
  std::vector<MountPoint> filesystems;
  std::vector<MonitoredDirectory> directories;
  std::vector<Statistic> statistics;
};

/// The statistics as they are written. One for the file systems themselves, with a summary, stands in front:
/// the job calls a file system without one a failure. Those without an id get the lowest free ones. What is
/// complete comes back as it is.
/// @throws std::invalid_argument where an id stands twice
std::vector<Statistic> completed(const std::vector<Statistic>& wanted);

/// The definition file's text, with its statistics completed.
/// @throws std::invalid_argument where an id stands twice or a text can't be held by the format
std::string definitionText(const Definition& definition);

/// Where the job looks for its definition, below its install location.
/// @param server may be empty
std::string definitionPath(const std::string& install, const std::string& server, const std::string& jobName,
                           int32_t sidRunNumber, int32_t jobRunNumber);

}  // namespace agent::scandef
