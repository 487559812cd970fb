#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "figures/Figures.h"
#include "figures/RunName.h"

// A result as named tables with typed columns, for machines: databases keep them, --csv prints one. Space is
// in bytes, times are seconds since the epoch. What a column is stands in one place, its row in
// ResultTables.cpp; schema and document follow from there.

namespace agent::tools {

enum class ColumnKind {
  NUMBER,   ///< 64 bits
  FLAG,     ///< 0 or 1
  SECONDS,  ///< a time, since the epoch
  TEXT,     ///< a word of ours, ASCII
  NAME,     ///< bytes that others have chosen
};

/// "number", for documents.
const char* nameOf(ColumnKind kind);

/// What rows belong to.
enum class Level { RUN, FILESYSTEM, STATISTIC };

struct TableColumn {
  const char* name;
  ColumnKind kind;
  const char* meaning;      ///< one line, for documents
  bool inKey = false;       ///< with the run, and all others of the key, it tells a row from every other
  bool reference = false;   ///< it says which row of the table of its level this one belongs to
  bool mayBeEmpty = false;  ///< the result may have no value for it
  bool tellsApart = false;  ///< it says to people what rows of tables below belong to
  int since = 1;            ///< version of the schema that has brought it
};

struct ResultTable {
  const char* name;
  const char* meaning;  ///< one line, for documents
  Level level;          ///< Level::RUN: of the run itself
  std::vector<TableColumn> columns;
  int since = 1;  ///< version of the schema that has brought it

  /// The table that its rows refer to: of the run, a file system or a statistic.
  const ResultTable& parent() const;
};

/// All of them, constant; each behind those that it refers to, the run's first.
std::span<const ResultTable* const> resultTables();

/// @return null where there is none of the name
const ResultTable* resultTableNamed(std::string_view name);

/// No value, a number (of a NUMBER, FLAG or SECONDS), or bytes.
using Cell = std::variant<std::monostate, int64_t, std::string_view>;

/// Whom a result is from.
struct RunFigures {
  std::string host;
  RunName name;
  std::string checksum;  ///< ResultFile::checksum
};

/// Takes the rows of tables.
class TableSink {
 public:
  virtual ~TableSink() = default;

  /// @param cells one for each of the table's columns; they hold during this call
  virtual void row(const ResultTable& table, std::span<const Cell> cells) = 0;
};

/// Gives all rows of a result to a sink, each behind the one that it refers to.
void writeTables(const RunFigures& run, const Figures& figures, TableSink& sink);

/// Space as bytes; what 64 bits can't hold becomes the largest number that they can.
int64_t bytesOf(int64_t blocks);

/// Milliseconds as whole seconds, rounded down.
int64_t secondsOf(int64_t milliseconds);

/// When a run began: with the first walk. Of a result without a walk, the earliest time that it has.
/// @return milliseconds since the epoch
int64_t beginOf(const Figures& figures);

}  // namespace agent::tools
