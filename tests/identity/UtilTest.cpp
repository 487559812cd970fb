#include "Scan/identity/Util.h"

#include <gtest/gtest.h>

#include "QLMlib/common/nls/Messages.h"

namespace agent {
namespace {

TEST(UtilTest, ASingleBlankIsEmpty) {
  EXPECT_TRUE(Util::isEmpty(""));
  EXPECT_TRUE(Util::isEmpty(" "));
  EXPECT_FALSE(Util::isEmpty("  "));
  EXPECT_FALSE(Util::isEmpty("a"));
}

TEST(UtilTest, NextWordIsTheNextRunOfNonBlanks) {
  EXPECT_EQ(Util::nextWord("  one two", 0), "one");
  EXPECT_EQ(Util::nextWord("  one two", 3), "ne");
  EXPECT_EQ(Util::nextWord("  one two", 5), "two");
  EXPECT_EQ(Util::nextWord("  one two ", 9), "");
  EXPECT_EQ(Util::nextWord("one", 99), "");
}

TEST(UtilTest, TextsThatAreBothEmptyAreEqual) {
  EXPECT_TRUE(Util::stringsEqual(" ", ""));
  EXPECT_FALSE(Util::stringsEqual(" ", "a"));
  EXPECT_TRUE(Util::stringsEqual("aB", "aB"));
  EXPECT_FALSE(Util::stringsEqual("aB", "Ab"));

  EXPECT_TRUE(Util::stringsEqualIgnoreCase(" ", ""));
  EXPECT_TRUE(Util::stringsEqualIgnoreCase("aB", "Ab"));
  EXPECT_FALSE(Util::stringsEqualIgnoreCase("aB", "AbC"));
  EXPECT_FALSE(Util::stringsEqualIgnoreCase("\xC4", "\xE4")) << "bytes, not letters of some encoding";
}

// What the catalog at hand gives; the name itself where it holds no such message.
std::string textOr(uint32_t number, const char* identifier, const char* name) {
  const std::string text = messageText(number, identifier);
  return text.empty() ? name : text;
}

TEST(UtilTest, NamesOfTheServersStatisticsAreTranslated) {
  const std::string wasted = textOr(2396, "STA0556T", "SQL_NAME_WASTED");
  EXPECT_EQ(Util::getTranslatedName("SQL_NAME_WASTED"), wasted);
  EXPECT_EQ(Util::getTranslatedName("NRVUser.SQL_NAME_WASTED"), "NRVUser." + wasted);
  EXPECT_EQ(Util::getTranslatedName("NRVTapeUser.SQL_NAME_BYMOD"),
            "NRVTapeUser." + textOr(2384, "STA0544T", "SQL_NAME_BYMOD"));

  for (const char* const name :
       {"", "SQL", "SQL_", "SQL_NAME_", "SQL_NAME_UNKNOWN", "NRVUser.", "NRVUser.mine",
        "NRVUserSQL_NAME_WASTED", "my SQL_NAME_WASTED", "SQL_NAME_WASTED2"}) {
    EXPECT_EQ(Util::getTranslatedName(name), name);
  }
}

}  // namespace
}  // namespace agent
