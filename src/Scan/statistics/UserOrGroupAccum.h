#pragma once

#include <cstdint>
#include <unordered_map>

#include "Common/SeededHash.h"
#include "Scan/results/SUserOrGroup.h"
#include "Scan/statistics/Accumulator.h"
#include "Scan/statistics/RecentRecords.h"

namespace agent {

class Filesystem;
class UserOrGroup;

/// Totals for each owner or each group.
class UserOrGroupAccum : public Accumulator {
 public:
  enum class Kind { OWNERS = 0, GROUPS = 1 };

  UserOrGroupAccum(Kind kind, const Filesystem& filesystem)
      : Accumulator("UserOrGroupAccum"), kind_(kind), filesystem_(filesystem) {}

  void accumulate(Scanner& scanner, FileAttributes& attributes) override;
  void finish(CuStatResults& results) override;

 private:
  SUserOrGroup& totalsOf(const UserOrGroup& identity);
  SUserOrGroup& find(const UserOrGroup& identity);

  Kind kind_;
  const Filesystem& filesystem_;
  // By the identity's number: two numbers that share a name share an identity, and so one record. Node-based:
  // a pointer to a record stays good while others are added.
  std::unordered_map<uint32_t, SUserOrGroup, SeededHash> totals_;
  RecentRecords<SUserOrGroup> recent_;
};

}  // namespace agent
