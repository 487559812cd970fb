#include "Probe/NasFiler.h"

namespace agent {

void NasFiler::initializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  const Row& row =
      theRow(refHeaderArray, refDataArray, "ERROR: VoxObjectCreationException exception. Leaving method.");
  for (size_t column = 0; column < row.size(); ++column) {
    const std::string& attribute = refHeaderArray[column];
    const std::string& cell = row[column];
    if (attribute == "nfComputerID") {
      nfComputerID = toInt32(cell);
    } else if (attribute == "nfNameFormat") {
      nfNameFormat = toInt32(cell);
    } else if (attribute == "nfName") {
      nfName = cell;
    } else if (attribute == "nfNetworkName") {
      nfNetworkName = cell;
    } else if (attribute == "nfAlias") {
      nfAlias = cell;
    } else if (attribute == "nfIPAddress") {
      nfIPAddress = cell;
    } else if (attribute == "nfManufacturer") {
      nfManufacturer = cell;
    } else if (attribute == "nfOSType") {
      nfOSType = toInt16(cell);
    } else if (attribute == "nfNameSpace") {
      nfNameSpace = cell;
    } else if (attribute == "nfCIMOM") {
      nfCIMOM = cell;
    } else if (attribute == "nfVersion") {
      nfVersion = toInt32(cell);
    }
  }
}

}  // namespace agent
