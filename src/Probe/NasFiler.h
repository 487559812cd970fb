#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"
#include "Common/VOXCommon/LdapTree.h"
#include "Probe/Domain.h"

namespace agent {

/// A network-attached filer. Its file systems are reached through local mounts of its exports; the scan uses
/// the record to find the mount and to keep the file systems of one filer together.
class NasFiler : public Object {
 public:
  /// The kind whose mounts are found by `nfName` alone.
  static constexpr int16_t OS_TYPE_CLUSTER = 23;

  NasFiler() : Object("NasFiler") {}

  static const RecordTable<NasFiler>& table();

  /// Fills the record from the entity's row; columns that only the server side knows are passed over.
  /// @throws VoxObjectCreationException code 325 when row and header differ in length
  void initializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray);

  int32_t nfComputerID = 0;
  int32_t nfNameFormat = 0;
  std::string nfName;
  std::string nfNetworkName;
  std::string nfAlias;
  std::string nfIPAddress;
  std::string nfManufacturer;
  int16_t nfOSType = 0;
  std::vector<std::unique_ptr<Domain>> nfDomain;  ///< the first one is the filer's domain
  std::string nfNameSpace;
  std::string nfCIMOM;
  int32_t nfVersion = 2;
  std::unique_ptr<LdapTree> ldapTree;
};

}  // namespace agent
