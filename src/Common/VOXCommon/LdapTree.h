#pragma once

#include <cstdint>
#include <string>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"

namespace agent {

/// The directory tree that a NAS filer takes its users from, as the definition tells it. Carried, not used.
class LdapTree : public Object {
 public:
  LdapTree() : Object("LdapTree") {}

  static const RecordTable<LdapTree>& table();

  /// Fills the record from the entity's one row.
  /// @throws VoxObjectCreationException 325 when it and the header differ in length
  void initializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray);

  /// The header row; the class tag is the caller's.
  static void printHeader(GenericPrint& gp);

  /// The record in a node of its class; an empty text is "null".
  void printData(GenericPrint& gp) const;

  int32_t treeId = 0;
  int32_t computerId = 0;
  std::string name;
  std::string ldapUser;
  std::string password;
  std::string computerName;
  bool hasComputers = false;
};

}  // namespace agent
