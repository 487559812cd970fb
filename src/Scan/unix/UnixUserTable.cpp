#include "Scan/unix/UnixUserTable.h"

#include <grp.h>
#include <pwd.h>

#include <utility>

#include "QLMlib/common/ut/Trace.h"
#include "Scan/identity/UberTable.h"
#include "Scan/identity/UserOrGroup.h"

namespace agent {

namespace {

class SystemUserDatabase : public UserDatabase {
 public:
  bool findUser(uint32_t uid, std::string& name, std::string& description) override {
    const passwd* const entry = getpwuid(uid);
    if (entry == nullptr) return false;
    // Some name services leave fields out.
    if (entry->pw_name != nullptr) name = entry->pw_name;
    if (entry->pw_gecos != nullptr) description = entry->pw_gecos;
    return true;
  }

  bool findGroup(uint32_t gid, std::string& name) override {
    const group* const entry = getgrgid(gid);
    if (entry == nullptr) return false;
    if (entry->gr_name != nullptr) name = entry->gr_name;
    return true;
  }
};

}  // namespace

std::unique_ptr<UserDatabase> systemUserDatabase() {
  return std::make_unique<SystemUserDatabase>();
}

UnixUserTable::UnixUserTable(UberTable& uberTable, std::unique_ptr<UserDatabase> database)
    : UserTable(uberTable), database_(std::move(database)) {}

// The slot that holds `id`, or the free one where it belongs.
UnixUserTable::Slot& UnixUserTable::Numbers::slotOf(uint32_t id) {
  const size_t mask = slots.size() - 1;
  size_t place = hash(id) & mask;
  while (slots[place].record != nullptr && slots[place].id != id) place = (place + 1) & mask;
  return slots[place];
}

void UnixUserTable::Numbers::insert(uint32_t id, const UserOrGroup* record) {
  if (2 * (count + 1) > slots.size()) {
    std::vector<Slot> old = std::exchange(slots, std::vector<Slot>(2 * slots.size()));
    for (const Slot& slot : old) {
      if (slot.record != nullptr) slotOf(slot.id) = slot;
    }
  }
  slotOf(id) = {id, record};
  ++count;
}

const UserOrGroup* UnixUserTable::lookupSlow(const Sid& pSid, bool isGroup) {
  Numbers& numbers = isGroup ? groups_ : users_;
  const UserOrGroup* record = numbers.slotOf(pSid.id()).record;
  if (record == nullptr) {
    if (numbers.count > 0) TRACE(TR_MAX, "no entry found for key %d\n", pSid.key());
    record = lookupName(pSid, isGroup);
    numbers.insert(pSid.id(), record);
  }
  numbers.lastId = pSid.id();
  numbers.last = record;
  return record;
}

const UserOrGroup* UnixUserTable::lookupName(const Sid& pSid, bool isGroup) {
  TRACE_SCOPE("UnixUserTable::lookupName()");
  auto record = std::make_unique<UserOrGroup>(UserOrGroup::ofKey(pSid.key(), isGroup));
  if (isGroup) {
    lookupGroup(pSid, *record);
  } else {
    lookupUser(pSid, *record);
  }
  if (record->ugRemoved) record->ugName = std::to_string(pSid.key());
  // May answer with an older record of the same name: the two numbers are one owner.
  return uberTable().stashOnUnix(std::move(record), isGroup);
}

void UnixUserTable::lookupUser(const Sid& pSid, UserOrGroup& record) {
  if (!database_->findUser(pSid.id(), record.ugName, record.ugDescription)) {
    record.ugRemoved = true;
    return;
  }
  TRACE(TR_MAX, "user name: %s; description: %s\n", record.ugName.c_str(), record.ugDescription.c_str());
}

void UnixUserTable::lookupGroup(const Sid& pSid, UserOrGroup& record) {
  if (!database_->findGroup(pSid.id(), record.ugName)) {
    record.ugRemoved = true;
    return;
  }
  TRACE(TR_MAX, " group name : %s\n", record.ugName.c_str());
}

}  // namespace agent
