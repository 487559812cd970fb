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
  RecordsByName& records = isGroup ? groups_ : users_;
  std::string name = pUG->ugName;
  const auto [place, isNew] = records.try_emplace(std::move(name), std::move(pUG));
  if (isNew) place->second->cutSelectionName();
  return place->second.get();
}

}  // namespace agent
