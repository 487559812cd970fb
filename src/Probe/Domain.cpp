#include "Probe/Domain.h"

#include <utility>

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "Common/VOXCommon/LdapTree.h"

namespace agent {

Domain::Domain(int32_t domainId, std::string domainName)
    : Object("Domain"), id(domainId), name(std::move(domainName)) {}

void Domain::initializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  const Row& row = theRow(refHeaderArray, refDataArray,
                          "innerArray.size() != refHeaderArray.size(). VoxObjectCreationException exception "
                          "will be thrown.");
  for (size_t column = 0; column < row.size(); ++column) {
    const std::string& attribute = refHeaderArray[column];
    if (attribute == ScanVOXTags::DOM_ID) {
      id = toInt32(row[column]);
    } else if (attribute == ScanVOXTags::DOM_NAME) {
      name = row[column];
    }
  }
}

void Domain::printHeader(GenericPrint& print) {
  print.beginNode(ScanVOXTags::DOM);
  print.printHeader({ScanVOXTags::DOM_ID, ScanVOXTags::DOM_NAME, ScanVOXTags::DOM_TREE_ID});
  print.beginNode(ScanVOXTags::LT);
  LdapTree::printHeader(print);
}

void Domain::printData(GenericPrint& print) const {
  print.beginNode(ScanVOXTags::DOM);
  // No tree is known on this side: the server keeps the relation in the third column.
  print.printData(
      {std::to_string(id), name.empty() ? ScanVOXTags::VOX_NULL : name, ScanVOXTags::VOX_NUM_VAL_NULL});
  print.endNode(ScanVOXTags::DOM);
}

}  // namespace agent
