#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Common/SafeText.h"
#include "store/FleetDatabase.h"
#include "store/FleetViews.h"
#include "store/Postgres.h"

namespace agent::tools {

namespace {

// Whoever changes tables takes it alone, whoever loads takes it with others: so neither waits for what the
// other has locked. The number, which the views' make_month() has too, is "scan".
constexpr const char* SCHEMA_LOCK = "SELECT pg_advisory_xact_lock(1935892846)";
constexpr const char* LOADING_LOCK = "SELECT pg_advisory_xact_lock_shared(1935892846)";

std::string qualified(const ResultTable& table) {
  return std::string("scan.") + table.name;
}

/// A column as the database has it.
std::string declaration(const StoredColumn& column) {
  const char* const type = column.kind == StoredColumn::Kind::NUMBER ? " bigint"
                           : column.kind == StoredColumn::Kind::TEXT ? " text"
                                                                     : " bytea";
  return column.name + type + (column.mayBeEmpty || column.since > 1 ? "" : " NOT NULL");
}

/// "run_id, a, b, run_time": a key of a table that is divided by time has the time in it.
std::string withRun(std::vector<std::string> names) {
  names.insert(names.begin(), "run_id");
  names.emplace_back("run_time");
  return commaSeparated(names);
}

/// A table as this version has it. Rows refer to their run alone: a foreign key to another divided table
/// would be looked up for each row, and one transaction has brought both. They do so by its time too, or a
/// run that is deleted would be looked for in all months.
std::string creation(const ResultTable& table) {
  std::string columns;
  for (const StoredColumn& column : storedColumns(table)) columns += ",\n  " + declaration(column);
  if (isRun(table)) {
    return "CREATE TABLE scan.run (\n  run_id bigint GENERATED ALWAYS AS IDENTITY" + columns +
           ",\n  PRIMARY KEY (run_id, run_time),\n  UNIQUE (host, job, schedule, run_time, run_number),\n  "
           "UNIQUE (host, checksum)\n);\n"
           "CREATE INDEX run_by_time ON scan.run (run_time);\n";
  }
  return "CREATE TABLE " + qualified(table) + " (\n  run_id bigint NOT NULL,\n  run_time bigint NOT NULL" +
         columns + ",\n  PRIMARY KEY (" + withRun(keyColumns(table)) +
         "),\n  FOREIGN KEY (run_id, run_time) REFERENCES scan.run ON DELETE CASCADE\n) PARTITION BY RANGE "
         "(run_time);\n";
}

/// What a schema of an older version lacks.
std::string upgrade(std::span<const ResultTable* const> tables, int version) {
  std::string sql;
  for (const ResultTable* table : tables) {
    if (table->since > version) {
      sql += creation(*table);
      continue;
    }
    for (const StoredColumn& column : storedColumns(*table)) {
      if (column.since > version)
        sql += "ALTER TABLE " + qualified(*table) + " ADD COLUMN " + declaration(column) + ";\n";
    }
  }
  return sql;
}

/// Bytes as the text of a bytea: \\x and hexadecimal digits.
std::string hexadecimal(std::string_view bytes) {
  constexpr const char* DIGITS = "0123456789abcdef";
  std::string text = "\\x";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += DIGITS[byte >> 4];
    text += DIGITS[byte & 0xF];
  }
  return text;
}

/// A value as text; none for no value.
std::optional<std::string> textOf(const StoredCell& cell) {
  switch (cell.kind) {
    case StoredCell::Kind::NUMBER:
      return std::to_string(cell.number);
    case StoredCell::Kind::TEXT:
      return cell.bytes;
    case StoredCell::Kind::BYTES:
      return hexadecimal(cell.bytes);
    case StoredCell::Kind::NONE:
      break;
  }
  return std::nullopt;
}

/// A row in the text format of COPY.
void appendRow(std::string& rows, const std::vector<StoredCell>& cells) {
  for (size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) rows += '\t';
    const std::optional<std::string> text = textOf(cells[i]);
    if (!text) rows += "\\N";
    for (const char c : text.value_or("")) {  // no line end or tab stands in a safe text
      if (c == '\\') rows += c;
      rows += c;
    }
  }
  rows += '\n';
}

/// Gathers the rows of a result, table by table, as COPY takes them; that of the run by itself.
class Gathering : public TableSink {
 public:
  void row(const ResultTable& table, std::span<const Cell> cells) override {
    std::vector<StoredCell> stored = storedCells(table, cells);
    if (isRun(table)) {
      runTime_ = std::get<int64_t>(cells.front());
      run_ = std::move(stored);
      return;
    }
    appendRow(rows_[&table], stored);
  }

  int64_t runTime() const { return runTime_; }
  const std::vector<StoredCell>& run() const { return run_; }
  const std::map<const ResultTable*, std::string>& rows() const { return rows_; }

 private:
  std::vector<StoredCell> run_;
  int64_t runTime_ = 0;
  std::map<const ResultTable*, std::string> rows_;
};

/// Rows with what stands in front of each.
std::string withFront(const std::string& rows, const std::string& front) {
  std::string all;
  all.reserve(rows.size() + rows.size() / 8);
  for (size_t at = 0; at < rows.size();) {
    const size_t end = rows.find('\n', at) + 1;
    all.append(front).append(rows, at, end - at);
    at = end;
  }
  return all;
}

class PostgresFleetDatabase : public FleetDatabase {
 public:
  explicit PostgresFleetDatabase(const std::string& connection) : database_(connection) { prepare(); }

  LoadOutcome load(const RunFigures& run, const Figures& figures) override;

 private:
  void prepare();
  void makeSchema(int version);
  bool hasContent(const RunFigures& run) const;
  void makeMonth(int64_t runTime);
  std::optional<std::string> insertRun(const Gathering& gathering) const;

  PostgresDatabase database_;
};

/// What a schema says of itself.
struct SchemaVersion {
  int tables = 0;
  int views = 0;
  bool isOurs = true;  ///< this user may change it
};

/// @return none where there is no such schema
std::optional<SchemaVersion> versionOf(const PostgresDatabase& database) {
  if (!database.query("SELECT to_regclass('scan.version')").cell(0, 0)) return std::nullopt;
  const PostgresRows rows = database.query(
      "SELECT tables, views, pg_has_role(nspowner, 'USAGE')::integer FROM scan.version, pg_namespace "
      "WHERE nspname = 'scan'");
  if (rows.rows() != 1) throw UnusableDatabaseError("its schema \"scan\" is another program's");
  const auto number = [&rows](int column) { return std::stoi(rows.cell(0, column).value_or("0")); };
  return SchemaVersion{number(0), number(1), number(2) != 0};
}

/// Newer views stay, and so do older ones where this user may only load.
bool isCurrent(const std::optional<SchemaVersion>& version) {
  return version && version->tables == newestOf(resultTables()) &&
         (version->views >= FLEET_VIEWS_VERSION || !version->isOurs);
}

void PostgresFleetDatabase::prepare() {
  if (isCurrent(versionOf(database_))) return;
  PostgresTransaction whole(database_);
  database_.execute(SCHEMA_LOCK);
  const std::optional<SchemaVersion> version = versionOf(database_);  // another may have made it meanwhile
  if (isCurrent(version)) return;
  makeSchema(version ? version->tables : 0);
  whole.commit();
}

/// @param version of the tables that are there; 0: none
void PostgresFleetDatabase::makeSchema(int version) {
  const int newest = newestOf(resultTables());
  if (version > newest) {
    throw UnusableDatabaseError("it has version " + std::to_string(version) +
                                " of the schema, and this scanreport knows those up to " +
                                std::to_string(newest));
  }
  if (database_.query("SHOW server_encoding").cell(0, 0) != "UTF8")
    throw UnusableDatabaseError("its encoding has to be UTF8");
  if (version == 0) {
    if (database_.query("SELECT 1 FROM pg_namespace WHERE nspname = 'scan'").rows() > 0)
      throw UnusableDatabaseError("its schema \"scan\" is another program's");
    database_.execute(
        "CREATE SCHEMA scan; CREATE TABLE scan.version (tables integer NOT NULL, views integer NOT NULL);"
        "INSERT INTO scan.version VALUES (0, 0)");
  }
  if (const std::string lacking = upgrade(resultTables(), version); !lacking.empty())
    database_.execute(lacking);
  database_.execute(FLEET_VIEWS);
  database_.execute("UPDATE scan.version SET tables = " + std::to_string(newest) +
                    ", views = " + std::to_string(FLEET_VIEWS_VERSION));
}

bool PostgresFleetDatabase::hasContent(const RunFigures& run) const {
  return database_
             .query("SELECT 1 FROM scan.run WHERE host = $1 AND checksum = $2",
                    {safeText(run.host), run.checksum})
             .rows() > 0;
}

/// "2026_11", in UTC, as the names of a month's tables end.
std::string monthOf(int64_t seconds) {
  constexpr int64_t LAST = 253'402'300'799;  // second of the year 9999
  const time_t time = seconds;
  struct tm parts = {};
  if (seconds < 0 || seconds > LAST || ::gmtime_r(&time, &parts) == nullptr)
    throw DatabaseError("its time is none between the years 1970 and 9999");
  return std::to_string(parts.tm_year + 1900) + (parts.tm_mon < 9 ? "_0" : "_") +
         std::to_string(parts.tm_mon + 1);
}

/// By a transaction of its own, which ends before anything is loaded: making a table of a month takes a lock
/// that keeps all others waiting.
void PostgresFleetDatabase::makeMonth(int64_t runTime) {
  const std::string last = "scan." + std::string(resultTables().back()->name) + "_" + monthOf(runTime);
  if (database_.query("SELECT to_regclass($1)", {last}).cell(0, 0)) return;
  PostgresTransaction whole(database_);
  database_.query("SELECT scan.make_month($1::bigint)", {std::to_string(runTime)});
  whole.commit();
}

/// @return its number; none where such a run is there
std::optional<std::string> PostgresFleetDatabase::insertRun(const Gathering& gathering) const {
  const ResultTable& table = *resultTables().front();
  std::vector<std::string> names, values, parameters;
  const std::vector<StoredColumn> columns = storedColumns(table);
  for (size_t i = 0; i < columns.size(); ++i) {
    const std::optional<std::string> text = textOf(gathering.run()[i]);
    if (!text) continue;
    constexpr const char* TYPES[] = {"::bigint", "::text", "::bytea"};  // as StoredColumn::Kind has them
    names.push_back(columns[i].name);
    parameters.push_back(*text);
    values.push_back("$" + std::to_string(parameters.size()) + TYPES[static_cast<size_t>(columns[i].kind)]);
  }
  const PostgresRows rows =
      database_.query("INSERT INTO scan.run (" + commaSeparated(names) + ") VALUES (" +
                          commaSeparated(values) + ") ON CONFLICT DO NOTHING RETURNING run_id",
                      parameters);
  return rows.rows() > 0 ? rows.cell(0, 0) : std::nullopt;
}

LoadOutcome PostgresFleetDatabase::load(const RunFigures& run, const Figures& figures) try {
  if (hasContent(run)) return LoadOutcome::THERE_ALREADY;
  Gathering gathering;
  writeTables(run, figures, gathering);
  makeMonth(gathering.runTime());
  PostgresTransaction whole(database_);
  database_.execute(LOADING_LOCK);
  const std::optional<std::string> number = insertRun(gathering);
  if (!number) {  // somebody else was faster, and has ended
    if (hasContent(run)) return LoadOutcome::THERE_ALREADY;
    throw DatabaseError("this run is there already, with other content");
  }
  const std::string front = *number + "\t" + std::to_string(gathering.runTime()) + "\t";
  for (const auto& [table, rows] : gathering.rows()) {
    std::vector<std::string> names = {"run_id", "run_time"};
    for (const StoredColumn& column : storedColumns(*table)) names.push_back(column.name);
    database_.copy(qualified(*table), commaSeparated(names), withFront(rows, front));
  }
  whole.commit();
  return LoadOutcome::LOADED;
} catch (const PostgresError& error) {
  if (error.kind() == PostgresError::Kind::AWAY) throw ServerAwayError(error.what());
  if (error.kind() == PostgresError::Kind::UNUSABLE) throw UnusableDatabaseError(error.what());
  throw DatabaseError(error.what());
}

}  // namespace

std::string whyNoConnection(const std::string& connection) {
  try {
    checkConnectionString(connection);
    return {};
  } catch (const ConnectionStringError& error) {
    return error.what();
  }
}

std::unique_ptr<FleetDatabase> openFleetDatabase(const std::string& connection) try {
  return std::make_unique<PostgresFleetDatabase>(connection);
} catch (const PostgresError& error) {
  if (error.kind() == PostgresError::Kind::AWAY) throw ServerAwayError(error.what());
  throw UnusableDatabaseError(std::string("its schema can't be made: ") + error.what());
}

}  // namespace agent::tools
