#include "store/ResultDatabase.h"

#include <map>
#include <vector>

#include "Common/SafeText.h"

namespace agent::tools {

namespace {

constexpr int PATIENCE = 60'000;  // milliseconds that others may write

// What PRAGMA application_id says of our databases: "scan".
constexpr int64_t APPLICATION_ID = 0x7363616E;

/// A column as the database has it.
std::string declaration(const StoredColumn& column) {
  const char* const type = column.kind == StoredColumn::Kind::NUMBER ? " INTEGER"
                           : column.kind == StoredColumn::Kind::TEXT ? " TEXT"
                                                                     : " BLOB";
  return column.name + type + (column.mayBeEmpty || column.since > 1 ? "" : " NOT NULL");
}

/// What stands in front of the columns of the result: which run a row is of.
std::vector<std::string> runColumns(const ResultTable& table) {
  if (isRun(table)) return {"run_id"};
  return {"run_id", "run_time"};
}

/// "run_id, a, b"
std::string withRun(std::vector<std::string> names) {
  names.insert(names.begin(), "run_id");
  return commaSeparated(names);
}

/// A table as this version has it.
std::string creation(const ResultTable& table) {
  std::string text = "CREATE TABLE " + std::string(table.name) + " (";
  for (const std::string& name : runColumns(table))
    text += "\n  " + name + (isRun(table) ? " INTEGER PRIMARY KEY," : " INTEGER NOT NULL,");
  for (const StoredColumn& column : storedColumns(table)) text += "\n  " + declaration(column) + ",";
  if (isRun(table))
    return text + "\n  UNIQUE (" + commaSeparated(keyColumns(table)) + "),\n  UNIQUE (host, checksum)\n);\n";
  const std::string parentKey = withRun(referenceColumns(table));
  return text + "\n  PRIMARY KEY (" + withRun(keyColumns(table)) + "),\n  FOREIGN KEY (" + parentKey +
         ") REFERENCES " + table.parent().name + " (" + parentKey + ") ON DELETE CASCADE\n) WITHOUT ROWID;\n";
}

std::string insertion(const ResultTable& table) {
  std::vector<std::string> names = runColumns(table);
  for (const StoredColumn& column : storedColumns(table)) names.push_back(column.name);
  const std::vector<std::string> values(names.size(), "?");
  return "INSERT INTO " + std::string(table.name) + " (" + commaSeparated(names) + ") VALUES (" +
         commaSeparated(values) + ")";
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
    const std::vector<StoredCell> stored = storedCells(table, cells);  // which live until it is carried out
    for (const StoredCell& cell : stored) bindCell(statement, cell);
    statement.run();
    if (isRun(table)) {
      run_ = database_.lastId();
      runTime_ = std::get<int64_t>(cells.front());
    }
  }

 private:
  static void bindCell(SqliteStatement& statement, const StoredCell& cell) {
    switch (cell.kind) {
      case StoredCell::Kind::NONE:
        statement.bindNull();
        break;
      case StoredCell::Kind::NUMBER:
        statement.bindNumber(cell.number);
        break;
      case StoredCell::Kind::TEXT:
        statement.bindText(cell.bytes);
        break;
      case StoredCell::Kind::BYTES:
        statement.bindBlob(cell.bytes);
        break;
    }
  }

  const SqliteDatabase& database_;
  std::map<const ResultTable*, SqliteStatement> statements_;
  int64_t run_ = 0;
  int64_t runTime_ = 0;
};

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

LoadOutcome ResultDatabase::load(const RunFigures& run, const Figures& figures) {
  try {
    SqliteTransaction whole(database_);
    if (hasContent(database_, run)) return LoadOutcome::THERE_ALREADY;
    if (hasRun(database_, run, figures)) {
      throw DatabaseError("this run is there already, with other content");
    }
    Insertion insertion(database_);
    writeTables(run, figures, insertion);
    whole.commit();
    return LoadOutcome::LOADED;
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
    for (const StoredColumn& column : storedColumns(*table)) {
      if (column.since <= version) continue;
      database.execute("ALTER TABLE " + std::string(table->name) + " ADD COLUMN " + declaration(column));
    }
  }
  const int newest = newestOf(tables);
  database.execute("PRAGMA user_version = " + std::to_string(newest));
  return newest;
}

}  // namespace agent::tools
