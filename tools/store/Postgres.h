#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// libpq, as this program uses it. What is given to it and what comes back is UTF-8.

struct pg_conn;
struct pg_result;

namespace agent::tools {

/// What a server refuses, or that it can't be reached.
class PostgresError : public std::runtime_error {
 public:
  enum class Kind {
    AWAY,  ///< no server, or the connection is lost, or the server is stopping, full or busy: later it may do
    UNUSABLE,  ///< somebody has to mend the database first: a right or a table is missing
    REFUSED,   ///< what was given to it would be refused again
  };

  PostgresError(Kind kind, const std::string& reason) : std::runtime_error(reason), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

/// A connection string that can't be used as it is written; what() says why.
class ConnectionStringError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Looks at a connection string without connecting.
/// @throws ConnectionStringError where it can't be read, or where a password stands in it: a command line is
///   everybody's to see
void checkConnectionString(const std::string& connection);

/// The rows that a statement has given.
class PostgresRows {
 public:
  explicit PostgresRows(pg_result* result) : result_(result) {}

  int rows() const;
  const pg_result* result() const { return result_.get(); }
  /// No value where there is none. Row and column count from 0.
  std::optional<std::string> cell(int row, int column) const;

 private:
  struct Clear {
    void operator()(pg_result* result) const;
  };
  std::unique_ptr<pg_result, Clear> result_;
};

/// A connection to a database. One that is lost isn't opened again. A server that takes or gives no byte for
/// five minutes counts as lost: it may have been stopped, or wait for a disk, with its connections open.
class PostgresDatabase {
 public:
  /// Connects. Unless the connection string or the environment says otherwise, it waits 10 s for the server,
  /// and notices within a minute that one is gone.
  /// @throws PostgresError, always of AWAY: who may connect and where to is for the server's people to mend
  explicit PostgresDatabase(const std::string& connection);

  /// Carries out statements without parameters.
  void execute(const std::string& sql) const;
  /// Carries out one statement. Parameters are texts, $1 the first.
  PostgresRows query(const std::string& sql, const std::vector<std::string>& parameters = {}) const;
  /// Appends rows to a table.
  /// @param columns "a, b, c"
  /// @param rows in the text format of COPY
  void copy(const std::string& table, const std::string& columns, const std::string& rows) const;

 private:
  [[noreturn]] void fail(const pg_result* result) const;
  void waitFor(short events) const;
  void flush() const;
  PostgresRows answer(bool isAsked) const;
  PostgresRows answer(bool isAsked, int expected) const;

  struct Finish {
    void operator()(pg_conn* connection) const;
  };
  std::unique_ptr<pg_conn, Finish> connection_;
  mutable bool hasAnswered_ = true;  // no more is asked of a server that hasn't
};

/// What is done between its making and its commit() is done as a whole; without commit() nothing is done. It
/// waits a minute for what others have locked, and should this process stop, the server has others wait no
/// longer for it.
class PostgresTransaction {
 public:
  explicit PostgresTransaction(const PostgresDatabase& database) : database_(database) {
    database_.execute(
        "BEGIN; SET LOCAL lock_timeout = '60s'; SET LOCAL idle_in_transaction_session_timeout = '60s'");
  }
  ~PostgresTransaction();
  PostgresTransaction(const PostgresTransaction&) = delete;
  PostgresTransaction& operator=(const PostgresTransaction&) = delete;

  /// @throws PostgresError of AWAY where the answer is lost: it may or may not have been done
  void commit();

 private:
  const PostgresDatabase& database_;
  bool open_ = true;
};

}  // namespace agent::tools
