#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

// The handles of SQLite. Whatever fails is thrown, with SQLite's own reason.

namespace agent::tools {

class SqliteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A statement, compiled once, carried out as often as one likes.
class SqliteStatement {
 public:
  SqliteStatement(sqlite3* database, std::string_view sql);

  /// Gives the next parameter its value, from the first on after each end. Bytes must live until the next
  /// step.
  SqliteStatement& bindNumber(int64_t number);
  SqliteStatement& bindText(std::string_view utf8);
  SqliteStatement& bindBlob(std::string_view bytes);
  SqliteStatement& bindNull();

  /// Goes on to the next row. At the end the statement is ready for another round of values.
  /// @return false at the end
  bool next();
  /// Carries out what has no rows.
  void run();
  /// Ends a round in front of its end.
  void reset();

  // Of the row, columns from 0.
  int64_t number(int column) const;
  std::string text(int column) const;  ///< of a blob its bytes; empty where there is no value

  int columns() const;

 private:
  void check(int result) const;

  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
  int bound_ = 0;
};

/// An open database.
class SqliteDatabase {
 public:
  /// Opens it; a file that isn't there is made. Foreign keys are minded.
  /// @param path bytes; no name means anything else than a file
  /// @param milliseconds how long to wait for others who write
  SqliteDatabase(const std::string& path, int milliseconds);

  SqliteStatement statement(std::string_view sql) const { return {database_.get(), sql}; }
  /// Carries out statements without parameters or rows.
  void execute(const std::string& sql) const;
  /// The first number that a statement gives.
  int64_t number(std::string_view sql) const;
  /// The id of the last row that was inserted.
  int64_t lastId() const;

 private:
  struct Close {
    void operator()(sqlite3* database) const;
  };
  std::unique_ptr<sqlite3, Close> database_;
};

/// What is done between its making and its commit() is done as a whole; without commit() nothing is done. It
/// keeps other writers waiting from the beginning, so that what it reads holds until it writes.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(const SqliteDatabase& database) : database_(database) {
    database_.execute("BEGIN IMMEDIATE");
  }
  ~SqliteTransaction();
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;

  void commit();

 private:
  const SqliteDatabase& database_;
  bool open_ = true;
};

}  // namespace agent::tools
