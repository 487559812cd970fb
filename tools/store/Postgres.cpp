#include "store/Postgres.h"

#include <libpq-fe.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "QLMlib/common/unx/SystemCalls.h"

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

constexpr int PATIENCE = 300'000;  // milliseconds without a byte from a server

template <size_t SIZE>
bool isOneOf(std::string_view state, const std::array<std::string_view, SIZE>& classes) {
  return std::any_of(classes.begin(), classes.end(),
                     [state](std::string_view known) { return state.starts_with(known); });
}

/// By SQLSTATE (PostgreSQL's appendix A), most of which tell by their first letters what is at fault.
PostgresError::Kind kindOf(std::string_view state) {
  // A connection, a rollback, resources, an operator or a time limit, the system, a standby, a lock, a fault
  // of the server.
  constexpr std::array<std::string_view, 8> LATER = {"08", "40", "53", "57", "58", "25006", "55P03", "XX"};
  // Data, a constraint, a limit of the server, what a trigger raises.
  constexpr std::array<std::string_view, 4> OF_DATA = {"22", "23", "54", "P0"};
  constexpr std::string_view NO_SUCH_MONTH = "23514";  // our tables have no other checks
  if (state.empty() || isOneOf(state, LATER)) return PostgresError::Kind::AWAY;
  if (state != NO_SUCH_MONTH && isOneOf(state, OF_DATA)) return PostgresError::Kind::REFUSED;
  return PostgresError::Kind::UNUSABLE;
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
  // The environment comes last: behind the connection string and a service file.
  setenv("PGCONNECT_TIMEOUT", "10", 0);
  // The connection string may say otherwise in what stands in front of it, but not in what stands behind.
  constexpr std::array<const char*, 6> NAMES = {"keepalives_idle",           "tcp_user_timeout",
                                                "fallback_application_name", "dbname",
                                                "client_encoding",           nullptr};
  const std::array<const char*, 6> values = {"30",   "60000", "scanreport", connection.c_str(),
                                             "UTF8", nullptr};
  connection_.reset(PQconnectdbParams(NAMES.data(), values.data(), 1));
  if (connection_ == nullptr) throw std::bad_alloc();
  if (PQstatus(connection_.get()) != CONNECTION_OK)
    throw PostgresError(PostgresError::Kind::AWAY, oneLine(PQerrorMessage(connection_.get())));
  // Remarks of the server are for its log.
  PQsetNoticeProcessor(
      connection_.get(), [](void*, const char*) {}, nullptr);
  if (PQsetnonblocking(connection_.get(), 1) != 0) fail(nullptr);
}

void PostgresDatabase::fail(const pg_result* result) const {
  const char* const state = result != nullptr ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
  const bool isLost = PQstatus(connection_.get()) != CONNECTION_OK;
  const char* const primary =
      result != nullptr ? PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
  throw PostgresError(isLost ? PostgresError::Kind::AWAY : kindOf(state != nullptr ? state : ""),
                      oneLine(primary != nullptr ? primary : PQerrorMessage(connection_.get())));
}

/// @throws PostgresError where the server lets nothing be read or written for too long
void PostgresDatabase::waitFor(short events) const {
  pollfd socket = {PQsocket(connection_.get()), events, 0};
  int ready = 0;
  do {
    ready = sys.poll(&socket, 1, PATIENCE);
  } while (ready < 0 && errno == EINTR);
  hasAnswered_ = ready > 0;
  if (!hasAnswered_) {
    throw PostgresError(PostgresError::Kind::AWAY,
                        "it hasn't answered for " + std::to_string(PATIENCE / 60'000) + " minutes");
  }
}

/// Has the server take what libpq holds for it.
void PostgresDatabase::flush() const {
  for (;;) {
    const int left = PQflush(connection_.get());
    if (left < 0) fail(nullptr);
    if (left == 0) return;
    waitFor(POLLIN | POLLOUT);  // it may say something first, and take no more until that is read
    if (PQconsumeInput(connection_.get()) == 0) fail(nullptr);
  }
}

/// All that a statement, or the end of a COPY, has for an answer, since libpq takes no other statement
/// before.
/// @param isAsked whether libpq has taken it
/// @return the last of its results
PostgresRows PostgresDatabase::answer(bool isAsked) const {
  if (!isAsked) fail(nullptr);
  flush();
  PostgresRows last(nullptr);
  bool isRefused = false;
  for (;;) {
    while (PQisBusy(connection_.get()) == 1) {
      waitFor(POLLIN);
      if (PQconsumeInput(connection_.get()) == 0) fail(isRefused ? last.result() : nullptr);
    }
    PostgresRows next(PQgetResult(connection_.get()));
    if (next.result() == nullptr) break;
    if (isRefused) continue;
    last = std::move(next);
    const ExecStatusType status = PQresultStatus(last.result());
    if (status == PGRES_COPY_IN) break;
    isRefused = status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK;
  }
  if (isRefused) fail(last.result());
  return last;
}

PostgresRows PostgresDatabase::answer(bool isAsked, int expected) const {
  PostgresRows rows = answer(isAsked);
  if (PQresultStatus(rows.result()) != expected) fail(rows.result());
  return rows;
}

void PostgresDatabase::execute(const std::string& sql) const {
  answer(hasAnswered_ && PQsendQuery(connection_.get(), sql.c_str()) == 1);
}

PostgresRows PostgresDatabase::query(const std::string& sql,
                                     const std::vector<std::string>& parameters) const {
  std::vector<const char*> values;
  values.reserve(parameters.size());
  for (const std::string& parameter : parameters) values.push_back(parameter.c_str());
  const bool isAsked =
      hasAnswered_ && PQsendQueryParams(connection_.get(), sql.c_str(), static_cast<int>(values.size()),
                                        nullptr, values.data(), nullptr, nullptr, 0) == 1;
  return answer(isAsked, PGRES_TUPLES_OK);
}

void PostgresDatabase::copy(const std::string& table, const std::string& columns,
                            const std::string& rows) const {
  const std::string sql = "COPY " + table + " (" + columns + ") FROM STDIN";
  answer(hasAnswered_ && PQsendQuery(connection_.get(), sql.c_str()) == 1, PGRES_COPY_IN);
  // In pieces: libpq keeps a second copy of what it hasn't sent yet.
  constexpr size_t PIECE = 1 << 16;
  for (size_t at = 0; at < rows.size(); at += PIECE) {
    const std::string_view piece = std::string_view(rows).substr(at, PIECE);
    if (PQputCopyData(connection_.get(), piece.data(), static_cast<int>(piece.size())) != 1) fail(nullptr);
    flush();
  }
  answer(PQputCopyEnd(connection_.get(), nullptr) == 1, PGRES_COMMAND_OK);
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
