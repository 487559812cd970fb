#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Common/Object.h"

namespace agent {

using Row = std::vector<std::string>;  ///< the cells of one data row, or the names of one header row
using Rows = std::vector<Row>;

/// The attribute names of a class, as a file's header block gives them. Remembers which columns of the class
/// they name, so that this is found out once for all records of a file. Used on one thread.
class HeaderRow {
 public:
  static constexpr size_t NO_COLUMN = static_cast<size_t>(-1);

  HeaderRow() = default;
  HeaderRow(Row names) : names_(std::move(names)) {}
  HeaderRow(std::initializer_list<std::string> names) : names_(names) {}

  const Row& names() const { return names_; }
  size_t size() const { return names_.size(); }

  /// For each name the place of its column in a table, or NO_COLUMN.
  /// @param table a RecordTable that outlives this row
  template <typename Table>
  const std::vector<size_t>& placesIn(const Table& table) const {
    if (table_ != &table) {
      places_.clear();
      for (size_t i = 0; i < names_.size(); ++i) places_.push_back(table.find(names_[i], i));
      table_ = &table;
    }
    return places_;
  }

 private:
  Row names_;
  mutable const void* table_ = nullptr;  // whose columns places_ tells
  mutable std::vector<size_t> places_;
};

/// A record that is read from the definition file: attribute names from the header block and data rows are
/// matched column by column, so columns may come in any order and unknown ones are passed over.
class EntityToObjectMapper : public Object {
 public:
  using Object::Object;

  /// Fills the record.
  /// @param refHeaderArray the attribute names of the class
  /// @param refDataArray all rows of the entity
  /// @throws VoxObjectCreationException code 325 when a row and the header differ in length
  virtual void inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) = 0;
};

/// The row of an entity that takes exactly one: its first. None counts as a row without cells.
/// @throws VoxObjectCreationException code 325 with `text` when its length differs from the header's
const Row& theRow(const HeaderRow& header, const Rows& rows, const char* text);

/// @throws VoxObjectCreationException code 325 with `text` unless both are equally long
void requireSameLength(const HeaderRow& header, const Row& row, const char* text);

// Base-10 conversions of a cell: what a leading number gives, the rest of the text is ignored, no number
// gives 0. Out of range is held at the limit for 32 and 64 bits and cut to the low bits for 16.
int16_t toInt16(std::string_view cell);
int32_t toInt32(std::string_view cell);
int64_t toInt64(std::string_view cell);

}  // namespace agent
