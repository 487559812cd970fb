#include "Probe/NasFiler.h"

#include "Common/ColumnTable.h"

namespace agent {

namespace {

const Column<NasFiler> COLUMNS[] = {{"nfComputerID", &NasFiler::nfComputerID},
                                    {"nfNameFormat", &NasFiler::nfNameFormat},
                                    {"nfName", &NasFiler::nfName},
                                    {"nfNetworkName", &NasFiler::nfNetworkName},
                                    {"nfAlias", &NasFiler::nfAlias},
                                    {"nfIPAddress", &NasFiler::nfIPAddress},
                                    {"nfManufacturer", &NasFiler::nfManufacturer},
                                    {"nfOSType", &NasFiler::nfOSType},
                                    {"nfNameSpace", &NasFiler::nfNameSpace},
                                    {"nfCIMOM", &NasFiler::nfCIMOM},
                                    {"nfVersion", &NasFiler::nfVersion}};

}  // namespace

void NasFiler::initializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  const Row& row =
      theRow(refHeaderArray, refDataArray, "ERROR: VoxObjectCreationException exception. Leaving method.");
  for (size_t index = 0; index < row.size(); ++index) {
    for (const Column<NasFiler>& column : COLUMNS) {
      if (refHeaderArray[index] == column.tag) storeCell(*this, column, row[index]);
    }
  }
}

}  // namespace agent
