#include "Common/ComputerID.h"

#include <string>

#include "Common/GenericPrint.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

std::unique_ptr<ComputerID> ComputerID::cachedCID;

void ComputerID::loadData(const Row& header, const Row& row) {
  if (header.size() != row.size()) {
    TRACE(TR_MID, "The number of primitives (%d) and values (%d) do not match.\n",
          static_cast<int>(header.size()), static_cast<int>(row.size()));
    return;
  }
  for (size_t column = 0; column < header.size(); ++column) {
    if (header[column] == COMPUTER_ID) {
      computerId = toInt32(row[column]);
    } else {
      TRACE(TR_MIN, "Undefined header: %s found.\n", header[column].c_str());
    }
  }
}

void ComputerID::printHeader(GenericPrint& gp) {
  gp.beginNode("ComputerID");
  gp.printHeader({COMPUTER_ID});
}

void ComputerID::printData(GenericPrint& gp) const {
  gp.beginNode("ComputerID");
  gp.printData({std::to_string(computerId)});
}

}  // namespace agent
