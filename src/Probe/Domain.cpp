#include "Probe/Domain.h"

#include <utility>

#include "Common/VOXCommon/LdapTree.h"

namespace agent {

Domain::Domain(int32_t domainId, std::string domainName)
    : Object("Domain"), id(domainId), name(std::move(domainName)) {}

const RecordTable<Domain>& Domain::table() {
  static constexpr Column<Domain> COLUMNS[] = {
      column<&Domain::id>(ScanVOXTags::DOM_ID, "its id"),
      column<&Domain::name>(ScanVOXTags::DOM_NAME, "its name"),
      // No tree is known on this side: the server keeps the relation.
      {.tag = ScanVOXTags::DOM_TREE_ID,
       .meaning = "its tree, for the server; 0",
       .kind = CellKind::NUMBER_32,
       .print = [](const Domain&) -> std::string { return ScanVOXTags::VOX_NUM_VAL_NULL; }}};
  static constexpr RecordTable<Domain> TABLE(ScanVOXTags::DOM, "A naming domain of filers and owners.",
                                             COLUMNS);
  return TABLE;
}

void Domain::initializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) {
  table().read(*this, refHeaderArray,
               theRow(refHeaderArray, refDataArray,
                      "innerArray.size() != refHeaderArray.size(). VoxObjectCreationException exception "
                      "will be thrown."));
}

void Domain::printHeader(GenericPrint& print) {
  print.beginNode(ScanVOXTags::DOM);
  table().printHeader(print);
  print.beginNode(ScanVOXTags::LT);
  LdapTree::printHeader(print);
}

void Domain::printData(GenericPrint& print) const {
  table().printNode(print, *this);
}

}  // namespace agent
