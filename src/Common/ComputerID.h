#pragma once

#include <cstdint>
#include <memory>

#include "Common/EntityToObjectMapper.h"

namespace agent {

class GenericPrint;

/// The id of the computer that scans, as the definition names it.
class ComputerID : public Object {
 public:
  static constexpr const char* COMPUTER_ID = "computerID";

  explicit ComputerID(int32_t id) : Object("ComputerID"), computerId(id) {}

  /// Takes the id from a row, column by column; unknown columns and a row of the wrong length are traced and
  /// change nothing.
  void loadData(const Row& header, const Row& row);

  /// "[ComputerID]" and the attribute row.
  static void printHeader(GenericPrint& gp);
  /// "[ComputerID]" and the id as one row.
  void printData(GenericPrint& gp) const;

  /// The id that records are stamped with: the cached one's, or -1 while there is none.
  static int32_t cachedId() { return cachedCID ? cachedCID->computerId : -1; }

  int32_t computerId;

  /// The job's one instance; null until the definition has been read.
  static std::unique_ptr<ComputerID> cachedCID;
};

}  // namespace agent
