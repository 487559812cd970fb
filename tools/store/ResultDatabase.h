#pragma once

#include <span>
#include <string>

#include "figures/ResultTables.h"
#include "store/ResultSchema.h"
#include "store/Sqlite.h"

namespace agent::tools {

/// The history of results in an SQLite database.
class ResultDatabase {
 public:
  /// Opens the database, or makes it, and brings its schema up to this version's.
  /// @throws DatabaseError where it can't be written, is none, is another program's, or is newer
  explicit ResultDatabase(const std::string& path);

  /// Loads a whole result, or nothing of it. One with the same content that is there already, from the same
  /// host, stays as it is, whatever its file is called now. Others may load at the same time.
  /// @throws DatabaseError where the run is there with other content, or the database can't be written
  LoadOutcome load(const RunFigures& run, const Figures& figures);

 private:
  SqliteDatabase database_;
};

/// Brings a schema from a version, 0 where there is none, up to the newest that `tables` tell of: what has
/// come since is added, to be without values in the rows that are there.
/// @return that version
int upgradeSchema(const SqliteDatabase& database, std::span<const ResultTable* const> tables, int version);

}  // namespace agent::tools
