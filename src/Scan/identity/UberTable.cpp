#include "Scan/identity/UberTable.h"

#include <utility>

#include "QLMlib/common/ut/Trace.h"

namespace agent {

const UserOrGroup* UberTable::stashOnUnix(std::unique_ptr<UserOrGroup> pUG, bool isGroup) {
  TRACE_SCOPE("UberTable::stashOnUnix()");
  if (pUG == nullptr) {
    TRACE(TR_ERROR,
          "UberTable::stashOnUnix() : ERROR: The UserOrGroup reference <pUG> is NULL. Leaving method.");
    return nullptr;
  }
  std::string name = pUG->ugName;
  return file(std::move(name), std::move(pUG), isGroup);
}

const UserOrGroup* UberTable::stashOnWindows(std::unique_ptr<UserOrGroup> pUG, bool isGroup) {
  TRACE_SCOPE("UberTable::stashOnWindows()");
  if (pUG == nullptr) {
    TRACE(TR_ERROR,
          "UberTable::stashOnWindows() : ERROR: The UserOrGroup reference <pUG> is NULL. Leaving method.");
    return nullptr;
  }
  std::string name = pUG->fullyQualifiedName();
  return file(std::move(name), std::move(pUG), isGroup);
}

const UserOrGroup* UberTable::file(std::string name, std::unique_ptr<UserOrGroup> pUG, bool isGroup) {
  RecordsByName& records = isGroup ? groups_ : users_;
  const auto [place, isNew] = records.try_emplace(std::move(name), std::move(pUG));
  if (isNew) place->second->cutSelectionName();
  return place->second.get();
}

}  // namespace agent
