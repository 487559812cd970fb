#include "figures/ResultTables.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace agent::tools {

namespace {

// What the rows of each table are made of
// ---------------------------------------------------------------------------------------------------

struct RunRow {
  const RunFigures& run;
  int64_t begin;  // milliseconds since the epoch
};

struct FilesystemRow {
  int64_t number;
  const FilesystemFigures& figures;
};

struct StatisticRow {
  int64_t number;
  int64_t filesystem;
  const StatisticFigures& figures;
  const std::string& name;
  const std::string* directory;  // null: on the whole file system
  const std::optional<SummaryFigures>& summary;
};

/// An element of a list.
template <typename Figures>
struct ListRow {
  int64_t parent;  // number of the file system or the statistic
  int64_t place;   // from 1
  const Figures& figures;
};

struct FileRow {
  int64_t parent;
  int64_t place;
  const char* list;
  const EntryFigures& figures;
};

struct AgeRow {
  int64_t parent;
  const AgeFigures& figures;
};

struct ClassRow {
  int64_t parent;
  const char* since;  // which time ages go by
  int64_t number;     // from 1
  const char* label;
  int64_t entries;
  int64_t blocks;
};

// Columns with their values
// ---------------------------------------------------------------------------------------------------

template <typename Row>
struct ValuedColumn {
  TableColumn column;
  Cell (*value)(const Row& row);

  ValuedColumn inKey() const {
    ValuedColumn changed = *this;
    changed.column.inKey = true;
    return changed;
  }
  ValuedColumn mayBeEmpty() const {
    ValuedColumn changed = *this;
    changed.column.mayBeEmpty = true;
    return changed;
  }
  ValuedColumn tellsApart() const {
    ValuedColumn changed = *this;
    changed.column.tellsApart = true;
    return changed;
  }
};

template <typename Row>
using Columns = std::vector<ValuedColumn<Row>>;

/// A table with where its values come from.
template <typename Row>
struct ValuedTable : ResultTable {
  ValuedTable(const char* tableName, const char* tableMeaning, Level tableLevel,
              std::initializer_list<Columns<Row>> parts)
      : ResultTable{tableName, tableMeaning, tableLevel, {}} {
    for (const Columns<Row>& part : parts) {
      for (const ValuedColumn<Row>& valued : part) {
        columns.push_back(valued.column);
        values.push_back(valued.value);
      }
    }
  }

  void write(TableSink& sink, const Row& row) const {
    std::vector<Cell> cells;
    cells.reserve(values.size());
    for (const auto value : values) cells.push_back(value(row));
    sink.row(*this, cells);
  }

  std::vector<Cell (*)(const Row&)> values;
};

template <typename Row>
ValuedColumn<Row> number(const char* name, const char* meaning, Cell (*value)(const Row&)) {
  return {{name, ColumnKind::NUMBER, meaning}, value};
}
template <typename Row>
ValuedColumn<Row> seconds(const char* name, const char* meaning, Cell (*value)(const Row&)) {
  return {{name, ColumnKind::SECONDS, meaning}, value};
}
template <typename Row>
ValuedColumn<Row> flag(const char* name, const char* meaning, Cell (*value)(const Row&)) {
  return {{name, ColumnKind::FLAG, meaning}, value};
}
template <typename Row>
ValuedColumn<Row> text(const char* name, const char* meaning, Cell (*value)(const Row&)) {
  return {{name, ColumnKind::TEXT, meaning}, value};
}
template <typename Row>
ValuedColumn<Row> name(const char* columnName, const char* meaning, Cell (*value)(const Row&)) {
  return {{columnName, ColumnKind::NAME, meaning}, value};
}

template <typename Row>
ValuedColumn<Row> reference(const char* columnName, const char* meaning, Cell (*value)(const Row&)) {
  ValuedColumn<Row> column = number(columnName, meaning, value).inKey();
  column.column.reference = true;
  return column;
}

template <typename Row>
Columns<Row> ofFilesystem() {
  return {reference<Row>("filesystem_number", "the file system",
                         [](const Row& row) -> Cell { return row.parent; })};
}

template <typename Row>
Columns<Row> ofStatistic() {
  return {
      reference<Row>("statistic_number", "the statistic", [](const Row& row) -> Cell { return row.parent; })};
}

template <typename Row>
Columns<Row> placeInList(const char* meaning) {
  return {number<Row>("place", meaning, [](const Row& row) -> Cell { return row.place; }).inKey()};
}

template <typename Value, typename Get>
Cell valueOrNone(const std::optional<Value>& value, Get get) {
  return value ? Cell(get(*value)) : Cell();
}

Cell idOf(const std::optional<Identity>& identity) {
  return valueOrNone(identity, [](const Identity& known) { return known.id; });
}
Cell nameOf(const std::optional<Identity>& identity) {
  return valueOrNone(identity, [](const Identity& known) { return std::string_view(known.name); });
}
Cell goneOf(const std::optional<Identity>& identity) {
  return valueOrNone(identity, [](const Identity& known) { return int64_t{known.gone}; });
}

/// @param entryOf the row's entry
template <typename Row, const EntryFigures& (*entryOf)(const Row&)>
Columns<Row> entryColumns() {
  return {
      name<Row>("path", "its full path",
                [](const Row& row) -> Cell { return std::string_view(entryOf(row).path); }),
      number<Row>("length", "bytes that it is long",
                  [](const Row& row) -> Cell { return entryOf(row).length; }),
      seconds<Row>("modified", "when its contents last changed",
                   [](const Row& row) -> Cell { return secondsOf(entryOf(row).modified); }),
      seconds<Row>("accessed", "when it was last used; never before the last change",
                   [](const Row& row) -> Cell { return secondsOf(entryOf(row).accessed); }),
      number<Row>("links", "names that it has; 1 for a directory",
                  [](const Row& row) -> Cell { return entryOf(row).links; }),
      number<Row>("inode", "its number on its file system",
                  [](const Row& row) -> Cell { return entryOf(row).inode; }),
      number<Row>("owner_id", "the uid", [](const Row& row) { return idOf(entryOf(row).owner); })
          .mayBeEmpty(),
      name<Row>("owner_name", "the owner, as in `owner`",
                [](const Row& row) { return nameOf(entryOf(row).owner); })
          .mayBeEmpty(),
      flag<Row>("owner_gone", "no user database knows the owner",
                [](const Row& row) { return goneOf(entryOf(row).owner); })
          .mayBeEmpty(),
      number<Row>("group_id", "the gid", [](const Row& row) { return idOf(entryOf(row).group); })
          .mayBeEmpty(),
      name<Row>("group_name", "the group, as in `owning_group`",
                [](const Row& row) { return nameOf(entryOf(row).group); })
          .mayBeEmpty(),
      flag<Row>("group_gone", "no group database knows the group",
                [](const Row& row) { return goneOf(entryOf(row).group); })
          .mayBeEmpty(),
  };
}

template <typename Row>
ValuedColumn<Row> blocksOf(const char* meaning) {
  return number<Row>("bytes", meaning, [](const Row& row) -> Cell { return bytesOf(row.figures.blocks); });
}

template <typename Row>
ValuedColumn<Row> filesOf() {
  return number<Row>("files", "regular files and symbolic links",
                     [](const Row& row) -> Cell { return row.figures.files; });
}

// The tables
// ---------------------------------------------------------------------------------------------------

const ValuedTable<RunRow> RUN{
    "run",
    "A run of a job on a host: one result file.",
    Level::RUN,
    {{
        seconds<RunRow>("run_time", "when its first walk began",
                        [](const RunRow& row) -> Cell { return secondsOf(row.begin); })
            .inKey()
            .tellsApart(),
        name<RunRow>("host", "the host, as `--host` says",
                     [](const RunRow& row) -> Cell { return std::string_view(row.run.host); })
            .inKey()
            .tellsApart(),
        name<RunRow>("job", "the job, by the name of the file",
                     [](const RunRow& row) -> Cell { return std::string_view(row.run.name.job); })
            .inKey()
            .tellsApart(),
        number<RunRow>("schedule", "number of the schedule, by the name of the file",
                       [](const RunRow& row) -> Cell { return row.run.name.schedule; })
            .inKey()
            .tellsApart(),
        number<RunRow>("run_number", "number of the run, by the name of the file",
                       [](const RunRow& row) -> Cell { return row.run.name.number; })
            .inKey()
            .tellsApart(),
        text<RunRow>("checksum", "SHA-256 of the file",
                     [](const RunRow& row) -> Cell { return std::string_view(row.run.checksum); }),
    }}};

const ValuedTable<FilesystemRow> FILESYSTEM{
    "filesystem",
    "A file system of the result, as it was after its scan.",
    Level::RUN,
    {{
        number<FilesystemRow>("filesystem_number", "its place in the result, from 1",
                              [](const FilesystemRow& row) -> Cell { return row.number; })
            .inKey(),
        number<FilesystemRow>("filesystem_id", "its id in the definition",
                              [](const FilesystemRow& row) -> Cell { return row.figures.id; }),
        name<FilesystemRow>(
            "mount_point", "where it is mounted, with a slash behind",
            [](const FilesystemRow& row) -> Cell { return std::string_view(row.figures.mountPoint); })
            .tellsApart(),
        text<FilesystemRow>(
            "kind", "its kind, such as EXT4",
            [](const FilesystemRow& row) -> Cell { return std::string_view(row.figures.kind); }),
        number<FilesystemRow>("capacity_bytes", "space that it offers",
                              [](const FilesystemRow& row) -> Cell { return bytesOf(row.figures.capacity); }),
        number<FilesystemRow>("used_bytes", "capacity that isn't free",
                              [](const FilesystemRow& row) -> Cell { return bytesOf(row.figures.used); }),
        number<FilesystemRow>("free_bytes", "space that any user may take",
                              [](const FilesystemRow& row) -> Cell { return bytesOf(row.figures.free); }),
        number<FilesystemRow>("inodes", "inodes that there are; 0 where it has no such limit",
                              [](const FilesystemRow& row) -> Cell { return row.figures.inodes; }),
        number<FilesystemRow>("used_inodes", "inodes in use",
                              [](const FilesystemRow& row) -> Cell { return row.figures.usedInodes; }),
        flag<FilesystemRow>("scanned", "it was walked; otherwise its figures are those of the definition",
                            [](const FilesystemRow& row) -> Cell { return int64_t{row.figures.scanned}; }),
        seconds<FilesystemRow>(
            "scan_time", "when its walk began",
            [](const FilesystemRow& row) -> Cell { return secondsOf(row.figures.scanTime); }),
    }}};

template <int64_t SummaryFigures::*field>
Cell ofSummary(const StatisticRow& row) {
  return valueOrNone(row.summary, [](const SummaryFigures& summary) { return summary.*field; });
}

const ValuedTable<StatisticRow> STATISTIC{
    "statistic",
    "A statistic, once for each file system or monitored directory that it was made on.",
    Level::FILESYSTEM,
    {{
        number<StatisticRow>("statistic_number", "its place in the result, from 1",
                             [](const StatisticRow& row) -> Cell { return row.number; })
            .inKey(),
        [] {
          ValuedColumn<StatisticRow> column =
              number<StatisticRow>("filesystem_number", "the file system",
                                   [](const StatisticRow& row) -> Cell { return row.filesystem; });
          column.column.reference = true;
          return column;
        }(),
        number<StatisticRow>("statistic_id", "its id in the definition",
                             [](const StatisticRow& row) -> Cell { return row.figures.id; })
            .tellsApart(),
        name<StatisticRow>("statistic_name", "creator and name, joined by a dot; without both, its number",
                           [](const StatisticRow& row) -> Cell { return std::string_view(row.name); })
            .tellsApart(),
        name<StatisticRow>(
            "description", "free text",
            [](const StatisticRow& row) -> Cell { return std::string_view(row.figures.description); }),
        name<StatisticRow>("directory", "the monitored directory; none where it is the whole file system",
                           [](const StatisticRow& row) -> Cell {
                             return row.directory != nullptr ? Cell(std::string_view(*row.directory))
                                                             : Cell();
                           })
            .mayBeEmpty()
            .tellsApart(),
        number<StatisticRow>("files", "regular files and symbolic links; none where totals weren't asked for",
                             ofSummary<&SummaryFigures::files>)
            .mayBeEmpty(),
        number<StatisticRow>("directories", "directories; none like `files`",
                             ofSummary<&SummaryFigures::directories>)
            .mayBeEmpty(),
        number<StatisticRow>("bytes", "space of all entries; none like `files`",
                             [](const StatisticRow& row) -> Cell {
                               return valueOrNone(row.summary, [](const SummaryFigures& summary) {
                                 return bytesOf(summary.blocks);
                               });
                             })
            .mayBeEmpty(),
    }}};

using EntryRow = ListRow<EntryFigures>;
const EntryFigures& entryItself(const EntryRow& row) {
  return row.figures;
}
const ValuedTable<EntryRow> MONITORED_DIRECTORY{
    "monitored_directory",
    "A monitored directory that was met on a file system.",
    Level::FILESYSTEM,
    {ofFilesystem<EntryRow>(), placeInList<EntryRow>("its place in the result, from 1"),
     entryColumns<EntryRow, entryItself>()}};

template <int64_t IdentityFigures::*field>
Cell ofIdentity(const ListRow<IdentityFigures>& row) {
  return row.figures.*field;
}

using IdentityRow = ListRow<IdentityFigures>;
Columns<IdentityRow> identityColumns(const char* id, const char* idMeaning, const char* nameOfOne) {
  return {
      number<IdentityRow>(id, idMeaning,
                          [](const IdentityRow& row) -> Cell { return row.figures.identity.id; }),
      name<IdentityRow>(
          nameOfOne, "its name; the number of one that is gone",
          [](const IdentityRow& row) -> Cell { return std::string_view(row.figures.identity.name); }),
      flag<IdentityRow>("gone", "no database knows it any more",
                        [](const IdentityRow& row) -> Cell { return int64_t{row.figures.identity.gone}; }),
      filesOf<IdentityRow>(),
      number<IdentityRow>("directories", "directories", ofIdentity<&IdentityFigures::directories>),
      blocksOf<IdentityRow>("space of all entries"),
      number<IdentityRow>("largest_bytes", "space of the largest file",
                          [](const IdentityRow& row) -> Cell { return bytesOf(row.figures.largest); }),
  };
}
constexpr const char* BY_SPACE = "from 1, by space";
const ValuedTable<IdentityRow> OWNER{"owner",
                                     "What a user has.",
                                     Level::STATISTIC,
                                     {ofStatistic<IdentityRow>(), placeInList<IdentityRow>(BY_SPACE),
                                      identityColumns("owner_id", "the uid", "owner_name")}};
const ValuedTable<IdentityRow> OWNING_GROUP{"owning_group",
                                            "What a group has.",
                                            Level::STATISTIC,
                                            {ofStatistic<IdentityRow>(), placeInList<IdentityRow>(BY_SPACE),
                                             identityColumns("group_id", "the gid", "group_name")}};

using TypeRow = ListRow<TypeFigures>;
const ValuedTable<TypeRow> FILE_TYPE{
    "file_type",
    "What files with one extension have.",
    Level::STATISTIC,
    {ofStatistic<TypeRow>(),
     placeInList<TypeRow>(BY_SPACE),
     {
         name<TypeRow>("extension", "with its dot, in lower case",
                       [](const TypeRow& row) -> Cell { return std::string_view(row.figures.extension); }),
         number<TypeRow>("files", "files of the type",
                         [](const TypeRow& row) -> Cell { return row.figures.files; }),
         blocksOf<TypeRow>("their space"),
     }}};

Columns<ClassRow> classColumns(const char* label, const char* labelMeaning) {
  return {
      number<ClassRow>("class", "from 1", [](const ClassRow& row) -> Cell { return row.number; }).inKey(),
      text<ClassRow>(label, labelMeaning,
                     [](const ClassRow& row) -> Cell { return std::string_view(row.label); }),
      number<ClassRow>("entries", "how many those are",
                       [](const ClassRow& row) -> Cell { return row.entries; }),
      number<ClassRow>("bytes", "their space",
                       [](const ClassRow& row) -> Cell { return bytesOf(row.blocks); }),
  };
}
const ValuedTable<ClassRow> SIZE_CLASS{
    "size_class",
    "Entries of one class of sizes.",
    Level::STATISTIC,
    {ofStatistic<ClassRow>(), classColumns("size", "such as `1 KiB to 10 KiB`")}};

constexpr const char* SINCE_MEANING = "the time that ages go by: `last use`, `last change`";
const ValuedTable<AgeRow> AGE{
    "age",
    "How old entries are on average.",
    Level::STATISTIC,
    {ofStatistic<AgeRow>(),
     {
         text<AgeRow>("since", SINCE_MEANING,
                      [](const AgeRow& row) -> Cell { return std::string_view(row.figures.time()); })
             .inKey(),
         number<AgeRow>("average_seconds", "time that has passed since",
                        [](const AgeRow& row) -> Cell { return row.figures.averageAge; }),
     }}};
const ValuedTable<ClassRow> AGE_CLASS{
    "age_class",
    "Entries of one class of ages.",
    Level::STATISTIC,
    {ofStatistic<ClassRow>(),
     {text<ClassRow>("since", SINCE_MEANING,
                     [](const ClassRow& row) -> Cell { return std::string_view(row.since); })
          .inKey()},
     classColumns("age", "such as `1 to 7 days`")}};

using DirectoryRow = ListRow<DirectoryFigures>;
const EntryFigures& entryOfDirectory(const DirectoryRow& row) {
  return row.figures.entry;
}
const ValuedTable<DirectoryRow> DIRECTORY{
    "directory",
    "A directory with much space.",
    Level::STATISTIC,
    {ofStatistic<DirectoryRow>(),
     placeInList<DirectoryRow>(BY_SPACE),
     {
         blocksOf<DirectoryRow>("space of what lies directly in it"),
         number<DirectoryRow>("files", "regular files and symbolic links directly in it",
                              [](const DirectoryRow& row) -> Cell { return row.figures.files; }),
         number<DirectoryRow>("directories", "directories directly in it",
                              [](const DirectoryRow& row) -> Cell { return row.figures.directories; }),
     },
     entryColumns<DirectoryRow, entryOfDirectory>()}};

const EntryFigures& entryOfFile(const FileRow& row) {
  return row.figures;
}
const ValuedTable<FileRow> FILE_TABLE{
    "file",
    "A file of one of a statistic's lists. A file may stand in several.",
    Level::STATISTIC,
    {ofStatistic<FileRow>(),
     {text<FileRow>(
          "list",
          "`largest`, `least used`, `wants backup`, or, of files whose owner is gone, `largest orphan` "
          "and `oldest orphan`",
          [](const FileRow& row) -> Cell { return std::string_view(row.list); })
          .inKey()},
     placeInList<FileRow>("from 1, by what the list goes by"),
     {blocksOf<FileRow>("its space")},
     entryColumns<FileRow, entryOfFile>()}};

// By SFile::LARGEST and its like.
constexpr std::array<const char*, 5> LISTS = {"largest", "least used", "wants backup", "largest orphan",
                                              "oldest orphan"};

// Rows
// ---------------------------------------------------------------------------------------------------

template <typename Figures>
void writeList(TableSink& sink, const ValuedTable<ListRow<Figures>>& table, int64_t parent,
               const std::vector<Figures>& list) {
  int64_t place = 0;
  for (const Figures& one : list) table.write(sink, {parent, ++place, one});
}

void writeClasses(TableSink& sink, const ValuedTable<ClassRow>& table, ClassRow row,
                  std::span<const char* const> labels, const Histogram& histogram) {
  for (size_t i = 0; i < labels.size(); ++i) {
    row.number = static_cast<int64_t>(i + 1);
    row.label = labels[i];
    row.entries = histogram.counts[i];
    row.blocks = histogram.blocks[i];
    table.write(sink, row);
  }
}

void writeSource(TableSink& sink, int64_t statistic, const SourceFigures& found) {
  writeList(sink, OWNER, statistic, found.users);
  writeList(sink, OWNING_GROUP, statistic, found.groups);
  writeList(sink, FILE_TYPE, statistic, found.types);
  writeList(sink, DIRECTORY, statistic, found.directories);
  if (found.sizes) {
    writeClasses(sink, SIZE_CLASS, {statistic, "", 0, "", 0, 0}, SIZE_CLASSES, *found.sizes);
  }
  for (const AgeFigures& age : found.ages) {
    AGE.write(sink, {statistic, age});
    writeClasses(sink, AGE_CLASS, {statistic, age.time(), 0, "", 0, 0}, AGE_CLASSES, age.ages);
  }
  for (const FileList& list : found.fileLists) {
    int64_t place = 0;
    for (const EntryFigures& file : list.files) {
      FILE_TABLE.write(sink, {statistic, ++place, LISTS.at(static_cast<size_t>(list.type)), file});
    }
  }
}

}  // namespace

const char* nameOf(ColumnKind kind) {
  switch (kind) {
    case ColumnKind::NUMBER:
      return "number";
    case ColumnKind::FLAG:
      return "flag";
    case ColumnKind::SECONDS:
      return "time";
    case ColumnKind::TEXT:
      return "text";
    default:
      return "name";
  }
}

const ResultTable& ResultTable::parent() const {
  return level == Level::RUN          ? static_cast<const ResultTable&>(RUN)
         : level == Level::FILESYSTEM ? static_cast<const ResultTable&>(FILESYSTEM)
                                      : STATISTIC;
}

std::span<const ResultTable* const> resultTables() {
  static const std::array<const ResultTable*, 12> TABLES = {
      &RUN,        &FILESYSTEM, &STATISTIC, &MONITORED_DIRECTORY, &OWNER,      &OWNING_GROUP,
      &SIZE_CLASS, &AGE,        &AGE_CLASS, &DIRECTORY,           &FILE_TABLE, &FILE_TYPE};
  return TABLES;
}

const ResultTable* resultTableNamed(std::string_view name) {
  const auto tables = resultTables();
  const auto found = std::find_if(tables.begin(), tables.end(),
                                  [name](const ResultTable* table) { return table->name == name; });
  return found != tables.end() ? *found : nullptr;
}

void writeTables(const RunFigures& run, const Figures& figures, TableSink& sink) {
  RUN.write(sink, {run, beginOf(figures)});
  int64_t filesystemNumber = 0;
  int64_t statisticNumber = 0;
  for (const FilesystemFigures& filesystem : figures.filesystems) {
    FILESYSTEM.write(sink, {++filesystemNumber, filesystem});
    writeList(sink, MONITORED_DIRECTORY, filesystemNumber, filesystem.monitored);
    for (const StatisticFigures& statistic : filesystem.statistics) {
      const std::string name = statistic.displayName();
      const auto write = [&](const std::string* directory, const SourceFigures& found) {
        STATISTIC.write(sink,
                        {++statisticNumber, filesystemNumber, statistic, name, directory, found.summary});
        writeSource(sink, statisticNumber, found);
      };
      if (statistic.onFilesystem) write(nullptr, *statistic.onFilesystem);
      for (const MonitoredFigures& monitored : statistic.inDirectories) {
        write(&monitored.directory.path, monitored.found);
      }
    }
  }
}

int64_t bytesOf(int64_t blocks) {
  constexpr int64_t BLOCK = 512;
  using Limits = std::numeric_limits<int64_t>;
  return std::clamp(blocks, Limits::min() / BLOCK, Limits::max() / BLOCK) == blocks ? blocks * BLOCK
         : blocks < 0                                                               ? Limits::min()
                                                                                    : Limits::max();
}

int64_t secondsOf(int64_t milliseconds) {
  return milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
}

int64_t beginOf(const Figures& figures) {
  std::optional<int64_t> walked, any;
  for (const FilesystemFigures& filesystem : figures.filesystems) {
    any = std::min(any.value_or(filesystem.scanTime), filesystem.scanTime);
    if (filesystem.scanned) walked = std::min(walked.value_or(filesystem.scanTime), filesystem.scanTime);
  }
  return walked.value_or(any.value_or(0));
}

}  // namespace agent::tools
