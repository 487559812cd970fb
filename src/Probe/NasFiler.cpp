#include "Probe/NasFiler.h"

namespace agent {

const RecordTable<NasFiler>& NasFiler::table() {
  static constexpr Column<NasFiler> COLUMNS[] = {
      column<&NasFiler::nfComputerID>("nfComputerID", "the filer's id, which monitored directories may name"),
      column<&NasFiler::nfNameFormat>("nfNameFormat", "not used"),
      column<&NasFiler::nfName>("nfName", "a host name that its mounts may have"),
      column<&NasFiler::nfNetworkName>("nfNetworkName", "the host name that is tried first"),
      column<&NasFiler::nfAlias>("nfAlias", "not used"),
      column<&NasFiler::nfIPAddress>("nfIPAddress", "a host address that its mounts may have"),
      column<&NasFiler::nfManufacturer>("nfManufacturer", "not used"),
      column<&NasFiler::nfOSType>("nfOSType", "its kind; mounts of kind 23 are found by `nfName` alone"),
      column<&NasFiler::nfNameSpace>("nfNameSpace", "not used"),
      column<&NasFiler::nfCIMOM>("nfCIMOM", "not used"),
      column<&NasFiler::nfVersion>("nfVersion", "not used")};
  static constexpr RecordTable<NasFiler> TABLE(
      ScanVOXTags::NAS_FILER,
      "The filer that a file system lies on, below it; with `Domain` and `LdapTree` nodes of its own.",
      COLUMNS);
  return TABLE;
}

void NasFiler::initializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  table().read(
      *this, refHeaderArray,
      theRow(refHeaderArray, refDataArray, "ERROR: VoxObjectCreationException exception. Leaving method."));
}

}  // namespace agent
