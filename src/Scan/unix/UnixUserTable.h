#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Common/SeededHash.h"
#include "Scan/identity/UserTable.h"

namespace agent {

/// The host's user and group database, as far as a scan asks it. Tests give their own.
class UserDatabase {
 public:
  static constexpr int NO_ENTRY = -1;

  virtual ~UserDatabase() = default;

  /// @return 0, NO_ENTRY when the database holds no such number, or the error number when it couldn't tell
  virtual int findUser(uint32_t uid, std::string& name, std::string& description) = 0;
  virtual int findGroup(uint32_t gid, std::string& name) = 0;
};

/// Asks getpwuid(3) and getgrgid(3).
std::unique_ptr<UserDatabase> systemUserDatabase();

/// Users and groups by number. The database is asked once for each number that it can tell about, however
/// often the walk meets it. Where it fails it is asked twice more; a number that it still can't tell about
/// counts as one without an entry until the failures are taken. Used on the scan's thread only.
///
/// Two look-ups stand on the path of every entry. They allocate nothing, and the last owner met answers most.
class UnixUserTable : public UserTable {
 public:
  explicit UnixUserTable(UberTable& uberTable, std::unique_ptr<UserDatabase> database = systemUserDatabase());

  /// Nothing to let go of here.
  void cleanUP() override {}

  const UserOrGroup* lookup(const Sid& pSid, bool isGroup) override {
    const Numbers& numbers = isGroup ? groups_ : users_;
    if (numbers.last != nullptr && numbers.lastId == pSid.id()) return numbers.last;
    return lookupSlow(pSid, isGroup);
  }

  /// Numbers that the database couldn't tell about.
  struct Failures {
    size_t numbers = 0;
    int error = 0;  ///< of the first
  };
  /// The failures since the last call. The next look-up of such a number asks the database again.
  Failures takeFailures();

 private:
  struct Slot {
    uint32_t id = 0;
    const UserOrGroup* record = nullptr;  // null in a free slot
  };

  /// One kind's numbers: an open-addressed table, at most half full, of a power of two slots.
  struct Numbers {
    SeededHash hash;
    std::vector<Slot> slots = std::vector<Slot>(64);
    size_t count = 0;
    uint32_t lastId = 0;
    const UserOrGroup* last = nullptr;  // null before the first look-up

    std::vector<uint32_t> failed;  // those whose record may be wrong

    Slot& slotOf(uint32_t id);
    void insert(uint32_t id, const UserOrGroup* record);
    void forgetFailed();
  };

  const UserOrGroup* lookupSlow(const Sid& pSid, bool isGroup);
  const UserOrGroup* lookupName(const Sid& pSid, bool isGroup);
  int lookupUser(const Sid& pSid, UserOrGroup& record);
  int lookupGroup(const Sid& pSid, UserOrGroup& record);

  std::unique_ptr<UserDatabase> database_;
  Numbers users_;
  Numbers groups_;
  int firstError_ = 0;
};

}  // namespace agent
