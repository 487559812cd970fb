#include "QLMlib/common/nls/MessageFormat.h"

#include <limits>

#include <gtest/gtest.h>

namespace agent::test {

const MessageInserts INSERTS{std::string("one"), int64_t{-2}, uint64_t{3}, 4.5};

using Case = std::pair<const char*, const char*>;

TEST(MessageFormatTest, InsertsGoWhereTheTextNamesThem) {
  const Case cases[] = {
      {"no insert, 100%%", "no insert, 100%"},
      {"%s %d %u %g", "one -2 3 4.5"},
      {"%4$.2f %3$05u %2$+d %1$s", "4.50 00003 -2 one"},  // a translation's order
      {"%1$s %1$s", "one one"},
      {"[%1$6s] [%1$-6s] [%1$.2s]", "[   one] [one   ] [on]"},
      {"%2$lld %3$zu %3$hhu", "-2 3 3"},  // lengths are ours to choose
      {"%3$x %3$#x %3$o %2$i", "3 0x3 3 -2"},
      {"%1$c", "o"},
  };
  for (const auto& [format, text] : cases) EXPECT_EQ(insertItems(format, INSERTS), text) << format;
}

TEST(MessageFormatTest, AHostileTextGivesAnOddTextAtWorst) {
  const Case cases[] = {
      {"%n|%1$n", "|"},
      {"%*d|", "d|"},  // no width from an insert
      {"%d", "one"},   // an insert of another type is shown by its own
      {"%2$s %3$s %4$s", "-2 3 4.5"},
      {"%1$f %1$p", "one one"},
      {"%5$s %99999999999999999999$s", "<NULL> <NULL>"},
      {"%s%s%s%s%s", "one-234.5<NULL>"},
      {"%0$s", "one"},
      {"%", ""},
      {"a%1", "a"},
      {"a%1$", "a"},
      {"a%-", "a"},
      {"a%.", "a"},
      {"a%ll", "a"},
      {"%S %C %a", "  "},
      {"%y%1$s", "one"},
  };
  for (const auto& [format, text] : cases) EXPECT_EQ(insertItems(format, INSERTS), text) << format;
  EXPECT_EQ(insertItems("%1$999999999s", INSERTS).size(), 512u);
  EXPECT_EQ(insertItems("%2$999999999d", INSERTS).size(), 512u);
  EXPECT_EQ(insertItems("%2$.999999999d", INSERTS).size(), 513u);  // with its sign
  EXPECT_EQ(insertItems("%1$.999999999f", {std::numeric_limits<double>::max()}).size(), 309u + 1 + 512);
}

TEST(MessageFormatTest, ExtremeNumbersKeepTheirValueAndTextsAreBytesThatNobodyReads) {
  EXPECT_EQ(insertItems("%d %d", {INT64_MIN, UINT64_MAX}), "-9223372036854775808 18446744073709551615");
  const std::string name("%s\n\xff\0%1$s", 9);
  EXPECT_EQ(insertItems("<%s>", {name}), "<" + name + ">");
}

}  // namespace agent::test
