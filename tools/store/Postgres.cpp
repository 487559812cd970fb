#include "store/Postgres.h"

#include <libpq-fe.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace agent::tools {

namespace {

/// A server's message in one line.
std::string oneLine(const char* message) {
  std::string line;
  for (const char c : std::string_view(message != nullptr ? message : "")) {
    const bool isBlank = c == '\n' || c == '\t' || c == ' ';
    if (!isBlank) line += c;
    if (isBlank && !line.empty() && line.back() != ' ') line += ' ';
  }
  while (line.ends_with(' ')) line.pop_back();
  return line;
}

/// By the class of SQLSTATE (PostgreSQL's appendix A): what has nothing to do with what was asked for. That
/// is a lost connection, a rollback for others' sake, want of resources, an operator, the server's system or
/// data, a standby, and a lock.
bool isAway(std::string_view state) {
  constexpr std::array<std::string_view, 8> KNOWN = {"08", "40", "53", "57P", "58", "XX", "25006", "55P03"};
  return std::any_of(KNOWN.begin(), KNOWN.end(),
                     [state](std::string_view known) { return state.starts_with(known); });
}

struct FreeOptions {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
using Options = std::unique_ptr<PQconninfoOption, FreeOptions>;

}  // namespace

void checkConnectionString(const std::string& connection) {
  char* reason = nullptr;
  const Options options(PQconninfoParse(connection.c_str(), &reason));
  if (options == nullptr) {
    const std::string text = oneLine(reason);
    PQfreemem(reason);
    throw ConnectionStringError(text);
  }
  for (const PQconninfoOption* option = options.get(); option->keyword != nullptr; ++option) {
    const std::string_view keyword = option->keyword;
    const bool isGiven = option->val != nullptr && *option->val != '\0';
    if (isGiven && (keyword == "password" || keyword == "sslpassword"))
      throw ConnectionStringError(
          "a password doesn't stand on a command line, which everybody sees: put it into ~/.pgpass or a "
          "service "
          "file");
  }
}

int PostgresRows::rows() const {
  return PQntuples(result_.get());
}

std::optional<std::string> PostgresRows::cell(int row, int column) const {
  if (PQgetisnull(result_.get(), row, column) == 1) return std::nullopt;
  return std::string(PQgetvalue(result_.get(), row, column),
                     static_cast<size_t>(PQgetlength(result_.get(), row, column)));
}

void PostgresRows::Clear::operator()(pg_result* result) const {
  PQclear(result);
}

PostgresDatabase::PostgresDatabase(const std::string& connection) {
  // What stands behind "dbname" comes from there, if it is said there.
  std::vector<const char*> names = {"keepalives_idle", "tcp_user_timeout", "fallback_application_name",
                                    "client_encoding"};
  std::vector<const char*> values = {"30", "60000", "scanreport", "UTF8"};
  if (std::getenv("PGCONNECT_TIMEOUT") == nullptr) {
    names.push_back("connect_timeout");
    values.push_back("10");
  }
  names.insert(names.end(), {"dbname", nullptr});
  values.insert(values.end(), {connection.c_str(), nullptr});
  connection_.reset(PQconnectdbParams(names.data(), values.data(), 1));
  if (connection_ == nullptr) throw std::bad_alloc();
  if (PQstatus(connection_.get()) != CONNECTION_OK)
    throw PostgresError(PostgresError::Kind::AWAY, oneLine(PQerrorMessage(connection_.get())));
  // Remarks of the server are for its log.
  PQsetNoticeProcessor(
      connection_.get(), [](void*, const char*) {}, nullptr);
}

void PostgresDatabase::fail(const pg_result* result) const {
  const char* const state = result != nullptr ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
  const bool isLost = PQstatus(connection_.get()) != CONNECTION_OK;
  const char* const primary =
      result != nullptr ? PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
  const std::string reason = oneLine(primary != nullptr ? primary : PQerrorMessage(connection_.get()));
  throw PostgresError(isLost || isAway(state != nullptr ? state : "") ? PostgresError::Kind::AWAY
                                                                      : PostgresError::Kind::REFUSED,
                      reason);
}

PostgresRows PostgresDatabase::checked(pg_result* result, int expected) const {
  PostgresRows rows(result);
  if (PQresultStatus(result) != expected) fail(result);
  return rows;
}

void PostgresDatabase::execute(const std::string& sql) const {
  pg_result* const result = PQexec(connection_.get(), sql.c_str());
  const PostgresRows rows(result);
  const ExecStatusType status = PQresultStatus(result);
  if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) fail(result);
}

PostgresRows PostgresDatabase::query(const std::string& sql,
                                     const std::vector<std::string>& parameters) const {
  std::vector<const char*> values;
  values.reserve(parameters.size());
  for (const std::string& parameter : parameters) values.push_back(parameter.c_str());
  return checked(PQexecParams(connection_.get(), sql.c_str(), static_cast<int>(values.size()), nullptr,
                              values.data(), nullptr, nullptr, 0),
                 PGRES_TUPLES_OK);
}

void PostgresDatabase::copy(const std::string& table, const std::string& columns,
                            const std::string& rows) const {
  pg_conn* const connection = connection_.get();
  checked(PQexec(connection, ("COPY " + table + " (" + columns + ") FROM STDIN").c_str()), PGRES_COPY_IN);
  // In pieces: libpq keeps a second copy of what it hasn't sent yet.
  constexpr size_t PIECE = 1 << 16;
  bool isSent = true;
  for (size_t at = 0; isSent && at < rows.size(); at += PIECE) {
    const std::string_view piece = std::string_view(rows).substr(at, PIECE);
    isSent = PQputCopyData(connection, piece.data(), static_cast<int>(piece.size())) == 1;
  }
  if (!isSent || PQputCopyEnd(connection, nullptr) != 1) fail(nullptr);
  const PostgresRows done = checked(PQgetResult(connection), PGRES_COMMAND_OK);
  while (pg_result* const further = PQgetResult(connection)) PQclear(further);
}

void PostgresDatabase::Finish::operator()(pg_conn* connection) const {
  PQfinish(connection);
}

PostgresTransaction::~PostgresTransaction() {
  if (!open_) return;
  try {
    database_.execute("ROLLBACK");
  } catch (const PostgresError&) {  // NOLINT(bugprone-empty-catch): what is lost is rolled back by the server
  }
}

void PostgresTransaction::commit() {
  open_ = false;
  database_.execute("COMMIT");
}

}  // namespace agent::tools
