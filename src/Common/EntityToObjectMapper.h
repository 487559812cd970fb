#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Object.h"

namespace agent {

using Row = std::vector<std::string>;  ///< the cells of one data row, or the names of one header row
using Rows = std::vector<Row>;

/// A record that is read from the definition file: attribute names from the header block and data rows are
/// matched column by column, so columns may come in any order and unknown ones are passed over.
class EntityToObjectMapper : public Object {
 public:
  using Object::Object;

  /// Fills the record.
  /// @param refHeaderArray the attribute names of the class
  /// @param refDataArray all rows of the entity
  /// @throws VoxObjectCreationException code 325 when a row and the header differ in length
  virtual void inititializeObject(const Row& refHeaderArray, const Rows& refDataArray) = 0;
};

/// The row of an entity that takes exactly one: its first. None counts as a row without cells.
/// @throws VoxObjectCreationException code 325 with `text` when its length differs from the header's
const Row& theRow(const Row& header, const Rows& rows, const char* text);

/// @throws VoxObjectCreationException code 325 with `text` unless both are equally long
void requireSameLength(const Row& header, const Row& row, const char* text);

// Base-10 conversions of a cell: what a leading number gives, the rest of the text is ignored, no number
// gives 0. Out of range is held at the limit for 32 and 64 bits and cut to the low bits for 16.
int16_t toInt16(std::string_view cell);
int32_t toInt32(std::string_view cell);
int64_t toInt64(std::string_view cell);

}  // namespace agent
