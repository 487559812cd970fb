#include "Scan/identity/UserOrGroup.h"

#include <algorithm>
#include <cstring>

namespace agent {

namespace {

/// A text that "null" clears.
struct NullableFormat : UsualFormat<std::string> {
  static void read(std::string& value, const std::string& cell) {
    value = cell == ScanVOXTags::VOX_NULL ? std::string() : cell;
  }
};

/// Set by "true" and by "Y", as it is printed; anything else clears it.
struct RemovedFormat : UsualFormat<bool> {
  static void read(bool& value, std::string_view cell) {
    value = cell == "true" || cell == ScanVOXTags::VOX_TRUE;
  }
};

// Names are bytes; the server reads this column where the name's own encoding is unknown to it.
std::string bytesOfName(const UserOrGroup& record) {
  std::string bytes;
  for (const char c : record.ugName) {
    if (!bytes.empty()) bytes += ',';
    bytes += std::to_string(static_cast<unsigned char>(c));
  }
  return bytes;
}

}  // namespace

const RecordTable<UserOrGroup>& UserOrGroup::table() {
  static constexpr Column<UserOrGroup> COLUMNS[] = {
      column<&UserOrGroup::ugID>(ScanVOXTags::UG_ID, "the uid; 0 for a group"),
      column<&UserOrGroup::ugGroupID>(ScanVOXTags::UG_GRP_ID, "the gid; 0 for a user"),
      column<&UserOrGroup::ugName, NullableFormat>(ScanVOXTags::UG_NAME,
                                                   "its name; the number of one that is gone"),
      column<&UserOrGroup::ugDescription, NullableFormat>(ScanVOXTags::UG_DESC,
                                                          "the user's comment field; none for a group"),
      column<&UserOrGroup::ugDomainID>(ScanVOXTags::UG_DOM_ID, "-1"),
      column<&UserOrGroup::ugRemoved, RemovedFormat>(ScanVOXTags::UG_REMOVED, "no database knows it"),
      column<&UserOrGroup::ugComputerID>(ScanVOXTags::UG_COMP_ID, "-1"),
      // Not read: it says again what the name has said.
      {.tag = ScanVOXTags::UG_NAME_BYTES,
       .meaning = "bytes of its name, unsigned",
       .kind = CellKind::NUMBERS,
       .print = bytesOfName},
      column<&UserOrGroup::ugType>(ScanVOXTags::UG_TYPE, "1 user, 2 group"),
      column<&UserOrGroup::ugUserOrGroupType>(ScanVOXTags::UG_USER_OR_GROUP_TYPE, "the same").onlyPrinted()};
  static constexpr RecordTable<UserOrGroup> TABLE(
      ScanVOXTags::UG_USER_GROUP,
      "A user or group. Inside files, directories and monitored directories its node is `UserOrGroupUser` or "
      "`UserOrGroupGroup`.",
      COLUMNS);
  return TABLE;
}

// Shared with the server: the numbers are the places in the row, from 1. The last column has none.
const std::map<std::string_view, int> UserOrGroup::s_mapFieldNameValues = [] {
  std::map<std::string_view, int> numbers;
  const RecordDescription record = table().describe();
  for (size_t i = 0; i + 1 < record.columns.size(); ++i) {
    numbers.emplace(record.columns[i].tag, static_cast<int>(i) + 1);
  }
  return numbers;
}();

UserOrGroup UserOrGroup::ofKey(int32_t key, bool isGroup) {
  UserOrGroup record;
  (isGroup ? record.ugGroupID : record.ugID) = key;
  record.ugType = isGroup ? GROUP : USER;
  record.ugUserOrGroupType = record.ugType;
  return record;
}

void UserOrGroup::printHeader(GenericPrint& print) {
  table().printHeader(print);
}

void UserOrGroup::printData(GenericPrint& print, std::string_view tag) const {
  print.beginNode(tag);
  table().printData(print, *this);
  if (domain) domain->printData(print);
  print.endNode(tag);
}

void UserOrGroup::loadValues(const HeaderRow& names, const Row& values) {
  table().read(*this, names, values);
  cutSelectionName();
}

void UserOrGroup::cutSelectionName() {
  const size_t limit = ugType == GROUP ? SELECTION_GROUP_LENGTH : SELECTION_USER_LENGTH;
  const size_t length = std::min(ugName.size(), limit);
  std::memcpy(selectionName_.data(), ugName.data(), length);
  selectionName_[length] = '\0';
}

}  // namespace agent
