#include "store/Sqlite.h"

#include <sqlite3.h>

#include "Common/unix/psmsgutil.h"

namespace agent::tools {

namespace {

void check(sqlite3* database, int result) {
  if (result != SQLITE_OK) throw SqliteError(sqlite3_errmsg(database));
}

}  // namespace

SqliteStatement::SqliteStatement(sqlite3* database, std::string_view sql) : database_(database) {
  sqlite3_stmt* statement = nullptr;
  check(sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement, nullptr));
  statement_.reset(statement);
}

SqliteStatement& SqliteStatement::bindNumber(int64_t number) {
  check(sqlite3_bind_int64(statement_.get(), ++bound_, number));
  return *this;
}

SqliteStatement& SqliteStatement::bindText(std::string_view utf8) {
  check(
      sqlite3_bind_text64(statement_.get(), ++bound_, utf8.data(), utf8.size(), SQLITE_STATIC, SQLITE_UTF8));
  return *this;
}

SqliteStatement& SqliteStatement::bindBlob(std::string_view bytes) {
  check(sqlite3_bind_blob64(statement_.get(), ++bound_, bytes.data(), bytes.size(), SQLITE_STATIC));
  return *this;
}

SqliteStatement& SqliteStatement::bindNull() {
  check(sqlite3_bind_null(statement_.get(), ++bound_));
  return *this;
}

bool SqliteStatement::next() {
  const int result = sqlite3_step(statement_.get());
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) {
    const SqliteError error(sqlite3_errmsg(database_));
    reset();
    throw error;
  }
  reset();
  return false;
}

void SqliteStatement::run() {
  while (next()) {
  }
}

void SqliteStatement::reset() {
  sqlite3_reset(statement_.get());  // it tells the last step's failure again
  bound_ = 0;
}

int64_t SqliteStatement::number(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string SqliteStatement::text(int column) const {
  const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return bytes != nullptr ? std::string(bytes, static_cast<size_t>(size)) : std::string();
}

int SqliteStatement::columns() const {
  return sqlite3_column_count(statement_.get());
}

void SqliteStatement::check(int result) const {
  tools::check(database_, result);
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

SqliteDatabase::SqliteDatabase(const std::string& path, int milliseconds) {
  // Names such as ":memory:" mean something else than a file.
  const std::string file = path.starts_with('/') ? path : "./" + path;
  sqlite3* database = nullptr;
  const int result =
      sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  database_.reset(database);
  if (database == nullptr) throw SqliteError(sqlite3_errstr(result));
  if (const int error = sqlite3_system_errno(database); result != SQLITE_OK && error != 0) {
    throw SqliteError(std::string(sqlite3_errmsg(database)) + ": " + getSystemErrorMessage(error));
  }
  check(database, result);
  check(database, sqlite3_busy_timeout(database, milliseconds));
  // A database may have been made by somebody whom its user shouldn't trust.
  execute("PRAGMA foreign_keys = ON; PRAGMA trusted_schema = OFF");
}

void SqliteDatabase::execute(const std::string& sql) const {
  check(database_.get(), sqlite3_exec(database_.get(), sql.c_str(), nullptr, nullptr, nullptr));
}

int64_t SqliteDatabase::number(std::string_view sql) const {
  SqliteStatement asked = statement(sql);
  return asked.next() ? asked.number(0) : 0;
}

int64_t SqliteDatabase::lastId() const {
  return sqlite3_last_insert_rowid(database_.get());
}

void SqliteDatabase::Close::operator()(sqlite3* database) const {
  sqlite3_close(database);
}

SqliteTransaction::~SqliteTransaction() {
  if (!open_) return;
  try {
    database_.execute("ROLLBACK");
  } catch (const SqliteError&) {  // NOLINT(bugprone-empty-catch): the failure before it has rolled back
  }
}

void SqliteTransaction::commit() {
  database_.execute("COMMIT");
  open_ = false;
}

}  // namespace agent::tools
