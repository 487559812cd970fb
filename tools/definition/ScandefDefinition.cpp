#include "ScandefDefinition.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

#include "Common/LogUtil.h"
#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"
#include "Probe/NasFiler.h"
#include "Scan/AgentScan.h"
#include "Scan/results/MonDirSpec.h"
#include "Scan/results/ResultsByFS.h"
#include "Scan/statistics/CuStatDef.h"

namespace agent::scandef {

using Cells = std::vector<std::string>;

const std::array<StatisticOption, 22> STATISTIC_OPTIONS = {{
    {"id", ScanVOXTags::SD_ID, "its id; the lowest free one unless given"},
    {"alert", ScanVOXTags::SD_ALERT_ID, "id of an alert, for the server"},
    {"creator", ScanVOXTags::SD_CREATOR, "who it belongs to"},
    {"description", ScanVOXTags::SD_DESC, "free text"},
    {"share", ScanVOXTags::SD_SHARE, "a number for the server"},
    {"largest-directories", ScanVOXTags::SD_LARGEST_DIRS,
     "list the N directories with the most space directly in them"},
    {"largest-files", ScanVOXTags::SD_LARGEST_FILES, "list the N largest files"},
    {"least-accessed", ScanVOXTags::SD_LEAST_ACCESS, "list the N files not used for longest"},
    {"oldest-not-backed-up", ScanVOXTags::SD_OLDEST_NO_BACKUP,
     "list the N oldest files that want a backup (none does on this platform)"},
    {"largest-orphans", ScanVOXTags::SD_LARGEST_ORPHANS, "list the N largest files whose owner is gone"},
    {"oldest-orphans", ScanVOXTags::SD_OLDEST_ORPHANS,
     "list the N files not used for longest whose owner is gone"},
    {"summary", ScanVOXTags::SD_SUMMARY, "totals of files, directories and space"},
    {"size-distribution", ScanVOXTags::SD_SIZE_DIST, "files by size"},
    {"by-owner", ScanVOXTags::SD_GRP_BY_OWNER, "totals for each user"},
    {"by-group", ScanVOXTags::SD_GRP_BY_GRP, "totals for each group"},
    {"by-access", ScanVOXTags::SD_GRP_BY_ACCESS, "files by time of last access"},
    {"by-modification", ScanVOXTags::SD_GRP_BY_MOD, "files by time of last modification"},
    {"largest-file-types", ScanVOXTags::SD_LARGEST_FTYPES, "list the N types of files with the most space"},
    {"daily-retention", ScanVOXTags::SD_DAILY_RETENTION, "a number for the server"},
    {"weekly-retention", ScanVOXTags::SD_WEEKLY_RETENTION, "a number for the server"},
    {"monthly-retention", ScanVOXTags::SD_MONTHLY_RETENTION, "a number for the server"},
    {"where", ScanVOXTags::SD_WHERE_CLAUSE, "count only what is selected, see below"},
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
constexpr const char* OF_ALL_FILESYSTEMS = "1";
constexpr const char* OF_THE_FILESYSTEM = "3";
constexpr const char* OF_SOME_FILESYSTEMS = "4";

const std::vector<RecordDescription::Column>& statisticColumns() {
  static const RecordDescription RECORD = CuStatDef::table().describe();
  return RECORD.columns;
}

size_t columnOf(std::string_view tag) {
  const auto& columns = statisticColumns();
  const auto column = std::find_if(columns.begin(), columns.end(),
                                   [tag](const auto& candidate) { return candidate.tag == tag; });
  if (column == columns.end()) throw std::invalid_argument("no column " + std::string(tag));
  return static_cast<size_t>(column - columns.begin());
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

// What the job finds out by itself is left at nothing.
Cells filesystemRow(const MountPoint& mountPoint, int32_t computer) {
  Filesystem filesystem;
  filesystem.fsID = mountPoint.id;
  filesystem.fsMountPoint = mountPoint.path;
  filesystem.fsType = mountPoint.type;
  filesystem.fsComputerID = filesystem.fsScanningCompID = computer;
  return Filesystem::table().values(filesystem);
}

// The job finds the mount by host and export. Each is a filer of its own: what they share is nothing to it.
Cells filerRow(const MountPoint& mountPoint) {
  NasFiler filer;
  filer.nfComputerID = mountPoint.id;
  filer.nfName = filer.nfNetworkName = mountPoint.filer;
  return NasFiler::table().values(filer);
}

// One group, and whatever computer: the job finds out by itself whether the path is a pattern.
Cells directoryRow(const MonitoredDirectory& directory) {
  MonDirSpec spec;
  spec.setMdsID(directory.id);
  spec.setMdsGroupID(1);
  spec.setMdsPath(directory.path);
  return MonDirSpec::table().values(spec);
}

template <typename Record>
void writeClass(Text& text) {
  text.open(Record::table().tag());
  if (const Cells names = Record::table().names(); !names.empty()) text.names(names);
}

void writeHeader(Text& text, bool hasFiler) {
  text.open(ScanVOXTags::HEADER);
  writeClass<AgentScan>(text);
  writeClass<Filesystem>(text);
  if (hasFiler) writeClass<NasFiler>(text);
  writeClass<MonDirSpec>(text);
  writeClass<CuStatDef>(text);
  writeClass<ResultsByFS>(text);
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

CellKind statisticColumnKind(std::string_view tag) {
  return statisticColumns()[columnOf(tag)].kind;
}

Statistic::Statistic(std::string name) : cells_(CuStatDef::table().values(CuStatDef())) {
  (*this)[ScanVOXTags::SD_CREATOR] = "scandef";
  (*this)[ScanVOXTags::SD_NAME] = std::move(name);
  (*this)[ScanVOXTags::SD_TYPE] = OF_ALL_FILESYSTEMS;
}

std::string& Statistic::operator[](std::string_view tag) {
  return cells_[columnOf(tag)];
}

const std::string& Statistic::operator[](std::string_view tag) const {
  return cells_[columnOf(tag)];
}

std::vector<Statistic> completed(const std::vector<Statistic>& wanted) {
  std::vector<Statistic> statistics;
  if (wanted.empty() || wanted.front()[ScanVOXTags::SD_TYPE] != OF_THE_FILESYSTEM) {
    statistics.emplace_back("File systems");
    statistics.front()[ScanVOXTags::SD_TYPE] = OF_THE_FILESYSTEM;
    statistics.front()[ScanVOXTags::SD_SUMMARY] = ScanVOXTags::VOX_TRUE;
  }
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

std::string definitionText(const Definition& definition) {
  Text text;
  const std::vector<MountPoint>& filesystems = definition.filesystems;
  writeHeader(text, std::any_of(filesystems.begin(), filesystems.end(),
                                [](const MountPoint& mountPoint) { return !mountPoint.filer.empty(); }));
  text.open(ScanVOXTags::AS);
  text.row({definition.jobName, std::to_string(definition.computer)});

  Ids filesystemIds("file systems");
  for (const MountPoint& filesystem : filesystems) {
    filesystemIds.take(filesystem.id);
    text.open(Filesystem::FILESYSTEM);
    text.row(filesystemRow(filesystem, definition.computer));
    if (!filesystem.filer.empty()) text.rowNode(NasFiler::table().tag(), filerRow(filesystem));
    text.close(Filesystem::FILESYSTEM);
  }
  Ids directoryIds("monitored directories");
  for (const MonitoredDirectory& directory : definition.directories) {
    directoryIds.take(directory.id);
    text.rowNode(ScanVOXTags::MDS, directoryRow(directory));
  }
  for (const Statistic& statistic : completed(definition.statistics)) {
    text.open(ScanVOXTags::SD);
    text.row(statistic.cells());
    for (const int32_t filesystemId : statistic.onlyFilesystems) writeSource(text, definition, filesystemId);
    text.close(ScanVOXTags::SD);
  }
  text.close(ScanVOXTags::AS);
  return text.take();
}

std::string definitionPath(const std::string& install, const std::string& server, const std::string& jobName,
                           int32_t sidRunNumber, int32_t jobRunNumber) {
  return install + "/input/" + (server.empty() ? "" : server + "/") +
         LogUtil::runFileName({jobName, sidRunNumber, jobRunNumber}, "scan", ".dat");
}

}  // namespace agent::scandef
