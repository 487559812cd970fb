#include "ScandefDefinition.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <utility>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"

namespace agent::scandef {

using Kind = StatisticColumn::Kind;
using Cells = std::vector<std::string>;

const std::array<StatisticColumn, 28> STATISTIC_COLUMNS = {{
    {ScanVOXTags::SD_ID, "id", Kind::NUMBER, "0", "its id; the lowest free one unless given"},
    {ScanVOXTags::SD_ALERT_ID, "alert", Kind::NUMBER, "-1", "id of an alert, for the server"},
    {ScanVOXTags::SD_CREATOR, "creator", Kind::TEXT, "scandef", "who it belongs to"},
    {ScanVOXTags::SD_NAME, nullptr, Kind::FIXED, "", nullptr},
    {ScanVOXTags::SD_DESC, "description", Kind::TEXT, "", "free text"},
    {ScanVOXTags::SD_TYPE, nullptr, Kind::FIXED, "1", nullptr},
    {ScanVOXTags::SD_SHARE, "share", Kind::LENGTH, "0", "a number for the server"},
    {ScanVOXTags::SD_LARGEST_DIRS, "largest-directories", Kind::LENGTH, "0", "list that many"},
    {ScanVOXTags::SD_LARGEST_FILES, "largest-files", Kind::LENGTH, "0", "list that many"},
    {ScanVOXTags::SD_LEAST_ACCESS, "least-accessed", Kind::LENGTH, "0", "list that many files"},
    {ScanVOXTags::SD_OLDEST_NO_BACKUP, "oldest-not-backed-up", Kind::LENGTH, "0",
     "list that many files (none wants a backup on this platform)"},
    {ScanVOXTags::SD_LARGEST_ORPHANS, "largest-orphans", Kind::LENGTH, "0", "list that many"},
    {ScanVOXTags::SD_OLDEST_ORPHANS, "oldest-orphans", Kind::LENGTH, "0", "list that many"},
    {ScanVOXTags::SD_SUMMARY, "summary", Kind::FLAG, "N", "totals of files, directories and space"},
    {ScanVOXTags::SD_SIZE_DIST, "size-distribution", Kind::FLAG, "N", "files by size"},
    {ScanVOXTags::SD_GRP_BY_OWNER, "by-owner", Kind::FLAG, "N", "totals for each user"},
    {ScanVOXTags::SD_GRP_BY_GRP, "by-group", Kind::FLAG, "N", "totals for each group"},
    {ScanVOXTags::SD_GRP_BY_ACCESS, "by-access", Kind::FLAG, "N", "files by time of last access"},
    {ScanVOXTags::SD_GRP_BY_MOD, "by-modification", Kind::FLAG, "N", "files by time of last modification"},
    // These are for other platforms: the job clears them.
    {ScanVOXTags::SD_GRP_BY_CREATION, nullptr, Kind::FIXED, "N", nullptr},
    {ScanVOXTags::SD_GRP_BY_BACKUP, nullptr, Kind::FIXED, "N", nullptr},
    {ScanVOXTags::SD_WIN_FILE_TYPE, nullptr, Kind::FIXED, "N", nullptr},
    {ScanVOXTags::SD_LARGEST_FTYPES, "largest-file-types", Kind::LENGTH, "0",
     "list that many types of files"},
    {ScanVOXTags::SD_DAILY_RETENTION, "daily-retention", Kind::LENGTH, "0", "a number for the server"},
    {ScanVOXTags::SD_WEEKLY_RETENTION, "weekly-retention", Kind::LENGTH, "0", "a number for the server"},
    {ScanVOXTags::SD_MONTHLY_RETENTION, "monthly-retention", Kind::LENGTH, "0", "a number for the server"},
    {ScanVOXTags::SD_HAS_BACKUP_ACTION, nullptr, Kind::FIXED, "N", nullptr},
    {ScanVOXTags::SD_WHERE_CLAUSE, "where", Kind::WHERE, "", "count only what is selected, see below"},
}};

const std::array<FilesystemType, 12> FILESYSTEM_TYPES = {{
    {"ext2", Filesystem::EXT2},
    {"ext3", Filesystem::EXT3},
    {"ext4", Filesystem::EXT4},
    {"reiserfs", Filesystem::REISERFS},
    {"vxfs", Filesystem::VXFS},
    {"vfat", Filesystem::FAT32},
    {"tmpfs", Filesystem::TMPFS},
    {"nfs", Filesystem::NFS},
    {"cifs", Filesystem::CIFS},
    {"clfs", Filesystem::CLFS},
    {"mxfs", Filesystem::MXFS},
    {"fake", Filesystem::FAKE},
}};

namespace {

// Kinds of statistic, as `sdType` holds them.
constexpr const char* OF_DIRECTORIES = "0";
constexpr const char* OF_THE_FILESYSTEM = "3";
constexpr const char* OF_SOME_FILESYSTEMS = "4";

size_t columnOf(std::string_view tag) {
  const auto* const column =
      std::find_if(STATISTIC_COLUMNS.begin(), STATISTIC_COLUMNS.end(),
                   [tag](const StatisticColumn& candidate) { return candidate.tag == tag; });
  if (column == STATISTIC_COLUMNS.end()) throw std::invalid_argument("no column " + std::string(tag));
  return static_cast<size_t>(column - STATISTIC_COLUMNS.begin());
}

/// Writes the tagged format.
class Text {
 public:
  void open(std::string_view tag) { line("[" + std::string(tag) + "]"); }
  void close(std::string_view tag) { line("[/" + std::string(tag) + "]"); }
  void names(const Cells& tags) { line(joined(tags)); }

  /// One data row. An empty cell would be no cell to the reader: it is written as null.
  void row(const Cells& cells) {
    Cells written;
    for (const std::string& cell : cells)
      written.push_back(cell.empty() ? ScanVOXTags::VOX_NULL : quoted(cell));
    line(joined(written));
  }

  void rowNode(std::string_view tag, const Cells& cells) {
    open(tag);
    row(cells);
    close(tag);
  }

  std::string take() { return std::move(text_); }

 private:
  void line(const std::string& content) { text_ += content + "\n"; }

  static std::string joined(const Cells& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : ",") + part;
    return text;
  }

  static std::string quoted(const std::string& cell) {
    if (cell.find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos) {
      throw std::invalid_argument("the format can't hold a text with a line end in it: '" +
                                  safeText(cell, Backslash::KEPT) + "'");
    }
    std::string text = "\"";
    for (const char byte : cell) text += byte == '"' ? "\"\"" : std::string(1, byte);
    return text + "\"";
  }

  std::string text_;
};

const Cells FILESYSTEM_COLUMNS = {Filesystem::FILESYSTEM_ID,
                                  Filesystem::FILESYSTEM_COMPUTERID,
                                  "fsGroupID",
                                  "fsLogDiskID",
                                  "fsLogicalDiskID",
                                  Filesystem::FILESYSTEM_MAXFILES,
                                  Filesystem::FILESYSTEM_USEDINODES,
                                  Filesystem::FILESYSTEM_FREEINODES,
                                  Filesystem::FILESYSTEM_SIZE,
                                  Filesystem::FILESYSTEM_CAPACITY,
                                  Filesystem::FILESYSTEM_USEDSPACE,
                                  Filesystem::FILESYSTEM_FREESPACE,
                                  "fsFileCount",
                                  "fsDirectoryCount",
                                  "fsScanTime",
                                  Filesystem::FILESYSTEM_TYPE,
                                  "fsUseCount",
                                  Filesystem::FILESYSTEM_MNTPT,
                                  Filesystem::FILESYSTEM_HOSTNASMNTPT,
                                  Filesystem::FILESYSTEM_DISCTIME,
                                  Filesystem::FILESYSTEM_SCANNING_COMPUTERID,
                                  Filesystem::FILESYSTEM_EXPORTNAME,
                                  Filesystem::FILESYSTEM_SCANNED};

// What the job finds out by itself is left at nothing.
Cells filesystemRow(const MountPoint& filesystem, int32_t computer) {
  Cells cells;
  for (const std::string& column : FILESYSTEM_COLUMNS) {
    if (column == Filesystem::FILESYSTEM_ID) {
      cells.push_back(std::to_string(filesystem.id));
    } else if (column == Filesystem::FILESYSTEM_MNTPT) {
      cells.push_back(filesystem.path);
    } else if (column == Filesystem::FILESYSTEM_COMPUTERID ||
               column == Filesystem::FILESYSTEM_SCANNING_COMPUTERID) {
      cells.push_back(std::to_string(computer));
    } else if (column == Filesystem::FILESYSTEM_TYPE) {
      cells.push_back(std::to_string(filesystem.type));
    } else if (column == Filesystem::FILESYSTEM_SCANNED) {
      cells.push_back(ScanVOXTags::VOX_FALSE);
    } else if (column == Filesystem::FILESYSTEM_HOSTNASMNTPT || column == Filesystem::FILESYSTEM_EXPORTNAME) {
      cells.emplace_back();
    } else {
      cells.push_back(ScanVOXTags::VOX_NUM_VAL_NULL);
    }
  }
  return cells;
}

void writeHeader(Text& text) {
  text.open(ScanVOXTags::HEADER);
  text.open(ScanVOXTags::AS);
  text.names({ScanVOXTags::AS_JOB_NAME, ScanVOXTags::AS_SCANNING_COMP_ID});
  text.open(Filesystem::FILESYSTEM);
  text.names(FILESYSTEM_COLUMNS);
  text.open(ScanVOXTags::MDS);
  text.names({ScanVOXTags::MDS_ID, ScanVOXTags::MDS_GROUP_ID, ScanVOXTags::MDS_COMP_ID, ScanVOXTags::MDS_PATH,
              ScanVOXTags::MDS_MASKED_PATH});
  text.open(ScanVOXTags::SD);
  Cells tags;
  for (const StatisticColumn& column : STATISTIC_COLUMNS) tags.emplace_back(column.tag);
  text.names(tags);
  text.open(ScanVOXTags::RESULTS_BY_FS);  // a node without columns
  text.close(ScanVOXTags::HEADER);
}

/// Ids of one kind of record: each once, and the lowest free one for whoever has none.
class Ids {
 public:
  explicit Ids(const char* kind) : kind_(kind) {}

  void take(int32_t id) {
    if (!taken_.insert(id).second) {
      throw std::invalid_argument("two " + std::string(kind_) + " have the id " + std::to_string(id));
    }
  }

  int32_t takeFree() {
    while (!taken_.insert(next_).second) ++next_;
    return next_;
  }

 private:
  const char* kind_;
  std::set<int32_t> taken_;
  int32_t next_ = 1;
};

// The statistics as they are written: ours in front, and every id given.
std::vector<Statistic> completed(const std::vector<Statistic>& wanted) {
  std::vector<Statistic> statistics;
  statistics.emplace_back("File systems");
  statistics.front()[ScanVOXTags::SD_TYPE] = OF_THE_FILESYSTEM;
  statistics.front()[ScanVOXTags::SD_SUMMARY] = ScanVOXTags::VOX_TRUE;
  statistics.insert(statistics.end(), wanted.begin(), wanted.end());

  Ids ids("statistics");
  const auto hasNone = [](const Statistic& statistic) { return statistic[ScanVOXTags::SD_ID] == "0"; };
  for (const Statistic& statistic : statistics) {
    if (!hasNone(statistic)) ids.take(std::stoi(statistic[ScanVOXTags::SD_ID]));
  }
  for (Statistic& statistic : statistics) {
    if (hasNone(statistic)) statistic[ScanVOXTags::SD_ID] = std::to_string(ids.takeFree());
    if (statistic.ofDirectories) statistic[ScanVOXTags::SD_TYPE] = OF_DIRECTORIES;
    if (!statistic.onlyFilesystems.empty()) statistic[ScanVOXTags::SD_TYPE] = OF_SOME_FILESYSTEMS;
  }
  return statistics;
}

void writeSource(Text& text, const Definition& definition, int32_t filesystemId) {
  const auto filesystem =
      std::find_if(definition.filesystems.begin(), definition.filesystems.end(),
                   [filesystemId](const MountPoint& candidate) { return candidate.id == filesystemId; });
  if (filesystem == definition.filesystems.end()) {
    throw std::invalid_argument("no file system has the id " + std::to_string(filesystemId));
  }
  text.open(ScanVOXTags::RESULTS_BY_FS);
  text.rowNode(Filesystem::FILESYSTEM, filesystemRow(*filesystem, definition.computer));
  text.close(ScanVOXTags::RESULTS_BY_FS);
}

}  // namespace

Statistic::Statistic(std::string name) {
  for (size_t column = 0; column < cells_.size(); ++column) cells_[column] = STATISTIC_COLUMNS[column].preset;
  (*this)[ScanVOXTags::SD_NAME] = std::move(name);
}

std::string& Statistic::operator[](std::string_view tag) {
  return cells_[columnOf(tag)];
}

const std::string& Statistic::operator[](std::string_view tag) const {
  return cells_[columnOf(tag)];
}

std::string definitionText(const Definition& definition) {
  Text text;
  writeHeader(text);
  text.open(ScanVOXTags::AS);
  text.row({definition.jobName, std::to_string(definition.computer)});

  Ids filesystemIds("file systems");
  for (const MountPoint& filesystem : definition.filesystems) {
    filesystemIds.take(filesystem.id);
    text.rowNode(Filesystem::FILESYSTEM, filesystemRow(filesystem, definition.computer));
  }
  Ids directoryIds("monitored directories");
  for (const MonitoredDirectory& directory : definition.directories) {
    directoryIds.take(directory.id);
    // One group, and whatever computer: the job finds out by itself whether the path is a pattern.
    text.rowNode(ScanVOXTags::MDS,
                 {std::to_string(directory.id), "1", "0", directory.path, ScanVOXTags::VOX_FALSE});
  }
  for (const Statistic& statistic : completed(definition.statistics)) {
    text.open(ScanVOXTags::SD);
    text.row({statistic.cells().begin(), statistic.cells().end()});
    for (const int32_t filesystemId : statistic.onlyFilesystems) writeSource(text, definition, filesystemId);
    text.close(ScanVOXTags::SD);
  }
  text.close(ScanVOXTags::AS);
  return text.take();
}

std::string definitionPath(const std::string& install, const std::string& server, const std::string& jobName,
                           int32_t sidRunNumber, int32_t jobRunNumber) {
  std::array<char, 48> numbers{};
  std::snprintf(numbers.data(), numbers.size(), ".%04d_scan.%08d.dat", sidRunNumber, jobRunNumber);
  return install + "/input/" + (server.empty() ? "" : server + "/") + jobName + numbers.data();
}

}  // namespace agent::scandef
