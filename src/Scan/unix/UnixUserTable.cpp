#include "Scan/unix/UnixUserTable.h"

#include <grp.h>
#include <pwd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "QLMlib/common/ut/Trace.h"
#include "Scan/identity/UberTable.h"
#include "Scan/identity/UserOrGroup.h"

namespace agent {

namespace {

// A database that fails is asked this often: a name service that restarts is back at once, or not soon.
constexpr int TRIES = 3;

/// What a null of getpwuid(3) or getgrgid(3) means: POSIX leaves errno alone where there is no such entry.
int whyNoEntry() {
  return errno == 0 ? UserDatabase::NO_ENTRY : errno;
}

class SystemUserDatabase : public UserDatabase {
 public:
  int findUser(uint32_t uid, std::string& name, std::string& description) override {
    errno = 0;
    const passwd* const entry = getpwuid(uid);
    if (entry == nullptr) return whyNoEntry();
    // Some name services leave fields out.
    if (entry->pw_name != nullptr) name = entry->pw_name;
    if (entry->pw_gecos != nullptr) description = entry->pw_gecos;
    return 0;
  }

  int findGroup(uint32_t gid, std::string& name) override {
    errno = 0;
    const group* const entry = getgrgid(gid);
    if (entry == nullptr) return whyNoEntry();
    if (entry->gr_name != nullptr) name = entry->gr_name;
    return 0;
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

void UnixUserTable::Numbers::forgetFailed() {
  if (failed.empty()) return;
  std::sort(failed.begin(), failed.end());
  // A slot that were merely freed would hide what stands behind it: all that are kept are placed anew.
  const std::vector<Slot> old = std::exchange(slots, std::vector<Slot>(slots.size()));
  count = 0;
  last = nullptr;
  for (const Slot& slot : old) {
    const bool kept = slot.record != nullptr && !std::binary_search(failed.begin(), failed.end(), slot.id);
    if (kept) insert(slot.id, slot.record);
  }
  failed.clear();
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
  int answer = UserDatabase::NO_ENTRY;
  for (int i = 0; i < TRIES; ++i) {
    answer = isGroup ? lookupGroup(pSid, *record) : lookupUser(pSid, *record);
    if (answer == 0 || answer == UserDatabase::NO_ENTRY) break;
  }
  if (answer != 0) {
    record->ugRemoved = true;
    record->ugName = std::to_string(pSid.key());
  }
  if (answer > 0) {
    (isGroup ? groups_ : users_).failed.push_back(pSid.id());
    if (firstError_ == 0) firstError_ = answer;
  }
  // May answer with an older record of the same name: the two numbers are one owner.
  return uberTable().stashOnUnix(std::move(record), isGroup);
}

int UnixUserTable::lookupUser(const Sid& pSid, UserOrGroup& record) {
  const int answer = database_->findUser(pSid.id(), record.ugName, record.ugDescription);
  if (answer == 0) {
    TRACE(TR_MAX, "user name: %s; description: %s\n", record.ugName.c_str(), record.ugDescription.c_str());
  }
  return answer;
}

int UnixUserTable::lookupGroup(const Sid& pSid, UserOrGroup& record) {
  const int answer = database_->findGroup(pSid.id(), record.ugName);
  if (answer == 0) TRACE(TR_MAX, " group name : %s\n", record.ugName.c_str());
  return answer;
}

UnixUserTable::Failures UnixUserTable::takeFailures() {
  const Failures failures{users_.failed.size() + groups_.failed.size(), std::exchange(firstError_, 0)};
  users_.forgetFailed();
  groups_.forgetFailed();
  return failures;
}

}  // namespace agent
