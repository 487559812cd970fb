#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "figures/ResultTables.h"

// What databases of results share. docs/database.md describes their tables: those of ResultTables.h, in each
// of which a run's number and time stand in front, and in which a NAME is a column of text, as safeText shows
// it, with the exact bytes in one with "_bytes" behind where the two differ.

namespace agent::tools {

/// Why nothing can be loaded: into this database, or of this result.
class DatabaseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What has become of a result that was to be loaded.
enum class LoadOutcome { LOADED, THERE_ALREADY };

/// A column of a table as databases have it.
struct StoredColumn {
  enum class Kind { NUMBER, TEXT, BYTES };

  std::string name;
  Kind kind;
  bool mayBeEmpty;
  int since;  ///< version of the schema that has brought it
};

/// A value for a StoredColumn.
struct StoredCell {
  enum class Kind { NONE, NUMBER, TEXT, BYTES };

  Kind kind = Kind::NONE;
  int64_t number = 0;
  std::string bytes = {};  ///< of TEXT and BYTES
};

/// Whether a table is that of the runs, to which all others refer.
bool isRun(const ResultTable& table);

/// The columns of a table, but for those that say which run a row is of.
std::vector<StoredColumn> storedColumns(const ResultTable& table);

/// Values for these columns, from a row of the table.
std::vector<StoredCell> storedCells(const ResultTable& table, std::span<const Cell> cells);

/// Names of the columns that with the run tell a row from all others.
std::vector<std::string> keyColumns(const ResultTable& table);
/// Names of the columns that with the run say which row of its parent a row belongs to.
std::vector<std::string> referenceColumns(const ResultTable& table);

/// "a, b, c"
std::string commaSeparated(const std::vector<std::string>& names);

/// The newest version that tables tell of.
int newestOf(std::span<const ResultTable* const> tables);

}  // namespace agent::tools
