#include "Common/VOXCommon/LdapTree.h"

#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"

namespace agent {

namespace {

std::string textOrNull(const std::string& text) {
  return text.empty() ? ScanVOXTags::VOX_NULL : text;
}

}  // namespace

void LdapTree::initializeObject(const Row& refHeaderArray, const Rows& refDataArray) {
  const Row& row =
      theRow(refHeaderArray, refDataArray,
             "ERROR: refHeaderArray.size() != refDataArray.size(). VoxObjectCreationException will "
             "be thrown.");
  for (size_t column = 0; column < row.size(); ++column) {
    const std::string& attribute = refHeaderArray[column];
    const std::string& value = row[column];
    if (attribute == ScanVOXTags::LT_TREE_ID) treeId = toInt32(value);
    if (attribute == ScanVOXTags::LT_COMP_ID) computerId = toInt32(value);
    if (attribute == ScanVOXTags::LT_NAME) name = value;
    if (attribute == ScanVOXTags::LT_LDAP_USER) ldapUser = value;
    if (attribute == ScanVOXTags::LT_PASSWORD) password = value;
    if (attribute == ScanVOXTags::LT_COMP_NAME) computerName = value;
    if (attribute == ScanVOXTags::LT_HAS_COMPS) hasComputers = value == ScanVOXTags::VOX_TRUE;
  }
}

void LdapTree::printHeader(GenericPrint& gp) {
  gp.printHeader({ScanVOXTags::LT_TREE_ID, ScanVOXTags::LT_COMP_ID, ScanVOXTags::LT_NAME,
                  ScanVOXTags::LT_LDAP_USER, ScanVOXTags::LT_PASSWORD, ScanVOXTags::LT_COMP_NAME,
                  ScanVOXTags::LT_HAS_COMPS});
}

void LdapTree::printData(GenericPrint& gp) const {
  gp.beginNode(ScanVOXTags::LT);
  gp.printData({std::to_string(treeId), std::to_string(computerId), textOrNull(name), textOrNull(ldapUser),
                textOrNull(password), textOrNull(computerName),
                hasComputers ? ScanVOXTags::VOX_TRUE : ScanVOXTags::VOX_FALSE});
  gp.endNode(ScanVOXTags::LT);
}

}  // namespace agent
