#pragma once

#include "Common/Object.h"
#include "Scan/identity/Sid.h"

namespace agent {

class UberTable;
class UserOrGroup;

/// From a platform's owner identifiers to the shared records.
class UserTable : public Object {
 public:
  /// @param uberTable owns the records; borrowed, outlives this table
  explicit UserTable(UberTable& uberTable) : Object("UserTable"), uberTable_(uberTable) {}
  ~UserTable() override = default;

  /// Lets go of what the platform holds for the look-ups.
  virtual void cleanUP() = 0;

  /// The record of a user or group. Never null on this platform; an identifier that the database doesn't
  /// know gives a record with the orphan mark.
  virtual const UserOrGroup* lookup(const Sid& pSid, bool isGroup) = 0;

 protected:
  UberTable& uberTable() { return uberTable_; }

 private:
  UberTable& uberTable_;
};

}  // namespace agent
