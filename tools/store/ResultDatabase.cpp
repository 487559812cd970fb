#include "store/ResultDatabase.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

#include "Common/SafeText.h"

namespace agent::tools {

namespace {

constexpr int PATIENCE = 60'000;  // milliseconds that others may write

// What PRAGMA application_id says of our databases: "scan".
constexpr int64_t APPLICATION_ID = 0x7363616E;

bool isRun(const ResultTable& table) {
  return &table.parent() == &table;
}

/// The columns of a table as the database has them, first those that say which run a row is of.
struct SqlColumn {
  std::string name;
  const char* type;
  bool mayBeEmpty;
  int since;

  std::string text() const { return name + " " + type + (mayBeEmpty || since > 1 ? "" : " NOT NULL"); }
};

std::vector<SqlColumn> sqlColumns(const ResultTable& table) {
  std::vector<SqlColumn> columns;
  if (isRun(table)) {
    columns.push_back({"run_id", "INTEGER PRIMARY KEY", true, 1});
  } else {
    columns.push_back({"run_id", "INTEGER", false, 1});
    columns.push_back({"run_time", "INTEGER", false, 1});
  }
  for (const TableColumn& column : table.columns) {
    const bool isText = column.kind == ColumnKind::TEXT || column.kind == ColumnKind::NAME;
    columns.push_back({column.name, isText ? "TEXT" : "INTEGER", column.mayBeEmpty, column.since});
    if (column.kind == ColumnKind::NAME) {
      columns.push_back({std::string(column.name) + "_bytes", "BLOB", true, column.since});
    }
  }
  return columns;
}

/// "a, b, c" of some of a table's own columns.
template <typename Choose>
std::string columnList(const ResultTable& table, Choose choose, const std::string& begin = "") {
  std::string list = begin;
  for (const TableColumn& column : table.columns) {
    if (choose(column)) list += (list.empty() ? "" : ", ") + std::string(column.name);
  }
  return list;
}

std::string keyOf(const ResultTable& table) {
  return columnList(
      table, [](const TableColumn& column) { return column.inKey; }, isRun(table) ? "" : "run_id");
}

/// A table as this version has it.
std::string creation(const ResultTable& table) {
  std::string text = "CREATE TABLE " + std::string(table.name) + " (";
  for (const SqlColumn& column : sqlColumns(table)) text += "\n  " + column.text() + ",";
  if (isRun(table)) {
    return text + "\n  UNIQUE (" + keyOf(table) + "),\n  UNIQUE (host, checksum)\n);\n";
  }
  const std::string parentKey = columnList(
      table, [](const TableColumn& column) { return column.reference; }, "run_id");
  return text + "\n  PRIMARY KEY (" + keyOf(table) + "),\n  FOREIGN KEY (" + parentKey + ") REFERENCES " +
         table.parent().name + " (" + parentKey + ") ON DELETE CASCADE\n) WITHOUT ROWID;\n";
}

std::string insertion(const ResultTable& table) {
  std::string names, values;
  for (const SqlColumn& column : sqlColumns(table)) {
    names += (names.empty() ? "" : ", ") + column.name;
    values += values.empty() ? "?" : ", ?";
  }
  return "INSERT INTO " + std::string(table.name) + " (" + names + ") VALUES (" + values + ")";
}

/// Inserts rows, those of the run first.
class Insertion : public TableSink {
 public:
  explicit Insertion(const SqliteDatabase& database) : database_(database) {
    for (const ResultTable* table : resultTables()) {
      statements_.emplace(table, database.statement(insertion(*table)));
    }
  }

  void row(const ResultTable& table, std::span<const Cell> cells) override {
    SqliteStatement& statement = statements_.at(&table);
    if (isRun(table)) {
      statement.bindNull();  // SQLite chooses
    } else {
      statement.bindNumber(run_).bindNumber(runTime_);
    }
    // What is bound has to live until the statement is carried out.
    texts_.clear();
    texts_.reserve(cells.size());
    for (size_t i = 0; i < cells.size(); ++i) bindCell(statement, table.columns[i], cells[i]);
    statement.run();
    if (isRun(table)) {
      run_ = database_.lastId();
      runTime_ = std::get<int64_t>(cells.front());
    }
  }

 private:
  void bindCell(SqliteStatement& statement, const TableColumn& column, const Cell& cell) {
    const auto* const bytes = std::get_if<std::string_view>(&cell);
    if (bytes != nullptr) {
      const std::string& shown = texts_.emplace_back(safeText(*bytes));
      statement.bindText(shown);
      if (column.kind != ColumnKind::NAME) return;
      if (shown != *bytes) {
        statement.bindBlob(*bytes);
      } else {
        statement.bindNull();
      }
      return;
    }
    if (const auto* const number = std::get_if<int64_t>(&cell)) {
      statement.bindNumber(*number);
      return;
    }
    statement.bindNull();
    if (column.kind == ColumnKind::NAME) statement.bindNull();
  }

  const SqliteDatabase& database_;
  std::map<const ResultTable*, SqliteStatement> statements_;
  std::vector<std::string> texts_;
  int64_t run_ = 0;
  int64_t runTime_ = 0;
};

/// The newest version that tables tell of.
int newestOf(std::span<const ResultTable* const> tables) {
  int newest = 1;
  for (const ResultTable* table : tables) {
    newest = std::max(newest, table->since);
    for (const TableColumn& column : table->columns) newest = std::max(newest, column.since);
  }
  return newest;
}

/// Whether there is a run of the name at the time.
bool hasRun(const SqliteDatabase& database, const RunFigures& run, const Figures& figures) {
  const std::string host = safeText(run.host), job = safeText(run.name.job);
  SqliteStatement same = database.statement(
      "SELECT 1 FROM run WHERE host = ? AND job = ? AND schedule = ? AND run_number = ? AND run_time = ?");
  same.bindText(host).bindText(job).bindNumber(run.name.schedule).bindNumber(run.name.number);
  return same.bindNumber(secondsOf(beginOf(figures))).next();
}

bool hasContent(const SqliteDatabase& database, const RunFigures& run) {
  const std::string host = safeText(run.host);
  SqliteStatement same = database.statement("SELECT 1 FROM run WHERE host = ? AND checksum = ?");
  return same.bindText(host).bindText(run.checksum).next();
}

}  // namespace

ResultDatabase::ResultDatabase(const std::string& path) try : database_(path, PATIENCE) {
  // Under the lock of writers: two may make it at once.
  SqliteTransaction whole(database_);
  const int64_t version = database_.number("PRAGMA user_version");
  const int newest = newestOf(resultTables());
  const bool isEmpty = version == 0 && database_.number("SELECT count(*) FROM sqlite_master") == 0;
  if (!isEmpty && database_.number("PRAGMA application_id") != APPLICATION_ID) {
    throw DatabaseError("it is another program's");
  }
  if (version > newest) {
    throw DatabaseError("it has version " + std::to_string(version) +
                        " of the schema, and this scanreport knows those up to " + std::to_string(newest));
  }
  if (version == newest) return;
  upgradeSchema(database_, resultTables(), static_cast<int>(version));
  database_.execute("PRAGMA application_id = " + std::to_string(APPLICATION_ID));
  whole.commit();
} catch (const SqliteError& error) {
  throw DatabaseError(error.what());
}

ResultDatabase::Outcome ResultDatabase::load(const RunFigures& run, const Figures& figures) {
  try {
    SqliteTransaction whole(database_);
    if (hasContent(database_, run)) return Outcome::THERE_ALREADY;
    if (hasRun(database_, run, figures)) {
      throw DatabaseError("this run is there already, with other content");
    }
    Insertion insertion(database_);
    writeTables(run, figures, insertion);
    whole.commit();
    return Outcome::LOADED;
  } catch (const SqliteError& error) {
    throw DatabaseError(error.what());
  }
}

int upgradeSchema(const SqliteDatabase& database, std::span<const ResultTable* const> tables, int version) {
  for (const ResultTable* table : tables) {
    if (table->since > version) {
      database.execute(creation(*table));
      continue;
    }
    for (const SqlColumn& column : sqlColumns(*table)) {
      if (column.since <= version) continue;
      database.execute("ALTER TABLE " + std::string(table->name) + " ADD COLUMN " + column.text());
    }
  }
  const int newest = newestOf(tables);
  database.execute("PRAGMA user_version = " + std::to_string(newest));
  return newest;
}

}  // namespace agent::tools
