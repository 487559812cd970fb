#include "Common/EntityToObjectMapper.h"

#include <gtest/gtest.h>

namespace agent::test {

TEST(EntityToObjectMapperTest, AHeaderRowKnowsItsColumnsInEachTableThatItIsReadBy) {
  struct Table {
    size_t find(std::string_view name, size_t place) const {
      ++asked;
      return name == known ? place : HeaderRow::NO_COLUMN;
    }
    const char* known;
    mutable int asked = 0;
  };
  const HeaderRow header{"a", "b"};
  const Table first{"a"}, second{"b"};
  for (int record = 0; record < 3; ++record) {
    EXPECT_EQ(header.placesIn(first), (std::vector<size_t>{0, HeaderRow::NO_COLUMN}));
  }
  EXPECT_EQ(first.asked, 2);  // names are looked up for the first record alone
  EXPECT_EQ(header.placesIn(second), (std::vector<size_t>{HeaderRow::NO_COLUMN, 1}));
}

TEST(EntityToObjectMapperTest, NumbersAreWhatTheLeadingDigitsGive) {
  const std::tuple<const char*, int16_t, int32_t, int64_t> cases[] = {
      {"17", 17, 17, 17},
      {" \t-17 files", -17, -17, -17},
      {"+-5", 0, 0, 0},
      {"", 0, 0, 0},
      {"1.9", 1, 1, 1},
      {"70000", 4464, 70000, 70000},              // 16 bits keep the low bits
      {"4294967295", -1, INT32_MAX, 4294967295},  // 32 bits hold at the limit
      {"-4294967297", -1, INT32_MIN, -4294967297},
      {"99999999999999999999", -1, INT32_MAX, INT64_MAX},  // and so do 64
      {"-99999999999999999999", 0, INT32_MIN, INT64_MIN},
  };
  for (const auto& [cell, narrow, word, wide] : cases) {
    EXPECT_EQ(toInt16(cell), narrow) << cell;
    EXPECT_EQ(toInt32(cell), word) << cell;
    EXPECT_EQ(toInt64(cell), wide) << cell;
  }
}

}  // namespace agent::test
