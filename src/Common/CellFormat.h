#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Common/EntityToObjectMapper.h"
#include "Common/ScanVOXTags.h"

namespace agent {

/// What the cells of a column hold.
enum class CellKind {
  NUMBER_8,
  NUMBER_16,
  NUMBER_32,
  NUMBER_64,
  FRACTION,
  FLAG,
  TEXT,
  TEXTS,
  NUMBERS,
  SELECTION,  ///< the bytes of a compiled selection
};

/// The kind as documents name it.
const char* nameOf(CellKind kind);

/// Parts of a cell that holds several, between its commas. An empty cell has none.
std::vector<std::string> splitAtCommas(std::string_view cell);
std::string joinWithCommas(const std::vector<std::string>& parts);

/// How fields of one type stand in files: their kind, `print`, and `read` where a definition may hold them.
/// No text at all stands for no value; the column says how that is spelled. A column whose cells are spelled
/// in a way of their own names a format of its own.
template <typename Value>
struct UsualFormat;

/// Numbers in decimal. Widths that no definition holds can't be read.
template <typename Value>
requires std::is_arithmetic_v<Value>
struct UsualFormat<Value> {
  static constexpr CellKind KIND = std::is_floating_point_v<Value> ? CellKind::FRACTION
                                   : sizeof(Value) == 1            ? CellKind::NUMBER_8
                                   : sizeof(Value) == 2            ? CellKind::NUMBER_16
                                   : sizeof(Value) == 4            ? CellKind::NUMBER_32
                                                                   : CellKind::NUMBER_64;
  static void read(Value& value,
                   std::string_view cell) requires(std::signed_integral<Value> && sizeof(Value) > 1) {
    if constexpr (sizeof(Value) == sizeof(int16_t)) {
      value = toInt16(cell);
    } else if constexpr (sizeof(Value) == sizeof(int32_t)) {
      value = toInt32(cell);
    } else {
      value = toInt64(cell);
    }
  }
  static std::string print(Value value) { return std::to_string(value); }
};

/// "Y" and "y" set a flag, "N" and "n" clear it; any other text leaves it as it was.
template <>
struct UsualFormat<bool> {
  static constexpr CellKind KIND = CellKind::FLAG;
  static void read(bool& value, std::string_view cell) {
    if (cell == "Y" || cell == "y") value = true;
    if (cell == "N" || cell == "n") value = false;
  }
  static std::string print(bool value) { return value ? ScanVOXTags::VOX_TRUE : ScanVOXTags::VOX_FALSE; }
};

template <>
struct UsualFormat<std::string> {
  static constexpr CellKind KIND = CellKind::TEXT;
  static void read(std::string& value, const std::string& cell) { value = cell; }
  static const std::string& print(const std::string& value) { return value; }
};

template <>
struct UsualFormat<std::vector<std::string>> {
  static constexpr CellKind KIND = CellKind::TEXTS;
  static void read(std::vector<std::string>& value, const std::string& cell) { value = splitAtCommas(cell); }
  static std::string print(const std::vector<std::string>& value) { return joinWithCommas(value); }
};

/// A histogram is one cell: its numbers in bucket order, joined by ",".
template <typename Number, size_t N>
struct UsualFormat<std::array<Number, N>> {
  static constexpr CellKind KIND = CellKind::NUMBERS;
  static std::string print(const std::array<Number, N>& numbers) {
    std::string cell = std::to_string(numbers[0]);
    for (size_t i = 1; i < N; ++i) cell.append(1, ',').append(std::to_string(numbers[i]));
    return cell;
  }
};

}  // namespace agent
