#include "Common/VOXCommon/LdapTree.h"

namespace agent {

namespace {

/// "Y" alone is true; anything else is false.
struct TrueFlagFormat : UsualFormat<bool> {
  static void read(bool& value, std::string_view cell) { value = cell == ScanVOXTags::VOX_TRUE; }
};

}  // namespace

const RecordTable<LdapTree>& LdapTree::table() {
  static constexpr Column<LdapTree> COLUMNS[] = {
      column<&LdapTree::treeId>(ScanVOXTags::LT_TREE_ID, "its id"),
      column<&LdapTree::computerId>(ScanVOXTags::LT_COMP_ID, "the computer that serves it"),
      column<&LdapTree::name>(ScanVOXTags::LT_NAME, "its name"),
      column<&LdapTree::ldapUser>(ScanVOXTags::LT_LDAP_USER, "whom it is asked as"),
      column<&LdapTree::password>(ScanVOXTags::LT_PASSWORD, "for the server"),
      column<&LdapTree::computerName>(ScanVOXTags::LT_COMP_NAME, "the serving computer's name"),
      column<&LdapTree::hasComputers, TrueFlagFormat>(ScanVOXTags::LT_HAS_COMPS,
                                                      "computers stand in it too")};
  static constexpr RecordTable<LdapTree> TABLE(
      ScanVOXTags::LT, "The directory tree that a filer takes its users from. Carried, not used.", COLUMNS);
  return TABLE;
}

void LdapTree::initializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  table().read(*this, refHeaderArray,
               theRow(refHeaderArray, refDataArray,
                      "ERROR: refHeaderArray.size() != refDataArray.size(). VoxObjectCreationException will "
                      "be thrown."));
}

void LdapTree::printHeader(GenericPrint& gp) {
  table().printHeader(gp);
}

void LdapTree::printData(GenericPrint& gp) const {
  table().printNode(gp, *this);
}

}  // namespace agent
