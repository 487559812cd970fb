#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "Scan/selection/fileInfo.h"

// The words of the selection language, for its two directions.

namespace agent::scandef {

enum class Kind { TYPE, PATH, NAME, SIZE, TIME };

struct Field {
  std::string_view word;
  Kind kind;
  char letter;
  bool wide = false;  // told by more than one of the job's comparisons
};

inline constexpr std::array<Field, 10> FIELDS = {{
    {"type", Kind::TYPE, 'T'},
    {"name", Kind::PATH, 'F'},
    {"owner", Kind::NAME, 'U'},
    {"group", Kind::NAME, 'G'},
    {"size", Kind::SIZE, 's', true},
    {"size32", Kind::SIZE, 's'},
    {"allocated", Kind::SIZE, 'S'},
    {"mtime", Kind::TIME, 'M'},
    {"atime", Kind::TIME, 'A'},
    {"created", Kind::TIME, 'C'},
}};

struct NamedNumber {
  std::string_view word;
  uint32_t number;
};

inline constexpr std::array<NamedNumber, 7> TYPES = {
    {{"other", 0}, {"file", 1}, {"link", 2}, {"directory", 3}, {"fifo", 4}, {"socket", 5}, {"device", 6}}};

inline constexpr std::array<NamedNumber, 7> ATTRIBUTES = {{
    {"archive", ATTRIBUTE_ARCHIVE},
    {"orphan", ATTRIBUTE_ORPHAN},
    {"blockdevice", ATTRIBUTE_BLOCK_DEVICE},
    {"executable", ATTRIBUTE_EXECUTABLE},
    {"sticky", ATTRIBUTE_STICKY},
    {"setgid", ATTRIBUTE_SET_GROUP_ID},
    {"setuid", ATTRIBUTE_SET_USER_ID},
}};

inline constexpr std::string_view SIZE_UNITS = "KMGT";  // each 1024 times the one before

inline constexpr int64_t MINUTE = 60;
inline constexpr int64_t HOUR = 60 * MINUTE;
inline constexpr int64_t DAY = 24 * HOUR;
inline constexpr int64_t WEEK = 7 * DAY;

// The job compares the low 32 bits of a size as a signed number: 3 GiB is below 0 there, 4 GiB is 0. Both are
// known by what follows: size32 < 0 or not allocated in [0, 4G). The space that is allocated is compared in
// the same way but in blocks of 512 bytes, so that it is below 0 from 1 TiB to 2 TiB. What is missed is small
// in both, as a sparse file is.
//
//   size > N     size32 > N or BEYOND_SIZE32           (>= too)
//   size < N     not BEYOND_SIZE32 and size32 < N      (<=, =, in too)
inline constexpr std::string_view BEYOND_SIZE32(
    "|<s0\0![S0\0"
    "4\3",
    12);

struct TimeUnit {
  std::string_view word;
  int64_t seconds;
};
// Explanations use the first of the last four that fits: people count in days, not in weeks.
inline constexpr std::array<TimeUnit, 5> TIME_UNITS = {
    {{"w", WEEK}, {"d", DAY}, {"h", HOUR}, {"min", MINUTE}, {"s", 1}}};

template <typename Table, typename Key>
auto findWord(const Table& table, const Key& word) {
  return std::find_if(table.begin(), table.end(), [&word](const auto& entry) { return entry.word == word; });
}

/// @return the digit's value, -1 for another character
constexpr int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char small = static_cast<char>(c | 0x20);
  return small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

}  // namespace agent::scandef
