#include "Common/EntityToObjectMapper.h"

#include <charconv>
#include <limits>

#include "Common/VoxObjectCreationException.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

const Row& theRow(const HeaderRow& header, const Rows& rows, const char* text) {
  static const Row NO_CELLS;
  const Row& row = rows.empty() ? NO_CELLS : rows.front();
  requireSameLength(header, row, text);
  return row;
}

void requireSameLength(const HeaderRow& header, const Row& row, const char* text) {
  if (header.size() == row.size()) return;
  TRACE(TR_MIN, "%s", text);
  throw VoxObjectCreationException(VoxObjectCreationException::HEADER_AND_DATA_DIFFER, text);
}

namespace {

bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The leading number of a cell, held at the limits of its width, as strtol reads it in the "C" locale.
template <typename Number>
Number leadingNumber(std::string_view cell) {
  while (!cell.empty() && isSpace(cell.front())) cell.remove_prefix(1);
  if (!cell.empty() && cell.front() == '+') {
    cell.remove_prefix(1);
    if (!cell.empty() && cell.front() == '-') return 0;  // "+-1" is no number, though from_chars takes "-1"
  }
  Number number = 0;
  const auto result = std::from_chars(cell.data(), cell.data() + cell.size(), number, 10);
  if (result.ec == std::errc::result_out_of_range) {
    return cell.front() == '-' ? std::numeric_limits<Number>::min() : std::numeric_limits<Number>::max();
  }
  return number;
}

}  // namespace

int16_t toInt16(std::string_view cell) {
  // The low bits of the number as it is written: what a narrowing store keeps.
  return static_cast<int16_t>(static_cast<uint16_t>(leadingNumber<int64_t>(cell)));
}

int32_t toInt32(std::string_view cell) {
  return leadingNumber<int32_t>(cell);
}

int64_t toInt64(std::string_view cell) {
  return leadingNumber<int64_t>(cell);
}

}  // namespace agent
