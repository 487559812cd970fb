#pragma once

#include <map>
#include <memory>
#include <string>

#include "Common/Object.h"
#include "Scan/identity/UserOrGroup.h"

namespace agent {

/// All users and groups of a scan by name, so that two numbers with one name are counted as one owner. Owns
/// the records: file and result records point at them, so the table lives until the results are written.
/// Used on the scan's thread only.
class UberTable : public Object {
 public:
  UberTable() : Object("UberTable") {}
  UberTable(const UberTable&) = delete;
  UberTable& operator=(const UberTable&) = delete;

  /// Files a record under its name.
  /// @return the record to use: the one that was filed under this name first. Null for null.
  const UserOrGroup* stashOnUnix(std::unique_ptr<UserOrGroup> pUG, bool isGroup);

 private:
  // Ordered by the plain bytes of the names.
  using RecordsByName = std::map<std::string, std::unique_ptr<UserOrGroup>>;

  RecordsByName users_;
  RecordsByName groups_;
};

}  // namespace agent
