#pragma once

#include <cstdint>
#include <string>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"

namespace agent {

/// A naming domain of filers and owners. Read from the definition below a filer.
class Domain : public Object {
 public:
  Domain() : Object("Domain") {}
  Domain(int32_t domainId, std::string domainName);

  static const RecordTable<Domain>& table();

  /// Fills the record from the entity's row.
  /// @throws VoxObjectCreationException code 325 when row and header differ in length
  void initializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray);

  /// Writes the class tag and header row, and those of LdapTree behind it.
  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int32_t id = 0;
  std::string name;
};

}  // namespace agent
