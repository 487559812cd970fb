#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "Common/RecordTable.h"
#include "Probe/Domain.h"

namespace agent {

/// One user or group. A scan meets the same few owners millions of times: every file record points at the
/// shared one that UberTable owns.
class UserOrGroup {
 public:
  static constexpr int16_t USER = 1;
  static constexpr int16_t GROUP = 2;

  /// Longest names that selections compare, in bytes.
  static constexpr size_t SELECTION_USER_LENGTH = 32;
  static constexpr size_t SELECTION_GROUP_LENGTH = 16;

  static const RecordTable<UserOrGroup>& table();

  /// Numbers of the attributes, by their tags.
  static const std::map<std::string_view, int> s_mapFieldNameValues;

  /// The record of a number that no database has been asked about yet.
  static UserOrGroup ofKey(int32_t key, bool isGroup);

  /// Writes the row of attribute names; the class tag in front is the caller's.
  static void printHeader(GenericPrint& print);

  /// Writes a node of the given tag with the row, and the domain's node behind the row if there is one.
  /// @param tag one of ScanVOXTags::UG_USER_GROUP, UG_USER and UG_GROUP
  void printData(GenericPrint& print, std::string_view tag) const;

  /// The reverse of printing: takes each value whose name is known, passes over the others. "null" clears a
  /// string; "true", and "Y" as it is printed, set ugRemoved.
  void loadValues(const HeaderRow& names, const Row& values);

  /// The name as selections see it: NUL-terminated, cut to 32 bytes for a user and to 16 for a group. Cut
  /// once, by cutSelectionName, so that the walk hands out a pointer and copies nothing per entry.
  const char* selectionName() const { return selectionName_.data(); }

  /// Cuts selectionName anew. UberTable calls it when it takes the record in.
  void cutSelectionName();

  int32_t ugID = 0;           ///< the uid; 0 for a group
  int32_t ugGroupID = 0;      ///< the gid; 0 for a user
  std::string ugName;         ///< login or group name; the number in decimal for an orphan
  std::string ugDescription;  ///< the user's comment field; empty for a group
  std::optional<Domain> domain;
  int32_t ugDomainID = -1;        ///< -1 until known
  bool ugRemoved = false;         ///< the orphan mark: the user database has no entry
  int32_t ugComputerID = -1;      ///< -1 until known
  int16_t ugType = 0;             ///< USER or GROUP
  int32_t ugUserOrGroupType = 0;  ///< the same

 private:
  std::array<char, SELECTION_USER_LENGTH + 1> selectionName_{};
};

}  // namespace agent
