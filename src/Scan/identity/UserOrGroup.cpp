#include "Scan/identity/UserOrGroup.h"

#include <algorithm>
#include <cstring>

#include "Common/EntityToObjectMapper.h"
#include "Common/GenericPrint.h"
#include "Common/ScanVOXTags.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

// Shared with the server: never renumber.
enum Field {
  ID = 1,
  GROUP_ID = 2,
  NAME = 3,
  DESCRIPTION = 4,
  DOMAIN_ID = 5,
  REMOVED = 6,
  COMPUTER_ID = 7,
  NAME_BYTES = 8,
  TYPE = 9,
};

std::string orNull(const std::string& text) {
  return text.empty() ? ScanVOXTags::VOX_NULL : text;
}

std::string unlessNull(const std::string& value) {
  return value == ScanVOXTags::VOX_NULL ? std::string() : value;
}

// Names are bytes; the server reads this column where the name's own encoding is unknown to it.
std::string bytesOf(const std::string& name) {
  std::string bytes;
  for (const char c : name) {
    if (!bytes.empty()) bytes += ',';
    bytes += std::to_string(static_cast<unsigned char>(c));
  }
  return bytes;
}

}  // namespace

const std::map<std::string_view, int> UserOrGroup::s_mapFieldNameValues = {
    {ScanVOXTags::UG_ID, ID},
    {ScanVOXTags::UG_GRP_ID, GROUP_ID},
    {ScanVOXTags::UG_NAME, NAME},
    {ScanVOXTags::UG_DESC, DESCRIPTION},
    {ScanVOXTags::UG_DOM_ID, DOMAIN_ID},
    {ScanVOXTags::UG_REMOVED, REMOVED},
    {ScanVOXTags::UG_COMP_ID, COMPUTER_ID},
    {ScanVOXTags::UG_NAME_BYTES, NAME_BYTES},
    {ScanVOXTags::UG_TYPE, TYPE},
};

UserOrGroup UserOrGroup::ofKey(int32_t key, bool isGroup) {
  UserOrGroup record;
  (isGroup ? record.ugGroupID : record.ugID) = key;
  record.ugType = isGroup ? GROUP : USER;
  record.ugUserOrGroupType = record.ugType;
  return record;
}

void UserOrGroup::printHeader(GenericPrint& print) {
  print.printHeader({ScanVOXTags::UG_ID, ScanVOXTags::UG_GRP_ID, ScanVOXTags::UG_NAME, ScanVOXTags::UG_DESC,
                     ScanVOXTags::UG_DOM_ID, ScanVOXTags::UG_REMOVED, ScanVOXTags::UG_COMP_ID,
                     ScanVOXTags::UG_NAME_BYTES, ScanVOXTags::UG_TYPE, ScanVOXTags::UG_USER_OR_GROUP_TYPE});
}

void UserOrGroup::printData(GenericPrint& print, std::string_view tag) const {
  print.beginNode(tag);
  print.printData({std::to_string(ugID), std::to_string(ugGroupID), orNull(ugName), orNull(ugDescription),
                   std::to_string(ugDomainID), ugRemoved ? ScanVOXTags::VOX_TRUE : ScanVOXTags::VOX_FALSE,
                   std::to_string(ugComputerID), orNull(bytesOf(ugName)), std::to_string(ugType),
                   std::to_string(ugUserOrGroupType)});
  if (domain) domain->printData(print);
  print.endNode(tag);
}

void UserOrGroup::loadValues(const std::vector<std::string>& names, const std::vector<std::string>& values) {
  for (size_t column = 0; column < std::min(names.size(), values.size()); ++column) {
    const auto field = s_mapFieldNameValues.find(names[column]);
    if (field != s_mapFieldNameValues.end()) loadValue(field->second, values[column]);
  }
  cutSelectionName();
}

void UserOrGroup::loadValue(int field, const std::string& value) {
  switch (field) {
    case ID:
      ugID = toInt32(value);
      break;
    case GROUP_ID:
      ugGroupID = toInt32(value);
      break;
    case NAME:
      ugName = unlessNull(value);
      break;
    case DESCRIPTION:
      ugDescription = unlessNull(value);
      break;
    case DOMAIN_ID:
      ugDomainID = toInt32(value);
      break;
    case REMOVED:
      ugRemoved = value == "true" || value == ScanVOXTags::VOX_TRUE;
      break;
    case COMPUTER_ID:
      ugComputerID = toInt32(value);
      break;
    case TYPE:
      ugType = toInt16(value);
      break;
    default:
      break;  // NAME_BYTES says again what NAME said
  }
}

void UserOrGroup::cutSelectionName() {
  const size_t limit = ugType == GROUP ? SELECTION_GROUP_LENGTH : SELECTION_USER_LENGTH;
  const size_t length = std::min(ugName.size(), limit);
  std::memcpy(selectionName_.data(), ugName.data(), length);
  selectionName_[length] = '\0';
}

}  // namespace agent
