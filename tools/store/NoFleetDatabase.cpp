// In the place of PostgresFleetDatabase.cpp, where this is built without libpq.

#include "store/FleetDatabase.h"

namespace agent::tools {

std::string whyNoConnection(const std::string& /*connection*/) {
  return "this scanreport was built without PostgreSQL";
}

std::unique_ptr<FleetDatabase> openFleetDatabase(const std::string& connection) {
  throw UnusableDatabaseError(whyNoConnection(connection));
}

}  // namespace agent::tools
