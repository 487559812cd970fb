#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "figures/ResultTables.h"
#include "store/ResultSchema.h"

namespace agent::tools {

/// The server can't be reached, or not be worked with now. Whether the last result is there isn't known.
class ServerAwayError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The database is at fault, and no result: its people have to mend it.
class UnusableDatabaseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The history of a fleet's results in a PostgreSQL database, in a schema of its own, "scan".
/// docs/database.md describes it: the tables that an SQLite database has, divided by months, and views that
/// answer questions.
class FleetDatabase {
 public:
  virtual ~FleetDatabase() = default;

  /// Loads a whole result, or nothing of it. One with the same content that is there already, from the same
  /// host, stays as it is, whatever its file is called now. Others may load at the same time.
  /// @throws DatabaseError where the run is there with other content, or the database refuses what is in it
  /// @throws UnusableDatabaseError
  /// @throws ServerAwayError
  virtual LoadOutcome load(const RunFigures& run, const Figures& figures) = 0;
};

/// Why a connection string can't be used; empty where it can. A password in it isn't taken. Without
/// PostgreSQL in this build the reason is that.
std::string whyNoConnection(const std::string& connection);

/// Connects, and makes the schema or brings it up to this version's where that is needed.
/// @param connection as libpq(3) has it: "host=... dbname=...", "service=...", or a URI
/// @throws UnusableDatabaseError where the schema is another program's, or newer, or may not be made
/// @throws ServerAwayError
std::unique_ptr<FleetDatabase> openFleetDatabase(const std::string& connection);

}  // namespace agent::tools
