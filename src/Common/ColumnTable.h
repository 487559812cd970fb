#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <variant>

#include "Common/EntityToObjectMapper.h"
#include "Common/ScanVOXTags.h"

namespace agent {

/// One column of a record class: its name in files and the field that holds its value. A class that is read
/// and printed column by column lists its columns once, in the order of its printed row.
template <typename Record>
struct Column {
  using Field = std::variant<int16_t Record::*, int32_t Record::*, int64_t Record::*, bool Record::*,
                             std::string Record::*>;
  const char* tag;
  Field field;
};

/// Takes a definition's cell into the column's field. A flag is set by "Y" and "y" and cleared by "N" and
/// "n"; any other text leaves it as it was.
template <typename Record>
void storeCell(Record& record, const Column<Record>& column, const std::string& cell) {
  const auto store = [&](auto field) {
    auto& value = record.*field;
    using Value = std::remove_reference_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, int16_t>) {
      value = toInt16(cell);
    } else if constexpr (std::is_same_v<Value, int32_t>) {
      value = toInt32(cell);
    } else if constexpr (std::is_same_v<Value, int64_t>) {
      value = toInt64(cell);
    } else if constexpr (std::is_same_v<Value, bool>) {
      if (cell == "Y" || cell == "y") value = true;
      if (cell == "N" || cell == "n") value = false;
    } else {
      value = cell;
    }
  };
  std::visit(store, column.field);
}

/// The field as a cell of a result: numbers in decimal, flags as "Y" and "N", an empty text as "null".
template <typename Record>
std::string printCell(const Record& record, const Column<Record>& column) {
  const auto print = [&](auto field) -> std::string {
    const auto& value = record.*field;
    using Value = std::remove_cvref_t<decltype(value)>;
    if constexpr (std::is_same_v<Value, bool>) {
      return value ? ScanVOXTags::VOX_TRUE : ScanVOXTags::VOX_FALSE;
    } else if constexpr (std::is_same_v<Value, std::string>) {
      return value.empty() ? ScanVOXTags::VOX_NULL : value;
    } else {
      return std::to_string(value);
    }
  };
  return std::visit(print, column.field);
}

}  // namespace agent
